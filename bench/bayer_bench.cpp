// Demosaic members called directly: one per (method, depth, packing) in
// phase A, and all four phases of one combination (they should cost the same).
#include <string>

#include "bayer/member.h"
#include "bench_support.h"

namespace qvi::bench {
namespace {

using bayer::Depth;
using bayer::Method;
using bayer::Packing;
using bayer::Phase;
using Entry = Status (*)(BufferHandle, BufferHandle, uint32_t);

constexpr uint32_t PixelBytes(Packing p) {
  return p == Packing::BGR24 ? 3 : (p == Packing::RGBX32 || p == Packing::BGRX32 ? 4 : 2);
}

void Demosaic(benchmark::State& state, Entry entry, Depth depth, Packing packing) {
  const auto w = static_cast<uint32_t>(state.range(0));
  const auto h = static_cast<uint32_t>(state.range(1));
  const bool deep = depth == Depth::BAYn;
  // Random bytes: deep samples are then wider than 12 bits, which costs the
  // same and exercises the wrap-around.
  BenchImage src(deep ? FMT_BAY12 : FMT_BAY8, w, h, w * (deep ? 2 : 1));
  BenchImage dst(FMT_BGR24, w, h, w * PixelBytes(packing));
  Measure(state, uint64_t{w} * h, uint64_t{w} * h * PixelBytes(packing),
          [&] { entry(src.handle, dst.handle, 12); });
}

void Register(const char* name, Entry entry, Depth d, Packing p, Method m, Phase f) {
  const bool sweep = d == Depth::BAY8 && p == Packing::BGR24 && m == Method::med;
  if (f != Phase::A && !sweep) return;
  benchmark::RegisterBenchmark(name, Demosaic, entry, d, p)->Apply(Sizes);
}

const bool registered = [] {
#define QVI_ENTRY_BAY8(P, M, F) [](BufferHandle s, BufferHandle d, uint32_t) { return QVI_BAY8_to_##P##_##M##_##F(s, d); }
#define QVI_ENTRY_BAYn(P, M, F) &QVI_BAYn_to_##P##_##M##_##F
#define QVI_MEMBER(depth, packing, method, phase, deviations)                                              \
  Register(#depth "_to_" #packing "_" #method "_" #phase, QVI_ENTRY_##depth(packing, method, phase), \
           Depth::depth, Packing::packing, Method::method, Phase::phase);
#include "bayer/members.def"
#undef QVI_MEMBER
#undef QVI_ENTRY_BAYn
#undef QVI_ENTRY_BAY8
  return true;
}();

}  // namespace
}  // namespace qvi::bench

BENCHMARK_MAIN();
