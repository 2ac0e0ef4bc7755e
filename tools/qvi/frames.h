// The frame loop shared by `qvi convert` and `qvi deinterlace`.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "commands.h"
#include "formats.h"
#include "image.h"
#include "output.h"
#include "raw_input.h"

namespace qvi::tool {

// The format named by `name` (given to `option`), or an Error that says so.
const FormatInfo& ParseFormat(const std::string& name, const std::string& option);

// The demosaic method named by --method (dup, ave, med), or an Error.
DemosaicMethod ParseDemosaicMethod(const std::string& name);

// Reads every frame of `options.input` into `frame`, hands it to `process`
// and writes the image that returns to `options.output` (numbered when there
// are several frames).  The outputs appear together once every frame is
// done; after a failure none does.  Prints a progress line on stderr when
// stderr is a terminal, and a summary on `out` that starts with `command`
// and counts the inputs as `unit`s ("frame", "field").
void ForEachFrame(const RawInputOptions& options, const RawGeometry& geometry, Image& frame,
                  const std::function<const Image&(Image&)>& process, const std::string& command,
                  const std::string& unit, const std::string& what, std::ostream& out);

}  // namespace qvi::tool
