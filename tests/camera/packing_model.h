// The packed camera layouts written out bit by bit, as unpack.h draws them:
// a model for the tests, made differently from the unpackers on purpose (it
// packs values into bits; the unpackers read bytes into words), so that
// unpacking what it packed must give the values back.
#pragma once

#include <cstdint>
#include <vector>

#include "unpack.h"

namespace qvi::camera::model {

inline uint32_t SampleBits(Packing packing) { return packing == Packing::kLsb10 || packing == Packing::kGrouped10 ? 10 : 12; }

// Packs `values` (one line, or a whole frame sent as one stream) into the
// bytes `packing` gives them; the last byte keeps zeros in its unused bits.
inline std::vector<uint8_t> Pack(Packing packing, const std::vector<uint16_t>& values) {
  const uint32_t bits = SampleBits(packing);
  std::vector<uint8_t> bytes;
  if (packing == Packing::kLsb10 || packing == Packing::kLsb12) {
    bytes.assign((values.size() * bits + 7) / 8, 0);
    for (size_t i = 0; i < values.size(); ++i)
      for (uint32_t b = 0; b < bits; ++b) {
        const size_t at = i * bits + b;
        bytes[at / 8] |= static_cast<uint8_t>(((values[i] >> b) & 1) << (at % 8));
      }
    return bytes;
  }
  // Two pixels in three bytes: high bits outside, low bits in the middle byte.
  const uint32_t low = bits - 8, mask = (1u << low) - 1;
  for (size_t i = 0; i < values.size(); i += 2) {
    const uint32_t p0 = values[i];
    bytes.push_back(static_cast<uint8_t>(p0 >> low));
    if (i + 1 == values.size()) {
      bytes.push_back(static_cast<uint8_t>(p0 & mask));
      break;
    }
    const uint32_t p1 = values[i + 1];
    bytes.push_back(static_cast<uint8_t>((p0 & mask) | (p1 & mask) << 4));
    bytes.push_back(static_cast<uint8_t>(p1 >> low));
  }
  return bytes;
}

}  // namespace qvi::camera::model
