// The duplication method: every missing colour is copied from one sample of
// the pixel's 2x2 block.  The block is the pixel's row and the row above
// (row 0: the row below), and its column and the column to the left (column
// 0: the column to the right).  The pixel's own sample gives its colour;
// the block's only red or blue sample gives the missing one; green at a red
// or blue site comes from the left neighbour, and in column 0 from the pixel
// above (row 0, and some members: the right neighbour).
//
// Nothing outside the image is read.
#pragma once

#include <cstdint>

#include "bayer/frame.h"
#include "bayer/member.h"
#include "bayer/pack.h"
#include "bayer/sample.h"
#include "bayer/pair_kernels.h"

namespace qvi::bayer {

// One output row.  `here` is the mosaic row being produced, `other` the row
// that completes its blocks (the row above; for row 0 the row below).
template <class M, class Row>
struct DupRow {
  using S = Sample<M::kDepth>;
  using A = Arith<M::kDepth>;
  static constexpr uint32_t kBytes = Packer<M::kPacking>::kBytes;

  // A red or blue site from column 1 on: green from the left, the other
  // colour diagonally up-left (down-left in row 0).
  static void Site(const uint8_t* here, const uint8_t* other, uint8_t* out, uint32_t x, const A& a) {
    Put<M::kPacking, Row>(out + uint64_t{x} * kBytes, a.Copy(S::At(here, x)), a.Copy(S::At(here, x - 1)),
                          a.Copy(S::At(other, x - 1)));
  }
  // A green site from column 1 on: the row's colour from the left, the other
  // colour from the same column of `other`.
  static void Green(const uint8_t* here, const uint8_t* other, uint8_t* out, uint32_t x, const A& a) {
    Put<M::kPacking, Row>(out + uint64_t{x} * kBytes, a.Copy(S::At(here, x - 1)), a.Copy(S::At(here, x)),
                          a.Copy(S::At(other, x)));
  }
  template <uint32_t kColumnParity>
  static void Pixel(const uint8_t* here, const uint8_t* other, uint8_t* out, uint32_t x, const A& a) {
    Row::SiteAt(kColumnParity) ? Site(here, other, out, x, a) : Green(here, other, out, x, a);
  }

  // Column 0: the block reaches right.  kGreenFromRight: a red or blue site
  // takes green from its right neighbour instead of from `other`.
  template <bool kGreenFromRight>
  static void Column0(const uint8_t* here, const uint8_t* other, uint8_t* out, const A& a) {
    if constexpr (Row::SiteAt(0)) {
      const uint32_t green = kGreenFromRight ? S::At(here, 1) : S::At(other, 0);
      Put<M::kPacking, Row>(out, a.Copy(S::At(here, 0)), a.Copy(green), a.Copy(S::At(other, 1)));
    } else {
      Put<M::kPacking, Row>(out, a.Copy(S::At(here, 1)), a.Copy(S::At(here, 0)), a.Copy(S::At(other, 0)));
    }
  }

  // Pairs of columns (1 + 2k, 2 + 2k) for k from `first` below `count`.
  static void Pairs(const uint8_t* here, const uint8_t* other, uint8_t* out, uint32_t first, uint32_t count,
                    const A& a) {
    for (uint32_t k = first; k < count; ++k) {
      Pixel<1>(here, other, out, 2 * k + 1, a);
      Pixel<0>(here, other, out, 2 * k + 2, a);
    }
  }

  // The fast kernel does a leading run of the pairs, the loop above the rest.
  template <bool kGreenFromRight>
  static void Produce(const uint8_t* here, const uint8_t* other, uint8_t* out, uint32_t width, const A& a,
                      const FastPairs& fast) {
    Column0<kGreenFromRight>(here, other, out, a);
    const uint32_t pairs = (width - 1) / 2;
    Pairs(here, other, out, fast.Run(Row::kParity, {other, here, nullptr}, out, pairs), pairs, a);
    // The closing column of an even width has the same rule as a pair's first.
    if (width % 2 == 0) Pixel<1>(here, other, out, width - 1, a);
  }
};

// The walker: row 0 from rows 0 and 1, then every further row from itself and
// the row above, the two row kinds alternating.
template <class M>
struct Dup {
  using A = Arith<M::kDepth>;
  template <uint32_t kParity>
  using Row = DupRow<M, RowKind<M::kPhase, kParity>>;

  // Column 0 below row 0: green of a blue site from the right under the named
  // deviation, from the pixel above otherwise.
  template <uint32_t kParity>
  static constexpr bool kColumn0GreenFromRight =
      M::Has(kGreenFromRightAtColumn0Blue) && !RowKind<M::kPhase, kParity>::kRed;

  static void Run(const View& src, const View& dst, const A& a, const FastPairs& fast) {
    // Row 0: the top-left red or blue pixel always takes green from the right.
    Row<0>::template Produce<true>(src.Line(0), src.Line(1), dst.Line(0), src.width, a, fast);
    uint32_t y = 1;
    for (; y + 1 < src.height; y += 2) {
      Row<1>::template Produce<kColumn0GreenFromRight<1>>(src.Line(y), src.Line(y - 1), dst.Line(y), src.width, a,
                                                          fast);
      Row<0>::template Produce<kColumn0GreenFromRight<0>>(src.Line(y + 1), src.Line(y), dst.Line(y + 1), src.width,
                                                          a, fast);
    }
    if (y < src.height) {
      Row<1>::template Produce<kColumn0GreenFromRight<1>>(src.Line(y), src.Line(y - 1), dst.Line(y), src.width, a,
                                                          fast);
    }
  }
};

}  // namespace qvi::bayer
