// De-interlacing, one benchmark per method and representative format: a field
// of height / 2 lines into a frame of the given size.
#include "bench_support.h"

namespace qvi::bench {
namespace {

void FieldToFrame(benchmark::State& state, FieldToFrameMethod method, ImageFormat format, uint32_t pixel_bytes) {
  const auto w = static_cast<uint32_t>(state.range(0));
  const auto h = static_cast<uint32_t>(state.range(1)) / 2 * 2;
  const uint32_t stride = w * pixel_bytes;
  BenchImage field(format, w, h / 2, stride);
  BenchImage frame(format, w, h, stride, 2);
  Measure(state, uint64_t{w} * h, uint64_t{stride} * h,
          [&] { QVI_FieldToFrame(field.handle, frame.handle, method, FIELD_PARITY_EVEN); });
}

BENCHMARK_CAPTURE(FieldToFrame, LineDup_Y8, FIELD_TO_FRAME_LINE_DUP, FMT_Y8, 1)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, LineDup_BGRX32, FIELD_TO_FRAME_LINE_DUP, FMT_BGRX32, 4)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, LineAve_Y8, FIELD_TO_FRAME_LINE_AVE, FMT_Y8, 1)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, LineAve_BGRX32, FIELD_TO_FRAME_LINE_AVE, FMT_BGRX32, 4)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, Bilinear_Y8, FIELD_TO_FRAME_BILINEAR, FMT_Y8, 1)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, Bilinear_BGR24, FIELD_TO_FRAME_BILINEAR, FMT_BGR24, 3)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, Bilinear_BGRX32, FIELD_TO_FRAME_BILINEAR, FMT_BGRX32, 4)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, Bilinear_YUV422, FIELD_TO_FRAME_BILINEAR, FMT_YUV422, 2)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, Median_Y8, FIELD_TO_FRAME_MEDIAN, FMT_Y8, 1)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, Median_BGR24, FIELD_TO_FRAME_MEDIAN, FMT_BGR24, 3)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, Median_BGRX32, FIELD_TO_FRAME_MEDIAN, FMT_BGRX32, 4)->Apply(Sizes);
BENCHMARK_CAPTURE(FieldToFrame, Median_YUV422, FIELD_TO_FRAME_MEDIAN, FMT_YUV422, 2)->Apply(Sizes);

}  // namespace
}  // namespace qvi::bench

BENCHMARK_MAIN();
