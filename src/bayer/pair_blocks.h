// The demosaic pair kernels of the 128-bit instruction sets (SSE2, NEON),
// written once over their lanes: blocks of 8 pairs (16 pixels, columns
// x .. x + 15 with x = 2k + 1), the same arithmetic as the portable pair loop
// lane by lane.
//
// Every neighbour is an unaligned load at an offset of one sample, so a block
// reads exactly the samples its pairs read in the portable loop (up to one
// past its last pixel) and writes exactly its pixels' bytes.  Lanes alternate
// between the two site kinds of the row, so each colour is computed both
// ways and chosen per lane by a constant mask.
//
// An instruction set supplies lanes (L): the vector type V, At (the samples
// from a column), Select, EvenLanes and OddLanes, Usable, and Copy, Mean2,
// Mean4 and Med4 with the arithmetic of Arith; and an Isa: LanesOf<D>, the
// wrapping word lanes for byte packings (WrappingLanes), Bytes16 and Words16
// (sixteen pixels' channels in 8-bit lanes, or 16-bit lanes in two halves)
// and Put<P>, the Packer<P>::Store of sixteen pixels.
#pragma once

#include <cstdint>

#include "bayer/member.h"
#include "bayer/pack.h"
#include "bayer/sample.h"

namespace qvi::bayer::lanes {

// One vector of pixels as the row's colour, green and the other colour.
template <class V>
struct Triple {
  V row, green, other;
};

// The rules of the interior pairs for the pixels x .. x + kLanes - 1.
template <class M, class Row, class L>
struct PairRules {
  using V = typename L::V;
  // Lanes holding the row's red or blue samples.
  static V Sites() { return Row::SiteAt(1) ? L::EvenLanes() : L::OddLanes(); }

  static Triple<V> Dup(const L& l, const uint8_t* here, const uint8_t* other, uint32_t x) {
    const V sites = Sites();
    const V h = L::At(here, x), left = L::At(here, x - 1);
    const V o = L::At(other, x), o_left = L::At(other, x - 1);
    return {l.Copy(L::Select(sites, h, left)), l.Copy(L::Select(sites, left, h)), l.Copy(L::Select(sites, o_left, o))};
  }

  static Triple<V> Mean(const L& l, const uint8_t* above, const uint8_t* here, const uint8_t* below, uint32_t x) {
    const V sites = Sites();
    const V n = L::At(above, x), s = L::At(below, x);
    const V w = L::At(here, x - 1), h = L::At(here, x), e = L::At(here, x + 1);
    const V nw = L::At(above, x - 1), ne = L::At(above, x + 1);
    const V sw = L::At(below, x - 1), se = L::At(below, x + 1);
    V green, diagonal;
    if constexpr (M::kMethod == Method::med) {
      green = l.Med4(n, w, s, e);
      diagonal = l.Med4(nw, ne, sw, se);
    } else {
      green = l.Mean4(n, s, w, e);
      diagonal = l.Mean4(nw, ne, sw, se);
    }
    return {L::Select(sites, l.Copy(h), l.Mean2(w, e)), L::Select(sites, green, l.Copy(h)),
            L::Select(sites, diagonal, l.Mean2(n, s))};
  }
};

template <class Row, class V>
void Assign(const Triple<V>& t, V* r, V* g, V* b) {
  *g = t.green;
  *r = Row::kRed ? t.row : t.other;
  *b = Row::kRed ? t.other : t.row;
}

// The policy the walkers call.
template <class Isa>
struct PairBlocks {
  template <class M, class Row>
  static uint32_t DupPairs(const uint8_t* here, const uint8_t* other, uint8_t* out, uint32_t count,
                           const Arith<M::kDepth>& a) {
    using L = typename Isa::template LanesOf<M::kDepth>;
    return Blocks<M, Row, L>(count, a, out,
                             [&](const L& l, uint32_t x) { return PairRules<M, Row, L>::Dup(l, here, other, x); });
  }

  template <class M, class Row>
  static uint32_t MeanPairs(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out,
                            uint32_t count, const Arith<M::kDepth>& a) {
    if constexpr (M::kDepth == Depth::BAYn && kByteChannels<M::kPacking>) {
      using Wrapping = typename Isa::WrappingLanes;
      if (Wrapping::Usable(a)) return MeanBlocks<M, Row, Wrapping>(above, here, below, out, count, a);
    }
    return MeanBlocks<M, Row, typename Isa::template LanesOf<M::kDepth>>(above, here, below, out, count, a);
  }

 private:
  static constexpr uint32_t kPairsPerBlock = 8;

  template <class M, class Row, class L>
  static uint32_t MeanBlocks(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out,
                             uint32_t count, const Arith<M::kDepth>& a) {
    return Blocks<M, Row, L>(count, a, out, [&](const L& l, uint32_t x) {
      return PairRules<M, Row, L>::Mean(l, above, here, below, x);
    });
  }

  // Whole blocks of pairs from pair 0 while they last; returns the pairs done.
  template <class M, class Row, class L, class Rules>
  static uint32_t Blocks(uint32_t count, const Arith<M::kDepth>& a, uint8_t* out, Rules rules) {
    if (!L::Usable(a)) return 0;
    const L l(a);
    uint32_t k = 0;
    for (; count - k >= kPairsPerBlock; k += kPairsPerBlock) {
      const uint32_t x = 2 * k + 1;
      uint8_t* d = out + uint64_t{x} * Packer<M::kPacking>::kBytes;
      if constexpr (L::kLanes == 16) {
        typename Isa::Bytes16 v;
        Assign<Row>(rules(l, x), &v.r, &v.g, &v.b);
        Isa::template Put<M::kPacking>(d, v);
      } else {
        typename Isa::Words16 v;
        Assign<Row>(rules(l, x), &v.r[0], &v.g[0], &v.b[0]);
        Assign<Row>(rules(l, x + 8), &v.r[1], &v.g[1], &v.b[1]);
        Isa::template Put<M::kPacking>(d, v);
      }
    }
    return k;
  }
};

}  // namespace qvi::bayer::lanes
