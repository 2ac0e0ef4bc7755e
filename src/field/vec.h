// The vector policies of the de-interlacing rows.  Each call does a leading
// run of a row's bytes from the given index and returns where it stopped;
// the portable loop goes on from there.  (field_rows.h brings in the SSE2
// and NEON policies after its own definitions, which those policies use.)
#pragma once

#include <cstdint>

#include "buffer/simd.h"

#if QVI_HAVE_AVX2
#include "buffer/avx2.h"
#endif

namespace qvi::field {

struct NoVec {
  template <class Op>
  static uint32_t Interior(const uint8_t*, const uint8_t*, uint8_t*, uint32_t i, uint32_t, uint32_t) {
    return i;
  }
  template <class Op>
  static uint32_t Interior422(const uint8_t*, const uint8_t*, uint8_t*, uint32_t i, uint32_t) {
    return i;
  }
  static uint32_t Mean(const uint8_t*, const uint8_t*, uint8_t*, uint32_t) { return 0; }
};

namespace sse2 {
struct Vec;
}
namespace avx2 {
struct Vec;
}
namespace neon {
struct Vec;
}

// The policy of builds without AVX2 (and of 64-bit Arm).
#if QVI_USE_SSE2
using BaselineVec = sse2::Vec;
#elif QVI_USE_NEON
using BaselineVec = neon::Vec;
#else
using BaselineVec = NoVec;
#endif

// Runs body.template operator()<V>() with the policy for this call: AVX2
// where the processor has it, the baseline elsewhere.
template <class Body>
decltype(auto) WithBestVec(Body body) {
#if QVI_USE_AVX2
  if (CpuHasAvx2()) {
    decltype(auto) result = body.template operator()<avx2::Vec>();
    qvi::avx2::LeaveAvx2();
    return result;
  }
#endif
  return body.template operator()<BaselineVec>();
}

}  // namespace qvi::field
