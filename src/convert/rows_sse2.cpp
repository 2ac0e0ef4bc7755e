// SSE2 line kernels of the conversions, sixteen pixels a block (see
// line_kernels.h).  X bytes of colour pixels are loaded and stored back
// unchanged.
#include <emmintrin.h>

#include <cstdint>
#include <type_traits>

#include "buffer/x86_128.h"
#include "convert/line_kernels.h"

namespace qvi::convert::QVI_ISA {
namespace {

using namespace qvi::QVI_ISA::v128;

constexpr uint32_t kBlock = 16;

// Sixteen grey values from the pixels at s: Grey8::grey8() or DeepGrey<N>::grey8().
template <class R>
__m128i GreyBytes(const uint8_t* s) {
  if constexpr (R::kBytes == 1) {
    return LoadU(s);
  } else {
    constexpr int kShift = static_cast<int>(R::kSignificantBits) - 8;
    const __m128i mask = _mm_set1_epi16(0x00FF);
    return _mm_packus_epi16(_mm_and_si128(_mm_srli_epi16(LoadU(s), kShift), mask),
                            _mm_and_si128(_mm_srli_epi16(LoadU(s + 16), kShift), mask));
  }
}

// Each grey byte four times: a grey pixel of a 32-bit format (X byte too).
Quads GreyQuads(__m128i v) {
  const __m128i lo = _mm_unpacklo_epi8(v, v), hi = _mm_unpackhi_epi8(v, v);
  return {{_mm_unpacklo_epi16(lo, lo), _mm_unpackhi_epi16(lo, lo), _mm_unpacklo_epi16(hi, hi),
           _mm_unpackhi_epi16(hi, hi)}};
}

// Low 16 bits of eight 32-bit lanes (each below 2^16) in one vector.
__m128i Low16(__m128i a, __m128i b) {
  return _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(a, 16), 16), _mm_srai_epi32(_mm_slli_epi32(b, 16), 16));
}

// Field `bits` wide from the channel at bit `from` of a pixel (b 0, g 8,
// r 16), its top bits kept, placed to end at bit `to_top`.
template <int kFrom, int kBits, int kToTop>
__m128i Field(__m128i v) {
  constexpr int kShift = kFrom + 8 - kToTop;  // right shift bringing the channel's top to kToTop
  constexpr uint32_t kMask = ((1u << kBits) - 1u) << (kToTop - kBits);
  const __m128i shifted = kShift >= 0 ? _mm_srli_epi32(v, kShift) : _mm_slli_epi32(v, -kShift);
  return _mm_and_si128(shifted, _mm_set1_epi32(static_cast<int>(kMask)));
}

// A BGR24 pixel (b | g << 8 | r << 16) as the 15- or 16-bit word of W.
template <class W>
__m128i PackedWord(__m128i v) {
  constexpr int kHigh = W::kRedInHighField ? 16 : 0, kLow = W::kRedInHighField ? 0 : 16;
  constexpr int kGreen = static_cast<int>(W::kGreenBits);
  return _mm_or_si128(_mm_or_si128(Field<kHigh, 5, 10 + kGreen>(v), Field<8, kGreen, 5 + kGreen>(v)),
                      Field<kLow, 5, 5>(v));
}

struct Kernels {
  static constexpr uint32_t kBlock = QVI_ISA::kBlock;

  template <class R, class W>
  static uint32_t Grey(const uint8_t* s, uint8_t* d, uint32_t w) {
    uint32_t x = 0;
    for (; w - x >= kBlock; x += kBlock, s += kBlock * R::kBytes, d += kBlock * W::kBytes) {
      const __m128i v = GreyBytes<R>(s);
      if constexpr (W::kBytes == 1) {
        StoreU(d, v);
      } else if constexpr (W::kBytes == 3) {
        Store24(d, GreyQuads(v));
      } else {
        const Quads q = GreyQuads(v);
        for (int i = 0; i < 4; ++i) StoreU(d + 16 * i, q.q[i]);
      }
    }
    return x;
  }

  template <class W>
  static uint32_t Bgr24(const uint8_t* s, uint8_t* d, uint32_t w) {
    uint32_t x = 0;
    for (; w - x >= kBlock; x += kBlock, s += 3 * kBlock, d += kBlock * W::kBytes) {
      Quads q = Load24(s);
      if constexpr (W::kBytes == 2) {
        StoreU(d, Low16(PackedWord<W>(q.q[0]), PackedWord<W>(q.q[1])));
        StoreU(d + 16, Low16(PackedWord<W>(q.q[2]), PackedWord<W>(q.q[3])));
      } else {
        if constexpr (W::kRedFirst) {
          for (__m128i& v : q.q) v = SwapOuterBytes(v);
        }
        if constexpr (W::kBytes == 3) {
          Store24(d, q);
        } else {
          Store32KeepingX<W::kColourOffset>(d, q);
        }
      }
    }
    return x;
  }

  // Bytes 0 to 2 written in reverse order.
  static uint32_t ReversedBgrx32(const uint8_t* s, uint8_t* d, uint32_t w) {
    uint32_t x = 0;
    for (; w - x >= kBlock; x += kBlock, s += 4 * kBlock, d += 3 * kBlock) {
      Quads q;
      for (int i = 0; i < 4; ++i) q.q[i] = SwapOuterBytes(LoadU(s + 16 * i));
      Store24(d, q);
    }
    return x;
  }

  // Sixteen pixels from 32 bytes Y0 U Y1 V.
  template <class W>
  static uint32_t Yuv422(const uint8_t* s, uint8_t* d, uint32_t w) {
    const __m128i low = _mm_set1_epi16(0x00FF), offset = _mm_set1_epi16(128);
    const __m128i to_b = _mm_set1_epi32(1815), to_r = _mm_set1_epi32(1436 << 16);
    const __m128i from_g = _mm_set1_epi32(352 | (731 << 16));
    uint32_t x = 0;
    for (; w - x >= kBlock; x += kBlock, s += 2 * kBlock, d += kBlock * W::kBytes) {
      __m128i r[2], g[2], b[2];
      __m128i chroma_b[2], chroma_g[2], chroma_r[2];
      __m128i luma[2];
      for (int i = 0; i < 2; ++i) {
        const __m128i v = LoadU(s + 16 * i);
        luma[i] = _mm_and_si128(v, low);
        const __m128i uv = _mm_sub_epi16(_mm_srli_epi16(v, 8), offset);  // u, v of four pairs
        chroma_b[i] = _mm_srai_epi32(_mm_madd_epi16(uv, to_b), 10);     // (1815 u) >> 10
        chroma_g[i] = _mm_srai_epi32(_mm_madd_epi16(uv, from_g), 10);   // (352 u + 731 v) >> 10
        chroma_r[i] = _mm_srai_epi32(_mm_madd_epi16(uv, to_r), 10);     // (1436 v) >> 10
      }
      // Eight pairs' chroma in 16-bit lanes, then each twice, once per pixel.
      const __m128i cb = _mm_packs_epi32(chroma_b[0], chroma_b[1]);
      const __m128i cg = _mm_packs_epi32(chroma_g[0], chroma_g[1]);
      const __m128i cr = _mm_packs_epi32(chroma_r[0], chroma_r[1]);
      const __m128i cbs[2] = {_mm_unpacklo_epi16(cb, cb), _mm_unpackhi_epi16(cb, cb)};
      const __m128i cgs[2] = {_mm_unpacklo_epi16(cg, cg), _mm_unpackhi_epi16(cg, cg)};
      const __m128i crs[2] = {_mm_unpacklo_epi16(cr, cr), _mm_unpackhi_epi16(cr, cr)};
      for (int i = 0; i < 2; ++i) {
        b[i] = _mm_add_epi16(luma[i], cbs[i]);
        g[i] = _mm_sub_epi16(luma[i], cgs[i]);
        r[i] = _mm_add_epi16(luma[i], crs[i]);
      }
      // Clamped to 0..255 by the saturating pack.
      const __m128i bb = _mm_packus_epi16(b[0], b[1]), gg = _mm_packus_epi16(g[0], g[1]);
      const __m128i rr = _mm_packus_epi16(r[0], r[1]);
      const Quads q = W::kRedFirst ? Interleave(rr, gg, bb) : Interleave(bb, gg, rr);
      if constexpr (W::kBytes == 3) {
        Store24(d, q);
      } else {
        Store32KeepingX<W::kColourOffset>(d, q);
      }
    }
    return x;
  }
};

}  // namespace

const LineKernels kLineKernels = MakeLineKernels<Isa::QVI_ISA, Kernels>();

}  // namespace qvi::convert::QVI_ISA
