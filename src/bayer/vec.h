// The vector policies of the demosaic walkers.  A policy's DupPairs and
// MeanPairs produce a leading run of an interior row's pairs of columns
// (1 + 2k, 2 + 2k), k from 0, and return how many they did; the walker's
// portable pair loop does the rest.  Only interior pairs go through a policy:
// every border and every named deviation stays with the walker.
#pragma once

#include <cstdint>

#include "bayer/sample.h"
#include "buffer/simd.h"

#if QVI_HAVE_SSE2
#include "bayer/rows_sse2.h"
#endif
#if QVI_HAVE_AVX2
#include "bayer/rows_avx2.h"
#endif
#if QVI_HAVE_NEON
#include "bayer/rows_neon.h"
#endif

namespace qvi::bayer {

// Leaves every pair to the portable loop.
struct NoVec {
  template <class M, class Row>
  static uint32_t DupPairs(const uint8_t*, const uint8_t*, uint8_t*, uint32_t, const Arith<M::kDepth>&) {
    return 0;
  }
  template <class M, class Row>
  static uint32_t MeanPairs(const uint8_t*, const uint8_t*, const uint8_t*, uint8_t*, uint32_t,
                            const Arith<M::kDepth>&) {
    return 0;
  }
};

// BestVec: the AVX2 policy where the processor has AVX2, the SSE2 one
// elsewhere (demosaic.h).  On 64-bit Arm the NEON policy.
#if QVI_USE_NEON
using DefaultVec = neon::Vec;
#else
using DefaultVec = QVI_DEFAULT_VEC(sse2::Vec, NoVec);
#endif

}  // namespace qvi::bayer
