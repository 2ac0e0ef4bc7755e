// Which conversion routes have vector line kernels, and of what kind: one
// classification that every vector policy (SSE2, AVX2, AVX-512, NEON) shares.
#pragma once

#include <cstdint>
#include <type_traits>

#include "buffer/formats.h"
#include "convert/readers.h"
#include "convert/writers.h"

namespace qvi::convert {

template <class W>
inline constexpr bool kBytes24 = std::is_base_of_v<Bytes24Writer<true>, W> || std::is_base_of_v<Bytes24Writer<false>, W>;
template <class W>
inline constexpr bool kBytes32 = std::is_base_of_v<Bytes32Writer<true, 0>, W> ||
                                 std::is_base_of_v<Bytes32Writer<false, 0>, W> ||
                                 std::is_base_of_v<Bytes32Writer<true, 1>, W> ||
                                 std::is_base_of_v<Bytes32Writer<false, 1>, W>;
template <class W>
inline constexpr bool k565 = std::is_base_of_v<Packed565Writer<true>, W> || std::is_base_of_v<Packed565Writer<false>, W>;
template <class W>
inline constexpr bool k555 = std::is_base_of_v<Packed555Writer<true>, W> || std::is_base_of_v<Packed555Writer<false>, W>;

// Sources whose pixels are 8-bit grey values: FMT_Y8 and the deep greys.
template <class R>
inline constexpr bool kGreySource = std::is_same_v<R, Reader<Fmt::Y8>> || requires { R::kSignificantBits; };

// The line kernel a pair of reader and writer has, if any; every vector
// policy has the same set.
enum class LineKernel { kNone, kGrey, kBgr24, kReversedBgrx32, kYuv422 };
template <class R, class W>
inline constexpr LineKernel kLineKernel =
    kGreySource<R> && (std::is_same_v<W, Writer<Fmt::Y8>> || kBytes24<W> || kBytes32<W>) ? LineKernel::kGrey
    : std::is_same_v<R, Reader<Fmt::BGR24>> && (kBytes24<W> || kBytes32<W> || k565<W> || k555<W>)
        ? LineKernel::kBgr24
    : std::is_same_v<R, Reader<Fmt::BGRX32>> && std::is_same_v<W, Writer<Fmt::BGR24>> ? LineKernel::kReversedBgrx32
    : std::is_same_v<R, Reader<Fmt::YUV422>> && (kBytes24<W> || kBytes32<W>) ? LineKernel::kYuv422
                                                                              : LineKernel::kNone;

// The policy PixelLine and PairLine call, over one instruction set's line
// kernels: GreyRows, Bgr24Rows, ReversedBgrx32Rows and Yuv422Rows, declared
// beside the tag Isa and taking it first, so that the calls below find them.
template <class Isa>
struct KernelVec {
  static constexpr uint32_t kBlock = Isa::kBlock;
  template <class R, class W>
  static uint32_t Pixels(const uint8_t* s, uint8_t* d, uint32_t w) {
    constexpr LineKernel kKernel = kLineKernel<R, W>;
    if constexpr (kKernel == LineKernel::kGrey) return GreyRows<R, W>(Isa{}, s, d, w);
    if constexpr (kKernel == LineKernel::kBgr24) return Bgr24Rows<W>(Isa{}, s, d, w);
    if constexpr (kKernel == LineKernel::kReversedBgrx32) return ReversedBgrx32Rows(Isa{}, s, d, w);
    if constexpr (kKernel == LineKernel::kYuv422) return Yuv422Rows<W>(Isa{}, s, d, w);
    return 0;
  }
  template <class R, class W>
  static uint32_t Pairs(const uint8_t* s, uint8_t* d, uint32_t w) {
    return Pixels<R, W>(s, d, w);
  }
};

}  // namespace qvi::convert
