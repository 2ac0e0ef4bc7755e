// NEON line kernels of the conversions (64-bit Arm, where NEON is part of
// every processor), sixteen pixels a block: the routes and the arithmetic of
// the SSE2 kernels (see line_kernels.h).  The structure loads and stores
// (vld3/vst3, vld4/vst4) split packed 24- and 32-bit pixels into planes of
// one channel and back; X bytes of colour pixels are loaded and stored back
// unchanged.
#include "buffer/isa_namespace.h"

#include <arm_neon.h>

#include <cstdint>

#include "convert/line_kernels.h"

namespace qvi::convert::QVI_ISA {
namespace {

constexpr uint32_t kBlock = 16;

// Sixteen pixels as planes of their 8-bit channels.
struct Planes {
  uint8x16_t b, g, r;
};

// Sixteen grey values from the pixels at s: the low 8 bits of each reduced
// deep sample, as the portable reader keeps them.
template <class R>
uint8x16_t GreyBytes(const uint8_t* s) {
  if constexpr (R::kBytes == 1) {
    return vld1q_u8(s);
  } else {
    constexpr int kShift = static_cast<int>(R::kSignificantBits) - 8;
    const uint16x8_t lo = vreinterpretq_u16_u8(vld1q_u8(s)), hi = vreinterpretq_u16_u8(vld1q_u8(s + 16));
    return vcombine_u8(vmovn_u16(vshrq_n_u16(lo, kShift)), vmovn_u16(vshrq_n_u16(hi, kShift)));
  }
}

// Sixteen colours written in W's 24- or 32-bit layout; a 32-bit pixel's X
// byte is stored back as it was.
template <class W>
void StoreColours(uint8_t* d, const Planes& c) {
  const uint8x16_t first = W::kRedFirst ? c.r : c.b, last = W::kRedFirst ? c.b : c.r;
  if constexpr (W::kBytes == 3) {
    vst3q_u8(d, uint8x16x3_t{{first, c.g, last}});
  } else {
    uint8x16x4_t q = vld4q_u8(d);
    q.val[W::kColourOffset] = first;
    q.val[W::kColourOffset + 1] = c.g;
    q.val[W::kColourOffset + 2] = last;
    vst4q_u8(d, q);
  }
}

template <class R, class W>
uint32_t GreyRows(const uint8_t* s, uint8_t* d, uint32_t w) {
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += kBlock * R::kBytes, d += kBlock * W::kBytes) {
    const uint8x16_t v = GreyBytes<R>(s);
    if constexpr (W::kBytes == 1) {
      vst1q_u8(d, v);
    } else if constexpr (W::kBytes == 3) {
      vst3q_u8(d, uint8x16x3_t{{v, v, v}});
    } else {
      vst4q_u8(d, uint8x16x4_t{{v, v, v, v}});  // grey fills the X byte too
    }
  }
  return x;
}

// Eight channel values' top `kBits` bits, widened and placed to end at bit
// `kToTop` of a 16-bit word.
template <int kBits, int kToTop>
uint16x8_t Field(uint8x8_t channel) {
  return vshlq_n_u16(vmovl_u8(vshr_n_u8(channel, 8 - kBits)), kToTop - kBits);
}

// Eight colours as the 15- or 16-bit words of W.
template <class W>
uint16x8_t PackedWords(uint8x8_t b, uint8x8_t g, uint8x8_t r) {
  const uint8x8_t high = W::kRedInHighField ? r : b, low = W::kRedInHighField ? b : r;
  if constexpr (W::kGreenBits == 6) {
    return vorrq_u16(vorrq_u16(Field<5, 16>(high), Field<6, 11>(g)), Field<5, 5>(low));
  } else {
    return vorrq_u16(vorrq_u16(Field<5, 15>(high), Field<5, 10>(g)), Field<5, 5>(low));
  }
}

template <class W>
uint32_t Bgr24Rows(const uint8_t* s, uint8_t* d, uint32_t w) {
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += 3 * kBlock, d += kBlock * W::kBytes) {
    const uint8x16x3_t v = vld3q_u8(s);
    const Planes c{v.val[0], v.val[1], v.val[2]};
    if constexpr (W::kBytes != 2) {
      StoreColours<W>(d, c);
    } else {
      vst1q_u16(reinterpret_cast<uint16_t*>(d), PackedWords<W>(vget_low_u8(c.b), vget_low_u8(c.g), vget_low_u8(c.r)));
      vst1q_u16(reinterpret_cast<uint16_t*>(d + 16),
                PackedWords<W>(vget_high_u8(c.b), vget_high_u8(c.g), vget_high_u8(c.r)));
    }
  }
  return x;
}

// FMT_BGRX32 into FMT_BGR24: bytes 0 to 2 written in reverse order.
uint32_t ReversedBgrx32Rows(const uint8_t* s, uint8_t* d, uint32_t w) {
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += 4 * kBlock, d += 3 * kBlock) {
    const uint8x16x4_t v = vld4q_u8(s);
    vst3q_u8(d, uint8x16x3_t{{v.val[2], v.val[1], v.val[0]}});
  }
  return x;
}

// The chroma terms of eight pairs, as the portable reader floors them:
// (1815 u) >> 10, (352 u + 731 v) >> 10 and (1436 v) >> 10.
struct Chroma8 {
  int16x8_t to_b, from_g, to_r;
};
int16x8_t Shifted10(int32x4_t lo, int32x4_t hi) {
  return vcombine_s16(vmovn_s32(vshrq_n_s32(lo, 10)), vmovn_s32(vshrq_n_s32(hi, 10)));
}
Chroma8 ChromaOf(uint8x8_t u8, uint8x8_t v8) {
  const int16x8_t u = vsubq_s16(vreinterpretq_s16_u16(vmovl_u8(u8)), vdupq_n_s16(128));
  const int16x8_t v = vsubq_s16(vreinterpretq_s16_u16(vmovl_u8(v8)), vdupq_n_s16(128));
  const int16x4_t ul = vget_low_s16(u), uh = vget_high_s16(u), vl = vget_low_s16(v), vh = vget_high_s16(v);
  return {Shifted10(vmull_n_s16(ul, 1815), vmull_n_s16(uh, 1815)),
          Shifted10(vmlal_n_s16(vmull_n_s16(ul, 352), vl, 731), vmlal_n_s16(vmull_n_s16(uh, 352), vh, 731)),
          Shifted10(vmull_n_s16(vl, 1436), vmull_n_s16(vh, 1436))};
}

// Eight luma values plus a term, clamped to 0..255.
uint8x8_t Plus(uint8x8_t luma, int16x8_t term) {
  return vqmovun_s16(vaddq_s16(vreinterpretq_s16_u16(vmovl_u8(luma)), term));
}

// FMT_YUV422 pairs: sixteen pixels from 32 bytes Y0 U Y1 V.
template <class W>
uint32_t Yuv422Rows(const uint8_t* s, uint8_t* d, uint32_t w) {
  uint32_t x = 0;
  for (; w - x >= kBlock; x += kBlock, s += 2 * kBlock, d += kBlock * W::kBytes) {
    const uint8x8x4_t v = vld4_u8(s);  // eight pairs: first luma, u, second luma, v
    const Chroma8 c = ChromaOf(v.val[1], v.val[3]);
    const int16x8_t from_g = vnegq_s16(c.from_g);
    // Each channel for the first and the second pixel of every pair, then
    // interleaved into pixel order.
    const uint8x8x2_t b = vzip_u8(Plus(v.val[0], c.to_b), Plus(v.val[2], c.to_b));
    const uint8x8x2_t g = vzip_u8(Plus(v.val[0], from_g), Plus(v.val[2], from_g));
    const uint8x8x2_t r = vzip_u8(Plus(v.val[0], c.to_r), Plus(v.val[2], c.to_r));
    StoreColours<W>(d, Planes{vcombine_u8(b.val[0], b.val[1]), vcombine_u8(g.val[0], g.val[1]),
                              vcombine_u8(r.val[0], r.val[1])});
  }
  return x;
}

struct Kernels {
  static constexpr uint32_t kBlock = QVI_ISA::kBlock;
  template <class R, class W>
  static uint32_t Grey(const uint8_t* s, uint8_t* d, uint32_t w) {
    return GreyRows<R, W>(s, d, w);
  }
  template <class W>
  static uint32_t Bgr24(const uint8_t* s, uint8_t* d, uint32_t w) {
    return Bgr24Rows<W>(s, d, w);
  }
  static uint32_t ReversedBgrx32(const uint8_t* s, uint8_t* d, uint32_t w) { return ReversedBgrx32Rows(s, d, w); }
  template <class W>
  static uint32_t Yuv422(const uint8_t* s, uint8_t* d, uint32_t w) {
    return Yuv422Rows<W>(s, d, w);
  }
};

}  // namespace

const LineKernels kLineKernels = MakeLineKernels<Isa::QVI_ISA, Kernels>();

}  // namespace qvi::convert::QVI_ISA
