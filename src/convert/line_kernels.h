// The fast line kernels of the conversions: which route has which kernel in
// which instruction set (routes.def), the table each set's rows_<set>.cpp
// fills, and the choice of a route's kernel for a call.
//
// A line kernel converts a leading run of whole blocks of a line's pixels
// (of a packed source: an even number of pixels) and returns how many it
// did; the walker (lines.h) does the rest.  A block reads and writes exactly
// the bytes of its pixels.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "buffer/dispatch.h"
#include "buffer/formats.h"
#include "convert/readers.h"
#include "convert/writers.h"

namespace qvi::convert {

// The kernel column of routes.def.
enum class Kernel : uint8_t {
  none,
  grey,    // 8-bit or deep grey into 8-bit grey and the 24- and 32-bit colour formats
  bgr24,   // BGR24 into the other 24-bit, the 32-bit, 5:6:5 and 5:5:5 formats
  bgrx32,  // BGRX32 into BGR24, bytes reversed
  yuv422,  // 4:2:2 luma/chroma into the 24- and 32-bit formats
};

// The sets column of routes.def.
namespace kernel_sets {
inline constexpr IsaSet none{};
inline constexpr IsaSet base{Isa::sse2, Isa::avx2, Isa::neon};
inline constexpr IsaSet masked{Isa::avx512bw};
inline constexpr IsaSet wide{Isa::avx512vbmi};
}  // namespace kernel_sets

struct RouteKernel {
  Fmt source, destination;
  Kernel kernel;
  IsaSet sets;
};

// Every route of routes.def, in its order (the Bayer routes have no kernel).
inline constexpr auto kRouteKernels = [] {
  using namespace kernel_sets;
  return std::array{
#define QVI_COPY(S, D, kernel, sets) RouteKernel{Fmt::S, Fmt::D, Kernel::kernel, sets},
#define QVI_PIXELS(S, D, kernel, sets) RouteKernel{Fmt::S, Fmt::D, Kernel::kernel, sets},
#define QVI_BAYER(S, D) RouteKernel{Fmt::S, Fmt::D, Kernel::none, none},
#include "convert/routes.def"
#undef QVI_BAYER
#undef QVI_PIXELS
#undef QVI_COPY
  };
}();

constexpr size_t RouteIndex(Fmt source, Fmt destination) {
  for (size_t i = 0; i < kRouteKernels.size(); ++i)
    if (kRouteKernels[i].source == source && kRouteKernels[i].destination == destination) return i;
  return kRouteKernels.size();
}

struct LineKernel {
  uint32_t (*run)(const uint8_t* s, uint8_t* d, uint32_t w) = nullptr;
  void (*one_block)(const uint8_t* s, uint8_t* d) = nullptr;  // run over exactly `block` pixels
  uint32_t block = 0;                                         // pixels a block converts
};

// One set's kernels, by route; empty where the route's sets lack the set.
using LineKernels = std::array<LineKernel, kRouteKernels.size()>;

// Each set's table, defined in its rows_<set>.cpp.
QVI_DECLARE_PER_SET(LineKernels, kLineKernels)

// The kernel of route `route` in the best set of its sets up to `isa`
// (empty: the portable loop alone).
LineKernel LineKernelOf(size_t route, Isa isa);

// A set's table from its kernels K: K::Grey<R, W>, K::Bgr24<W>,
// K::ReversedBgrx32 and K::Yuv422<W> for the routes whose sets have kIsa,
// each doing blocks of K::kBlock pixels.  Instantiated in each rows_<set>.cpp,
// where K lives in the set's own namespace.
template <auto kRun, uint32_t kBlock>
void OneBlock(const uint8_t* s, uint8_t* d) {
  kRun(s, d, kBlock);
}

template <auto kRun, uint32_t kBlock>
constexpr LineKernel KernelOf() {
  return {kRun, &OneBlock<kRun, kBlock>, kBlock};
}

template <Isa kIsa, class K, size_t I>
constexpr LineKernel KernelEntry() {
  constexpr RouteKernel r = kRouteKernels[I];
  using R = Reader<r.source>;
  using W = Writer<r.destination>;
  if constexpr (r.kernel == Kernel::none || !r.sets.Has(kIsa)) {
    return {};
  } else if constexpr (r.kernel == Kernel::grey) {
    return KernelOf<&K::template Grey<R, W>, K::kBlock>();
  } else if constexpr (r.kernel == Kernel::bgr24) {
    return KernelOf<&K::template Bgr24<W>, K::kBlock>();
  } else if constexpr (r.kernel == Kernel::bgrx32) {
    return KernelOf<&K::ReversedBgrx32, K::kBlock>();
  } else {
    return KernelOf<&K::template Yuv422<W>, K::kBlock>();
  }
}

template <Isa kIsa, class K>
constexpr LineKernels MakeLineKernels() {
  return []<size_t... I>(std::index_sequence<I...>) {
    return LineKernels{KernelEntry<kIsa, K, I>()...};
  }(std::make_index_sequence<kRouteKernels.size()>{});
}

}  // namespace qvi::convert
