#include "raw_input.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "error.h"

namespace qvi::tool {

RawGeometry MakeGeometry(const FormatInfo& format, uint32_t width, uint32_t height,
                         std::optional<uint32_t> stride) {
  if (width == 0) throw Error("--width must be at least 1");
  if (height == 0) throw Error("--height must be at least 1");
  const std::optional<uint32_t> line = LineBytes(format, width);
  if (!line) throw Error("--width " + std::to_string(width) + " is too wide: a line would exceed 4 GiB");
  RawGeometry g{&format, width, height, stride.value_or(*line)};
  if (g.stride < *line)
    throw Error("--stride " + std::to_string(g.stride) + " is smaller than one line of " + std::to_string(width) +
                " " + std::string(format.name) + " pixels (" + std::to_string(*line) + " bytes)");
  if (g.FrameBytes() > UINT32_MAX)
    throw Error("a frame of --height " + std::to_string(height) + " lines of " + std::to_string(g.stride) +
                " bytes exceeds the 4 GiB that the library addresses");
  if (IsBayer(format.code) && (width < 2 || height < 2))
    throw Error("a Bayer capture needs --width and --height of at least 2");
  return g;
}

RawReader::RawReader(const std::string& path, const RawGeometry& geometry)
    : path_(path), geometry_(geometry) {
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) throw Error("input " + path + " is a directory, not a raw capture");
  const uintmax_t size = std::filesystem::file_size(path, ec);
  if (ec) throw Error("cannot read input " + path + ": " + ec.message());
  const uint64_t frame = geometry.FrameBytes();
  if (size == 0) throw Error("input " + path + " is empty");
  if (size % frame != 0)
    throw Error("input " + path + " holds " + std::to_string(size) + " bytes, not a whole number of frames of " +
                std::to_string(geometry.height) + " lines x " + std::to_string(geometry.stride) + " bytes (" +
                std::to_string(frame) + " bytes); check --width, --height, --stride and --format");
  frames_ = size / frame;
  file_ = std::fopen(path.c_str(), "rb");
  if (!file_) throw Error("cannot open input " + path + ": " + std::strerror(errno));
}

RawReader::~RawReader() {
  if (file_) std::fclose(file_);
}

void RawReader::ReadFrame(Image& image) {
  const size_t bytes = static_cast<size_t>(geometry_.FrameBytes());
  if (next_ >= frames_ || image.size() != bytes) throw Error("internal error: frame read out of order");
  if (std::fread(image.data(), 1, bytes, file_) != bytes)
    throw Error("cannot read frame " + std::to_string(next_ + 1) + " of " + path_ +
                (std::ferror(file_) ? std::string(": ") + std::strerror(errno) : std::string(": the file is shorter now")));
  ++next_;
}

}  // namespace qvi::tool
