#include "buffer/line_step.h"

#include <gtest/gtest.h>

namespace qvi::buffer {
namespace {

TEST(LineGap, RoundsDownByElementSizeInUnsigned32BitArithmetic) {
  struct Case {
    uint32_t stride, line_bytes, bytes_per_pixel, gap;
  };
  const Case cases[] = {
      {10, 6, 1, 4},   {11, 6, 3, 5},   {11, 6, 2, 4},  {13, 6, 6, 6},
      {19, 8, 4, 8},   {16, 16, 4, 0},  {7, 8, 2, 0xFFFFFFFE},  // wraps, then rounds
  };
  for (const Case& c : cases) {
    EXPECT_EQ(LineGap(c.stride, c.line_bytes, GapRounding(c.bytes_per_pixel)), c.gap)
        << c.stride << " " << c.line_bytes << " " << c.bytes_per_pixel;
  }
}

TEST(LineCursor, HoldsOnlyWhatLiesInsideStrideTimesHeight) {
  uint8_t memory[12];
  LineCursor c(memory, 4, 3);
  EXPECT_TRUE(c.Holds(12));
  EXPECT_FALSE(c.Holds(13));
  c.Advance(4, 4);  // to the third line
  EXPECT_EQ(c.Here(), memory + 8);
  EXPECT_TRUE(c.Holds(4));
  EXPECT_FALSE(c.Holds(5));
  c.Advance(4, LineGap(2, 4, 1));  // a stride smaller than the line steps back
  EXPECT_EQ(c.Here(), memory + 10);
  c.Advance(0, LineGap(0, 12, 1));
  EXPECT_FALSE(c.Holds(0));  // before the buffer
}

}  // namespace
}  // namespace qvi::buffer
