// AVX2 line kernels of the conversions, thirty-two pixels a block, for the
// same pairs of reader and writer as the SSE2 ones (rows_sse2.h) and with
// the same arithmetic.  A block reads and writes exactly its pixels' bytes.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <type_traits>

#include "buffer/avx2.h"
#include "convert/rows_sse2.h"

namespace qvi::convert::avx2 {

using qvi::avx2::LoadU;
using qvi::avx2::Quads;
using qvi::avx2::StoreU;
using sse2::k555;
using sse2::k565;
using sse2::kBytes24;
using sse2::kBytes32;
using sse2::kGreySource;
using sse2::kLineKernel;
using sse2::LineKernel;

inline constexpr uint32_t kBlock = 32;

// Names this set of kernels: each takes it first (see KernelVec).  kMasked:
// the X-keeping stores use byte masks; only run where CpuHasMaskedStores().
template <bool kMasked>
struct Isa {
  static constexpr uint32_t kBlock = avx2::kBlock;
};

template <class R>
QVI_AVX2 __m256i GreyBytes(const uint8_t* s) {
  if constexpr (std::is_same_v<R, Reader<Fmt::Y8>>) {
    return LoadU(s);
  } else {
    constexpr int kShift = static_cast<int>(R::kSignificantBits) - 8;
    const __m256i mask = _mm256_set1_epi16(0x00FF);
    const __m256i lo = _mm256_and_si256(_mm256_srli_epi16(LoadU(s), kShift), mask);
    const __m256i hi = _mm256_and_si256(_mm256_srli_epi16(LoadU(s + 32), kShift), mask);
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), 0xD8);
  }
}

// Sixteen bytes in both 128-bit halves.
QVI_AVX2 inline __m256i Both(__m128i v) { return _mm256_broadcastsi128_si256(v); }


// 8-bit grey sources into 24- and 32-bit pixels: byte shuffles of sixteen
// grey values, stored sixteen bytes at a time.
QVI_AVX2 inline void Grey8To24(const uint8_t* s, uint8_t* d) {
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
QVI_AVX2 inline void Grey8To32(const uint8_t* s, uint8_t* d) {
  const __m256i low = _mm256_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3,  //
                                       4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 6, 7, 7, 7, 7);
  const __m256i high = _mm256_setr_epi8(8, 8, 8, 8, 9, 9, 9, 9, 10, 10, 10, 10, 11, 11, 11, 11,  //
                                        12, 12, 12, 12, 13, 13, 13, 13, 14, 14, 14, 14, 15, 15, 15, 15);
  for (int i = 0; i < 2; ++i) {
    const __m256i v = Both(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16 * i)));
    StoreU(d + 64 * i, _mm256_shuffle_epi8(v, low));
    StoreU(d + 64 * i + 32, _mm256_shuffle_epi8(v, high));
  }
}

template <class R, class W, bool kMasked>
QVI_AVX2 uint32_t GreyRows(Isa<kMasked>, const uint8_t* s, uint8_t* d, uint32_t w) {
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += kBlock * R::kBytes, d += kBlock * W::kBytes) {
    if constexpr (std::is_same_v<R, Reader<Fmt::Y8>> && kBytes24<W>) {
      Grey8To24(s, d);
    } else if constexpr (std::is_same_v<R, Reader<Fmt::Y8>> && kBytes32<W>) {
      Grey8To32(s, d);
    } else {
      const __m256i v = GreyBytes<R>(s);
      if constexpr (std::is_same_v<W, Writer<Fmt::Y8>>) {
        StoreU(d, v);
      } else {
        const Quads q = qvi::avx2::Interleave4(v, v, v, v);
        if constexpr (kBytes24<W>) {
          qvi::avx2::Store24(d, q);
        } else {
          for (int i = 0; i < 4; ++i) StoreU(d + 32 * i, q.q[i]);
        }
      }
    }
  }
  return x;
}

// Field `kBits` wide from the top of the channel at bit kFrom, ending at bit kToTop.
template <int kFrom, int kBits, int kToTop>
QVI_AVX2 __m256i Field(__m256i v) {
  constexpr int kShift = kFrom + 8 - kToTop;
  constexpr uint32_t kMask = ((1u << kBits) - 1u) << (kToTop - kBits);
  const __m256i shifted = kShift >= 0 ? _mm256_srli_epi32(v, kShift) : _mm256_slli_epi32(v, -kShift);
  return _mm256_and_si256(shifted, _mm256_set1_epi32(static_cast<int>(kMask)));
}

template <class W>
QVI_AVX2 __m256i PackedWord(__m256i v) {
  constexpr int kHigh = W::kRedInHighField ? 16 : 0, kLow = W::kRedInHighField ? 0 : 16;
  if constexpr (k565<W>) {
    return _mm256_or_si256(_mm256_or_si256(Field<kHigh, 5, 16>(v), Field<8, 6, 11>(v)), Field<kLow, 5, 5>(v));
  } else {
    return _mm256_or_si256(_mm256_or_si256(Field<kHigh, 5, 15>(v), Field<8, 5, 10>(v)), Field<kLow, 5, 5>(v));
  }
}

// Sixteen 16-bit words of 2 x 8 32-bit lanes below 2^16, in order.
QVI_AVX2 inline __m256i Low16(__m256i a, __m256i b) {
  return _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8);
}

template <class W, bool kMasked>
QVI_AVX2 uint32_t Bgr24Rows(Isa<kMasked>, const uint8_t* s, uint8_t* d, uint32_t w) {
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += 3 * kBlock, d += kBlock * W::kBytes) {
    if constexpr (kBytes24<W>) {
      qvi::avx2::Store24(d, qvi::avx2::Load24<W::kRedFirst>(s));
    } else if constexpr (kBytes32<W>) {
      const Quads placed = qvi::avx2::Load24<W::kRedFirst, W::kColourOffset>(s);
      qvi::avx2::Store32KeepingX<W::kColourOffset, true, kMasked>(d, placed);
    } else {
      const Quads q = qvi::avx2::Load24(s);
      StoreU(d, Low16(PackedWord<W>(q.q[0]), PackedWord<W>(q.q[1])));
      StoreU(d + 32, Low16(PackedWord<W>(q.q[2]), PackedWord<W>(q.q[3])));
    }
  }
  return x;
}

template <bool kMasked>
QVI_AVX2 uint32_t ReversedBgrx32Rows(Isa<kMasked>, const uint8_t* s, uint8_t* d, uint32_t w) {
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += 4 * kBlock, d += 3 * kBlock) {
    qvi::avx2::Store24<true>(d, {{LoadU(s), LoadU(s + 32), LoadU(s + 64), LoadU(s + 96)}});
  }
  return x;
}

// The chroma terms of eight pairs, one 16-bit term per pixel, lined up with
// the pixels' luma.  `v` holds the pairs as Y0 U Y1 V bytes.  Each product is
// taken of the chroma scaled by 64, so the high 16 bits of the product (or,
// for green, of the sum of two) are the portable loop's arithmetic shift by
// 10: floor(64 p / 2^16) is floor(p / 2^10).
struct ChromaTerms {
  __m256i to_b, from_g, to_r;
};
QVI_AVX2 inline ChromaTerms Chroma(__m256i v) {
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

template <class W, bool kMasked>
QVI_AVX2 uint32_t Yuv422Rows(Isa<kMasked>, const uint8_t* s, uint8_t* d, uint32_t w) {
  const __m256i low = _mm256_set1_epi16(0x00FF);
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += 2 * kBlock, d += kBlock * W::kBytes) {
    __m256i r[2], g[2], b[2];
    for (int i = 0; i < 2; ++i) {
      const __m256i v = LoadU(s + 32 * i);
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
    if constexpr (kBytes24<W>) {
      const __m256i b8 = _mm256_permute4x64_epi64(bb, 0xD8), g8 = _mm256_permute4x64_epi64(gg, 0xD8);
      const __m256i r8 = _mm256_permute4x64_epi64(rr, 0xD8);
      W::kRedFirst ? qvi::avx2::StorePlanes24(d, r8, g8, b8) : qvi::avx2::StorePlanes24(d, b8, g8, r8);
    } else {
      const Quads q =
          W::kRedFirst ? qvi::avx2::Interleave<true>(rr, gg, bb) : qvi::avx2::Interleave<true>(bb, gg, rr);
      qvi::avx2::Store32KeepingX<W::kColourOffset, false, kMasked>(d, q);
    }
  }
  return x;
}

// Routes whose kernels keep X bytes (colour into 32-bit pixels) and may
// store with byte masks where the processor has them (MaskedVec).
// Measured: with the destination's next lines asked for ahead, the masked
// stores beat reading and merging.
template <class R, class W>
inline constexpr bool kMaskedStoresPay =
    (kLineKernel<R, W> == LineKernel::kBgr24 || kLineKernel<R, W> == LineKernel::kYuv422) && kBytes32<W>;

using Vec = KernelVec<Isa<false>>;
using MaskedVec = KernelVec<Isa<true>>;

}  // namespace qvi::convert::avx2
