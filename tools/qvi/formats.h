// The tool names formats and statuses through the front-ends' shared format
// vocabulary.
#pragma once

#include "qvi_formats.h"

namespace qvi::tool {
using namespace qvi::camera;
}  // namespace qvi::tool
