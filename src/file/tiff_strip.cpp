#include "file/tiff_strip.h"

#include <algorithm>
#include <cstring>

#include "buffer/line_step.h"
#include "file/output_file.h"
#include "file/tiff_rows.h"

namespace qvi::file::tiff {
namespace {

// Pixels are converted into a block on the stack and handed to the stream a
// block at a time rather than with one putc each: the file gets the same
// bytes in far fewer calls.  The stream's buffer (see StreamBuffer) decides
// the writes the kernel sees, so the block only has to hold whole pixels of
// 1, 2 and 3 bytes and stay small enough to keep in the first-level cache.
constexpr uint32_t kBlockBytes = 6 * 1024;
static_assert(kBlockBytes % 6 == 0, "whole pixels of 1, 2 and 3 bytes");

void WriteZeros(BoundaryWriter& out, uint64_t bytes) {
  static constexpr uint8_t kZeros[4096] = {};
  while (bytes > 0) {
    const auto n = std::min<uint64_t>(bytes, sizeof kZeros);
    out.Write(kZeros, n);
    bytes -= n;
  }
}

template <class Row>
void WalkStrip(FILE* stream, const View& image, Isa isa) {
  if (image.width == 0 || image.height == 0) return;
  const convert::LineKernel fast = Row::kFastRoute < convert::kRouteKernels.size()
                                       ? convert::LineKernelOf(Row::kFastRoute, isa)
                                       : convert::LineKernel{};
  constexpr uint32_t kPixelBytes = Row::kBytesPerPixel;
  const uint64_t line_bytes = uint64_t{image.width} * kPixelBytes;
  const uint32_t gap = buffer::ElementRoundedGap(image.stride, image.width * kPixelBytes, kPixelBytes);
  // A buffer without memory spans nothing.
  buffer::LineCursor cursor = image.address != nullptr ? buffer::LineCursor(image.address, image.stride, image.height)
                                                       : buffer::LineCursor(nullptr, 0, 0);
  // Lines without gaps that need no reordering are already the strip, handed
  // over in one call (the stream passes most of it to the kernel in one write,
  // wherever it starts).
  if constexpr (Row::kFileOrderIsMemoryOrder) {
    const uint64_t strip_bytes = line_bytes * image.height;
    if (gap == 0 && cursor.Holds(strip_bytes)) {
      static_cast<void>(std::fwrite(cursor.Here(), 1, strip_bytes, stream));
      return;
    }
  }
  BoundaryWriter out(stream);
  uint8_t block[kBlockBytes];
  uint32_t used = 0;
  auto flush = [&] {
    out.Write(block, used);
    used = 0;
  };
  for (uint32_t y = 0; y < image.height; ++y) {
    if (!cursor.Holds(line_bytes)) {
      flush();
      WriteZeros(out, (image.height - y) * line_bytes);
      return;
    }
    const uint8_t* in = cursor.Here();
    for (uint32_t left = image.width; left > 0;) {
      if (used == kBlockBytes) flush();
      const uint32_t n = std::min(left, (kBlockBytes - used) / kPixelBytes);
      Row::Convert(block + used, in, n, fast);
      used += n * kPixelBytes;
      in += uint64_t{n} * kPixelBytes;
      left -= n;
    }
    cursor.Advance(line_bytes, gap);
  }
  flush();
}

}  // namespace

void WriteStrip(FILE* stream, const View& image, Pixels pixels, Isa isa) {
  switch (pixels) {
    case Pixels::Grey8: return WalkStrip<Grey8Row>(stream, image, isa);
    case Pixels::ReversedTriplet: return WalkStrip<ReversedTripletRow>(stream, image, isa);
    case Pixels::Grey16BigEndian: return WalkStrip<Grey16BigEndianRow>(stream, image, isa);
  }
}

}  // namespace qvi::file::tiff
