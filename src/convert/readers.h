// Source formats: bytes to pixel values.  A reader gives one pixel per step,
// or, for the packed formats, two pixels per step (kPixelsPerStep == 2).
#pragma once

#include <algorithm>
#include <cstdint>

#include "buffer/formats.h"
#include "buffer/memory.h"
#include "convert/pixels.h"

namespace qvi::convert {

template <Fmt F>
struct Reader;

template <>
struct Reader<Fmt::Y8> {
  static constexpr uint32_t kPixelsPerStep = 1;
  static constexpr uint32_t kBytes = 1;
  static Grey8 Get(const uint8_t* s) { return {s[0]}; }
};

template <uint32_t N>
struct DeepGreyReader {
  static constexpr uint32_t kSignificantBits = N;
  static constexpr uint32_t kPixelsPerStep = 1;
  static constexpr uint32_t kBytes = 2;
  static DeepGrey<N> Get(const uint8_t* s) { return {Load16(s)}; }
};

template <> struct Reader<Fmt::Y10> : DeepGreyReader<10> {};
template <> struct Reader<Fmt::Y12> : DeepGreyReader<12> {};
template <> struct Reader<Fmt::Y12_ALT> : DeepGreyReader<12> {};  // a second code for 12-bit grey
template <> struct Reader<Fmt::Y14> : DeepGreyReader<14> {};
template <> struct Reader<Fmt::Y16> : DeepGreyReader<16> {};

// Two 12-bit pixels in three bytes b0 b1 b2; each contributes its top 8 bits.
template <>
struct Reader<Fmt::Y12P> {
  using Pixel = Grey8;
  static constexpr uint32_t kPixelsPerStep = 2;
  static constexpr uint32_t kStepBytes = 3;
  // The source gap is stride - 3w/2 (integer division), not rounded: the
  // line is bytes.
  static constexpr uint32_t LineBytes(uint32_t w) { return 3 * w / 2; }
  static constexpr uint32_t kElementBytes = 1;
  static void Get2(const uint8_t* s, Grey8* first, Grey8* second) {
    *first = {s[0]};
    *second = {((s[1] & 0x0Fu) << 4) + (s[2] >> 4)};
  }
};

// Colour sources.

template <>
struct Reader<Fmt::BGR24> {
  static constexpr uint32_t kPixelsPerStep = 1;
  static constexpr uint32_t kBytes = 3;
  static Colour8 Get(const uint8_t* s) { return {{s[2], s[1], s[0]}}; }
};

// FMT_BGRX32 (only into FMT_BGR24) takes its bytes B, G, R as R, G, B, so the
// three bytes land in reverse order and a round trip swaps red and blue.
struct ReversedBgrx32Reader {
  static constexpr uint32_t kPixelsPerStep = 1;
  static constexpr uint32_t kBytes = 4;
  static Colour8 Get(const uint8_t* s) { return {{s[0], s[1], s[2]}}; }
};
template <> struct Reader<Fmt::BGRX32> : ReversedBgrx32Reader {};

// Words B, G, R of N significant bits.
template <uint32_t N>
struct Deep3Reader {
  static constexpr uint32_t kPixelsPerStep = 1;
  static constexpr uint32_t kBytes = 6;
  static Deep3<N> Get(const uint8_t* s) { return {Load16(s + 4), Load16(s + 2), Load16(s)}; }
};
template <> struct Reader<Fmt::BGR48> : Deep3Reader<16> {};
template <> struct Reader<Fmt::BGR36> : Deep3Reader<12> {};

template <>
struct Reader<Fmt::RGB30> {
  static constexpr uint32_t kPixelsPerStep = 1;
  static constexpr uint32_t kBytes = 4;
  static Rgb30Word Get(const uint8_t* s) { return {Load32(s)}; }
};

// Four bytes Y0, U, Y1, V give two pixels that share the chroma, stored
// offset by 128.  Each chroma product is floored by an arithmetic shift and
// every channel clamped to 0..255.
template <>
struct Reader<Fmt::YUV422> {
  using Pixel = Colour8;
  static constexpr uint32_t kPixelsPerStep = 2;
  static constexpr uint32_t kStepBytes = 4;
  // The source gap is stride - 2w, rounded down to even: the line is
  // luma/chroma byte pairs.
  static constexpr uint32_t LineBytes(uint32_t w) { return 2 * w; }
  static constexpr uint32_t kElementBytes = 2;
  static void Get2(const uint8_t* s, Colour8* first, Colour8* second) {
    const int32_t u = int32_t{s[1]} - 128;
    const int32_t v = int32_t{s[3]} - 128;
    const Chroma c{(1815 * u) >> 10, (352 * u + 731 * v) >> 10, (1436 * v) >> 10};
    *first = c.With(s[0]);
    *second = c.With(s[2]);
  }

 private:
  struct Chroma {
    int32_t to_b, from_g, to_r;
    Colour8 With(int32_t y) const { return {{Clamp8(y + to_r), Clamp8(y - from_g), Clamp8(y + to_b)}}; }
  };
  static uint32_t Clamp8(int32_t v) { return static_cast<uint32_t>(std::clamp(v, 0, 255)); }
};

}  // namespace qvi::convert
