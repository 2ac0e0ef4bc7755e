// The built-in capture: its mosaic must put each colour where the phase says,
// or every demo picture would be wrong in colour.
#include <gtest/gtest.h>

#include "formats.h"
#include "scene.h"

namespace qvi::tool {
namespace {

uint32_t Sample(const Image& image, uint32_t x, uint32_t y) {
  const uint8_t* line = image.line(y);
  if (image.format() == FMT_BAY8) return line[x];
  return line[2 * x] | (line[2 * x + 1] << 8);
}

TEST(Mosaic, TakesEachSampleFromTheColourOfItsPhaseAtTheFormatsDepth) {
  const Scene scene(40, 30);
  const struct {
    BayerPhase phase;
    int top_left[4];  // colours of the 2 x 2 cell, row by row
  } phases[] = {
      {BAYER_PHASE_A, {0, 1, 1, 2}},
      {BAYER_PHASE_B, {1, 0, 2, 1}},
      {BAYER_PHASE_C, {1, 2, 0, 1}},
      {BAYER_PHASE_D, {2, 1, 1, 0}},
  };
  for (ImageFormat format : {FMT_BAY8, FMT_BAY10, FMT_BAY12, FMT_BAY16}) {
    const uint32_t bits = BayerBits(format);
    for (const auto& p : phases) {
      const Image mosaic = Mosaic(scene, format, p.phase, DEMOSAIC_METHOD_MED);
      uint32_t method = 0, phase = 0;
      QVB_BufferParameterGet(mosaic.handle(), BUF_PARAM_DEMOSAIC_METHOD, &method);
      QVB_BufferParameterGet(mosaic.handle(), BUF_PARAM_BAYER_PHASE, &phase);
      EXPECT_EQ(method, DEMOSAIC_METHOD_MED);
      EXPECT_EQ(phase, p.phase);
      for (uint32_t y = 0; y < scene.height(); ++y)
        for (uint32_t x = 0; x < scene.width(); ++x) {
          const int channel = p.top_left[(y % 2) * 2 + x % 2];
          ASSERT_EQ(Sample(mosaic, x, y), scene.at(x, y, channel) >> (16u - bits))
              << "bits " << bits << " phase " << std::hex << p.phase << std::dec << " at " << x << "," << y;
        }
    }
  }
}

}  // namespace
}  // namespace qvi::tool
