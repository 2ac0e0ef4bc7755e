// The interpolating rules of the de-interlacers, byte by byte: what the row
// kernels compute, portable and fast.
#pragma once

#include <algorithm>
#include <cstdint>

namespace qvi::field {

// Bilinear weights 105 (above, below) and 75 (four neighbours) sum to 510 of 512.
// (So an area of uniform value v comes out as (510 x v) >> 9, 255 becoming
// 254.  Kept exactly.)
inline constexpr uint32_t kAboveBelowWeight = 105;
inline constexpr uint32_t kNeighbourWeight = 75;
inline constexpr uint32_t kWeightShift = 9;

// Byte i of a missing line from bytes a, b and their neighbours `step` away.
struct Bilinear {
  static uint8_t At(const uint8_t* a, const uint8_t* b, uint32_t i, uint32_t step) {
    const uint32_t centre = a[i] + b[i];
    const uint32_t sides = a[i - step] + a[i + step] + b[i - step] + b[i + step];
    return static_cast<uint8_t>((centre * kAboveBelowWeight + sides * kNeighbourWeight) >> kWeightShift);
  }
};

// The truncating mean of two bytes, (x + y) >> 1, without leaving 8 bits.
constexpr uint8_t MeanOfTwo(uint8_t x, uint8_t y) { return static_cast<uint8_t>((x & y) + ((x ^ y) >> 1)); }

// The mean of the two middle values (third and fourth smallest, ties counted
// separately) of six bytes, truncated.  The three pairs are ordered by one
// comparison each and then by their larger member; the largest value of all
// is then known and the two middle values follow from a short decision tree,
// without sorting the six.  Every decision is a select on bytes, not a jump,
// so a loop of them vectorises and random pixels cost no mispredictions.
constexpr uint8_t Median6(uint8_t a, uint8_t b, uint8_t c, uint8_t d, uint8_t e, uint8_t f) {
  // Each pair low then high.
  const uint8_t l1 = std::min(a, b), h1 = std::max(a, b);
  const uint8_t l2 = std::min(c, d), h2 = std::max(c, d);
  const uint8_t l3 = std::min(e, f), h3 = std::max(e, f);
  // The pairs by their larger member: (p, q), (r, t), then (u, the maximum).
  const bool first_two_swap = h2 < h1;
  const uint8_t p0 = first_two_swap ? l2 : l1, q0 = std::min(h1, h2);
  const uint8_t r0 = first_two_swap ? l1 : l2, t0 = std::max(h1, h2);
  const bool last_two_swap = h3 < t0;
  const uint8_t r1 = last_two_swap ? l3 : r0, t1 = std::min(t0, h3);
  const uint8_t u = last_two_swap ? r0 : l3;
  const bool again = t1 < q0;
  const uint8_t p = again ? r1 : p0, q = std::min(q0, t1);
  const uint8_t r = again ? p0 : r1, t = std::max(q0, t1);
  // p <= q <= t and r <= t: the middle two of the six are the third and
  // fourth smallest of p, q, r, t, u.  When t <= u they are max(q, r) and t;
  // otherwise t is the largest of the five and they are the larger two of
  // p <= q and lo <= hi.
  const uint8_t lo = std::min(r, u), hi = std::max(r, u);
  const bool hi_below_q = hi <= q;
  const uint8_t x5 = hi_below_q ? q : hi, y5 = hi_below_q ? std::max(p, hi) : std::max(q, lo);
  const bool t_fourth = t <= u;
  return MeanOfTwo(t_fourth ? std::max(q, r) : x5, t_fourth ? t : y5);
}

// Compare-exchanges (min to the first place, max to the second) after which
// places 2 and 3 of six values hold the third and fourth smallest: the
// vector kernels take their mean.  Fewer than a full sort, and of the
// exchanges' outputs only those later read are computed at all.
inline constexpr int kMiddlePairNetwork[][2] = {{0, 1}, {0, 2}, {1, 2}, {1, 3}, {4, 5}, {0, 4},
                                                {2, 5}, {2, 4}, {1, 2}, {3, 4}, {2, 3}};

// Byte i of a missing line: the median of the six bytes `step` apart.
struct Median {
  static uint8_t At(const uint8_t* a, const uint8_t* b, uint32_t i, uint32_t step) {
    return Median6(a[i - step], a[i], a[i + step], b[i - step], b[i], b[i + step]);
  }
};

}  // namespace qvi::field
