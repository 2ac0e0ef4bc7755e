// SSE2 arithmetic of the de-interlacing row kernels (row_blocks.h): the
// truncating mean, bilinear and median bytes, sixteen at a time.
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "buffer/sse2.h"
#include "field/field_rows.h"
#include "field/row_blocks.h"

namespace qvi::field::sse2 {

using qvi::sse2::LoadU;
using qvi::sse2::StoreU;

// (x + y) >> 1 of bytes.
inline __m128i Half(__m128i x, __m128i y) {
  return _mm_sub_epi8(_mm_avg_epu8(x, y), _mm_and_si128(_mm_xor_si128(x, y), _mm_set1_epi8(1)));
}

template <class Op>
struct VectorOp;

struct Isa {
  using V = __m128i;
  static V Load(const uint8_t* p) { return LoadU(p); }
  static void Store(uint8_t* p, V v) { StoreU(p, v); }
  static V Half(V x, V y) { return sse2::Half(x, y); }
  template <class Op>
  static V AtOf(const lanes::Six<Isa>& v) {
    return VectorOp<Op>::At(v);
  }
  static V Merge422(V chroma_values, V luma_values) {
    return qvi::sse2::Select(_mm_set1_epi16(static_cast<short>(0xFF00)), chroma_values, luma_values);
  }
};

using Six = lanes::Six<Isa>;

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

struct Vec : lanes::RowBlocks<Isa> {};

}  // namespace qvi::field::sse2
