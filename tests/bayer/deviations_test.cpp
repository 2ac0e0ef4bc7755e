// Each deviation in isolation: the member as exported against the same member
// built without its deviation.  On input designed to show it, the pixels that
// differ are exactly the documented ones; on random input they never lie
// outside that set.
#include <gtest/gtest.h>

#include <set>

#include "bayer/demosaic.h"
#include "bayer_support.h"

namespace qvi::test {
namespace {

using bayer::Deviations;
using Entry = Status (*)(BufferHandle, BufferHandle, uint32_t);

struct Deviating {
  const MemberInfo* member;
  Deviations deviation;
  Entry without;  // the same member built without its deviation
};

template <Depth D, Packing P, Method M, Phase F, Deviations X>
void Collect(std::vector<Deviating>& out) {
  if constexpr (X != bayer::kNone) {
    out.push_back({FindMember(D, P, M, F), X, &bayer::Demosaic<bayer::Member<D, P, M, F, bayer::kNone>>});
  }
}

std::vector<Deviating> DeviatingMembers() {
  std::vector<Deviating> out;
#define QVI_MEMBER(d, p, m, f, x) \
  Collect<Depth::d, Packing::p, Method::m, Phase::f, bayer::x>(out);
#include "bayer/members.def"
#undef QVI_MEMBER
  return out;
}

using Pixels = std::set<std::pair<uint32_t, uint32_t>>;

Pixels Documented(Deviations x, Phase f, uint32_t w, uint32_t h) {
  static const char* const kCells[] = {"RGGB", "GRBG", "GBRG", "BGGR"};
  Pixels p;
  for (uint32_t y = 0; y < h; ++y) {
    for (uint32_t x_ = 0; x_ < w; ++x_) {
      const bool hit =
          (x == bayer::kGreenFromRightAtColumn0Blue && x_ == 0 && y > 0 && kCells[int(f)][2 * (y % 2)] == 'B');
      if (hit) p.insert({y, x_});
    }
  }
  return p;
}

// Pixels where the two destinations differ.
Pixels Differing(Job& a, Job& b) {
  Pixels p;
  for (uint32_t y = 0; y < a.height; ++y)
    for (uint32_t x = 0; x < a.width; ++x)
      if (a.At(y, x) != b.At(y, x)) p.insert({y, x});
  EXPECT_TRUE(AllBytesAre(a.dst.bytes(), kCanary) == AllBytesAre(b.dst.bytes(), kCanary));
  return p;
}

// Designed input: a steep horizontal ramp, padding included: a right
// neighbour instead of the pixel above changes the value by at least 8,
// enough to show in every field of every packing.
uint32_t Designed(Deviations /*x*/, uint32_t /*y*/, uint32_t col, uint32_t* bits) {
  *bits = 16;
  return (20 * col + 10) << 8;  // the 8-bit ramp in the high byte
}

class Deviations_ : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

TEST_F(Deviations_, ShowExactlyAtTheirPixels) {
  const std::vector<Deviating> all = DeviatingMembers();
  ASSERT_EQ(all.size(), 8u + 2u);  // dup: eight phase-B members and two RGB16 phase-D ones
  for (const Deviating& d : all) {
    for (uint32_t w = 2; w <= 9; ++w) {
      for (uint32_t h = 2; h <= 6; ++h) {
        Job with(*d.member, w, h, 4), without(*d.member, w, h, 4);
        uint32_t bits = 8;
        for (uint32_t y = 0; y < h; ++y)
          for (uint32_t x = 0; x < w + 2; ++x) {
            const uint32_t v = Designed(d.deviation, y, x, &bits);
            const uint32_t s = d.member->depth == Depth::BAY8 ? v >> 8 : v;
            with.PutSample(y, x, s), without.PutSample(y, x, s);
          }
        ASSERT_EQ(with.Run(bits), STATUS_OK);
        ASSERT_EQ(d.without(without.src.handle(), without.dst.handle(), bits), STATUS_OK);
        EXPECT_EQ(Differing(with, without), Documented(d.deviation, d.member->phase, w, h))
            << d.member->name << " " << w << "x" << h;
      }
    }
  }
}

TEST_F(Deviations_, NeverShowElsewhere) {
  std::mt19937 rng(5);
  for (const Deviating& d : DeviatingMembers()) {
    for (uint32_t w = 2; w <= 9; ++w) {
      for (uint32_t h = 2; h <= 6; ++h) {
        Job with(*d.member, w, h, 4), without(*d.member, w, h, 4);
        for (uint32_t y = 0; y < h; ++y)
          for (uint32_t x = 0; x < w + 2; ++x) {
            const uint32_t v = rng() & 0xFFFF;
            with.PutSample(y, x, v), without.PutSample(y, x, v);
          }
        ASSERT_EQ(with.Run(12), STATUS_OK);
        ASSERT_EQ(d.without(without.src.handle(), without.dst.handle(), 12), STATUS_OK);
        const Pixels documented = Documented(d.deviation, d.member->phase, w, h);
        for (const auto& p : Differing(with, without)) EXPECT_TRUE(documented.count(p)) << d.member->name;
      }
    }
  }
}

}  // namespace
}  // namespace qvi::test
