// How far past its lines a function may read its source, as documented: the
// slack a guard page must leave after a source and no more.
#pragma once

#include <algorithm>
#include <cstdint>

namespace qvi::test {

// Samples a demosaic member reads past the end of its last source row.  The
// averaging and median members read one sample past each row of an odd
// width; the RGB16 phase C median members read the row below one sample
// ahead, which reaches two samples past the last row for odd widths (when
// there are interior rows) and one past row 1 for even widths.  Duplication
// reads nothing outside the image.
inline uint32_t DemosaicOverReadSamples(bool averages, bool below_row_ahead, uint32_t width, uint32_t height) {
  if (!averages) return 0;
  if (width % 2 == 1) return below_row_ahead && height > 2 ? 2 : 1;
  return below_row_ahead && height == 2 ? 1 : 0;
}

// Bytes from the source's address that a demosaic member may read: stride x
// height, or further when the over-read of the last row reaches past it.
// A 16-bit source's rows lie at its stride rounded down to even.
inline uint64_t DemosaicSourceBytes(uint32_t width, uint32_t height, uint32_t stride, uint32_t sample_bytes,
                                    uint32_t over_read_samples) {
  const uint64_t span = uint64_t{stride} * height;
  const uint32_t pitch = sample_bytes == 2 ? (stride & ~1u) : stride;
  if (width < 2 || height < 2 || pitch < uint64_t{width} * sample_bytes) return span;
  return std::max(span, uint64_t{height - 1} * pitch + uint64_t{width + over_read_samples} * sample_bytes);
}

}  // namespace qvi::test
