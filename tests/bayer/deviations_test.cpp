// Each deviation in isolation: the member as exported against the same member
// built without its deviation.  On input designed to show it, the pixels that
// differ are exactly the documented ones.  (That they never differ elsewhere,
// on any input, follows from the reference model, which has no flags.)
#include <gtest/gtest.h>

#include "bayer/demosaic.h"
#include "bayer_support.h"

namespace qvi::test {
namespace {

using bayer::Deviations;

struct Deviating {
  const DemosaicMember* member;
  Deviations deviation;
  Status (*without)(BufferHandle, BufferHandle, uint32_t);  // the member built without its deviation
};

std::vector<Deviating> DeviatingMembers() {
  std::vector<Deviating> out;
#define QVI_MEMBER(d, p, m, f, x)                                                   \
  if constexpr (bayer::x != bayer::kNone)                                           \
    out.push_back({FindDemosaicMember(Depth::d, Packing::p, Method::m, Phase::f), bayer::x, \
                   &bayer::Demosaic<bayer::Member<Depth::d, Packing::p, Method::m, Phase::f, bayer::kNone>>});
#include "bayer/members.def"
#undef QVI_MEMBER
  return out;
}

TEST(Deviations, EachShowsExactlyAtItsDocumentedPixels) {
  ResetFakeBuffers();
  const std::vector<Deviating> all = DeviatingMembers();
  // dup: eight phase-B and two RGB16 phase-D members; ave: one; med: two and two.
  ASSERT_EQ(all.size(), 8u + 2u + 1u + 2u + 2u);
  for (const auto& [member, deviation, without] : all) {
    // The unreduced means show on a uniform 10-bit image of 0x200 (reduced:
    // 128; unreduced: low byte 0).  The others on a steep horizontal ramp,
    // padding included, where a sample one column further right, or a right
    // neighbour instead of the pixel above, differs by at least 8.
    const bool unreduced = deviation & (bayer::kUnreducedRedAtClosingColumn | bayer::kUnreducedBlueAtColumn0);
    const uint32_t bits = unreduced ? 10 : 16;
    for (uint32_t w = 2; w <= 9; ++w) {
      for (uint32_t h = 2; h <= 6; ++h) {
        Job a(*member, w, h, 4), b(*member, w, h, 4);
        for (uint32_t y = 0; y < h; ++y)
          for (uint32_t x = 0; x < w + 2; ++x) {
            const uint32_t v = unreduced ? 0x200 : (20 * x + 10) << 8;
            a.PutSample(y, x, member->deep() ? v : v >> 8);
            b.PutSample(y, x, member->deep() ? v : v >> 8);
          }
        ASSERT_EQ(a.Run(bits), STATUS_OK);
        ASSERT_EQ(without(b.src.handle(), b.dst.handle(), bits), STATUS_OK);
        // Where each deviation shows, in the words of the header.
        for (uint32_t y = 0; y < h; ++y) {
          const bool interior = y > 0 && y + 1 < h;
          const bool blue_row = "RGGBGRBGGBRGBGGR"[4 * int(member->phase) + 2 * (y % 2)] == 'B';
          for (uint32_t x = 0; x < w; ++x) {
            const bool documented =
                (deviation == bayer::kGreenFromRightAtColumn0Blue && x == 0 && y > 0 && blue_row) ||
                (deviation == bayer::kUnreducedRedAtClosingColumn && interior && y % 2 && w % 2 == 0 && x == w - 1) ||
                (deviation == bayer::kUnreducedBlueAtColumn0 && interior && y % 2 == 0 && x == 0) ||
                (deviation == bayer::kBelowRowOneAhead && (w % 2 ? interior : (y == 0 && x == w - 1)));
            EXPECT_EQ(a.At(y, x) != b.At(y, x), documented)
                << member->name << " " << w << "x" << h << " (" << y << ", " << x << ")";
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace qvi::test
