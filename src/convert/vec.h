// The vector policies of the conversion line kernels.  Pixels<R, W> converts
// a leading run of a line's pixels, Pairs<R, W> a leading run of a packed
// source's pairs (an even number of pixels), and each returns how many
// pixels it did; the portable loop does the rest.  A pair of reader and
// writer without a vector kernel does nothing.
#pragma once

#include <cstdint>

#include "buffer/simd.h"

#if QVI_HAVE_SSE2
#include "convert/rows_sse2.h"
#endif
#if QVI_HAVE_AVX2
#include "convert/rows_avx2.h"
#include "convert/rows_avx512.h"
#endif
#if QVI_HAVE_NEON
#include "convert/rows_neon.h"
#endif

namespace qvi::convert {

struct NoVec {
  static constexpr uint32_t kBlock = 0;
  template <class R, class W>
  static uint32_t Pixels(const uint8_t*, uint8_t*, uint32_t) {
    return 0;
  }
  template <class R, class W>
  static uint32_t Pairs(const uint8_t*, uint8_t*, uint32_t) {
    return 0;
  }
};

// BestVec: the AVX-512 kernel where the route has one and the processor
// has AVX-512, else the AVX2 kernel where the route has one and the
// processor has AVX2, the SSE2 one elsewhere (WalkRoute in lines.h).  On
// 64-bit Arm the NEON kernels.
#if QVI_USE_NEON
using DefaultVec = neon::Vec;
#else
using DefaultVec = QVI_DEFAULT_VEC(sse2::Vec, NoVec);
#endif

}  // namespace qvi::convert
