// QVI_Convert's Bayer routes: the size rule first, then the method and the
// phase choose a member, which runs with the bit depth of the source format.
#include <gtest/gtest.h>

#include <map>

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

const std::map<uint32_t, Method> kMethods = {
    {DEMOSAIC_METHOD_DUP, Method::dup}, {DEMOSAIC_METHOD_AVE, Method::ave}, {DEMOSAIC_METHOD_MED, Method::med}};
const std::map<uint32_t, Phase> kPhases = {
    {BAYER_PHASE_A, Phase::A}, {BAYER_PHASE_B, Phase::B}, {BAYER_PHASE_C, Phase::C}, {BAYER_PHASE_D, Phase::D}};

Packing PackingOf(Fmt f) {
  switch (f) {
    case Fmt::RGBX32: return Packing::RGBX32;
    case Fmt::BGRX32: return Packing::BGRX32;
    case Fmt::BGR24: return Packing::BGR24;
    case Fmt::RGB16: return Packing::RGB16;
    default: return Packing::BGR16;
  }
}

// Every route with every method and phase value, valid or not: refused with
// STATUS_BAD_BAYER_MODE and untouched, or converted exactly as the reference
// model of the member of that name at the source format's depth.
TEST_F(BayerRoutes, MethodAndPhaseChooseTheMemberAndTheDepth) {
  const uint32_t methods[] = {DEMOSAIC_METHOD_DUP, DEMOSAIC_METHOD_AVE, DEMOSAIC_METHOD_MED, 0x409, 0x100, 0x9, 0};
  const uint32_t phases[] = {BAYER_PHASE_A, BAYER_PHASE_B, BAYER_PHASE_C, BAYER_PHASE_D, 0x50A, 0x10B, 0xA, 0};
  std::mt19937 rng(9);
  size_t converted = 0;
  for (auto [s, d] : BayerRouteList()) {
    const uint32_t bits = s == Fmt::BAY8 ? 8 : 10 + 2 * (static_cast<uint32_t>(s) - static_cast<uint32_t>(Fmt::BAY10));
    const Depth depth = s == Fmt::BAY8 ? Depth::BAY8 : Depth::BAYn;
    const Packing packing = PackingOf(d);
    for (uint32_t method : methods) {
      for (uint32_t phase : phases) {
        const bool known = kMethods.count(method) && kPhases.count(phase);
        const bool narrow = (d == Fmt::RGBX32 || d == Fmt::BGR16) && method != DEMOSAIC_METHOD_DUP;
        const bool bgr16 = d == Fmt::BGR16 && phase != BAYER_PHASE_A;
        const MemberInfo* m = known ? FindMember(depth, packing, kMethods.at(method), kPhases.at(phase)) : nullptr;
        const uint32_t w = 5, h = 4, bpp = PixelBytes(packing);
        TestImage src(FullCode(s), w, h, w * (bits == 8 ? 1 : 2) + 2, 0, 0);
        for (uint8_t& b : src.bytes()) b = static_cast<uint8_t>(rng());
        src.params().method = method;
        src.params().phase = phase;
        TestImage dst(FullCode(d), w, h, w * bpp + 1);
        const Status status = QVI_Convert(src.handle(), dst.handle());
        const std::string what = std::to_string(int(s)) + "->" + std::to_string(int(d)) + " method " +
                                 std::to_string(method) + " phase " + std::to_string(phase);
        if (!known || narrow || bgr16) {
          EXPECT_EQ(status, STATUS_BAD_BAYER_MODE) << what;
          EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary)) << what;
        } else if (m == nullptr) {  // a method not built yet: refused, never a wrong image
          EXPECT_EQ(status, STATUS_BAD_PARAMETER) << what;
          EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary)) << what;
        } else {
          ++converted;
          std::vector<uint8_t> expected(dst.bytes().size(), kCanary);
          ReferenceDemosaic(*m, src.data(), src.stride(), w, h, bits, expected.data(), dst.stride());
          EXPECT_EQ(status, STATUS_OK) << what;
          EXPECT_EQ(dst.bytes(), expected) << what << " " << m->name;
        }
      }
    }
  }
  EXPECT_GE(converted, 5u * 4u + 1u);  // at least every dup route in every phase it accepts
}

// A destination too small answers STATUS_BAD_BUFFER even when the method is
// bad too: the size rule comes first.
TEST_F(BayerRoutes, TheSizeRuleComesBeforeTheMethod) {
  for (auto [s, d] : BayerRouteList()) {
    for (uint32_t method : {DEMOSAIC_METHOD_DUP, 0x409u}) {
      TestImage src(FullCode(s), 4, 3, 8, 0, 0x40);
      src.params().method = method;
      src.params().phase = BAYER_PHASE_A;
      const uint32_t needed = 4 * 3 * BytesPerPixel(d);
      TestImage dst(FullCode(d), 4, 1, needed - 1);
      EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_BAD_BUFFER);
      EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary));
    }
  }
}

// The member's own checks run again after QVI_Convert's, in their order.
TEST_F(BayerRoutes, TheMemberRepeatsItsQueries) {
  TestImage src(FMT_BAY12, 4, 2, 8, 0, 0x40), dst(FMT_BGRX32, 4, 2, 16);
  src.params().method = DEMOSAIC_METHOD_DUP;
  src.params().phase = BAYER_PHASE_C;
  ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  const BufferHandle s = src.handle(), d = dst.handle();
  const std::vector<Query> tail = {{s, BUF_PARAM_VALID},  {d, BUF_PARAM_VALID},  {s, BUF_PARAM_ADDRESS},
                                   {s, BUF_PARAM_STRIDE}, {d, BUF_PARAM_STRIDE}, {d, BUF_PARAM_ADDRESS},
                                   {s, BUF_PARAM_HEIGHT}, {s, BUF_PARAM_WIDTH}};
  const std::vector<Query> log = QueryLog();
  ASSERT_GE(log.size(), tail.size());
  EXPECT_EQ(std::vector<Query>(log.end() - tail.size(), log.end()), tail);
}

}  // namespace
}  // namespace qvi::test
