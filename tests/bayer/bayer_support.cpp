#include "bayer_support.h"

#include <algorithm>
#include <cstring>

namespace qvi::test {

const std::vector<MemberInfo>& Members() {
  static const std::vector<MemberInfo> members = {
#define QVI_MEMBER(depth, packing, method, phase, deviations) QVI_INFO_##depth(packing, method, phase, bayer::deviations)
#define QVI_INFO_BAY8(P, M, F, X)                                                        \
  {"QVI_BAY8_to_" #P "_" #M "_" #F, Depth::BAY8, Packing::P, Method::M, Phase::F, X,     \
   [](BufferHandle s, BufferHandle d, uint32_t) { return QVI_BAY8_to_##P##_##M##_##F(s, d); }},
#define QVI_INFO_BAYn(P, M, F, X) \
  {"QVI_BAYn_to_" #P "_" #M "_" #F, Depth::BAYn, Packing::P, Method::M, Phase::F, X, &QVI_BAYn_to_##P##_##M##_##F},
#include "bayer/members.def"
#undef QVI_INFO_BAYn
#undef QVI_INFO_BAY8
#undef QVI_MEMBER
  };
  return members;
}

const MemberInfo* FindMember(Depth d, Packing p, Method m, Phase f) {
  for (const MemberInfo& info : Members())
    if (info.depth == d && info.packing == p && info.method == m && info.phase == f) return &info;
  return nullptr;
}

uint32_t SampleBytes(Depth d) { return d == Depth::BAY8 ? 1 : 2; }
uint32_t PixelBytes(Packing p) {
  switch (p) {
    case Packing::RGBX32:
    case Packing::BGRX32: return 4;
    case Packing::BGR24: return 3;
    default: return 2;
  }
}
uint32_t FormatOf(Depth d) { return d == Depth::BAY8 ? FMT_BAY8 : FMT_BAY16; }
uint32_t FormatOf(Packing p) {
  const uint32_t formats[] = {FMT_RGBX32, FMT_BGRX32, FMT_BGR24, FMT_RGB16, FMT_BGR16};
  return formats[static_cast<int>(p)];
}

uint32_t OverReadSamples(const MemberInfo& m, uint32_t width, uint32_t height) {
  if (m.method == Method::dup) return 0;
  const bool ahead = m.method == Method::med && m.packing == Packing::RGB16 && m.phase == Phase::C;
  if (width % 2 == 1) return ahead && height > 2 ? 2 : 1;
  return ahead && height == 2 ? 1 : 0;  // the top-right pixel reads one past row 1
}

namespace {

enum Colour { kR, kG, kB };

// The 2x2 cells as written in the documentation, top row then bottom row.
Colour ColourAt(Phase f, uint32_t y, uint32_t x) {
  static const char* const kCells[] = {"RGGB", "GRBG", "GBRG", "BGGR"};
  const char c = kCells[static_cast<int>(f)][2 * (y % 2) + x % 2];
  return c == 'R' ? kR : (c == 'G' ? kG : kB);
}

// Reduction of a sum of `count` raw samples (1, 2 or 4) to a channel value.
struct Reducer {
  bool deep;
  uint32_t bits;
  uint32_t operator()(uint32_t sum, uint32_t count) const {
    const uint32_t halvings = count == 4 ? 2 : count - 1;
    return deep ? sum >> ((bits - 8 + halvings) % 32) : sum >> halvings;
  }
  uint32_t Median(std::vector<uint32_t> v) const {
    std::sort(v.begin(), v.end());
    const uint32_t half = (v[1] + v[2]) / 2;
    return deep ? half >> ((bits - 8) % 32) : half;
  }
};

void Pack(Packing p, uint8_t* d, uint32_t r, uint32_t g, uint32_t b) {
  auto word = [d](uint32_t w) { d[0] = static_cast<uint8_t>(w), d[1] = static_cast<uint8_t>(w >> 8); };
  switch (p) {
    case Packing::RGBX32: d[0] = uint8_t(r), d[1] = uint8_t(g), d[2] = uint8_t(b); break;
    case Packing::BGRX32:
    case Packing::BGR24: d[0] = uint8_t(b), d[1] = uint8_t(g), d[2] = uint8_t(r); break;
    case Packing::RGB16: word(((r & 0xF8) << 8) | ((g & 0xFC) << 3) | (b >> 3)); break;
    case Packing::BGR16: word(((b & 0xF8) << 8) | ((g & 0xFC) << 3) | (r >> 3)); break;
  }
}

}  // namespace

void ReferenceDemosaic(const MemberInfo& m, const uint8_t* src, uint32_t src_stride, uint32_t w, uint32_t h,
                       uint32_t bits, uint8_t* dst, uint32_t dst_stride) {
  const bool deep = m.depth == Depth::BAYn;
  const uint64_t pitch = deep ? src_stride & ~1u : src_stride;
  auto at = [&](int64_t y, int64_t x) -> uint32_t {
    const uint8_t* p = src + y * pitch + x * SampleBytes(m.depth);
    return deep ? p[0] | p[1] << 8 : p[0];
  };
  const Reducer reduce{deep, bits};
  const uint32_t pb = PixelBytes(m.packing);
  const bool sixteen = pb == 2;
  const uint64_t dst_pitch = sixteen ? 2 * w + ((dst_stride - 2 * w) & ~1u) : dst_stride;
  const bool rgb16 = m.packing == Packing::RGB16;

  for (uint32_t y = 0; y < h; ++y) {
    for (uint32_t x = 0; x < w; ++x) {
      const int64_t Y = y, X = x;
      uint32_t c[3];  // indexed by Colour
      const Colour own = ColourAt(m.phase, y, x);
      c[own] = reduce(at(Y, X), 1);
      if (m.method == Method::dup) {
        // The 2x2 block: rows y-1, y (0, 1 for row 0); columns x-1, x (0, 1 for column 0).
        const int64_t by = y ? Y - 1 : 0, bx = x ? X - 1 : 0;
        for (int64_t yy = by; yy < by + 2; ++yy)
          for (int64_t xx = bx; xx < bx + 2; ++xx) {
            const Colour k = ColourAt(m.phase, uint32_t(yy), uint32_t(xx));
            if (k != kG && k != own) c[k] = reduce(at(yy, xx), 1);
          }
        if (own != kG) {
          bool right = x == 0 && (y == 0 || m.phase == Phase::B || (rgb16 && m.phase == Phase::D));
          c[kG] = reduce(x ? at(Y, X - 1) : (right ? at(Y, 1) : at(Y - 1, 0)), 1);
        }
      } else {
        const bool first = y == 0, last = y == h - 1, left = x == 0, right = x == w - 1 && w % 2 == 0;
        // The row below as read: one column further right in the odd-width
        // interior rows of the RGB16 phase-C median members.
        const bool ahead = m.method == Method::med && rgb16 && m.phase == Phase::C;
        const int64_t shift = ahead && w % 2 == 1 && !first && !last ? 1 : 0;
        auto N = [&](int64_t dx) { return at(Y - 1, X + dx); };
        auto S = [&](int64_t dx) { return at(Y + 1, X + dx + shift); };
        auto H = [&](int64_t dx) { return at(Y, X + dx); };
        auto mean = [&](uint32_t a, uint32_t b) { return reduce(a + b, 2); };
        if (own == kG) {
          const Colour horizontal = ColourAt(m.phase, y, x + 1), vertical = ColourAt(m.phase, y + 1, x);
          c[horizontal] = left ? reduce(H(1), 1) : right ? reduce(H(-1), 1) : mean(H(-1), H(1));
          c[vertical] = first ? reduce(S(0), 1) : last ? reduce(N(0), 1) : mean(N(0), S(0));
        } else {
          const Colour diagonal = own == kR ? kB : kR;
          if ((first || last) && (left || right)) {
            const int64_t dx = left ? 1 : -1;
            const uint32_t vertical = first ? S(0) : N(0);
            c[kG] = mean(H(dx), vertical);
            c[diagonal] = reduce(first ? S(dx) : N(dx), 1);
            if (ahead && first && right) c[kG] = mean(H(-1), at(1, w));
          } else if (first || last) {
            c[kG] = mean(H(-1), H(1));
            c[diagonal] = first ? mean(S(-1), S(1)) : mean(N(-1), N(1));
          } else if (left || right) {
            const int64_t dx = left ? 1 : -1;
            c[kG] = mean(N(0), S(0));
            c[diagonal] = mean(N(dx), S(dx));
          } else if (m.method == Method::ave) {
            c[kG] = reduce(N(0) + S(0) + H(-1) + H(1), 4);
            c[diagonal] = reduce(N(-1) + N(1) + S(-1) + S(1), 4);
          } else {
            c[kG] = reduce.Median({N(0), S(0), H(-1), H(1)});
            c[diagonal] = reduce.Median({N(-1), N(1), S(-1), S(1)});
          }
        }
        // Red or blue from the raw mean of the samples above and below, with
        // the 8-bit formula, at the pixels of the three n-bit deviations.
        const bool interior = !first && !last;
        if (deep && interior && m.phase == Phase::B) {
          if (m.method == Method::ave && rgb16 && right && y % 2 == 1) c[kR] = (N(0) + S(0)) >> 1;
          if (m.method == Method::med && !rgb16 && left && y % 2 == 0) c[kB] = (N(0) + S(0)) >> 1;
        }
      }
      Pack(m.packing, dst + y * dst_pitch + x * pb, c[kR], c[kG], c[kB]);
    }
  }
}

Job::Job(const MemberInfo& m, uint32_t w, uint32_t h, uint32_t src_extra, uint32_t dst_extra)
    : member(m),
      width(w),
      height(h),
      src(FormatOf(m.depth), w, h, w * SampleBytes(m.depth) + src_extra,
          OverReadSamples(m, w, h) * SampleBytes(m.depth), 0),
      dst(FormatOf(m.packing), w, h, w * PixelBytes(m.packing) + dst_extra) {}

void Job::PutSample(uint32_t y, uint32_t x, uint32_t v) {
  const uint64_t pitch = member.depth == Depth::BAY8 ? src.stride() : src.stride() & ~1u;
  uint8_t* p = src.data() + y * pitch + x * SampleBytes(member.depth);
  p[0] = static_cast<uint8_t>(v);
  if (member.depth == Depth::BAYn) p[1] = static_cast<uint8_t>(v >> 8);
}

Status Job::Run(uint32_t bits) { return member.call(src.handle(), dst.handle(), bits); }

std::vector<uint8_t> Job::Expected(uint32_t bits) {
  std::vector<uint8_t> out(dst.bytes().size(), kCanary);
  ReferenceDemosaic(member, src.data(), src.stride(), width, height, bits, out.data(), dst.stride());
  return out;
}

std::vector<uint8_t> Job::At(uint32_t y, uint32_t x) {
  const uint32_t pb = PixelBytes(member.packing);
  const uint64_t pitch = pb == 2 ? dst.stride() & ~1u : dst.stride();
  const uint8_t* p = dst.data() + pitch * y + uint64_t{x} * pb;
  return std::vector<uint8_t>(p, p + pb);
}

}  // namespace qvi::test
