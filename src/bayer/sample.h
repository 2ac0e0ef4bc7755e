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

// Sum of the two middle values of four, with four comparisons: order the
// pairs (a, b) and (c, d), then the larger of the two lows and the smaller of
// the two highs are the middle values.
inline uint32_t MiddleSum(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
  const uint32_t lo1 = a < b ? a : b, hi1 = a < b ? b : a;
  const uint32_t lo2 = c < d ? c : d, hi2 = c < d ? d : c;
  return (lo1 > lo2 ? lo1 : lo2) + (hi1 < hi2 ? hi1 : hi2);
}

// The 8-bit mean of two samples applied as is, whatever their depth.  Named
// deviations use it at n-bit depth, where it skips the depth reduction.
inline uint32_t UnreducedMean2(uint32_t a, uint32_t b) { return (a + b) >> 1; }

// Copy, Mean2, Mean4 and Med4 of raw samples, reduced to channel values.
template <Depth D>
class Arith;

template <>
class Arith<Depth::BAY8> {
 public:
  explicit Arith(uint32_t /*bits*/) {}
  uint32_t Copy(uint32_t a) const { return a; }
  uint32_t Mean2(uint32_t a, uint32_t b) const { return (a + b) >> 1; }
  uint32_t Mean4(uint32_t a, uint32_t b, uint32_t c, uint32_t d) const { return (a + b + c + d) >> 2; }
  uint32_t Med4(uint32_t a, uint32_t b, uint32_t c, uint32_t d) const { return MiddleSum(a, b, c, d) >> 1; }
};

// n-bit samples: the depth reduction and the division are one shift of the
// full sum; the median is chosen on raw samples, halved, then reduced.
template <>
class Arith<Depth::BAYn> {
 public:
  explicit Arith(uint32_t bits) : copy_((bits - 8) & 31), mean2_((bits - 7) & 31), mean4_((bits - 6) & 31) {}
  uint32_t Copy(uint32_t a) const { return a >> copy_; }
  uint32_t Mean2(uint32_t a, uint32_t b) const { return (a + b) >> mean2_; }
  uint32_t Mean4(uint32_t a, uint32_t b, uint32_t c, uint32_t d) const { return (a + b + c + d) >> mean4_; }
  uint32_t Med4(uint32_t a, uint32_t b, uint32_t c, uint32_t d) const { return (MiddleSum(a, b, c, d) >> 1) >> copy_; }

  // The shift counts, for vector kernels that apply the same arithmetic.
  uint32_t CopyShift() const { return copy_; }
  uint32_t Mean2Shift() const { return mean2_; }
  uint32_t Mean4Shift() const { return mean4_; }

 private:
  uint32_t copy_, mean2_, mean4_;
};

}  // namespace qvi::bayer
