// The route table as a whole: every listed pair converts, every other pair
// answers STATUS_BAD_PARAMETER untouched, keys use only the low bytes, the
// size rule guards every route, images of no width write nothing, and
// same-format copies take one block.
#include <gtest/gtest.h>

#include <map>

#include "buffer/formats.h"
#include "support/image.h"
#include "support/routes.h"

namespace qvi::test {
namespace {

// Every route by its key, and whether it is a Bayer route (those have tests
// of their own).
std::map<uint32_t, bool> RouteTable() {
  std::map<uint32_t, bool> routes;
  for (const Route& r : ConversionRoutes()) routes[uint32_t(r.src) << 8 | uint32_t(r.dst)] = r.bayer;
  return routes;
}

TEST(Routes, EveryPairOutsideTheTableIsRefusedUntouched) {
  ResetFakeBuffers();
  const std::map<uint32_t, bool> routes = RouteTable();
  for (uint32_t s = 1; s < 0x100; ++s) {
    for (uint32_t d = 1; d < 0x100; ++d) {
      if (routes.count(s << 8 | d)) continue;
      TestImage src(kFormatFamily + s, 3, 2, 24, 0, 0x5C), dst(kFormatFamily + d, 3, 2, 24);  // 3x2, roomy strides
      ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_BAD_PARAMETER) << std::hex << s << " " << d;
      ASSERT_TRUE(AllBytesAre(dst.bytes(), kCanary));
    }
  }
}

// Needed: source width x height x destination bytes; available: destination
// stride x height, its own width and height playing no part.  A Bayer route
// also refuses a destination whose bytes suffice but whose rows do not, and
// tests the size before the (here invalid) method.  A route that converts
// writes something, and formats with the right low bytes in another family
// convert alike.  Given no width or no height, a route writes nothing into a
// padded destination (a Bayer route passes the size rule, then refuses the
// method).
TEST(Routes, EveryRouteKeepsTheSizeRuleAndConvertsByTheLowBytesAlone) {
  ResetFakeBuffers();
  size_t converted = 0;
  for (auto [key, bayer] : RouteTable()) {
    const uint32_t needed = 4 * 3 * BytesPerPixel(Fmt(key & 0xFF));
    for (uint32_t available : {needed - 1, needed}) {
      TestImage src(kFormatFamily + (key >> 8), 4, 3, 24, 0, 0x5C), bare_src(key >> 8, 4, 3, 24, 0, 0x5C);
      TestImage dst(kFormatFamily + (key & 0xFF), 1, 1, available, 64);  // one line: its stride holds the bytes
      TestImage bare_dst(0x7700 + (key & 0xFF), 1, 1, available, 64);
      const bool refused = available < needed || bayer;
      ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), refused ? STATUS_BAD_BUFFER : STATUS_OK) << std::hex << key;
      EXPECT_EQ(AllBytesAre(dst.bytes(), kCanary), refused) << std::hex << key;
      EXPECT_EQ(QVI_Convert(bare_src.handle(), bare_dst.handle()), refused ? STATUS_BAD_BUFFER : STATUS_OK);
      EXPECT_EQ(dst.bytes(), bare_dst.bytes()) << std::hex << key;
      converted += refused ? 0 : 1;
    }
    for (auto [w, h] : {std::pair{0u, 3u}, std::pair{3u, 0u}}) {
      TestImage src(kFormatFamily + (key >> 8), w, h, 4, 16, 0x44), dst(kFormatFamily + (key & 0xFF), w, h, 12, 64);
      EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), bayer ? STATUS_BAD_BAYER_MODE : STATUS_OK) << std::hex << key;
      EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary)) << std::hex << key;
    }
  }
  EXPECT_EQ(converted, 178u);
}

// With equal strides and heights the whole block is copied, padding included
// and without the size rule; otherwise pixels only, and the rule applies.
TEST(Routes, SameFormatCopiesTheWholeBlockWhenStridesAndHeightsAgree) {
  ResetFakeBuffers();
  for (uint32_t format : {FMT_Y8, FMT_Y16}) {
    TestImage src(format, 2, 3, 8, 0, 0x21), dst(format, 1 /* width differs */, 3, 8), narrow(format, 2, 3, 6);
    ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
    EXPECT_TRUE(AllBytesAre(dst.bytes(), 0x21));
    ASSERT_EQ(QVI_Convert(src.handle(), narrow.handle()), STATUS_OK);
    for (uint32_t i = 0; i < 18; ++i)
      EXPECT_EQ(narrow.bytes()[i], i % 6 < (format == FMT_Y8 ? 2u : 4u) ? 0x21 : kCanary) << i;
    TestImage small(format, 2, 1, 8);
    EXPECT_EQ(QVI_Convert(src.handle(), small.handle()), format == FMT_Y8 ? STATUS_OK : STATUS_BAD_BUFFER);
  }
}

}  // namespace
}  // namespace qvi::test
