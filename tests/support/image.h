// Test images: memory owned by the test, filled with a canary byte, with
// optional slack after stride x height bytes, registered with the fake buffer
// library.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "support/fake_buffers.h"

namespace qvi::test {

inline constexpr uint8_t kCanary = 0xA5;

class TestImage {
 public:
  TestImage(uint32_t format, uint32_t width, uint32_t height, uint32_t stride, uint32_t slack = 0,
            uint8_t fill = kCanary)
      : bytes_(uint64_t{stride} * height + slack, fill) {
    handle_ = AddFakeBuffer(bytes_.data(), format, width, height, stride);
    if (bytes_.empty()) FakeBufferOf(handle_).address = reinterpret_cast<uintptr_t>(&empty_);
  }

  TestImage(const TestImage&) = delete;
  TestImage& operator=(const TestImage&) = delete;

  BufferHandle handle() const { return handle_; }
  FakeBuffer& params() { return FakeBufferOf(handle_); }
  uint8_t* data() { return bytes_.data(); }
  std::vector<uint8_t>& bytes() { return bytes_; }
  uint32_t stride() const { return FakeBufferOf(handle_).stride; }

  uint8_t* line(uint32_t y) { return bytes_.data() + uint64_t{stride()} * y; }
  uint32_t Get16(uint64_t offset) const {
    uint16_t v;
    std::memcpy(&v, bytes_.data() + offset, 2);
    return v;
  }
  uint32_t Get32(uint64_t offset) const {
    uint32_t v;
    std::memcpy(&v, bytes_.data() + offset, 4);
    return v;
  }
  void Put16(uint64_t offset, uint32_t v) {
    const auto w = static_cast<uint16_t>(v);
    std::memcpy(bytes_.data() + offset, &w, 2);
  }
  void Put32(uint64_t offset, uint32_t v) { std::memcpy(bytes_.data() + offset, &v, 4); }

 private:
  std::vector<uint8_t> bytes_;
  BufferHandle handle_ = 0;
  uint8_t empty_ = 0;
};

// True when every byte equals `value`.
inline bool AllBytesAre(const std::vector<uint8_t>& bytes, uint8_t value) {
  for (uint8_t b : bytes)
    if (b != value) return false;
  return true;
}

}  // namespace qvi::test
