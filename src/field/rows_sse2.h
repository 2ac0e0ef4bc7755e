// SSE2 kernels of the de-interlacing rows, sixteen bytes a block: the
// line mean, and the interior of the bilinear and median rows.  A block
// reads the same bytes of the two field lines as the portable loop does for
// its sixteen output bytes and writes exactly those bytes; the portable loop
// finishes the row.
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "buffer/sse2.h"
#include "field/field_rows.h"

namespace qvi::field::sse2 {

using qvi::sse2::LoadU;
using qvi::sse2::StoreU;

inline constexpr uint32_t kBlock = 16;

// (x + y) >> 1 of bytes.
inline __m128i Half(__m128i x, __m128i y) {
  return _mm_sub_epi8(_mm_avg_epu8(x, y), _mm_and_si128(_mm_xor_si128(x, y), _mm_set1_epi8(1)));
}

// The six bytes around each of sixteen output bytes: above and below, each
// with its neighbours `step` to either side.
struct Six {
  __m128i a_left, a, a_right, b_left, b, b_right;
  Six(const uint8_t* above, const uint8_t* below, uint32_t i, uint32_t step)
      : a_left(LoadU(above + i - step)), a(LoadU(above + i)), a_right(LoadU(above + i + step)),
        b_left(LoadU(below + i - step)), b(LoadU(below + i)), b_right(LoadU(below + i + step)) {}
};

template <class Op>
struct VectorOp;

// (105 (a + b) + 75 (sides)) >> 9 = (3 (35 centre + 25 sides)) >> 9, the
// bracket below 2^16, and x >> 9 of 3x as the high half of 384x.
template <>
struct VectorOp<Bilinear> {
  template <bool kHigh>
  static __m128i Widen(__m128i x) {
    return kHigh ? _mm_unpackhi_epi8(x, _mm_setzero_si128()) : _mm_unpacklo_epi8(x, _mm_setzero_si128());
  }
  template <bool kHigh>
  static __m128i Half8(const Six& v) {
    const auto widen = [](__m128i x) { return Widen<kHigh>(x); };
    const __m128i centre = _mm_add_epi16(widen(v.a), widen(v.b));
    const __m128i sides = _mm_add_epi16(_mm_add_epi16(widen(v.a_left), widen(v.a_right)),
                                        _mm_add_epi16(widen(v.b_left), widen(v.b_right)));
    const __m128i sum = _mm_add_epi16(_mm_mullo_epi16(centre, _mm_set1_epi16(kAboveBelowWeight / 3)),
                                      _mm_mullo_epi16(sides, _mm_set1_epi16(kNeighbourWeight / 3)));
    return _mm_mulhi_epu16(sum, _mm_set1_epi16(3 << (16 - kWeightShift)));
  }
  static __m128i At(const Six& v) {
    static_assert(kAboveBelowWeight % 3 == 0 && kNeighbourWeight % 3 == 0 && kWeightShift == 9);
    return _mm_packus_epi16(Half8<false>(v), Half8<true>(v));
  }
};

// The third and fourth smallest of the six by a sorting network (only the
// comparators they depend on survive), then their truncating mean.
template <>
struct VectorOp<Median> {
  static void Order(__m128i& x, __m128i& y) {
    const __m128i lo = _mm_min_epu8(x, y);
    y = _mm_max_epu8(x, y);
    x = lo;
  }
  static __m128i At(const Six& v) {
    __m128i s[6] = {v.a_left, v.a, v.a_right, v.b_left, v.b, v.b_right};
    for (const auto& c : kMiddlePairNetwork) Order(s[c[0]], s[c[1]]);
    return Half(s[2], s[3]);
  }
};

struct Vec {
  // Bytes [i, end) of a row whose bytes all have neighbours `step` away.
  template <class Op>
  static uint32_t Interior(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end,
                           uint32_t step) {
    for (; i < end && end - i >= kBlock; i += kBlock) StoreU(out + i, VectorOp<Op>::At(Six(a, b, i, step)));
    return i;
  }

  // 4:2:2 bytes from an even i below end: luma (even bytes) with neighbours
  // 2 away, chroma (odd bytes) 4 away.
  template <class Op>
  static uint32_t Interior422(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end) {
    const __m128i chroma = _mm_set1_epi16(static_cast<short>(0xFF00));
    for (; i < end && end - i >= kBlock; i += kBlock) {
      const __m128i luma_values = VectorOp<Op>::At(Six(a, b, i, 2));
      const __m128i chroma_values = VectorOp<Op>::At(Six(a, b, i, 4));
      StoreU(out + i, qvi::sse2::Select(chroma, chroma_values, luma_values));
    }
    return i;
  }

  // The byte-wise mean of two lines from byte 0.
  static uint32_t Mean(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) {
    uint32_t i = 0;
    for (; n - i >= kBlock; i += kBlock) StoreU(out + i, Half(LoadU(a + i), LoadU(b + i)));
    return i;
  }
};

}  // namespace qvi::field::sse2
