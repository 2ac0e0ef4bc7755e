// The unpackers on hand-built bytes (the three 12-bit layouts side by side),
// then on lines and frames packed by the bit-level model, odd widths
// included, sources ending at a protected page, destinations kept canaried.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "camera/reference.h"
#include "support/fenced_image.h"
#include "support/qvb_buffer.h"
#include "unpack.h"

namespace qvi::camera {
namespace {

constexpr uint8_t kCanary = 0xA5;
constexpr Packing kPackings[] = {Packing::kLsb10, Packing::kLsb12, Packing::kGrouped10, Packing::kGrouped12};

std::string Name(Packing p) {
  return p == Packing::kLsb10 ? "10p" : p == Packing::kLsb12 ? "12p" : p == Packing::kGrouped10 ? "10Packed"
                                                                                                  : "12Packed";
}

std::vector<uint16_t> Words(const uint8_t* bytes, size_t count) {
  std::vector<uint16_t> words(count);
  std::memcpy(words.data(), bytes, count * 2);
  return words;
}

std::vector<uint16_t> RandomValues(std::mt19937& random, Packing packing, size_t count) {
  const uint32_t max = (1u << model::SampleBits(packing)) - 1;
  std::vector<uint16_t> values(count);
  for (uint16_t& v : values) v = static_cast<uint16_t>(random() % 4 == 0 ? max : random() & max);
  return values;
}

TEST(Unpack, HandBuiltLines) {
  const struct {
    Packing packing;
    std::vector<uint8_t> bytes;
    std::vector<uint16_t> pixels;
  } cases[] = {
      // The same three bytes in the two camera layouts of 12 bits.
      {Packing::kLsb12, {0x12, 0x34, 0x56}, {0x412, 0x563}},
      {Packing::kGrouped12, {0x12, 0x34, 0x56}, {0x124, 0x563}},
      // A lone last pixel: its first two bytes, the unused nibble ignored.
      {Packing::kLsb12, {0xAB, 0xFC}, {0xCAB}},
      {Packing::kGrouped12, {0xAB, 0xFC}, {0xABC}},
      {Packing::kLsb10, {0xFF, 0x03, 0xA0, 0x6A, 0x55}, {0x3FF, 0x000, 0x2AA, 0x155}},
      {Packing::kLsb10, {0x23, 0x59, 0x99, 0x38}, {0x123, 0x256, 0x389}},
      {Packing::kLsb10, {0xFF, 0xFF}, {0x3FF}},
      // 10Packed: the middle byte's bits 2-3 and 6-7 are not read.
      {Packing::kGrouped10, {0xFF, 0x31, 0x80}, {0x3FD, 0x203}},
      {Packing::kGrouped10, {0x00, 0xCC, 0x00}, {0x000, 0x000}},
      {Packing::kGrouped10, {0x80, 0xFE}, {0x202}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(Name(c.packing) + ", " + std::to_string(c.pixels.size()) + " pixels");
    ASSERT_EQ(PackedLineBytes(c.packing, c.pixels.size()), c.bytes.size());
    std::vector<uint8_t> out(c.pixels.size() * 2 + 2, kCanary);
    UnpackLine(c.packing, c.bytes.data(), out.data(), static_cast<uint32_t>(c.pixels.size()));
    EXPECT_EQ(Words(out.data(), c.pixels.size()), c.pixels);
    EXPECT_EQ(out[out.size() - 2], kCanary);
    EXPECT_EQ(out.back(), kCanary);
  }
}

// The library's Y12P reads the same bytes as a big-endian stream: QVI_Convert
// gives the high 8 bits of 0x123 and 0x456, where the camera layouts hold
// other pixels.
TEST(Unpack, LibraryY12PIsAThirdLayout) {
  uint8_t packed[3 + 16] = {0x12, 0x34, 0x56};
  uint8_t bgr[6] = {};
  const test::QvbBuffer src(packed, FMT_Y12P, 2, 1, 3), dst(bgr, FMT_BGR24, 2, 1, 6);
  ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
  EXPECT_EQ(std::vector<uint8_t>(bgr, bgr + 6), (std::vector<uint8_t>{0x12, 0x12, 0x12, 0x45, 0x45, 0x45}));
}

// Lines packed by the model, at a padded stride (Unpack) and as the one
// stream a camera sends (UnpackStream: with these widths a line starts inside
// a byte or inside a group of two pixels), sources ending at a protected page.
TEST(Unpack, LinesAndStreamsPackedByTheModel) {
  std::mt19937 random(7);
  for (const Packing packing : kPackings)
    for (uint32_t width : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 17u, 64u})
      for (uint32_t height : {1u, 2u, 3u, 5u})
        for (uint32_t padding : {0u, 1u, 3u, ~0u}) {  // ~0: one stream
          SCOPED_TRACE(Name(packing) + ", " + std::to_string(width) + " x " + std::to_string(height) +
                       ", padding " + std::to_string(padding));
          const std::vector<uint16_t> values = RandomValues(random, packing, size_t{width} * height);
          const uint64_t line = PackedLineBytes(packing, width);
          const size_t stride = line + padding, dst_stride = width * 2 + 2;
          std::vector<uint8_t> bytes = model::Pack(packing, values);
          if (padding != ~0u) {
            bytes.assign(stride * (height - 1) + line, 0);
            for (uint32_t y = 0; y < height; ++y) {
              const std::vector<uint8_t> packed =
                  model::Pack(packing, {values.begin() + y * width, values.begin() + (y + 1) * width});
              ASSERT_EQ(packed.size(), line);
              std::memcpy(bytes.data() + y * stride, packed.data(), line);
            }
          }
          test::FencedMemory src(bytes.size(), test::Fence::AfterEnd, 0);
          std::memcpy(src.data(), bytes.data(), bytes.size());
          std::vector<uint8_t> dst(dst_stride * height, kCanary);
          if (padding == ~0u) {
            UnpackStream(packing, src.data(), width, height, dst.data(), dst_stride);
          } else {
            Unpack(packing, src.data(), stride, width, height, dst.data(), dst_stride);
          }
          for (uint32_t y = 0; y < height; ++y) {
            EXPECT_EQ(Words(dst.data() + y * dst_stride, width),
                      std::vector<uint16_t>(values.begin() + y * width, values.begin() + (y + 1) * width))
                << "line " << y;
            EXPECT_EQ(dst[y * dst_stride + width * 2], kCanary);
            EXPECT_EQ(dst[y * dst_stride + width * 2 + 1], kCanary);
          }
        }
}

}  // namespace
}  // namespace qvi::camera
