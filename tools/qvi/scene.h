// The built-in capture of `qvi demo`: a synthetic scene made to show what
// demosaicing does, and its Bayer mosaic.
//
// Layout, for a width W and height H (the demo uses 1024 x 768), with
// S = min(W / 2, 2H / 3):
//   top left, S x S:       a circular zone plate, grey, whose frequency grows
//                          from 0 at the centre to the pixel Nyquist limit
//                          at its rim (false colour and moire);
//   top right:             a 4 x 3 grid of colour patches (colour bleeding
//                          across sharp colour borders);
//   bottom band, 4 panels: slanted edges black/white, red/blue and
//                          green/magenta (zipper artefacts), and a 36-spoke
//                          star (resolution limit).
#pragma once

#include <cstdint>
#include <vector>

#include "image.h"
#include "qvi.h"

namespace qvi::tool {

// A scene in linear 16-bit red, green and blue.
class Scene {
 public:
  Scene(uint32_t width, uint32_t height);

  uint32_t width() const { return width_; }
  uint32_t height() const { return height_; }
  // Channel 0 red, 1 green, 2 blue.
  uint16_t at(uint32_t x, uint32_t y, int channel) const { return rgb_[(size_t{y} * width_ + x) * 3 + channel]; }

 private:
  void Set(uint32_t x, uint32_t y, double r, double g, double b);
  uint32_t width_, height_;
  std::vector<uint16_t> rgb_;
};

// Colour (0 red, 1 green, 2 blue) of the mosaic sample at column x, row y.
int BayerChannel(BayerPhase phase, uint32_t x, uint32_t y);

// The scene as the sensor sees it: one sample a pixel, coloured by `phase`,
// reduced to the depth of `format` (FMT_BAY8 ... FMT_BAY16).  The image's
// method and phase are set (`method`, `phase`), ready for QVI_Convert.
Image Mosaic(const Scene& scene, ImageFormat format, BayerPhase phase, DemosaicMethod method);

// The scene reduced to 8 bits a colour, as FMT_BGR24: what a perfect
// demosaic would give.
Image SceneAsBgr24(const Scene& scene);

}  // namespace qvi::tool
