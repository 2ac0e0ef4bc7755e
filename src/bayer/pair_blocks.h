// The demosaic pair kernels of every instruction set, written once over the
// set's lanes: blocks of pairs (columns x .. x + n - 1 with x = 2k + 1, n the
// bytes of one vector), the same arithmetic as the portable pair loop lane
// by lane.
//
// Every neighbour is an unaligned load at an offset of one sample, so a block
// reads exactly the samples its pairs read in the portable loop (up to one
// past its last pixel) and writes exactly its pixels' bytes.  Lanes alternate
// between the two site kinds of the row, so each colour is computed both
// ways and chosen per lane by a constant mask.
//
// A set supplies lanes L: the vector type V, kLanes, At (the samples from a
// column), Select, EvenLanes and OddLanes, Usable, and Copy, Mean2, Mean4
// and Med4 with the arithmetic of Arith; and a target T: LanesOf<D>, the
// wrapping word lanes for byte packings (WrappingLanes), kVectorBytes,
// Put<P> (the Packer<P>::Store of one block of pixels), whether a row's
// last block overlaps the one before (kLastBlockOverlaps) and how far ahead
// the kernels ask for the source row their line brings in
// (kNewRowPrefetchBytes).
#pragma once

#include "buffer/isa_namespace.h"

#include <cstdint>
#include <type_traits>

#include "bayer/member.h"
#include "bayer/pack.h"
#include "bayer/pair_kernels.h"
#include "bayer/sample.h"

namespace qvi::bayer::QVI_ISA {

// One vector of pixels as the row's colour, green and the other colour.
template <class L>
struct Triple {
  typename L::V row, green, other;
};

// One block of pixels' channel values in lanes L: a vector of each (byte
// lanes), or two halves of each (word lanes).
template <class L, int kHalves>
struct Block {
  typename L::V r[kHalves], g[kHalves], b[kHalves];
};

// The rules of the interior pairs for the pixels x .. x + kLanes - 1.
template <class M, class Row, class L>
struct PairRules {
  using V = typename L::V;
  // Lanes holding the row's red or blue samples.
  static V Sites() { return Row::SiteAt(1) ? L::EvenLanes() : L::OddLanes(); }

  static Triple<L> Dup(const L& l, const uint8_t* here, const uint8_t* other, uint32_t x) {
    const V sites = Sites();
    const V h = L::At(here, x), left = L::At(here, x - 1);
    const V o = L::At(other, x), o_left = L::At(other, x - 1);
    return {l.Copy(L::Select(sites, h, left)), l.Copy(L::Select(sites, left, h)), l.Copy(L::Select(sites, o_left, o))};
  }

  static Triple<L> Mean(const L& l, const uint8_t* above, const uint8_t* here, const uint8_t* below, uint32_t x) {
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

// The kernels of one target: K::Pairs<M, Row> of pair_kernels.h.
template <class T>
struct PairBlocks {
  template <class M, class Row>
  static uint32_t Pairs(const SourceRows& rows, uint8_t* out, uint32_t count, uint32_t bits) {
    const Arith<M::kDepth> a(bits);
    if constexpr (M::kMethod == Method::dup) {
      using L = typename T::template LanesOf<M::kDepth>;
      return Blocks<M, Row, L>(count, a, out, [&rows](const L& l, uint32_t x) __attribute__((always_inline)) {
        // Measured: asking ahead pays for rows of 16-bit samples and costs rows of 8-bit ones.
        if constexpr (M::kDepth == Depth::BAYn) AskAhead<M>(rows.here, x);
        return PairRules<M, Row, L>::Dup(l, rows.here, rows.other(), x);
      });
    } else {
      if constexpr (M::kDepth == Depth::BAYn && kByteChannels<M::kPacking>) {
        using Wrapping = typename T::WrappingLanes;
        if (Wrapping::Usable(a)) return MeanBlocks<M, Row, Wrapping>(rows, out, count, a);
      }
      return MeanBlocks<M, Row, typename T::template LanesOf<M::kDepth>>(rows, out, count, a);
    }
  }

 private:
  static constexpr uint32_t kPairsPerBlock = T::kVectorBytes / 2;

  // Asks for `row`, the source row no earlier line has read (dup: the row
  // itself, whose other row is the one above; mean and median: the row
  // below), ahead of column x.
  template <class M>
  [[gnu::always_inline]] static void AskAhead(const uint8_t* row, uint32_t x) {
    if constexpr (T::kNewRowPrefetchBytes > 0) {
      T::Prefetch(row + Sample<M::kDepth>::kBytes * uint64_t{x} + T::kNewRowPrefetchBytes);
    }
  }

  template <class M, class Row, class L>
  static uint32_t MeanBlocks(const SourceRows& rows, uint8_t* out, uint32_t count, const Arith<M::kDepth>& a) {
    const auto rules = [&rows](const L& l, uint32_t x) __attribute__((always_inline)) {
      AskAhead<M>(rows.below, x);
      return PairRules<M, Row, L>::Mean(l, rows.above, rows.here, rows.below, x);
    };
    return Blocks<M, Row, L>(count, a, out, rules);
  }

  // Whole blocks of pairs from pair 0 while they last; returns the pairs
  // done.  With kLastBlockOverlaps, a row with pairs left over and at least
  // one whole block gets one more block ending at the last pair, which
  // rewrites some pixels with the values they already have (each depends on
  // the source alone) and reads nothing those pairs would not.
  template <class M, class Row, class L, class Rules>
  static uint32_t Blocks(uint32_t count, const Arith<M::kDepth>& a, uint8_t* out, Rules rules) {
    if (!L::Usable(a)) return 0;
    const L l(a);
    constexpr int kHalves = static_cast<int>(T::kVectorBytes / L::kLanes);
    const auto block = [&](uint32_t k) __attribute__((always_inline)) {
      const uint32_t x = 2 * k + 1;
      Block<L, kHalves> v;
      for (int half = 0; half < kHalves; ++half) {
        const Triple<L> t = rules(l, x + half * L::kLanes);
        v.g[half] = t.green;
        v.r[half] = Row::kRed ? t.row : t.other;
        v.b[half] = Row::kRed ? t.other : t.row;
      }
      T::template Put<M::kPacking>(out + uint64_t{x} * Packer<M::kPacking>::kBytes, v);
    };
    uint32_t k = 0;
    for (; count - k >= kPairsPerBlock; k += kPairsPerBlock) block(k);
    if constexpr (T::kLastBlockOverlaps) {
      if (k < count && count >= kPairsPerBlock) {
        block(count - kPairsPerBlock);
        return count;
      }
    }
    return k;
  }
};

// The target of a 128-bit set: a block is sixteen pixels, 16 lanes of
// 8-bit samples or 8 of 16-bit ones; whole blocks only, nothing asked for
// ahead.  Its stores come from the set's primitives O: for 8-bit lanes
// (O::Bytes) and 16-bit ones (O::Words), Word565(hi, g, lo) and StoreWords
// for the 5:6:5 words, LowBytes and Widen between the two, Store24 and
// Store32KeepingX of three channel planes in byte order.
template <class ByteLanes, template <bool kWrapping> class WordLanes, class O>
struct Target128 {
  template <Depth D>
  using LanesOf = std::conditional_t<D == Depth::BAY8, ByteLanes, WordLanes<false>>;
  using WrappingLanes = WordLanes<true>;
  static constexpr uint32_t kVectorBytes = 16;
  static constexpr bool kLastBlockOverlaps = false;
  static constexpr uint32_t kNewRowPrefetchBytes = 0;
  static void Prefetch(const uint8_t*) {}

  // Packer<P>::Store for sixteen pixels.
  template <Packing P, class L, int kHalves>
  static void Put(uint8_t* out, const Block<L, kHalves>& v) {
    if constexpr (kHalves == 2) {
      PutWords<P>(out, v.r, v.g, v.b);
    } else {
      PutBytes<P>(out, v.r[0], v.g[0], v.b[0]);
    }
  }

 private:
  using B = typename O::Bytes;
  using W = typename O::Words;

  template <Packing P>
  static void PutWords(uint8_t* out, const W* r, const W* g, const W* b) {
    if constexpr (P == Packing::RGB16 || P == Packing::BGR16) {
      for (int i = 0; i < 2; ++i) {
        O::StoreWords(out + 16 * i, P == Packing::RGB16 ? O::Word565(r[i], g[i], b[i]) : O::Word565(b[i], g[i], r[i]));
      }
    } else {
      PutBytes<P>(out, O::LowBytes(r[0], r[1]), O::LowBytes(g[0], g[1]), O::LowBytes(b[0], b[1]));
    }
  }
  template <Packing P>
  static void PutBytes(uint8_t* out, B r, B g, B b) {
    if constexpr (P == Packing::RGB16 || P == Packing::BGR16) {
      W rw[2], gw[2], bw[2];
      O::Widen(r, rw), O::Widen(g, gw), O::Widen(b, bw);
      PutWords<P>(out, rw, gw, bw);
    } else if constexpr (P == Packing::BGR24) {
      O::Store24(out, b, g, r);
    } else if constexpr (P == Packing::BGRX32) {
      O::Store32KeepingX(out, b, g, r);
    } else {
      static_assert(P == Packing::RGBX32);
      O::Store32KeepingX(out, r, g, b);
    }
  }
};

}  // namespace qvi::bayer::QVI_ISA
