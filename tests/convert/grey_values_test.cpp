// Grey sources: one pixel in, the exact bytes out, for every kind of
// destination.  X bytes and 48-bit words show whether grey fills them.
#include <gtest/gtest.h>

#include <vector>

#include "support/image.h"

namespace qvi::test {
namespace {

class GreyValues : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

std::vector<uint8_t> Le16(std::initializer_list<uint32_t> words) {
  std::vector<uint8_t> out;
  for (uint32_t w : words) {
    out.push_back(static_cast<uint8_t>(w));
    out.push_back(static_cast<uint8_t>(w >> 8));
  }
  return out;
}
std::vector<uint8_t> Le32(uint32_t w) {
  return {uint8_t(w), uint8_t(w >> 8), uint8_t(w >> 16), uint8_t(w >> 24)};
}

struct Case {
  uint32_t src_format;
  std::vector<uint8_t> src_pixel;  // one pixel (or one Y12P group of two)
  uint32_t dst_format;
  std::vector<uint8_t> expected;   // the destination bytes of that pixel (or two)
};

TEST_F(GreyValues, OnePixelGivesExactlyTheseBytes) {
  const std::vector<Case> cases = {
      // 8-bit grey: unscaled into wide words, top bits into 5:6:5 and 5:5:5.
      {FMT_Y8, {0xFF}, FMT_RGB16, Le16({0xFFFF})},
      {FMT_Y8, {0xFF}, FMT_RGB15, Le16({0x7FFF})},
      {FMT_Y8, {0x5A}, FMT_BGR16, Le16({0x5ACB})},
      {FMT_Y8, {0x5A}, FMT_BGR15, Le16({0x2D6B})},
      {FMT_Y8, {0xFF}, FMT_Y16, Le16({0x00FF})},
      {FMT_Y8, {0x5A}, FMT_Y10, Le16({0x005A})},
      {FMT_Y8, {0x5A}, FMT_Y14, Le16({0x005A})},
      {FMT_Y8, {0x5A}, FMT_Y32, Le32(0x5A)},
      {FMT_Y8, {0x5A}, FMT_XRGB32, {0x5A, 0x5A, 0x5A, 0x5A}},
      {FMT_Y8, {0x5A}, FMT_RGBX32, {0x5A, 0x5A, 0x5A, 0x5A}},
      {FMT_Y8, {0x5A}, FMT_RGB24, {0x5A, 0x5A, 0x5A}},
      {FMT_Y8, {0x5A}, FMT_TRIPLE16, Le16({0x5A, 0x5A, 0x5A})},
      {FMT_Y8, {0x5A}, FMT_BGR36, Le16({0x5A, 0x5A, 0x5A})},
      {FMT_Y8, {0x5A}, FMT_RGB30, Le32(0x1681685A)},  // bits 0, 10 and 22
      {FMT_Y8, {0xFF}, FMT_BGR30, Le32(0x3FC3FCFF)},
      // Deep grey: g = s >> (n - 8); words unscaled; two fixed bits in 30-bit.
      {FMT_Y10, Le16({0x3FF}), FMT_Y8, {0xFF}},
      {FMT_Y10, Le16({0x3FF}), FMT_RGB30, Le32(0x4013FF)},
      {FMT_Y14, Le16({0}), FMT_BGR30, Le32(0)},
      {FMT_Y16, Le16({0x1234}), FMT_Y8, {0x12}},
      {FMT_Y16, Le16({0x1234}), FMT_RGB30, Le32(0x10088)},
      {FMT_Y12, Le16({0xABC}), FMT_BGR30, Le32(0x1006AF)},
      {FMT_Y12, Le16({0xABC}), FMT_Y16, Le16({0xABC})},
      {FMT_Y12, Le16({0xABC}), FMT_Y32, Le32(0xABC)},
      {FMT_Y12, Le16({0xABC}), FMT_RGB48, Le16({0xABC, 0xABC, 0xABC})},
      {FMT_Y12, Le16({0xABC}), FMT_BGRX32, {0xAB, 0xAB, 0xAB, 0xAB}},
      {FMT_Y12, Le16({0xABC}), FMT_RGB16, Le16({0xAD55})},
      {FMT_Y12, Le16({0x1FF0}), FMT_Y8, {0xFF}},  // wider than 12 bits: low 8 bits kept
      {FMT_Y12, Le16({0x2000}), FMT_BGR24, {0x00, 0x00, 0x00}},
      // Packed 12-bit grey: b0, then ((b1 & 0x0F) << 4) + (b2 >> 4).
      {FMT_Y12P, {0xAB, 0xCD, 0xEF}, FMT_BGR24, {0xAB, 0xAB, 0xAB, 0xDE, 0xDE, 0xDE}},
      {FMT_Y12P, {0xAB, 0xCD, 0xEF}, FMT_XBGR32, {0xAB, 0xAB, 0xAB, 0xAB, 0xDE, 0xDE, 0xDE, 0xDE}},
      {FMT_Y12P, {0xFF, 0x0F, 0xF0}, FMT_RGB16, Le16({0xFFFF, 0xFFFF})},
  };
  for (const Case& c : cases) {
    const uint32_t width = c.src_format == FMT_Y12P ? 2 : 1;
    const auto src_bytes = static_cast<uint32_t>(c.src_pixel.size());
    const auto dst_bytes = static_cast<uint32_t>(c.expected.size());
    TestImage src(c.src_format, width, 1, src_bytes);
    std::copy(c.src_pixel.begin(), c.src_pixel.end(), src.data());
    TestImage dst(c.dst_format, width, 1, dst_bytes, /*slack=*/4);
    ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK) << std::hex << c.src_format << " " << c.dst_format;
    EXPECT_EQ(std::vector<uint8_t>(dst.data(), dst.data() + dst_bytes), c.expected)
        << std::hex << c.src_format << " -> " << c.dst_format;
    EXPECT_TRUE(AllBytesAre(std::vector<uint8_t>(dst.data() + dst_bytes, dst.data() + dst_bytes + 4), kCanary));
  }
}

// FMT_Y12_ALT converts exactly as FMT_Y12, into every destination of either.
TEST_F(GreyValues, TheSecondTwelveBitCodeConvertsAsTheFirst) {
  const uint32_t samples[] = {0x000, 0x001, 0x7FF, 0xABC, 0xFFF, 0x1FF0, 0xFFFF};
  for (uint32_t low = 0; low < 0x20; ++low) {
    const uint32_t dst_format = 0xC0022600 + low;
    TestImage a(FMT_Y12, 7, 1, 14), b(FMT_Y12_ALT, 7, 1, 14);
    for (uint32_t i = 0; i < 7; ++i) a.Put16(2 * i, samples[i]), b.Put16(2 * i, samples[i]);
    TestImage out_a(dst_format, 7, 1, 7 * 6), out_b(dst_format, 7, 1, 7 * 6);
    EXPECT_EQ(QVI_Convert(a.handle(), out_a.handle()), QVI_Convert(b.handle(), out_b.handle())) << low;
    EXPECT_EQ(out_a.bytes(), out_b.bytes()) << low;
  }
}

}  // namespace
}  // namespace qvi::test
