// A model of the frames the de-interlacers write, stated per frame line
// instead of walked: which field line (or missing line) frame line k is,
// where it starts, and what each byte of a missing line is.
#pragma once

#include <cstdint>
#include <vector>

#include "support/image.h"

namespace qvi::test {

enum class Method { Dup, Ave };

inline uint8_t MissingByte(Method m, const uint8_t* a, const uint8_t* b, uint32_t j) {
  return m == Method::Dup ? a[j] : static_cast<uint8_t>((a[j] + b[j]) / 2);
}

// The frame of 2H lines of S bytes each, over `frame_bytes` of canary.
inline std::vector<uint8_t> ModelFrame(Method m, uint32_t parity, const std::vector<uint8_t>& field, uint32_t s,
                                       uint32_t h, size_t frame_bytes) {
  std::vector<uint8_t> out(frame_bytes, kCanary);
  for (uint32_t k = 0; k < 2 * h; ++k) {
    // Frame line k is field line `src`, or the missing line below it.
    bool missing;
    uint32_t src;
    if (parity == 0) {
      missing = k > 0 && k % 2 == 0;
      src = k == 0 ? 0 : (missing ? k / 2 - 1 : (k - 1) / 2);
    } else {
      missing = k % 2 == 1 && k + 1 < 2 * h;
      src = k / 2;
    }
    const uint8_t* a = field.data() + uint64_t{src} * s;
    for (uint32_t j = 0; j < s; ++j) out[uint64_t{k} * s + j] = missing ? MissingByte(m, a, a + s, j) : a[j];
  }
  return out;
}

}  // namespace qvi::test
