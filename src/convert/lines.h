// Row kernels of the conversions and the one walker that drives them.
//
// A line kernel converts one line (source pointer, destination pointer,
// width) and tells the walker how far each pointer moves over the line and
// what gap follows it.  The walker owns strides, gaps and the buffer bounds.
#pragma once

#include <cstdint>
#include <type_traits>

#include "buffer/line_step.h"
#include "buffer/view.h"
#include "buffer/dispatch.h"
#include "convert/line_kernels.h"
#include "convert/readers.h"
#include "convert/writers.h"

namespace qvi::convert {

// Whether a line's source and destination bytes are apart, so that the
// line's source still holds its original bytes once pixels are written.
inline bool Apart(const uint8_t* s, uint64_t src_bytes, const uint8_t* d, uint64_t dst_bytes) {
  const uintptr_t sa = reinterpret_cast<uintptr_t>(s), da = reinterpret_cast<uintptr_t>(d);
  return sa + src_bytes <= da || da + dst_bytes <= sa;
}

// The fast kernel's part of a line of `count` pixels (w of them the line's
// own): its leading whole blocks, and LastBlockOverlaps: when they leave a
// tail and did at least one block, one more block ending at the last pixel
// does the tail, converting some pixels again to the values they already
// hold (every pixel depends on its own source bytes alone).  Not where the
// line's source and destination meet: the source might no longer hold what
// the first pass read.  Returns the pixels done.
template <class Line, class W>
[[gnu::always_inline]] inline uint32_t FastPart(const LineKernel& fast, const uint8_t* s, uint8_t* d, uint32_t count,
                                                uint32_t w) {
  const uint32_t done = fast.run(s, d, w);
  if (done < count && done >= fast.block && Apart(s, Line::SrcAdvance(w), d, Line::DstAdvance(w))) {
    const uint32_t first = count - fast.block;
    fast.one_block(s + Line::SrcBytesBefore(first), d + uint64_t{first} * W::kBytes);
    return count;
  }
  return done;
}

// One pixel read, one pixel written.  With kFast, the fast kernel does a
// leading run of the line's pixels; the loop does the rest.
template <class R, class W, bool kFast>
struct PixelLine {
  static uint64_t SrcAdvance(uint32_t w) { return uint64_t{w} * R::kBytes; }
  static uint64_t SrcBytesBefore(uint32_t x) { return uint64_t{x} * R::kBytes; }
  static uint64_t DstAdvance(uint32_t w) { return uint64_t{w} * W::kBytes; }
  static uint32_t SrcGap(uint32_t stride, uint32_t w) {
    return buffer::ElementRoundedGap(stride, w * R::kBytes, R::kBytes);
  }
  static uint32_t DstGap(uint32_t stride, uint32_t w) {
    return buffer::ElementRoundedGap(stride, w * W::kBytes, W::kBytes);
  }
  static void Row(const uint8_t* s, uint8_t* d, uint32_t w, const LineKernel& fast) {
    uint32_t done = 0;
    if constexpr (kFast) done = FastPart<PixelLine, W>(fast, s, d, w, w);
    s += uint64_t{done} * R::kBytes;
    d += uint64_t{done} * W::kBytes;
    for (uint32_t x = done; x < w; ++x, s += R::kBytes, d += W::kBytes) W::Put(d, R::Get(s));
  }
};

// Two pixels per step (packed sources).  Pairs are produced while the pixel
// counter is below the width, so an odd width writes one pixel more than w;
// the gaps are those of w pixels all the same, so such lines drift.  With
// kFast, the fast kernel does a leading run of whole pairs.
template <class R, class W, bool kFast>
struct PairLine {
  static uint64_t Pairs(uint32_t w) { return (uint64_t{w} + 1) / 2; }
  static uint64_t SrcAdvance(uint32_t w) { return Pairs(w) * R::kStepBytes; }
  static uint64_t SrcBytesBefore(uint32_t x) { return uint64_t{x / 2} * R::kStepBytes; }  // x even
  static uint64_t DstAdvance(uint32_t w) { return Pairs(w) * 2 * W::kBytes; }
  static uint32_t SrcGap(uint32_t stride, uint32_t w) {
    return buffer::ElementRoundedGap(stride, R::LineBytes(w), R::kElementBytes);
  }
  static uint32_t DstGap(uint32_t stride, uint32_t w) {
    return buffer::ElementRoundedGap(stride, w * W::kBytes, W::kBytes);
  }
  static void Row(const uint8_t* s, uint8_t* d, uint32_t w, const LineKernel& fast) {
    uint32_t done = 0;  // even
    if constexpr (kFast) done = FastPart<PairLine, W>(fast, s, d, static_cast<uint32_t>(2 * Pairs(w)), w);
    s += uint64_t{done / 2} * R::kStepBytes;
    d += uint64_t{done} * W::kBytes;
    for (uint32_t x = done; x < w; x += 2, s += R::kStepBytes, d += 2 * W::kBytes) {
      typename R::Pixel first, second;
      R::Get2(s, &first, &second);
      W::Put(d, first);
      W::Put(d + W::kBytes, second);
    }
  }
};

template <class R, class W, bool kFast>
using LineFor = std::conditional_t<R::kPixelsPerStep == 2, PairLine<R, W, kFast>, PixelLine<R, W, kFast>>;

// The line of a route, with a fast kernel or without: a reader and a
// writer, unless named below.
template <Fmt S, Fmt D, bool kFast>
struct RouteLine {
  using type = LineFor<Reader<S>, Writer<D>, kFast>;
};

// FMT_RGB30 into FMT_RGB48 mixes neighbouring words: pixel j keeps the red of
// its own word but takes green and blue from word j + 1, so the last pixel of
// a line reads the word after the line (its padding, or the next line's first
// pixel).  Each line starts afresh with its own first word.
struct GreenBlueFromNextWordLine : PixelLine<Reader<Fmt::RGB30>, Writer<Fmt::RGB48>, false> {
  // Bytes read after the line's last pixel.
  static constexpr uint64_t kReadsPastLine = 4;
  // `next_word_in_source` is false when the word after the line lies outside
  // the source buffer; the last pixel then takes green and blue from its own
  // word rather than read outside the buffer.
  static void Row(const uint8_t* s, uint8_t* d, uint32_t w, bool next_word_in_source) {
    if (w == 0) return;
    for (uint32_t x = 0; x + 1 < w; ++x, s += 4, d += 6) Put(d, s, s + 4);
    Put(d, s, next_word_in_source ? s + 4 : s);
  }

 private:
  static void Put(uint8_t* d, const uint8_t* own, const uint8_t* next) {
    const Words48 r = Reader<Fmt::RGB30>::Get(own).words48();
    const Words48 gb = Reader<Fmt::RGB30>::Get(next).words48();
    Writer<Fmt::RGB48>::Put3(d, {gb.b, gb.g, r.r});
  }
};

template <bool kFast>
struct RouteLine<Fmt::RGB30, Fmt::RGB48, kFast> {
  using type = GreenBlueFromNextWordLine;
};

// A line kernel that reads beyond its line's pixels says how far.
template <class Line>
concept ReadsPastLine = requires { Line::kReadsPastLine; };

// Walks the h source lines, converting each with Line.  Before a line it
// checks that the bytes of the line's pixels lie inside the source's and
// destination's stride x height; the first line that does not stops the walk.
// A kernel that reads past its line is told whether those bytes lie inside
// the source too; they do not stop the walk.
// (A function of its own for each route and kernel or none: inlined into
// the route switch, the portable loops lose their vector code.)
template <class Line>
[[gnu::noinline]] void WalkLines(const View& source, const View& destination, const LineKernel& fast) {
  buffer::LineCursor src(source.address, source.stride, source.height);
  buffer::LineCursor dst(destination.address, destination.stride, destination.height);
  const uint32_t w = source.width;
  const uint64_t src_line = Line::SrcAdvance(w);
  const uint64_t dst_line = Line::DstAdvance(w);
  const uint32_t src_gap = Line::SrcGap(source.stride, w);
  const uint32_t dst_gap = Line::DstGap(destination.stride, w);
  for (uint32_t y = 0; y < source.height; ++y) {
    if (!src.Holds(src_line) || !dst.Holds(dst_line)) return;
    if constexpr (ReadsPastLine<Line>) {
      Line::Row(src.Here(), dst.Here(), w, src.Holds(src_line + Line::kReadsPastLine));
    } else {
      Line::Row(src.Here(), dst.Here(), w, fast);
    }
    src.Advance(src_line, src_gap);
    dst.Advance(dst_line, dst_gap);
  }
}

// Walks a route's lines with its fast kernel in the best set up to `isa`.
template <Fmt S, Fmt D>
void WalkRoute(const View& source, const View& destination, Isa isa) {
  constexpr size_t kRoute = RouteIndex(S, D);
  static_assert(kRoute < kRouteKernels.size(), "a route of routes.def");
  if constexpr (kRouteKernels[kRoute].kernel != Kernel::none) {
    const LineKernel fast = LineKernelOf(kRoute, isa);
    if (fast.run != nullptr) return WalkLines<typename RouteLine<S, D, true>::type>(source, destination, fast);
  }
  WalkLines<typename RouteLine<S, D, false>::type>(source, destination, LineKernel{});
}

}  // namespace qvi::convert
