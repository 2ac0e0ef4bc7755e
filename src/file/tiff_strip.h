// The pixel strip of a TIFF file: the image's lines, one after another.
#pragma once

#include <cstdint>
#include <cstdio>

#include "buffer/dispatch.h"
#include "buffer/view.h"
#include "file/tiff_layout.h"

namespace qvi::file::tiff {

// Writes width x height pixels of `image` in the given pixel order (its
// address may be null: no memory).  Each line
// starts stride bytes after the previous one (the step after a line is stride
// minus the line's bytes, modulo 2^32, rounded down to even for 16-bit
// samples).  Only the stride x height bytes from the address are read: from
// the first line that would leave them to the end of the strip, zero bytes
// are written instead, so the strip always has its full length.  Write
// errors are left in the stream for fclose to report.  Fast kernels of the
// best set up to `isa` reorder the bytes.
void WriteStrip(FILE* stream, const View& image, Pixels pixels, Isa isa);

}  // namespace qvi::file::tiff
