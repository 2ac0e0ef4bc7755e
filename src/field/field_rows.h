// Row kernels of the de-interlacers: each makes one missing frame line from
// the field line above it (a) and the field line below it (b).  They know one
// line and nothing else: no strides, no handles, no status.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "field/field_formats.h"

namespace qvi::field {

// The missing line repeats the field line above it.
inline void CopyAboveRow(const uint8_t* a, const uint8_t*, uint8_t* out, uint32_t n) { std::memmove(out, a, n); }

// Byte-wise truncating mean (a + b) >> 1 over all n bytes, padding included
// and regardless of how pixels are packed.  Eight bytes at a time as
// (x & y) + ((x ^ y) >> 1), the mask keeping each byte's shift to itself.
inline void MeanRow(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) {
  constexpr uint64_t kAllButLowBits = 0xFEFEFEFEFEFEFEFEull;
  uint32_t i = 0;
  for (; n - i >= 8; i += 8) {
    uint64_t x, y;
    std::memcpy(&x, a + i, 8);
    std::memcpy(&y, b + i, 8);
    const uint64_t mean = (x & y) + (((x ^ y) & kAllButLowBits) >> 1);
    std::memcpy(out + i, &mean, 8);
  }
  for (; i < n; ++i) out[i] = static_cast<uint8_t>((a[i] + b[i]) >> 1);
}

inline uint8_t VerticalMean(const uint8_t* a, const uint8_t* b, uint32_t i) {
  return static_cast<uint8_t>((a[i] + b[i]) >> 1);
}

// The bilinear weights: 105 for the bytes above and below, 75 for each of
// their four same-kind neighbours, over 2^9.  They sum to 2 x 105 + 4 x 75 =
// 510, not 512, so an area of uniform value v comes out as (510 x v) >> 9
// (255 becomes 254).  Kept exactly.
inline constexpr uint32_t kAboveBelowWeight = 105;
inline constexpr uint32_t kNeighbourWeight = 75;
inline constexpr uint32_t kWeightShift = 9;

// Byte i of a missing line from bytes a, b and their neighbours `step` away.
struct Bilinear {
  static uint8_t At(const uint8_t* a, const uint8_t* b, uint32_t i, uint32_t step) {
    const uint32_t centre = a[i] + b[i];
    const uint32_t sides = a[i - step] + a[i + step] + b[i - step] + b[i + step];
    return static_cast<uint8_t>((centre * kAboveBelowWeight + sides * kNeighbourWeight) >> kWeightShift);
  }
};

// The mean of the two middle values (third and fourth smallest, ties counted
// separately) of the low bytes of six values, truncated.  The three pairs
// are ordered by one comparison each and then by their larger member; the
// largest value of all is then known and the two middle values follow from a
// short decision tree, without sorting the six.
constexpr uint32_t Median6(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e, uint32_t f) {
  a &= 0xFFu, b &= 0xFFu, c &= 0xFFu, d &= 0xFFu, e &= 0xFFu, f &= 0xFFu;
  if (b < a) std::swap(a, b);
  if (d < c) std::swap(c, d);
  if (f < e) std::swap(e, f);
  if (d < b) std::swap(a, c), std::swap(b, d);
  if (f < d) {
    std::swap(c, e), std::swap(d, f);
    if (d < b) std::swap(a, c), std::swap(b, d);
  }
  // a <= b <= d <= f and c <= d, e <= f: f is the largest, and the middle two
  // of the six are the third and fourth smallest of a, b, c, d, e.
  if (d <= e) return (std::max(b, c) + d) >> 1;  // d fourth, e fifth
  // d is the largest of the five: the middle two are the larger two of
  // a <= b and c, e.
  if (e < c) std::swap(c, e);
  if (e <= b) return (b + std::max(a, e)) >> 1;
  return (e + std::max(b, c)) >> 1;
}

// Byte i of a missing line: the median of the six bytes `step` apart.
struct Median {
  static uint8_t At(const uint8_t* a, const uint8_t* b, uint32_t i, uint32_t step) {
    return static_cast<uint8_t>(Median6(a[i - step], a[i], a[i + step], b[i - step], b[i], b[i + step]));
  }
};

// A missing line of n bytes of a format of the given shape: the layout's
// edge bytes are vertical means, every other byte is Op over its same-kind
// neighbours.  A line too short to have an interior is all vertical means.
template <Shape S, class Op>
void InterpolatedRow(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) {
  constexpr FieldLayout L = LayoutOf(S);
  if (n <= uint32_t{L.lead} + L.tail) {
    for (uint32_t i = 0; i < n; ++i) out[i] = VerticalMean(a, b, i);
    return;
  }
  for (uint32_t i = 0; i < L.lead; ++i) out[i] = VerticalMean(a, b, i);
  if constexpr (S == Shape::Yuv422) {
    // n >= 6 here.  Byte 2 is luma; byte 3, chroma with no left neighbour,
    // is a vertical mean.  On an odd-length line (outside the format) the
    // chroma byte n - 4 would need a neighbour past the end: vertical too.
    out[2] = Op::At(a, b, 2, L.even_step);
    out[3] = VerticalMean(a, b, 3);
    const uint32_t end = n - L.tail - (n & 1u);
    uint32_t i = 4;
    for (; i + 1 < end; i += 2) {
      out[i] = Op::At(a, b, i, L.even_step);
      out[i + 1] = Op::At(a, b, i + 1, L.odd_step);
    }
    if (i < end) out[i] = Op::At(a, b, i, L.even_step);
    if ((n & 1u) != 0 && end > 4) out[end] = VerticalMean(a, b, end);
  } else {
    static_assert(L.even_step == L.odd_step && L.lead == L.even_step && L.tail == L.even_step);
    for (uint32_t i = L.lead; i < n - L.tail; ++i) out[i] = Op::At(a, b, i, L.even_step);
  }
  for (uint32_t i = n - L.tail; i < n; ++i) out[i] = VerticalMean(a, b, i);
}

}  // namespace qvi::field
