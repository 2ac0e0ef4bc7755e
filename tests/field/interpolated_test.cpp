// The interpolating de-interlacers: worked bytes, the format table, each
// format's steps and edge bytes against the model, and tight buffers.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "frame_model.h"

namespace qvi::test {
namespace {

class Interpolated : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

const uint32_t kTaken[] = {FMT_Y8,    FMT_XBGR32, FMT_BGRX32, FMT_XRGB32,
                           FMT_RGBX32, FMT_BGR24,  FMT_RGB24,  FMT_YUV422};

// The missing line of a two-line FMT_Y8 field of uniform lines, stride 8.
std::vector<uint8_t> MissingLineOfUniform(Status (*run)(BufferHandle, BufferHandle, FieldParity), uint8_t above,
                                          uint8_t below) {
  TestImage field(FMT_Y8, 8, 2, 8, 0, above);
  std::fill_n(field.line(1), 8, below);
  TestImage frame(FMT_Y8, 8, 4, 8);
  EXPECT_EQ(run(field.handle(), frame.handle(), 1), STATUS_OK);
  return {frame.line(1), frame.line(2)};
}

TEST_F(Interpolated, BilinearWorkedBytes) {
  EXPECT_EQ(MissingLineOfUniform(QVI_FieldToFrame_Bilinear, 16, 32),
            (std::vector<uint8_t>{24, 23, 23, 23, 23, 23, 23, 24}));  // (48 x 105 + 96 x 75) >> 9 inside
  EXPECT_EQ(MissingLineOfUniform(QVI_FieldToFrame_Bilinear, 255, 255),
            (std::vector<uint8_t>{255, 254, 254, 254, 254, 254, 254, 255}));  // the weights sum to 510
}

// Random fields of every taken format at strides from the shortest line
// with an interior upwards (and, for the 4-byte formats, strides that are
// not multiples of 4) against the model, both parities; whatever the model
// leaves alone keeps its canary.
TEST_F(Interpolated, EachFormatsStepsAndEdgesMatchTheModel) {
  std::mt19937 rng(11);
  for (Method m : {Method::Bilinear}) {
    for (uint32_t format : kTaken) {
      for (uint32_t s : {2u, 3u, 6u, 7u, 8u, 9u, 10u, 11u, 15u, 16u, 30u, 32u, 33u}) {
        for (uint32_t h : {1u, 2u, 3u, 5u}) {
          for (FieldParity parity : {0u, 1u}) {
            TestImage field(format, 1, h, s);
            for (auto& b : field.bytes()) b = static_cast<uint8_t>(rng());
            TestImage frame(format, 1, 2 * h, s, 7);
            const auto run = QVI_FieldToFrame_Bilinear;
            ASSERT_EQ(run(field.handle(), frame.handle(), parity), STATUS_OK);
            ASSERT_EQ(frame.bytes(), ModelFrame(m, format, parity, field.bytes(), s, h, frame.bytes().size()))
                << std::hex << format << std::dec << " s " << s << " h " << h << " parity " << parity;
          }
        }
      }
    }
  }
}

TEST_F(Interpolated, OnlyTheEightFormatsAreTakenByTheirFullCode) {
  std::vector<uint32_t> codes = {0, 0x01, 0x1E, 0xC0022501, 0xFFFFFFFF};
  for (uint32_t c = FMT_Y8 - 1; c <= FMT_Y12_ALT + 1; ++c) codes.push_back(c);
  for (uint32_t code : codes) {
    const bool taken = std::find(std::begin(kTaken), std::end(kTaken), code) != std::end(kTaken);
    TestImage field(code, 4, 2, 8, 0, 0x21);
    TestImage frame(code, 4, 4, 8);
    EXPECT_EQ(QVI_FieldToFrame_Bilinear(field.handle(), frame.handle(), 0),
              taken ? STATUS_OK : STATUS_BAD_PARAMETER)
        << std::hex << code;
    EXPECT_EQ(AllBytesAre(frame.bytes(), kCanary), !taken) << std::hex << code;
  }
}

// Buffers of exactly stride x height bytes (so the sanitizers see any stray
// access), tiny strides included, and a frame one line short of 2H lines
// that passes the size check because the field's width is 0: every line
// but the last is written as the model says.
TEST_F(Interpolated, TightBuffersAndShortFramesAreNeverLeft) {
  std::mt19937 rng(5);
  for (uint32_t format : kTaken) {
    for (uint32_t s = 0; s < 14; ++s) {
      for (uint32_t h = 1; h < 4; ++h) {
        TestImage field(format, 0, h, s);
        for (auto& b : field.bytes()) b = static_cast<uint8_t>(rng());
        TestImage frame(format, 0, 2 * h - 1, s);
        ASSERT_EQ(QVI_FieldToFrame_Bilinear(field.handle(), frame.handle(), 1), STATUS_OK);
        auto model = ModelFrame(Method::Bilinear, format, 1, field.bytes(), s, h, 2 * h * s);
        model.resize(frame.bytes().size());
        ASSERT_EQ(frame.bytes(), model) << std::hex << format << std::dec << " s " << s << " h " << h;
      }
    }
  }
}

}  // namespace
}  // namespace qvi::test
