// The de-interlacing row kernels of every instruction set, written once over
// the set's byte lanes, a vector of bytes a block: the line mean, and the
// interior of the bilinear and median rows (see row_kernels.h).
//
// A set supplies lanes L: the vector type V and its kBytes, Load and Store,
// Half (the truncating mean of bytes), Min and Max of bytes, Bilinear (the
// bilinear bytes of a Six neighbourhood), Merge422 (chroma values in the
// odd bytes, luma in the even ones), whether a row's last block overlaps
// the one before (kLastBlockOverlaps), and Narrower: the lanes of a narrower
// vector that finish what is left (void for none).
#pragma once

#include "buffer/isa_namespace.h"

#include <cstdint>
#include <type_traits>

#include "field/ops.h"
#include "field/row_kernels.h"

namespace qvi::field::QVI_ISA {

// The six bytes around each output byte of a block: above and below, each
// with its neighbours `step` to either side.
template <class L>
struct Six {
  using V = typename L::V;
  V a_left, a, a_right, b_left, b, b_right;
  Six(const uint8_t* above, const uint8_t* below, uint32_t i, uint32_t step)
      : a_left(L::Load(above + i - step)), a(L::Load(above + i)), a_right(L::Load(above + i + step)),
        b_left(L::Load(below + i - step)), b(L::Load(below + i)), b_right(L::Load(below + i + step)) {}
};

// The third and fourth smallest of the six by a sorting network (only the
// comparators they depend on survive), then their truncating mean.
template <class L>
typename L::V MedianOf(const Six<L>& v) {
  typename L::V s[6] = {v.a_left, v.a, v.a_right, v.b_left, v.b, v.b_right};
  for (const auto& c : kMiddlePairNetwork) {
    const typename L::V lo = L::Min(s[c[0]], s[c[1]]);
    s[c[1]] = L::Max(s[c[0]], s[c[1]]);
    s[c[0]] = lo;
  }
  return L::Half(s[2], s[3]);
}

template <class L, class Op>
typename L::V At(const Six<L>& v) {
  if constexpr (std::is_same_v<Op, Median>) {
    return MedianOf<L>(v);
  } else {
    return L::Bilinear(v);
  }
}

template <class L>
struct RowBlocks {
  static constexpr uint32_t kBlock = L::kBytes;
  static constexpr bool kNarrower = !std::is_void_v<typename L::Narrower>;

  template <class Op>
  static uint32_t Interior(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end, uint32_t step) {
    const uint32_t start = i;
    for (; i < end && end - i >= kBlock; i += kBlock) L::Store(out + i, At<L, Op>(Six<L>(a, b, i, step)));
    if constexpr (L::kLastBlockOverlaps) {
      // LastBlockOverlaps: the last bytes are done as one more whole block
      // ending at `end`, which rewrites some already written bytes with the
      // same values and reads nothing the byte loop would not.
      if (i < end && end - start >= kBlock) {
        L::Store(out + end - kBlock, At<L, Op>(Six<L>(a, b, end - kBlock, step)));
        return end;
      }
    }
    if constexpr (kNarrower) return RowBlocks<typename L::Narrower>::template Interior<Op>(a, b, out, i, end, step);
    return i;
  }

  template <class Op>
  static uint32_t Interior422(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end) {
    const uint32_t start = i;
    const auto block = [&](uint32_t at) __attribute__((always_inline)) {
      L::Store(out + at, L::Merge422(At<L, Op>(Six<L>(a, b, at, 4)), At<L, Op>(Six<L>(a, b, at, 2))));
    };
    for (; i < end && end - i >= kBlock; i += kBlock) block(i);
    if constexpr (L::kLastBlockOverlaps) {
      // LastBlockOverlaps, as above, at an even distance from the start so
      // that luma and chroma keep their places in the block.
      const uint32_t last = start + ((end - start - kBlock) & ~1u);
      if (i < end && end - start >= kBlock && last + kBlock > i) {
        block(last);
        return last + kBlock;
      }
    }
    if constexpr (kNarrower) return RowBlocks<typename L::Narrower>::template Interior422<Op>(a, b, out, i, end);
    return i;
  }

  static uint32_t Mean(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) {
    uint32_t i = 0;
    for (; n - i >= kBlock; i += kBlock) L::Store(out + i, L::Half(L::Load(a + i), L::Load(b + i)));
    if constexpr (kNarrower) return i + RowBlocks<typename L::Narrower>::Mean(a + i, b + i, out + i, n - i);
    return i;
  }

  static constexpr FieldKernels kKernels{&Mean,
                                         {&Interior<Bilinear>, &Interior<Median>},
                                         {&Interior422<Bilinear>, &Interior422<Median>}};
};

}  // namespace qvi::field::QVI_ISA
