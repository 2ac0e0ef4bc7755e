// The frame every member shares: query order, refusals that write nothing,
// and what happens outside the contract.
#include <gtest/gtest.h>

#include "bayer_support.h"

namespace qvi::test {
namespace {

class Frame : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

TEST_F(Frame, QueriesInTheFixedOrderAndRefusalsWriteNothing) {
  for (const MemberInfo& m : Members()) {
    Job job(m, 4, 3);
    const BufferHandle s = job.src.handle(), d = job.dst.handle();
    const std::vector<Query> all = {{s, BUF_PARAM_VALID},   {d, BUF_PARAM_VALID},  {s, BUF_PARAM_ADDRESS},
                                    {s, BUF_PARAM_STRIDE},  {d, BUF_PARAM_STRIDE}, {d, BUF_PARAM_ADDRESS},
                                    {s, BUF_PARAM_HEIGHT},  {s, BUF_PARAM_WIDTH}};
    auto run = [&](uint64_t src_valid, uint64_t dst_valid, uint32_t bits, Status status, size_t queries) {
      job.src.params().valid = src_valid, job.dst.params().valid = dst_valid;
      ClearQueryLog();
      EXPECT_EQ(job.Run(bits), status) << m.name;
      EXPECT_EQ(QueryLog(), std::vector<Query>(all.begin(), all.begin() + queries)) << m.name;
    };
    run(0, 1, 12, STATUS_BAD_BUFFER, 1);
    run(1, 0, 12, STATUS_BAD_BUFFER, 2);
    if (m.depth == Depth::BAYn) run(1, 1, 8, STATUS_BAD_BUFFER, 2);  // no other depth is refused
    EXPECT_TRUE(AllBytesAre(job.dst.bytes(), kCanary)) << m.name;
    run(1, 1, m.depth == Depth::BAYn ? 7 : 8, STATUS_OK, all.size());
  }
}

// Outside the contract nothing is written and nothing outside the image read
// (each source holds exactly its samples), and the call still succeeds.
TEST_F(Frame, DegenerateImagesAndShortStridesWriteNothing) {
  for (const MemberInfo& m : Members()) {
    const uint32_t sample = SampleBytes(m.depth), pixel = PixelBytes(m.packing);
    for (auto [w, h] : {std::pair{1u, 1u}, std::pair{1u, 5u}, std::pair{5u, 1u}, std::pair{0u, 3u}}) {
      TestImage src(FormatOf(m.depth), w, h, w * sample, 0, 0x11), dst(FormatOf(m.packing), w, h, 8, 64);
      EXPECT_EQ(m.call(src.handle(), dst.handle(), 12), STATUS_OK) << m.name;
      EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary)) << m.name << " " << w << "x" << h;
    }
    for (int c = 0; c < 4; ++c) {
      Job job(m, 4, 3);
      if (c == 0) job.src.params().address = 0;
      if (c == 1) job.dst.params().address = 0;
      if (c == 2) job.src.params().stride = 4 * sample - 1;  // n-bit: 7 rounds down to 6
      if (c == 3) job.dst.params().stride = 4 * pixel - 1;
      EXPECT_EQ(job.Run(12), STATUS_OK) << m.name;
      EXPECT_TRUE(AllBytesAre(job.dst.bytes(), kCanary)) << m.name << " case " << c;
    }
  }
}

}  // namespace
}  // namespace qvi::test
