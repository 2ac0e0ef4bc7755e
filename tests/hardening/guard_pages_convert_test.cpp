// Every conversion route over many random geometries, with each buffer
// placed against a protected page (after its end, then before its start):
// any read or write beyond what the route is documented to touch faults.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "buffer/formats.h"
#include "support/fenced_image.h"

namespace qvi::test {
namespace {

struct Route {
  Fmt src, dst;
  bool bayer;
};

std::vector<Route> Routes() {
  std::vector<Route> routes;
#define QVI_COPY(S, D) routes.push_back({Fmt::S, Fmt::D, false});
#define QVI_PIXELS(S, D) routes.push_back({Fmt::S, Fmt::D, false});
#define QVI_BAYER(S, D) routes.push_back({Fmt::S, Fmt::D, true});
#include "convert/routes.def"
#undef QVI_COPY
#undef QVI_PIXELS
#undef QVI_BAYER
  return routes;
}

// Bytes one source line of width w occupies.
uint32_t SourceLineBytes(Fmt f, uint32_t w) {
  if (f == Fmt::Y12P) return (3 * w + 1) / 2;
  if (f == Fmt::YUV422) return 2 * ((w + 1) / 2) * 2;
  return w * BytesPerPixel(f);
}

class GuardPages : public ::testing::TestWithParam<Fence> {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

TEST_P(GuardPages, ConversionsStayInsideTheirBuffers) {
  std::mt19937 rng(7);
  for (const Route& r : Routes()) {
    if (r.bayer) continue;  // covered with the demosaic entry points
    for (int trial = 0; trial < 12; ++trial) {
      const uint32_t w = 1 + rng() % 19, h = 1 + rng() % 4;
      const uint32_t src_stride = SourceLineBytes(r.src, w) + (trial % 3 == 0 ? 0 : rng() % 5);
      const uint32_t dst_stride = w * BytesPerPixel(r.dst) + (trial % 2 == 0 ? 0 : rng() % 7);
      // No slack: no conversion reads outside its source's stride x height (the
      // word after a line is read only where it lies inside).
      FencedImage src(FullCode(r.src), w, h, src_stride, 0, GetParam(), 0x3C);
      FencedImage dst(FullCode(r.dst), w, h, dst_stride, 0, GetParam());
      ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK)
          << std::hex << int(r.src) << " " << int(r.dst) << std::dec << " " << w << "x" << h;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fences, GuardPages, ::testing::Values(Fence::AfterEnd, Fence::BeforeStart));

}  // namespace
}  // namespace qvi::test
