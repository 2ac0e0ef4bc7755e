// Conversion routes through QVI_Convert: every route family at least once
// (grey into each kind of destination, deep grey, packed grey, the colour
// sources, luma/chroma, Bayer hand-off), the same-format copies, and the
// routes that have fast row kernels.
#include "bench_support.h"

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

void Convert(benchmark::State& state, ImageFormat from, ImageFormat to) {
  const auto w = static_cast<uint32_t>(state.range(0));
  const auto h = static_cast<uint32_t>(state.range(1));
  const uint32_t src_stride = from == FMT_Y12P ? (3 * w + 1) / 2 : (from == FMT_YUV422 ? 2 * w : w * BytesOf(from));
  BenchImage src(from, w, h, src_stride);
  BenchImage dst(to, w, h, w * BytesOf(to));
  Measure(state, uint64_t{w} * h, uint64_t{w} * h * BytesOf(to), [&] { QVI_Convert(src.handle, dst.handle); });
}

BENCHMARK_CAPTURE(Convert, Y8_to_Y8_block, FMT_Y8, FMT_Y8)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGR24_to_BGR24_pixels, FMT_BGR24, FMT_BGR24)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y8_to_Y16, FMT_Y8, FMT_Y16)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y8_to_Y32, FMT_Y8, FMT_Y32)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y8_to_RGB15, FMT_Y8, FMT_RGB15)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y8_to_BGR48, FMT_Y8, FMT_BGR48)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y8_to_BGR24, FMT_Y8, FMT_BGR24)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y8_to_BGRX32, FMT_Y8, FMT_BGRX32)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y8_to_RGB16, FMT_Y8, FMT_RGB16)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y8_to_RGB30, FMT_Y8, FMT_RGB30)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y12_to_Y8, FMT_Y12, FMT_Y8)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y10_to_Y8, FMT_Y10, FMT_Y8)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y16_to_Y8, FMT_Y16, FMT_Y8)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y12_to_BGR24, FMT_Y12, FMT_BGR24)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y12_to_BGRX32, FMT_Y12, FMT_BGRX32)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y16_to_RGB48, FMT_Y16, FMT_RGB48)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, Y12P_to_BGR24, FMT_Y12P, FMT_BGR24)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGR24_to_BGRX32, FMT_BGR24, FMT_BGRX32)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGRX32_to_BGR24, FMT_BGRX32, FMT_BGR24)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGR24_to_RGBX32, FMT_BGR24, FMT_RGBX32)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGR24_to_XRGB32, FMT_BGR24, FMT_XRGB32)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGR24_to_RGB24, FMT_BGR24, FMT_RGB24)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGR24_to_RGB16, FMT_BGR24, FMT_RGB16)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGR24_to_BGR15, FMT_BGR24, FMT_BGR15)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGR24_to_RGB30, FMT_BGR24, FMT_RGB30)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, YUV422_to_BGR24, FMT_YUV422, FMT_BGR24)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, YUV422_to_BGRX32, FMT_YUV422, FMT_BGRX32)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, YUV422_to_RGBX32, FMT_YUV422, FMT_RGBX32)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGR48_to_RGB24, FMT_BGR48, FMT_RGB24)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, BGR36_to_BGRX32, FMT_BGR36, FMT_BGRX32)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, RGB30_to_RGB48, FMT_RGB30, FMT_RGB48)->Apply(Sizes);
BENCHMARK_CAPTURE(Convert, RGB30_to_BGR24, FMT_RGB30, FMT_BGR24)->Apply(Sizes);

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

BENCHMARK_MAIN();
