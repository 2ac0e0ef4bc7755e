// The order in which the de-interlacers ask the buffer library, and that each
// failed check answers at its own step with nothing written.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "support/image.h"

namespace qvi::test {
namespace {

struct Entry {
  const char* name;
  Status (*run)(BufferHandle, BufferHandle, FieldParity);
  bool asks_format;
};
const Entry kMethods[] = {
    {"LineDup", QVI_FieldToFrame_LineDup, false},
    {"LineAve", QVI_FieldToFrame_LineAve, false},
    {"Bilinear", QVI_FieldToFrame_Bilinear, true},
    {"Median", QVI_FieldToFrame_Median, true},
};

std::vector<Query> Sequence(BufferHandle f, BufferHandle d, bool asks_format) {
  std::vector<Query> q = {{f, BUF_PARAM_VALID}, {d, BUF_PARAM_VALID}, {f, BUF_PARAM_ADDRESS}, {d, BUF_PARAM_ADDRESS}};
  if (asks_format) q.push_back({f, BUF_PARAM_FORMAT});
  for (BufferParameter id : {BUF_PARAM_STRIDE, BUF_PARAM_HEIGHT, BUF_PARAM_WIDTH}) {
    q.push_back({f, id});
    q.push_back({d, id});
  }
  return q;
}

class FieldChecks : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

// Each case spoils one answer; the log must end where the check saw it.
// Field 4 pixels x 2 lines at stride 8, frame 8 x 2 at stride 8: the size
// check compares 2 x 4 x 2 = 16 with 8 x 2.
TEST_F(FieldChecks, EachMethodAsksInOrderAndStopsAtTheFailedCheck) {
  struct Case {
    const char* what;
    std::function<void(FakeBuffer& f, FakeBuffer& d)> spoil;
    Status status;
    size_t queries;  // 0: the whole sequence
    Status status_if_format_asked;
  };
  const Case cases[] = {
      {"all good", [](FakeBuffer&, FakeBuffer&) {}, STATUS_OK, 0, STATUS_OK},
      {"field invalid", [](FakeBuffer& f, FakeBuffer&) { f.valid = 0; }, STATUS_BAD_BUFFER, 1, STATUS_BAD_BUFFER},
      {"frame invalid is not looked at", [](FakeBuffer&, FakeBuffer& d) { d.valid = 0; }, STATUS_OK, 0, STATUS_OK},
      {"field without memory", [](FakeBuffer& f, FakeBuffer&) { f.address = 0; }, STATUS_BAD_BUFFER, 4,
       STATUS_BAD_BUFFER},
      {"frame without memory", [](FakeBuffer&, FakeBuffer& d) { d.address = 0; }, STATUS_BAD_BUFFER, 4,
       STATUS_BAD_BUFFER},
      {"frame one byte short", [](FakeBuffer&, FakeBuffer& d) { d.stride = 15, d.height = 1; }, STATUS_BAD_BUFFER,
       0, STATUS_BAD_BUFFER},
      {"width, not stride, is weighed", [](FakeBuffer&, FakeBuffer& d) { d.stride = 16, d.height = 1; }, STATUS_OK, 0,
       STATUS_OK},
      {"format not taken", [](FakeBuffer& f, FakeBuffer&) { f.format = FMT_Y16; }, STATUS_OK, 0,
       STATUS_BAD_PARAMETER},
      {"short frame and no format", [](FakeBuffer& f, FakeBuffer& d) { f.format = 0, d.height = 1; },
       STATUS_BAD_BUFFER, 0, STATUS_BAD_BUFFER},
  };
  for (const Entry& m : kMethods) {
    for (const Case& c : cases) {
      TestImage field(FMT_Y8, 4, 2, 8, 0, 0x40);
      TestImage frame(FMT_Y8, 8, 2, 8, 32);
      c.spoil(field.params(), frame.params());
      ClearQueryLog();
      const Status status = m.asks_format ? c.status_if_format_asked : c.status;
      EXPECT_EQ(m.run(field.handle(), frame.handle(), 1), status) << m.name << ": " << c.what;
      auto expected = Sequence(field.handle(), frame.handle(), m.asks_format);
      if (c.queries) expected.resize(c.queries);
      EXPECT_EQ(QueryLog(), expected) << m.name << ": " << c.what;
      if (status != STATUS_OK) {
        EXPECT_TRUE(AllBytesAre(frame.bytes(), kCanary)) << m.name << ": " << c.what;
      }
    }
  }
}

// The dispatcher tests both validities itself, then hands over to the
// method, which asks again from the start.
TEST_F(FieldChecks, TheDispatcherTestsBothHandlesThenTheMethod) {
  struct Case {
    FieldToFrameMethod method;
    uint64_t field_valid, frame_valid;
    Status status;
    size_t own_queries;  // before the method's sequence (none follows if the dispatcher refuses)
  };
  const Case cases[] = {
      {FIELD_TO_FRAME_LINE_DUP, 1, 1, STATUS_OK, 2}, {FIELD_TO_FRAME_LINE_AVE, 1, 1, STATUS_OK, 2},
      {FIELD_TO_FRAME_BILINEAR, 1, 1, STATUS_OK, 2}, {FIELD_TO_FRAME_MEDIAN, 1, 1, STATUS_OK, 2},
      {4, 1, 1, STATUS_BAD_PARAMETER, 2},             {0xFFFFFFFF, 1, 1, STATUS_BAD_PARAMETER, 2},
      {4, 0, 1, STATUS_BAD_BUFFER, 1},                {FIELD_TO_FRAME_BILINEAR, 1, 0, STATUS_BAD_BUFFER, 2},
  };
  for (const Case& c : cases) {
    TestImage field(FMT_Y8, 4, 2, 8, 0, 0x40);
    TestImage frame(FMT_Y8, 8, 4, 8);
    field.params().valid = c.field_valid;
    frame.params().valid = c.frame_valid;
    ClearQueryLog();
    EXPECT_EQ(QVI_FieldToFrame(field.handle(), frame.handle(), c.method, 0), c.status) << c.method;
    std::vector<Query> expected = {{field.handle(), BUF_PARAM_VALID}, {frame.handle(), BUF_PARAM_VALID}};
    expected.resize(c.own_queries);
    if (c.status == STATUS_OK) {
      const auto method = Sequence(field.handle(), frame.handle(), c.method >= FIELD_TO_FRAME_BILINEAR);
      expected.insert(expected.end(), method.begin(), method.end());
    }
    EXPECT_EQ(QueryLog(), expected) << c.method;
    EXPECT_EQ(AllBytesAre(frame.bytes(), kCanary), c.status != STATUS_OK) << c.method;
  }
}

}  // namespace
}  // namespace qvi::test
