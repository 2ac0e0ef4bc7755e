// Each deviation in isolation: the member as exported against the same member
// built without its deviation.  On input designed to show it, the pixels that
// differ are exactly the documented ones.  (That they never differ elsewhere,
// on any input, follows from the reference model, which has no flags.)
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

// Where each deviation shows, in the words of the header.
Pixels Documented(Deviations d, Phase f, uint32_t w, uint32_t h) {
  static const char* const kCells[] = {"RGGB", "GRBG", "GBRG", "BGGR"};
  Pixels p;
  for (uint32_t y = 0; y < h; ++y) {
    const bool interior = y > 0 && y + 1 < h;
    for (uint32_t x = 0; x < w; ++x) {
      const bool hit =
          (d == bayer::kGreenFromRightAtColumn0Blue && x == 0 && y > 0 && kCells[int(f)][2 * (y % 2)] == 'B') ||
          (d == bayer::kUnreducedRedAtClosingColumn && interior && y % 2 == 1 && w % 2 == 0 && x == w - 1) ||
          (d == bayer::kUnreducedBlueAtColumn0 && interior && y % 2 == 0 && x == 0) ||
          (d == bayer::kBelowRowOneAhead && (w % 2 == 1 ? interior : (y == 0 && x == w - 1)));
      if (hit) p.insert({y, x});
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
  return p;
}

// Designed input.  The unreduced means show on a uniform 10-bit image of
// 0x200 (reduced: 128; unreduced: low byte 0).  The others on a steep
// horizontal ramp, padding included: every sample one column further right,
// and a right neighbour instead of the pixel above, changes the value by at
// least 8, enough to show in every field of every packing.
uint32_t Designed(Deviations d, uint32_t col, uint32_t* bits) {
  if (d == bayer::kUnreducedRedAtClosingColumn || d == bayer::kUnreducedBlueAtColumn0) {
    *bits = 10;
    return 0x200;
  }
  *bits = 16;
  return (20 * col + 10) << 8;  // the 8-bit ramp in the high byte
}

class DeviationIsolation : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

TEST_F(DeviationIsolation, ShowsExactlyAtItsPixels) {
  const std::vector<Deviating> all = DeviatingMembers();
  // dup: eight phase-B and two RGB16 phase-D members; ave: one; med: two and two.
  ASSERT_EQ(all.size(), 8u + 2u + 1u + 2u + 2u);
  for (const Deviating& d : all) {
    for (uint32_t w = 2; w <= 9; ++w) {
      for (uint32_t h = 2; h <= 6; ++h) {
        Job with(*d.member, w, h, 4), without(*d.member, w, h, 4);
        uint32_t bits = 8;
        for (uint32_t y = 0; y < h; ++y)
          for (uint32_t x = 0; x < w + 2; ++x) {
            const uint32_t v = Designed(d.deviation, x, &bits);
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

}  // namespace
}  // namespace qvi::test
