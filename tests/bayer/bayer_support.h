// Test support for the demosaic family: a reference model of every member
// and images made for them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "support/demosaic_members.h"
#include "support/image.h"

namespace qvi::test {

using bayer::Depth;
using bayer::Method;
using bayer::Packing;
using bayer::Phase;

// Writes into `dst` (the destination as it was before the call) every pixel
// the member's rules produce.  The source is read through its stride, so
// samples past a row's end are whatever the memory holds there.
inline void ReferenceDemosaic(const DemosaicMember& m, const uint8_t* src, uint32_t src_stride, uint32_t w,
                              uint32_t h, uint32_t bits, uint8_t* dst, uint32_t dst_stride) {
  if (w < 2 || h < 2) return;  // nothing is written
  enum Colour { kR, kG, kB };
  // The 2x2 cells as written in the documentation, top row then bottom row.
  auto colour = [&m](int64_t y, int64_t x) {
    const char c = "RGGBGRBGGBRGBGGR"[4 * static_cast<int>(m.phase) + 2 * (y % 2) + x % 2];
    return c == 'R' ? kR : (c == 'G' ? kG : kB);
  };
  const bool deep = m.deep(), rgb16 = m.packing == Packing::RGB16;
  auto at = [&](int64_t y, int64_t x) -> uint32_t {
    const uint8_t* p = src + y * m.source_pitch(src_stride) + x * m.sample_bytes();
    return deep ? p[0] | p[1] << 8 : p[0];
  };
  // A sum of 2^halvings raw samples as a channel value; the median of four.
  auto reduce = [&](uint32_t sum, uint32_t halvings) { return sum >> (deep ? bits - 8 + halvings : halvings) % 32; };
  auto mean = [&](uint32_t a, uint32_t b) { return reduce(a + b, 1); };
  auto median = [&](std::vector<uint32_t> v) {
    std::sort(v.begin(), v.end());
    return reduce((v[1] + v[2]) / 2, 0);
  };
  const uint32_t pb = m.pixel_bytes();

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
        const bool ahead = m.below_row_ahead();
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
      uint8_t* d = dst + Y * m.destination_pitch(dst_stride) + X * pb;
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
  Job(const DemosaicMember& m, uint32_t w, uint32_t h, uint32_t src_extra = 0, uint32_t dst_extra = 0)
      : member(m),
        width(w),
        height(h),
        src(m.source_format(), w, h, w * m.sample_bytes() + src_extra, m.over_read_samples(w, h) * m.sample_bytes(), 0),
        dst(m.destination_format(), w, h, w * m.pixel_bytes() + dst_extra) {}
  void PutSample(uint32_t y, uint32_t x, uint32_t v) {  // x may run into the padding
    uint8_t* p = src.data() + uint64_t{member.source_pitch(src.stride())} * y + x * member.sample_bytes();
    p[0] = static_cast<uint8_t>(v);
    if (member.deep()) p[1] = static_cast<uint8_t>(v >> 8);
  }
  Status Run(uint32_t bits) { return member.call(src.handle(), dst.handle(), bits); }
  std::vector<uint8_t> Expected(uint32_t bits) {  // the model on a fresh canary destination
    std::vector<uint8_t> out(dst.bytes().size(), kCanary);
    ReferenceDemosaic(member, src.data(), src.stride(), width, height, bits, out.data(), dst.stride());
    return out;
  }
  std::vector<uint8_t> At(uint32_t y, uint32_t x) {  // the destination bytes of one pixel
    const uint32_t pb = member.pixel_bytes();
    const uint8_t* p = dst.data() + uint64_t{member.destination_pitch(dst.stride())} * y + uint64_t{x} * pb;
    return std::vector<uint8_t>(p, p + pb);
  }

  const DemosaicMember& member;
  uint32_t width, height;
  TestImage src, dst;
};

}  // namespace qvi::test
