// The Bayer hand-off: QVI_Convert passes a Bayer route's two handles on to
// a demosaic entry point, which asks the buffer library about them again
// (the sequence of buffer/queries.h, AskForDemosaic).
#pragma once

#include <cstdint>

#include "buffer/formats.h"
#include "qvi.h"

namespace qvi::bayer {

// Called by QVI_Convert for a Bayer route after its size check passed:
// chooses the entry point from the source's demosaic method (tested first)
// and phase, refusing values the route does not accept with
// STATUS_BAD_BAYER_MODE, calls it (passing the bit depth of a deep mosaic)
// and returns STATUS_OK whatever the entry point returned.
Status DemosaicHandOff(BufferHandle source, BufferHandle destination, Fmt source_format, Fmt destination_format,
                       uint32_t method, uint32_t phase);

}  // namespace qvi::bayer
