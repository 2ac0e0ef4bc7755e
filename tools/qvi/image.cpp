#include "image.h"

#include <string>

#include "error.h"

namespace qvi::tool {

Image::Image(ImageFormat format, uint32_t width, uint32_t height, uint32_t stride, uint32_t slack)
    : memory_(size_t{stride} * height + slack), format_(format), width_(width), height_(height),
      stride_(stride) {
  const Status s = QVB_BufferCreate(memory_.data(), width, height, stride, format, &handle_);
  if (s != QVB_STATUS_OK) throw Error("the buffer library could not create a buffer (status " + std::to_string(s) + ")");
}

Image::~Image() {
  if (handle_ != 0) QVB_BufferDestroy(handle_);
}

Image::Image(Image&& other) noexcept
    : memory_(std::move(other.memory_)), handle_(other.handle_), format_(other.format_),
      width_(other.width_), height_(other.height_), stride_(other.stride_) {
  // The vector's storage moved with it, so the address the buffer library
  // holds is still right.
  other.handle_ = 0;
}

void Image::SetBayer(DemosaicMethod method, BayerPhase phase) {
  QVB_BufferParameterSet(handle_, BUF_PARAM_DEMOSAIC_METHOD, method);
  QVB_BufferParameterSet(handle_, BUF_PARAM_BAYER_PHASE, phase);
}

}  // namespace qvi::tool
