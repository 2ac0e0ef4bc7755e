// Whether a frame the pipeline converted is what QVI_Convert makes of the
// bytes the camera sent, for the tests that acquire from Aravis's fake
// cameras (which send unpacked formats only).
#pragma once

#include <cstring>
#include <vector>

#include "pipeline.h"
#include "qvi_formats.h"
#include "support/qvb_buffer.h"

namespace qvi::camera::check {

inline bool IsLibraryConversion(const PipelineSettings& s, const Converted& frame) {
  // The sent bytes, with the zeroed room after them that the ring has.
  std::vector<uint8_t> sent(frame.raw.data(), frame.raw.data() + frame.raw.size());
  sent.resize(sent.size() + 16, 0);
  const uint32_t line = *LineBytes(FormatOf(s.to), frame.width);
  std::vector<uint8_t> expected(size_t{line} * frame.height, 0);
  if (s.to == s.format->format) {
    for (uint32_t y = 0; y < frame.height; ++y)
      std::memcpy(expected.data() + y * line, sent.data() + size_t{y} * s.raw_stride, line);
  } else {
    const qvi::test::QvbBuffer src(sent.data(), s.format->format, frame.width, frame.height, s.raw_stride);
    const qvi::test::QvbBuffer dst(expected.data(), s.to, frame.width, frame.height, line);
    src.Set(BUF_PARAM_DEMOSAIC_METHOD, s.method);
    src.Set(BUF_PARAM_BAYER_PHASE, s.format->phase.value_or(0));
    if (QVI_Convert(src.handle(), dst.handle()) != STATUS_OK) return false;
  }
  for (uint32_t y = 0; y < frame.height; ++y)
    if (std::memcmp(frame.pixels + size_t{y} * frame.stride, expected.data() + size_t{y} * line, line) != 0)
      return false;
  return true;
}

}  // namespace qvi::camera::check
