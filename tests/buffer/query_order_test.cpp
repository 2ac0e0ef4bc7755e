// The order in which QVI_Convert asks the buffer library, and that every
// failed check answers STATUS_BAD_BUFFER at its own step with nothing written.
#include <gtest/gtest.h>

#include <vector>

#include "support/image.h"

namespace qvi::test {
namespace {

std::vector<Query> FullSequence(BufferHandle s, BufferHandle d) {
  return {{s, BUF_PARAM_VALID},   {d, BUF_PARAM_VALID},   {d, BUF_PARAM_FORMAT}, {s, BUF_PARAM_FORMAT},
          {s, BUF_PARAM_ADDRESS}, {d, BUF_PARAM_ADDRESS}, {s, BUF_PARAM_STRIDE}, {d, BUF_PARAM_STRIDE},
          {s, BUF_PARAM_HEIGHT},  {d, BUF_PARAM_HEIGHT},  {s, BUF_PARAM_WIDTH},  {d, BUF_PARAM_WIDTH},
          {s, BUF_PARAM_DEMOSAIC_METHOD}, {s, BUF_PARAM_BAYER_PHASE}};
}

// Every parameter, in order, for every route and for a pair that is none.
TEST(ConvertQueries, AskEveryParameterInOrderForEveryRoute) {
  ResetFakeBuffers();
  for (uint32_t dst_format : {FMT_BGRX32, FMT_Y8, FMT_BGR36 /* not a route from Y16 */}) {
    TestImage src(FMT_Y16, 4, 2, 8), dst(dst_format, 4, 2, 24);
    ClearQueryLog();
    QVI_Convert(src.handle(), dst.handle());
    EXPECT_EQ(QueryLog(), FullSequence(src.handle(), dst.handle())) << std::hex << dst_format;
  }
}

// Each case breaks one answer; the log must end at the query that saw it.
TEST(ConvertQueries, EachFailedCheckStopsAtItsOwnQuery) {
  ResetFakeBuffers();
  const struct {
    const char* what;
    void (*spoil)(FakeBuffer& s, FakeBuffer& d);
    size_t queries_made;
  } cases[] = {
      {"source invalid", [](FakeBuffer& s, FakeBuffer&) { s.valid = 0; }, 1},
      {"destination invalid", [](FakeBuffer&, FakeBuffer& d) { d.valid = 0; }, 2},
      {"destination without format", [](FakeBuffer&, FakeBuffer& d) { d.format = 0; }, 3},
      {"source without format", [](FakeBuffer& s, FakeBuffer&) { s.format = 0; }, 4},
      {"source without memory", [](FakeBuffer& s, FakeBuffer&) { s.address = 0; }, 5},
      {"destination without memory", [](FakeBuffer&, FakeBuffer& d) { d.address = 0; }, 6},
  };
  for (const auto& c : cases) {
    TestImage src(FMT_Y8, 4, 2, 4, 0, 0x11), dst(FMT_BGR24, 4, 2, 12);
    c.spoil(src.params(), dst.params());
    ClearQueryLog();
    EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_BAD_BUFFER) << c.what;
    const auto full = FullSequence(src.handle(), dst.handle());
    EXPECT_EQ(QueryLog(), std::vector<Query>(full.begin(), full.begin() + c.queries_made)) << c.what;
    EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary)) << c.what;
  }
}

// Answers are judged by value: a query's status is never looked at, an
// unanswered validity reads as 0, and so does an unknown handle's.
TEST(ConvertQueries, TheQueryStatusIsNeverLookedAt) {
  ResetFakeBuffers();
  TestImage src(FMT_Y8, 2, 1, 2, 0, 0x40), dst(FMT_Y16, 2, 1, 4);
  SetQueryStatus(99);  // every answer still arrives
  EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  EXPECT_EQ(dst.Get16(0), 0x40u);
  SetQueryStatus(0);
  SetSilentParameter(BUF_PARAM_VALID);
  EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_BAD_BUFFER);
  SetSilentParameter(0);
  dst.Put16(0, 0);
  EXPECT_EQ(QVI_Convert(0xDEAD, dst.handle()), STATUS_BAD_BUFFER);
  EXPECT_EQ(dst.Get16(0), 0u);
}

}  // namespace
}  // namespace qvi::test
