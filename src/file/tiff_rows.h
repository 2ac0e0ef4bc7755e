// Row kernels of the TIFF strip: `n` pixels from memory to file order.
#pragma once

#include <cstdint>
#include <cstring>

#include "buffer/memory.h"
#include "buffer/simd.h"

#if QVI_HAVE_SSE2
#include "buffer/sse2.h"
#endif
#if QVI_HAVE_AVX2
#include "buffer/avx2.h"
#endif
#if QVI_HAVE_NEON
#include <arm_neon.h>
#endif

namespace qvi::file::tiff {

// Vector policies: a leading run of a row's pixels, returning how many.
struct NoVec {
  static uint32_t ReverseTriplets(uint8_t*, const uint8_t*, uint32_t) { return 0; }
};

#if QVI_HAVE_SSE2
namespace sse2 {
struct Vec {
  // Sixteen pixels a block: bytes 0 and 2 of each exchanged.
  static uint32_t ReverseTriplets(uint8_t* out, const uint8_t* in, uint32_t n) {
    uint32_t i = 0;
    for (; n - i >= 16; i += 16, in += 48, out += 48) {
      qvi::sse2::Quads q = qvi::sse2::Load24(in);
      for (__m128i& v : q.q) v = qvi::sse2::SwapOuterBytes(v);
      qvi::sse2::Store24(out, q);
    }
    return i;
  }
};
}  // namespace sse2
#endif

#if QVI_HAVE_AVX2
namespace avx2 {
struct Vec {
  // Thirty-two pixels a block: bytes 0 and 2 of each exchanged on the way in.
  QVI_AVX2 static uint32_t ReverseTriplets(uint8_t* out, const uint8_t* in, uint32_t n) {
    uint32_t i = 0;
    for (; n - i >= 32; i += 32, in += 96, out += 96) qvi::avx2::Store24(out, qvi::avx2::Load24<true>(in));
    return i;
  }
};
}  // namespace avx2
#endif

#if QVI_HAVE_NEON
namespace neon {
struct Vec {
  // Sixteen pixels a block: the three channel planes stored in reverse order.
  static uint32_t ReverseTriplets(uint8_t* out, const uint8_t* in, uint32_t n) {
    uint32_t i = 0;
    for (; n - i >= 16; i += 16, in += 48, out += 48) {
      const uint8x16x3_t v = vld3q_u8(in);
      vst3q_u8(out, uint8x16x3_t{{v.val[2], v.val[1], v.val[0]}});
    }
    return i;
  }
};
}  // namespace neon
#endif

#if QVI_USE_SSE2
using DefaultVec = sse2::Vec;
#elif QVI_USE_NEON
using DefaultVec = neon::Vec;
#else
using DefaultVec = NoVec;
#endif

struct Grey8Row {
  static constexpr bool kFileOrderIsMemoryOrder = true;
  static constexpr uint32_t kBytesPerPixel = 1;
  static constexpr uint32_t kGapRounding = 1;
  static void Convert(uint8_t* out, const uint8_t* in, uint32_t n) { std::memcpy(out, in, n); }
};

template <class V = DefaultVec>
struct ReversedTripletRow {
  static constexpr bool kFileOrderIsMemoryOrder = false;
  static constexpr uint32_t kBytesPerPixel = 3;
  static constexpr uint32_t kGapRounding = 1;
  static void Convert(uint8_t* out, const uint8_t* in, uint32_t n) {
    const uint32_t done = V::ReverseTriplets(out, in, n);
    in += 3 * uint64_t{done};
    out += 3 * uint64_t{done};
    for (uint32_t i = done; i < n; ++i, in += 3, out += 3) {
      out[0] = in[2];
      out[1] = in[1];
      out[2] = in[0];
    }
  }
};

struct Grey16BigEndianRow {
  static constexpr bool kFileOrderIsMemoryOrder = false;
  static constexpr uint32_t kBytesPerPixel = 2;
  static constexpr uint32_t kGapRounding = 2;
  static void Convert(uint8_t* out, const uint8_t* in, uint32_t n) {
    for (uint32_t i = 0; i < n; ++i, in += 2, out += 2) {
      const uint32_t sample = Load16(in);
      out[0] = static_cast<uint8_t>(sample >> 8);
      out[1] = static_cast<uint8_t>(sample);
    }
  }
};

}  // namespace qvi::file::tiff
