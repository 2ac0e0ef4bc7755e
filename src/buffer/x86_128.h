// 128-bit x86 helpers of the row kernels (SSE2): unaligned loads and
// stores, lane selection, and the moves between planes of 8-bit channels and
// packed 24- and 32-bit pixels.
#pragma once

#include "buffer/isa_namespace.h"

#include <emmintrin.h>

#include <cstdint>

namespace qvi::QVI_ISA::v128 {

inline __m128i LoadU(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void StoreU(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Lanes of a where the mask is set, of b elsewhere.
inline __m128i Select(__m128i mask, __m128i a, __m128i b) {
  return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b));
}

// Sixteen 32-bit pixels in four vectors.
struct Quads {
  __m128i q[4];
};

// Planes of sixteen bytes to pixels with bytes c0, c1, c2 and a zero.
inline Quads Interleave(__m128i c0, __m128i c1, __m128i c2) {
  const __m128i z = _mm_setzero_si128();
  const __m128i lo01 = _mm_unpacklo_epi8(c0, c1), hi01 = _mm_unpackhi_epi8(c0, c1);
  const __m128i lo2 = _mm_unpacklo_epi8(c2, z), hi2 = _mm_unpackhi_epi8(c2, z);
  return {{_mm_unpacklo_epi16(lo01, lo2), _mm_unpackhi_epi16(lo01, lo2), _mm_unpacklo_epi16(hi01, hi2),
           _mm_unpackhi_epi16(hi01, hi2)}};
}

// Four 32-bit pixels to the first three bytes of each, packed into the low
// 12 bytes (the top 4 zero).  The fourth bytes are ignored.
inline __m128i Squeeze(__m128i v) {
  const __m128i first = _mm_set1_epi64x(0x0000000000FFFFFFll), second = _mm_set1_epi64x(0x0000FFFFFF000000ll);
  const __m128i t = _mm_or_si128(_mm_and_si128(v, first), _mm_and_si128(_mm_srli_epi64(v, 8), second));
  return _mm_or_si128(_mm_move_epi64(t), _mm_slli_si128(_mm_srli_si128(t, 8), 6));
}

// The reverse: the low 12 bytes as four 32-bit pixels with zero top bytes.
inline __m128i Spread(__m128i v) {
  const __m128i first = _mm_set1_epi64x(0x0000000000FFFFFFll), second = _mm_set1_epi64x(0x00FFFFFF00000000ll);
  const __m128i u = _mm_unpacklo_epi64(v, _mm_srli_si128(v, 6));
  return _mm_or_si128(_mm_and_si128(u, first), _mm_and_si128(_mm_slli_epi64(u, 8), second));
}

// Sixteen 32-bit pixels written as 48 bytes of three.
inline void Store24(uint8_t* out, const Quads& p) {
  const __m128i r0 = Squeeze(p.q[0]), r1 = Squeeze(p.q[1]), r2 = Squeeze(p.q[2]), r3 = Squeeze(p.q[3]);
  StoreU(out, _mm_or_si128(r0, _mm_slli_si128(r1, 12)));
  StoreU(out + 16, _mm_or_si128(_mm_srli_si128(r1, 4), _mm_slli_si128(r2, 8)));
  StoreU(out + 32, _mm_or_si128(_mm_srli_si128(r2, 8), _mm_slli_si128(r3, 4)));
}

// 48 bytes of sixteen 3-byte pixels as 32-bit pixels with zero top bytes.
inline Quads Load24(const uint8_t* in) {
  const __m128i a = LoadU(in), b = LoadU(in + 16), c = LoadU(in + 32);
  return {{Spread(a), Spread(_mm_or_si128(_mm_srli_si128(a, 12), _mm_slli_si128(b, 4))),
           Spread(_mm_or_si128(_mm_srli_si128(b, 8), _mm_slli_si128(c, 8))), Spread(_mm_srli_si128(c, 4))}};
}

// Sixteen 32-bit pixels (zero top bytes) over 64 bytes, their three bytes at
// kOffset (0 or 1) in each 4-byte pixel; the fourth byte keeps its value.
template <uint32_t kOffset>
void Store32KeepingX(uint8_t* out, const Quads& p) {
  static_assert(kOffset == 0 || kOffset == 1);
  const __m128i x = _mm_set1_epi32(kOffset == 0 ? static_cast<int>(0xFF000000u) : 0xFF);
  for (int i = 0; i < 4; ++i) {
    uint8_t* d = out + 16 * i;
    const __m128i colours = kOffset == 0 ? p.q[i] : _mm_slli_epi32(p.q[i], 8);
    StoreU(d, _mm_or_si128(_mm_and_si128(LoadU(d), x), colours));
  }
}

// Exchanges bytes 0 and 2 of every 32-bit lane whose top byte is zero.
inline __m128i SwapOuterBytes(__m128i v) {
  const __m128i middle = _mm_set1_epi32(0x0000FF00), low = _mm_set1_epi32(0x000000FF);
  return _mm_or_si128(_mm_or_si128(_mm_and_si128(v, middle), _mm_and_si128(_mm_srli_epi32(v, 16), low)),
                      _mm_slli_epi32(_mm_and_si128(v, low), 16));
}

}  // namespace qvi::QVI_ISA::v128
