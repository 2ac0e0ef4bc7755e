// Properties every member keeps: uniform images stay uniform, means truncate,
// and 16-bit input reduces exactly like its high bytes.
#include <gtest/gtest.h>

#include "bayer_support.h"

namespace qvi::test {
namespace {

class Properties : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

// Every sample v, padding and over-read included, except `odd` at (2, 2).
void Fill(Job& job, uint32_t v, uint32_t odd) {
  for (uint32_t y = 0; y <= job.height; ++y)
    for (uint32_t x = 0; x < job.width + 2; ++x)
      if (y < job.height || x < OverReadSamples(job.member, job.width, job.height))
        job.PutSample(y, x, y == 2 && x == 2 ? odd : v);
}

// No rounding drift (a uniform v gives v everywhere), and no rounding term:
// in ave and med a single v + 1 among v shows only at its own pixel, in its
// own colour.
TEST_F(Properties, UniformImagesStayUniformAndMeansTruncate) {
  for (const MemberInfo& m : Members()) {
    if (m.depth != Depth::BAY8) continue;
    for (uint32_t v : {0x00u, 0x5Bu, 0x80u, 0xFFu}) {
      const bool odd = v == 0x5B && m.method != Method::dup && PixelBytes(m.packing) > 2;
      Job job(m, 7, 5, 2);
      Fill(job, v, odd ? v + 1 : v);
      ASSERT_EQ(job.Run(8), STATUS_OK);
      const uint32_t word = ((v & 0xF8) << 8) | ((v & 0xFC) << 3) | (v >> 3);  // 0x80 gives 0x8410
      std::vector<uint8_t> pixel = {uint8_t(v), uint8_t(v), uint8_t(v), kCanary};
      if (PixelBytes(m.packing) == 2) pixel = {uint8_t(word), uint8_t(word >> 8)};
      pixel.resize(PixelBytes(m.packing));
      for (uint32_t y = 0; y < 5; ++y)
        for (uint32_t x = 0; x < 7; ++x) {
          std::vector<uint8_t> got = job.At(y, x);
          if (odd && y == 2 && x == 2) {
            EXPECT_EQ(std::count(got.begin(), got.begin() + 3, v + 1), 1) << m.name;
            std::replace(got.begin(), got.begin() + 3, v + 1, v);
          }
          ASSERT_EQ(got, pixel) << m.name << " " << v << " (" << y << ", " << x << ")";
        }
    }
  }
}

// Members whose deviations differ between the two depths are not compared.
TEST_F(Properties, SixteenBitInputEqualsEightBitOnHighBytes) {
  std::mt19937 rng(7);
  for (const MemberInfo& deep : Members()) {
    const MemberInfo* eight = FindMember(Depth::BAY8, deep.packing, deep.method, deep.phase);
    if (deep.depth != Depth::BAYn || eight == nullptr || eight->deviations != deep.deviations) continue;
    Job a(deep, 7, 5, 4), b(*eight, 7, 5, 2);
    for (uint32_t y = 0; y <= 5; ++y)
      for (uint32_t x = 0; x < 9; ++x) {
        // The low bytes never matter to dup; the means need them 0.
        const uint32_t high = rng() & 0xFF, low = deep.method == Method::dup ? rng() & 0xFF : 0;
        if (y < 5 || x < OverReadSamples(deep, 7, 5)) a.PutSample(y, x, high << 8 | low), b.PutSample(y, x, high);
      }
    ASSERT_EQ(a.Run(16), STATUS_OK);
    ASSERT_EQ(b.Run(8), STATUS_OK);
    EXPECT_EQ(a.dst.bytes(), b.dst.bytes()) << deep.name;
  }
}

}  // namespace
}  // namespace qvi::test
