// Frames per second of qvidemosaic against GStreamer's bayer2rgb on the same
// 8-bit Bayer frames into BGRx, and of qvidemosaic alone on 12-bit frames
// (bayer2rgb takes 8-bit mosaics only).  appsrc hands the same preallocated
// frames round and round from its streaming thread, which also runs the
// demosaic element and fakesink sync=false: one streaming thread, no queue.
// Frames are timed from the sink after a warm-up; each round runs every
// pipeline once, taking turns, and the table shows the median of the rounds.
//
//   qvi_bench_gst [--size WxH] [--frames N] [--rounds N]
#include <gst/app/gstappsrc.h>
#include <gst/gst.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Options {
  int width = 2448, height = 2048, frames = 300, rounds = 5, warmup = 20;
};

struct Job {
  std::string name, bayer_format, element;
  int bits;
};

struct Feed {
  std::vector<GstBuffer*> frames;
  int pushed = 0, total = 0;
};

void NeedData(GstAppSrc* src, guint, gpointer data) {
  auto* feed = static_cast<Feed*>(data);
  if (feed->pushed == feed->total) {
    gst_app_src_end_of_stream(src);
    return;
  }
  gst_app_src_push_buffer(src, gst_buffer_ref(feed->frames[feed->pushed % feed->frames.size()]));
  ++feed->pushed;
}

struct Timing {
  int seen = 0, warmup = 0;
  Clock::time_point start, end;
};

GstPadProbeReturn Count(GstPad*, GstPadProbeInfo*, gpointer data) {
  auto* t = static_cast<Timing*>(data);
  if (++t->seen == t->warmup) t->start = Clock::now();
  t->end = Clock::now();
  return GST_PAD_PROBE_OK;
}

std::vector<GstBuffer*> Frames(const Options& o, int bits) {
  std::vector<GstBuffer*> frames;
  std::mt19937 rng(7);
  const size_t samples = size_t(o.width) * o.height;  // widths here are multiples of 4
  for (int i = 0; i < 4; ++i) {
    GstBuffer* b = gst_buffer_new_allocate(nullptr, samples * (bits > 8 ? 2 : 1), nullptr);
    GstMapInfo map;
    gst_buffer_map(b, &map, GST_MAP_WRITE);
    if (bits > 8) {
      for (size_t k = 0; k < samples; ++k) {
        const uint16_t v = static_cast<uint16_t>(rng() & ((1u << bits) - 1));
        std::memcpy(map.data + 2 * k, &v, 2);
      }
    } else {
      for (size_t k = 0; k < samples; ++k) map.data[k] = static_cast<uint8_t>(rng());
    }
    gst_buffer_unmap(b, &map);
    frames.push_back(b);
  }
  return frames;
}

// Frames per second of one run, or a negative value when it failed.
double Run(const Options& o, const Job& job, const std::vector<GstBuffer*>& frames) {
  const std::string launch = "appsrc name=src ! " + job.element +
                             " ! video/x-raw,format=BGRx ! fakesink name=sink sync=false";
  GError* error = nullptr;
  GstElement* pipeline = gst_parse_launch(launch.c_str(), &error);
  if (pipeline == nullptr) {
    std::fprintf(stderr, "%s: %s\n", job.name.c_str(), error != nullptr ? error->message : "?");
    g_clear_error(&error);
    return -1;
  }
  GstElement* src = gst_bin_get_by_name(GST_BIN(pipeline), "src");
  GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
  GstCaps* caps = gst_caps_new_simple("video/x-bayer", "format", G_TYPE_STRING, job.bayer_format.c_str(), "width",
                                      G_TYPE_INT, o.width, "height", G_TYPE_INT, o.height, "framerate",
                                      GST_TYPE_FRACTION, 0, 1, nullptr);
  g_object_set(src, "caps", caps, "format", GST_FORMAT_TIME, "max-buffers", guint64{2}, nullptr);
  gst_caps_unref(caps);
  Feed feed{frames, 0, o.frames};
  GstAppSrcCallbacks callbacks = {};
  callbacks.need_data = NeedData;
  gst_app_src_set_callbacks(GST_APP_SRC(src), &callbacks, &feed, nullptr);
  Timing timing;
  timing.warmup = o.warmup;
  GstPad* pad = gst_element_get_static_pad(sink, "sink");
  gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, Count, &timing, nullptr);
  gst_object_unref(pad);

  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* bus = gst_element_get_bus(pipeline);
  GstMessage* msg = gst_bus_timed_pop_filtered(bus, GST_CLOCK_TIME_NONE,
                                               static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  double fps = -1;
  if (GST_MESSAGE_TYPE(msg) == GST_MESSAGE_ERROR) {
    gst_message_parse_error(msg, &error, nullptr);
    std::fprintf(stderr, "%s: %s\n", job.name.c_str(), error->message);
    g_clear_error(&error);
  } else if (timing.seen == o.frames) {
    fps = (o.frames - o.warmup) / std::chrono::duration<double>(timing.end - timing.start).count();
  }
  gst_message_unref(msg);
  gst_object_unref(bus);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(src);
  gst_object_unref(sink);
  gst_object_unref(pipeline);
  return fps;
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v.empty() ? -1 : v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string arg = argv[i];
    if (arg == "--size" && std::sscanf(argv[i + 1], "%dx%d", &o.width, &o.height) == 2 && o.width % 4 == 0) continue;
    if (arg == "--frames" && (o.frames = std::atoi(argv[i + 1])) > o.warmup) continue;
    if (arg == "--rounds" && (o.rounds = std::atoi(argv[i + 1])) > 0) continue;
    std::fprintf(stderr, "usage: %s [--size WxH (W a multiple of 4)] [--frames N > %d] [--rounds N]\n", argv[0],
                 o.warmup);
    return 2;
  }
  gst_init(&argc, &argv);
  GError* error = nullptr;
  GstPlugin* plugin = gst_plugin_load_file(QVI_GST_PLUGIN, &error);
  if (plugin == nullptr) {
    std::fprintf(stderr, "cannot load %s: %s\n", QVI_GST_PLUGIN, error != nullptr ? error->message : "?");
    return 1;
  }
  gst_object_unref(plugin);

  const std::vector<Job> jobs = {
      {"bayer2rgb 8-bit", "rggb", "bayer2rgb", 8},
      {"qvidemosaic 8-bit dup", "rggb", "qvidemosaic method=dup", 8},
      {"qvidemosaic 8-bit ave", "rggb", "qvidemosaic method=ave", 8},
      {"qvidemosaic 8-bit med", "rggb", "qvidemosaic method=med", 8},
      {"qvidemosaic 12-bit dup", "rggb12le", "qvidemosaic method=dup", 12},
      {"qvidemosaic 12-bit ave", "rggb12le", "qvidemosaic method=ave", 12},
      {"qvidemosaic 12-bit med", "rggb12le", "qvidemosaic method=med", 12},
  };
  const std::vector<GstBuffer*> frames8 = Frames(o, 8), frames12 = Frames(o, 12);
  std::vector<std::vector<double>> fps(jobs.size());
  for (int round = 0; round < o.rounds; ++round)
    for (size_t k = 0; k < jobs.size(); ++k) {
      const size_t j = (k + round) % jobs.size();  // take turns at going first
      const double f = Run(o, jobs[j], jobs[j].bits > 8 ? frames12 : frames8);
      if (f > 0) fps[j].push_back(f);
    }

  std::printf("%dx%d Bayer -> BGRx, %d frames a run (%d untimed), median of %d rounds\n\n", o.width, o.height,
              o.frames, o.warmup, o.rounds);
  std::printf("| pipeline | frames/s | Mpx/s | vs bayer2rgb |\n|---|---:|---:|---:|\n");
  const double reference = Median(fps[0]);
  for (size_t j = 0; j < jobs.size(); ++j) {
    const double f = Median(fps[j]);
    if (f < 0) {
      std::printf("| %s | failed | | |\n", jobs[j].name.c_str());
      continue;
    }
    std::printf("| %s | %.1f | %.0f |", jobs[j].name.c_str(), f, f * o.width * o.height / 1e6);
    if (reference > 0 && jobs[j].bits == 8)
      std::printf(" %.2f |\n", f / reference);
    else
      std::printf(" %s |\n", jobs[j].bits == 8 ? "" : "(8-bit only)");
  }
  for (GstBuffer* b : frames8) gst_buffer_unref(b);
  for (GstBuffer* b : frames12) gst_buffer_unref(b);
  return 0;
}
