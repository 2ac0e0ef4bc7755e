// The line walk: where each line lands, which bytes keep their canary, how
// odd-width packed lines drift, and where the walk stops rather than leave a
// buffer.
#include <gtest/gtest.h>

#include "support/image.h"

namespace qvi::test {
namespace {

class Walk : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

// Each destination line starts at y x (stride rounded by the pixel size);
// everything else keeps its canary.
TEST_F(Walk, DestinationLinesStartWhereTheRoundedGapPutsThem) {
  struct Case {
    uint32_t dst_format, pixel_bytes, stride, pitch;
  };
  const Case cases[] = {
      {FMT_RGB16, 2, 7, 6},   {FMT_RGB16, 2, 8, 8},   {FMT_BGRX32, 4, 11, 8},
      {FMT_BGRX32, 4, 12, 12}, {FMT_BGR48, 6, 15, 14}, {FMT_BGR24, 3, 7, 7},
      {FMT_Y8, 1, 5, 5},
  };
  for (const Case& c : cases) {
    const uint32_t w = 2, h = 3;
    TestImage src(FMT_Y8, w, h, 3, 0, 0x10);
    TestImage dst(c.dst_format, w, h, c.stride);
    ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
    for (uint32_t i = 0; i < dst.bytes().size(); ++i) {
      const bool in_line = i < c.pitch * h && i % c.pitch < w * c.pixel_bytes;
      EXPECT_EQ(dst.bytes()[i] != kCanary, in_line) << std::hex << c.dst_format << " byte " << std::dec << i;
    }
  }
}

TEST_F(Walk, SixteenBitSourcesReadLinesAtTheStrideRoundedToEven) {
  TestImage src(FMT_Y16, 2, 3, 5, 1);  // odd stride: lines at 0, 4, 8
  for (uint32_t i = 0; i < 16; ++i) src.data()[i] = static_cast<uint8_t>(i);
  TestImage dst(FMT_Y8, 2, 3, 2);
  ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  EXPECT_EQ(dst.bytes(), (std::vector<uint8_t>{1, 3, 5, 7, 9, 11}));
}

// Odd widths of packed grey write one pixel more, and the gaps are still
// those of w pixels, so each line starts a little further on.
TEST_F(Walk, OddWidthPackedGreyWritesAnExtraPixelAndDrifts) {
  TestImage src(FMT_Y12P, 3, 2, 8);  // reads 6 bytes a line, gap 8 - 4
  const uint8_t groups[] = {0x10, 0x02, 0x00, 0x30, 0x04, 0x00, 0xEE, 0xEE, 0xEE, 0xEE,
                            0x50, 0x06, 0x00, 0x70, 0x08, 0x00};
  std::copy(std::begin(groups), std::end(groups), src.data());
  TestImage dst(FMT_BGR24, 3, 3, 12);  // writes 12 bytes a line, gap 12 - 9
  ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  const uint8_t line0[] = {0x10, 0x20, 0x30, 0x40};  // four pixels, not three
  const uint8_t line1[] = {0x50, 0x60, 0x70, 0x80};
  for (int i = 0; i < 12; ++i) EXPECT_EQ(dst.bytes()[i], line0[i / 3]) << i;
  for (int i = 12; i < 15; ++i) EXPECT_EQ(dst.bytes()[i], kCanary) << i;
  for (int i = 15; i < 27; ++i) EXPECT_EQ(dst.bytes()[i], line1[(i - 15) / 3]) << i;
  for (int i = 27; i < 36; ++i) EXPECT_EQ(dst.bytes()[i], kCanary) << i;
}

TEST_F(Walk, StopsAtTheFirstLineThatWouldLeaveTheDestination) {
  TestImage src(FMT_Y12P, 3, 2, 8, 0, 0x77);
  TestImage dst(FMT_BGR24, 3, 2, 12, /*slack=*/32);  // the drifted second line does not fit
  ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  for (int i = 0; i < 12; ++i) EXPECT_EQ(dst.bytes()[i], 0x77) << i;
  for (size_t i = 12; i < dst.bytes().size(); ++i) EXPECT_EQ(dst.bytes()[i], kCanary) << i;
}

// A stride smaller than a line is the caller's mistake; lines then overlap
// (the gap wraps to a step back) and nothing outside the buffer is touched.
TEST_F(Walk, AStrideSmallerThanALineOverlapsLinesInsideTheBuffer) {
  TestImage src(FMT_Y8, 4, 2, 4);
  const uint8_t pixels[] = {1, 2, 3, 4, 5, 6, 7, 8};
  std::copy(std::begin(pixels), std::end(pixels), src.data());
  TestImage dst(FMT_Y16, 4, 4, 4, /*slack=*/8);  // 8-byte lines at a 4-byte stride
  ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  const std::vector<uint8_t> expected = {1, 0, 2, 0, 5, 0, 6, 0, 7, 0, 8, 0, kCanary, kCanary, kCanary, kCanary};
  EXPECT_EQ(std::vector<uint8_t>(dst.bytes().begin(), dst.bytes().begin() + 16), expected);
  EXPECT_TRUE(AllBytesAre(std::vector<uint8_t>(dst.bytes().begin() + 16, dst.bytes().end()), kCanary));
}

}  // namespace
}  // namespace qvi::test
