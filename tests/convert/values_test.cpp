// One pixel (or one packed pair) in, the exact bytes out: each reader's
// formula into each kind of destination, each writer's layout.  X bytes show
// whether a source fills them: grey does, colour leaves the canary.
#include <gtest/gtest.h>

#include <vector>

#include "support/image.h"

namespace qvi::test {
namespace {

std::vector<uint8_t> Le16(std::initializer_list<uint32_t> words) {
  std::vector<uint8_t> out;  // push_back: GCC 12 at -O3 misreads an insert here as an overflow
  for (uint32_t w : words) out.push_back(uint8_t(w)), out.push_back(uint8_t(w >> 8));
  return out;
}
std::vector<uint8_t> Le32(uint32_t w) { return {uint8_t(w), uint8_t(w >> 8), uint8_t(w >> 16), uint8_t(w >> 24)}; }

constexpr uint8_t X = kCanary;  // an X byte that must keep its canary

// The colour (B, G, R) = (0x1F, 0x9E, 0xE3) from every colour source.
const std::vector<uint8_t> kBgr24 = {0x1F, 0x9E, 0xE3};
const std::vector<uint8_t> kBgr48 = Le16({0x1F80, 0x9E40, 0xE3FF});                    // high bytes
const std::vector<uint8_t> kBgr36 = Le16({0x1F8, 0x9E4, 0xE3F});                       // >> 4
const std::vector<uint8_t> kRgb30 = Le32(0x38Fu << 22 | 0x27Bu << 12 | 0xC00 | 0x7F);  // bits 10-11 ignored

TEST(Values, OnePixelGivesExactlyTheseBytes) {
  ResetFakeBuffers();
  const struct {
    uint32_t src_format;
    std::vector<uint8_t> src_pixel;  // one pixel (or one packed group of two)
    std::vector<std::pair<uint32_t, std::vector<uint8_t>>> outputs;  // destination format, bytes of the pixel (or two)
  } cases[] = {
      // 8-bit grey: unscaled into wide words, top bits into 5:6:5 and 5:5:5,
      // all four bytes of an X format, bits 0, 10 and 22 of a 30-bit word.
      {FMT_Y8, {0xFF}, {{FMT_RGB16, Le16({0xFFFF})}, {FMT_RGB15, Le16({0x7FFF})}, {FMT_Y16, Le16({0x00FF})},
                        {FMT_BGR30, Le32(0x3FC3FCFF)}}},
      {FMT_Y8, {0x5A}, {{FMT_Y10, Le16({0x005A})}, {FMT_Y14, Le16({0x005A})}, {FMT_Y32, Le32(0x5A)},
                        {FMT_XRGB32, {0x5A, 0x5A, 0x5A, 0x5A}}, {FMT_TRIPLE16, Le16({0x5A, 0x5A, 0x5A})},
                        {FMT_BGR36, Le16({0x5A, 0x5A, 0x5A})}, {FMT_RGB30, Le32(0x1681685A)}}},
      // Deep grey: g = s >> (n - 8), keeping its low 8 bits; words unscaled;
      // two fixed bits in 30-bit words.
      {FMT_Y10, Le16({0x3FF}), {{FMT_Y8, {0xFF}}, {FMT_RGB30, Le32(0x4013FF)}}},
      {FMT_Y14, Le16({0}), {{FMT_BGR30, Le32(0)}}},
      {FMT_Y14, Le16({0x2A5C}), {{FMT_Y8, {0xA9}}}},
      {FMT_Y16, Le16({0x1234}), {{FMT_Y8, {0x12}}, {FMT_RGB30, Le32(0x10088)}}},
      {FMT_Y12, Le16({0xABC}), {{FMT_BGR30, Le32(0x1006AF)}, {FMT_Y16, Le16({0xABC})}, {FMT_RGB16, Le16({0xAD55})},
                                {FMT_RGB48, Le16({0xABC, 0xABC, 0xABC})}, {FMT_BGRX32, {0xAB, 0xAB, 0xAB, 0xAB}}}},
      {FMT_Y12, Le16({0x1FF0}), {{FMT_Y8, {0xFF}}}},
      // Packed 12-bit grey: b0, then ((b1 & 0x0F) << 4) + (b2 >> 4).
      {FMT_Y12P, {0xAB, 0xCD, 0xEF}, {{FMT_BGR24, {0xAB, 0xAB, 0xAB, 0xDE, 0xDE, 0xDE}}}},
      // Colour: each packing, X bytes never written.
      {FMT_BGR24, kBgr24, {{FMT_RGB15, Le16({0x7263})}, {FMT_BGR15, Le16({0x0E7C})}, {FMT_RGB16, Le16({0xE4E3})},
                           {FMT_BGR16, Le16({0x1CFC})}, {FMT_XBGR32, {X, 0x1F, 0x9E, 0xE3}},
                           {FMT_BGRX32, {0x1F, 0x9E, 0xE3, X}}, {FMT_XRGB32, {X, 0xE3, 0x9E, 0x1F}},
                           {FMT_RGBX32, {0xE3, 0x9E, 0x1F, X}}, {FMT_RGB24, {0xE3, 0x9E, 0x1F}},
                           {FMT_BGR48, Le16({0x1F, 0x9E, 0xE3})}, {FMT_RGB48, Le16({0xE3, 0x9E, 0x1F})},
                           {FMT_RGB30, Le32(0x38C2781F)}, {FMT_BGR30, Le32(0x07C278E3)}}},
      {FMT_BGR24, {0xFF, 0xFF, 0xFF}, {{FMT_RGB30, Le32(0x3FC3FCFF)}}},
      {FMT_BGRX32, {10, 20, 30, 40}, {{FMT_BGR24, {30, 20, 10}}}},
      // Deep colour: high bytes (BGR48) or >> 4 (BGR36) for 8-bit outputs,
      // low 8 bits kept; 48-bit words as they are or scaled by 16; in 30-bit
      // words the low field's value and one bit for each non-zero upper word.
      {FMT_BGR48, kBgr48, {{FMT_RGB16, Le16({0xE4E3})}, {FMT_RGB48, Le16({0xE3FF, 0x9E40, 0x1F80})},
                           {FMT_BGR30, Le32(0x103CF)}}},
      {FMT_BGR36, kBgr36, {{FMT_RGB24, {0xE3, 0x9E, 0x1F}}, {FMT_RGB48, Le16({0xE3F0, 0x9E40, 0x1F80})},
                           {FMT_RGB30, Le32(0x10047E)}}},
      {FMT_BGR36, Le16({0x1FF0, 0, 0}), {{FMT_BGR24, {0xFF, 0, 0}}}},
      {FMT_BGR36, Le16({0x9E4, 0, 0}), {{FMT_BGR30, Le32(0x100000)}}},
      {FMT_BGR48, Le16({0x0100, 0x0000, 0x0200}), {{FMT_RGB30, Le32(0x10004)}}},
      // RGB30 read with its own layout; its 10-bit fields go into 48 bits unscaled.
      {FMT_RGB30, kRgb30, {{FMT_BGR24, kBgr24}, {FMT_BGR48, Le16({0x07F, 0x27B, 0x38F})}, {FMT_RGB30, kRgb30},
                           {FMT_BGR30, Le32(0x1FE7BF8F)}}},
      // YUV422 pairs: floored chroma products, clamped channels.
      {FMT_YUV422, {128, 128, 128, 128}, {{FMT_BGR24, {128, 128, 128, 128, 128, 128}}}},
      {FMT_YUV422, {255, 128, 0, 255}, {{FMT_RGB24, {255, 165, 255, 178, 0, 0}}}},
      {FMT_YUV422, {100, 127, 100, 127}, {{FMT_XBGR32, {X, 98, 102, 98, X, 98, 102, 98}}}},
      {FMT_YUV422, {50, 228, 60, 128}, {{FMT_BGR24, {227, 16, 50, 237, 26, 60}}}},
  };
  for (const auto& c : cases) {
    const uint32_t width = c.src_format == FMT_Y12P || c.src_format == FMT_YUV422 ? 2 : 1;
    TestImage src(c.src_format, width, 1, static_cast<uint32_t>(c.src_pixel.size()));
    std::copy(c.src_pixel.begin(), c.src_pixel.end(), src.data());
    for (auto [dst_format, expected] : c.outputs) {
      const auto bytes = static_cast<uint32_t>(expected.size());
      TestImage dst(dst_format, width, 1, bytes, /*slack=*/4);  // which must keep its canary
      ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK) << std::hex << c.src_format << " " << dst_format;
      expected.resize(bytes + 4, kCanary);
      EXPECT_EQ(dst.bytes(), expected) << std::hex << c.src_format << " -> " << dst_format;
    }
  }
}

// FMT_Y12_ALT converts exactly as FMT_Y12, into every destination of either.
TEST(Values, TheSecondTwelveBitCodeConvertsAsTheFirst) {
  ResetFakeBuffers();
  const uint32_t samples[] = {0x000, 0x001, 0x7FF, 0xABC, 0xFFF, 0x1FF0, 0xFFFF};
  for (uint32_t low = 0; low < 0x20; ++low) {
    TestImage a(FMT_Y12, 7, 1, 14), b(FMT_Y12_ALT, 7, 1, 14);
    TestImage out_a(0xC0022600 + low, 7, 1, 7 * 6), out_b(0xC0022600 + low, 7, 1, 7 * 6);
    for (uint32_t i = 0; i < 7; ++i) a.Put16(2 * i, samples[i]), b.Put16(2 * i, samples[i]);
    EXPECT_EQ(QVI_Convert(a.handle(), out_a.handle()), QVI_Convert(b.handle(), out_b.handle())) << low;
    EXPECT_EQ(out_a.bytes(), out_b.bytes()) << low;
  }
}

}  // namespace
}  // namespace qvi::test
