// Conversion routes through QVI_Convert: every route family at least once
// (grey into each kind of destination, deep grey, packed grey, the colour
// sources, luma/chroma, Bayer hand-off), the same-format copies, and a route
// of each fast kernel and instruction sets routes.def names.  Each route's
// label says which kernel serves it and which set runs it here.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "bench_support.h"
#include "buffer/dispatch.h"
#include "convert/line_kernels.h"

namespace qvi::bench {
namespace {

uint32_t BytesOf(ImageFormat f) {
  switch (f & 0xFF) {
    case 0x01: return 1;
    case 0x11: case 0x12: return 3;
    case 0x03: case 0x07: case 0x08: case 0x0C: case 0x0D: case 0x0F: case 0x10: return 4;
    case 0x09: case 0x0E: case 0x1C: case 0x1D: return 6;
    default: return 2;
  }
}

// What routes.def says of a route, and the set that serves it on this processor.
std::string KernelLabel(ImageFormat from, ImageFormat to) {
  const size_t route = convert::RouteIndex(LowByte(from), LowByte(to));
  if (route == convert::kRouteKernels.size()) return "";
  const convert::RouteKernel& r = convert::kRouteKernels[route];
  const char* kinds[] = {"portable", "grey", "bgr24", "bgrx32", "yuv422"};
  std::string label = kinds[static_cast<int>(r.kernel)];
  if (r.kernel != convert::Kernel::none) label += std::string(" kernel, ") + NameOf(Best(r.sets, Chosen()));
  return label;
}

void Convert(benchmark::State& state, ImageFormat from, ImageFormat to) {
  state.SetLabel(KernelLabel(from, to));
  const auto w = static_cast<uint32_t>(state.range(0));
  const auto h = static_cast<uint32_t>(state.range(1));
  const uint32_t src_stride = from == FMT_Y12P ? (3 * w + 1) / 2 : (from == FMT_YUV422 ? 2 * w : w * BytesOf(from));
  BenchImage src(from, w, h, src_stride);
  BenchImage dst(to, w, h, w * BytesOf(to));
  Measure(state, uint64_t{w} * h, uint64_t{w} * h * BytesOf(to), [&] { QVI_Convert(src.handle, dst.handle); });
}

// The routes measured.
const struct {
  const char* name;
  ImageFormat from, to;
} kRoutes[] = {
    {"Y8_to_Y8_block", FMT_Y8, FMT_Y8},
    {"BGR24_to_BGR24_pixels", FMT_BGR24, FMT_BGR24},
    {"Y8_to_Y16", FMT_Y8, FMT_Y16},
    {"Y8_to_Y32", FMT_Y8, FMT_Y32},
    {"Y8_to_RGB15", FMT_Y8, FMT_RGB15},
    {"Y8_to_BGR48", FMT_Y8, FMT_BGR48},
    {"Y8_to_BGR24", FMT_Y8, FMT_BGR24},
    {"Y8_to_BGRX32", FMT_Y8, FMT_BGRX32},
    {"Y8_to_RGB16", FMT_Y8, FMT_RGB16},
    {"Y8_to_RGB30", FMT_Y8, FMT_RGB30},
    {"Y12_to_Y8", FMT_Y12, FMT_Y8},
    {"Y10_to_Y8", FMT_Y10, FMT_Y8},
    {"Y16_to_Y8", FMT_Y16, FMT_Y8},
    {"Y12_to_BGR24", FMT_Y12, FMT_BGR24},
    {"Y12_to_BGRX32", FMT_Y12, FMT_BGRX32},
    {"Y16_to_RGB48", FMT_Y16, FMT_RGB48},
    {"Y12P_to_BGR24", FMT_Y12P, FMT_BGR24},
    {"BGR24_to_BGRX32", FMT_BGR24, FMT_BGRX32},
    {"BGRX32_to_BGR24", FMT_BGRX32, FMT_BGR24},
    {"BGR24_to_RGBX32", FMT_BGR24, FMT_RGBX32},
    {"BGR24_to_XRGB32", FMT_BGR24, FMT_XRGB32},
    {"BGR24_to_RGB24", FMT_BGR24, FMT_RGB24},
    {"BGR24_to_RGB16", FMT_BGR24, FMT_RGB16},
    {"BGR24_to_BGR15", FMT_BGR24, FMT_BGR15},
    {"BGR24_to_RGB30", FMT_BGR24, FMT_RGB30},
    {"YUV422_to_BGR24", FMT_YUV422, FMT_BGR24},
    {"YUV422_to_BGRX32", FMT_YUV422, FMT_BGRX32},
    {"YUV422_to_RGBX32", FMT_YUV422, FMT_RGBX32},
    {"BGR48_to_RGB24", FMT_BGR48, FMT_RGB24},
    {"BGR36_to_BGRX32", FMT_BGR36, FMT_BGRX32},
    {"RGB30_to_RGB48", FMT_RGB30, FMT_RGB48},
    {"RGB30_to_BGR24", FMT_RGB30, FMT_BGR24},
};

const bool registered = [] {
  for (const auto& r : kRoutes) {
    benchmark::RegisterBenchmark((std::string("Convert/") + r.name).c_str(), Convert, r.from, r.to)->Apply(Sizes);
  }
  return true;
}();

// Every fast kernel of routes.def, in each of the sets of instruction sets
// it has there, has a route above; names those that have none.
void ReportKernelsWithoutBenchmark() {
  std::vector<convert::RouteKernel> benchmarked;
  const auto seen = [&benchmarked](const convert::RouteKernel& k) {
    return std::any_of(benchmarked.begin(), benchmarked.end(),
                       [&k](const convert::RouteKernel& b) { return b.kernel == k.kernel && b.sets == k.sets; });
  };
  for (const auto& r : kRoutes) {
    const size_t route = convert::RouteIndex(LowByte(r.from), LowByte(r.to));
    if (route < convert::kRouteKernels.size()) benchmarked.push_back(convert::kRouteKernels[route]);
  }
  for (const convert::RouteKernel& k : convert::kRouteKernels) {
    if (k.kernel == convert::Kernel::none || seen(k)) continue;
    std::fprintf(stderr, "no benchmark of the kernel of route %d -> %d in its instruction sets\n",
                 static_cast<int>(k.source), static_cast<int>(k.destination));
    benchmarked.push_back(k);
  }
}

// The Bayer hand-off (its buffer queries and checks) around an averaging member.
void ConvertBayer(benchmark::State& state, ImageFormat from, ImageFormat to) {
  const auto w = static_cast<uint32_t>(state.range(0));
  const auto h = static_cast<uint32_t>(state.range(1));
  const uint32_t sample = from == FMT_BAY8 ? 1 : 2;
  BenchImage src(from, w, h, w * sample);
  QVB_BufferParameterSet(src.handle, BUF_PARAM_DEMOSAIC_METHOD, DEMOSAIC_METHOD_AVE);
  QVB_BufferParameterSet(src.handle, BUF_PARAM_BAYER_PHASE, BAYER_PHASE_A);
  BenchImage dst(to, w, h, w * BytesOf(to));
  Measure(state, uint64_t{w} * h, uint64_t{w} * h * BytesOf(to), [&] { QVI_Convert(src.handle, dst.handle); });
}
BENCHMARK_CAPTURE(ConvertBayer, BAY8_to_BGR24_ave, FMT_BAY8, FMT_BGR24)->Apply(Sizes);
BENCHMARK_CAPTURE(ConvertBayer, BAY12_to_BGR24_ave, FMT_BAY12, FMT_BGR24)->Apply(Sizes);

}  // namespace
}  // namespace qvi::bench

int main(int argc, char** argv) {
  using namespace qvi;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  bench::ReportKernelsWithoutBenchmark();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
