// SSE2 lanes and stores of the demosaic pair kernels (pair_blocks.h): 16
// lanes of 8-bit samples or 8 of 16-bit ones.  The X bytes of the 32-bit
// packings are loaded and stored back unchanged.
#include <emmintrin.h>

#include <cstdint>
#include <type_traits>

#include "bayer/pair_blocks.h"
#include "buffer/x86_128.h"

namespace qvi::bayer::QVI_ISA {
namespace {

namespace v128 = qvi::QVI_ISA::v128;
using v128::LoadU;
using v128::StoreU;

// 8-bit samples, 16 lanes: the arithmetic of Arith<Depth::BAY8>.
struct ByteLanes {
  using V = __m128i;
  static constexpr uint32_t kLanes = 16;
  explicit ByteLanes(const Arith<Depth::BAY8>&) {}
  static bool Usable(const Arith<Depth::BAY8>&) { return true; }
  // Lanes at even offsets from the block's first column.
  static __m128i EvenLanes() { return _mm_set1_epi16(0x00FF); }
  static __m128i OddLanes() { return _mm_set1_epi16(static_cast<short>(0xFF00)); }
  static __m128i At(const uint8_t* row, uint32_t x) { return LoadU(row + x); }
  static __m128i Select(__m128i mask, __m128i a, __m128i b) { return v128::Select(mask, a, b); }

  // (x + y) >> 1: the rounding-up average less the dropped half.
  static __m128i Half(__m128i x, __m128i y) {
    return _mm_sub_epi8(_mm_avg_epu8(x, y), _mm_and_si128(_mm_xor_si128(x, y), _mm_set1_epi8(1)));
  }
  __m128i Copy(__m128i v) const { return v; }
  __m128i Mean2(__m128i x, __m128i y) const { return Half(x, y); }
  // (a + b + c + d) >> 2 from the two pair means: their mean, plus one when
  // all three dropped halves (of both pairs and of the mean) were set.
  __m128i Mean4(__m128i a, __m128i b, __m128i c, __m128i d) const {
    const __m128i m1 = Half(a, b), m2 = Half(c, d);
    const __m128i carry = _mm_and_si128(_mm_and_si128(_mm_xor_si128(m1, m2), _mm_xor_si128(a, b)),
                                        _mm_and_si128(_mm_xor_si128(c, d), _mm_set1_epi8(1)));
    return _mm_add_epi8(Half(m1, m2), carry);
  }
  __m128i Med4(__m128i a, __m128i b, __m128i c, __m128i d) const {
    const __m128i lo = _mm_max_epu8(_mm_min_epu8(a, b), _mm_min_epu8(c, d));
    const __m128i hi = _mm_min_epu8(_mm_max_epu8(a, b), _mm_max_epu8(c, d));
    return Half(lo, hi);
  }
};

// n-bit samples, 8 lanes of 16 bits: the arithmetic of Arith<Depth::BAYn>.
// Each reduction is taken as a halving (or quartering) inside 16 bits and
// the rest of the shift, which is the same as the one shift of the full sum
// whenever the mean shifts are at least 1 and 2 (every depth but 6 and 7;
// those go to the portable loop).  kWrapping: for byte channels, which keep
// only bits 0-7 of each value.  WrappingSums: the sums then simply wrap in
// 16 bits; bits s to s + 7 of a sum are exact modulo 2^16 while s <= 8.
template <bool kWrapping>
struct WordLanesT {
  using V = __m128i;
  static constexpr uint32_t kLanes = 8;
  static constexpr int kMean2Halvings = kWrapping ? 0 : 1, kMean4Halvings = kWrapping ? 0 : 2;
  explicit WordLanesT(const Arith<Depth::BAYn>& a)
      : copy_(_mm_cvtsi32_si128(static_cast<int>(a.CopyShift()))),
        mean2_(_mm_cvtsi32_si128(static_cast<int>(a.Mean2Shift()) - kMean2Halvings)),
        mean4_(_mm_cvtsi32_si128(static_cast<int>(a.Mean4Shift()) - kMean4Halvings)) {}
  static bool Usable(const Arith<Depth::BAYn>& a) {
    return kWrapping ? a.Mean2Shift() <= 8 && a.Mean4Shift() <= 8 : a.Mean2Shift() >= 1 && a.Mean4Shift() >= 2;
  }
  static __m128i EvenLanes() { return _mm_set1_epi32(0x0000FFFF); }
  static __m128i OddLanes() { return _mm_set1_epi32(static_cast<int>(0xFFFF0000u)); }
  static __m128i At(const uint8_t* row, uint32_t x) { return LoadU(row + 2 * uint64_t{x}); }
  static __m128i Select(__m128i mask, __m128i a, __m128i b) { return v128::Select(mask, a, b); }

  // (x + y) >> 1 without leaving 16 bits.
  static __m128i Half(__m128i x, __m128i y) {
    return _mm_add_epi16(_mm_and_si128(x, y), _mm_srli_epi16(_mm_xor_si128(x, y), 1));
  }
  static __m128i Min(__m128i a, __m128i b) { return _mm_sub_epi16(a, _mm_subs_epu16(a, b)); }
  static __m128i Max(__m128i a, __m128i b) { return _mm_add_epi16(b, _mm_subs_epu16(a, b)); }

  __m128i Copy(__m128i v) const { return _mm_srl_epi16(v, copy_); }
  __m128i Mean2(__m128i x, __m128i y) const {
    return _mm_srl_epi16(kWrapping ? _mm_add_epi16(x, y) : Half(x, y), mean2_);
  }
  __m128i Mean4(__m128i a, __m128i b, __m128i c, __m128i d) const {
    if constexpr (kWrapping) return _mm_srl_epi16(_mm_add_epi16(_mm_add_epi16(a, b), _mm_add_epi16(c, d)), mean4_);
    const __m128i m1 = Half(a, b), m2 = Half(c, d);
    const __m128i carry = _mm_and_si128(_mm_and_si128(_mm_xor_si128(m1, m2), _mm_xor_si128(a, b)),
                                        _mm_and_si128(_mm_xor_si128(c, d), _mm_set1_epi16(1)));
    return _mm_srl_epi16(_mm_add_epi16(Half(m1, m2), carry), mean4_);
  }
  __m128i Med4(__m128i a, __m128i b, __m128i c, __m128i d) const {
    const __m128i lo = Max(Min(a, b), Min(c, d));
    const __m128i hi = Min(Max(a, b), Max(c, d));
    return _mm_srl_epi16(Half(lo, hi), copy_);
  }

 private:
  __m128i copy_, mean2_, mean4_;
};
// The stores of Target128.
struct Ops {
  using Bytes = __m128i;
  using Words = __m128i;
  // 5:6:5 words: (hi << 8) & 0xF800 | (g << 3) & 0x07E0 | lo >> 3, lo unmasked.
  static __m128i Word565(__m128i hi, __m128i g, __m128i lo) {
    return _mm_or_si128(_mm_or_si128(_mm_and_si128(_mm_slli_epi16(hi, 8), _mm_set1_epi16(static_cast<short>(0xF800))),
                                     _mm_and_si128(_mm_slli_epi16(g, 3), _mm_set1_epi16(0x07E0))),
                        _mm_srli_epi16(lo, 3));
  }
  static void StoreWords(uint8_t* out, __m128i words) { StoreU(out, words); }
  // The low 8 bits of each 16-bit value, sixteen of them in one vector.
  static __m128i LowBytes(__m128i lo, __m128i hi) {
    const __m128i mask = _mm_set1_epi16(0x00FF);
    return _mm_packus_epi16(_mm_and_si128(lo, mask), _mm_and_si128(hi, mask));
  }
  static void Widen(__m128i v, __m128i* words) {
    words[0] = _mm_unpacklo_epi8(v, _mm_setzero_si128());
    words[1] = _mm_unpackhi_epi8(v, _mm_setzero_si128());
  }
  static void Store24(uint8_t* out, __m128i c0, __m128i c1, __m128i c2) {
    v128::Store24(out, v128::Interleave(c0, c1, c2));
  }
  static void Store32KeepingX(uint8_t* out, __m128i c0, __m128i c1, __m128i c2) {
    v128::Store32KeepingX<0>(out, v128::Interleave(c0, c1, c2));
  }
};

}  // namespace

const PairKernelTable kPairKernels = MakePairKernels<Isa::QVI_ISA, PairBlocks<Target128<ByteLanes, WordLanesT, Ops>>>();

}  // namespace qvi::bayer::QVI_ISA
