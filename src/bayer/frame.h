// The rows every demosaic entry point walks, laid out from the buffers'
// views (the queries are buffer/queries.h's AskForDemosaic).
#pragma once

#include <cstdint>

#include "bayer/member.h"
#include "bayer/pack.h"
#include "bayer/sample.h"
#include "buffer/line_step.h"
#include "buffer/view.h"

namespace qvi::bayer {

// Lays the rows out as the walkers see them: row y of each buffer starts y
// pitches after its address, the pitch in the view's stride; width and
// height are the source's, at least 2.  A 16-bit source's stride is rounded
// down to even, and so is the gap after each row of a 16-bit packing.
// Images the walkers cannot handle without touching memory outside them are
// refused (false, nothing to write): a width or height below 2, a missing
// address, or a stride (after rounding) smaller than one row of samples or
// of packed pixels.
template <Depth D, Packing P>
bool LayOut(const View& source, const View& destination, View* src_rows, View* dst_rows) {
  if (source.width < 2 || source.height < 2 || source.address == nullptr || destination.address == nullptr) {
    return false;
  }
  const uint64_t src_row = uint64_t{source.width} * Sample<D>::kBytes;
  const uint64_t dst_row = uint64_t{source.width} * Packer<P>::kBytes;
  const uint32_t src_pitch = Sample<D>::kBytes == 2 ? (source.stride & ~1u) : source.stride;
  if (src_pitch < src_row || destination.stride < dst_row) return false;
  const auto dst_bytes = static_cast<uint32_t>(dst_row);
  const uint32_t dst_gap = buffer::WordRoundedGap(destination.stride, dst_bytes, Packer<P>::kBytes);
  *src_rows = View{source.address, src_pitch, source.width, source.height, 0};
  *dst_rows = View{destination.address, dst_bytes + dst_gap, source.width, source.height, 0};
  return true;
}

}  // namespace qvi::bayer
