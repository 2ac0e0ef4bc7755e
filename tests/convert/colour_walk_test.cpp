// Colour lines: which bytes keep their canary, how odd-width YUV422 lines
// drift, and which word each RGB30 -> RGB48 pixel takes its fields from.
#include <gtest/gtest.h>

#include "buffer/formats.h"
#include "support/image.h"

namespace qvi::test {
namespace {

class ColourWalk : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

// Every colour route over 4x2 pixels into a padded destination: only the
// colour bytes of each pixel change; X bytes and padding keep their canary.
TEST_F(ColourWalk, XBytesAndPaddingAreNeverWritten) {
  int routes = 0;
  for (Fmt s : {Fmt::BGR24, Fmt::BGRX32, Fmt::BGR48, Fmt::BGR36, Fmt::RGB30, Fmt::YUV422}) {
    for (uint32_t d = 1; d < 0x20; ++d) {
      const Fmt f = LowByte(d);
      const uint32_t bytes = BytesPerPixel(f), line = 4 * bytes;
      const uint32_t pitch = line + (bytes % 2 == 0 ? 4 : 5);  // the gap of 5, rounded
      const uint32_t x_byte = f == Fmt::XBGR32 || f == Fmt::XRGB32 ? 0 : f == Fmt::BGRX32 || f == Fmt::RGBX32 ? 3 : bytes;
      TestImage src(FullCode(s), 4, 2, 32, 0, 0x3B);
      TestImage dst(kFormatFamily + d, 4, 2, line + 5);
      if (QVI_Convert(src.handle(), dst.handle()) != STATUS_OK) continue;
      ++routes;
      for (uint32_t i = 0; i < dst.bytes().size(); ++i) {
        const bool colour = i < 2 * pitch && i % pitch < line && i % pitch % bytes != x_byte;
        EXPECT_TRUE(colour || dst.bytes()[i] == kCanary) << int(s) << " -> " << d << " byte " << i;
      }
    }
  }
  EXPECT_EQ(routes, 63);
}

// Odd widths write one pixel more; the source gap (stride - 2w) is rounded
// down to even, so line 1 is read from byte 10, not 9.
TEST_F(ColourWalk, OddWidthYuvWritesAnExtraPixelAndDrifts) {
  TestImage src(FMT_YUV422, 3, 2, 9);
  const uint8_t pairs[] = {0x10, 128, 0x20, 128, 0x30, 128, 0x40, 128, 0xEE, 0xEE,
                           0x50, 128, 0x60, 128, 0x70, 128, 0x80, 128};
  std::copy(std::begin(pairs), std::end(pairs), src.data());
  TestImage dst(FMT_BGR24, 3, 3, 12);  // writes 12 bytes a line, gap 12 - 9
  ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  std::vector<uint8_t> expected(36, kCanary);
  for (int i = 0; i < 12; ++i) {
    expected[i] = uint8_t(0x10 + 0x10 * (i / 3));       // four pixels, not three
    expected[15 + i] = uint8_t(0x50 + 0x10 * (i / 3));  // grey pixels Y0, Y1, ...
  }
  EXPECT_EQ(dst.bytes(), expected);
}

// RGB30 -> RGB48: red from the pixel's own word, green and blue from the
// next; a line's last pixel reads the word after the line.  At the end of the
// source buffer there is no such word and the pixel uses its own.
TEST_F(ColourWalk, RgbFortyEightTakesGreenAndBlueFromTheNextWord) {
  auto word = [](uint32_t k) { return (0x300u + k) << 22 | (0x200u + k) << 12 | (0x100u + k); };
  struct Case {
    uint32_t stride;
    uint32_t next[4];  // index of the word each pixel takes green and blue from
  };
  for (const Case& c : {Case{12, {1, 2, 4, 5}}, Case{8, {1, 2, 3, 3}}}) {
    TestImage src(FMT_RGB30, 2, 2, c.stride);  // exactly stride x height bytes
    for (uint32_t k = 0; k < c.stride / 2; ++k) src.Put32(4 * k, word(k));
    TestImage dst(FMT_RGB48, 2, 2, 12);
    ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
    for (uint32_t j = 0; j < 4; ++j) {
      const uint32_t own = j / 2 * c.stride / 4 + j % 2, next = c.next[j];
      EXPECT_EQ(dst.Get16(6 * j), 0x300 + own) << c.stride << " " << j;
      EXPECT_EQ(dst.Get16(6 * j + 2), 0x200 + next) << c.stride << " " << j;
      EXPECT_EQ(dst.Get16(6 * j + 4), 0x100 + next) << c.stride << " " << j;
    }
  }
}

}  // namespace
}  // namespace qvi::test
