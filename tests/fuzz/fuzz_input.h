// What every harness shares: its entry point, reading its choices from the
// fuzzer's bytes front to back (so that seeds can be written by hand),
// strides drawn around a line's length, and checks that abort with a message.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "qvi.h"
#include "support/fenced_image.h"

namespace qvi::fuzz {

using test::Fence;
using test::FencedMemory;

// A handle the buffer library never hands out.
inline constexpr BufferHandle kGone = 0xFFFFFFFFFFFFull;

class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  // The next byte, 0 once the input is used up.
  uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
  uint32_t Word() { return Byte() | uint32_t{Byte()} << 8; }
  uint32_t Below(uint32_t n) { return Word() % n; }
  Fence PickFence() { return Byte() & 1 ? Fence::BeforeStart : Fence::AfterEnd; }

  // A stride for lines of `line` bytes: the line with a little padding (odd
  // amounts too), exactly the line, shorter than the line, or any small value.
  uint32_t Stride(uint32_t line) {
    const uint32_t b = Byte();
    switch (b & 3) {
      case 0: return line + (b >> 2) % 9;
      case 1: return line;
      case 2: return line == 0 ? 0 : line - 1 - (b >> 2) % line;
      default: return Byte();
    }
  }

  // Fills `out` with the bytes not used yet, repeated; with none left, a ramp.
  void Fill(uint8_t* out, size_t n) {
    const size_t left = size_ - pos_;
    for (size_t i = 0; i < n; ++i) out[i] = left ? data_[pos_ + i % left] : static_cast<uint8_t>(i * 37);
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
};

[[noreturn]] inline void Fail(const char* what, unsigned long long detail) {
  std::fprintf(stderr, "qvi fuzz check failed: %s (%llu)\n", what, detail);
  std::abort();
}

inline void Check(bool ok, const char* what, unsigned long long detail = 0) {
  if (!ok) Fail(what, detail);
}

// A copy of memory taken before a call, to show afterwards that the call left
// it alone.
class Snapshot {
 public:
  explicit Snapshot(const FencedMemory& m) : memory_(m), bytes_(m.data(), m.data() + m.size()) {}
  bool Unchanged() const {
    return bytes_.empty() || std::memcmp(memory_.data(), bytes_.data(), bytes_.size()) == 0;
  }

 private:
  const FencedMemory& memory_;
  std::vector<uint8_t> bytes_;
};

// The lowest free descriptor: it moves up when a call leaves one open.
inline int LowestFreeDescriptor() {
  const int fd = open("/dev/null", O_RDONLY);
  if (fd >= 0) close(fd);
  return fd;
}

}  // namespace qvi::fuzz

// Defines the function libFuzzer (or the replay driver) calls with each
// input; `run` makes the harness's calls and checks.
#define QVI_FUZZ_TARGET(run)                                                \
  extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { \
    qvi::fuzz::FuzzInput in(data, size);                                    \
    run(in);                                                                \
    return 0;                                                               \
  }
