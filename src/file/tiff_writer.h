// The TIFF writer below QVI_FileWriteTiff: everything after the file is open.
#pragma once

#include <cstdint>
#include <cstdio>

#include "buffer/view.h"
#include "qvi.h"

namespace qvi::file::tiff {

// Writes the file of `image` (its format, address, width, height and
// stride) to `stream`, from wherever the stream stands.  A failure status leaves the stream for the caller to close;
// write errors are left in it for fclose to report.
Status WriteTiff(FILE* stream, const View& image);

}  // namespace qvi::file::tiff
