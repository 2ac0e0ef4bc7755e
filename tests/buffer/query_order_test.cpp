// The order in which QVI_Convert asks the buffer library: every parameter, in
// order, whatever the route and whatever status the queries return; every
// failed check answers STATUS_BAD_BUFFER at its own step with nothing
// written; and a Bayer route, once its checks pass, hands both handles to a
// demosaic entry point, which asks again.
#include <gtest/gtest.h>

#include <vector>

#include "support/image.h"

namespace qvi::test {
namespace {

// Each case changes the answers (or how they arrive) about a 4x2 Y8 source
// and a Y16 destination; the log must end at the query that decided.
TEST(ConvertQueries, AskInOrderAndStopAtTheFailedCheckWithNothingWritten) {
  ResetFakeBuffers();
  const struct {
    const char* what;
    void (*spoil)(FakeBuffer& s, FakeBuffer& d);
    Status status;
    size_t queries_made;
  } cases[] = {
      {"a route", [](FakeBuffer&, FakeBuffer&) {}, STATUS_OK, 14},
      {"a block copy", [](FakeBuffer& s, FakeBuffer&) { s.format = FMT_Y16; }, STATUS_OK, 14},
      {"no route", [](FakeBuffer& s, FakeBuffer& d) { s.format = FMT_Y16, d.format = FMT_BGR36; }, STATUS_BAD_PARAMETER, 14},
      {"every query answers status 99", [](FakeBuffer&, FakeBuffer&) { SetQueryStatus(99); }, STATUS_OK, 14},
      {"validity unanswered", [](FakeBuffer&, FakeBuffer&) { SetSilentParameter(BUF_PARAM_VALID); }, STATUS_BAD_BUFFER, 1},
      {"source invalid", [](FakeBuffer& s, FakeBuffer&) { s.valid = 0; }, STATUS_BAD_BUFFER, 1},
      {"destination invalid", [](FakeBuffer&, FakeBuffer& d) { d.valid = 0; }, STATUS_BAD_BUFFER, 2},
      {"destination without format", [](FakeBuffer&, FakeBuffer& d) { d.format = 0; }, STATUS_BAD_BUFFER, 3},
      {"source without format", [](FakeBuffer& s, FakeBuffer&) { s.format = 0; }, STATUS_BAD_BUFFER, 4},
      {"source without memory", [](FakeBuffer& s, FakeBuffer&) { s.address = 0; }, STATUS_BAD_BUFFER, 5},
      {"destination without memory", [](FakeBuffer&, FakeBuffer& d) { d.address = 0; }, STATUS_BAD_BUFFER, 6},
  };
  for (const auto& c : cases) {
    TestImage src(FMT_Y8, 4, 2, 8, 0, 0x11), dst(FMT_Y16, 4, 2, 8);
    c.spoil(src.params(), dst.params());
    ClearQueryLog();
    EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), c.status) << c.what;
    SetQueryStatus(0), SetSilentParameter(0);
    const BufferHandle s = src.handle(), d = dst.handle();
    const std::vector<Query> full = {
        {s, BUF_PARAM_VALID},  {d, BUF_PARAM_VALID},  {d, BUF_PARAM_FORMAT}, {s, BUF_PARAM_FORMAT},
        {s, BUF_PARAM_ADDRESS}, {d, BUF_PARAM_ADDRESS}, {s, BUF_PARAM_STRIDE}, {d, BUF_PARAM_STRIDE},
        {s, BUF_PARAM_HEIGHT}, {d, BUF_PARAM_HEIGHT}, {s, BUF_PARAM_WIDTH},  {d, BUF_PARAM_WIDTH},
        {s, BUF_PARAM_DEMOSAIC_METHOD}, {s, BUF_PARAM_BAYER_PHASE}};
    EXPECT_EQ(QueryLog(), std::vector<Query>(full.begin(), full.begin() + c.queries_made)) << c.what;
    EXPECT_EQ(AllBytesAre(dst.bytes(), kCanary), c.status != STATUS_OK) << c.what;
    if (c.status == STATUS_OK) { EXPECT_EQ(dst.Get16(0) & 0xFF, 0x11u) << c.what; }
  }
}

// The Bayer hand-off: a BAY12 source (method and phase below) into a BGR24
// or RGBX32 destination of 4x3 pixels.  The conversion's fourteen queries,
// then, when the route accepts the method and phase, the member's eight.
TEST(ConvertQueries, TheBayerHandOffAsksAgainThroughTheMember) {
  ResetFakeBuffers();
  const struct {
    const char* what;
    uint32_t destination_format, method, phase, destination_stride;
    Status status;
    bool handed_off;
  } cases[] = {
      {"handed off", FMT_BGR24, DEMOSAIC_METHOD_AVE, BAYER_PHASE_B, 12, STATUS_OK, true},
      {"only dup into RGBX32", FMT_RGBX32, DEMOSAIC_METHOD_MED, BAYER_PHASE_A, 16, STATUS_BAD_BAYER_MODE, false},
      {"no such phase", FMT_BGR24, DEMOSAIC_METHOD_DUP, 0x50A, 12, STATUS_BAD_BAYER_MODE, false},
      {"destination too small", FMT_BGR24, DEMOSAIC_METHOD_DUP, BAYER_PHASE_A, 11, STATUS_BAD_BUFFER, false},
  };
  for (const auto& c : cases) {
    TestImage src(FMT_BAY12, 4, 3, 8, 0, 0x40), dst(c.destination_format, 4, 3, c.destination_stride);
    src.params().method = c.method, src.params().phase = c.phase;
    ClearQueryLog();
    EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), c.status) << c.what;
    const BufferHandle s = src.handle(), d = dst.handle();
    std::vector<Query> expected = {
        {s, BUF_PARAM_VALID},  {d, BUF_PARAM_VALID},  {d, BUF_PARAM_FORMAT}, {s, BUF_PARAM_FORMAT},
        {s, BUF_PARAM_ADDRESS}, {d, BUF_PARAM_ADDRESS}, {s, BUF_PARAM_STRIDE}, {d, BUF_PARAM_STRIDE},
        {s, BUF_PARAM_HEIGHT}, {d, BUF_PARAM_HEIGHT}, {s, BUF_PARAM_WIDTH},  {d, BUF_PARAM_WIDTH},
        {s, BUF_PARAM_DEMOSAIC_METHOD}, {s, BUF_PARAM_BAYER_PHASE}};
    if (c.handed_off) {
      expected.insert(expected.end(), {{s, BUF_PARAM_VALID}, {d, BUF_PARAM_VALID}, {s, BUF_PARAM_ADDRESS},
                                       {s, BUF_PARAM_STRIDE}, {d, BUF_PARAM_STRIDE}, {d, BUF_PARAM_ADDRESS},
                                       {s, BUF_PARAM_HEIGHT}, {s, BUF_PARAM_WIDTH}});
    }
    EXPECT_EQ(QueryLog(), expected) << c.what;
    EXPECT_EQ(AllBytesAre(dst.bytes(), kCanary), !c.handed_off) << c.what;
  }
}

}  // namespace
}  // namespace qvi::test
