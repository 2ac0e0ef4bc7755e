// The frame every demosaic entry point runs: validation, the buffer queries
// in their fixed order, and the row layout the walkers work on.
#pragma once

#include <cstdint>

#include "bayer/member.h"
#include "bayer/pack.h"
#include "bayer/sample.h"
#include "buffer/buffer_query.h"
#include "buffer/line_step.h"
#include "qvi.h"

namespace qvi::bayer {

// What an entry point asks the buffer library, in the order it asks.
struct FrameParams {
  const uint8_t* src = nullptr;
  uint32_t src_stride = 0;
  uint32_t dst_stride = 0;
  uint8_t* dst = nullptr;
  uint32_t height = 0;  // of the source
  uint32_t width = 0;   // of the source
};

// Validity of the source, then of the destination (0 fails); for n-bit input
// a depth of exactly 8 fails; then, unchecked, source address, source stride,
// destination stride, destination address, source height, source width.
template <Depth D>
Status QueryFrame(BufferHandle source, BufferHandle destination, uint32_t bits, FrameParams* f) {
  if (buffer::QueryValid(source) == 0) return STATUS_BAD_BUFFER;
  if (buffer::QueryValid(destination) == 0) return STATUS_BAD_BUFFER;
  if constexpr (D == Depth::BAYn) {
    if (bits == 8) return STATUS_BAD_BUFFER;
  }
  f->src = buffer::QueryAddress(source);
  f->src_stride = buffer::Query32(source, BUF_PARAM_STRIDE);
  f->dst_stride = buffer::Query32(destination, BUF_PARAM_STRIDE);
  f->dst = buffer::QueryAddress(destination);
  f->height = buffer::Query32(source, BUF_PARAM_HEIGHT);
  f->width = buffer::Query32(source, BUF_PARAM_WIDTH);
  return STATUS_OK;
}

// The image as the walkers see it: row y of each buffer starts y pitches
// after its address.  Width and height are at least 2.
struct Image {
  const uint8_t* src = nullptr;
  uint64_t src_pitch = 0;
  uint8_t* dst = nullptr;
  uint64_t dst_pitch = 0;
  uint32_t width = 0;
  uint32_t height = 0;

  const uint8_t* SrcRow(uint32_t y) const { return src + y * src_pitch; }
  uint8_t* DstRow(uint32_t y) const { return dst + y * dst_pitch; }
};

// Lays the rows out.  A 16-bit source's stride is rounded down to even, and
// so is the gap after each row of a 16-bit packing.  Images the walkers cannot
// handle without touching memory outside them are refused (false, nothing to
// write): a width or height below 2, a missing address, or a stride (after
// rounding) smaller than one row of samples or of packed pixels.
template <Depth D, Packing P>
bool LayOut(const FrameParams& f, Image* image) {
  if (f.width < 2 || f.height < 2 || f.src == nullptr || f.dst == nullptr) return false;
  const uint64_t src_row = uint64_t{f.width} * Sample<D>::kBytes;
  const uint64_t dst_row = uint64_t{f.width} * Packer<P>::kBytes;
  const uint64_t src_pitch = Sample<D>::kBytes == 2 ? (f.src_stride & ~1u) : f.src_stride;
  if (src_pitch < src_row || f.dst_stride < dst_row) return false;
  const uint32_t dst_gap = buffer::LineGap(f.dst_stride, static_cast<uint32_t>(dst_row), GapRounding(P));
  *image = Image{f.src, src_pitch, f.dst, dst_row + dst_gap, f.width, f.height};
  return true;
}

}  // namespace qvi::bayer
