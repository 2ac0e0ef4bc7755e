// A model of the frames the de-interlacers write, stated per frame line
// instead of walked: which field line (or missing line) frame line k is,
// where it starts, and what each byte of a missing line is.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/image.h"

namespace qvi::test {

enum class Method { Dup, Ave, Bilinear, Median };

inline bool IsQuad(uint32_t format) {
  return format == FMT_XBGR32 || format == FMT_BGRX32 || format == FMT_XRGB32 || format == FMT_RGBX32;
}

// Bytes of a missing line, and how far the frame and the field go on after it.
struct MissingLine {
  uint32_t bytes, frame_pitch, field_pitch;
};

inline MissingLine MissingLineOf(Method m, uint32_t format, uint32_t s) {
  if (m == Method::Bilinear && IsQuad(format)) return {s >= 8 ? 8 + 4 * ((s - 8) >> 2) : s & ~3u, s, s};
  if (m == Method::Median && IsQuad(format)) {
    const uint32_t n = s >= 24 ? ((s - 4) >> 2) - 4 : 0;
    const uint32_t line = s >= 8 ? 4 * (n + 2) : 4 * (s / 4);
    return {line, line, line};
  }
  return {s, s, s};
}

// The bytes of an n-byte missing line taken as vertical means.
inline bool IsEdge(uint32_t format, uint32_t j, uint32_t n) {
  switch (format) {
    case FMT_Y8: return j == 0 || j + 1 == n;
    case FMT_BGR24:
    case FMT_RGB24: return j < 3 || j + 3 >= n;
    case FMT_YUV422: return j < 2 || j == 3 || j + 3 >= n || (n % 2 == 1 && j + 4 == n);
    default: return j < 4 || j + 4 >= n;
  }
}

// The distance to byte j's same-kind neighbour.
inline uint32_t StepOf(uint32_t format, uint32_t j) {
  switch (format) {
    case FMT_Y8: return 1;
    case FMT_BGR24:
    case FMT_RGB24: return 3;
    case FMT_YUV422: return j % 2 == 0 ? 2 : 4;
    default: return 4;
  }
}

// The mean of the third and fourth of the six low bytes in sorted order.
inline uint32_t SortedMedian6(std::array<uint32_t, 6> v) {
  for (auto& x : v) x %= 256;
  std::sort(v.begin(), v.end());
  return (v[2] + v[3]) / 2;
}

inline uint8_t MissingByte(Method m, uint32_t format, const uint8_t* a, const uint8_t* b, uint32_t j, uint32_t n) {
  if (m == Method::Dup) return a[j];
  if (m == Method::Ave || IsEdge(format, j, n)) return static_cast<uint8_t>((a[j] + b[j]) / 2);
  const uint32_t s = StepOf(format, j);
  if (m == Method::Median) return static_cast<uint8_t>(SortedMedian6({a[j - s], a[j], a[j + s], b[j - s], b[j], b[j + s]}));
  return static_cast<uint8_t>(((a[j] + b[j]) * 105 + (a[j - s] + a[j + s] + b[j - s] + b[j + s]) * 75) / 512);
}

// The frame of 2H lines made from a field of stride s, over `frame_bytes` of
// canary, up to the first line that does not fit.
inline std::vector<uint8_t> ModelFrame(Method m, uint32_t format, uint32_t parity, const std::vector<uint8_t>& field,
                                       uint32_t s, uint32_t h, size_t frame_bytes) {
  std::vector<uint8_t> out(frame_bytes, kCanary);
  const MissingLine ml = MissingLineOf(m, format, s);
  size_t at = 0;
  for (uint32_t k = 0; k < 2 * h; ++k) {
    // Frame line k is field line `src`, or the missing line below it.
    bool missing;
    uint32_t src;
    if (parity == 0) {
      missing = k > 0 && k % 2 == 0;
      src = k == 0 ? 0 : (missing ? k / 2 - 1 : (k - 1) / 2);
    } else {
      missing = k % 2 == 1 && k + 1 < 2 * h;
      src = k / 2;
    }
    const uint8_t* a = field.data() + uint64_t{src} * ml.field_pitch;
    if (at + (missing ? ml.bytes : s) > frame_bytes) break;
    if (missing) {
      for (uint32_t j = 0; j < ml.bytes; ++j) out[at + j] = MissingByte(m, format, a, a + s, j, ml.bytes);
      at += ml.frame_pitch;
    } else {
      std::copy(a, a + s, out.begin() + static_cast<ptrdiff_t>(at));
      at += s;
    }
  }
  return out;
}

}  // namespace qvi::test
