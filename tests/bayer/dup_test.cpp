// Hand-checked images and properties of the duplication method.
#include <gtest/gtest.h>

#include "bayer_support.h"

namespace qvi::test {
namespace {

class Duplication : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

// Source samples that name their own position: 10 * row + column + 1.
uint8_t Named(uint32_t y, uint32_t x) { return static_cast<uint8_t>(10 * y + x + 1); }

void Name(Job& job) {
  for (uint32_t y = 0; y < job.height; ++y)
    for (uint32_t x = 0; x < job.width; ++x) job.PutSample(y, x, Named(y, x));
}

// BGR24 bytes of a pixel whose red, green and blue come from these positions.
std::vector<uint8_t> From(std::pair<int, int> r, std::pair<int, int> g, std::pair<int, int> b) {
  return {Named(b.first, b.second), Named(g.first, g.second), Named(r.first, r.second)};
}

TEST_F(Duplication, PhaseAThreeByThree) {
  Job job(*FindMember(Depth::BAY8, Packing::BGR24, Method::dup, Phase::A), 3, 3);
  Name(job);
  ASSERT_EQ(job.Run(8), STATUS_OK);
  const std::vector<uint8_t> expected[3][3] = {
      {From({0, 0}, {0, 1}, {1, 1}), From({0, 0}, {0, 1}, {1, 1}), From({0, 2}, {0, 1}, {1, 1})},
      {From({0, 0}, {1, 0}, {1, 1}), From({0, 0}, {1, 0}, {1, 1}), From({0, 2}, {1, 2}, {1, 1})},
      {From({2, 0}, {1, 0}, {1, 1}), From({2, 0}, {2, 1}, {1, 1}), From({2, 2}, {2, 1}, {1, 1})},
  };
  for (uint32_t y = 0; y < 3; ++y)
    for (uint32_t x = 0; x < 3; ++x) EXPECT_EQ(job.At(y, x), expected[y][x]) << y << "," << x;
}

// Where column 0's red and blue sites take green, phase by phase.
TEST_F(Duplication, ColumnZeroGreenByPhase) {
  struct Case { Packing packing; Phase phase; uint32_t y; std::pair<int, int> green; };
  const Case cases[] = {
      {Packing::BGR24, Phase::B, 1, {1, 1}}, {Packing::BGR24, Phase::C, 1, {0, 0}},
      {Packing::BGR24, Phase::D, 2, {1, 0}}, {Packing::RGBX32, Phase::D, 2, {1, 0}},
      {Packing::RGB16, Phase::D, 2, {2, 1}}, {Packing::RGB16, Phase::C, 1, {0, 0}},
  };
  for (const Case& c : cases) {
    Job job(*FindMember(Depth::BAY8, c.packing, Method::dup, c.phase), 4, 4);
    Name(job);
    ASSERT_EQ(job.Run(8), STATUS_OK);
    const uint32_t g = Named(c.green.first, c.green.second);
    const std::vector<uint8_t> pixel = job.At(c.y, 0);
    // Green is byte 1 of the byte packings, bits 5-10 of the 16-bit word.
    const uint32_t got = c.packing == Packing::RGB16 ? ((pixel[0] | pixel[1] << 8) >> 5 & 0x3F) : pixel[1];
    EXPECT_EQ(got, c.packing == Packing::RGB16 ? g >> 2 : g) << int(c.phase) << " " << int(c.packing);
  }
}

// Odd and even widths agree on their common columns: dup reads no further
// right than the pixel itself.
TEST_F(Duplication, WidthDoesNotChangeCommonColumns) {
  for (const MemberInfo& m : Members()) {
    if (m.method != Method::dup) continue;
    Job odd(m, 5, 4), even(m, 6, 4);
    std::mt19937 rng(3);
    for (uint32_t y = 0; y < 4; ++y)
      for (uint32_t x = 0; x < 6; ++x) {
        const uint32_t v = rng() & 0xFFFF;
        even.PutSample(y, x, v);
        if (x < 5) odd.PutSample(y, x, v);
      }
    ASSERT_EQ(odd.Run(12), STATUS_OK);
    ASSERT_EQ(even.Run(12), STATUS_OK);
    for (uint32_t y = 0; y < 4; ++y)
      for (uint32_t x = 0; x < 5; ++x) EXPECT_EQ(odd.At(y, x), even.At(y, x)) << m.name;
  }
}

}  // namespace
}  // namespace qvi::test
