// The TIFF writer below QVI_FileWriteTiff: everything after the file is open.
#pragma once

#include <cstdint>
#include <cstdio>

#include "file/tiff_strip.h"
#include "qvi.h"

namespace qvi::file::tiff {

// Writes the file of `format` holding `image` to `stream`, from wherever the
// stream stands.  A failure status leaves the stream for the caller to close;
// write errors are left in it for fclose to report.
Status WriteTiff(FILE* stream, uint32_t format, const StripSource& image);

}  // namespace qvi::file::tiff
