// The de-interlacing row kernels of the 128-bit instruction sets (SSE2,
// NEON), written once over their vectors, sixteen bytes a block: the line
// mean, and the interior of the bilinear and median rows.  A block reads the
// same bytes of the two field lines as the portable loop does for its sixteen
// output bytes and writes exactly those bytes; the portable loop finishes
// the row.
//
// An instruction set (Isa) supplies the vector type V, Load and Store, Half
// (the truncating mean of bytes), AtOf<Op> (Op's sixteen bytes from their
// Six neighbourhoods) and Merge422 (chroma values in the odd bytes, luma in
// the even ones).
#pragma once

#include <cstdint>

namespace qvi::field::lanes {

// The six bytes around each of sixteen output bytes: above and below, each
// with its neighbours `step` to either side.
template <class Isa>
struct Six {
  using V = typename Isa::V;
  V a_left, a, a_right, b_left, b, b_right;
  Six(const uint8_t* above, const uint8_t* below, uint32_t i, uint32_t step)
      : a_left(Isa::Load(above + i - step)), a(Isa::Load(above + i)), a_right(Isa::Load(above + i + step)),
        b_left(Isa::Load(below + i - step)), b(Isa::Load(below + i)), b_right(Isa::Load(below + i + step)) {}
};

template <class Isa>
struct RowBlocks {
  static constexpr uint32_t kBlock = 16;

  // Bytes [i, end) of a row whose bytes all have neighbours `step` away.
  template <class Op>
  static uint32_t Interior(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end,
                           uint32_t step) {
    for (; i < end && end - i >= kBlock; i += kBlock) Isa::Store(out + i, Isa::template AtOf<Op>(Six<Isa>(a, b, i, step)));
    return i;
  }

  // 4:2:2 bytes from an even i below end: luma (even bytes) with neighbours
  // 2 away, chroma (odd bytes) 4 away.
  template <class Op>
  static uint32_t Interior422(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end) {
    for (; i < end && end - i >= kBlock; i += kBlock) {
      Isa::Store(out + i, Isa::Merge422(Isa::template AtOf<Op>(Six<Isa>(a, b, i, 4)),
                                        Isa::template AtOf<Op>(Six<Isa>(a, b, i, 2))));
    }
    return i;
  }

  // The byte-wise truncating mean of two lines from byte 0.
  static uint32_t Mean(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) {
    uint32_t i = 0;
    for (; n - i >= kBlock; i += kBlock) Isa::Store(out + i, Isa::Half(Isa::Load(a + i), Isa::Load(b + i)));
    return i;
  }
};

}  // namespace qvi::field::lanes
