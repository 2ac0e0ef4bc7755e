// A buffer of the bundled buffer library (libqvb) over memory the caller
// owns, for the programs that link libqvb instead of the recording fake: the
// fuzzers and the concurrency test.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "qvb.h"

namespace qvi::test {

class QvbBuffer {
 public:
  QvbBuffer(void* memory, uint32_t format, uint32_t width, uint32_t height, uint32_t stride) {
    if (QVB_BufferCreate(memory, width, height, stride, format, &handle_) != QVB_STATUS_OK) std::abort();
  }
  ~QvbBuffer() { QVB_BufferDestroy(handle_); }
  QvbBuffer(const QvbBuffer&) = delete;
  QvbBuffer& operator=(const QvbBuffer&) = delete;

  BufferHandle handle() const { return handle_; }
  void Set(BufferParameter id, uint64_t value) const { QVB_BufferParameterSet(handle_, id, value); }

 private:
  BufferHandle handle_ = 0;
};

}  // namespace qvi::test
