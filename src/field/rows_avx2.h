// AVX2 kernels of the de-interlacing rows, thirty-two bytes a block, with the
// arithmetic of the SSE2 ones (rows_sse2.h).  A block reads the same bytes
// of the two field lines as the portable loop does for its output bytes and
// writes exactly those.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "buffer/avx2.h"
#include "field/field_rows.h"

namespace qvi::field::avx2 {

using qvi::avx2::LoadU;
using qvi::avx2::StoreU;

inline constexpr uint32_t kBlock = 32;

QVI_AVX2 inline __m256i Half(__m256i x, __m256i y) {
  return _mm256_sub_epi8(_mm256_avg_epu8(x, y), _mm256_and_si256(_mm256_xor_si256(x, y), _mm256_set1_epi8(1)));
}

struct Six {
  __m256i a_left, a, a_right, b_left, b, b_right;
};
QVI_AVX2 inline Six SixAt(const uint8_t* above, const uint8_t* below, uint32_t i, uint32_t step) {
  return {LoadU(above + i - step), LoadU(above + i), LoadU(above + i + step),
          LoadU(below + i - step), LoadU(below + i), LoadU(below + i + step)};
}

template <class Op>
struct VectorOp;

template <>
struct VectorOp<Bilinear> {
  // Unpacking with zero inside each 128-bit half and packing back restores
  // the byte order.
  template <bool kHigh>
  QVI_AVX2 static __m256i Widen(__m256i x) {
    return kHigh ? _mm256_unpackhi_epi8(x, _mm256_setzero_si256()) : _mm256_unpacklo_epi8(x, _mm256_setzero_si256());
  }
  template <bool kHigh>
  QVI_AVX2 static __m256i Half8(const Six& v) {
    const __m256i centre = _mm256_add_epi16(Widen<kHigh>(v.a), Widen<kHigh>(v.b));
    const __m256i sides = _mm256_add_epi16(_mm256_add_epi16(Widen<kHigh>(v.a_left), Widen<kHigh>(v.a_right)),
                                           _mm256_add_epi16(Widen<kHigh>(v.b_left), Widen<kHigh>(v.b_right)));
    const __m256i sum = _mm256_add_epi16(_mm256_mullo_epi16(centre, _mm256_set1_epi16(kAboveBelowWeight / 3)),
                                         _mm256_mullo_epi16(sides, _mm256_set1_epi16(kNeighbourWeight / 3)));
    return _mm256_mulhi_epu16(sum, _mm256_set1_epi16(3 << (16 - kWeightShift)));
  }
  QVI_AVX2 static __m256i At(const Six& v) { return _mm256_packus_epi16(Half8<false>(v), Half8<true>(v)); }
};

template <>
struct VectorOp<Median> {
  QVI_AVX2 static void Order(__m256i& x, __m256i& y) {
    const __m256i lo = _mm256_min_epu8(x, y);
    y = _mm256_max_epu8(x, y);
    x = lo;
  }
  QVI_AVX2 static __m256i At(const Six& v) {
    __m256i s[6] = {v.a_left, v.a, v.a_right, v.b_left, v.b, v.b_right};
    for (const auto& c : kMiddlePairNetwork) Order(s[c[0]], s[c[1]]);
    return Half(s[2], s[3]);
  }
};

struct Vec {
  template <class Op>
  QVI_AVX2 static uint32_t Interior(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end,
                                    uint32_t step) {
    const uint32_t start = i;
    for (; i < end && end - i >= kBlock; i += kBlock) StoreU(out + i, VectorOp<Op>::At(SixAt(a, b, i, step)));
    // LastBlockOverlaps: the last bytes are done as one more whole block
    // ending at `end`, which rewrites some already written bytes with the
    // same values and reads nothing the byte loop would not.
    if (i < end && end - start >= kBlock) {
      StoreU(out + end - kBlock, VectorOp<Op>::At(SixAt(a, b, end - kBlock, step)));
      return end;
    }
    return sse2::Vec::Interior<Op>(a, b, out, i, end, step);
  }

  template <class Op>
  QVI_AVX2 static uint32_t Interior422(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end) {
    const __m256i chroma = _mm256_set1_epi16(static_cast<short>(0xFF00));
    const uint32_t start = i;
    const auto block = [&](uint32_t at) QVI_AVX2_INLINE {
      const __m256i luma_values = VectorOp<Op>::At(SixAt(a, b, at, 2));
      const __m256i chroma_values = VectorOp<Op>::At(SixAt(a, b, at, 4));
      StoreU(out + at, qvi::avx2::Select(chroma, chroma_values, luma_values));
    };
    for (; i < end && end - i >= kBlock; i += kBlock) block(i);
    // LastBlockOverlaps, as above, at an even distance from the start so
    // that luma and chroma keep their places in the block.
    const uint32_t last = start + ((end - start - kBlock) & ~1u);
    if (i < end && end - start >= kBlock && last + kBlock > i) {
      block(last);
      return last + kBlock;
    }
    return sse2::Vec::Interior422<Op>(a, b, out, i, end);
  }

  QVI_AVX2 static uint32_t Mean(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) {
    uint32_t i = 0;
    for (; n - i >= kBlock; i += kBlock) StoreU(out + i, Half(LoadU(a + i), LoadU(b + i)));
    return i + sse2::Vec::Mean(a + i, b + i, out + i, n - i);
  }
};

}  // namespace qvi::field::avx2
