// 256-bit x86 helpers of the row kernels (AVX2), the counterparts of
// buffer/x86_128.h; with AVX-512 BW and VL (the avx512bw and avx512vbmi
// sets) the stores that keep X bytes use byte masks.
#pragma once

#include "buffer/isa_namespace.h"

#include <immintrin.h>

#include <cstdint>

namespace qvi::QVI_ISA::v256 {

#if defined(__AVX512BW__) && defined(__AVX512VL__)
// Stores that keep the X bytes of 32-bit pixels write the other three bytes
// of each with a byte mask instead of reading and merging the old pixels.
// Measured: with the destination's next lines asked for ahead, that pays.
inline constexpr bool kMaskedStores = true;
#else
inline constexpr bool kMaskedStores = false;
#endif

inline __m256i LoadU(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void StoreU(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

inline __m256i Select(__m256i mask, __m256i a, __m256i b) { return _mm256_blendv_epi8(b, a, mask); }

// Thirty-two 32-bit pixels in four vectors, in order.
struct Quads {
  __m256i q[4];
};

// Planes of 32 bytes to pixels with bytes c0, c1, c2, c3.  The unpacks
// work inside 128-bit halves; the last step puts the halves in order.
// kPacked: the planes come straight out of _mm256_packus_epi16(x, y) of two
// vectors of 16 pixels each, their halves holding pixels 0-7 and 16-23, then
// 8-15 and 24-31; picking other halves in the last step saves putting them
// in order first.
template <bool kPacked = false>
[[gnu::always_inline]] inline Quads Interleave4(__m256i c0, __m256i c1, __m256i c2, __m256i c3) {
  const __m256i lo01 = _mm256_unpacklo_epi8(c0, c1), hi01 = _mm256_unpackhi_epi8(c0, c1);
  const __m256i lo23 = _mm256_unpacklo_epi8(c2, c3), hi23 = _mm256_unpackhi_epi8(c2, c3);
  // In order: 0-3 16-19, 4-7 20-23, 8-11 24-27, 12-15 28-31.
  // kPacked:   0-3 8-11, 4-7 12-15, 16-19 24-27, 20-23 28-31.
  const __m256i a = _mm256_unpacklo_epi16(lo01, lo23), b = _mm256_unpackhi_epi16(lo01, lo23);
  const __m256i c = _mm256_unpacklo_epi16(hi01, hi23), d = _mm256_unpackhi_epi16(hi01, hi23);
  if constexpr (kPacked) {
    return {{_mm256_permute2x128_si256(a, b, 0x20), _mm256_permute2x128_si256(a, b, 0x31),
             _mm256_permute2x128_si256(c, d, 0x20), _mm256_permute2x128_si256(c, d, 0x31)}};
  } else {
    return {{_mm256_permute2x128_si256(a, b, 0x20), _mm256_permute2x128_si256(c, d, 0x20),
             _mm256_permute2x128_si256(a, b, 0x31), _mm256_permute2x128_si256(c, d, 0x31)}};
  }
}
template <bool kPacked = false>
[[gnu::always_inline]] inline Quads Interleave(__m256i c0, __m256i c1, __m256i c2) {
  return Interleave4<kPacked>(c0, c1, c2, _mm256_setzero_si256());
}

// Thirty-two 32-bit pixels written as 96 bytes of three: bytes 0, 1, 2 of
// each, or with kReversed bytes 2, 1, 0.
template <bool kReversed = false>
void Store24(uint8_t* out, const Quads& p) {
  const __m256i squeeze =
      kReversed ? _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1, 2, 1, 0, 6, 5, 4, 10, 9, 8,
                                   14, 13, 12, -1, -1, -1, -1)
                : _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9, 10,
                                   12, 13, 14, -1, -1, -1, -1);
  // Each vector's 24 bytes now lie in 32-bit words 0-2 and 4-6.
  const __m256i s0 = _mm256_shuffle_epi8(p.q[0], squeeze), s1 = _mm256_shuffle_epi8(p.q[1], squeeze);
  const __m256i s2 = _mm256_shuffle_epi8(p.q[2], squeeze), s3 = _mm256_shuffle_epi8(p.q[3], squeeze);
  StoreU(out, _mm256_blend_epi32(_mm256_permutevar8x32_epi32(s0, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 0, 0)),
                                 _mm256_permutevar8x32_epi32(s1, _mm256_setr_epi32(0, 0, 0, 0, 0, 0, 0, 1)), 0xC0));
  StoreU(out + 32, _mm256_blend_epi32(_mm256_permutevar8x32_epi32(s1, _mm256_setr_epi32(2, 4, 5, 6, 0, 0, 0, 0)),
                                      _mm256_permutevar8x32_epi32(s2, _mm256_setr_epi32(0, 0, 0, 0, 0, 1, 2, 4)), 0xF0));
  StoreU(out + 64, _mm256_blend_epi32(_mm256_permutevar8x32_epi32(s2, _mm256_setr_epi32(5, 6, 0, 0, 0, 0, 0, 0)),
                                      _mm256_permutevar8x32_epi32(s3, _mm256_setr_epi32(0, 0, 0, 1, 2, 4, 5, 6)), 0xFC));
}

// Byte selectors of StorePlanes24: kPlaneToChunk[p][k] moves the bytes of
// plane p that belong in the k-th 16 bytes of a half's 48 output bytes to
// their places there (0x80 elsewhere, which gives 0).
struct PlaneSelectors {
  alignas(32) uint8_t bytes[3][3][32];
};
inline constexpr PlaneSelectors kPlaneToChunk = [] {
  PlaneSelectors s{};
  for (int p = 0; p < 3; ++p) {
    for (int k = 0; k < 3; ++k) {
      for (int i = 0; i < 32; ++i) {
        const int j = 16 * k + i % 16;  // byte of the half's 48
        s.bytes[p][k][i] = j % 3 == p ? static_cast<uint8_t>(j / 3) : 0x80;
      }
    }
  }
  return s;
}();

// Three planes of 32 bytes (pixels in order) written as thirty-two 3-byte
// pixels, bytes c0, c1, c2: each 128-bit half makes its 16 pixels' 48 bytes
// with byte shuffles, and three cross-half moves put them in order.  Fewer
// shuffles than Interleave followed by Store24.
inline __m256i PlaneToChunk(int p, int k) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(kPlaneToChunk.bytes[p][k]));
}
[[gnu::always_inline]] inline void StorePlanes24(uint8_t* out, __m256i c0, __m256i c1, __m256i c2) {
  const auto sel = PlaneToChunk;
  __m256i chunk[3];
  for (int k = 0; k < 3; ++k) {
    chunk[k] = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(c0, sel(0, k)), _mm256_shuffle_epi8(c1, sel(1, k))),
                               _mm256_shuffle_epi8(c2, sel(2, k)));
  }
  StoreU(out, _mm256_permute2x128_si256(chunk[0], chunk[1], 0x20));
  StoreU(out + 32, _mm256_permute2x128_si256(chunk[2], chunk[0], 0x30));
  StoreU(out + 64, _mm256_permute2x128_si256(chunk[1], chunk[2], 0x31));
}

// 96 bytes of thirty-two 3-byte pixels as 32-bit pixels: bytes 0, 1, 2 to
// bytes kOffset .. kOffset + 2 (kReversed: bytes 2, 1, 0), the other byte zero.
template <bool kReversed = false, uint32_t kOffset = 0>
Quads Load24(const uint8_t* in) {
  // Each 8-pixel group's 24 bytes spread as 12 per 128-bit half.
  const __m256i halves = _mm256_setr_epi32(0, 1, 2, 0, 3, 4, 5, 0);
  const __m256i last_halves = _mm256_setr_epi32(2, 3, 4, 0, 5, 6, 7, 0);  // the last group, loaded 8 bytes early
  const __m256i spread =
      kOffset == 0
          ? (kReversed ? _mm256_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1, 2, 1, 0, -1, 5, 4, 3, -1, 8,
                                          7, 6, -1, 11, 10, 9, -1)
                       : _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 0, 1, 2, -1, 3, 4, 5, -1,
                                          6, 7, 8, -1, 9, 10, 11, -1))
          : (kReversed ? _mm256_setr_epi8(-1, 2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1, 2, 1, 0, -1, 5, 4, 3,
                                          -1, 8, 7, 6, -1, 11, 10, 9)
                       : _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 0, 1, 2, -1, 3, 4, 5,
                                          -1, 6, 7, 8, -1, 9, 10, 11));
  return {{_mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(LoadU(in), halves), spread),
           _mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(LoadU(in + 24), halves), spread),
           _mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(LoadU(in + 48), halves), spread),
           _mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(LoadU(in + 64), last_halves), spread)}};
}

#if defined(__AVX512BW__) && defined(__AVX512VL__)
// Writes the bytes of the four vectors whose bits are set in `mask` (the
// same 32-bit mask for each) to the 128 bytes at `out`, and no other byte.
[[gnu::always_inline]] inline void StoreMasked(uint8_t* out, const Quads& p, uint32_t mask) {
  for (int i = 0; i < 4; ++i) _mm256_mask_storeu_epi8(out + 32 * i, mask, p.q[i]);
}
#else
void StoreMasked(uint8_t* out, const Quads& p, uint32_t mask);  // not in this set
#endif

// Thirty-two 32-bit pixels (zero top bytes) over 128 bytes, their three
// bytes at kOffset (0 or 1); the fourth byte of each keeps its value.
// (kPlaced: the colours already stand at kOffset.)  Without kMaskedStores
// the old pixels are read and merged; with them the three bytes are stored
// alone.
template <uint32_t kOffset, bool kPlaced = false>
[[gnu::always_inline]] inline void Store32KeepingX(uint8_t* out, const Quads& p) {
  static_assert(kOffset == 0 || kOffset == 1);
  Quads colours = p;
  if constexpr (kOffset == 1 && !kPlaced) {
    for (__m256i& q : colours.q) q = _mm256_slli_epi32(q, 8);
  }
  // Asking for the destination's next lines early keeps the reads of the
  // old pixels, or the line fills of the masked stores, from stalling the
  // stores (a hint only: it never faults and changes no byte, even past the
  // buffer).  The distances are measured ones.
  if constexpr (kMaskedStores) {
    _mm_prefetch(reinterpret_cast<const char*>(out + 512), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(out + 512 + 64), _MM_HINT_T0);
    StoreMasked(out, colours, kOffset == 0 ? 0x77777777u : 0xEEEEEEEEu);
  } else {
    const __m256i x = _mm256_set1_epi32(kOffset == 0 ? static_cast<int>(0xFF000000u) : 0xFF);
    _mm_prefetch(reinterpret_cast<const char*>(out + 256), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(out + 256 + 64), _MM_HINT_T0);
    for (int i = 0; i < 4; ++i) {
      uint8_t* d = out + 32 * i;
      StoreU(d, _mm256_or_si256(_mm256_and_si256(LoadU(d), x), colours.q[i]));
    }
  }
}

}  // namespace qvi::QVI_ISA::v256
