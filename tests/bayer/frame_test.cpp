// The frame every member shares: query order, refusals that write nothing,
// judging answers by value, and what happens outside the contract.
#include <gtest/gtest.h>

#include "bayer_support.h"

namespace qvi::test {
namespace {

class Frame : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

std::vector<Query> Queries(BufferHandle s, BufferHandle d, bool complete) {
  std::vector<Query> q = {{s, BUF_PARAM_VALID}, {d, BUF_PARAM_VALID}};
  if (!complete) return q;
  q.insert(q.end(), {{s, BUF_PARAM_ADDRESS}, {s, BUF_PARAM_STRIDE}, {d, BUF_PARAM_STRIDE}, {d, BUF_PARAM_ADDRESS},
                     {s, BUF_PARAM_HEIGHT}, {s, BUF_PARAM_WIDTH}});
  return q;
}

TEST_F(Frame, EveryMemberQueriesInTheFixedOrder) {
  for (const MemberInfo& m : Members()) {
    Job job(m, 4, 3);
    ClearQueryLog();
    ASSERT_EQ(job.Run(12), STATUS_OK) << m.name;
    ASSERT_EQ(QueryLog(), Queries(job.src.handle(), job.dst.handle(), true)) << m.name;
  }
}

TEST_F(Frame, RefusalsStopTheQueriesAndWriteNothing) {
  for (const MemberInfo& m : Members()) {
    Job job(m, 4, 3);
    const BufferHandle s = job.src.handle(), d = job.dst.handle();
    job.src.params().valid = 0;
    ClearQueryLog();
    EXPECT_EQ(job.Run(12), STATUS_BAD_BUFFER) << m.name;
    EXPECT_EQ(QueryLog(), (std::vector<Query>{{s, BUF_PARAM_VALID}})) << m.name;
    job.src.params().valid = 1;
    job.dst.params().valid = 0;
    ClearQueryLog();
    EXPECT_EQ(job.Run(12), STATUS_BAD_BUFFER) << m.name;
    EXPECT_EQ(QueryLog(), Queries(s, d, false)) << m.name;
    job.dst.params().valid = 1;
    if (m.depth == Depth::BAYn) {
      ClearQueryLog();
      EXPECT_EQ(job.Run(8), STATUS_BAD_BUFFER) << m.name;
      EXPECT_EQ(QueryLog(), Queries(s, d, false)) << m.name;
    }
    EXPECT_TRUE(AllBytesAre(job.dst.bytes(), kCanary)) << m.name;
  }
}

// The query's own status is never looked at; an unanswered validity is 0.
TEST_F(Frame, AnswersAreJudgedByValue) {
  const MemberInfo& m = *FindMember(Depth::BAYn, Packing::BGR24, Method::dup, Phase::A);
  Job job(m, 2, 2);
  SetQueryStatus(STATUS_BAD_BUFFER);
  EXPECT_EQ(job.Run(16), STATUS_OK);
  EXPECT_FALSE(AllBytesAre(job.dst.bytes(), kCanary));
  SetSilentParameter(BUF_PARAM_VALID);
  EXPECT_EQ(job.Run(16), STATUS_BAD_BUFFER);
}

// Outside the contract: nothing is read beyond the image or written, and the
// call still succeeds.  The source holds just its width x height samples.
TEST_F(Frame, DegenerateImagesWriteNothing) {
  for (const MemberInfo& m : Members()) {
    for (auto [w, h] : {std::pair{1u, 1u}, std::pair{1u, 5u}, std::pair{5u, 1u}, std::pair{0u, 3u}}) {
      TestImage src(FormatOf(m.depth), w, h, w * SampleBytes(m.depth), 0, 0x11);
      TestImage dst(FormatOf(m.packing), w, h, 8, 64);
      EXPECT_EQ(m.call(src.handle(), dst.handle(), 12), STATUS_OK) << m.name;
      EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary)) << m.name << " " << w << "x" << h;
    }
  }
}

TEST_F(Frame, MissingAddressesAndShortStridesWriteNothing) {
  for (const MemberInfo& m : Members()) {
    const uint32_t sample = SampleBytes(m.depth), pixel = PixelBytes(m.packing);
    struct Case { uint64_t src_address_mask, dst_address_mask; uint32_t src_stride, dst_stride; };
    const Case cases[] = {{0, ~0ull, 4 * sample, 4 * pixel},
                          {~0ull, 0, 4 * sample, 4 * pixel},
                          {~0ull, ~0ull, 4 * sample - 1, 4 * pixel},  // BAYn: 7 rounds down to 6
                          {~0ull, ~0ull, 4 * sample, 4 * pixel - 1}};
    for (const Case& c : cases) {
      Job job(m, 4, 3);
      job.src.params().address &= c.src_address_mask;
      job.dst.params().address &= c.dst_address_mask;
      job.src.params().stride = c.src_stride;
      job.dst.params().stride = c.dst_stride;
      EXPECT_EQ(job.Run(12), STATUS_OK) << m.name;
      EXPECT_TRUE(AllBytesAre(job.dst.bytes(), kCanary)) << m.name;
    }
  }
}

}  // namespace
}  // namespace qvi::test
