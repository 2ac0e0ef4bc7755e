// The pixel formats the bilinear and median de-interlacers take, by full
// 32-bit code: for each, the distance from a byte to its same-kind neighbour
// (the step) and the bytes at each end of a line that have no such neighbour
// and are taken as vertical means instead.
#pragma once

#include <array>
#include <cstdint>

#include "buffer/formats.h"

namespace qvi::field {

enum class Shape : uint8_t {
  Unsupported,
  Grey8,   // FMT_Y8
  Triple,  // FMT_BGR24, FMT_RGB24
  Quad,    // FMT_XBGR32, FMT_BGRX32, FMT_XRGB32, FMT_RGBX32
  Yuv422,  // FMT_YUV422: bytes Y0 U Y1 V
};

struct FieldLayout {
  Shape shape = Shape::Unsupported;
  uint8_t even_step = 0;  // step of the even bytes (of every byte but 4:2:2 chroma)
  uint8_t odd_step = 0;   // step of the odd bytes
  uint8_t lead = 0;       // bytes at the start of a line taken as vertical means
  uint8_t tail = 0;       // bytes at the end of a line taken as vertical means
};

// Luma steps 2 and chroma (the U and V bytes alternating in the odd places)
// steps 4; bytes 0 and 1 lead, and byte 3, whose chroma neighbour to the left
// would lie before the line, is a vertical mean as well.
inline constexpr FieldLayout kYuv422Layout{Shape::Yuv422, 2, 4, 2, 3};

constexpr FieldLayout LayoutOf(Shape shape) {
  switch (shape) {
    case Shape::Grey8: return {shape, 1, 1, 1, 1};
    case Shape::Triple: return {shape, 3, 3, 3, 3};
    case Shape::Quad: return {shape, 4, 4, 4, 4};  // the first and last pixels
    case Shape::Yuv422: return kYuv422Layout;
    case Shape::Unsupported: break;
  }
  return {};
}

inline constexpr uint32_t kFirstFieldCode = FullCode(Fmt::Y8);  // 0xC0022601
inline constexpr uint32_t kFieldCodes = 30;                      // .. 0xC002261E

// Indexed by code - 0xC0022601; codes not listed are Unsupported.
inline constexpr std::array<FieldLayout, kFieldCodes> kFieldLayouts = [] {
  std::array<FieldLayout, kFieldCodes> table{};
  const auto set = [&table](Fmt f, Shape shape) { table[FullCode(f) - kFirstFieldCode] = LayoutOf(shape); };
  set(Fmt::Y8, Shape::Grey8);
  set(Fmt::XBGR32, Shape::Quad);
  set(Fmt::BGRX32, Shape::Quad);
  set(Fmt::XRGB32, Shape::Quad);
  set(Fmt::RGBX32, Shape::Quad);
  set(Fmt::BGR24, Shape::Triple);
  set(Fmt::RGB24, Shape::Triple);
  set(Fmt::YUV422, Shape::Yuv422);
  return table;
}();

// The layout of a full format code; codes outside the table (below it too,
// where the subtraction wraps) are Unsupported.
constexpr FieldLayout FieldLayoutOf(uint32_t code) {
  const uint32_t index = code - kFirstFieldCode;
  return index < kFieldCodes ? kFieldLayouts[index] : FieldLayout{};
}

static_assert(FieldLayoutOf(FullCode(Fmt::YUV422)).shape == Shape::Yuv422);
static_assert(FieldLayoutOf(FullCode(Fmt::Y12_ALT)).shape == Shape::Unsupported);

}  // namespace qvi::field
