// What QVI_Convert may read of its source, shared by the guard-page test and
// the convert fuzzer: a source line's bytes, and the bytes from the source's
// address the call may read (stride x height, or for a Bayer source the
// documented over-read of the member the method and phase reach).
#pragma once

#include "buffer/formats.h"
#include "qvi.h"
#include "support/documented_reach.h"

namespace qvi::test {

// Two-pixel groups for the packed formats.
inline uint32_t SourceLineBytes(Fmt f, uint32_t w) {
  return f == Fmt::Y12P ? (3 * w + 1) / 2 : f == Fmt::YUV422 ? (w + 1) / 2 * 4 : w * BytesPerPixel(f);
}

inline uint64_t ConvertSourceBytes(Fmt src, Fmt dst, uint32_t method, uint32_t phase, uint32_t w, uint32_t h,
                                   uint32_t stride) {
  if (src < Fmt::BAY8 || src > Fmt::BAY16) return uint64_t{stride} * h;
  const bool ahead = dst == Fmt::RGB16 && method == DEMOSAIC_METHOD_MED && phase == BAYER_PHASE_C;
  const uint32_t over = DemosaicOverReadSamples(method != DEMOSAIC_METHOD_DUP, ahead, w, h);
  return DemosaicSourceBytes(w, h, stride, src == Fmt::BAY8 ? 1 : 2, over);
}

}  // namespace qvi::test
