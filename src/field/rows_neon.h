// NEON kernels of the de-interlacing rows (64-bit Arm), sixteen bytes a
// block, with the arithmetic of the SSE2 kernels: the line mean, and the
// interior of the bilinear and median rows.  A block reads the same bytes of
// the two field lines as the portable loop does for its sixteen output bytes
// and writes exactly those bytes; the portable loop finishes the row.
#pragma once

#include <arm_neon.h>

#include <cstdint>

#include "field/field_rows.h"

namespace qvi::field::neon {

inline constexpr uint32_t kBlock = 16;

// The six bytes around each of sixteen output bytes: above and below, each
// with its neighbours `step` to either side.
struct Six {
  uint8x16_t a_left, a, a_right, b_left, b, b_right;
  Six(const uint8_t* above, const uint8_t* below, uint32_t i, uint32_t step)
      : a_left(vld1q_u8(above + i - step)), a(vld1q_u8(above + i)), a_right(vld1q_u8(above + i + step)),
        b_left(vld1q_u8(below + i - step)), b(vld1q_u8(below + i)), b_right(vld1q_u8(below + i + step)) {}
};

template <class Op>
struct VectorOp;

// (105 (a + b) + 75 (sides)) >> 9 in 32-bit lanes.
template <>
struct VectorOp<Bilinear> {
  static uint16x4_t Quarter(uint16x4_t centre, uint16x4_t sides) {
    return vshrn_n_u32(vmlal_n_u16(vmull_n_u16(centre, kAboveBelowWeight), sides, kNeighbourWeight), kWeightShift);
  }
  static uint8x8_t Half8(uint8x8_t a, uint8x8_t b, uint8x8_t al, uint8x8_t ar, uint8x8_t bl, uint8x8_t br) {
    const uint16x8_t centre = vaddl_u8(a, b);
    const uint16x8_t sides = vaddq_u16(vaddl_u8(al, ar), vaddl_u8(bl, br));
    return vmovn_u16(vcombine_u16(Quarter(vget_low_u16(centre), vget_low_u16(sides)),
                                  Quarter(vget_high_u16(centre), vget_high_u16(sides))));
  }
  static uint8x16_t At(const Six& v) {
    static_assert(kWeightShift == 9, "the result fits 8 bits");
    return vcombine_u8(Half8(vget_low_u8(v.a), vget_low_u8(v.b), vget_low_u8(v.a_left), vget_low_u8(v.a_right),
                             vget_low_u8(v.b_left), vget_low_u8(v.b_right)),
                       Half8(vget_high_u8(v.a), vget_high_u8(v.b), vget_high_u8(v.a_left),
                             vget_high_u8(v.a_right), vget_high_u8(v.b_left), vget_high_u8(v.b_right)));
  }
};

// The third and fourth smallest of the six by the sorting network, then
// their truncating mean.
template <>
struct VectorOp<Median> {
  static void Order(uint8x16_t& x, uint8x16_t& y) {
    const uint8x16_t lo = vminq_u8(x, y);
    y = vmaxq_u8(x, y);
    x = lo;
  }
  static uint8x16_t At(const Six& v) {
    uint8x16_t s[6] = {v.a_left, v.a, v.a_right, v.b_left, v.b, v.b_right};
    for (const auto& c : kMiddlePairNetwork) Order(s[c[0]], s[c[1]]);
    return vhaddq_u8(s[2], s[3]);
  }
};

struct Vec {
  // Bytes [i, end) of a row whose bytes all have neighbours `step` away.
  template <class Op>
  static uint32_t Interior(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end,
                           uint32_t step) {
    for (; i < end && end - i >= kBlock; i += kBlock) vst1q_u8(out + i, VectorOp<Op>::At(Six(a, b, i, step)));
    return i;
  }

  // 4:2:2 bytes from an even i below end: luma (even bytes) with neighbours
  // 2 away, chroma (odd bytes) 4 away.
  template <class Op>
  static uint32_t Interior422(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end) {
    const uint8x16_t chroma = vreinterpretq_u8_u16(vdupq_n_u16(0xFF00));
    for (; i < end && end - i >= kBlock; i += kBlock) {
      const uint8x16_t luma_values = VectorOp<Op>::At(Six(a, b, i, 2));
      const uint8x16_t chroma_values = VectorOp<Op>::At(Six(a, b, i, 4));
      vst1q_u8(out + i, vbslq_u8(chroma, chroma_values, luma_values));
    }
    return i;
  }

  // The byte-wise truncating mean of two lines from byte 0.
  static uint32_t Mean(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) {
    uint32_t i = 0;
    for (; n - i >= kBlock; i += kBlock) vst1q_u8(out + i, vhaddq_u8(vld1q_u8(a + i), vld1q_u8(b + i)));
    return i;
  }
};

}  // namespace qvi::field::neon
