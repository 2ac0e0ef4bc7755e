// Output packings: the only place where channel values become bytes.
//
// The byte packings keep the low 8 bits of each value (a sample wider than its
// depth wraps, it does not clip) and never write the X byte of the 32-bit
// ones.  The 5:6:5 words confine their high and middle fields by masks but OR
// the low field in unmasked, so an oversized value there runs into green.
#pragma once

#include <cstdint>

#include "bayer/member.h"
#include "buffer/memory.h"

namespace qvi::bayer {

template <Packing P>
struct Packer;

template <>
struct Packer<Packing::RGBX32> {
  static constexpr uint32_t kBytes = 4;
  static void Store(uint8_t* d, uint32_t r, uint32_t g, uint32_t b) {
    d[0] = static_cast<uint8_t>(r);
    d[1] = static_cast<uint8_t>(g);
    d[2] = static_cast<uint8_t>(b);  // d[3] keeps what the destination held
  }
};

template <>
struct Packer<Packing::BGRX32> {
  static constexpr uint32_t kBytes = 4;
  static void Store(uint8_t* d, uint32_t r, uint32_t g, uint32_t b) {
    d[0] = static_cast<uint8_t>(b);
    d[1] = static_cast<uint8_t>(g);
    d[2] = static_cast<uint8_t>(r);  // d[3] keeps what the destination held
  }
};

template <>
struct Packer<Packing::BGR24> {
  static constexpr uint32_t kBytes = 3;
  static void Store(uint8_t* d, uint32_t r, uint32_t g, uint32_t b) {
    d[0] = static_cast<uint8_t>(b);
    d[1] = static_cast<uint8_t>(g);
    d[2] = static_cast<uint8_t>(r);
  }
};

template <>
struct Packer<Packing::RGB16> {
  static constexpr uint32_t kBytes = 2;
  static void Store(uint8_t* d, uint32_t r, uint32_t g, uint32_t b) {
    Store16(d, ((r << 8) & 0xF800u) | ((g << 3) & 0x07E0u) | (b >> 3));  // blue unmasked
  }
};

template <>
struct Packer<Packing::BGR16> {
  static constexpr uint32_t kBytes = 2;
  static void Store(uint8_t* d, uint32_t r, uint32_t g, uint32_t b) {
    Store16(d, ((b << 8) & 0xF800u) | ((g << 3) & 0x07E0u) | (r >> 3));  // red unmasked
  }
};

// Stores a pixel given as the colour of its row's red or blue samples, green,
// and the other of red and blue; Row says which is which.
template <Packing P, class Row>
inline void Put(uint8_t* d, uint32_t row_colour, uint32_t green, uint32_t other_colour) {
  if constexpr (Row::kRed) {
    Packer<P>::Store(d, row_colour, green, other_colour);
  } else {
    Packer<P>::Store(d, other_colour, green, row_colour);
  }
}

// Destination rows of the 16-bit packings advance by a gap rounded down to
// an even number of bytes; the others by the gap as it is.
constexpr uint32_t GapRounding(Packing p) { return (p == Packing::RGB16 || p == Packing::BGR16) ? 2u : 1u; }

}  // namespace qvi::bayer
