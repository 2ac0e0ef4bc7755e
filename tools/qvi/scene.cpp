#include "scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "formats.h"

namespace qvi::tool {
namespace {

struct Rgb {
  double r, g, b;
};

Rgb Mix(Rgb a, Rgb b, double t) {
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

constexpr Rgb kBlack{0.04, 0.04, 0.04}, kWhite{0.92, 0.92, 0.92}, kRed{0.85, 0.08, 0.06},
    kBlue{0.06, 0.12, 0.85}, kGreen{0.10, 0.75, 0.12}, kMagenta{0.80, 0.10, 0.75};

constexpr Rgb kPatches[12] = {
    {0.85, 0.08, 0.06}, {0.10, 0.75, 0.12}, {0.06, 0.12, 0.85}, {0.92, 0.85, 0.10},
    {0.10, 0.80, 0.85}, {0.80, 0.10, 0.75}, {0.95, 0.50, 0.05}, {0.45, 0.15, 0.70},
    {0.85, 0.62, 0.50}, {0.40, 0.62, 0.90}, {0.92, 0.92, 0.92}, {0.20, 0.20, 0.20},
};

// Coverage of the side d > 0 of an edge by a pixel whose centre lies at
// signed distance d from it: a box pixel, linear ramp of one pixel.
double Coverage(double d) { return std::clamp(0.5 + d, 0.0, 1.0); }

}  // namespace

Scene::Scene(uint32_t width, uint32_t height)
    : width_(width), height_(height), rgb_(size_t{width} * height * 3) {
  const uint32_t side = std::min(width / 2, height * 2 / 3);
  const double radius = side / 2.0;
  const uint32_t band = height - side, panel = width / 4;
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      const double px = x + 0.5, py = y + 0.5;
      Rgb c{0.5, 0.5, 0.5};
      if (y < side && x < side) {
        // Phase pi r^2 / side: local frequency r / side cycles a pixel, the
        // Nyquist limit of 0.5 at the rim.
        const double dx = px - radius, dy = py - radius, r2 = dx * dx + dy * dy;
        if (r2 < radius * radius) {
          const double v = 0.5 + 0.42 * std::cos(std::numbers::pi * r2 / side);
          c = {v, v, v};
        }
      } else if (y < side) {
        const uint32_t col = (x - side) * 4 / (width - side), row = y * 3 / side;
        c = kPatches[row * 4 + col];
      } else {
        const uint32_t which = std::min<uint32_t>(x / std::max<uint32_t>(panel, 1), 3);
        const double cx = which * panel + panel / 2.0, cy = side + band / 2.0;
        const double dx = px - cx, dy = py - cy;
        switch (which) {
          case 0: {  // 5 degrees off vertical
            const double a = 5.0 * std::numbers::pi / 180;
            c = Mix(kBlack, kWhite, Coverage(dx * std::cos(a) - dy * std::sin(a)));
            break;
          }
          case 1: {  // 30 degrees off vertical
            const double a = 30.0 * std::numbers::pi / 180;
            c = Mix(kRed, kBlue, Coverage(dx * std::cos(a) - dy * std::sin(a)));
            break;
          }
          case 2: {  // 5 degrees off horizontal
            const double a = 5.0 * std::numbers::pi / 180;
            c = Mix(kGreen, kMagenta, Coverage(dy * std::cos(a) + dx * std::sin(a)));
            break;
          }
          default: {  // 36 black spokes on white, 4 x 4 samples a pixel
            double sum = 0;
            for (int sy = 0; sy < 4; ++sy)
              for (int sx = 0; sx < 4; ++sx) {
                const double theta = std::atan2(dy - 0.375 + sy * 0.25, dx - 0.375 + sx * 0.25);
                sum += std::sin(36 * theta) > 0 ? 1 : 0;
              }
            c = Mix(kBlack, kWhite, sum / 16);
            break;
          }
        }
      }
      Set(x, y, c.r, c.g, c.b);
    }
  }
}

void Scene::Set(uint32_t x, uint32_t y, double r, double g, double b) {
  uint16_t* p = &rgb_[(size_t{y} * width_ + x) * 3];
  const double v[3] = {r, g, b};
  for (int i = 0; i < 3; ++i) p[i] = static_cast<uint16_t>(std::lround(std::clamp(v[i], 0.0, 1.0) * 65535));
}

int BayerChannel(BayerPhase phase, uint32_t x, uint32_t y) {
  // The colour of each 2 x 2 cell position, listed row by row.
  static constexpr int kCells[4][4] = {
      {0, 1, 1, 2},  // A: R G / G B
      {1, 0, 2, 1},  // B: G R / B G
      {1, 2, 0, 1},  // C: G B / R G
      {2, 1, 1, 0},  // D: B G / G R
  };
  const uint32_t index = (phase >> 8) - 1;
  return kCells[index & 3][(y & 1) * 2 + (x & 1)];
}

Image Mosaic(const Scene& scene, ImageFormat format, BayerPhase phase, DemosaicMethod method) {
  const uint32_t bits = BayerBits(format);
  const uint32_t bytes = bits == 8 ? 1 : 2;
  Image image(format, scene.width(), scene.height(), scene.width() * bytes);
  image.SetBayer(method, phase);
  for (uint32_t y = 0; y < scene.height(); ++y) {
    uint8_t* line = image.line(y);
    for (uint32_t x = 0; x < scene.width(); ++x) {
      const uint32_t v = scene.at(x, y, BayerChannel(phase, x, y)) >> (16 - bits);
      if (bytes == 1) {
        line[x] = static_cast<uint8_t>(v);
      } else {
        line[2 * x] = static_cast<uint8_t>(v);
        line[2 * x + 1] = static_cast<uint8_t>(v >> 8);
      }
    }
  }
  return image;
}

Image SceneAsBgr24(const Scene& scene) {
  Image image(FMT_BGR24, scene.width(), scene.height(), scene.width() * 3);
  for (uint32_t y = 0; y < scene.height(); ++y) {
    uint8_t* p = image.line(y);
    for (uint32_t x = 0; x < scene.width(); ++x, p += 3) {
      p[0] = static_cast<uint8_t>(scene.at(x, y, 2) >> 8);
      p[1] = static_cast<uint8_t>(scene.at(x, y, 1) >> 8);
      p[2] = static_cast<uint8_t>(scene.at(x, y, 0) >> 8);
    }
  }
  return image;
}

}  // namespace qvi::tool
