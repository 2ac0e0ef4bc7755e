// The capture pipeline fed by a synthetic source: every frame converted as
// the library converts it, drops counted rather than queued, incomplete
// frames never converted, failures of the sink reaching the owner, settings
// the library cannot serve refused before any frame.
#include <gtest/gtest.h>

#include <cstring>
#include <latch>
#include <mutex>
#include <random>
#include <semaphore>
#include <set>
#include <string>
#include <vector>

#include "camera/reference.h"
#include "conversion_times.h"
#include "pipeline.h"
#include "qvi_formats.h"

namespace qvi::camera {
namespace {

PipelineSettings Settings(const char* format, uint32_t width, uint32_t height, ImageFormat to, unsigned workers) {
  PipelineSettings s;
  s.format = FindCameraFormat(format);
  s.width = width;
  s.height = height;
  s.raw_stride = s.format->packing == Packing::kNone ? *CameraLineBytes(*s.format, width) : 0;
  s.raw_bytes = *CameraFrameBytes(*s.format, width, height);
  s.to = to;
  s.workers = workers;
  return s;
}

// A frame as the source sends it, and what the library makes of its pixels
// (16-bit words, for a packed format).
struct Sent {
  std::vector<uint8_t> raw, expected;
};

Sent MakeFrame(const PipelineSettings& s, uint32_t seed) {
  std::mt19937 random(seed);
  Sent sent;
  if (s.format->packing == Packing::kNone) {
    sent.raw.resize(s.raw_bytes);
    for (uint8_t& b : sent.raw) b = static_cast<uint8_t>(random());
    sent.expected = model::LibraryConversion(s, sent.raw, s.raw_stride);
    return sent;
  }
  std::vector<uint16_t> values(size_t{s.width} * s.height);
  for (uint16_t& v : values) v = static_cast<uint16_t>(random() & ((1u << s.format->bits) - 1));
  sent.raw = model::Pack(s.format->packing, values);
  std::vector<uint8_t> words(values.size() * 2);
  std::memcpy(words.data(), values.data(), words.size());
  sent.expected = model::LibraryConversion(s, words, s.width * 2);
  return sent;
}

TEST(Pipeline, ConvertsEveryFrameAsTheLibraryDoes) {
  struct Case {
    const char* format;
    uint32_t width, height;
    ImageFormat to;
    DemosaicMethod method;
    unsigned workers;
  };
  const Case cases[] = {
      {"BayerRG8", 33, 17, FMT_BGR24, DEMOSAIC_METHOD_AVE, 2},
      {"BayerGB12p", 31, 9, FMT_BGRX32, DEMOSAIC_METHOD_MED, 3},  // lines start inside bytes
      {"BayerBG12Packed", 20, 6, FMT_RGB16, DEMOSAIC_METHOD_DUP, 2},
      {"BayerGR10p", 13, 7, FMT_BGR24, DEMOSAIC_METHOD_AVE, 1},
      {"Mono10Packed", 7, 5, FMT_Y8, DEMOSAIC_METHOD_AVE, 2},
      {"Mono12", 15, 4, FMT_BGR24, DEMOSAIC_METHOD_AVE, 2},
      {"YUV422_8", 10, 4, FMT_BGRX32, DEMOSAIC_METHOD_AVE, 2},
      {"BGRa8", 5, 3, FMT_BGR24, DEMOSAIC_METHOD_AVE, 1},
      {"RGB8", 9, 3, FMT_RGB24, DEMOSAIC_METHOD_AVE, 2},    // passed on as sent
      {"Mono12p", 9, 4, FMT_Y12, DEMOSAIC_METHOD_AVE, 2},  // only unpacked
  };
  constexpr uint32_t kFrames = 12;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.format) + " to " + std::string(FormatOf(c.to).name));
    PipelineSettings s = Settings(c.format, c.width, c.height, c.to, c.workers);
    s.method = c.method;
    std::vector<Sent> sent;
    for (uint32_t i = 0; i < kFrames; ++i) sent.push_back(MakeFrame(s, i));
    std::mutex mutex;
    std::vector<std::vector<uint8_t>> got(kFrames);
    std::multiset<uint64_t> sequences;
    Pipeline pipeline(s, [&](const Converted& frame) {
      std::lock_guard lock(mutex);
      sequences.insert(frame.sequence);
      if (frame.sequence < kFrames && frame.raw.camera_id == frame.sequence) got[frame.sequence] = model::Lines(frame);
    });
    for (uint32_t i = 0; i < kFrames; ++i) {
      Frame* f = pipeline.WaitFree();
      ASSERT_NE(f, nullptr);
      std::memcpy(f->data(), sent[i].raw.data(), sent[i].raw.size());
      f->camera_id = i;
      pipeline.Submit(*f);
    }
    pipeline.Finish();
    for (uint32_t i = 0; i < kFrames; ++i) EXPECT_EQ(got[i], sent[i].expected) << "frame " << i;
    std::multiset<uint64_t> all;
    for (uint64_t i = 0; i < kFrames; ++i) all.insert(i);
    EXPECT_EQ(sequences, all);
    const PipelineStats stats = pipeline.Stats();
    EXPECT_EQ(stats.received, kFrames);
    EXPECT_EQ(stats.converted, kFrames);
    EXPECT_EQ(stats.dropped + stats.incomplete + stats.failed, 0u);
  }
}

TEST(Pipeline, AFullRingDropsAndCountsInsteadOfQueueing) {
  for (unsigned workers : {1u, 2u}) {
    PipelineSettings s = Settings("BayerRG8", 8, 4, FMT_BGR24, workers);
    s.frames = 5;
    std::counting_semaphore<64> entered(0);  // a worker is in the sink, which holds it until `open`
    std::latch open(1);
    Pipeline pipeline(s, [&](const Converted&) {
      entered.release();
      open.wait();
    });
    uint64_t submitted = 0, dropped = 0, rejected = 0;
    for (int i = 0; i < 40; ++i) {
      if (i == 1) entered.acquire();  // a worker holds frame 0
      Frame* f = pipeline.TakeFree();
      if (!f) {
        pipeline.CountDropped();
        ++dropped;
      } else if (i % 7 == 3) {
        pipeline.Reject(*f);  // arrived incomplete: back to the ring at once
        ++rejected;
      } else {
        pipeline.Submit(*f);
        ++submitted;
      }
    }
    EXPECT_EQ(submitted, 5u) << "only the ring's frames are taken while the sink holds them";
    open.count_down();
    pipeline.Finish();
    const PipelineStats stats = pipeline.Stats();
    EXPECT_EQ(stats.received, 40u);
    EXPECT_EQ(stats.converted, submitted);
    EXPECT_EQ(stats.dropped, dropped);
    EXPECT_EQ(stats.incomplete, rejected);
    EXPECT_EQ(stats.received, stats.converted + stats.dropped + stats.incomplete);
  }
}

TEST(Pipeline, AFailingSinkStopsThePipelineAndReachesTheOwner) {
  Pipeline pipeline(Settings("Mono8", 4, 2, FMT_BGR24, 2),
                    [](const Converted& c) {
                      if (c.sequence == 2) throw std::runtime_error("disk full");
                    });
  for (int i = 0; i < 20 && !pipeline.Failed(); ++i)
    if (Frame* f = pipeline.WaitFree()) pipeline.Submit(*f);
  try {
    pipeline.Finish();
    ADD_FAILURE() << "the sink's failure was lost";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "disk full");
  }
  EXPECT_TRUE(pipeline.Failed());
  EXPECT_EQ(pipeline.WaitFree(), nullptr);
  const PipelineStats stats = pipeline.Stats();
  EXPECT_GE(stats.failed, 1u);
  EXPECT_EQ(stats.received, stats.converted + stats.failed);
  pipeline.Finish();  // once only
}

TEST(Pipeline, RefusesWhatTheLibraryCannotServe) {
  PipelineSettings no_route = Settings("RGB8", 4, 2, FMT_BGR24, 1);
  PipelineSettings bad_method = Settings("BayerRG8", 4, 2, FMT_RGBX32, 1);
  bad_method.method = DEMOSAIC_METHOD_AVE;  // into RGBX32: dup only
  PipelineSettings short_frames = Settings("BayerRG12p", 5, 3, FMT_BGR24, 1);
  short_frames.raw_bytes -= 1;
  PipelineSettings short_stride = Settings("Mono16", 5, 3, FMT_Y8, 1);
  short_stride.raw_stride = 9;
  const std::pair<PipelineSettings, std::string> cases[] = {
      {no_route, "into BGR24 failed: STATUS_BAD_PARAMETER"},
      {bad_method, "into RGBX32 failed: STATUS_BAD_BAYER_MODE"},
      {short_frames, "frames of 22 bytes cannot hold 5 x 3 BayerRG12p pixels (23 bytes)"},
      {short_stride, "the stride 9 is shorter than a line of 10 bytes"},
  };
  for (const auto& [settings, message] : cases) {
    try {
      Pipeline pipeline(settings);
      ADD_FAILURE() << "accepted: " << message;
    } catch (const std::exception& e) {
      EXPECT_NE(std::string(e.what()).find(message), std::string::npos) << e.what();
    }
  }
}

TEST(ConversionTimes, PercentilesWithinOnePercent) {
  std::vector<double> ramp;
  for (int i = 1; i <= 1000; ++i) ramp.push_back(i * 0.01);  // 0.01 .. 10 ms
  const struct {
    std::vector<double> samples;
    double p50, p99;
  } cases[] = {
      {{}, 0, 0},
      {{3.25}, 3.25, 3.25},
      {{8, 1}, 1, 8},
      {ramp, 5.0, 9.9},
      {{0.002, 0.003, 5000}, 0.003, 5000},
  };
  for (const auto& c : cases) {
    ConversionTimes times;
    for (double ms : c.samples) times.Add(ms);
    EXPECT_EQ(times.count(), c.samples.size());
    EXPECT_NEAR(times.Percentile(50), c.p50, c.p50 * 0.01);
    EXPECT_NEAR(times.Percentile(99), c.p99, c.p99 * 0.01);
  }
}

}  // namespace
}  // namespace qvi::camera
