// What every harness shares: its entry point (so one file of each program
// includes it), reading its choices from the fuzzer's bytes front to back (so
// that seeds can be written by hand), strides drawn around a line's length,
// and checks that abort with a message.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "qvi.h"
#include "support/fenced_image.h"

namespace qvi::fuzz {

// A handle the buffer library never hands out.
inline constexpr BufferHandle kGone = 0xFFFFFFFFFFFFull;

struct FuzzInput {
  const uint8_t* data;
  size_t size, pos = 0;

  // The next byte, 0 once the input is used up; a word is its low byte first.
  uint8_t Byte() { return pos < size ? data[pos++] : 0; }
  uint32_t Word() { const uint32_t low = Byte(); return low | uint32_t{Byte()} << 8; }
  uint32_t Below(uint32_t n) { return Word() % n; }
  test::Fence PickFence() { return Byte() & 1 ? test::Fence::BeforeStart : test::Fence::AfterEnd; }

  // A stride for lines of `line` bytes: the line with a little padding (odd
  // amounts too), exactly the line, shorter than the line, or any small value.
  uint32_t Stride(uint32_t line) {
    const uint32_t b = Byte(), k = b >> 2;
    return b % 4 == 0 ? line + k % 9 : b % 4 == 1 ? line : b % 4 == 2 ? (line == 0 ? 0 : line - 1 - k % line) : Byte();
  }

  // Fills `out` with the bytes not used yet, repeated; with none left, a ramp.
  void Fill(uint8_t* out, size_t n) const {
    const size_t left = size - pos;
    for (size_t i = 0; i < n; ++i) out[i] = left ? data[pos + i % left] : static_cast<uint8_t>(i * 37);
  }
};

inline void Check(bool ok, const char* what, unsigned long long detail = 0) {
  if (!ok) std::fprintf(stderr, "qvi fuzz check failed: %s (%llu)\n", what, detail), std::abort();
}

// The bytes of `m` now: taken before a call, compared after it to show that
// the call left them alone.
inline std::vector<uint8_t> Bytes(const test::FencedMemory& m) { return {m.data(), m.data() + m.size()}; }

// Each harness makes its calls and checks in Run, called by the entry point
// libFuzzer (or the replay driver) calls with each input.
void Run(FuzzInput& in);

}  // namespace qvi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qvi::fuzz::FuzzInput in{data, size};
  qvi::fuzz::Run(in);
  return 0;
}
