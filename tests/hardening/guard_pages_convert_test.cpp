// Every conversion route over many random geometries, with each buffer
// placed against a protected page (after its end, then before its start):
// any read or write beyond what the route is documented to touch faults.
// Bayer routes run with every accepted method and phase, their sources
// carrying exactly the documented over-read of the member they reach.
#include <gtest/gtest.h>

#include <random>

#include "support/documented_reach.h"
#include "support/fenced_image.h"
#include "support/routes.h"

namespace qvi::test {
namespace {

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
  const uint32_t methods[] = {DEMOSAIC_METHOD_DUP, DEMOSAIC_METHOD_AVE, DEMOSAIC_METHOD_MED};
  const uint32_t phases[] = {BAYER_PHASE_A, BAYER_PHASE_B, BAYER_PHASE_C, BAYER_PHASE_D};
  std::mt19937 rng(7);
  for (const Route& r : ConversionRoutes()) {
    for (int trial = 0; trial < 12; ++trial) {
      const uint32_t w = 1 + rng() % 19, h = 1 + rng() % 4;
      const uint32_t src_stride = SourceLineBytes(r.src, w) + (trial % 3 == 0 ? 0 : rng() % 5);
      const uint32_t dst_stride = w * BytesPerPixel(r.dst) + (trial % 2 == 0 ? 0 : rng() % 7);
      // RGBX32 takes only duplication, BGR16 only duplication in phase A.
      const bool dup_only = r.dst == Fmt::RGBX32 || r.dst == Fmt::BGR16;
      const uint32_t method = dup_only ? methods[0] : methods[trial % 3];
      const uint32_t phase = r.dst == Fmt::BGR16 ? phases[0] : phases[rng() % 4];
      // Pixel routes read nothing outside the source's stride x height (the
      // word after a line is read only where it lies inside).
      uint32_t slack = 0;
      if (r.bayer) {
        const uint32_t sample = r.src == Fmt::BAY8 ? 1 : 2;
        const bool ahead = r.dst == Fmt::RGB16 && method == DEMOSAIC_METHOD_MED && phase == BAYER_PHASE_C;
        const uint32_t over = DemosaicOverReadSamples(method != DEMOSAIC_METHOD_DUP, ahead, w, h);
        slack = static_cast<uint32_t>(DemosaicSourceBytes(w, h, src_stride, sample, over) - uint64_t{src_stride} * h);
      }
      FencedImage src(FullCode(r.src), w, h, src_stride, slack, GetParam(), 0x3C);
      src.params().method = method;
      src.params().phase = phase;
      FencedImage dst(FullCode(r.dst), w, h, dst_stride, 0, GetParam());
      ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK)
          << std::hex << int(r.src) << " " << int(r.dst) << std::dec << " " << w << "x" << h;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fences, GuardPages, ::testing::Values(Fence::AfterEnd, Fence::BeforeStart));

}  // namespace
}  // namespace qvi::test
