// What a source pixel is worth to each kind of destination.
//
// A reader turns source bytes into one of the pixel kinds below; a writer
// (writers.h) asks the pixel for the view its destination needs.  Each kind
// offers only the views its routes use, so a route that makes no sense does
// not compile.  Views:
//   grey8()   8-bit grey for FMT_Y8
//   word()    the grey word, unscaled, for 16- and 32-bit grey
//   rgb8()    8-bit channels (low 8 bits kept) for 15/16/24/32-bit colour
//   words48() three 16-bit words for the 48-bit formats
//   rgb30(), bgr30()  the 30-bit words
//   kGrey     true when an X byte receives the grey value too
#pragma once

#include <cstdint>

namespace qvi::convert {

struct Rgb8 {
  uint32_t r, g, b;
};

struct Words48 {
  uint32_t b, g, r;
};

// A colour with 8-bit channels (BGR24 sources, YUV422 results).
struct Colour8 {
  static constexpr bool kGrey = false;
  Rgb8 c;
  Rgb8 rgb8() const { return c; }
  Words48 words48() const { return {c.b, c.g, c.r}; }  // 8-bit values go in unscaled
  uint32_t rgb30() const { return c.b + (c.g << 10) + (c.r << 22); }
  uint32_t bgr30() const { return c.r + (c.g << 10) + (c.b << 22); }
};

// 8-bit grey (FMT_Y8, FMT_Y12P): unscaled into wide words, fills X bytes.
struct Grey8 {
  static constexpr bool kGrey = true;
  uint32_t v;
  uint32_t grey8() const { return v; }
  uint32_t word() const { return v; }
  Rgb8 rgb8() const { return {v, v, v}; }
  Words48 words48() const { return {v, v, v}; }
  // Grey goes to bits 0, 10 and 22 (not 20) of a 30-bit word.
  uint32_t rgb30() const { return v + (v << 10) + (v << 22); }
  uint32_t bgr30() const { return rgb30(); }
};

// Deep grey: an N-bit sample right-aligned in a 16-bit word.
template <uint32_t N>
struct DeepGrey {
  static_assert(N >= 10 && N <= 16);
  static constexpr bool kGrey = true;
  uint32_t s;
  uint32_t grey8() const { return (s >> (N - 8)) & 0xFFu; }  // wider samples wrap
  uint32_t word() const { return s; }
  Rgb8 rgb8() const { return Grey8{grey8()}.rgb8(); }
  Words48 words48() const { return {s, s, s}; }
  // Deep grey in a 30-bit word: the sample in the low field and one fixed bit
  // in each of the two upper fields, which never carry the grey value.
  uint32_t rgb30() const { return s == 0 ? 0 : (s >> (N - 10)) + (1u << (22 - N)) + (1u << (32 - N)); }
  uint32_t bgr30() const { return rgb30(); }
};

// Deep colour: three N-bit words (FMT_BGR48 with N = 16, FMT_BGR36 with 12).
// Words wider than N bits are taken as they are: the 8-bit views keep the low
// 8 bits of the reduced value, the 48-bit view the low 16 bits.
template <uint32_t N>
struct Deep3 {
  static_assert(N == 12 || N == 16);
  static constexpr bool kGrey = false;
  uint32_t r, g, b;
  static uint32_t To8(uint32_t w) { return (w >> (N - 8)) & 0xFFu; }
  static uint32_t To16(uint32_t w) { return (w << (16 - N)) & 0xFFFFu; }
  // An upper 30-bit field gets a single presence bit, never its word's value.
  static uint32_t PresenceBit(uint32_t w, uint32_t bit) { return uint32_t{w != 0} << bit; }
  Rgb8 rgb8() const { return {To8(r), To8(g), To8(b)}; }
  // 48-bit destinations receive the words scaled to 16 bits (unlike 8-bit
  // sources, which go in unscaled).
  Words48 words48() const { return {To16(b), To16(g), To16(r)}; }
  // Only the low field carries a colour value.
  uint32_t rgb30() const { return (b >> (N - 10)) + PresenceBit(g, 22 - N) + PresenceBit(r, 32 - N); }
  uint32_t bgr30() const { return (r >> (N - 10)) + PresenceBit(g, 22 - N) + PresenceBit(b, 32 - N); }
};

// A FMT_RGB30 word, read with its own field layout: blue in bits 0-9, green in
// bits 12-21 and red in bits 22-31 (bits 10 and 11 are not read).  This is not
// the layout the 30-bit writers produce.
struct Rgb30Word {
  static constexpr bool kGrey = false;
  uint32_t x;
  Rgb8 rgb8() const { return {x >> 24, (x & 0x3FC000u) >> 14, (x & 0x3FCu) >> 2}; }
  // 10-bit fields, unscaled.
  Words48 words48() const { return {x & 0x3FFu, (x & 0x3FFC00u) >> 12, x >> 22}; }
  uint32_t rgb30() const { return x; }
  // Outer fields exchanged, the middle bits passed through.
  uint32_t bgr30() const { return (x >> 22) + (x & 0x3FFC00u) + (x << 22); }
};

}  // namespace qvi::convert
