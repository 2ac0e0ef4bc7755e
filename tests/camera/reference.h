// The tests' references: the packed camera layouts written out bit by bit,
// as unpack.h draws them (made differently from the unpackers on purpose:
// it packs values into bits, they read bytes into words), and what
// QVI_Convert makes of a frame as a pipeline is set up to convert it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "pipeline.h"
#include "qvi_formats.h"
#include "support/qvb_buffer.h"
#include "unpack.h"

namespace qvi::camera::model {

inline uint32_t SampleBits(Packing packing) { return packing == Packing::kLsb10 || packing == Packing::kGrouped10 ? 10 : 12; }

// Packs `values` (one line, or a whole frame sent as one stream) into the
// bytes `packing` gives them; the last byte keeps zeros in its unused bits.
inline std::vector<uint8_t> Pack(Packing packing, const std::vector<uint16_t>& values) {
  const uint32_t bits = SampleBits(packing);
  std::vector<uint8_t> bytes;
  if (packing == Packing::kLsb10 || packing == Packing::kLsb12) {
    bytes.assign((values.size() * bits + 7) / 8, 0);
    for (size_t i = 0; i < values.size(); ++i)
      for (uint32_t b = 0; b < bits; ++b) {
        const size_t at = i * bits + b;
        bytes[at / 8] |= static_cast<uint8_t>(((values[i] >> b) & 1) << (at % 8));
      }
    return bytes;
  }
  // Two pixels in three bytes: high bits outside, low bits in the middle byte.
  const uint32_t low = bits - 8, mask = (1u << low) - 1;
  for (size_t i = 0; i < values.size(); i += 2) {
    const uint32_t p0 = values[i];
    bytes.push_back(static_cast<uint8_t>(p0 >> low));
    if (i + 1 == values.size()) {
      bytes.push_back(static_cast<uint8_t>(p0 & mask));
      break;
    }
    const uint32_t p1 = values[i + 1];
    bytes.push_back(static_cast<uint8_t>((p0 & mask) | (p1 & mask) << 4));
    bytes.push_back(static_cast<uint8_t>(p1 >> low));
  }
  return bytes;
}

// The image's lines back to back.
inline std::vector<uint8_t> Lines(const uint8_t* pixels, uint32_t stride, uint32_t line, uint32_t height) {
  std::vector<uint8_t> out(size_t{line} * height);
  for (uint32_t y = 0; y < height; ++y) std::memcpy(out.data() + size_t{y} * line, pixels + size_t{y} * stride, line);
  return out;
}
inline std::vector<uint8_t> Lines(const Converted& c) {
  return Lines(c.pixels, c.stride, *LineBytes(FormatOf(c.format), c.width), c.height);
}

// QVI_Convert of `pixels` (unpacked, lines `stride` apart, zeros after them
// as the ring has) as `s` sets the pipeline up; a frame the pipeline passes
// on as it is comes back as it is.
inline std::vector<uint8_t> LibraryConversion(const PipelineSettings& s, std::vector<uint8_t> pixels, uint32_t stride) {
  const uint32_t line = *LineBytes(FormatOf(s.to), s.width);
  if (s.to == s.format->format) return Lines(pixels.data(), stride, line, s.height);
  pixels.resize(pixels.size() + 16, 0);
  std::vector<uint8_t> out(size_t{line} * s.height, 0);
  const test::QvbBuffer src(pixels.data(), s.format->format, s.width, s.height, stride);
  const test::QvbBuffer dst(out.data(), s.to, s.width, s.height, line);
  src.Set(BUF_PARAM_DEMOSAIC_METHOD, s.method);
  src.Set(BUF_PARAM_BAYER_PHASE, s.format->phase.value_or(0));
  EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  return out;
}

}  // namespace qvi::camera::model
