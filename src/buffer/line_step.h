// The one place that knows how a running pointer moves from one line to the
// next, and how far a walk may go inside a buffer.
#pragma once

#include <cstdint>

namespace qvi::buffer {

// What a pointer adds after a line: the stride minus the bytes the line's
// pixels took, in unsigned 32-bit arithmetic, rounded down to a multiple of
// `rounding` (1, 2 or 4).  The two rules below say which.
constexpr uint32_t LineGap(uint32_t stride, uint32_t line_bytes, uint32_t rounding) {
  return (stride - line_bytes) & ~(rounding - 1u);
}

// The rule of the conversions and the TIFF strip: the gap is rounded down to
// the buffer's element, 16-bit words (2- and 6-byte pixels) to even, 32-bit
// words (4-byte pixels) to a multiple of 4, bytes (1- and 3-byte pixels) not
// at all.
constexpr uint32_t ElementRoundedGap(uint32_t stride, uint32_t line_bytes, uint32_t element_bytes) {
  return LineGap(stride, line_bytes, element_bytes == 4 ? 4u : (element_bytes % 2 == 0 ? 2u : 1u));
}

// The rule of the demosaic members' destinations: only a row of 16-bit
// words (the 2-byte packings) has its gap rounded down to even; the 3- and
// 4-byte packings are bytes, their gap taken as it is.
constexpr uint32_t WordRoundedGap(uint32_t stride, uint32_t line_bytes, uint32_t pixel_bytes) {
  return LineGap(stride, line_bytes, pixel_bytes == 2 ? 2u : 1u);
}

// A running position inside a buffer of stride x height bytes.  The walkers
// move it line by line exactly as the pixel rules say, and ask it before each
// line whether that line still lies inside the buffer; positions are kept as
// offsets so that a walk that would leave the buffer never forms a pointer
// outside it.
class LineCursor {
 public:
  LineCursor(uint8_t* base, uint32_t stride, uint32_t height)
      : base_(base), extent_(static_cast<int64_t>(uint64_t{stride} * height)) {}

  // True when the `bytes` bytes from the current position lie in the buffer.
  bool Holds(uint64_t bytes) const {
    return pos_ >= 0 && pos_ <= extent_ && bytes <= static_cast<uint64_t>(extent_ - pos_);
  }

  uint8_t* Here() const { return base_ + pos_; }

  // Moves past a line of `line_bytes` and its gap.  The gap is an unsigned
  // 32-bit quantity; it is applied modulo 2^32 as a signed offset, so a stride
  // smaller than a line steps back instead of four gigabytes ahead.
  void Advance(uint64_t line_bytes, uint32_t gap) {
    pos_ += static_cast<int64_t>(line_bytes) + static_cast<int32_t>(gap);
  }

 private:
  uint8_t* base_;
  int64_t extent_;
  int64_t pos_ = 0;
};

}  // namespace qvi::buffer
