// Row kernels of the de-interlacers: each makes one missing frame line from
// the field line above it (a) and the field line below it (b).  They know one
// line and nothing else: no strides, no handles, no status.
#pragma once

#include <cstdint>
#include <cstring>

namespace qvi::field {

// The missing line repeats the field line above it.
inline void CopyAboveRow(const uint8_t* a, const uint8_t*, uint8_t* out, uint32_t n) { std::memmove(out, a, n); }

// Byte-wise truncating mean (a + b) >> 1 over all n bytes, padding included
// and regardless of how pixels are packed.  Eight bytes at a time as
// (x & y) + ((x ^ y) >> 1), the mask keeping each byte's shift to itself.
inline void MeanRow(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) {
  constexpr uint64_t kAllButLowBits = 0xFEFEFEFEFEFEFEFEull;
  uint32_t i = 0;
  for (; n - i >= 8; i += 8) {
    uint64_t x, y;
    std::memcpy(&x, a + i, 8);
    std::memcpy(&y, b + i, 8);
    const uint64_t mean = (x & y) + (((x ^ y) & kAllButLowBits) >> 1);
    std::memcpy(out + i, &mean, 8);
  }
  for (; i < n; ++i) out[i] = static_cast<uint8_t>((a[i] + b[i]) >> 1);
}

}  // namespace qvi::field
