// QVI_Convert: validation, the conversion key, the size rule and the route
// switch.  The pixel work lives in the line kernels (lines.h) and, for Bayer
// sources, in the demosaic entry points (the hand-off, bayer/hand_off.h).
#include <cstring>

#include "bayer/hand_off.h"
#include "buffer/formats.h"
#include "buffer/queries.h"
#include "convert/lines.h"
#include "qvi.h"

namespace qvi::convert {
namespace {

using buffer::ConversionBuffers;

constexpr uint32_t Key(Fmt source, Fmt destination) {
  return (static_cast<uint32_t>(source) << 8) | static_cast<uint32_t>(destination);
}

// The size rule: source width x source height x bytes of the destination
// format must not exceed destination stride x destination height, all in
// unsigned 32-bit arithmetic.
bool DestinationHolds(const ConversionBuffers& b, Fmt destination) {
  const uint32_t needed = b.source.width * b.source.height * BytesPerPixel(destination);
  const uint32_t available = b.destination.stride * b.destination.height;
  return needed <= available;
}

template <Fmt S, Fmt D>
Status PixelRoute(const ConversionBuffers& b) {
  if (!DestinationHolds(b, D)) return STATUS_BAD_BUFFER;
  WalkRoute<S, D>(b.source, b.destination, Chosen());
  return STATUS_OK;
}

// Same-format copy: buffers of equal stride and height are copied as one
// block of stride x height bytes (padding included, no size check);
// otherwise pixel by pixel.
template <Fmt S, Fmt D>
Status CopyRoute(const ConversionBuffers& b) {
  const View &s = b.source, &d = b.destination;
  if (s.stride == d.stride && s.height == d.height) {
    std::memmove(d.address, s.address, uint64_t{s.stride} * s.height);
    return STATUS_OK;
  }
  return PixelRoute<S, D>(b);
}

// The demosaic entry points never learn the destination's height: they write
// the source's height in rows at the destination's stride.  A destination with
// fewer rows (whose wider stride passed the byte count above) is refused here
// as too small rather than written past its stride x height.  A destination
// of the source's geometry always passes.
bool DestinationHoldsDemosaicRows(const ConversionBuffers& b, Fmt destination) {
  const View &s = b.source, &d = b.destination;
  if (s.height == 0) return true;
  const uint64_t last_row_end = uint64_t{s.height - 1} * d.stride + uint64_t{s.width} * BytesPerPixel(destination);
  return last_row_end <= uint64_t{d.stride} * d.height;
}

Status BayerRoute(BufferHandle source, BufferHandle destination, const ConversionBuffers& b, Fmt s, Fmt d) {
  if (!DestinationHolds(b, d) || !DestinationHoldsDemosaicRows(b, d)) return STATUS_BAD_BUFFER;
  return bayer::DemosaicHandOff(source, destination, s, d, b.method, b.phase);
}

}  // namespace
}  // namespace qvi::convert

extern "C" QVI_API Status QVI_Convert(BufferHandle source, BufferHandle destination) {
  using namespace qvi;
  using namespace qvi::convert;
  ConversionBuffers b;
  if (const Status s = buffer::AskForConversion(source, destination, &b); s != STATUS_OK) return s;
  switch (Key(LowByte(b.source.format), LowByte(b.destination.format))) {
#define QVI_COPY(S, D, ...) \
  case Key(Fmt::S, Fmt::D): return CopyRoute<Fmt::S, Fmt::D>(b);
#define QVI_PIXELS(S, D, ...) \
  case Key(Fmt::S, Fmt::D): return PixelRoute<Fmt::S, Fmt::D>(b);
#define QVI_BAYER(S, D) \
  case Key(Fmt::S, Fmt::D): return BayerRoute(source, destination, b, Fmt::S, Fmt::D);
#include "convert/routes.def"
#undef QVI_COPY
#undef QVI_PIXELS
#undef QVI_BAYER
    default: return STATUS_BAD_PARAMETER;
  }
}
