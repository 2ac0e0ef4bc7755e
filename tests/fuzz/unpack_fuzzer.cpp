// The unpackers of the packed camera layouts over guard-page sources, and the
// camera format lookups.  Layout, width, height, strides and a PFNC code come
// from the input, the source bytes after them.  The source holds exactly the
// bytes its layout gives the frame (lines a stride apart, or one bit stream)
// and ends, or starts, at a protected page; every word must be the pixel's
// bits read one by one and fit in them, and the destination's padding keeps
// its canary.  A code qvi does not take must be named in hex in its error.
#include <cstdio>
#include <cstring>
#include <string>

#include "fuzz/fuzz_input.h"
#include "pfnc.h"
#include "unpack.h"

namespace qvi::fuzz {

using camera::Packing;

constexpr Packing kPackings[] = {Packing::kLsb10, Packing::kLsb12, Packing::kGrouped10, Packing::kGrouped12};
constexpr uint8_t kCanary = 0xC3;

// Pixel n of a stream, bit by bit: "p" layouts are little-endian bit streams;
// "Packed" ones keep each pixel's high 8 bits in the outer bytes of a group of
// three and its low bits in a nibble of the middle byte.
uint32_t Pixel(Packing packing, const uint8_t* src, uint64_t n) {
  const uint32_t bits = packing == Packing::kLsb10 || packing == Packing::kGrouped10 ? 10 : 12;
  uint32_t value = 0;
  if (packing == Packing::kLsb10 || packing == Packing::kLsb12) {
    for (uint32_t b = 0; b < bits; ++b) value |= ((src[(n * bits + b) / 8] >> ((n * bits + b) % 8)) & 1u) << b;
    return value;
  }
  const uint8_t* group = src + n / 2 * 3;
  const uint32_t low = bits - 8;
  const uint32_t nibble = n % 2 == 0 ? group[1] & 0x0F : group[1] >> 4;
  return uint32_t{n % 2 == 0 ? group[0] : group[2]} << low | (nibble & ((1u << low) - 1));
}

void Run(FuzzInput& in) {
  const Packing packing = kPackings[in.Below(4)];
  const uint32_t w = in.Below(200), h = in.Below(6);
  const bool stream = in.Byte() & 1;
  const uint64_t line = camera::PackedLineBytes(packing, w);
  const uint64_t stride = line + in.Below(4), dst_stride = uint64_t{w} * 2 + in.Below(4);
  const test::Fence fence = in.PickFence();
  const uint32_t code_low = in.Word(), code = code_low | in.Word() << 16;

  const uint64_t size = stream ? camera::PackedLineBytes(packing, uint64_t{w} * h) : h ? stride * (h - 1) + line : 0;
  test::FencedMemory src(size, fence, 0);
  in.Fill(src.data(), src.size());
  std::vector<uint8_t> dst(dst_stride * h, kCanary);
  if (stream)
    camera::UnpackStream(packing, src.data(), w, h, dst.data(), dst_stride);
  else
    camera::Unpack(packing, src.data(), stride, w, h, dst.data(), dst_stride);

  const uint32_t bits = packing == Packing::kLsb10 || packing == Packing::kGrouped10 ? 10 : 12;
  for (uint32_t y = 0; y < h; ++y) {
    const uint8_t* out = dst.data() + y * dst_stride;
    for (uint32_t x = 0; x < w; ++x) {
      uint16_t word;
      std::memcpy(&word, out + 2 * x, 2);
      const uint32_t want = stream ? Pixel(packing, src.data(), uint64_t{y} * w + x)
                                   : Pixel(packing, src.data() + y * stride, x);
      Check(word == want && word >> bits == 0, "a word is not its pixel's bits", uint64_t{y} << 32 | x);
    }
    for (uint64_t i = uint64_t{w} * 2; i < dst_stride; ++i) Check(out[i] == kCanary, "padding was written", i);
  }

  const camera::CameraFormat* f = camera::FindCameraFormat(code);
  if (f) {
    Check(f->code == code && camera::FindCameraFormat(f->name) == f, "a lookup disagrees", code);
  } else {
    const std::string message = camera::UnsupportedFormat(code).what();
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08X", code);
    const std::string name(camera::PfncName(code));
    Check(message.find(hex) != std::string::npos && message.find(name) != std::string::npos,
          "an error does not name its code", code);
  }
}

}  // namespace qvi::fuzz
