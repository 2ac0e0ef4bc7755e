// Raw captures: height x stride bytes per frame, no header, frames back to
// back, as QVI_FileWrite writes a raw dump.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "formats.h"
#include "image.h"

namespace qvi::tool {

struct RawGeometry {
  const FormatInfo* format;
  uint32_t width;
  uint32_t height;
  uint32_t stride;
  uint64_t FrameBytes() const { return uint64_t{stride} * height; }
};

// Checks the geometry given on the command line and fills in the stride
// (one line of pixels, no padding) when none was given.  Errors name the
// argument at fault.
RawGeometry MakeGeometry(const FormatInfo& format, uint32_t width, uint32_t height,
                         std::optional<uint32_t> stride);

// Reads the frames of one raw file in order.
class RawReader {
 public:
  // Opens `path` and checks that it holds a whole number of frames (at least
  // one).
  RawReader(const std::string& path, const RawGeometry& geometry);
  ~RawReader();
  RawReader(const RawReader&) = delete;
  RawReader& operator=(const RawReader&) = delete;

  uint64_t frames() const { return frames_; }
  // Reads the next frame into `image`, whose stride and height must be the
  // geometry's.
  void ReadFrame(Image& image);

 private:
  std::string path_;
  RawGeometry geometry_;
  std::FILE* file_ = nullptr;
  uint64_t frames_ = 0;
  uint64_t next_ = 0;
};

}  // namespace qvi::tool
