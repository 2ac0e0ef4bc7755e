// The TIFF file QVI_FileWriteTiff produces, as data: one layout per accepted
// format, the image directory each layout yields, and the blocks that follow
// the directory.  The writer is a loop over these tables; the offsets every
// block lands at follow from them and are pinned down at the end.
#pragma once

#include <array>
#include <cstdint>

#include "qvi.h"

namespace qvi::file::tiff {

// The 8-byte header: "MM" (big-endian), the TIFF magic 42, the directory
// offset.  Every multi-byte value of the file is big-endian.
inline constexpr uint16_t kByteOrderMotorola = 0x4D4D;
inline constexpr uint16_t kMagic = 42;
inline constexpr uint32_t kHeaderBytes = 8;
inline constexpr uint32_t kDirectoryOffset = kHeaderBytes;

enum class Type : uint16_t { Short = 3, Long = 4, Rational = 5 };

constexpr uint32_t BytesOf(Type type) { return type == Type::Short ? 2 : 4; }

// The pixel stage of a layout.
enum class Pixels : uint8_t {
  Grey8,            // one byte per pixel, in memory order
  ReversedTriplet,  // three bytes per pixel, written byte 2, byte 1, byte 0
  Grey16BigEndian,  // native 16-bit samples, high byte first (unreached: see below)
};

// FMT_RGB24 memory takes the FMT_BGR24 path, so its files hold red and blue exchanged.
inline constexpr Pixels kRgb24SharesTheBgr24Path = Pixels::ReversedTriplet;

// 16-bit grey fails right after the StripByteCounts value (130 bytes), before any pixel.
inline constexpr bool kGrey16StopsAfterStripByteCounts = true;

struct Layout {
  uint32_t format;        // the whole ImageFormat code
  uint16_t samples;       // SamplesPerPixel
  uint16_t bits;          // BitsPerSample of each sample
  uint16_t photometric;   // 1: grey, black is zero; 2: RGB
  Pixels pixels;
  bool stops_after_strip_byte_counts;
};

inline constexpr std::array<Layout, 4> kLayouts = {{
    {FMT_Y8, 1, 8, 1, Pixels::Grey8, false},
    {FMT_Y16, 1, 16, 1, Pixels::Grey16BigEndian, kGrey16StopsAfterStripByteCounts},
    {FMT_BGR24, 3, 8, 2, Pixels::ReversedTriplet, false},
    {FMT_RGB24, 3, 8, 2, kRgb24SharesTheBgr24Path, false},
}};

constexpr const Layout* FindLayout(uint32_t format) {
  for (const Layout& layout : kLayouts)
    if (layout.format == format) return &layout;
  return nullptr;
}

// Blocks after the directory, in file order.  A directory entry that points
// at one is written as 0 and patched once the block has its place.
enum class Block : uint8_t { BitsPerSample, XResolution, YResolution, Strip };
inline constexpr unsigned kBlockKinds = 4;

// What goes in the value field of a directory entry.
enum class Value : uint8_t {
  Constant,       // Entry::constant
  WidthAsShort,   // the width cut to its low 16 bits: wider images store a wrong ImageWidth
  HeightAsShort,  // the height cut to its low 16 bits: taller images store a wrong ImageLength
  Height,         // the height, all 32 bits
  StripBytes,     // width x height x samples per pixel, modulo 2^32
  Offset,         // where Entry::block starts (patched)
};

struct Entry {
  uint16_t tag;
  Type type;
  uint32_t count;
  Value value;
  uint32_t constant = 0;
  Block block = Block::Strip;
};

inline constexpr uint16_t kTagStripByteCounts = 279;

struct Directory {
  std::array<Entry, 14> entries{};
  uint16_t count = 0;
  constexpr bool Has(Block block) const {
    for (uint16_t i = 0; i < count; ++i)
      if (entries[i].value == Value::Offset && entries[i].block == block) return true;
    return false;
  }
};

// The directory of a layout: 13 entries for grey, 14 for colour.
constexpr Directory DirectoryFor(const Layout& f) {
  const bool colour = f.samples == 3;
  Directory d;
  auto add = [&d](const Entry& e) { d.entries[d.count++] = e; };
  add({254, Type::Long, 1, Value::Constant, 0});  // NewSubfileType: a full image
  add({256, Type::Short, 1, Value::WidthAsShort});  // ImageWidth
  add({257, Type::Short, 1, Value::HeightAsShort});  // ImageLength
  if (colour) {
    add({258, Type::Short, 3, Value::Offset, 0, Block::BitsPerSample});
  } else {
    add({258, Type::Short, 1, Value::Constant, f.bits});
  }
  add({259, Type::Short, 1, Value::Constant, 1});  // Compression: none
  add({262, Type::Short, 1, Value::Constant, f.photometric});
  add({273, Type::Long, 1, Value::Offset, 0, Block::Strip});  // StripOffsets
  add({277, Type::Short, 1, Value::Constant, f.samples});  // SamplesPerPixel
  add({278, Type::Long, 1, Value::Height});  // RowsPerStrip: one strip
  add({kTagStripByteCounts, Type::Long, 1, Value::StripBytes});
  add({282, Type::Rational, 1, Value::Offset, 0, Block::XResolution});
  add({283, Type::Rational, 1, Value::Offset, 0, Block::YResolution});
  if (colour) add({284, Type::Short, 1, Value::Constant, 1});  // PlanarConfiguration: interleaved
  add({296, Type::Short, 1, Value::Constant, 1});  // ResolutionUnit: none
  return d;
}

// The values a block holds before the pixels (the strip holds none here).
struct BlockContent {
  Type type = Type::Long;
  uint32_t count = 0;
  std::array<uint32_t, 3> values{};
  constexpr uint32_t Bytes() const { return count * BytesOf(type); }
};

inline constexpr uint32_t kResolutionPerUnit = 300;

constexpr BlockContent ContentOf(const Layout& f, Block block) {
  switch (block) {
    case Block::BitsPerSample: return {Type::Short, 3, {f.bits, f.bits, f.bits}};
    case Block::XResolution:
    case Block::YResolution: return {Type::Long, 2, {kResolutionPerUnit, 1}};  // 300/1
    case Block::Strip: break;
  }
  return {};
}

inline constexpr uint32_t kEntryBytes = 12;

constexpr uint32_t DirectoryBytes(const Directory& d) { return 2 + kEntryBytes * d.count + 4; }

// Where the value field of directory entry `i` lies in the file.
constexpr uint32_t ValueFieldOffset(uint16_t i) {
  return kDirectoryOffset + 2 + kEntryBytes * i + 8;
}

// Where a block starts in the file of a layout.
constexpr uint32_t BlockOffset(const Layout& f, Block block) {
  const Directory d = DirectoryFor(f);
  uint32_t offset = kDirectoryOffset + DirectoryBytes(d);
  for (unsigned b = 0; b < static_cast<unsigned>(block); ++b)
    if (d.Has(static_cast<Block>(b))) offset += ContentOf(f, static_cast<Block>(b)).Bytes();
  return offset;
}

// Bytes of a 16-bit grey file when it is given up: header, entry count and
// the entries up to and including StripByteCounts.
constexpr uint32_t BytesBeforeGivingUp(const Layout& f) {
  const Directory d = DirectoryFor(f);
  uint32_t i = 0;
  while (d.entries[i].tag != kTagStripByteCounts) ++i;
  return kDirectoryOffset + 2 + kEntryBytes * (i + 1);
}

static_assert(DirectoryFor(*FindLayout(FMT_Y8)).count == 13);
static_assert(DirectoryFor(*FindLayout(FMT_BGR24)).count == 14);
static_assert(BlockOffset(*FindLayout(FMT_Y8), Block::XResolution) == 170);
static_assert(BlockOffset(*FindLayout(FMT_Y8), Block::Strip) == 186);
static_assert(BlockOffset(*FindLayout(FMT_BGR24), Block::BitsPerSample) == 182);
static_assert(BlockOffset(*FindLayout(FMT_BGR24), Block::YResolution) == 196);
static_assert(BlockOffset(*FindLayout(FMT_RGB24), Block::Strip) == 204);
static_assert(ValueFieldOffset(3) == 54 && ValueFieldOffset(6) == 90 && ValueFieldOffset(11) == 150);
static_assert(BytesBeforeGivingUp(*FindLayout(FMT_Y16)) == 130);

}  // namespace qvi::file::tiff
