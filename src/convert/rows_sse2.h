// SSE2 line kernels of the conversions, sixteen pixels a block: grey (8-bit
// and deep) into 8-bit grey and the 24- and 32-bit colour formats, BGR24
// into the other 24-bit, 32-bit, 5:6:5 and 5:5:5 formats, BGRX32 into BGR24,
// and 4:2:2 luma/chroma into the 24- and 32-bit formats.  Each block reads
// and writes exactly the bytes of its pixels (X bytes of colour pixels are
// loaded and stored back unchanged); the portable loop finishes the line.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <type_traits>

#include "buffer/formats.h"
#include "buffer/sse2.h"
#include "convert/line_kernels.h"
#include "convert/readers.h"
#include "convert/writers.h"

namespace qvi::convert::sse2 {

using qvi::sse2::LoadU;
using qvi::sse2::Quads;
using qvi::sse2::StoreU;

inline constexpr uint32_t kBlock = 16;

// Names this set of kernels: each takes it first (see KernelVec).
struct Isa {
  static constexpr uint32_t kBlock = sse2::kBlock;
};

using convert::kBytes24;
using convert::kBytes32;
using convert::kGreySource;
using convert::k555;
using convert::k565;
using convert::kLineKernel;
using convert::LineKernel;

// Sixteen grey values from the pixels at s: Grey8::grey8() or DeepGrey<N>::grey8().
template <class R>
__m128i GreyBytes(const uint8_t* s) {
  if constexpr (std::is_same_v<R, Reader<Fmt::Y8>>) {
    return LoadU(s);
  } else {
    constexpr int kShift = static_cast<int>(R::kSignificantBits) - 8;
    const __m128i mask = _mm_set1_epi16(0x00FF);
    return _mm_packus_epi16(_mm_and_si128(_mm_srli_epi16(LoadU(s), kShift), mask),
                            _mm_and_si128(_mm_srli_epi16(LoadU(s + 16), kShift), mask));
  }
}

// Each grey byte four times: a grey pixel of a 32-bit format (X byte too).
inline Quads GreyQuads(__m128i v) {
  const __m128i lo = _mm_unpacklo_epi8(v, v), hi = _mm_unpackhi_epi8(v, v);
  return {{_mm_unpacklo_epi16(lo, lo), _mm_unpackhi_epi16(lo, lo), _mm_unpacklo_epi16(hi, hi),
           _mm_unpackhi_epi16(hi, hi)}};
}

template <class R, class W>
uint32_t GreyRows(Isa, const uint8_t* s, uint8_t* d, uint32_t w) {
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += kBlock * R::kBytes, d += kBlock * W::kBytes) {
    const __m128i v = GreyBytes<R>(s);
    if constexpr (std::is_same_v<W, Writer<Fmt::Y8>>) {
      StoreU(d, v);
    } else if constexpr (kBytes24<W>) {
      qvi::sse2::Store24(d, GreyQuads(v));
    } else {
      const Quads q = GreyQuads(v);
      for (int i = 0; i < 4; ++i) StoreU(d + 16 * i, q.q[i]);
    }
  }
  return x;
}

// Low 16 bits of eight 32-bit lanes (each below 2^16) in one vector.
inline __m128i Low16(__m128i a, __m128i b) {
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
  if constexpr (k565<W>) {
    return _mm_or_si128(_mm_or_si128(Field<kHigh, 5, 16>(v), Field<8, 6, 11>(v)), Field<kLow, 5, 5>(v));
  } else {
    return _mm_or_si128(_mm_or_si128(Field<kHigh, 5, 15>(v), Field<8, 5, 10>(v)), Field<kLow, 5, 5>(v));
  }
}

template <class W>
uint32_t Bgr24Rows(Isa, const uint8_t* s, uint8_t* d, uint32_t w) {
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += 3 * kBlock, d += kBlock * W::kBytes) {
    Quads q = qvi::sse2::Load24(s);
    if constexpr (kBytes24<W> || kBytes32<W>) {
      if constexpr (W::kRedFirst) {
        for (__m128i& v : q.q) v = qvi::sse2::SwapOuterBytes(v);
      }
      if constexpr (kBytes24<W>) {
        qvi::sse2::Store24(d, q);
      } else {
        qvi::sse2::Store32KeepingX<W::kColourOffset>(d, q);
      }
    } else {
      StoreU(d, Low16(PackedWord<W>(q.q[0]), PackedWord<W>(q.q[1])));
      StoreU(d + 16, Low16(PackedWord<W>(q.q[2]), PackedWord<W>(q.q[3])));
    }
  }
  return x;
}

// FMT_BGRX32 into FMT_BGR24: bytes 0 to 2 written in reverse order.
inline uint32_t ReversedBgrx32Rows(Isa, const uint8_t* s, uint8_t* d, uint32_t w) {
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += 4 * kBlock, d += 3 * kBlock) {
    Quads q;
    for (int i = 0; i < 4; ++i) q.q[i] = qvi::sse2::SwapOuterBytes(LoadU(s + 16 * i));
    qvi::sse2::Store24(d, q);
  }
  return x;
}

// FMT_YUV422 pairs: sixteen pixels from 32 bytes Y0 U Y1 V.
template <class W>
uint32_t Yuv422Rows(Isa, const uint8_t* s, uint8_t* d, uint32_t w) {
  const __m128i low = _mm_set1_epi16(0x00FF), offset = _mm_set1_epi16(128);
  const __m128i to_b = _mm_set1_epi32(1815), to_r = _mm_set1_epi32(1436 << 16), from_g = _mm_set1_epi32(352 | (731 << 16));
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
    const __m128i bb = _mm_packus_epi16(b[0], b[1]), gg = _mm_packus_epi16(g[0], g[1]), rr = _mm_packus_epi16(r[0], r[1]);
    const Quads q = W::kRedFirst ? qvi::sse2::Interleave(rr, gg, bb) : qvi::sse2::Interleave(bb, gg, rr);
    if constexpr (kBytes24<W>) {
      qvi::sse2::Store24(d, q);
    } else {
      qvi::sse2::Store32KeepingX<W::kColourOffset>(d, q);
    }
  }
  return x;
}

using Vec = KernelVec<Isa>;

}  // namespace qvi::convert::sse2
