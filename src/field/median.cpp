// Median de-interlacing: each interior byte of a missing line is the median
// of six field bytes, the edge bytes vertical means; and QVS_median6, the
// median of six exported on its own.
#include <algorithm>

#include "field/interpolated.h"
#include "qvi.h"

namespace qvi::field {
namespace {

// 4-byte formats: n = max(0, ((S - 4) >> 2) - 4) medians, frame and field drift.
// (The median's pixel counter starts at 4 against a bound of (S - 4) >> 2
// pixels.  A missing line is pixel 0, pixels 1 to n and pixel n + 1 of
// vertical means, 4 x (n + 2) bytes; the next frame line follows it directly
// and the field is read on 4 x (n + 2) bytes later instead of S.  Below a
// stride of 8, where the unsigned count would wrap, a missing line is the
// whole pixels the stride holds, all vertical means.)
constexpr FramePlan MedianQuadDrift(uint32_t stride) {
  const uint32_t pixels = stride >> 2;
  const uint32_t computed = pixels > 5 ? pixels - 5 : 0;  // ((S - 4) >> 2) - 4, not below 0
  const uint32_t bytes = 4 * std::min(computed + 2, pixels);
  return {stride, bytes, bytes, bytes};
}

static_assert(MedianQuadDrift(32).row_bytes == 20 && MedianQuadDrift(16).row_bytes == 8);
static_assert(MedianQuadDrift(24).row_bytes == 4 * (((24 - 4) >> 2) - 4 + 2));
static_assert(MedianQuadDrift(6).row_bytes == 4 && MedianQuadDrift(3).row_bytes == 0);

}  // namespace
}  // namespace qvi::field

extern "C" QVI_API uint32_t QVS_median6(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e, uint32_t f) {
  const auto low = [](uint32_t v) { return static_cast<uint8_t>(v); };  // only the low 8 bits count
  return qvi::field::Median6(low(a), low(b), low(c), low(d), low(e), low(f));
}

extern "C" QVI_API Status QVI_FieldToFrame_Median(BufferHandle field, BufferHandle frame, FieldParity parity) {
  return qvi::field::Interpolate<qvi::field::Median, qvi::field::MedianQuadDrift>(field, frame, parity);
}
