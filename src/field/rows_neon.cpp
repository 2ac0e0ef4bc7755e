// The de-interlacing row kernels of NEON (64-bit Arm): byte lanes with the
// arithmetic of the x86 ones (row_blocks.h).
#include "buffer/isa_namespace.h"

#include <arm_neon.h>

#include <cstdint>

#include "field/row_blocks.h"

namespace qvi::field::QVI_ISA {
namespace {

struct Lanes {
  using V = uint8x16_t;
  using Narrower = void;
  static constexpr uint32_t kBytes = 16;
  static constexpr bool kLastBlockOverlaps = false;
  static V Load(const uint8_t* p) { return vld1q_u8(p); }
  static void Store(uint8_t* p, V v) { vst1q_u8(p, v); }
  static V Half(V x, V y) { return vhaddq_u8(x, y); }
  static V Min(V x, V y) { return vminq_u8(x, y); }
  static V Max(V x, V y) { return vmaxq_u8(x, y); }
  static V Merge422(V chroma, V luma) { return vbslq_u8(vreinterpretq_u8_u16(vdupq_n_u16(0xFF00)), chroma, luma); }

  // (105 (a + b) + 75 (sides)) >> 9 in 32-bit lanes.
  static V Bilinear(const Six<Lanes>& v) {
    static_assert(kWeightShift == 9, "the result fits 8 bits");
    return vcombine_u8(Half8(vget_low_u8(v.a), vget_low_u8(v.b), vget_low_u8(v.a_left), vget_low_u8(v.a_right),
                             vget_low_u8(v.b_left), vget_low_u8(v.b_right)),
                       Half8(vget_high_u8(v.a), vget_high_u8(v.b), vget_high_u8(v.a_left), vget_high_u8(v.a_right),
                             vget_high_u8(v.b_left), vget_high_u8(v.b_right)));
  }

 private:
  static uint16x4_t Quarter(uint16x4_t centre, uint16x4_t sides) {
    return vshrn_n_u32(vmlal_n_u16(vmull_n_u16(centre, kAboveBelowWeight), sides, kNeighbourWeight), kWeightShift);
  }
  static uint8x8_t Half8(uint8x8_t a, uint8x8_t b, uint8x8_t al, uint8x8_t ar, uint8x8_t bl, uint8x8_t br) {
    const uint16x8_t centre = vaddl_u8(a, b);
    const uint16x8_t sides = vaddq_u16(vaddl_u8(al, ar), vaddl_u8(bl, br));
    return vmovn_u16(vcombine_u16(Quarter(vget_low_u16(centre), vget_low_u16(sides)),
                                  Quarter(vget_high_u16(centre), vget_high_u16(sides))));
  }
};

}  // namespace

const FieldKernels kFieldKernels = RowBlocks<Lanes>::kKernels;

}  // namespace qvi::field::QVI_ISA
