// NEON arithmetic of the de-interlacing row kernels (row_blocks.h; 64-bit
// Arm), that of the SSE2 kernels: the truncating mean, bilinear and median
// bytes, sixteen at a time.
#pragma once

#include <arm_neon.h>

#include <cstdint>

#include "field/field_rows.h"
#include "field/row_blocks.h"

namespace qvi::field::neon {

template <class Op>
struct VectorOp;

struct Isa {
  using V = uint8x16_t;
  static V Load(const uint8_t* p) { return vld1q_u8(p); }
  static void Store(uint8_t* p, V v) { vst1q_u8(p, v); }
  static V Half(V x, V y) { return vhaddq_u8(x, y); }
  template <class Op>
  static V AtOf(const lanes::Six<Isa>& v) {
    return VectorOp<Op>::At(v);
  }
  static V Merge422(V chroma_values, V luma_values) {
    return vbslq_u8(vreinterpretq_u8_u16(vdupq_n_u16(0xFF00)), chroma_values, luma_values);
  }
};

using Six = lanes::Six<Isa>;

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

struct Vec : lanes::RowBlocks<Isa> {};

}  // namespace qvi::field::neon
