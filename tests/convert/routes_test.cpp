// The route table as a whole: every listed pair converts, every other pair
// answers STATUS_BAD_PARAMETER untouched, keys use only the low bytes, and
// the size rule guards every route.
#include <gtest/gtest.h>

#include <map>

#include "buffer/formats.h"
#include "support/image.h"

namespace qvi::test {
namespace {

enum class Kind { Copy, Pixels, Bayer };

std::map<uint32_t, Kind> RouteTable() {
  std::map<uint32_t, Kind> routes;
#define QVI_KEY(S, D) ((static_cast<uint32_t>(Fmt::S) << 8) | static_cast<uint32_t>(Fmt::D))
#define QVI_COPY(S, D) routes[QVI_KEY(S, D)] = Kind::Copy;
#define QVI_PIXELS(S, D) routes[QVI_KEY(S, D)] = Kind::Pixels;
#define QVI_BAYER(S, D) routes[QVI_KEY(S, D)] = Kind::Bayer;
#include "convert/routes.def"
#undef QVI_COPY
#undef QVI_PIXELS
#undef QVI_BAYER
#undef QVI_KEY
  return routes;
}

class Routes : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

// 3x2 images with roomy strides; a source of mid-grey-ish bytes.
struct Pair {
  Pair(uint32_t src_format, uint32_t dst_format)
      : src(src_format, 3, 2, 24, 0, 0x5C), dst(dst_format, 3, 2, 24) {}
  TestImage src, dst;
};

TEST_F(Routes, EveryPairOutsideTheTableIsRefusedUntouched) {
  const auto routes = RouteTable();
  for (uint32_t s = 0; s < 0x100; ++s) {
    for (uint32_t d = 0; d < 0x100; ++d) {
      if (routes.count(s << 8 | d) || s == 0 || d == 0) continue;
      Pair p(kFormatFamily + s, kFormatFamily + d);
      ASSERT_EQ(QVI_Convert(p.src.handle(), p.dst.handle()), STATUS_BAD_PARAMETER) << std::hex << s << " " << d;
      ASSERT_TRUE(AllBytesAre(p.dst.bytes(), kCanary));
    }
  }
}

TEST_F(Routes, EveryPixelAndCopyRouteConverts) {
  size_t converted = 0;
  for (const auto& [key, kind] : RouteTable()) {
    if (kind == Kind::Bayer) continue;
    Pair p(kFormatFamily + (key >> 8), kFormatFamily + (key & 0xFF));
    EXPECT_EQ(QVI_Convert(p.src.handle(), p.dst.handle()), STATUS_OK) << std::hex << key;
    EXPECT_FALSE(AllBytesAre(p.dst.bytes(), kCanary)) << std::hex << key;  // byte 0 may be an X byte
    ++converted;
  }
  EXPECT_GE(converted, 178u);
}

TEST_F(Routes, OnlyTheLowBytesOfTheCodesFormTheKey) {
  for (const auto& [key, kind] : RouteTable()) {
    if (kind == Kind::Bayer) continue;
    Pair full(kFormatFamily + (key >> 8), kFormatFamily + (key & 0xFF));
    Pair bare(key >> 8, 0x7700 + (key & 0xFF));
    ASSERT_EQ(QVI_Convert(full.src.handle(), full.dst.handle()), QVI_Convert(bare.src.handle(), bare.dst.handle()));
    ASSERT_EQ(full.dst.bytes(), bare.dst.bytes()) << std::hex << key;
  }
}

// Needed: source width x height x destination bytes; available: destination
// stride x height.  The destination's own width and height play no part.
TEST_F(Routes, TheSizeRuleComparesNeededWithStrideTimesHeight) {
  for (const auto& [key, kind] : RouteTable()) {
    if (kind == Kind::Bayer) continue;
    const uint32_t dst_format = kFormatFamily + (key & 0xFF);
    const uint32_t needed = 4 * 3 * BytesPerPixel(LowByte(dst_format));
    for (uint32_t available : {needed - 1, needed}) {
      TestImage src(kFormatFamily + (key >> 8), 4, 3, 24, 0, 0x33);
      // A destination one line high whose stride alone carries the bytes:
      // width and height of the destination are deliberately wrong.
      TestImage dst(dst_format, 1, 1, available, 64);
      const Status status = QVI_Convert(src.handle(), dst.handle());
      if (available < needed) {
        EXPECT_EQ(status, STATUS_BAD_BUFFER) << std::hex << key;
        EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary)) << std::hex << key;
      } else {
        EXPECT_EQ(status, STATUS_OK) << std::hex << key;
      }
    }
  }
}

TEST_F(Routes, SameFormatCopiesTheWholeBlockWhenStridesAndHeightsAgree) {
  for (uint32_t format : {FMT_Y8, FMT_Y16}) {
    TestImage src(format, 2, 3, 8, 0, 0x21);
    TestImage dst(format, 7 /* width differs */, 3, 8);
    dst.params().width = 1;
    ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
    EXPECT_TRUE(AllBytesAre(dst.bytes(), 0x21)) << "padding is copied too";

    // Different strides: pixels only, padding kept, and the size rule applies.
    TestImage narrow(format, 2, 3, 6);
    ASSERT_EQ(QVI_Convert(src.handle(), narrow.handle()), STATUS_OK);
    const uint32_t line = format == FMT_Y8 ? 2 : 4;
    for (uint32_t y = 0; y < 3; ++y) {
      for (uint32_t i = 0; i < 6; ++i) EXPECT_EQ(narrow.line(y)[i], i < line ? 0x21 : kCanary) << y << " " << i;
    }
    TestImage small(format, 2, 1, 8);
    EXPECT_EQ(QVI_Convert(src.handle(), small.handle()), format == FMT_Y8 ? STATUS_OK : STATUS_BAD_BUFFER);
  }
}

TEST_F(Routes, EmptyImagesConvertToNothing) {
  for (auto [w, h] : {std::pair{0u, 3u}, std::pair{3u, 0u}}) {
    TestImage src(FMT_Y8, w, h, 4, 16, 0x44);
    TestImage dst(FMT_BGR24, w, h, 12, 64);
    EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
    EXPECT_TRUE(AllBytesAre(dst.bytes(), kCanary));
  }
}

}  // namespace
}  // namespace qvi::test
