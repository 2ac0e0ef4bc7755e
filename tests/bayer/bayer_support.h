// Test support for the demosaic family: a reference model of every member
// and images made for them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

#include "support/demosaic_members.h"
#include "support/image.h"

namespace qvi::test {

using bayer::Depth, bayer::Method, bayer::Packing, bayer::Phase;

// What the member makes of `src` (a w x h image), written over a canary copy
// of `dst`.  The source is read through its stride, so samples past a row's
// end are whatever the memory holds there.
inline std::vector<uint8_t> ReferenceDemosaic(const DemosaicMember& m, TestImage& src, uint32_t w, uint32_t h,
                                              uint32_t bits, TestImage& dst) {
  std::vector<uint8_t> out(dst.bytes().size(), kCanary);
  if (w < 2 || h < 2) return out;  // nothing is written
  enum Colour { kR, kG, kB };
  // The 2x2 cells as written in the documentation, top row then bottom row.
  auto colour = [&m](int64_t y, int64_t x) {
    const char c = "RGGBGRBGGBRGBGGR"[4 * static_cast<int>(m.phase) + 2 * (y % 2) + x % 2];
    return c == 'R' ? kR : (c == 'G' ? kG : kB);
  };
  const bool deep = m.deep(), rgb16 = m.packing == Packing::RGB16;
  const int64_t src_pitch = m.source_pitch(src.stride()), dst_pitch = m.destination_pitch(dst.stride());
  auto at = [&](int64_t y, int64_t x) -> uint32_t {
    const uint8_t* p = src.data() + y * src_pitch + x * m.sample_bytes();
    return deep ? p[0] | p[1] << 8 : p[0];
  };
  // A sum of 2^halvings raw samples as a channel value.
  auto reduce = [&](uint32_t sum, uint32_t halvings) { return sum >> (deep ? bits - 8 + halvings : halvings) % 32; };
  struct Samples {  // one, two or four neighbours
    uint32_t v[4] = {}, n = 0;
    void Add(uint32_t s) { v[n++] = s; }
  };
  // Their mean, or for med the median of four.
  auto combine = [&](Samples s) {
    if (s.n == 4 && m.method == Method::med) {
      std::sort(s.v, s.v + 4);
      return reduce((s.v[1] + s.v[2]) / 2, 0);
    }
    return reduce(std::accumulate(s.v, s.v + s.n, 0u), s.n / 2);
  };

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
        auto px = [&](int64_t dy, int64_t dx) { return at(Y + dy, X + dx + (dy > 0 ? shift : 0)); };
        // The neighbours inside the image (an odd width's last column reads past the row's end);
        // a green sample takes no diagonals, and reading them could leave the source.
        Samples row, column, diagonals;
        for (int64_t dy = -1; dy <= 1; ++dy)
          for (int64_t dx = -1; dx <= 1; ++dx)
            if ((dy || dx) && !(dy < 0 && first) && !(dy > 0 && last) && !(dx < 0 && left) && !(dx > 0 && right) &&
                (own != kG || dy == 0 || dx == 0))
              (dy == 0 ? row : dx == 0 ? column : diagonals).Add(px(dy, dx));
        if (own == kG) {
          c[colour(Y, X + 1)] = combine(row);
          c[colour(Y + 1, X)] = combine(column);
        } else {
          // Green from row and column; along an edge only from the two beside it.
          if (row.n != column.n) (row.n < column.n ? row : column) = Samples{};
          for (uint32_t i = 0; i < column.n; ++i) row.Add(column.v[i]);
          c[own == kR ? kB : kR] = combine(diagonals);
          c[kG] = ahead && first && right ? reduce(px(0, -1) + at(1, w), 1) : combine(row);
        }
        // The n-bit deviations: red or blue as the raw mean of the samples
        // above and below, without the depth reduction.
        if (deep && !first && !last && m.phase == Phase::B) {
          if (m.method == Method::ave && rgb16 && right && Y % 2 == 1) c[kR] = (px(-1, 0) + px(1, 0)) >> 1;
          if (m.method == Method::med && !rgb16 && left && Y % 2 == 0) c[kB] = (px(-1, 0) + px(1, 0)) >> 1;
        }
      }
      uint8_t* d = out.data() + Y * dst_pitch + X * m.pixel_bytes();
      const uint32_t r = c[kR], g = c[kG], b = c[kB], high = rgb16 ? r : b, low = rgb16 ? b : r;
      const uint32_t word = ((high & 0xF8) << 8) | ((g & 0xFC) << 3) | (low >> 3);  // 5:6:5
      const uint32_t bytes[] = {m.packing == Packing::RGBX32 ? r : b, g, m.packing == Packing::RGBX32 ? b : r};
      for (uint32_t i = 0; i < std::min(m.pixel_bytes(), 3u); ++i)
        d[i] = static_cast<uint8_t>(m.pixel_bytes() == 2 ? word >> 8 * i : bytes[i]);
    }
  }
  return out;
}

// A source (zeros, with exactly the documented over-read as slack) and a
// canary destination for one member.
struct Job {
  Job(const DemosaicMember& m, uint32_t w, uint32_t h, uint32_t src_extra = 0, uint32_t dst_extra = 0)
      : member(m),
        src(m.source_format(), w, h, w * m.sample_bytes() + src_extra, m.over_read_samples(w, h) * m.sample_bytes(), 0),
        dst(m.destination_format(), w, h, w * m.pixel_bytes() + dst_extra) {}
  void PutSample(uint32_t y, uint32_t x, uint32_t v) {  // x may run into the padding
    uint8_t* p = src.data() + uint64_t{member.source_pitch(src.stride())} * y + x * member.sample_bytes();
    p[0] = static_cast<uint8_t>(v);
    if (member.deep()) p[1] = static_cast<uint8_t>(v >> 8);
  }
  Status Run(uint32_t bits) { return member.call(src.handle(), dst.handle(), bits); }
  std::vector<uint8_t> At(uint32_t y, uint32_t x) {  // the destination bytes of one pixel
    const uint32_t pb = member.pixel_bytes();
    const uint8_t* p = dst.data() + uint64_t{member.destination_pitch(dst.stride())} * y + uint64_t{x} * pb;
    return std::vector<uint8_t>(p, p + pb);
  }

  const DemosaicMember& member;
  TestImage src, dst;
};

}  // namespace qvi::test
