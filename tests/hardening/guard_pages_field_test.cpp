// The four de-interlacers over many random geometries, field and frame each
// placed against a protected page (after its end, then before its start):
// no method may read past the field's stride x height or write past the
// frame's, also when the field's stride is shorter than a line or the
// frame's stride or height is not what it should be.
#include <gtest/gtest.h>

#include <random>

#include "support/fenced_image.h"

namespace qvi::test {
namespace {

struct Format {
  uint32_t code, bytes;
};
constexpr Format kFormats[] = {{FMT_Y8, 1},     {FMT_BGR24, 3},  {FMT_RGB24, 3},  {FMT_XBGR32, 4},
                               {FMT_BGRX32, 4}, {FMT_XRGB32, 4}, {FMT_RGBX32, 4}, {FMT_YUV422, 2}};

class FieldGuardPages : public ::testing::TestWithParam<Fence> {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

TEST_P(FieldGuardPages, DeinterlacersStayInsideTheirBuffers) {
  std::mt19937 rng(11);
  const auto below = [&rng](uint32_t n) { return static_cast<uint32_t>(rng() % n); };
  for (uint32_t method = FIELD_TO_FRAME_LINE_DUP; method <= FIELD_TO_FRAME_MEDIAN; ++method) {
    for (const Format& f : kFormats) {
      for (int trial = 0; trial < 16; ++trial) {
        const uint32_t w = 1 + below(17), h = below(5), parity = trial % 2, line = w * f.bytes;
        // Exact, padded and (a caller's mistake) shorter than a line.
        const uint32_t stride = trial % 4 == 0 ? line : trial % 4 == 1 ? below(line) : line + below(7);
        // A quarter of the frames have another stride or fewer lines: the
        // size check counts the field's width, not its stride, so some pass.
        const bool odd_frame = trial % 4 == 3;
        const uint32_t frame_stride = odd_frame && below(2) ? stride - below(stride / 2 + 1) : stride;
        const uint32_t frame_height = odd_frame ? 2 * h - std::min(2 * h, below(3)) : 2 * h;
        FencedImage field(f.code, w, h, stride, 0, GetParam(), 0x5A);
        FencedImage frame(f.code, w, frame_height, frame_stride, 0, GetParam());
        const bool fits = 2 * w * h <= frame_stride * frame_height;
        ASSERT_EQ(QVI_FieldToFrame(field.handle(), frame.handle(), method, parity), fits ? STATUS_OK : STATUS_BAD_BUFFER)
            << method << " " << std::hex << f.code << std::dec << " " << w << "x" << h << " stride " << stride;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fences, FieldGuardPages, ::testing::Values(Fence::AfterEnd, Fence::BeforeStart));

}  // namespace
}  // namespace qvi::test
