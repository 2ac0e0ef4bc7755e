// A demosaic member from call to result: the frame, then the method's walker.
#pragma once

#include <cstdint>
#include <type_traits>

#include "bayer/ave_med.h"
#include "bayer/dup.h"
#include "bayer/frame.h"
#include "bayer/member.h"
#include "bayer/vec.h"
#include "qvi.h"

namespace qvi::bayer {

// The walker of a member's method, with vector policy V.
template <class M, class V>
struct WalkerOf {
  using type = AveMed<M, V>;
};
template <Depth D, Packing P, Phase F, Deviations X, class V>
struct WalkerOf<Member<D, P, Method::dup, F, X>, V> {
  using type = Dup<Member<D, P, Method::dup, F, X>, V>;
};

// Members whose AVX2 kernels store with byte masks where the processor has
// them (avx2::MaskedVec): those with an X byte to keep.  Measured: skipping
// the read of the old pixels pays for every method at both depths.
template <class M>
inline constexpr bool kMaskedStoresPay = M::kPacking == Packing::BGRX32 || M::kPacking == Packing::RGBX32;

template <class M, class V>
void Walk(const Image& image, const Arith<M::kDepth>& a) {
#if QVI_HAVE_AVX2
  if constexpr (std::is_same_v<V, BestVec>) {
    if (CpuHasAvx2()) {
      if (kMaskedStoresPay<M> && CpuHasMaskedStores()) {
        WalkerOf<M, std::conditional_t<kMaskedStoresPay<M>, avx2::MaskedVec, avx2::Vec>>::type::Run(image, a);
      } else {
        WalkerOf<M, avx2::Vec>::type::Run(image, a);
      }
      qvi::avx2::LeaveAvx2();
    } else {
      WalkerOf<M, sse2::Vec>::type::Run(image, a);
    }
    return;
  }
#endif
  if constexpr (!std::is_same_v<V, BestVec>) WalkerOf<M, V>::type::Run(image, a);
}

// The entry point of member M; `bits` is ignored for 8-bit input.
template <class M, class V = DefaultVec>
Status Demosaic(BufferHandle source, BufferHandle destination, uint32_t bits) {
  FrameParams f;
  if (const Status s = QueryFrame<M::kDepth>(source, destination, bits, &f); s != STATUS_OK) return s;
  Image image;
  if (LayOut<M::kDepth, M::kPacking>(f, &image)) Walk<M, V>(image, Arith<M::kDepth>(bits));
  return STATUS_OK;
}

}  // namespace qvi::bayer
