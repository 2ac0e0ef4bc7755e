// The fast pair kernels of the demosaic members: the table each instruction
// set's rows_<set>.cpp fills, and the choice of a member's kernels.
//
// A pair kernel produces a leading run of an interior row's pairs of columns
// (1 + 2k, 2 + 2k), k from 0, and returns how many it did; the walker's
// portable pair loop does the rest.  Only interior pairs go through a
// kernel: every border and every named deviation stays with the walker, so
// a member's kernels are those of its depth, packing, method and phase.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "bayer/member.h"
#include "buffer/dispatch.h"

namespace qvi::bayer {

// The source rows around an output row: dup reads `here` and `other`, the
// row completing its 2x2 blocks (the row above; for row 0 the row below);
// ave and med read `above`, `here` and `below`.
struct SourceRows {
  const uint8_t* above;
  const uint8_t* here;
  const uint8_t* below;
  const uint8_t* other() const { return above; }
};

// `bits` as the entry point took it (ignored for 8-bit input).
using PairKernel = uint32_t (*)(const SourceRows& rows, uint8_t* out, uint32_t pairs, uint32_t bits);

// A member's kernels, for its rows of parity 0 and 1.
struct MemberKernels {
  PairKernel rows[2] = {};
};

// Every member of members.def, in its order, by what its kernels depend on.
struct MemberKey {
  Depth depth;
  Packing packing;
  Method method;
  Phase phase;
};
inline constexpr MemberKey kMemberKeys[] = {
#define QVI_MEMBER(depth, packing, method, phase, deviations) \
  {Depth::depth, Packing::packing, Method::method, Phase::phase},
#include "bayer/members.def"
#undef QVI_MEMBER
};
inline constexpr size_t kMemberCount = std::size(kMemberKeys);

// The place in members.def of M's depth, packing, method and phase.
template <class M>
constexpr size_t MemberIndex() {
  for (size_t i = 0; i < kMemberCount; ++i) {
    const MemberKey& k = kMemberKeys[i];
    if (k.depth == M::kDepth && k.packing == M::kPacking && k.method == M::kMethod && k.phase == M::kPhase) return i;
  }
  return kMemberCount;
}

// The sets with kernels for a packing: SSE2, AVX2 and NEON for all; the
// packings with an X byte to keep also AVX2's kernels with AVX-512
// byte-masked stores (measured: skipping the read of the old pixels pays
// for every method at both depths).
constexpr IsaSet KernelSetsOf(Packing p) {
  const IsaSet base{Isa::sse2, Isa::avx2, Isa::neon};
  return p == Packing::BGRX32 || p == Packing::RGBX32 ? base | IsaSet{Isa::avx512bw} : base;
}

using PairKernelTable = std::array<MemberKernels, kMemberCount>;

// Each set's table, defined in its rows_<set>.cpp.
QVI_DECLARE_PER_SET(PairKernelTable, kPairKernels)

// The kernels of member `member` in the best set of its sets up to `isa`
// (null: the portable loop alone).
const MemberKernels* PairKernelsOf(size_t member, Isa isa);

// A member's kernels for one call, `bits` as its entry point took them.
struct FastPairs {
  const MemberKernels* kernels = nullptr;
  uint32_t bits = 0;
  // Pairs done of a row of kind `parity`.
  uint32_t Run(uint32_t parity, const SourceRows& rows, uint8_t* out, uint32_t pairs) const {
    return kernels != nullptr ? kernels->rows[parity](rows, out, pairs, bits) : 0;
  }
};

// A set's table from its kernels K (K::Pairs<M, Row>, the kernel of
// member M's rows of kind Row), for the members whose sets have kIsa.
// Instantiated in each rows_<set>.cpp, where K lives in the set's namespace.
template <Isa kIsa, class K, size_t I>
constexpr MemberKernels KernelsOfMember() {
  constexpr MemberKey k = kMemberKeys[I];
  using M = Member<k.depth, k.packing, k.method, k.phase, kNone>;
  if constexpr (KernelSetsOf(k.packing).Has(kIsa)) {
    return {{&K::template Pairs<M, RowKind<k.phase, 0>>, &K::template Pairs<M, RowKind<k.phase, 1>>}};
  } else {
    return {};
  }
}

template <Isa kIsa, class K>
constexpr PairKernelTable MakePairKernels() {
  return []<size_t... I>(std::index_sequence<I...>) {
    return PairKernelTable{KernelsOfMember<kIsa, K, I>()...};
  }(std::make_index_sequence<kMemberCount>{});
}

}  // namespace qvi::bayer
