// The interpolating de-interlacers and QVS_median6: worked bytes, the format
// table, each format's steps and edge bytes and the median's drift against
// the model, and tight buffers.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <utility>

#include "frame_model.h"

namespace qvi::test {
namespace {

class Interpolated : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

using Run = Status (*)(BufferHandle, BufferHandle, FieldParity);
const std::pair<Method, Run> kMethods[] = {{Method::Bilinear, QVI_FieldToFrame_Bilinear},
                                           {Method::Median, QVI_FieldToFrame_Median}};

const uint32_t kTaken[] = {FMT_Y8,    FMT_XBGR32, FMT_BGRX32, FMT_XRGB32,
                           FMT_RGBX32, FMT_BGR24,  FMT_RGB24,  FMT_YUV422};

// The missing line of a two-line FMT_Y8 field of uniform lines, stride 8.
std::vector<uint8_t> MissingLineOfUniform(Run run, uint8_t above, uint8_t below) {
  TestImage field(FMT_Y8, 8, 2, 8, 0, above);
  std::fill_n(field.line(1), 8, below);
  TestImage frame(FMT_Y8, 8, 4, 8);
  EXPECT_EQ(run(field.handle(), frame.handle(), 1), STATUS_OK);
  return {frame.line(1), frame.line(2)};
}

TEST_F(Interpolated, WorkedBytes) {
  EXPECT_EQ(MissingLineOfUniform(QVI_FieldToFrame_Bilinear, 16, 32),
            (std::vector<uint8_t>{24, 23, 23, 23, 23, 23, 23, 24}));  // (48 x 105 + 96 x 75) >> 9 inside
  EXPECT_EQ(MissingLineOfUniform(QVI_FieldToFrame_Bilinear, 255, 255),
            (std::vector<uint8_t>{255, 254, 254, 254, 254, 254, 254, 255}));  // the weights sum to 510
  EXPECT_EQ(MissingLineOfUniform(QVI_FieldToFrame_Median, 16, 32), std::vector<uint8_t>(8, 24));
  EXPECT_EQ(MissingLineOfUniform(QVI_FieldToFrame_Median, 255, 255), std::vector<uint8_t>(8, 255));
}

TEST_F(Interpolated, Median6OfWorkedValuesAndAgainstSorting) {
  EXPECT_EQ(QVS_median6(1, 2, 3, 4, 5, 6), 3u);
  EXPECT_EQ(QVS_median6(0, 0, 0, 255, 255, 255), 127u);
  EXPECT_EQ(QVS_median6(7, 7, 7, 7, 7, 7), 7u);
  EXPECT_EQ(QVS_median6(0x107, 7, 7, 7, 7, 7), 7u);
  // Every arrangement of four levels (ties in every position), with noise
  // above the low byte, then random values.
  std::mt19937 rng(3);
  const uint32_t levels[] = {0, 1, 2, 255};
  for (uint32_t i = 0; i < 4096; ++i) {
    std::array<uint32_t, 6> v;
    for (uint32_t k = 0; k < 6; ++k) v[k] = levels[(i >> (2 * k)) & 3] | (rng() & ~0xFFu);
    ASSERT_EQ(QVS_median6(v[0], v[1], v[2], v[3], v[4], v[5]), SortedMedian6(v)) << i;
  }
  for (int i = 0; i < 200000; ++i) {
    std::array<uint32_t, 6> v;
    for (auto& x : v) x = rng() >> (rng() % 25);
    ASSERT_EQ(QVS_median6(v[0], v[1], v[2], v[3], v[4], v[5]), SortedMedian6(v));
  }
}

// The 4-byte median drift in numbers: a frame of 2 x H x S - (S - line) x
// (H - 1) bytes, where a missing line is 20 bytes at stride 32 and 8 at 16.
TEST_F(Interpolated, MedianOnFourByteFormatsDrifts) {
  for (auto [s, line] : {std::pair{32u, 20u}, std::pair{16u, 8u}}) {
    const uint32_t h = 3;
    TestImage field(FMT_BGRX32, s / 4, h, s, 0, 0x10);
    TestImage frame(FMT_BGRX32, s / 4, 2 * h, s);
    ASSERT_EQ(QVI_FieldToFrame_Median(field.handle(), frame.handle(), 0), STATUS_OK);
    const size_t written = 2 * h * s - (s - line) * (h - 1);
    for (size_t i = 0; i < frame.bytes().size(); ++i) ASSERT_EQ(frame.bytes()[i] != kCanary, i < written) << i;
  }
}

// Random fields of every taken format at strides from the shortest line
// with an interior upwards (and, for the 4-byte formats, strides that are
// not multiples of 4) against the model, both parities; whatever the model
// leaves alone keeps its canary.
TEST_F(Interpolated, EachFormatsStepsAndEdgesMatchTheModel) {
  std::mt19937 rng(11);
  for (auto [m, run] : kMethods) {
    for (uint32_t format : kTaken) {
      for (uint32_t s : {2u, 3u, 6u, 7u, 8u, 9u, 10u, 11u, 15u, 16u, 20u, 24u, 30u, 32u, 33u}) {
        for (uint32_t h : {1u, 2u, 3u, 5u}) {
          for (FieldParity parity : {0u, 1u}) {
            TestImage field(format, 1, h, s);
            for (auto& b : field.bytes()) b = static_cast<uint8_t>(rng());
            TestImage frame(format, 1, 2 * h, s, 7);
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
  for (auto [m, run] : kMethods) {
    for (uint32_t code : codes) {
      const bool taken = std::find(std::begin(kTaken), std::end(kTaken), code) != std::end(kTaken);
      TestImage field(code, 4, 2, 8, 0, 0x21);
      TestImage frame(code, 4, 4, 8);
      EXPECT_EQ(run(field.handle(), frame.handle(), 0), taken ? STATUS_OK : STATUS_BAD_PARAMETER) << std::hex << code;
      EXPECT_EQ(AllBytesAre(frame.bytes(), kCanary), !taken) << std::hex << code;
    }
  }
}

// Buffers of exactly stride x height bytes (so the sanitizers see any stray
// access), tiny strides included, and a frame one line short of 2H lines
// that passes the size check because the field's width is 0: every line
// but the last is written as the model says.
TEST_F(Interpolated, TightBuffersAndShortFramesAreNeverLeft) {
  std::mt19937 rng(5);
  for (auto [m, run] : kMethods) {
    for (uint32_t format : kTaken) {
      for (uint32_t s = 0; s < 14; ++s) {
        for (uint32_t h = 1; h < 4; ++h) {
          TestImage field(format, 0, h, s);
          for (auto& b : field.bytes()) b = static_cast<uint8_t>(rng());
          TestImage frame(format, 0, 2 * h - 1, s);
          ASSERT_EQ(run(field.handle(), frame.handle(), 1), STATUS_OK);
          ASSERT_EQ(frame.bytes(), ModelFrame(m, format, 1, field.bytes(), s, h, frame.bytes().size()))
              << std::hex << format << std::dec << " s " << s << " h " << h;
        }
      }
    }
  }
}

}  // namespace
}  // namespace qvi::test
