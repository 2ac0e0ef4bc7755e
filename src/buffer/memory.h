// Loads and stores of native 16- and 32-bit words at any address.
#pragma once

#include <cstdint>
#include <cstring>

namespace qvi {

inline uint32_t Load16(const uint8_t* p) {
  uint16_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

inline uint32_t Load32(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// Stores the low 16 bits of v.
inline void Store16(uint8_t* p, uint32_t v) {
  const auto w = static_cast<uint16_t>(v);
  std::memcpy(p, &w, sizeof w);
}

inline void Store32(uint8_t* p, uint32_t v) { std::memcpy(p, &v, sizeof v); }

}  // namespace qvi
