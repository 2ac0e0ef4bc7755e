// The averaging and median methods.  Every pixel keeps its own sample for its
// own colour and takes each missing colour from the nearest samples of that
// colour: a copy of one, or the truncating mean of two.  The methods differ
// only at red and blue sites inside the image, where green comes from the
// four cross neighbours and the other colour from the four diagonal ones: as
// their mean (ave) or their median (med).
//
// Borders use the neighbours that exist and never mirror one.  Rows are
// produced as column 0, then pairs of columns, then, for an even width, a
// closing column; for an odd width the last pair ends on the last column,
// which then takes its row's inner rule and reads one sample past the row.
#pragma once

#include <cstdint>

#include "bayer/frame.h"
#include "bayer/member.h"
#include "bayer/pack.h"
#include "bayer/sample.h"
#include "bayer/pair_kernels.h"

namespace qvi::bayer {

// The four-neighbour rule of a red or blue site inside the image: the mean
// of the four, or the mean of the middle two, the median pairing (N, W) with
// (S, E) and (NW, NE) with (SW, SE).
template <Method M>
struct Combine4 {
  template <class A>
  static uint32_t Green(const A& a, uint32_t n, uint32_t s, uint32_t w, uint32_t e) {
    return M == Method::ave ? a.Mean4(n, s, w, e) : a.Med4(n, w, s, e);
  }
  template <class A>
  static uint32_t Diagonal(const A& a, uint32_t nw, uint32_t ne, uint32_t sw, uint32_t se) {
    return M == Method::ave ? a.Mean4(nw, ne, sw, se) : a.Med4(nw, ne, sw, se);
  }
};

// The rules of one output row, given the source rows around it.
template <class M, class Row>
struct AveMedRow {
  using S = Sample<M::kDepth>;
  using A = Arith<M::kDepth>;
  using C = Combine4<M::kMethod>;

  static void Store(uint8_t* out, uint32_t x, uint32_t row_colour, uint32_t green, uint32_t other_colour) {
    Put<M::kPacking, Row>(out + uint64_t{x} * Packer<M::kPacking>::kBytes, row_colour, green, other_colour);
  }

  // Inside the image.
  static void InteriorSite(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out, uint32_t x,
                           const A& a) {
    const uint32_t green = C::Green(a, S::At(above, x), S::At(below, x), S::At(here, x - 1), S::At(here, x + 1));
    const uint32_t other =
        C::Diagonal(a, S::At(above, x - 1), S::At(above, x + 1), S::At(below, x - 1), S::At(below, x + 1));
    Store(out, x, a.Copy(S::At(here, x)), green, other);
  }
  static void InteriorGreen(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out, uint32_t x,
                            const A& a) {
    Store(out, x, a.Mean2(S::At(here, x - 1), S::At(here, x + 1)), a.Copy(S::At(here, x)),
          a.Mean2(S::At(above, x), S::At(below, x)));
  }
  template <uint32_t kColumnParity>
  static void Interior(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out, uint32_t x,
                       const A& a) {
    Row::SiteAt(kColumnParity) ? InteriorSite(above, here, below, out, x, a)
                               : InteriorGreen(above, here, below, out, x, a);
  }
  // Pairs of columns (1 + 2k, 2 + 2k) for k from `first` below `count`.
  static void InteriorPairs(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out,
                            uint32_t first, uint32_t count, const A& a) {
    for (uint32_t k = first; k < count; ++k) {
      Interior<1>(above, here, below, out, 2 * k + 1, a);
      Interior<0>(above, here, below, out, 2 * k + 2, a);
    }
  }

  // The first or the last row, whose one neighbouring row is `vertical`.
  static void EdgeSite(const uint8_t* here, const uint8_t* vertical, uint8_t* out, uint32_t x, const A& a) {
    Store(out, x, a.Copy(S::At(here, x)), a.Mean2(S::At(here, x - 1), S::At(here, x + 1)),
          a.Mean2(S::At(vertical, x - 1), S::At(vertical, x + 1)));
  }
  static void EdgeGreen(const uint8_t* here, const uint8_t* vertical, uint8_t* out, uint32_t x, const A& a) {
    Store(out, x, a.Mean2(S::At(here, x - 1), S::At(here, x + 1)), a.Copy(S::At(here, x)),
          a.Copy(S::At(vertical, x)));
  }
  template <uint32_t kColumnParity>
  static void Edge(const uint8_t* here, const uint8_t* vertical, uint8_t* out, uint32_t x, const A& a) {
    Row::SiteAt(kColumnParity) ? EdgeSite(here, vertical, out, x, a) : EdgeGreen(here, vertical, out, x, a);
  }
  static void EdgePairs(const uint8_t* here, const uint8_t* vertical, uint8_t* out, uint32_t first, uint32_t count,
                        const A& a) {
    for (uint32_t k = first; k < count; ++k) {
      Edge<1>(here, vertical, out, 2 * k + 1, a);
      Edge<0>(here, vertical, out, 2 * k + 2, a);
    }
  }

  // Column 0, or the closing column of an even width, in an interior row;
  // `side` is the column of its one horizontal neighbour.  kUnreducedVertical:
  // a green site takes its vertical colour as the 8-bit mean of the raw
  // samples (the two unreduced deviations).
  template <uint32_t kColumnParity, bool kUnreducedVertical>
  static void SideColumn(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out, uint32_t x,
                         uint32_t side, const A& a) {
    const uint32_t n = S::At(above, x), s = S::At(below, x);
    if constexpr (Row::SiteAt(kColumnParity)) {
      static_assert(!kUnreducedVertical, "the unreduced deviations apply at green sites");
      Store(out, x, a.Copy(S::At(here, x)), a.Mean2(n, s), a.Mean2(S::At(above, side), S::At(below, side)));
    } else {
      const uint32_t vertical = kUnreducedVertical ? UnreducedMean2(n, s) : a.Mean2(n, s);
      Store(out, x, a.Copy(S::At(here, side)), a.Copy(S::At(here, x)), vertical);
    }
  }

  // A corner, with one horizontal neighbour in column `side` and one
  // neighbouring row `vertical`.  kGreenFromOneAhead: a red or blue corner
  // reads the vertical sample of its green one column further right.
  template <uint32_t kColumnParity, bool kGreenFromOneAhead>
  static void Corner(const uint8_t* here, const uint8_t* vertical, uint8_t* out, uint32_t x, uint32_t side,
                     const A& a) {
    if constexpr (Row::SiteAt(kColumnParity)) {
      const uint32_t green = a.Mean2(S::At(here, side), S::At(vertical, kGreenFromOneAhead ? x + 1 : x));
      Store(out, x, a.Copy(S::At(here, x)), green, a.Copy(S::At(vertical, side)));
    } else {
      static_assert(!kGreenFromOneAhead, "the top-right deviation applies at a red or blue site");
      Store(out, x, a.Copy(S::At(here, side)), a.Copy(S::At(here, x)), a.Copy(S::At(vertical, x)));
    }
  }
};

// The walker: the first row, the interior rows (the two row kinds
// alternating), the last row, and the named deviations.  The fast kernel
// does a leading run of each interior row's pairs.
template <class M>
struct AveMed {
  using A = Arith<M::kDepth>;
  template <uint32_t kParity>
  using Row = AveMedRow<M, RowKind<M::kPhase, kParity>>;

  // Column 0 of even interior rows: blue of a green site unreduced.
  static constexpr bool kUnreducedBlue = M::Has(kUnreducedBlueAtColumn0);
  static_assert(!kUnreducedBlue || (RowKind<M::kPhase, 0>::kRed && !RowKind<M::kPhase, 0>::SiteAt(0)),
                "column 0 of even rows must be a green site whose vertical colour is blue");
  // Closing column of odd interior rows: red of a green site unreduced.
  static constexpr bool kUnreducedRed = M::Has(kUnreducedRedAtClosingColumn);
  static_assert(!kUnreducedRed || (!RowKind<M::kPhase, 1>::kRed && !RowKind<M::kPhase, 1>::SiteAt(1)),
                "the closing column of odd rows must be a green site whose vertical colour is red");
  // The row below one sample further right.
  static constexpr bool kReadsBelowOneAhead = M::Has(kBelowRowOneAhead);

  static void Run(const View& src, const View& dst, const A& a, const FastPairs& fast) {
    const uint32_t w = src.width, pairs = (w - 1) / 2;
    {
      const uint8_t *here = src.Line(0), *below = src.Line(1);
      uint8_t* out = dst.Line(0);
      Row<0>::template Corner<0, false>(here, below, out, 0, 1, a);
      Row<0>::EdgePairs(here, below, out, 0, pairs, a);
      // kBelowRowOneAhead: the top-right pixel's green reads one sample past row 1.
      if (w % 2 == 0) Row<0>::template Corner<1, kReadsBelowOneAhead>(here, below, out, w - 1, w - 2, a);
    }
    uint32_t y = 1;
    for (; y + 2 < src.height; y += 2) {
      InteriorRow<1>(src, dst, y, a, fast);
      InteriorRow<0>(src, dst, y + 1, a, fast);
    }
    if (y + 1 < src.height) InteriorRow<1>(src, dst, y, a, fast);
    if ((src.height - 1) % 2 == 0) {
      LastRow<0>(src, dst, a);
    } else {
      LastRow<1>(src, dst, a);
    }
  }

  template <uint32_t kParity>
  static void InteriorRow(const View& src, const View& dst, uint32_t y, const A& a, const FastPairs& fast) {
    const uint32_t w = src.width;
    const uint8_t *above = src.Line(y - 1), *here = src.Line(y), *below = src.Line(y + 1);
    uint8_t* out = dst.Line(y);
    if constexpr (kReadsBelowOneAhead) {
      // kBelowRowOneAhead: odd widths read every sample of the row below one column further right.
      if (w % 2 == 1) below += Sample<M::kDepth>::kBytes;
    }
    Row<kParity>::template SideColumn<0, kUnreducedBlue && kParity == 0>(above, here, below, out, 0, 1, a);
    const uint32_t pairs = (w - 1) / 2;
    const uint32_t done = fast.Run(kParity, {above, here, below}, out, pairs);
    Row<kParity>::InteriorPairs(above, here, below, out, done, pairs, a);
    if (w % 2 == 0) {
      Row<kParity>::template SideColumn<1, kUnreducedRed && kParity == 1>(above, here, below, out, w - 1, w - 2, a);
    }
  }

  template <uint32_t kParity>
  static void LastRow(const View& src, const View& dst, const A& a) {
    const uint32_t w = src.width, y = src.height - 1;
    const uint8_t *here = src.Line(y), *above = src.Line(y - 1);
    uint8_t* out = dst.Line(y);
    Row<kParity>::template Corner<0, false>(here, above, out, 0, 1, a);
    Row<kParity>::EdgePairs(here, above, out, 0, (w - 1) / 2, a);
    if (w % 2 == 0) Row<kParity>::template Corner<1, false>(here, above, out, w - 1, w - 2, a);
  }
};

}  // namespace qvi::bayer
