// Row kernels of the de-interlacers: each makes one missing frame line from
// the field line above it (a) and the field line below it (b).  They know one
// line and nothing else: no strides, no handles, no status.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "field/field_formats.h"
#include "field/ops.h"
#include "field/row_kernels.h"

namespace qvi::field {

// The missing line repeats the field line above it.
inline void CopyAboveRow(const uint8_t* a, const uint8_t*, uint8_t* out, uint32_t n) { std::memmove(out, a, n); }

// Byte-wise truncating mean (a + b) >> 1 over all n bytes, padding included
// and regardless of how pixels are packed.  After the fast kernel's leading
// run, eight bytes at a time as (x & y) + ((x ^ y) >> 1), the mask keeping
// each byte's shift to itself.
inline void LineMeanRow(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n, const FieldKernels* fast) {
  constexpr uint64_t kAllButLowBits = 0xFEFEFEFEFEFEFEFEull;
  uint32_t i = fast != nullptr ? fast->mean(a, b, out, n) : 0;
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

// A missing line of n bytes of a format of the given shape: the layout's
// edge bytes are vertical means, every other byte is Op over its same-kind
// neighbours.  A line too short to have an interior is all vertical means.
// The fast kernel does a leading run of the interior.
template <Shape S, class Op>
void InterpolatedRow(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n, const FieldKernels* fast) {
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
    uint32_t i = fast != nullptr ? fast->interior422[kOpIndex<Op>](a, b, out, 4, end) : 4;
    for (; i + 1 < end; i += 2) {
      out[i] = Op::At(a, b, i, L.even_step);
      out[i + 1] = Op::At(a, b, i + 1, L.odd_step);
    }
    if (i < end) out[i] = Op::At(a, b, i, L.even_step);
    if ((n & 1u) != 0 && end > 4) out[end] = VerticalMean(a, b, end);
  } else {
    static_assert(L.even_step == L.odd_step && L.lead == L.even_step && L.tail == L.even_step);
    const uint32_t end = n - L.tail;
    const uint32_t from = fast != nullptr ? fast->interior[kOpIndex<Op>](a, b, out, L.lead, end, L.even_step) : L.lead;
    for (uint32_t i = from; i < end; ++i) {
      out[i] = Op::At(a, b, i, L.even_step);
    }
  }
  for (uint32_t i = n - L.tail; i < n; ++i) out[i] = VerticalMean(a, b, i);
}

}  // namespace qvi::field
