// NEON lanes and stores of the demosaic pair kernels (pair_blocks.h; 64-bit
// Arm), with the arithmetic of the SSE2 ones: 16 lanes of 8-bit samples or
// 8 of 16-bit ones.  The X bytes of the 32-bit packings are loaded and
// stored back unchanged.
#include "buffer/isa_namespace.h"

#include <arm_neon.h>

#include <cstdint>
#include <type_traits>

#include "bayer/pair_blocks.h"

namespace qvi::bayer::QVI_ISA {
namespace {

// 8-bit samples, 16 lanes: the arithmetic of Arith<Depth::BAY8>.
struct ByteLanes {
  using V = uint8x16_t;
  static constexpr uint32_t kLanes = 16;
  explicit ByteLanes(const Arith<Depth::BAY8>&) {}
  static bool Usable(const Arith<Depth::BAY8>&) { return true; }
  // Lanes at even offsets from the block's first column.
  static V EvenLanes() { return vreinterpretq_u8_u16(vdupq_n_u16(0x00FF)); }
  static V OddLanes() { return vreinterpretq_u8_u16(vdupq_n_u16(0xFF00)); }
  static V At(const uint8_t* row, uint32_t x) { return vld1q_u8(row + x); }
  static V Select(V mask, V a, V b) { return vbslq_u8(mask, a, b); }

  V Copy(V v) const { return v; }
  V Mean2(V x, V y) const { return vhaddq_u8(x, y); }
  // (a + b + c + d) >> 2 in 16-bit lanes.
  V Mean4(V a, V b, V c, V d) const {
    const uint16x8_t lo = vaddq_u16(vaddl_u8(vget_low_u8(a), vget_low_u8(b)), vaddl_u8(vget_low_u8(c), vget_low_u8(d)));
    const uint16x8_t hi =
        vaddq_u16(vaddl_u8(vget_high_u8(a), vget_high_u8(b)), vaddl_u8(vget_high_u8(c), vget_high_u8(d)));
    return vcombine_u8(vshrn_n_u16(lo, 2), vshrn_n_u16(hi, 2));
  }
  V Med4(V a, V b, V c, V d) const {
    const V lo = vmaxq_u8(vminq_u8(a, b), vminq_u8(c, d));
    const V hi = vminq_u8(vmaxq_u8(a, b), vmaxq_u8(c, d));
    return vhaddq_u8(lo, hi);
  }
};

// n-bit samples, 8 lanes of 16 bits: the arithmetic of Arith<Depth::BAYn>,
// taken as the SSE2 word lanes take it (a halving or quartering inside 16
// bits and the rest of the shift; with kWrapping, for byte channels, sums
// that simply wrap in 16 bits).  Right shifts by a count held in a register
// are left shifts by its negation.
template <bool kWrapping>
struct WordLanesT {
  using V = uint16x8_t;
  static constexpr uint32_t kLanes = 8;
  static constexpr int kMean2Halvings = kWrapping ? 0 : 1, kMean4Halvings = kWrapping ? 0 : 2;
  explicit WordLanesT(const Arith<Depth::BAYn>& a)
      : copy_(RightBy(static_cast<int>(a.CopyShift()))),
        mean2_(RightBy(static_cast<int>(a.Mean2Shift()) - kMean2Halvings)),
        mean4_(RightBy(static_cast<int>(a.Mean4Shift()) - kMean4Halvings)) {}
  static bool Usable(const Arith<Depth::BAYn>& a) {
    return kWrapping ? a.Mean2Shift() <= 8 && a.Mean4Shift() <= 8 : a.Mean2Shift() >= 1 && a.Mean4Shift() >= 2;
  }
  static V EvenLanes() { return vreinterpretq_u16_u32(vdupq_n_u32(0x0000FFFF)); }
  static V OddLanes() { return vreinterpretq_u16_u32(vdupq_n_u32(0xFFFF0000u)); }
  static V At(const uint8_t* row, uint32_t x) { return vreinterpretq_u16_u8(vld1q_u8(row + 2 * uint64_t{x})); }
  static V Select(V mask, V a, V b) { return vbslq_u16(mask, a, b); }

  V Copy(V v) const { return vshlq_u16(v, copy_); }
  V Mean2(V x, V y) const { return vshlq_u16(kWrapping ? vaddq_u16(x, y) : vhaddq_u16(x, y), mean2_); }
  V Mean4(V a, V b, V c, V d) const {
    if constexpr (kWrapping) return vshlq_u16(vaddq_u16(vaddq_u16(a, b), vaddq_u16(c, d)), mean4_);
    // The mean of the two pair means, plus one when all three dropped
    // halves (of both pairs and of the mean) were set.
    const V m1 = vhaddq_u16(a, b), m2 = vhaddq_u16(c, d);
    const V carry = vandq_u16(vandq_u16(veorq_u16(m1, m2), veorq_u16(a, b)), vandq_u16(veorq_u16(c, d), vdupq_n_u16(1)));
    return vshlq_u16(vaddq_u16(vhaddq_u16(m1, m2), carry), mean4_);
  }
  V Med4(V a, V b, V c, V d) const {
    const V lo = vmaxq_u16(vminq_u16(a, b), vminq_u16(c, d));
    const V hi = vminq_u16(vmaxq_u16(a, b), vmaxq_u16(c, d));
    return vshlq_u16(vhaddq_u16(lo, hi), copy_);
  }

 private:
  static int16x8_t RightBy(int count) { return vdupq_n_s16(static_cast<int16_t>(-count)); }
  int16x8_t copy_, mean2_, mean4_;
};
// The stores of Target128.
struct Ops {
  using Bytes = uint8x16_t;
  using Words = uint16x8_t;
  // 5:6:5 words: (hi << 8) & 0xF800 | (g << 3) & 0x07E0 | lo >> 3, lo unmasked.
  static uint16x8_t Word565(uint16x8_t hi, uint16x8_t g, uint16x8_t lo) {
    return vorrq_u16(vorrq_u16(vandq_u16(vshlq_n_u16(hi, 8), vdupq_n_u16(0xF800)),
                               vandq_u16(vshlq_n_u16(g, 3), vdupq_n_u16(0x07E0))),
                     vshrq_n_u16(lo, 3));
  }
  static void StoreWords(uint8_t* out, uint16x8_t words) { vst1q_u8(out, vreinterpretq_u8_u16(words)); }
  // The low 8 bits of each 16-bit value, sixteen of them in one vector.
  static uint8x16_t LowBytes(uint16x8_t lo, uint16x8_t hi) { return vcombine_u8(vmovn_u16(lo), vmovn_u16(hi)); }
  static void Widen(uint8x16_t v, uint16x8_t* words) {
    words[0] = vmovl_u8(vget_low_u8(v));
    words[1] = vmovl_u8(vget_high_u8(v));
  }
  static void Store24(uint8_t* out, uint8x16_t c0, uint8x16_t c1, uint8x16_t c2) {
    vst3q_u8(out, uint8x16x3_t{{c0, c1, c2}});
  }
  // The X bytes (fourth of each pixel) go back as they were.
  static void Store32KeepingX(uint8_t* out, uint8x16_t c0, uint8x16_t c1, uint8x16_t c2) {
    uint8x16x4_t q = vld4q_u8(out);
    q.val[0] = c0, q.val[1] = c1, q.val[2] = c2;
    vst4q_u8(out, q);
  }
};

}  // namespace

const PairKernelTable kPairKernels = MakePairKernels<Isa::QVI_ISA, PairBlocks<Target128<ByteLanes, WordLanesT, Ops>>>();

}  // namespace qvi::bayer::QVI_ISA
