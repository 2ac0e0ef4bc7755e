// Line duplication and line averaging: the worked frames, the line orders
// against the model, and what happens at the edges of the contract.
#include <gtest/gtest.h>

#include <random>

#include "frame_model.h"

namespace qvi::test {
namespace {

class LineMethods : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

// The first byte of each of the frame's lines.
std::vector<uint8_t> LineStarts(TestImage& frame, uint32_t lines) {
  std::vector<uint8_t> starts;
  for (uint32_t y = 0; y < lines; ++y) starts.push_back(frame.line(y)[0]);
  return starts;
}

TEST_F(LineMethods, WorkedFrames) {
  struct Case {
    Status (*run)(BufferHandle, BufferHandle, FieldParity);
    FieldParity parity;
    std::vector<uint8_t> lines;
  };
  const Case cases[] = {
      {QVI_FieldToFrame_LineDup, 0, {16, 16, 16, 32, 32, 48}},
      {QVI_FieldToFrame_LineDup, 1, {16, 16, 32, 32, 48, 48}},
      {QVI_FieldToFrame_LineAve, 0, {16, 16, 24, 32, 40, 48}},
      {QVI_FieldToFrame_LineAve, 1, {16, 24, 32, 40, 48, 48}},
      {QVI_FieldToFrame_LineAve, 0xFFFFFFFF, {16, 24, 32, 40, 48, 48}},  // any non-zero parity
  };
  for (const Case& c : cases) {
    TestImage field(FMT_Y8, 4, 3, 4);
    for (uint32_t y = 0; y < 3; ++y) std::fill_n(field.line(y), 4, static_cast<uint8_t>(16 * (y + 1)));
    TestImage frame(FMT_Y8, 4, 6, 4, 8);
    ASSERT_EQ(c.run(field.handle(), frame.handle(), c.parity), STATUS_OK);
    EXPECT_EQ(LineStarts(frame, 6), c.lines) << c.parity;
    for (uint32_t y = 0; y < 6; ++y) EXPECT_TRUE(AllBytesAre({frame.line(y), frame.line(y) + 4}, c.lines[y]));
    EXPECT_TRUE(AllBytesAre({frame.line(6), frame.line(6) + 8}, kCanary));
  }
}

// Random fields of every small height and odd and even strides, padding
// included, against the model; the frame beyond 2 x H x S keeps its canary.
TEST_F(LineMethods, MatchTheModelInBothParities) {
  std::mt19937 rng(7);
  for (Method m : {Method::Dup, Method::Ave}) {
    for (uint32_t h : {1u, 2u, 3u, 6u}) {
      for (uint32_t s : {1u, 7u, 8u, 13u, 64u}) {
        for (FieldParity parity : {0u, 1u}) {
          TestImage field(FMT_Y8, s / 2, h, s);
          for (auto& b : field.bytes()) b = static_cast<uint8_t>(rng());
          TestImage frame(FMT_Y8, s, 2 * h, s, 5);
          const auto run = m == Method::Dup ? QVI_FieldToFrame_LineDup : QVI_FieldToFrame_LineAve;
          ASSERT_EQ(run(field.handle(), frame.handle(), parity), STATUS_OK);
          ASSERT_EQ(frame.bytes(), ModelFrame(m, FMT_Y8, parity, field.bytes(), s, h, frame.bytes().size()))
              << static_cast<int>(m) << " h " << h << " s " << s << " parity " << parity;
        }
      }
    }
  }
}

// Frame lines are S (the field's stride) apart, whatever the frame's stride;
// a frame that passes the size check on the field's width but is shorter
// than 2 x H x S gets the lines that fit and nothing after them; a field of
// no lines writes nothing.
TEST_F(LineMethods, FrameGeometryComesFromTheField) {
  struct Case {
    uint32_t field_height, frame_stride, frame_height;
    size_t written;
  };
  const Case cases[] = {{2, 20, 2, 24}, {2, 12, 1, 12}, {2, 11, 1, 6}, {0, 6, 2, 0}};
  for (const Case& c : cases) {
    TestImage field(FMT_Y8, 1, c.field_height, 6, 0, 0x66);
    TestImage frame(FMT_Y8, 1, c.frame_height, c.frame_stride, 32);
    ASSERT_EQ(QVI_FieldToFrame_LineAve(field.handle(), frame.handle(), 0), STATUS_OK);
    for (size_t i = 0; i < frame.bytes().size(); ++i)
      EXPECT_EQ(frame.bytes()[i], i < c.written ? 0x66 : kCanary) << c.frame_stride << " byte " << i;
  }
}

}  // namespace
}  // namespace qvi::test
