// AVX2 lanes and stores of the demosaic pair kernels (pair_blocks.h): 32
// lanes of 8-bit samples or 16 of 16-bit ones, lane for lane the arithmetic
// of the SSE2 ones (rows_sse2.cpp explains it) twice as wide.  Compiled in
// the files of the sets that have AVX2 (rows_avx2.cpp, rows_avx512bw.cpp),
// each in its own namespace; X bytes are stored back unchanged, or with
// AVX-512 byte masks where the set has them.
#pragma once

#include "buffer/isa_namespace.h"

#include <immintrin.h>

#include <cstdint>
#include <type_traits>

#include "bayer/pair_blocks.h"
#include "buffer/x86_256.h"

namespace qvi::bayer::QVI_ISA {
namespace avx2_lanes {

namespace v256 = qvi::QVI_ISA::v256;
using v256::LoadU;
using v256::StoreU;

// 8-bit samples, 32 lanes: the arithmetic of Arith<Depth::BAY8>.
struct ByteLanes {
  using V = __m256i;
  static constexpr uint32_t kLanes = 32;
  explicit ByteLanes(const Arith<Depth::BAY8>&) {}
  static bool Usable(const Arith<Depth::BAY8>&) { return true; }
  static __m256i EvenLanes() { return _mm256_set1_epi16(0x00FF); }
  static __m256i OddLanes() { return _mm256_xor_si256(EvenLanes(), _mm256_set1_epi32(-1)); }
  static __m256i At(const uint8_t* row, uint32_t x) { return LoadU(row + x); }
  static __m256i Select(__m256i mask, __m256i a, __m256i b) { return v256::Select(mask, a, b); }

  static __m256i Half(__m256i x, __m256i y) {
    return _mm256_sub_epi8(_mm256_avg_epu8(x, y), _mm256_and_si256(_mm256_xor_si256(x, y), _mm256_set1_epi8(1)));
  }
  __m256i Copy(__m256i v) const { return v; }
  __m256i Mean2(__m256i x, __m256i y) const { return Half(x, y); }
  __m256i Mean4(__m256i a, __m256i b, __m256i c, __m256i d) const {
    const __m256i m1 = Half(a, b), m2 = Half(c, d);
    const __m256i carry = _mm256_and_si256(_mm256_and_si256(_mm256_xor_si256(m1, m2), _mm256_xor_si256(a, b)),
                                           _mm256_and_si256(_mm256_xor_si256(c, d), _mm256_set1_epi8(1)));
    return _mm256_add_epi8(Half(m1, m2), carry);
  }
  __m256i Med4(__m256i a, __m256i b, __m256i c, __m256i d) const {
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
  using V = __m256i;
  static constexpr uint32_t kLanes = 16;
  static constexpr int kMean2Halvings = kWrapping ? 0 : 1, kMean4Halvings = kWrapping ? 0 : 2;
  explicit WordLanesT(const Arith<Depth::BAYn>& a)
      : copy_(static_cast<int>(a.CopyShift())), mean2_(static_cast<int>(a.Mean2Shift()) - kMean2Halvings),
        mean4_(static_cast<int>(a.Mean4Shift()) - kMean4Halvings) {}
  static bool Usable(const Arith<Depth::BAYn>& a) {
    return kWrapping ? a.Mean2Shift() <= 8 && a.Mean4Shift() <= 8 : a.Mean2Shift() >= 1 && a.Mean4Shift() >= 2;
  }
  static __m256i EvenLanes() { return _mm256_set1_epi32(0x0000FFFF); }
  static __m256i OddLanes() { return _mm256_xor_si256(EvenLanes(), _mm256_set1_epi32(-1)); }
  static __m256i At(const uint8_t* row, uint32_t x) { return LoadU(row + 2 * uint64_t{x}); }
  static __m256i Select(__m256i mask, __m256i a, __m256i b) { return v256::Select(mask, a, b); }

  static __m256i Half(__m256i x, __m256i y) {
    return _mm256_add_epi16(_mm256_and_si256(x, y), _mm256_srli_epi16(_mm256_xor_si256(x, y), 1));
  }
  static __m256i Shift(__m256i v, int count) { return _mm256_srl_epi16(v, _mm_cvtsi32_si128(count)); }

  __m256i Copy(__m256i v) const { return Shift(v, copy_); }
  __m256i Mean2(__m256i x, __m256i y) const {
    return Shift(kWrapping ? _mm256_add_epi16(x, y) : Half(x, y), mean2_);
  }
  __m256i Mean4(__m256i a, __m256i b, __m256i c, __m256i d) const {
    if constexpr (kWrapping) return Shift(_mm256_add_epi16(_mm256_add_epi16(a, b), _mm256_add_epi16(c, d)), mean4_);
    const __m256i m1 = Half(a, b), m2 = Half(c, d);
    const __m256i carry = _mm256_and_si256(_mm256_and_si256(_mm256_xor_si256(m1, m2), _mm256_xor_si256(a, b)),
                                           _mm256_and_si256(_mm256_xor_si256(c, d), _mm256_set1_epi16(1)));
    return Shift(_mm256_add_epi16(Half(m1, m2), carry), mean4_);
  }
  __m256i Med4(__m256i a, __m256i b, __m256i c, __m256i d) const {
    const __m256i lo = _mm256_max_epu16(_mm256_min_epu16(a, b), _mm256_min_epu16(c, d));
    const __m256i hi = _mm256_min_epu16(_mm256_max_epu16(a, b), _mm256_max_epu16(c, d));
    return Shift(Half(lo, hi), copy_);
  }

 private:
  int copy_, mean2_, mean4_;
};
// 5:6:5 words as in Packer: (hi << 8) & 0xF800 | (g << 3) & 0x07E0 | lo >> 3.
inline __m256i Word565(__m256i hi, __m256i g, __m256i lo) {
  return _mm256_or_si256(
      _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi16(hi, 8), _mm256_set1_epi16(static_cast<short>(0xF800))),
                      _mm256_and_si256(_mm256_slli_epi16(g, 3), _mm256_set1_epi16(0x07E0))),
      _mm256_srli_epi16(lo, 3));
}

// The low bytes of 2 x 16 words, in order.
inline __m256i LowBytes(__m256i lo, __m256i hi) {
  const __m256i mask = _mm256_set1_epi16(0x00FF);
  return _mm256_permute4x64_epi64(_mm256_packus_epi16(_mm256_and_si256(lo, mask), _mm256_and_si256(hi, mask)), 0xD8);
}

// 32 bytes as 2 x 16 words, in order.
inline void Widen(__m256i v, __m256i* lo, __m256i* hi) {
  *lo = _mm256_cvtepu8_epi16(_mm256_castsi256_si128(v));
  *hi = _mm256_cvtepu8_epi16(_mm256_extracti128_si256(v, 1));
}

// Sixteen pixels' 32-bit pixels from 16-bit lanes of three colours, in
// order over two vectors: bytes 0, 1 and 2 the low bytes of c0, c1 and c2,
// byte 3 (an X byte) the high byte of c2, or 0 with kZeroTop.
template <bool kZeroTop>
[[gnu::always_inline]] inline void WordsToPixels(__m256i c0, __m256i c1, __m256i c2, __m256i* first8, __m256i* next8) {
  const __m256i c01 = _mm256_blendv_epi8(c0, _mm256_slli_epi16(c1, 8), _mm256_set1_epi16(static_cast<short>(0xFF00)));
  if constexpr (kZeroTop) c2 = _mm256_and_si256(c2, _mm256_set1_epi16(0x00FF));
  const __m256i lo = _mm256_unpacklo_epi16(c01, c2), hi = _mm256_unpackhi_epi16(c01, c2);
  *first8 = _mm256_permute2x128_si256(lo, hi, 0x20);
  *next8 = _mm256_permute2x128_si256(lo, hi, 0x31);
}

}  // namespace avx2_lanes

struct Avx2Target {
  template <Depth D>
  using LanesOf = std::conditional_t<D == Depth::BAY8, avx2_lanes::ByteLanes, avx2_lanes::WordLanesT<false>>;
  using WrappingLanes = avx2_lanes::WordLanesT<true>;
  static constexpr uint32_t kVectorBytes = 32;
  static constexpr bool kLastBlockOverlaps = true;
  // The kernels ask for the source row their line brings in this many bytes
  // ahead of the block they convert: no cache has seen that row yet, and the
  // processor's own prefetching left them waiting for it (measured on 2448 x
  // 2048 frames, for the mean and median kernels and for the 16-bit dup
  // ones).  A prefetch is only a hint: it changes no byte the program sees
  // and never faults, past the end of a row included.
  static constexpr uint32_t kNewRowPrefetchBytes = 1024;
  // Always inlined: as a function of its own, GCC finds that it has no
  // effect and drops every call to it.
  [[gnu::always_inline]] static void Prefetch(const uint8_t* p) {
    _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T0);
  }

  // Packer<P>::Store for 32 pixels given as one vector of each colour (8-bit
  // lanes) or two (16-bit lanes, the second holding the second 16 pixels).
  template <Packing P, class L, int kHalves>
  [[gnu::always_inline]] static void Put(uint8_t* out, const Block<L, kHalves>& v) {
    using namespace avx2_lanes;
    constexpr bool kWords = kHalves == 2;
    if constexpr (P == Packing::RGB16 || P == Packing::BGR16) {
      __m256i r[2], g[2], b[2];
      if constexpr (kWords) {
        for (int i = 0; i < 2; ++i) r[i] = v.r[i], g[i] = v.g[i], b[i] = v.b[i];
      } else {
        Widen(v.r[0], &r[0], &r[1]);
        Widen(v.g[0], &g[0], &g[1]);
        Widen(v.b[0], &b[0], &b[1]);
      }
      for (int i = 0; i < 2; ++i) {
        StoreU(out + 32 * i, P == Packing::RGB16 ? Word565(r[i], g[i], b[i]) : Word565(b[i], g[i], r[i]));
      }
    } else if constexpr (kWords && P != Packing::BGR24) {
      // The X byte is not stored with masked stores; the merging store wants it 0.
      v256::Quads q;
      for (int i = 0; i < 2; ++i) {
        if constexpr (P == Packing::BGRX32) {
          WordsToPixels<!v256::kMaskedStores>(v.b[i], v.g[i], v.r[i], &q.q[2 * i], &q.q[2 * i + 1]);
        } else {
          static_assert(P == Packing::RGBX32);
          WordsToPixels<!v256::kMaskedStores>(v.r[i], v.g[i], v.b[i], &q.q[2 * i], &q.q[2 * i + 1]);
        }
      }
      v256::Store32KeepingX<0>(out, q);
    } else {
      __m256i r = v.r[0], g = v.g[0], b = v.b[0];
      if constexpr (kWords) {
        r = LowBytes(v.r[0], v.r[1]), g = LowBytes(v.g[0], v.g[1]), b = LowBytes(v.b[0], v.b[1]);
      }
      if constexpr (P == Packing::BGR24) {
        v256::StorePlanes24(out, b, g, r);
      } else if constexpr (P == Packing::BGRX32) {
        v256::Store32KeepingX<0>(out, v256::Interleave(b, g, r));
      } else {
        static_assert(P == Packing::RGBX32);
        v256::Store32KeepingX<0>(out, v256::Interleave(r, g, b));
      }
    }
  }
};

}  // namespace qvi::bayer::QVI_ISA
