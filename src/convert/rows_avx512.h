// AVX-512 line kernels of the conversions whose AVX2 kernels are bound by
// their arithmetic rather than by memory: 4:2:2 luma/chroma into the 32-bit
// formats, sixty-four pixels a block, with the same arithmetic as the AVX2
// kernel.  Each kernel hands what is left of a line to the AVX2 kernel of
// its route, and reads and writes exactly its pixels' bytes; X bytes are
// never read, the colour bytes around them are stored with byte masks.
//
// Measured and left to AVX2, because memory bounds them on large frames and
// the wider kernels came out slower there: deep grey into 8-bit grey, BGR24
// into the 5:6:5 and 5:5:5 formats, BGRX32 into BGR24.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "convert/rows_avx2.h"

namespace qvi::convert::avx512 {

using sse2::kBytes32;
using sse2::kLineKernel;
using sse2::LineKernel;

// Routes with a kernel here; the rest of the policy's work is AVX2's.
template <class R, class W>
inline constexpr bool kHasKernel = kLineKernel<R, W> == LineKernel::kYuv422 && kBytes32<W>;

// A table of 64 byte indices, for the byte permutes and shuffles.
struct alignas(64) Table {
  uint8_t b[64];
};
template <class F>
constexpr Table MakeTable(F index_of) {
  Table t{};
  for (int i = 0; i < 64; ++i) t.b[i] = static_cast<uint8_t>(index_of(i));
  return t;
}
QVI_AVX512 inline __m512i Load(const Table& t) { return _mm512_load_si512(t.b); }
QVI_AVX512 inline __m512i LoadU(const uint8_t* p) { return _mm512_loadu_si512(p); }

// ---- 4:2:2 luma/chroma into the 32-bit formats: 64 pixels a block. ----

// Each pair's term (word 2k or 2k + 1 of a 128-bit lane) to both its pixels.
inline constexpr Table kEvenWords = MakeTable([](int i) { return (i % 16) / 4 * 4 + i % 2; });
inline constexpr Table kOddWords = MakeTable([](int i) { return (i % 16) / 4 * 4 + 2 + i % 2; });

// As avx2::Chroma, for sixteen pairs.  64 (c - 128) comes from the chroma
// byte with its top bit flipped, as the high byte of a word, shifted right
// arithmetically by two.
struct ChromaTerms {
  __m512i to_b, from_g, to_r;
};
QVI_AVX512 inline ChromaTerms Chroma(__m512i v, __m512i even, __m512i odd) {
  // 0x6A: (first & second) ^ third.
  const __m512i flipped = _mm512_ternarylogic_epi32(v, _mm512_set1_epi16(static_cast<short>(0xFF00)),
                                                    _mm512_set1_epi16(static_cast<short>(0x8000)), 0x6A);
  const __m512i uv64 = _mm512_srai_epi16(flipped, 2);
  const __m512i br = _mm512_mulhi_epi16(uv64, _mm512_set1_epi32(1815 | (1436 << 16)));  // blue, red terms
  const __m512i g = _mm512_madd_epi16(uv64, _mm512_set1_epi32(352 | (731 << 16)));      // green in the high word
  return {_mm512_shuffle_epi8(br, even), _mm512_shuffle_epi8(g, odd), _mm512_shuffle_epi8(br, odd)};
}

// Quadword k of a pair of registers: k < 8 from the first, 8 + j is the second's j.
QVI_AVX512 inline __m512i Quadwords(long long q0, long long q1, long long q2, long long q3) {
  return _mm512_setr_epi64(q0, q0 + 1, q1, q1 + 1, q2, q2 + 1, q3, q3 + 1);
}

template <class W>
QVI_AVX512 uint32_t Yuv422Rows(const uint8_t* s, uint8_t* d, uint32_t w) {
  const __m512i even = Load(kEvenWords), odd = Load(kOddWords);
  const __m512i low = _mm512_set1_epi16(0x00FF);
  // Lanes of the unpacked pixels, four pixels each, to pixel order (see below).
  const __m512i first = Quadwords(0, 8, 2, 10), second = Quadwords(4, 12, 6, 14);
  constexpr __mmask64 kColours = W::kColourOffset == 0 ? 0x7777777777777777ull : 0xEEEEEEEEEEEEEEEEull;
  uint32_t x = 0;
  for (; w - x >= 64; x += 64, s += 128, d += 256) {
    __m512i r[2], g[2], b[2];
    for (int i = 0; i < 2; ++i) {
      const __m512i v = LoadU(s + 64 * i);
      const __m512i luma = _mm512_and_si512(v, low);
      const ChromaTerms c = Chroma(v, even, odd);
      b[i] = _mm512_add_epi16(luma, c.to_b);
      g[i] = _mm512_sub_epi16(luma, c.from_g);
      r[i] = _mm512_add_epi16(luma, c.to_r);
    }
    // Clamped to 0..255 by the saturating pack.  Lane k of each plane holds
    // pixels 8k..8k+7, then 32+8k..32+8k+7.
    const __m512i bb = _mm512_packus_epi16(b[0], b[1]), gg = _mm512_packus_epi16(g[0], g[1]);
    const __m512i rr = _mm512_packus_epi16(r[0], r[1]), zero = _mm512_setzero_si512();
    const __m512i c0 = W::kRedFirst ? rr : bb, c2 = W::kRedFirst ? bb : rr;
    // Colour bytes at offset 0 or 1 of each pixel, a zero byte in the X place.
    const __m512i p0 = W::kColourOffset == 0 ? c0 : zero, p1 = W::kColourOffset == 0 ? gg : c0;
    const __m512i p2 = W::kColourOffset == 0 ? c2 : gg, p3 = W::kColourOffset == 0 ? zero : c2;
    const __m512i lo01 = _mm512_unpacklo_epi8(p0, p1), hi01 = _mm512_unpackhi_epi8(p0, p1);
    const __m512i lo23 = _mm512_unpacklo_epi8(p2, p3), hi23 = _mm512_unpackhi_epi8(p2, p3);
    // Lane k: pixels 8k..8k+3 (a), 8k+4..8k+7 (e), and the same 32 later (f, h).
    const __m512i a = _mm512_unpacklo_epi16(lo01, lo23), e = _mm512_unpackhi_epi16(lo01, lo23);
    const __m512i f = _mm512_unpacklo_epi16(hi01, hi23), h = _mm512_unpackhi_epi16(hi01, hi23);
    // The destination's lines 512 bytes ahead, as for the AVX2 masked stores.
    _mm_prefetch(reinterpret_cast<const char*>(d + 512), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(d + 576), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(d + 640), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(d + 704), _MM_HINT_T0);
    _mm512_mask_storeu_epi8(d, kColours, _mm512_permutex2var_epi64(a, first, e));
    _mm512_mask_storeu_epi8(d + 64, kColours, _mm512_permutex2var_epi64(a, second, e));
    _mm512_mask_storeu_epi8(d + 128, kColours, _mm512_permutex2var_epi64(f, first, h));
    _mm512_mask_storeu_epi8(d + 192, kColours, _mm512_permutex2var_epi64(f, second, h));
  }
  return x + avx2::Yuv422Rows<W, true>(s, d, w - x);
}

// The policy: blocks of the kernels above, then 32-pixel AVX2 blocks (so
// kBlock, the smallest block it does, is AVX2's).  Only reached where
// CpuHasAvx512(); the AVX2 blocks may then store with masks.
struct Vec {
  static constexpr uint32_t kBlock = avx2::kBlock;
  template <class R, class W>
  QVI_AVX512 static uint32_t Pixels(const uint8_t* s, uint8_t* d, uint32_t w) {
    if constexpr (kHasKernel<R, W>) {
      return Yuv422Rows<W>(s, d, w);
    } else {
      return 0;  // never dispatched here (WalkRoute)
    }
  }
  template <class R, class W>
  QVI_AVX512 static uint32_t Pairs(const uint8_t* s, uint8_t* d, uint32_t w) {
    return Pixels<R, W>(s, d, w);
  }
};

}  // namespace qvi::convert::avx512
