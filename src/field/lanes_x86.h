// x86 byte lanes of the de-interlacing row kernels (row_blocks.h): 128-bit
// (SSE2), and where the set has AVX2 256-bit ones, which leave what is left
// of a row to the 128-bit ones.  The same arithmetic on both widths.
#pragma once

#include "buffer/isa_namespace.h"

#include <immintrin.h>

#include <cstdint>

#include "field/ops.h"
#include "field/row_blocks.h"

namespace qvi::field::QVI_ISA {

// (105 (a + b) + 75 (sides)) >> 9 = (3 (35 centre + 25 sides)) >> 9, the
// bracket below 2^16, and x >> 9 of 3x as the high half of 384x, in 16-bit
// lanes; unpacking each half with zero and packing back keeps the byte order.
template <class L, bool kHigh>
typename L::V X86BilinearHalf(const Six<L>& v) {
  const auto widen = [](typename L::V x) { return kHigh ? L::WidenHigh(x) : L::WidenLow(x); };
  const typename L::V centre = L::Add16(widen(v.a), widen(v.b));
  const typename L::V sides =
      L::Add16(L::Add16(widen(v.a_left), widen(v.a_right)), L::Add16(widen(v.b_left), widen(v.b_right)));
  const typename L::V sum =
      L::Add16(L::MulLo16(centre, kAboveBelowWeight / 3), L::MulLo16(sides, kNeighbourWeight / 3));
  return L::MulHiU16(sum, 3 << (16 - kWeightShift));
}
template <class L>
typename L::V X86Bilinear(const Six<L>& v) {
  static_assert(kAboveBelowWeight % 3 == 0 && kNeighbourWeight % 3 == 0 && kWeightShift == 9);
  return L::PackUs16(X86BilinearHalf<L, false>(v), X86BilinearHalf<L, true>(v));
}

struct Lanes128 {
  using V = __m128i;
  using Narrower = void;
  static constexpr uint32_t kBytes = 16;
  static constexpr bool kLastBlockOverlaps = false;
  static V Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
  static void Store(uint8_t* p, V v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  // (x + y) >> 1 of bytes: the rounding-up average less the dropped half.
  static V Half(V x, V y) {
    return _mm_sub_epi8(_mm_avg_epu8(x, y), _mm_and_si128(_mm_xor_si128(x, y), _mm_set1_epi8(1)));
  }
  static V Min(V x, V y) { return _mm_min_epu8(x, y); }
  static V Max(V x, V y) { return _mm_max_epu8(x, y); }
  static V Merge422(V chroma, V luma) {
    const V odd = _mm_set1_epi16(static_cast<short>(0xFF00));
    return _mm_or_si128(_mm_and_si128(odd, chroma), _mm_andnot_si128(odd, luma));
  }
  static V WidenLow(V x) { return _mm_unpacklo_epi8(x, _mm_setzero_si128()); }
  static V WidenHigh(V x) { return _mm_unpackhi_epi8(x, _mm_setzero_si128()); }
  static V Add16(V x, V y) { return _mm_add_epi16(x, y); }
  static V MulLo16(V x, int k) { return _mm_mullo_epi16(x, _mm_set1_epi16(static_cast<short>(k))); }
  static V MulHiU16(V x, int k) { return _mm_mulhi_epu16(x, _mm_set1_epi16(static_cast<short>(k))); }
  static V PackUs16(V lo, V hi) { return _mm_packus_epi16(lo, hi); }
  static V Bilinear(const Six<Lanes128>& v) { return X86Bilinear(v); }
};

#if defined(__AVX2__)
struct Lanes256 {
  using V = __m256i;
  using Narrower = Lanes128;
  static constexpr uint32_t kBytes = 32;
  static constexpr bool kLastBlockOverlaps = true;
  static V Load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
  static void Store(uint8_t* p, V v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
  static V Half(V x, V y) {
    return _mm256_sub_epi8(_mm256_avg_epu8(x, y), _mm256_and_si256(_mm256_xor_si256(x, y), _mm256_set1_epi8(1)));
  }
  static V Min(V x, V y) { return _mm256_min_epu8(x, y); }
  static V Max(V x, V y) { return _mm256_max_epu8(x, y); }
  static V Merge422(V chroma, V luma) {
    return _mm256_blendv_epi8(luma, chroma, _mm256_set1_epi16(static_cast<short>(0xFF00)));
  }
  static V WidenLow(V x) { return _mm256_unpacklo_epi8(x, _mm256_setzero_si256()); }
  static V WidenHigh(V x) { return _mm256_unpackhi_epi8(x, _mm256_setzero_si256()); }
  static V Add16(V x, V y) { return _mm256_add_epi16(x, y); }
  static V MulLo16(V x, int k) { return _mm256_mullo_epi16(x, _mm256_set1_epi16(static_cast<short>(k))); }
  static V MulHiU16(V x, int k) { return _mm256_mulhi_epu16(x, _mm256_set1_epi16(static_cast<short>(k))); }
  static V PackUs16(V lo, V hi) { return _mm256_packus_epi16(lo, hi); }
  static V Bilinear(const Six<Lanes256>& v) { return X86Bilinear(v); }
};
#endif

}  // namespace qvi::field::QVI_ISA
