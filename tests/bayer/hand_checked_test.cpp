// Small images checked by hand.  Unless a case says otherwise the samples
// name their position, 10 * row + column + 1 (n-bit: the same shifted left by
// bits - 8), and the output is BGR24, so a pixel reads {B, G, R}.
#include <gtest/gtest.h>

#include <tuple>

#include "bayer_support.h"

namespace qvi::test {
namespace {

struct Case {
  Method method;
  Phase phase;
  uint32_t y, x;                 // the pixel checked
  std::vector<uint8_t> pixel;    // its bytes
  std::vector<std::tuple<uint32_t, uint32_t, uint32_t>> samples = {};  // (y, x, value) over the named ones
  Depth depth = Depth::BAY8;
  uint32_t bits = 8;
  Packing packing = Packing::BGR24;
  uint32_t size = 4;             // width and height
  int fill = -1;                 // >= 0: every sample this value instead of its name
};

TEST(HandChecked, Pixels) {
  const uint32_t kMed = 35, kAve = 70;
  const std::vector<std::tuple<uint32_t, uint32_t, uint32_t>> cross = {{0, 1, 10}, {1, 0, 200}, {2, 1, 30}, {1, 2, 40}};
  const Case cases[] = {
      // dup, phase A, 3x3: each missing colour from the 2x2 block up-left.
      {Method::dup, Phase::A, 0, 0, {12, 2, 1}, {}, Depth::BAY8, 8, Packing::BGR24, 3},
      {Method::dup, Phase::A, 0, 2, {12, 2, 3}, {}, Depth::BAY8, 8, Packing::BGR24, 3},
      {Method::dup, Phase::A, 1, 1, {12, 11, 1}, {}, Depth::BAY8, 8, Packing::BGR24, 3},
      {Method::dup, Phase::A, 2, 0, {12, 11, 21}, {}, Depth::BAY8, 8, Packing::BGR24, 3},
      {Method::dup, Phase::A, 2, 2, {12, 22, 23}, {}, Depth::BAY8, 8, Packing::BGR24, 3},
      // dup, column 0: green from the right (phase B), from above (C, D), and
      // from the right again in the RGB16 phase-D members (R 12, G 22, B 21).
      {Method::dup, Phase::B, 1, 0, {11, 12, 2}},
      {Method::dup, Phase::C, 1, 0, {2, 1, 11}},
      {Method::dup, Phase::D, 2, 0, {21, 11, 12}},
      {Method::dup, Phase::D, 2, 0, {0xA2, 0x08}, {}, Depth::BAY8, 8, Packing::RGB16},
      // ave and med borders, phase A: first row, first column, corner.
      {Method::ave, Phase::A, 0, 2, {(12 + 14) / 2, (2 + 4) / 2, 3}, {}, Depth::BAY8, 8, Packing::BGR24, 5},
      {Method::med, Phase::A, 1, 0, {12, 11, (1 + 21) / 2}},
      {Method::med, Phase::A, 0, 0, {12, (2 + 11) / 2, 1}},
      // An interior blue site: green from N 10, W 200, S 30, E 40.
      {Method::med, Phase::A, 1, 1, {12, kMed, 12}, cross},
      {Method::ave, Phase::A, 1, 1, {12, kAve, 12}, cross},
      {Method::med, Phase::A, 1, 1, {12, 2, 12}, {{0, 1, 1}, {1, 0, 2}, {2, 1, 2}, {1, 2, 9}}},
      {Method::med, Phase::A, 1, 1, {12, 127, 12}, {{0, 1, 0}, {1, 0, 0}, {2, 1, 255}, {1, 2, 255}}},
      // n-bit: the median of raw samples, then reduced; ((0x400 + 0x800) >> 1) >> 4.
      {Method::med, Phase::A, 2, 2, {23, 96, 23}, {{1, 2, 0x400}, {2, 1, 0x400}, {3, 2, 0x800}, {2, 3, 0xFFF}},
       Depth::BAYn, 12},
      // n-bit reduction: the high byte of 16 bits, wrap-around past the depth,
      // and the unmasked low field of RGB16 (R = G = 0, blue sample 0xFFFF).
      {Method::dup, Phase::A, 1, 1, {0xAB, 0xAB, 0xAB}, {}, Depth::BAYn, 16, Packing::BGR24, 2, 0xAB12},
      {Method::ave, Phase::A, 1, 1, {0xFF, 0xFF, 0xFF}, {}, Depth::BAYn, 10, Packing::BGR24, 2, 0x3FF},
      {Method::med, Phase::A, 1, 1, {0xFF, 0xFF, 0xFF}, {}, Depth::BAYn, 12, Packing::BGR24, 2, 0x1FF0},
      {Method::dup, Phase::A, 0, 0, {0, 0, 0}, {}, Depth::BAYn, 12, Packing::BGR24, 2, 0x2000},
      {Method::dup, Phase::A, 0, 0, {0xFF, 0x01}, {{1, 1, 0xFFFF}}, Depth::BAYn, 12, Packing::RGB16, 2, 0},
  };
  ResetFakeBuffers();
  for (const Case& c : cases) {
    const MemberInfo& m = *FindMember(c.depth, c.packing, c.method, c.phase);
    Job job(m, c.size, c.size);
    for (uint32_t y = 0; y < c.size; ++y)
      for (uint32_t x = 0; x < c.size; ++x)
        job.PutSample(y, x, c.fill >= 0 ? uint32_t(c.fill) : (10 * y + x + 1) << (c.bits - 8));
    for (auto [y, x, v] : c.samples) job.PutSample(y, x, v);
    ASSERT_EQ(job.Run(c.bits), STATUS_OK);
    EXPECT_EQ(job.At(c.y, c.x), c.pixel) << m.name << " (" << c.y << ", " << c.x << ")";
  }
}

}  // namespace
}  // namespace qvi::test
