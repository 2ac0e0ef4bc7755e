// Samples and the arithmetic that turns them into channel values.
//
// Channel values travel as uint32_t until the packer stores them; nothing
// here clamps or masks.  For n-bit input every result is one right shift of a
// sum of raw samples, the count taken modulo 32, so that every depth is
// defined (only 9 to 16 are useful).
#pragma once

#include <cstdint>

#include "bayer/member.h"
#include "buffer/memory.h"

namespace qvi::bayer {

template <Depth D>
struct Sample;

template <>
struct Sample<Depth::BAY8> {
  static constexpr uint32_t kBytes = 1;
  static uint32_t At(const uint8_t* row, uint32_t x) { return row[x]; }
};

template <>
struct Sample<Depth::BAYn> {
  static constexpr uint32_t kBytes = 2;
  static uint32_t At(const uint8_t* row, uint32_t x) { return Load16(row + 2 * uint64_t{x}); }
};

// Raw samples reduced to channel values.
template <Depth D>
class Arith;

template <>
class Arith<Depth::BAY8> {
 public:
  explicit Arith(uint32_t /*bits*/) {}
  uint32_t Copy(uint32_t a) const { return a; }
};

// n-bit samples: shifted right by bits - 8.
template <>
class Arith<Depth::BAYn> {
 public:
  explicit Arith(uint32_t bits) : copy_((bits - 8) & 31) {}
  uint32_t Copy(uint32_t a) const { return a >> copy_; }

 private:
  uint32_t copy_;
};

}  // namespace qvi::bayer
