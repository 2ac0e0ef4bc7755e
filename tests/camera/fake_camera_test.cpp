// The acquisition path on Aravis's in-process fake camera (Fake_1: no
// network): frames converted as the library converts the bytes sent, the
// Bayer phases read off the camera's own picture, drops counted.
#include <gtest/gtest.h>

#include <latch>
#include <mutex>
#include <string>
#include <vector>

#include "aravis_camera.h"
#include "camera/reference.h"
#include "qvi_formats.h"

namespace qvi::camera {
namespace {

constexpr uint32_t kWidth = 97, kHeight = 61;  // odd, so demosaicing reads past each line

// Runs `camera` until `frames` have been converted, handing each to `sink`.
PipelineStats Acquire(AravisCamera& camera, PipelineSettings settings, uint32_t frames, const Pipeline::Sink& sink) {
  CameraStream stream(camera, CameraStream::StreamSettings(camera, settings), sink);
  stream.Start();
  uint32_t submitted = 0;
  for (int tries = 0; submitted < frames && tries < 200; ++tries) {
    const CameraStream::Popped p = stream.Next(std::chrono::milliseconds(100));
    if (p.outcome == CameraStream::Outcome::kFrame) {
      stream.pipeline().Submit(*p.frame);
      ++submitted;
    }
  }
  stream.Stop();
  EXPECT_EQ(submitted, frames) << "the fake camera stopped sending";
  return stream.pipeline().Stats();
}

std::unique_ptr<AravisCamera> FakeCamera(const char* format) {
  auto camera = AravisCamera::OpenInProcessFake();
  camera->SetPixelFormat(format);
  camera->SetSize(kWidth, kHeight);
  camera->SetFrameRate(100);
  return camera;
}

TEST(FakeCamera, ConvertedFramesAreTheLibrarysConversionOfTheSentBytes) {
  struct Case {
    const char* format;
    ImageFormat to;
    DemosaicMethod method;
  };
  const Case cases[] = {
      {"BayerRG8", FMT_BGR24, DEMOSAIC_METHOD_AVE}, {"BayerGB8", FMT_BGRX32, DEMOSAIC_METHOD_MED},
      {"BayerBG8", FMT_RGB16, DEMOSAIC_METHOD_DUP}, {"Mono8", FMT_BGR24, DEMOSAIC_METHOD_AVE},
      {"Mono16", FMT_Y8, DEMOSAIC_METHOD_AVE},      {"RGB8", FMT_RGB24, DEMOSAIC_METHOD_AVE},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.format);
    auto camera = FakeCamera(c.format);
    PipelineSettings settings;
    settings.to = c.to;
    settings.method = c.method;
    settings.workers = 2;
    std::mutex mutex;
    int compared = 0, differing = 0;
    const PipelineSettings used = CameraStream::StreamSettings(*camera, settings);
    const auto sink = [&](const Converted& frame) {
      const std::vector<uint8_t> sent(frame.raw.data(), frame.raw.data() + frame.raw.size());
      const bool same = model::Lines(frame) == model::LibraryConversion(used, sent, used.raw_stride);
      std::lock_guard lock(mutex);
      ++compared;
      differing += same ? 0 : 1;
    };
    const PipelineStats stats = Acquire(*camera, settings, 4, sink);
    EXPECT_EQ(compared, 4);
    EXPECT_EQ(differing, 0);
    EXPECT_EQ(stats.converted, 4u);
    EXPECT_EQ(stats.incomplete + stats.failed, 0u);
  }
}

// One frame of each format, as sent.
struct Picture {
  std::vector<uint8_t> bytes;
  uint64_t id = 0;
};

Picture Grab(AravisCamera& camera, const char* format) {
  camera.SetPixelFormat(format);
  PipelineSettings settings;
  settings.to = FindCameraFormat(format)->format;  // as sent
  Picture picture;
  Acquire(camera, settings, 1, [&](const Converted& c) {
    picture.bytes.assign(c.pixels, c.pixels + size_t{c.stride} * c.height);
    picture.id = c.raw.camera_id;
  });
  return picture;
}

// The fake camera draws one scene in every format: a diagonal ramp through a
// colour map, moving one pixel to the left with each frame.  Each Bayer frame
// is compared site by site with the RGB8 frame (shifted by the frames between
// them) to see which colours its top-left 2 x 2 cell really holds.
TEST(FakeCamera, BayerPhasesReadOffThePicture) {
  auto camera = FakeCamera("RGB8");
  const Picture rgb = Grab(*camera, "RGB8");
  const auto phase_of = [&](const Picture& mosaic) -> std::optional<char> {
    // The ramp repeats every 255 frames (frame numbers also wrap at 16 bits).
    int64_t shift = ((static_cast<int64_t>(mosaic.id) - static_cast<int64_t>(rgb.id)) % 255 + 255) % 255;
    if (shift > 127) shift -= 255;
    std::optional<char> found;
    // Channel (0 R, 1 G, 2 B) at an even or odd row and column, per phase.
    const int cells[4][2][2] = {{{0, 1}, {1, 2}}, {{1, 0}, {2, 1}}, {{1, 2}, {0, 1}}, {{2, 1}, {1, 0}}};
    for (int phase = 0; phase < 4; ++phase) {
      bool all = true;
      for (int64_t y = 0; y < kHeight && all; ++y)
        for (int64_t x = std::max<int64_t>(0, -shift); x < kWidth && x + shift < kWidth && all; ++x)
          all = mosaic.bytes[y * kWidth + x] == rgb.bytes[(y * kWidth + x + shift) * 3 + cells[phase][y % 2][x % 2]];
      if (all) found = static_cast<char>('A' + phase);
    }
    return found;
  };
  // What Aravis 0.8's fake camera draws: GR and GB as PFNC names them, but
  // the RG and BG cells exchanged (its BayerRG8 frames start B G / G R).  The
  // format table keeps PFNC's meaning (RG is phase A ... BG is D).
  const std::pair<const char*, char> drawn[] = {{"BayerGR8", 'B'}, {"BayerGB8", 'C'}, {"BayerRG8", 'D'}, {"BayerBG8", 'A'}};
  for (const auto& [format, phase] : drawn) EXPECT_EQ(phase_of(Grab(*camera, format)), phase) << format;
}

TEST(FakeCamera, FramesWithoutABufferAreDroppedAndCounted) {
  auto camera = FakeCamera("Mono8");
  PipelineSettings settings = CameraStream::StreamSettings(*camera, {});
  settings.to = FMT_Y8;
  settings.frames = 3;
  std::latch open(1);
  CameraStream stream(*camera, settings, [&](const Converted&) { open.wait(); });
  stream.Start();
  // The worker holds a frame and the ring fills; the camera keeps sending.
  for (int tries = 0; stream.pipeline().Stats().dropped < 3 && tries < 300; ++tries) {
    const CameraStream::Popped p = stream.Next(std::chrono::milliseconds(20));
    if (p.outcome == CameraStream::Outcome::kFrame) stream.pipeline().Submit(*p.frame);
  }
  open.count_down();
  stream.Stop();
  const PipelineStats stats = stream.pipeline().Stats();
  EXPECT_GE(stats.dropped, 3u);
  EXPECT_LE(stats.converted, 3u);
  EXPECT_EQ(stats.received, stats.converted + stats.dropped + stats.incomplete + stats.failed);
}

}  // namespace
}  // namespace qvi::camera
