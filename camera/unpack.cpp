#include "unpack.h"

#include <cstring>

namespace qvi::camera {
namespace {

struct Layout {
  uint32_t pixels, bytes;  // one group: 4 pixels in 5 bytes, or 2 in 3
};

Layout LayoutOf(Packing packing) {
  return packing == Packing::kLsb10 ? Layout{4, 5} : Layout{2, 3};
}

inline void Store(uint8_t* dst, uint64_t i, uint32_t value) {
  const uint16_t word = static_cast<uint16_t>(value);
  std::memcpy(dst + 2 * i, &word, 2);
}

// Pixel n of a stream starting at `src`, read one at a time: the bytes it
// touches are exactly those that hold its bits.
uint32_t Sample(Packing packing, const uint8_t* src, uint64_t n) {
  switch (packing) {
    case Packing::kLsb10:
    case Packing::kLsb12: {
      const uint32_t bits = packing == Packing::kLsb10 ? 10 : 12;
      const uint64_t bit = n * bits;
      const uint8_t* b = src + bit / 8;
      // 10 or 12 bits from any bit of a byte always reach into the next byte
      // and never past it.
      return ((b[0] | uint32_t{b[1]} << 8) >> (bit % 8)) & ((1u << bits) - 1);
    }
    case Packing::kGrouped10:
    case Packing::kGrouped12: {
      const uint32_t low = packing == Packing::kGrouped10 ? 2 : 4;
      const uint8_t* b = src + n / 2 * 3;
      return n % 2 == 0 ? uint32_t{b[0]} << low | (b[1] & ((1u << low) - 1))
                        : uint32_t{b[2]} << low | ((b[1] >> 4) & ((1u << low) - 1));
    }
    case Packing::kNone:
      break;
  }
  return 0;
}

// Whole groups first, then the pixels of a last partial group one at a time.
void Lsb10Line(const uint8_t* src, uint8_t* dst, uint32_t width) {
  uint32_t x = 0;
  for (; x + 4 <= width; x += 4, src += 5) {
    const uint64_t v = src[0] | uint64_t{src[1]} << 8 | uint64_t{src[2]} << 16 | uint64_t{src[3]} << 24 |
                       uint64_t{src[4]} << 32;
    Store(dst, x, v & 0x3FF);
    Store(dst, x + 1, (v >> 10) & 0x3FF);
    Store(dst, x + 2, (v >> 20) & 0x3FF);
    Store(dst, x + 3, (v >> 30) & 0x3FF);
  }
  for (uint32_t i = 0; x + i < width; ++i) Store(dst, x + i, Sample(Packing::kLsb10, src, i));
}

void Lsb12Line(const uint8_t* src, uint8_t* dst, uint32_t width) {
  uint32_t x = 0;
  for (; x + 2 <= width; x += 2, src += 3) {
    Store(dst, x, src[0] | uint32_t{src[1] & 0x0Fu} << 8);
    Store(dst, x + 1, src[1] >> 4 | uint32_t{src[2]} << 4);
  }
  if (x < width) Store(dst, x, Sample(Packing::kLsb12, src, 0));
}

template <uint32_t kLow>
void GroupedLine(const uint8_t* src, uint8_t* dst, uint32_t width) {
  constexpr uint32_t kMask = (1u << kLow) - 1;
  uint32_t x = 0;
  for (; x + 2 <= width; x += 2, src += 3) {
    Store(dst, x, uint32_t{src[0]} << kLow | (src[1] & kMask));
    Store(dst, x + 1, uint32_t{src[2]} << kLow | ((src[1] >> 4) & kMask));
  }
  if (x < width) Store(dst, x, uint32_t{src[0]} << kLow | (src[1] & kMask));
}

}  // namespace

uint64_t PackedLineBytes(Packing packing, uint64_t width) {
  switch (packing) {
    case Packing::kNone: return 0;
    case Packing::kLsb10: return (width * 10 + 7) / 8;
    // Two pixels take three bytes in all the 12-bit-per-pixel layouts; a
    // lone last pixel takes its first two.
    case Packing::kLsb12:
    case Packing::kGrouped10:
    case Packing::kGrouped12: return (width * 12 + 7) / 8;
  }
  return 0;
}

void UnpackLine(Packing packing, const uint8_t* src, uint8_t* dst, uint32_t width) {
  switch (packing) {
    case Packing::kNone: return;
    case Packing::kLsb10: return Lsb10Line(src, dst, width);
    case Packing::kLsb12: return Lsb12Line(src, dst, width);
    case Packing::kGrouped10: return GroupedLine<2>(src, dst, width);
    case Packing::kGrouped12: return GroupedLine<4>(src, dst, width);
  }
}

void Unpack(Packing packing, const uint8_t* src, size_t src_stride, uint32_t width, uint32_t height, uint8_t* dst,
            size_t dst_stride) {
  for (uint32_t y = 0; y < height; ++y) UnpackLine(packing, src + y * src_stride, dst + y * dst_stride, width);
}

void UnpackStream(Packing packing, const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst,
                  size_t dst_stride) {
  if (packing == Packing::kNone) return;
  const Layout group = LayoutOf(packing);
  for (uint32_t y = 0; y < height; ++y, dst += dst_stride) {
    const uint64_t first = uint64_t{y} * width;
    if (first % group.pixels == 0) {
      UnpackLine(packing, src + first / group.pixels * group.bytes, dst, width);
    } else {
      for (uint32_t x = 0; x < width; ++x) Store(dst, x, Sample(packing, src, first + x));
    }
  }
}

}  // namespace qvi::camera
