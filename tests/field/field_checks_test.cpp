// The order in which the de-interlacers and their dispatcher ask the buffer
// library, and that each failed check answers at its own step with nothing
// written.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "support/image.h"

namespace qvi::test {
namespace {

using Run = Status (*)(BufferHandle, BufferHandle, FieldParity);
const Run kMethods[] = {QVI_FieldToFrame_LineDup, QVI_FieldToFrame_LineAve, QVI_FieldToFrame_Bilinear,
                        QVI_FieldToFrame_Median};

std::vector<Query> Sequence(BufferHandle f, BufferHandle d, bool asks_format) {
  std::vector<Query> q = {{f, BUF_PARAM_VALID}, {d, BUF_PARAM_VALID}, {f, BUF_PARAM_ADDRESS}, {d, BUF_PARAM_ADDRESS}};
  if (asks_format) q.push_back({f, BUF_PARAM_FORMAT});
  for (BufferParameter id : {BUF_PARAM_STRIDE, BUF_PARAM_HEIGHT, BUF_PARAM_WIDTH})
    q.insert(q.end(), {{f, id}, {d, id}});
  return q;
}

// Each case spoils one answer of a field of 4 pixels x 2 lines at stride 8
// and a frame of stride 8 x 2 lines (the size check weighs 2 x 4 x 2 = 16
// against 16).  Every method is run directly and through the dispatcher,
// which tests both validities itself first; method 4 is not a method.
TEST(FieldChecks, AskInOrderAndStopAtTheFailedCheck) {
  ResetFakeBuffers();
  struct Case {
    const char* what;
    std::function<void(FakeBuffer& f, FakeBuffer& d)> spoil;
    Status line_methods, interpolating;
    size_t queries;  // 0: the whole sequence
  };
  const Status kOk = STATUS_OK, kBuffer = STATUS_BAD_BUFFER, kParameter = STATUS_BAD_PARAMETER;
  const Case cases[] = {
      {"all good", [](FakeBuffer&, FakeBuffer&) {}, kOk, kOk, 0},
      {"field invalid", [](FakeBuffer& f, FakeBuffer&) { f.valid = 0; }, kBuffer, kBuffer, 1},
      {"frame invalid", [](FakeBuffer&, FakeBuffer& d) { d.valid = 0; }, kOk, kOk, 0},  // not looked at
      {"field without memory", [](FakeBuffer& f, FakeBuffer&) { f.address = 0; }, kBuffer, kBuffer, 4},
      {"frame without memory", [](FakeBuffer&, FakeBuffer& d) { d.address = 0; }, kBuffer, kBuffer, 4},
      {"frame a byte short", [](FakeBuffer&, FakeBuffer& d) { d.stride = 15, d.height = 1; }, kBuffer, kBuffer, 0},
      {"width, not stride, weighed", [](FakeBuffer&, FakeBuffer& d) { d.stride = 16, d.height = 1; }, kOk, kOk, 0},
      {"short frame, no format", [](FakeBuffer& f, FakeBuffer& d) { f.format = 0, d.height = 1; }, kBuffer, kBuffer, 0},
      {"no format", [](FakeBuffer& f, FakeBuffer&) { f.format = 0; }, kOk, kParameter, 0},
      {"FMT_Y16", [](FakeBuffer& f, FakeBuffer&) { f.format = FMT_Y16; }, kOk, kParameter, 0},
      {"low byte of FMT_Y8", [](FakeBuffer& f, FakeBuffer&) { f.format = 0x01; }, kOk, kParameter, 0},
      {"past the table", [](FakeBuffer& f, FakeBuffer&) { f.format = FMT_Y12_ALT; }, kOk, kParameter, 0},
  };
  for (FieldToFrameMethod method = 0; method <= 4; ++method) {
    for (const Case& c : cases) {
      for (bool dispatched : {false, true}) {
        if (method == 4 && !dispatched) continue;
        TestImage field(FMT_RGB24, 4, 2, 8, 0, 0x40);
        TestImage frame(FMT_Y8, 8, 2, 8, 32);
        c.spoil(field.params(), frame.params());
        const bool interpolating = method >= FIELD_TO_FRAME_BILINEAR;
        Status status = interpolating ? c.interpolating : c.line_methods;
        auto expected = Sequence(field.handle(), frame.handle(), interpolating);
        if (c.queries) expected.resize(c.queries);
        if (dispatched) {
          const std::vector<Query> own = {{field.handle(), BUF_PARAM_VALID}, {frame.handle(), BUF_PARAM_VALID}};
          expected.insert(expected.begin(), own.begin(), own.end());
          if (field.params().valid == 0 || frame.params().valid == 0 || method == 4) {
            status = method == 4 && field.params().valid && frame.params().valid ? kParameter : kBuffer;
            expected.resize(field.params().valid == 0 ? 1 : 2);
          }
        }
        ClearQueryLog();
        const Status got = dispatched ? QVI_FieldToFrame(field.handle(), frame.handle(), method, 1)
                                      : kMethods[method](field.handle(), frame.handle(), 1);
        const auto where = ::testing::Message() << "method " << method << (dispatched ? " via dispatcher: " : ": ")
                                                << c.what;
        EXPECT_EQ(got, status) << where;
        EXPECT_EQ(QueryLog(), expected) << where;
        EXPECT_EQ(AllBytesAre(frame.bytes(), kCanary), status != STATUS_OK) << where;
      }
    }
  }
}

}  // namespace
}  // namespace qvi::test
