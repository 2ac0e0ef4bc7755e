// Input outside the documented contract gets the behaviour this library
// chose for it, with every buffer against a protected page: images of no
// width or no height touch no byte of any buffer in any operation, and
// packed sources of width one convert the pixel they have.
#include <gtest/gtest.h>

#include "support/image.h"
#include "support/scratch_dir.h"
#include "support/demosaic_members.h"
#include "support/fenced_image.h"
#include "support/routes.h"

namespace qvi::test {
namespace {

class OutOfContract : public FileTest, public ::testing::WithParamInterface<Fence> {};

// Width 0 (stride 0) or height 0: every buffer is zero bytes long and sits
// at a protected page, so reading or writing any byte faults.
TEST_P(OutOfContract, EmptyImagesTouchNoByteAnywhere) {
  const Fence fence = GetParam();
  for (const auto& geometry : {std::pair{0u, 3u}, std::pair{4u, 0u}}) {
    const uint32_t w = geometry.first, h = geometry.second;
    const std::string size = std::to_string(w) + "x" + std::to_string(h);
    auto image = [&](uint32_t format, uint32_t bytes, uint32_t height) {
      return std::make_unique<FencedImage>(format, w, height, w * bytes, 0, fence);
    };
    for (const Route& r : ConversionRoutes()) {
      auto src = image(FullCode(r.src), BytesPerPixel(r.src), h), dst = image(FullCode(r.dst), BytesPerPixel(r.dst), h);
      src->params().method = DEMOSAIC_METHOD_DUP;
      src->params().phase = BAYER_PHASE_A;
      EXPECT_EQ(QVI_Convert(src->handle(), dst->handle()), STATUS_OK) << int(r.src) << " " << int(r.dst) << " " << size;
    }
    for (const DemosaicMember& m : DemosaicMembers()) {
      auto src = image(m.source_format(), m.sample_bytes(), h), dst = image(m.destination_format(), m.pixel_bytes(), h);
      EXPECT_EQ(m.call(src->handle(), dst->handle(), 12), STATUS_OK) << m.name << " " << size;
    }
    for (uint32_t method = FIELD_TO_FRAME_LINE_DUP; method <= FIELD_TO_FRAME_MEDIAN; ++method) {
      for (auto [format, bytes] : {std::pair{FMT_Y8, 1u}, {FMT_BGR24, 3u}, {FMT_XBGR32, 4u}, {FMT_YUV422, 2u}}) {
        for (FieldParity parity : {0u, 1u}) {
          auto field = image(format, bytes, h), frame = image(format, bytes, 2 * h);
          EXPECT_EQ(QVI_FieldToFrame(field->handle(), frame->handle(), method, parity), STATUS_OK)
              << method << " " << std::hex << format << std::dec << " " << size;
        }
      }
    }
    // The files hold no pixels: an empty dump, a TIFF header and directory.
    for (auto [format, bytes, tiff_size] : {std::tuple{FMT_Y8, 1u, 186u}, {FMT_BGR24, 3u, 204u}}) {
      auto buffer = image(format, bytes, h);
      ASSERT_EQ(QVI_FileWrite(buffer->handle(), Path("raw").c_str(), FILE_KIND_RAW), STATUS_OK) << size;
      ASSERT_EQ(QVI_FileWrite(buffer->handle(), Path("tiff").c_str(), FILE_KIND_TIFF), STATUS_OK) << size;
      EXPECT_EQ(ReadFile(Path("raw")).size(), 0u) << size;
      EXPECT_EQ(ReadFile(Path("tiff")).size(), tiff_size) << size;
    }
  }
}

// FMT_Y12P and FMT_YUV422 read pixels in pairs, so a line of width one reads
// a group (3 or 4 bytes) longer than its one pixel and writes two pixels.
// Where the group and the two pixels fit the buffers, the line's first pixel
// is exactly that of the same image two pixels wide; where they do not, the
// walk stops and the destination keeps every byte.
TEST_P(OutOfContract, PackedSourcesOfWidthOneConvertTheirPixel) {
  for (const Route& r : ConversionRoutes()) {
    if (r.src != Fmt::Y12P && r.src != Fmt::YUV422) continue;
    const uint32_t group = r.src == Fmt::Y12P ? 3 : 4, pixel = BytesPerPixel(r.dst);
    for (uint32_t h = 1; h <= 3; ++h) {
      for (uint32_t src_stride : {2u, 3u, 4u, 6u}) {
        for (uint32_t dst_stride : {pixel, 2 * pixel}) {
          FencedImage src(FullCode(r.src), 1, h, src_stride, 0, GetParam());
          for (size_t i = 0; i < src.size(); ++i) src.data()[i] = static_cast<uint8_t>(0x47 + 29 * i);
          FencedImage dst(FullCode(r.dst), 1, h, dst_stride, 0, GetParam());
          const std::string what = std::to_string(int(r.src)) + "->" + std::to_string(int(r.dst)) + " h " +
                                   std::to_string(h) + " strides " + std::to_string(src_stride) + " " +
                                   std::to_string(dst_stride);
          ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK) << what;
          const std::vector<uint8_t> out(dst.data(), dst.data() + dst.size());
          if (src.size() < group || dst.size() < 2 * pixel) {
            EXPECT_TRUE(AllBytesAre(out, kCanary)) << what;
            continue;
          }
          TestImage wide_src(FullCode(r.src), 2, 1, group), wide_dst(FullCode(r.dst), 2, 1, 2 * pixel);
          std::copy(src.data(), src.data() + group, wide_src.data());
          ASSERT_EQ(QVI_Convert(wide_src.handle(), wide_dst.handle()), STATUS_OK) << what;
          EXPECT_TRUE(std::equal(out.begin(), out.begin() + pixel, wide_dst.data())) << what;
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fences, OutOfContract, ::testing::Values(Fence::AfterEnd, Fence::BeforeStart));

}  // namespace
}  // namespace qvi::test
