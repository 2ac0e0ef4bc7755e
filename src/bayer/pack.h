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

// Three bytes, red first or blue first, in a pixel of kBytes bytes (a fourth
// byte is the X byte: never written).
template <bool kRedFirst, uint32_t kPixelBytes>
struct BytePacker {
  static constexpr uint32_t kBytes = kPixelBytes;
  static void Store(uint8_t* d, uint32_t r, uint32_t g, uint32_t b) {
    d[0] = static_cast<uint8_t>(kRedFirst ? r : b);
    d[1] = static_cast<uint8_t>(g);
    d[2] = static_cast<uint8_t>(kRedFirst ? b : r);
  }
};

// A 5:6:5 word, red or blue in the high field; the low field goes in unmasked.
template <bool kRedHigh>
struct WordPacker {
  static constexpr uint32_t kBytes = 2;
  static void Store(uint8_t* d, uint32_t r, uint32_t g, uint32_t b) {
    const uint32_t high = kRedHigh ? r : b, low = kRedHigh ? b : r;
    Store16(d, ((high << 8) & 0xF800u) | ((g << 3) & 0x07E0u) | (low >> 3));
    // LowFieldUnmasked: the low field is ORed in whole, so bits of an
    // oversized value above its five run into green and red.
  }
};

template <Packing P>
struct Packer;
template <>
struct Packer<Packing::RGBX32> : BytePacker<true, 4> {};
template <>
struct Packer<Packing::BGRX32> : BytePacker<false, 4> {};
template <>
struct Packer<Packing::BGR24> : BytePacker<false, 3> {};
template <>
struct Packer<Packing::RGB16> : WordPacker<true> {};
template <>
struct Packer<Packing::BGR16> : WordPacker<false> {};

// The packings that keep only bits 0-7 of each channel value.
template <Packing P>
inline constexpr bool kByteChannels = P == Packing::RGBX32 || P == Packing::BGRX32 || P == Packing::BGR24;

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
