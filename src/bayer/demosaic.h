// A demosaic member from call to result: the queries, the rows, then the
// method's walker.
#pragma once

#include <cstdint>
#include <type_traits>

#include "bayer/ave_med.h"
#include "bayer/dup.h"
#include "bayer/frame.h"
#include "bayer/member.h"
#include "bayer/pair_kernels.h"
#include "buffer/dispatch.h"
#include "buffer/queries.h"
#include "qvi.h"

namespace qvi::bayer {

// The walker of a member's method.
template <class M>
struct WalkerOf {
  using type = AveMed<M>;
};
template <Depth D, Packing P, Phase F, Deviations X>
struct WalkerOf<Member<D, P, Method::dup, F, X>> {
  using type = Dup<Member<D, P, Method::dup, F, X>>;
};

// The entry point of member M, with the kernels of the best set up to
// `isa`; `bits` is ignored for 8-bit input.
template <class M>
Status Demosaic(BufferHandle source, BufferHandle destination, uint32_t bits, Isa isa = Chosen()) {
  View asked_source, asked_destination;
  if (const Status s = buffer::AskForDemosaic(source, destination, M::kDepth == Depth::BAYn, bits, &asked_source,
                                              &asked_destination);
      s != STATUS_OK) {
    return s;
  }
  View src, dst;
  if (LayOut<M::kDepth, M::kPacking>(asked_source, asked_destination, &src, &dst)) {
    const FastPairs fast{PairKernelsOf(MemberIndex<M>(), isa), bits};
    WalkerOf<M>::type::Run(src, dst, Arith<M::kDepth>(bits), fast);
  }
  return STATUS_OK;
}

}  // namespace qvi::bayer
