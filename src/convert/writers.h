// Destination formats: one generic packer per destination, asking the pixel
// for the view it needs (pixels.h).  No writer touches the X byte of a colour
// pixel; grey pixels fill it.
#pragma once

#include <cstdint>

#include "buffer/formats.h"
#include "buffer/memory.h"
#include "convert/pixels.h"

namespace qvi::convert {

template <Fmt F>
struct Writer;

template <>
struct Writer<Fmt::Y8> {
  static constexpr uint32_t kBytes = 1;
  template <class P>
  static void Put(uint8_t* d, const P& p) { d[0] = static_cast<uint8_t>(p.grey8()); }
};

// 16-bit grey words (FMT_Y16, FMT_Y10, FMT_Y12, FMT_Y14): the word unscaled.
struct GreyWordWriter {
  static constexpr uint32_t kBytes = 2;
  template <class P>
  static void Put(uint8_t* d, const P& p) { Store16(d, p.word()); }
};
template <> struct Writer<Fmt::Y16> : GreyWordWriter {};
template <> struct Writer<Fmt::Y10> : GreyWordWriter {};
template <> struct Writer<Fmt::Y12> : GreyWordWriter {};
template <> struct Writer<Fmt::Y14> : GreyWordWriter {};

template <>
struct Writer<Fmt::Y32> {
  static constexpr uint32_t kBytes = 4;
  template <class P>
  static void Put(uint8_t* d, const P& p) { Store32(d, p.word()); }
};

// 16-bit words of 5:6:5 (kGreenBits 6) or 5:5:5 (kGreenBits 5, bit 15
// zero): kRedHigh chooses which of red and blue takes the high five bits.
template <bool kRedHigh, uint32_t kGreen>
struct Packed16Writer {
  static constexpr bool kRedInHighField = kRedHigh;
  static constexpr uint32_t kBytes = 2, kGreenBits = kGreen;
  template <class P>
  static void Put(uint8_t* d, const P& p) {
    const Rgb8 c = p.rgb8();
    const uint32_t hi = kRedHigh ? c.r : c.b;
    const uint32_t lo = kRedHigh ? c.b : c.r;
    const uint32_t green = c.g & (0xFFu << (8 - kGreenBits)) & 0xFFu;
    Store16(d, ((hi & 0xF8u) << (kGreenBits + 2)) + (green << (kGreenBits - 3)) + (lo >> 3));
  }
};
template <bool kRedHigh>
using Packed565Writer = Packed16Writer<kRedHigh, 6>;
template <bool kRedHigh>
using Packed555Writer = Packed16Writer<kRedHigh, 5>;
template <> struct Writer<Fmt::RGB16> : Packed565Writer<true> {};
template <> struct Writer<Fmt::BGR16> : Packed565Writer<false> {};
template <> struct Writer<Fmt::RGB15> : Packed555Writer<true> {};
template <> struct Writer<Fmt::BGR15> : Packed555Writer<false> {};

// Three bytes; kRgbOrder puts red first, else blue first.
template <bool kRgbOrder>
struct Bytes24Writer {
  static constexpr bool kRedFirst = kRgbOrder;
  static constexpr uint32_t kBytes = 3;
  static void Put3(uint8_t* d, const Rgb8& c) {
    d[0] = static_cast<uint8_t>(kRgbOrder ? c.r : c.b);
    d[1] = static_cast<uint8_t>(c.g);
    d[2] = static_cast<uint8_t>(kRgbOrder ? c.b : c.r);
  }
  template <class P>
  static void Put(uint8_t* d, const P& p) { Put3(d, p.rgb8()); }
};
template <> struct Writer<Fmt::BGR24> : Bytes24Writer<false> {};
template <> struct Writer<Fmt::RGB24> : Bytes24Writer<true> {};

// Four bytes, three colours at kOffset (0 or 1) and the X byte beside them.
// Colour sources leave the X byte as it was; grey fills all four bytes.
template <bool kRgbOrder, uint32_t kOffset>
struct Bytes32Writer {
  static constexpr bool kRedFirst = kRgbOrder;
  static constexpr uint32_t kColourOffset = kOffset;
  static constexpr uint32_t kBytes = 4;
  template <class P>
  static void Put(uint8_t* d, const P& p) {
    if constexpr (P::kGrey) {
      const auto v = static_cast<uint8_t>(p.grey8());
      d[0] = d[1] = d[2] = d[3] = v;
    } else {
      Bytes24Writer<kRgbOrder>::Put3(d + kOffset, p.rgb8());
    }
  }
};
template <> struct Writer<Fmt::BGRX32> : Bytes32Writer<false, 0> {};
template <> struct Writer<Fmt::RGBX32> : Bytes32Writer<true, 0> {};
template <> struct Writer<Fmt::XBGR32> : Bytes32Writer<false, 1> {};
template <> struct Writer<Fmt::XRGB32> : Bytes32Writer<true, 1> {};

// Three 16-bit words.
template <bool kRgbOrder>
struct Words48Writer {
  static constexpr uint32_t kBytes = 6;
  static void Put3(uint8_t* d, const Words48& w) {
    Store16(d, kRgbOrder ? w.r : w.b);
    Store16(d + 2, w.g);
    Store16(d + 4, kRgbOrder ? w.b : w.r);
  }
  template <class P>
  static void Put(uint8_t* d, const P& p) { Put3(d, p.words48()); }
};
template <> struct Writer<Fmt::BGR48> : Words48Writer<false> {};
template <> struct Writer<Fmt::RGB48> : Words48Writer<true> {};
template <> struct Writer<Fmt::BGR36> : Words48Writer<false> {};
template <> struct Writer<Fmt::TRIPLE16> : Words48Writer<false> {};

template <>
struct Writer<Fmt::RGB30> {
  static constexpr uint32_t kBytes = 4;
  template <class P>
  static void Put(uint8_t* d, const P& p) { Store32(d, p.rgb30()); }
};

template <>
struct Writer<Fmt::BGR30> {
  static constexpr uint32_t kBytes = 4;
  template <class P>
  static void Put(uint8_t* d, const P& p) { Store32(d, p.bgr30()); }
};

}  // namespace qvi::convert
