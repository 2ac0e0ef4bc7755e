// Bilinear de-interlacing: each interior byte of a missing line is a weighted
// mean of six field bytes (ops.h), the edge bytes vertical means.
#include "field/interpolated.h"
#include "qvi.h"

namespace qvi::field {
namespace {

// 4-byte formats: a missing line of 8 + 4 x ((S - 8) >> 2) bytes, lines S apart.
// (Pixel 0, the computed pixels 1 to (S - 8) >> 2 and one pixel of vertical
// means: S rounded down to whole pixels, the same rounding applying below 8
// bytes where the unsigned expression would wrap.  The 1 to 3 bytes after a
// shortened line keep their content.)
constexpr FramePlan ShortenedQuadLine(uint32_t stride) { return {stride, stride & ~3u, stride, stride}; }

static_assert(ShortenedQuadLine(30).row_bytes == 8 + 4 * ((30 - 8) >> 2));

}  // namespace
}  // namespace qvi::field

extern "C" QVI_API Status QVI_FieldToFrame_Bilinear(BufferHandle field, BufferHandle frame, FieldParity parity) {
  return qvi::field::Interpolate<qvi::field::Bilinear, qvi::field::ShortenedQuadLine>(field, frame, parity);
}
