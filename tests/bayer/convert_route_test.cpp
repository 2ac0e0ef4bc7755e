// QVI_Convert's Bayer routes: the size rule first, then the method and the
// phase choose a member, which runs with the bit depth of the source format.
#include <gtest/gtest.h>

#include "bayer_support.h"
#include "buffer/formats.h"

namespace qvi::test {
namespace {

class BayerRoutes : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

std::vector<std::pair<Fmt, Fmt>> BayerRouteList() {
  std::vector<std::pair<Fmt, Fmt>> routes;
#define QVI_COPY(S, D)
#define QVI_PIXELS(S, D)
#define QVI_BAYER(S, D) routes.push_back({Fmt::S, Fmt::D});
#include "convert/routes.def"
#undef QVI_COPY
#undef QVI_PIXELS
#undef QVI_BAYER
  return routes;
}

// Every route with every method and phase value, valid or not: refused with
// STATUS_BAD_BAYER_MODE and untouched, or converted exactly as the reference
// model of the member of that name at the source format's depth.
TEST_F(BayerRoutes, MethodAndPhaseChooseTheMemberAndTheDepth) {
  // The first three methods and four phases are valid, in enum order.
  const uint32_t methods[] = {DEMOSAIC_METHOD_DUP, DEMOSAIC_METHOD_AVE, DEMOSAIC_METHOD_MED, 0x409, 0x100, 0x9, 0};
  const uint32_t phases[] = {BAYER_PHASE_A, BAYER_PHASE_B, BAYER_PHASE_C, BAYER_PHASE_D, 0x50A, 0x10B, 0xA, 0};
  std::mt19937 rng(9);
  size_t converted = 0;
  for (auto [s, d] : BayerRouteList()) {
    const uint32_t bits = s == Fmt::BAY8 ? 8 : 10 + 2 * (uint32_t(s) - uint32_t(Fmt::BAY10));
    Packing packing = Packing::RGBX32;
    while ((FormatOf(packing) & 0xFF) != uint32_t(d)) packing = Packing(int(packing) + 1);
    for (size_t mi = 0; mi < std::size(methods); ++mi) {
      for (size_t fi = 0; fi < std::size(phases); ++fi) {
        const bool dup_only = d == Fmt::RGBX32 || d == Fmt::BGR16;
        const bool refused = mi > 2 || fi > 3 || (dup_only && mi != 0) || (d == Fmt::BGR16 && fi != 0);
        TestImage src(FullCode(s), 5, 4, 5 * (bits == 8 ? 1 : 2) + 2, 0, 0);
        for (uint8_t& b : src.bytes()) b = static_cast<uint8_t>(rng());
        src.params().method = methods[mi];
        src.params().phase = phases[fi];
        TestImage dst(FullCode(d), 5, 4, 5 * PixelBytes(packing) + 1);
        const Status status = QVI_Convert(src.handle(), dst.handle());
        const std::string what = std::to_string(int(s)) + "->" + std::to_string(int(d)) + " method " +
                                 std::to_string(methods[mi]) + " phase " + std::to_string(phases[fi]);
        if (refused) {
          EXPECT_EQ(status, STATUS_BAD_BAYER_MODE) << what;
          EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary)) << what;
          continue;
        }
        const MemberInfo* m = FindMember(bits == 8 ? Depth::BAY8 : Depth::BAYn, packing, Method(mi), Phase(fi));
        ASSERT_NE(m, nullptr) << what;
        std::vector<uint8_t> expected(dst.bytes().size(), kCanary);
        ReferenceDemosaic(*m, src.data(), src.stride(), 5, 4, bits, expected.data(), dst.stride());
        EXPECT_EQ(status, STATUS_OK) << what;
        EXPECT_EQ(dst.bytes(), expected) << what << " " << m->name;
        ++converted;
      }
    }
  }
  // Five source formats, each into three packings x three methods x four
  // phases and into RGBX32 (dup, four phases); plus 8-bit into BGR16.
  EXPECT_EQ(converted, 5u * (3u * 3u * 4u + 4u) + 1u);
}

// A destination too small answers STATUS_BAD_BUFFER even when the method is
// bad too: the size rule comes first.  So does one whose bytes suffice but
// whose rows do not.
TEST_F(BayerRoutes, TheSizeRuleComesBeforeTheMethod) {
  for (auto [s, d] : BayerRouteList()) {
    for (uint32_t method : {DEMOSAIC_METHOD_DUP, 0x409u}) {
      TestImage src(FullCode(s), 4, 3, 8, 0, 0x40);
      src.params().method = method;
      src.params().phase = BAYER_PHASE_A;
      TestImage dst(FullCode(d), 4, 1, 4 * 3 * BytesPerPixel(d) - 1);
      EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_BAD_BUFFER);
      EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary));
      // Enough bytes, but in one row: the three rows would not fit.
      TestImage one_row(FullCode(d), 4, 1, 4 * 3 * BytesPerPixel(d));
      EXPECT_EQ(QVI_Convert(src.handle(), one_row.handle()), STATUS_BAD_BUFFER);
      EXPECT_TRUE(AllBytesAre(one_row.bytes(), kCanary));
    }
  }
}

}  // namespace
}  // namespace qvi::test
