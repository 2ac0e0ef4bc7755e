// An image whose memory the tool owns, registered with the bundled buffer
// library so that qvi can be handed its BufferHandle.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qvb.h"
#include "qvi.h"

namespace qvi::tool {

class Image {
 public:
  // stride x height bytes, zeroed, plus `slack` bytes after them (a demosaic
  // of an odd width reads one sample past the end of each line).
  Image(ImageFormat format, uint32_t width, uint32_t height, uint32_t stride, uint32_t slack = 16);
  ~Image();
  Image(Image&& other) noexcept;
  Image& operator=(Image&&) = delete;
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  BufferHandle handle() const { return handle_; }
  ImageFormat format() const { return format_; }
  uint32_t width() const { return width_; }
  uint32_t height() const { return height_; }
  uint32_t stride() const { return stride_; }
  // The stride x height bytes of the image (the slack is not included).
  size_t size() const { return size_t{stride_} * height_; }
  uint8_t* data() { return memory_.data(); }
  const uint8_t* data() const { return memory_.data(); }
  uint8_t* line(uint32_t y) { return memory_.data() + size_t{stride_} * y; }
  const uint8_t* line(uint32_t y) const { return memory_.data() + size_t{stride_} * y; }

  // Sets the demosaic method and Bayer phase that QVI_Convert reads.
  void SetBayer(DemosaicMethod method, BayerPhase phase);

 private:
  std::vector<uint8_t> memory_;
  BufferHandle handle_ = 0;
  ImageFormat format_;
  uint32_t width_, height_, stride_;
};

}  // namespace qvi::tool
