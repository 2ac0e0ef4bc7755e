// The line walk: where each line lands, which bytes keep their canary, how
// odd-width packed lines drift, where the walk stops rather than leave a
// buffer, and which word each RGB30 -> RGB48 pixel takes its fields from.
#include <gtest/gtest.h>

#include <array>

#include "buffer/formats.h"
#include "support/image.h"

namespace qvi::test {
namespace {

// Destination line y starts at y x (stride rounded down by the pixel size);
// everything else keeps its canary.  A 16-bit source's lines start at its
// stride rounded down to even.
TEST(Walk, LinesStartWhereTheRoundedGapPutsThem) {
  ResetFakeBuffers();
  for (auto [format, stride, pitch] : {std::tuple{FMT_RGB16, 7u, 6u}, {FMT_BGRX32, 11u, 8u}, {FMT_BGRX32, 12u, 12u},
                                       {FMT_BGR48, 15u, 14u}, {FMT_BGR24, 7u, 7u}, {FMT_Y8, 5u, 5u}}) {
    TestImage src(FMT_Y8, 2, 3, 3, 0, 0x10), dst(format, 2, 3, stride);
    ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
    for (uint32_t i = 0; i < dst.bytes().size(); ++i) {
      const bool in_line = i < pitch * 3 && i % pitch < 2 * BytesPerPixel(LowByte(format));
      EXPECT_EQ(dst.bytes()[i] != kCanary, in_line) << std::hex << format << " byte " << std::dec << i;
    }
  }
  TestImage src(FMT_Y16, 2, 3, 5, 1), dst(FMT_Y8, 2, 3, 2);  // odd stride: lines at 0, 4, 8
  for (uint32_t i = 0; i < 16; ++i) src.data()[i] = static_cast<uint8_t>(i);
  ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  EXPECT_EQ(dst.bytes(), (std::vector<uint8_t>{1, 3, 5, 7, 9, 11}));
}

// Every colour route over 4x2 pixels into a padded destination: only the
// colour bytes of each pixel change; X bytes and padding keep their canary.
TEST(Walk, XBytesAndPaddingAreNeverWrittenFromColour) {
  ResetFakeBuffers();
  int routes = 0;
  for (Fmt s : {Fmt::BGR24, Fmt::BGRX32, Fmt::BGR48, Fmt::BGR36, Fmt::RGB30, Fmt::YUV422}) {
    for (uint32_t d = 1; d < 0x20; ++d) {
      const Fmt f = LowByte(d);
      const uint32_t bytes = BytesPerPixel(f), line = 4 * bytes, pitch = line + (bytes % 2 == 0 ? 4 : 5);
      const uint32_t x = f == Fmt::XBGR32 || f == Fmt::XRGB32 ? 0 : f == Fmt::BGRX32 || f == Fmt::RGBX32 ? 3 : bytes;
      TestImage src(FullCode(s), 4, 2, 32, 0, 0x3B), dst(kFormatFamily + d, 4, 2, line + 5);
      if (QVI_Convert(src.handle(), dst.handle()) != STATUS_OK) continue;
      ++routes;
      for (uint32_t i = 0; i < dst.bytes().size(); ++i) {
        const bool colour = i < 2 * pitch && i % pitch < line && i % pitch % bytes != x;
        EXPECT_TRUE(colour || dst.bytes()[i] == kCanary) << int(s) << " -> " << d << " byte " << i;
      }
    }
  }
  EXPECT_EQ(routes, 63);
}

// Odd widths of the packed sources write one pixel more, and the gaps are
// still those of w pixels (FMT_Y12P: stride - 3w/2; FMT_YUV422: stride - 2w
// rounded down to even), so each line starts a little further on.  The walk
// stops at the first line that would leave the destination.
TEST(Walk, OddWidthPackedLinesWriteAnExtraPixelAndDrift) {
  ResetFakeBuffers();
  const uint8_t y12p[] = {0x10, 0x02, 0x00, 0x30, 0x04, 0x00, 0xEE, 0xEE, 0xEE, 0xEE,  // 6 bytes read, gap 4
                          0x50, 0x06, 0x00, 0x70, 0x08, 0x00};
  const uint8_t yuv[] = {0x10, 128, 0x20, 128, 0x30, 128, 0x40, 128, 0xEE, 0xEE,  // 8 bytes read, gap 2
                         0x50, 128, 0x60, 128, 0x70, 128, 0x80, 128};
  for (auto [format, stride, bytes] : {std::tuple{FMT_Y12P, 8u, y12p}, {FMT_YUV422, 9u, yuv}}) {
    TestImage src(format, 3, 2, stride);
    std::copy(bytes, bytes + 2 * stride, src.data());
    for (uint32_t lines : {3u, 2u}) {  // two lines: the drifted second line does not fit
      TestImage dst(FMT_BGR24, 3, lines, 12, 32);  // writes 12 bytes a line, gap 12 - 9
      ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
      std::vector<uint8_t> expected(dst.bytes().size(), kCanary);
      for (int i = 0; i < 12; ++i) {
        expected[i] = uint8_t(0x10 + 0x10 * (i / 3));  // four pixels, not three
        if (lines == 3) expected[15 + i] = uint8_t(0x50 + 0x10 * (i / 3));
      }
      EXPECT_EQ(dst.bytes(), expected) << std::hex << format << " " << lines;
    }
  }
}

// A stride smaller than a line is the caller's mistake; lines then overlap
// (the gap wraps to a step back) and nothing outside the buffer is touched.
// A stride of 2^32 - 16 likewise steps back, before the buffer: the walk stops.
TEST(Walk, AStrideSmallerThanALineOverlapsLinesInsideTheBuffer) {
  ResetFakeBuffers();
  TestImage src(FMT_Y8, 4, 2, 4), dst(FMT_Y16, 4, 4, 4, /*slack=*/8);  // 8-byte lines at a 4-byte stride
  for (uint32_t i = 0; i < 8; ++i) src.data()[i] = static_cast<uint8_t>(i + 1);
  ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  const std::vector<uint8_t> written(dst.bytes().begin(), dst.bytes().begin() + 12), rest(dst.bytes().begin() + 12,
                                                                                         dst.bytes().end());
  EXPECT_EQ(written, (std::vector<uint8_t>{1, 0, 2, 0, 5, 0, 6, 0, 7, 0, 8, 0}));
  EXPECT_TRUE(AllBytesAre(rest, kCanary));
  TestImage back(FMT_Y8, 1, 2, 16, 0, 0x11), one(FMT_Y8, 1, 2, 1);  // the image starts at byte 16
  back.data()[16] = 0x77, back.params().address += 16, back.params().stride = 0xFFFFFFF0;
  ASSERT_EQ(QVI_Convert(back.handle(), one.handle()), STATUS_OK);
  EXPECT_EQ(one.bytes(), (std::vector<uint8_t>{0x77, kCanary}));
}

// Formats of one pixel size convert in place as they would from a copy,
// also at widths whose last vector block would overlap the one before
// (the X bytes keep what the source had there).
TEST(Walk, ConvertingInPlaceGivesTheResultOfConvertingACopy) {
  ResetFakeBuffers();
  for (auto [from, to, bytes] : {std::tuple{FMT_BGR24, FMT_RGB24, 3u}, {FMT_RGB30, FMT_BGRX32, 4u}}) {
    for (uint32_t w : {7u, 33u, 75u}) {
      TestImage image(from, w, 3, w * bytes), source(from, w, 3, w * bytes), copy(to, w, 3, w * bytes);
      for (size_t i = 0; i < image.bytes().size(); ++i) image.bytes()[i] = static_cast<uint8_t>(i * 37 + 11);
      source.bytes() = copy.bytes() = image.bytes();  // X bytes as in place
      ASSERT_EQ(QVI_Convert(source.handle(), copy.handle()), STATUS_OK) << std::hex << from << " " << to;
      ASSERT_EQ(QVI_Convert(image.handle(), AddFakeBuffer(image.data(), to, w, 3, w * bytes)), STATUS_OK);
      EXPECT_EQ(image.bytes(), copy.bytes()) << std::hex << from << " " << std::dec << w;
    }
  }
}

// RGB30 -> RGB48: red from the pixel's own word, green and blue from the
// next; a line's last pixel reads the word after the line.  At the end of the
// source buffer there is no such word and the pixel uses its own.
TEST(Walk, RgbFortyEightTakesGreenAndBlueFromTheNextWord) {
  ResetFakeBuffers();
  auto word = [](uint32_t k) { return (0x300u + k) << 22 | (0x200u + k) << 12 | (0x100u + k); };
  for (auto [stride, next] : {std::pair{12u, std::array{1u, 2u, 4u, 5u}}, {8u, std::array{1u, 2u, 3u, 3u}}}) {
    TestImage src(FMT_RGB30, 2, 2, stride), dst(FMT_RGB48, 2, 2, 12);  // exactly stride x height bytes
    for (uint32_t k = 0; k < stride / 2; ++k) src.Put32(4 * k, word(k));
    ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
    for (uint32_t j = 0; j < 4; ++j)
      EXPECT_EQ((std::array{dst.Get16(6 * j), dst.Get16(6 * j + 2), dst.Get16(6 * j + 4)}),
                (std::array{0x300 + j / 2 * stride / 4 + j % 2, 0x200 + next[j], 0x100 + next[j]})) << stride << " " << j;
  }
}

}  // namespace
}  // namespace qvi::test
