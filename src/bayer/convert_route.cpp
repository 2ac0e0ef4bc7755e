#include "bayer/convert_route.h"

namespace qvi::bayer {

// No demosaic method is built yet: every Bayer route answers as an unknown
// pair would, so no caller ever receives an unconverted image as a success.
Status ConvertRoute(BufferHandle, BufferHandle, Fmt, Fmt, uint32_t, uint32_t) {
  return STATUS_BAD_PARAMETER;
}

}  // namespace qvi::bayer
