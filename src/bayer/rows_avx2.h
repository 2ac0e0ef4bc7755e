// AVX2 pair kernels of the demosaic methods: blocks of 16 pairs (32 pixels,
// columns x .. x + 31 with x = 2k + 1), lane for lane the arithmetic of the
// SSE2 kernels (rows_sse2.h, which explains it) twice as wide.  A block
// reads exactly the samples its pairs read in the portable loop and writes
// exactly its pixels' bytes, X bytes stored back unchanged.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <type_traits>

#include "bayer/member.h"
#include "bayer/pack.h"
#include "bayer/sample.h"
#include "buffer/avx2.h"

namespace qvi::bayer::avx2 {

using qvi::avx2::LoadU;
using qvi::avx2::Select;
using qvi::avx2::StoreU;

struct ByteLanes {
  static constexpr uint32_t kLanes = 32;
  explicit ByteLanes(const Arith<Depth::BAY8>&) {}
  static bool Usable(const Arith<Depth::BAY8>&) { return true; }
  QVI_AVX2 static __m256i EvenLanes() { return _mm256_set1_epi16(0x00FF); }
  QVI_AVX2 static __m256i At(const uint8_t* row, uint32_t x) { return LoadU(row + x); }

  QVI_AVX2 static __m256i Half(__m256i x, __m256i y) {
    return _mm256_sub_epi8(_mm256_avg_epu8(x, y), _mm256_and_si256(_mm256_xor_si256(x, y), _mm256_set1_epi8(1)));
  }
  QVI_AVX2 __m256i Copy(__m256i v) const { return v; }
  QVI_AVX2 __m256i Mean2(__m256i x, __m256i y) const { return Half(x, y); }
  QVI_AVX2 __m256i Mean4(__m256i a, __m256i b, __m256i c, __m256i d) const {
    const __m256i m1 = Half(a, b), m2 = Half(c, d);
    const __m256i carry = _mm256_and_si256(_mm256_and_si256(_mm256_xor_si256(m1, m2), _mm256_xor_si256(a, b)),
                                           _mm256_and_si256(_mm256_xor_si256(c, d), _mm256_set1_epi8(1)));
    return _mm256_add_epi8(Half(m1, m2), carry);
  }
  QVI_AVX2 __m256i Med4(__m256i a, __m256i b, __m256i c, __m256i d) const {
    const __m256i lo = _mm256_max_epu8(_mm256_min_epu8(a, b), _mm256_min_epu8(c, d));
    const __m256i hi = _mm256_min_epu8(_mm256_max_epu8(a, b), _mm256_max_epu8(c, d));
    return Half(lo, hi);
  }
};

// kWrapping: for byte channels, which keep only bits 0-7 of each value.
// WrappingSums: the sums of two and four samples then simply wrap in 16
// bits; bits s to s + 7 of a sum are exact modulo 2^16 while s <= 8.
// Otherwise the sums are halved (or quartered) inside 16 bits first, as in
// the SSE2 kernels.
template <bool kWrapping>
struct WordLanesT {
  static constexpr uint32_t kLanes = 16;
  static constexpr int kMean2Halvings = kWrapping ? 0 : 1, kMean4Halvings = kWrapping ? 0 : 2;
  explicit WordLanesT(const Arith<Depth::BAYn>& a)
      : copy_(static_cast<int>(a.CopyShift())), mean2_(static_cast<int>(a.Mean2Shift()) - kMean2Halvings),
        mean4_(static_cast<int>(a.Mean4Shift()) - kMean4Halvings) {}
  static bool Usable(const Arith<Depth::BAYn>& a) {
    return kWrapping ? a.Mean2Shift() <= 8 && a.Mean4Shift() <= 8 : a.Mean2Shift() >= 1 && a.Mean4Shift() >= 2;
  }
  QVI_AVX2 static __m256i EvenLanes() { return _mm256_set1_epi32(0x0000FFFF); }
  QVI_AVX2 static __m256i At(const uint8_t* row, uint32_t x) { return LoadU(row + 2 * uint64_t{x}); }

  QVI_AVX2 static __m256i Half(__m256i x, __m256i y) {
    return _mm256_add_epi16(_mm256_and_si256(x, y), _mm256_srli_epi16(_mm256_xor_si256(x, y), 1));
  }
  QVI_AVX2 static __m256i Shift(__m256i v, int count) { return _mm256_srl_epi16(v, _mm_cvtsi32_si128(count)); }

  QVI_AVX2 __m256i Copy(__m256i v) const { return Shift(v, copy_); }
  QVI_AVX2 __m256i Mean2(__m256i x, __m256i y) const {
    return Shift(kWrapping ? _mm256_add_epi16(x, y) : Half(x, y), mean2_);
  }
  QVI_AVX2 __m256i Mean4(__m256i a, __m256i b, __m256i c, __m256i d) const {
    if constexpr (kWrapping) return Shift(_mm256_add_epi16(_mm256_add_epi16(a, b), _mm256_add_epi16(c, d)), mean4_);
    const __m256i m1 = Half(a, b), m2 = Half(c, d);
    const __m256i carry = _mm256_and_si256(_mm256_and_si256(_mm256_xor_si256(m1, m2), _mm256_xor_si256(a, b)),
                                           _mm256_and_si256(_mm256_xor_si256(c, d), _mm256_set1_epi16(1)));
    return Shift(_mm256_add_epi16(Half(m1, m2), carry), mean4_);
  }
  QVI_AVX2 __m256i Med4(__m256i a, __m256i b, __m256i c, __m256i d) const {
    const __m256i lo = _mm256_max_epu16(_mm256_min_epu16(a, b), _mm256_min_epu16(c, d));
    const __m256i hi = _mm256_min_epu16(_mm256_max_epu16(a, b), _mm256_max_epu16(c, d));
    return Shift(Half(lo, hi), copy_);
  }

 private:
  int copy_, mean2_, mean4_;
};
using WordLanes = WordLanesT<false>;

template <Depth D>
using LanesOf = std::conditional_t<D == Depth::BAY8, ByteLanes, WordLanes>;

// One vector of pixels as red, green and blue.
struct Rgb {
  __m256i r, g, b;
};

template <class M, class Row, class L = LanesOf<M::kDepth>>
struct PairRules {
  QVI_AVX2 static __m256i Sites() {
    return Row::SiteAt(1) ? L::EvenLanes() : _mm256_xor_si256(L::EvenLanes(), _mm256_set1_epi32(-1));
  }
  QVI_AVX2 static Rgb Colours(__m256i row, __m256i green, __m256i other) {
    return Row::kRed ? Rgb{row, green, other} : Rgb{other, green, row};
  }

  QVI_AVX2 static Rgb Dup(const L& l, const uint8_t* here, const uint8_t* other, uint32_t x) {
    const __m256i sites = Sites();
    const __m256i h = L::At(here, x), left = L::At(here, x - 1);
    const __m256i o = L::At(other, x), o_left = L::At(other, x - 1);
    return Colours(l.Copy(Select(sites, h, left)), l.Copy(Select(sites, left, h)), l.Copy(Select(sites, o_left, o)));
  }

  QVI_AVX2 static Rgb Mean(const L& l, const uint8_t* above, const uint8_t* here, const uint8_t* below,
                           uint32_t x) {
    const __m256i sites = Sites();
    const __m256i n = L::At(above, x), s = L::At(below, x);
    const __m256i w = L::At(here, x - 1), h = L::At(here, x), e = L::At(here, x + 1);
    const __m256i nw = L::At(above, x - 1), ne = L::At(above, x + 1);
    const __m256i sw = L::At(below, x - 1), se = L::At(below, x + 1);
    __m256i green, diagonal;
    if constexpr (M::kMethod == Method::med) {
      green = l.Med4(n, w, s, e);
      diagonal = l.Med4(nw, ne, sw, se);
    } else {
      green = l.Mean4(n, s, w, e);
      diagonal = l.Mean4(nw, ne, sw, se);
    }
    return Colours(Select(sites, l.Copy(h), l.Mean2(w, e)), Select(sites, green, l.Copy(h)),
                   Select(sites, diagonal, l.Mean2(n, s)));
  }
};

// 5:6:5 words as in Packer: (hi << 8) & 0xF800 | (g << 3) & 0x07E0 | lo >> 3.
QVI_AVX2 inline __m256i Word565(__m256i hi, __m256i g, __m256i lo) {
  return _mm256_or_si256(
      _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi16(hi, 8), _mm256_set1_epi16(static_cast<short>(0xF800))),
                      _mm256_and_si256(_mm256_slli_epi16(g, 3), _mm256_set1_epi16(0x07E0))),
      _mm256_srli_epi16(lo, 3));
}

// The low bytes of 2 x 16 words, in order.
QVI_AVX2 inline __m256i LowBytes(__m256i lo, __m256i hi) {
  const __m256i mask = _mm256_set1_epi16(0x00FF);
  return _mm256_permute4x64_epi64(_mm256_packus_epi16(_mm256_and_si256(lo, mask), _mm256_and_si256(hi, mask)), 0xD8);
}

// 32 bytes as 2 x 16 words, in order.
QVI_AVX2 inline void Widen(__m256i v, __m256i* lo, __m256i* hi) {
  *lo = _mm256_cvtepu8_epi16(_mm256_castsi256_si128(v));
  *hi = _mm256_cvtepu8_epi16(_mm256_extracti128_si256(v, 1));
}

// Sixteen pixels' 32-bit pixels from 16-bit lanes of three colours, in
// order over two vectors: bytes 0, 1 and 2 the low bytes of c0, c1 and c2,
// byte 3 (an X byte) the high byte of c2, or 0 with kZeroTop.
template <bool kZeroTop>
QVI_AVX2_INLINE inline void WordsToPixels(__m256i c0, __m256i c1, __m256i c2, __m256i* first8, __m256i* next8) {
  const __m256i c01 = _mm256_blendv_epi8(c0, _mm256_slli_epi16(c1, 8), _mm256_set1_epi16(static_cast<short>(0xFF00)));
  if constexpr (kZeroTop) c2 = _mm256_and_si256(c2, _mm256_set1_epi16(0x00FF));
  const __m256i lo = _mm256_unpacklo_epi16(c01, c2), hi = _mm256_unpackhi_epi16(c01, c2);
  *first8 = _mm256_permute2x128_si256(lo, hi, 0x20);
  *next8 = _mm256_permute2x128_si256(lo, hi, 0x31);
}

// Packer<P>::Store for 32 pixels given as two vectors of each colour (16-bit
// lanes, halves[1] the second 16 pixels) or one (8-bit lanes, halves[1] unused).
// kMasked: the 32-bit packings store with byte masks (Store32KeepingX).
template <Packing P, bool kWords, bool kMasked>
QVI_AVX2_INLINE inline void Put(uint8_t* out, const Rgb* halves) {
  if constexpr (P == Packing::RGB16 || P == Packing::BGR16) {
    Rgb w[2];
    if constexpr (kWords) {
      w[0] = halves[0];
      w[1] = halves[1];
    } else {
      Widen(halves[0].r, &w[0].r, &w[1].r);
      Widen(halves[0].g, &w[0].g, &w[1].g);
      Widen(halves[0].b, &w[0].b, &w[1].b);
    }
    for (int i = 0; i < 2; ++i) {
      StoreU(out + 32 * i, P == Packing::RGB16 ? Word565(w[i].r, w[i].g, w[i].b) : Word565(w[i].b, w[i].g, w[i].r));
    }
  } else if constexpr (kWords && P != Packing::BGR24) {
    // The X byte is not stored with kMasked; the merging store wants it 0.
    qvi::avx2::Quads q;
    for (int i = 0; i < 2; ++i) {
      const Rgb& h = halves[i];
      if constexpr (P == Packing::BGRX32) {
        WordsToPixels<!kMasked>(h.b, h.g, h.r, &q.q[2 * i], &q.q[2 * i + 1]);
      } else {
        static_assert(P == Packing::RGBX32);
        WordsToPixels<!kMasked>(h.r, h.g, h.b, &q.q[2 * i], &q.q[2 * i + 1]);
      }
    }
    qvi::avx2::Store32KeepingX<0, false, kMasked>(out, q);
  } else {
    Rgb v = halves[0];
    if constexpr (kWords) {
      v = {LowBytes(halves[0].r, halves[1].r), LowBytes(halves[0].g, halves[1].g), LowBytes(halves[0].b, halves[1].b)};
    }
    if constexpr (P == Packing::BGR24) {
      qvi::avx2::StorePlanes24(out, v.b, v.g, v.r);
    } else if constexpr (P == Packing::BGRX32) {
      qvi::avx2::Store32KeepingX<0, false, kMasked>(out, qvi::avx2::Interleave(v.b, v.g, v.r));
    } else {
      static_assert(P == Packing::RGBX32);
      qvi::avx2::Store32KeepingX<0, false, kMasked>(out, qvi::avx2::Interleave(v.r, v.g, v.b));
    }
  }
}

// The mean and median kernels ask for the row below this many bytes ahead of
// the block they convert: each line brings in one source row no cache has
// seen yet, and the processor's own prefetching left them waiting for it.
// A prefetch is only a hint: it changes no byte the program sees and never
// faults, past the end of a row included.
inline constexpr uint32_t kBelowAhead = 1024;

// kMasked: the X-keeping stores use byte masks; only run where
// CpuHasMaskedStores().
template <bool kMasked>
struct VecT {
  static constexpr uint32_t kPairsPerBlock = 16;

  // Writes pairs k .. k + 15 for k = 0, 16, ..., the colours of the 16 (or,
  // with 16-bit lanes, twice 16) pixels from column x given by `at(x)`.  A
  // row with pairs left over and at least one whole block gets
  // LastBlockOverlaps: one more block ending at the last pair, which
  // rewrites some pixels with the values they already have (each depends on
  // the source alone) and reads nothing those pairs would not.  Returns the
  // pairs done.
  template <class M, class At>
  QVI_AVX2 static uint32_t Blocks(uint8_t* out, uint32_t count, const At& at) {
    constexpr bool kWords = LanesOf<M::kDepth>::kLanes == 16;
    const auto block = [&](uint32_t k) QVI_AVX2_INLINE {
      const uint32_t x = 2 * k + 1;
      Rgb v[2];
      v[0] = at(x);
      v[1] = kWords ? at(x + 16) : v[0];
      Put<M::kPacking, kWords, kMasked>(out + uint64_t{x} * Packer<M::kPacking>::kBytes, v);
    };
    uint32_t k = 0;
    for (; count - k >= kPairsPerBlock; k += kPairsPerBlock) block(k);
    if (k < count && count >= kPairsPerBlock) {
      block(count - kPairsPerBlock);
      return count;
    }
    return k;
  }

  template <class M, class Row>
  QVI_AVX2 static uint32_t DupPairs(const uint8_t* here, const uint8_t* other, uint8_t* out, uint32_t count,
                                    const Arith<M::kDepth>& a) {
    using L = LanesOf<M::kDepth>;
    if (!L::Usable(a)) return 0;
    const L l(a);
    return Blocks<M>(out, count,
                     [&](uint32_t x) QVI_AVX2_INLINE { return PairRules<M, Row>::Dup(l, here, other, x); });
  }

  template <class M, class Row>
  QVI_AVX2 static uint32_t MeanPairs(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out,
                                     uint32_t count, const Arith<M::kDepth>& a) {
    if constexpr (M::kDepth == Depth::BAYn && kByteChannels<M::kPacking>) {
      if (WordLanesT<true>::Usable(a)) return MeanBlocks<M, Row, WordLanesT<true>>(above, here, below, out, count, a);
    }
    return MeanBlocks<M, Row, LanesOf<M::kDepth>>(above, here, below, out, count, a);
  }

 private:
  template <class M, class Row, class L>
  QVI_AVX2 static uint32_t MeanBlocks(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out,
                                      uint32_t count, const Arith<M::kDepth>& a) {
    if (!L::Usable(a)) return 0;
    const L l(a);
    return Blocks<M>(out, count, [&](uint32_t x) QVI_AVX2_INLINE {
      _mm_prefetch(reinterpret_cast<const char*>(below) + Sample<M::kDepth>::kBytes * uint64_t{x} + kBelowAhead,
                   _MM_HINT_T0);
      return PairRules<M, Row, L>::Mean(l, above, here, below, x);
    });
  }
};
using Vec = VecT<false>;
using MaskedVec = VecT<true>;

}  // namespace qvi::bayer::avx2
