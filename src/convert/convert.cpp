// QVI_Convert: validation, the conversion key, the size rule and the route
// switch.  The pixel work lives in the line kernels (lines.h) and, for Bayer
// sources, in the demosaic entry points.
#include <cstring>

#include "bayer/convert_route.h"
#include "buffer/buffer_query.h"
#include "buffer/formats.h"
#include "convert/lines.h"
#include "qvi.h"

namespace qvi::convert {
namespace {

constexpr uint32_t Key(Fmt source, Fmt destination) {
  return (static_cast<uint32_t>(source) << 8) | static_cast<uint32_t>(destination);
}

// The size rule: source width x source height x bytes of the destination
// format must not exceed destination stride x destination height, all in
// unsigned 32-bit arithmetic.
bool DestinationHolds(const buffer::ConversionPair& p, Fmt destination) {
  const uint32_t needed = p.src_width * p.src_height * BytesPerPixel(destination);
  const uint32_t available = p.dst_stride * p.dst_height;
  return needed <= available;
}

template <Fmt S, Fmt D>
Status PixelRoute(const buffer::ConversionPair& p) {
  if (!DestinationHolds(p, D)) return STATUS_BAD_BUFFER;
  WalkRoute<S, D>(p, Chosen());
  return STATUS_OK;
}

// Same-format copy: buffers of equal stride and height are copied as one
// block of stride x height bytes (padding included, no size check);
// otherwise pixel by pixel.
template <Fmt S, Fmt D>
Status CopyRoute(const buffer::ConversionPair& p) {
  if (p.src_stride == p.dst_stride && p.src_height == p.dst_height) {
    std::memmove(p.dst, p.src, uint64_t{p.src_stride} * p.src_height);
    return STATUS_OK;
  }
  return PixelRoute<S, D>(p);
}

// The demosaic entry points never learn the destination's height: they write
// the source's height in rows at the destination's stride.  A destination with
// fewer rows (whose wider stride passed the byte count above) is refused here
// as too small rather than written past its stride x height.  A destination
// of the source's geometry always passes.
bool DestinationHoldsDemosaicRows(const buffer::ConversionPair& p, Fmt destination) {
  if (p.src_height == 0) return true;
  const uint64_t last_row_end =
      uint64_t{p.src_height - 1} * p.dst_stride + uint64_t{p.src_width} * BytesPerPixel(destination);
  return last_row_end <= uint64_t{p.dst_stride} * p.dst_height;
}

Status BayerRoute(BufferHandle source, BufferHandle destination, const buffer::ConversionPair& p,
                  Fmt s, Fmt d) {
  if (!DestinationHolds(p, d) || !DestinationHoldsDemosaicRows(p, d)) return STATUS_BAD_BUFFER;
  return bayer::ConvertRoute(source, destination, s, d, p.method, p.phase);
}

}  // namespace
}  // namespace qvi::convert

extern "C" QVI_API Status QVI_Convert(BufferHandle source, BufferHandle destination) {
  using namespace qvi;
  using namespace qvi::convert;
  buffer::ConversionPair p;
  if (const Status s = buffer::ReadConversionPair(source, destination, &p); s != STATUS_OK) return s;
  switch (Key(LowByte(p.src_format), LowByte(p.dst_format))) {
#define QVI_COPY(S, D, ...) \
  case Key(Fmt::S, Fmt::D): return CopyRoute<Fmt::S, Fmt::D>(p);
#define QVI_PIXELS(S, D, ...) \
  case Key(Fmt::S, Fmt::D): return PixelRoute<Fmt::S, Fmt::D>(p);
#define QVI_BAYER(S, D) \
  case Key(Fmt::S, Fmt::D): return BayerRoute(source, destination, p, Fmt::S, Fmt::D);
#include "convert/routes.def"
#undef QVI_COPY
#undef QVI_PIXELS
#undef QVI_BAYER
    default: return STATUS_BAD_PARAMETER;
  }
}
