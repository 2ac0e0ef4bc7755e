// AVX2 line kernels of the conversions, thirty-two pixels a block (see
// line_kernels.h), with the arithmetic of the SSE2 ones.  Compiled in the
// files of every set that has AVX2 (rows_avx2.cpp, rows_avx512bw.cpp,
// rows_avx512vbmi.cpp), each in its own namespace; where the set has
// AVX-512 byte-masked stores, X bytes are kept with them.
#pragma once

#include "buffer/isa_namespace.h"

#include <immintrin.h>

#include <cstdint>

#include "buffer/x86_256.h"
#include "convert/line_kernels.h"

namespace qvi::convert::QVI_ISA {

namespace v256 = qvi::QVI_ISA::v256;

struct Avx2Kernels {
  static constexpr uint32_t kBlock = 32;

  template <class R, class W>
  static uint32_t Grey(const uint8_t* s, uint8_t* d, uint32_t w) {
    uint32_t x = 0;
    for (; w - x >= kBlock; x += kBlock, s += kBlock * R::kBytes, d += kBlock * W::kBytes) {
      if constexpr (R::kBytes == 1 && W::kBytes == 3) {
        Grey8To24(s, d);
      } else if constexpr (R::kBytes == 1 && W::kBytes == 4) {
        Grey8To32(s, d);
      } else {
        const __m256i v = GreyBytes<R>(s);
        if constexpr (W::kBytes == 1) {
          v256::StoreU(d, v);
        } else {
          const v256::Quads q = v256::Interleave4(v, v, v, v);
          if constexpr (W::kBytes == 3) {
            v256::Store24(d, q);
          } else {
            for (int i = 0; i < 4; ++i) v256::StoreU(d + 32 * i, q.q[i]);
          }
        }
      }
    }
    return x;
  }

  template <class W>
  static uint32_t Bgr24(const uint8_t* s, uint8_t* d, uint32_t w) {
    uint32_t x = 0;
    for (; w - x >= kBlock; x += kBlock, s += 3 * kBlock, d += kBlock * W::kBytes) {
      if constexpr (W::kBytes == 3) {
        v256::Store24(d, v256::Load24<W::kRedFirst>(s));
      } else if constexpr (W::kBytes == 4) {
        const v256::Quads placed = v256::Load24<W::kRedFirst, W::kColourOffset>(s);
        v256::Store32KeepingX<W::kColourOffset, true>(d, placed);
      } else {
        const v256::Quads q = v256::Load24(s);
        v256::StoreU(d, Low16(PackedWord<W>(q.q[0]), PackedWord<W>(q.q[1])));
        v256::StoreU(d + 32, Low16(PackedWord<W>(q.q[2]), PackedWord<W>(q.q[3])));
      }
    }
    return x;
  }

  static uint32_t ReversedBgrx32(const uint8_t* s, uint8_t* d, uint32_t w) {
    uint32_t x = 0;
    for (; w - x >= kBlock; x += kBlock, s += 4 * kBlock, d += 3 * kBlock) {
      v256::Store24<true>(d, {{v256::LoadU(s), v256::LoadU(s + 32), v256::LoadU(s + 64), v256::LoadU(s + 96)}});
    }
    return x;
  }

  template <class W>
  static uint32_t Yuv422(const uint8_t* s, uint8_t* d, uint32_t w) {
    const __m256i low = _mm256_set1_epi16(0x00FF);
    uint32_t x = 0;
    for (; w - x >= kBlock; x += kBlock, s += 2 * kBlock, d += kBlock * W::kBytes) {
      __m256i r[2], g[2], b[2];
      for (int i = 0; i < 2; ++i) {
        const __m256i v = v256::LoadU(s + 32 * i);
        const __m256i luma = _mm256_and_si256(v, low);
        const ChromaTerms c = Chroma(v);
        b[i] = _mm256_add_epi16(luma, c.to_b);
        g[i] = _mm256_sub_epi16(luma, c.from_g);
        r[i] = _mm256_add_epi16(luma, c.to_r);
      }
      // Clamped to 0..255 by the saturating pack.
      const __m256i bb = _mm256_packus_epi16(b[0], b[1]);
      const __m256i gg = _mm256_packus_epi16(g[0], g[1]);
      const __m256i rr = _mm256_packus_epi16(r[0], r[1]);
      if constexpr (W::kBytes == 3) {
        const __m256i b8 = _mm256_permute4x64_epi64(bb, 0xD8), g8 = _mm256_permute4x64_epi64(gg, 0xD8);
        const __m256i r8 = _mm256_permute4x64_epi64(rr, 0xD8);
        W::kRedFirst ? v256::StorePlanes24(d, r8, g8, b8) : v256::StorePlanes24(d, b8, g8, r8);
      } else {
        const v256::Quads q = W::kRedFirst ? v256::Interleave<true>(rr, gg, bb) : v256::Interleave<true>(bb, gg, rr);
        v256::Store32KeepingX<W::kColourOffset>(d, q);
      }
    }
    return x;
  }

 private:
  template <class R>
  static __m256i GreyBytes(const uint8_t* s) {
    if constexpr (R::kBytes == 1) {
      return v256::LoadU(s);
    } else {
      constexpr int kShift = static_cast<int>(R::kSignificantBits) - 8;
      const __m256i mask = _mm256_set1_epi16(0x00FF);
      const __m256i lo = _mm256_and_si256(_mm256_srli_epi16(v256::LoadU(s), kShift), mask);
      const __m256i hi = _mm256_and_si256(_mm256_srli_epi16(v256::LoadU(s + 32), kShift), mask);
      return _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), 0xD8);
    }
  }

  // 8-bit grey sources into 24- and 32-bit pixels: byte shuffles of sixteen
  // grey values, stored sixteen bytes at a time.
  static void Grey8To24(const uint8_t* s, uint8_t* d) {
    const __m128i first = _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
    const __m128i second = _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
    const __m128i third = _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
    for (int i = 0; i < 2; ++i) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16 * i));
      uint8_t* out = d + 48 * i;
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(v, first));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16), _mm_shuffle_epi8(v, second));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 32), _mm_shuffle_epi8(v, third));
    }
  }
  static void Grey8To32(const uint8_t* s, uint8_t* d) {
    const __m256i low = _mm256_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3,  //
                                         4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 6, 7, 7, 7, 7);
    const __m256i high = _mm256_setr_epi8(8, 8, 8, 8, 9, 9, 9, 9, 10, 10, 10, 10, 11, 11, 11, 11,  //
                                          12, 12, 12, 12, 13, 13, 13, 13, 14, 14, 14, 14, 15, 15, 15, 15);
    for (int i = 0; i < 2; ++i) {
      // Sixteen bytes in both 128-bit halves.
      const __m256i v = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16 * i)));
      v256::StoreU(d + 64 * i, _mm256_shuffle_epi8(v, low));
      v256::StoreU(d + 64 * i + 32, _mm256_shuffle_epi8(v, high));
    }
  }

  // Field `kBits` wide from the top of the channel at bit kFrom, ending at bit kToTop.
  template <int kFrom, int kBits, int kToTop>
  static __m256i Field(__m256i v) {
    constexpr int kShift = kFrom + 8 - kToTop;
    constexpr uint32_t kMask = ((1u << kBits) - 1u) << (kToTop - kBits);
    const __m256i shifted = kShift >= 0 ? _mm256_srli_epi32(v, kShift) : _mm256_slli_epi32(v, -kShift);
    return _mm256_and_si256(shifted, _mm256_set1_epi32(static_cast<int>(kMask)));
  }

  // A BGR24 pixel (b | g << 8 | r << 16) as the 15- or 16-bit word of W.
  template <class W>
  static __m256i PackedWord(__m256i v) {
    constexpr int kHigh = W::kRedInHighField ? 16 : 0, kLow = W::kRedInHighField ? 0 : 16;
    constexpr int kGreen = static_cast<int>(W::kGreenBits);
    return _mm256_or_si256(_mm256_or_si256(Field<kHigh, 5, 10 + kGreen>(v), Field<8, kGreen, 5 + kGreen>(v)),
                           Field<kLow, 5, 5>(v));
  }

  // Sixteen 16-bit words of 2 x 8 32-bit lanes below 2^16, in order.
  static __m256i Low16(__m256i a, __m256i b) { return _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8); }

  // The chroma terms of eight pairs, one 16-bit term per pixel, lined up
  // with the pixels' luma.  `v` holds the pairs as Y0 U Y1 V bytes.  Each
  // product is taken of the chroma scaled by 64, so the high 16 bits of the
  // product (or, for green, of the sum of two) are the portable loop's
  // arithmetic shift by 10: floor(64 p / 2^16) is floor(p / 2^10).
  struct ChromaTerms {
    __m256i to_b, from_g, to_r;
  };
  static ChromaTerms Chroma(__m256i v) {
    const __m256i uv64 =
        _mm256_slli_epi16(_mm256_sub_epi16(_mm256_srli_epi16(v, 8), _mm256_set1_epi16(128)), 6);  // 64 u, 64 v
    const __m256i br = _mm256_mulhi_epi16(uv64, _mm256_set1_epi32(1815 | (1436 << 16)));  // blue, red terms
    const __m256i g = _mm256_madd_epi16(uv64, _mm256_set1_epi32(352 | (731 << 16)));      // green in the high word
    // Each pair's term to both its pixels: words 2k (or 2k + 1) to 2k and 2k + 1.
    const __m256i even = _mm256_setr_epi8(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13,  //
                                          0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13);
    const __m256i odd = _mm256_add_epi8(even, _mm256_set1_epi8(2));
    return {_mm256_shuffle_epi8(br, even), _mm256_shuffle_epi8(g, odd), _mm256_shuffle_epi8(br, odd)};
  }
};

}  // namespace qvi::convert::QVI_ISA
