// Row kernels of the TIFF strip: `n` pixels from memory to file order.
#pragma once

#include <cstdint>
#include <cstring>

#include "buffer/memory.h"
#include "convert/line_kernels.h"

namespace qvi::file::tiff {

// Each row takes the fast kernel of its pixel order, if it has one: the
// reversed triplets are the BGR24 -> RGB24 conversion's byte exchange.
struct Grey8Row {
  static constexpr bool kFileOrderIsMemoryOrder = true;
  static constexpr uint32_t kBytesPerPixel = 1;
  static constexpr size_t kFastRoute = convert::kRouteKernels.size();  // none
  static void Convert(uint8_t* out, const uint8_t* in, uint32_t n, const convert::LineKernel&) {
    std::memcpy(out, in, n);
  }
};

struct ReversedTripletRow {
  static constexpr bool kFileOrderIsMemoryOrder = false;
  static constexpr uint32_t kBytesPerPixel = 3;
  static constexpr size_t kFastRoute = convert::RouteIndex(Fmt::BGR24, Fmt::RGB24);
  static void Convert(uint8_t* out, const uint8_t* in, uint32_t n, const convert::LineKernel& fast) {
    const uint32_t done = fast.run != nullptr ? fast.run(in, out, n) : 0;
    in += 3 * uint64_t{done};
    out += 3 * uint64_t{done};
    for (uint32_t i = done; i < n; ++i, in += 3, out += 3) {
      out[0] = in[2];
      out[1] = in[1];
      out[2] = in[0];
    }
  }
};

struct Grey16BigEndianRow {
  static constexpr bool kFileOrderIsMemoryOrder = false;
  static constexpr uint32_t kBytesPerPixel = 2;
  static constexpr size_t kFastRoute = convert::kRouteKernels.size();  // none
  static void Convert(uint8_t* out, const uint8_t* in, uint32_t n, const convert::LineKernel&) {
    for (uint32_t i = 0; i < n; ++i, in += 2, out += 2) {
      const uint32_t sample = Load16(in);
      out[0] = static_cast<uint8_t>(sample >> 8);
      out[1] = static_cast<uint8_t>(sample);
    }
  }
};

}  // namespace qvi::file::tiff
