// Images whose memory ends (or starts) exactly at a page the process may not
// touch, so that any access beyond what a test allows faults at once.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "support/fake_buffers.h"

namespace qvi::test {

enum class Fence { AfterEnd, BeforeStart };

class FencedMemory {
 public:
  FencedMemory(size_t bytes, Fence fence, uint8_t fill) : bytes_(bytes) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t body = (bytes + page - 1) / page * page;
    map_size_ = body + 2 * page;
    void* map = mmap(nullptr, map_size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map == MAP_FAILED) throw std::runtime_error("mmap failed");
    map_ = static_cast<uint8_t*>(map);
    mprotect(map_, page, PROT_NONE);
    mprotect(map_ + page + body, page, PROT_NONE);
    data_ = fence == Fence::AfterEnd ? map_ + page + body - bytes : map_ + page;
    std::memset(data_, fill, bytes);
  }
  ~FencedMemory() { munmap(map_, map_size_); }
  FencedMemory(const FencedMemory&) = delete;
  FencedMemory& operator=(const FencedMemory&) = delete;

  uint8_t* data() const { return data_; }
  size_t size() const { return bytes_; }

 private:
  uint8_t* map_ = nullptr;
  size_t map_size_ = 0;
  uint8_t* data_ = nullptr;
  size_t bytes_ = 0;
};

// A fenced image registered with the fake buffer library: stride x height
// bytes plus `slack` (the over-read a function is documented to make).
class FencedImage {
 public:
  FencedImage(uint32_t format, uint32_t width, uint32_t height, uint32_t stride, uint32_t slack, Fence fence,
              uint8_t fill = 0xA5)
      : memory_(uint64_t{stride} * height + slack, fence, fill) {
    handle_ = AddFakeBuffer(memory_.data(), format, width, height, stride);
  }
  BufferHandle handle() const { return handle_; }
  FakeBuffer& params() { return FakeBufferOf(handle_); }
  uint8_t* data() const { return memory_.data(); }
  size_t size() const { return memory_.size(); }

 private:
  FencedMemory memory_;
  BufferHandle handle_ = 0;
};

}  // namespace qvi::test
