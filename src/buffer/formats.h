// Pixel formats by the low byte of their code, and what a pixel occupies.
#pragma once

#include <cstdint>

namespace qvi {

// The low byte of an ImageFormat code (the code is 0xC0022600 + this byte).
enum class Fmt : uint8_t {
  Y8 = 0x01,
  Y16 = 0x02,
  Y32 = 0x03,
  RGB15 = 0x05,
  RGB16 = 0x06,
  XBGR32 = 0x07,
  BGRX32 = 0x08,
  BGR48 = 0x09,
  BGR15 = 0x0A,
  BGR16 = 0x0B,
  XRGB32 = 0x0C,
  RGBX32 = 0x0D,
  RGB48 = 0x0E,
  RGB30 = 0x0F,
  BGR30 = 0x10,
  BGR24 = 0x11,
  RGB24 = 0x12,
  Y10 = 0x13,
  Y12 = 0x14,
  Y14 = 0x15,
  BAY8 = 0x16,
  BAY10 = 0x17,
  BAY12 = 0x18,
  BAY14 = 0x19,
  BAY16 = 0x1A,
  Y12P = 0x1B,
  BGR36 = 0x1C,
  TRIPLE16 = 0x1D,
  YUV422 = 0x1E,
  Y12_ALT = 0x1F,
};

inline constexpr uint32_t kFormatFamily = 0xC0022600u;

constexpr uint32_t FullCode(Fmt f) { return kFormatFamily + static_cast<uint32_t>(f); }
constexpr Fmt LowByte(uint32_t code) { return static_cast<Fmt>(code & 0xFFu); }

// Bytes one pixel of a destination occupies; the factor of every size check.
// (FMT_Y12P and FMT_YUV422 pack two pixels and are never destinations.)
constexpr uint32_t BytesPerPixel(Fmt f) {
  switch (f) {
    case Fmt::Y8:
    case Fmt::BAY8: return 1;
    case Fmt::BGR24:
    case Fmt::RGB24: return 3;
    case Fmt::Y32:
    case Fmt::XBGR32:
    case Fmt::BGRX32:
    case Fmt::XRGB32:
    case Fmt::RGBX32:
    case Fmt::RGB30:
    case Fmt::BGR30: return 4;
    case Fmt::BGR48:
    case Fmt::RGB48:
    case Fmt::BGR36:
    case Fmt::TRIPLE16: return 6;
    case Fmt::Y12P: return 3;  // per two pixels
    case Fmt::YUV422: return 4;  // per two pixels
    default: return 2;  // 16-bit grey, 15/16-bit colour, deep Bayer
  }
}

// The bit depth of a Bayer mosaic format (what QVI_Convert passes a deep
// member), 0 for any other format.
constexpr uint32_t MosaicBits(Fmt f) {
  switch (f) {
    case Fmt::BAY8: return 8;
    case Fmt::BAY10: return 10;
    case Fmt::BAY12: return 12;
    case Fmt::BAY14: return 14;
    case Fmt::BAY16: return 16;
    default: return 0;
  }
}

}  // namespace qvi
