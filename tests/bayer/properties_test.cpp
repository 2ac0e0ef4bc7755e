// Properties every member keeps: uniform images stay uniform, deep input
// reduces like its high bytes, and the packings differ only in layout.
#include <gtest/gtest.h>

#include "bayer_support.h"

namespace qvi::test {
namespace {

class Properties : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

void FillAll(Job& job, uint32_t v) {
  for (uint32_t y = 0; y < job.height; ++y)
    for (uint32_t x = 0; x < job.src.stride() / SampleBytes(job.member.depth); ++x) job.PutSample(y, x, v);
  for (uint32_t x = 0; x < OverReadSamples(job.member, job.width, job.height); ++x)
    job.PutSample(job.height, x, v);  // the slack after the last row
}

// No rounding drift: every colour of every pixel is v, padding read or not.
TEST_F(Properties, UniformEightBitImagesStayUniform) {
  for (const MemberInfo& m : Members()) {
    if (m.depth != Depth::BAY8) continue;
    for (uint32_t v : {0x00u, 0x80u, 0xFFu, 0x5Bu}) {
      Job job(m, 7, 5, 2);
      FillAll(job, v);
      ASSERT_EQ(job.Run(8), STATUS_OK);
      const uint32_t word = ((v & 0xF8) << 8) | ((v & 0xFC) << 3) | (v >> 3);  // 0x80 gives 0x8410
      const std::vector<uint8_t> pixel =
          PixelBytes(m.packing) == 2 ? std::vector<uint8_t>{uint8_t(word), uint8_t(word >> 8)}
          : m.packing == Packing::BGR24 ? std::vector<uint8_t>{uint8_t(v), uint8_t(v), uint8_t(v)}
                                        : std::vector<uint8_t>{uint8_t(v), uint8_t(v), uint8_t(v), kCanary};
      for (uint32_t y = 0; y < 5; ++y)
        for (uint32_t x = 0; x < 7; ++x) ASSERT_EQ(job.At(y, x), pixel) << m.name << " " << v;
    }
  }
}

// 16-bit samples give what the 8-bit member gives on their high bytes, and
// the low bytes never matter to dup.  (Members whose deviations differ between
// the two depths are compared only where both agree, i.e. not at all.)
TEST_F(Properties, SixteenBitInputEqualsEightBitOnHighBytes) {
  std::mt19937 rng(7);
  for (const MemberInfo& deep : Members()) {
    if (deep.depth != Depth::BAYn) continue;
    const MemberInfo* eight = FindMember(Depth::BAY8, deep.packing, deep.method, deep.phase);
    if (eight == nullptr || eight->deviations != deep.deviations) continue;
    Job a(deep, 7, 5, 4), b(*eight, 7, 5, 2);
    for (uint32_t y = 0; y <= 5; ++y)
      for (uint32_t x = 0; x < 9; ++x) {
        const uint32_t high = rng() & 0xFF, low = deep.method == Method::dup ? rng() & 0xFF : 0;
        if (y < 5 || x < OverReadSamples(deep, 7, 5)) a.PutSample(y, x, high << 8 | low), b.PutSample(y, x, high);
      }
    ASSERT_EQ(a.Run(16), STATUS_OK);
    ASSERT_EQ(b.Run(8), STATUS_OK);
    EXPECT_EQ(a.dst.bytes(), b.dst.bytes()) << deep.name;
  }
}

TEST_F(Properties, PackingsCarryTheSameChannels) {
  std::mt19937 rng(11);
  for (const MemberInfo& m : Members()) {
    if (m.packing != Packing::BGR24) continue;
    for (Packing p : {Packing::RGBX32, Packing::BGRX32, Packing::RGB16, Packing::BGR16}) {
      const MemberInfo* other = FindMember(m.depth, p, m.method, m.phase);
      if (other == nullptr || other->deviations != m.deviations) continue;
      Job a(m, 6, 4, 4), b(*other, 6, 4, 4);
      for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 8; ++x) {
          const uint32_t v = rng() & 0xFFF;
          a.PutSample(y, x, v), b.PutSample(y, x, v);
        }
      ASSERT_EQ(a.Run(12), STATUS_OK);
      ASSERT_EQ(b.Run(12), STATUS_OK);
      for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 6; ++x) {
          const std::vector<uint8_t> bgr = a.At(y, x), got = b.At(y, x);
          const uint32_t r = bgr[2], g = bgr[1], bl = bgr[0];
          const uint32_t hi = p == Packing::BGR16 ? bl : r, lo = p == Packing::BGR16 ? r : bl;
          const std::vector<uint8_t> want =
              p == Packing::RGBX32 ? std::vector<uint8_t>{uint8_t(r), uint8_t(g), uint8_t(bl), kCanary}
              : p == Packing::BGRX32
                  ? std::vector<uint8_t>{uint8_t(bl), uint8_t(g), uint8_t(r), kCanary}
                  : std::vector<uint8_t>{uint8_t((g & 0x1C) << 3 | lo >> 3), uint8_t((hi & 0xF8) | g >> 5)};
          EXPECT_EQ(got, want) << other->name << " " << y << "," << x;
        }
    }
  }
}

}  // namespace
}  // namespace qvi::test
