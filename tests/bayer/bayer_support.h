// Test support for the demosaic family: the members as data, a reference
// model of every member, and images made for them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "bayer/member.h"
#include "support/image.h"

namespace qvi::test {

using bayer::Depth;
using bayer::Method;
using bayer::Packing;
using bayer::Phase;

struct MemberInfo {
  std::string name;
  Depth depth;
  Packing packing;
  Method method;
  Phase phase;
  Status (*call)(BufferHandle source, BufferHandle destination, uint32_t bits);  // bits ignored for BAY8
};

// Every exported member, in export order.
inline const std::vector<MemberInfo>& Members() {
  static const std::vector<MemberInfo> members = {
#define QVI_MEMBER(depth, packing, method, phase, deviations) QVI_INFO_##depth(packing, method, phase)
#define QVI_INFO_BAY8(P, M, F)                                                       \
  {"QVI_BAY8_to_" #P "_" #M "_" #F, Depth::BAY8, Packing::P, Method::M, Phase::F, \
   [](BufferHandle s, BufferHandle d, uint32_t) { return QVI_BAY8_to_##P##_##M##_##F(s, d); }},
#define QVI_INFO_BAYn(P, M, F) \
  {"QVI_BAYn_to_" #P "_" #M "_" #F, Depth::BAYn, Packing::P, Method::M, Phase::F, &QVI_BAYn_to_##P##_##M##_##F},
#include "bayer/members.def"
#undef QVI_INFO_BAYn
#undef QVI_INFO_BAY8
#undef QVI_MEMBER
  };
  return members;
}

inline const MemberInfo* FindMember(Depth d, Packing p, Method m, Phase f) {
  for (const MemberInfo& info : Members())
    if (info.depth == d && info.packing == p && info.method == m && info.phase == f) return &info;
  return nullptr;
}

inline uint32_t SampleBytes(Depth d) { return d == Depth::BAY8 ? 1 : 2; }
inline uint32_t PixelBytes(Packing p) { return p <= Packing::BGRX32 ? 4 : p == Packing::BGR24 ? 3 : 2; }
inline uint32_t FormatOf(Depth d) { return d == Depth::BAY8 ? FMT_BAY8 : FMT_BAY16; }
inline uint32_t FormatOf(Packing p) {
  const uint32_t formats[] = {FMT_RGBX32, FMT_BGRX32, FMT_BGR24, FMT_RGB16, FMT_BGR16};
  return formats[static_cast<int>(p)];
}

// Samples the member reads past the end of the source's stride x height when
// the stride is exactly one row: the documented over-read of odd widths.
inline uint32_t OverReadSamples(const MemberInfo& m, uint32_t width, uint32_t height) {
  if (m.method == Method::dup) return 0;
  const bool ahead = m.method == Method::med && m.packing == Packing::RGB16 && m.phase == Phase::C;
  if (width % 2 == 1) return ahead && height > 2 ? 2 : 1;
  return ahead && height == 2 ? 1 : 0;  // the top-right pixel reads one past row 1
}

// Writes into `dst` (the destination as it was before the call) every pixel
// the member's rules produce.  The source is read through its stride, so
// samples past a row's end are whatever the memory holds there.
inline void ReferenceDemosaic(const MemberInfo& m, const uint8_t* src, uint32_t src_stride, uint32_t w,
                              uint32_t h, uint32_t bits, uint8_t* dst, uint32_t dst_stride) {
  if (w < 2 || h < 2) return;  // nothing is written
  enum Colour { kR, kG, kB };
  // The 2x2 cells as written in the documentation, top row then bottom row.
  auto colour = [&m](int64_t y, int64_t x) {
    const char c = "RGGBGRBGGBRGBGGR"[4 * static_cast<int>(m.phase) + 2 * (y % 2) + x % 2];
    return c == 'R' ? kR : (c == 'G' ? kG : kB);
  };
  const bool deep = m.depth == Depth::BAYn, rgb16 = m.packing == Packing::RGB16;
  const uint64_t pitch = deep ? src_stride & ~1u : src_stride;
  auto at = [&](int64_t y, int64_t x) -> uint32_t {
    const uint8_t* p = src + y * pitch + x * SampleBytes(m.depth);
    return deep ? p[0] | p[1] << 8 : p[0];
  };
  // A sum of 2^halvings raw samples as a channel value; the median of four.
  auto reduce = [&](uint32_t sum, uint32_t halvings) { return sum >> (deep ? bits - 8 + halvings : halvings) % 32; };
  auto mean = [&](uint32_t a, uint32_t b) { return reduce(a + b, 1); };
  auto median = [&](std::vector<uint32_t> v) {
    std::sort(v.begin(), v.end());
    return reduce((v[1] + v[2]) / 2, 0);
  };
  const uint32_t pb = PixelBytes(m.packing);
  const uint64_t dst_pitch = pb == 2 ? 2 * w + ((dst_stride - 2 * w) & ~1u) : dst_stride;

  for (int64_t Y = 0; Y < h; ++Y) {
    for (int64_t X = 0; X < w; ++X) {
      uint32_t c[3];  // indexed by Colour
      const Colour own = colour(Y, X);
      c[own] = reduce(at(Y, X), 0);
      if (m.method == Method::dup) {
        // The 2x2 block: rows y-1, y (0, 1 for row 0); columns x-1, x (0, 1 for column 0).
        const int64_t by = Y ? Y - 1 : 0, bx = X ? X - 1 : 0;
        for (int64_t yy = by; yy < by + 2; ++yy)
          for (int64_t xx = bx; xx < bx + 2; ++xx)
            if (colour(yy, xx) != kG && colour(yy, xx) != own) c[colour(yy, xx)] = reduce(at(yy, xx), 0);
        if (own != kG) {
          const bool right = X == 0 && (Y == 0 || m.phase == Phase::B || (rgb16 && m.phase == Phase::D));
          c[kG] = reduce(X ? at(Y, X - 1) : (right ? at(Y, 1) : at(Y - 1, 0)), 0);
        }
      } else {
        const bool first = Y == 0, last = Y == h - 1, left = X == 0, right = X == w - 1 && w % 2 == 0;
        // The row below as read: one column further right in the odd-width
        // interior rows of the RGB16 phase-C median members.
        const bool ahead = m.method == Method::med && rgb16 && m.phase == Phase::C;
        const int64_t shift = ahead && w % 2 == 1 && !first && !last ? 1 : 0;
        auto N = [&](int64_t dx) { return at(Y - 1, X + dx); };
        auto S = [&](int64_t dx) { return at(Y + 1, X + dx + shift); };
        auto H = [&](int64_t dx) { return at(Y, X + dx); };
        if (own == kG) {
          c[colour(Y, X + 1)] = left ? reduce(H(1), 0) : right ? reduce(H(-1), 0) : mean(H(-1), H(1));
          c[colour(Y + 1, X)] = first ? reduce(S(0), 0) : last ? reduce(N(0), 0) : mean(N(0), S(0));
        } else {
          const Colour diagonal = own == kR ? kB : kR;
          const int64_t dx = left ? 1 : -1;
          if ((first || last) && (left || right)) {
            c[kG] = mean(H(dx), first ? S(0) : N(0));
            c[diagonal] = reduce(first ? S(dx) : N(dx), 0);
            if (ahead && first && right) c[kG] = mean(H(-1), at(1, w));
          } else if (first || last) {
            c[kG] = mean(H(-1), H(1));
            c[diagonal] = first ? mean(S(-1), S(1)) : mean(N(-1), N(1));
          } else if (left || right) {
            c[kG] = mean(N(0), S(0));
            c[diagonal] = mean(N(dx), S(dx));
          } else if (m.method == Method::ave) {
            c[kG] = reduce(N(0) + S(0) + H(-1) + H(1), 2);
            c[diagonal] = reduce(N(-1) + N(1) + S(-1) + S(1), 2);
          } else {
            c[kG] = median({N(0), S(0), H(-1), H(1)});
            c[diagonal] = median({N(-1), N(1), S(-1), S(1)});
          }
        }
        // The n-bit deviations: red or blue as the raw mean of the samples
        // above and below, without the depth reduction.
        if (deep && !first && !last && m.phase == Phase::B) {
          if (m.method == Method::ave && rgb16 && right && Y % 2 == 1) c[kR] = (N(0) + S(0)) >> 1;
          if (m.method == Method::med && !rgb16 && left && Y % 2 == 0) c[kB] = (N(0) + S(0)) >> 1;
        }
      }
      uint8_t* d = dst + Y * dst_pitch + X * pb;
      const uint32_t r = c[kR], g = c[kG], b = c[kB];
      const uint32_t word = rgb16 ? ((r & 0xF8) << 8) | ((g & 0xFC) << 3) | (b >> 3)
                                  : ((b & 0xF8) << 8) | ((g & 0xFC) << 3) | (r >> 3);
      const uint32_t bytes[] = {m.packing == Packing::RGBX32 ? r : b, g, m.packing == Packing::RGBX32 ? b : r};
      for (uint32_t i = 0; i < std::min(pb, 3u); ++i) d[i] = static_cast<uint8_t>(pb == 2 ? word >> 8 * i : bytes[i]);
    }
  }
}

// A source (zeros, with exactly the documented over-read as slack) and a
// canary destination for one member.
struct Job {
  Job(const MemberInfo& m, uint32_t w, uint32_t h, uint32_t src_extra = 0, uint32_t dst_extra = 0)
      : member(m),
        width(w),
        height(h),
        src(FormatOf(m.depth), w, h, w * SampleBytes(m.depth) + src_extra,
            OverReadSamples(m, w, h) * SampleBytes(m.depth), 0),
        dst(FormatOf(m.packing), w, h, w * PixelBytes(m.packing) + dst_extra) {}
  void PutSample(uint32_t y, uint32_t x, uint32_t v) {  // x may run into the padding
    const uint64_t pitch = member.depth == Depth::BAY8 ? src.stride() : src.stride() & ~1u;
    uint8_t* p = src.data() + y * pitch + x * SampleBytes(member.depth);
    p[0] = static_cast<uint8_t>(v);
    if (member.depth == Depth::BAYn) p[1] = static_cast<uint8_t>(v >> 8);
  }
  Status Run(uint32_t bits) { return member.call(src.handle(), dst.handle(), bits); }
  std::vector<uint8_t> Expected(uint32_t bits) {  // the model on a fresh canary destination
    std::vector<uint8_t> out(dst.bytes().size(), kCanary);
    ReferenceDemosaic(member, src.data(), src.stride(), width, height, bits, out.data(), dst.stride());
    return out;
  }
  std::vector<uint8_t> At(uint32_t y, uint32_t x) {  // the destination bytes of one pixel
    const uint32_t pb = PixelBytes(member.packing);
    const uint8_t* p = dst.data() + uint64_t{pb == 2 ? dst.stride() & ~1u : dst.stride()} * y + uint64_t{x} * pb;
    return std::vector<uint8_t>(p, p + pb);
  }

  const MemberInfo& member;
  uint32_t width, height;
  TestImage src, dst;
};

}  // namespace qvi::test
