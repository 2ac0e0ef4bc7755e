// A live pipeline: Aravis's fake GigE camera, aravissrc and qvidemosaic
// (511 x 301 grbg, an odd width, median into BGR), each frame compared with
// the library's demosaic of the same camera bytes.
//
// Discovery and the fake camera broadcast on every interface, so this
// program runs ONLY inside a private network namespace that holds nothing
// but loopback (CTest starts it through scripts/netns.sh; it refuses to run
// where another interface exists).  It starts the camera and stops it.
//
//   qvi_gst_live_camera FAKE_CAMERA_PROGRAM PLUGIN_FILE...
#include <gst/gst.h>
#include <gst/video/video.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "qvb.h"
#include "qvi.h"

// Under AddressSanitizer: a block GLib keeps for the life of the process is
// no leak (full unwinding lets the suppression see it).  Under
// ThreadSanitizer: Aravis's and GLib's own threads are not ours to check.
extern "C" const char* __lsan_default_suppressions() { return "leak:libglib-2.0.so\n"; }
extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }
extern "C" const char* __tsan_default_options() { return "ignore_noninstrumented_modules=1"; }
extern "C" const char* __tsan_default_suppressions() {
  return "called_from_lib:libaravis-0.8.so.0\nrace:libaravis-0.8.so.0\nrace:libglib-2.0.so.0\n";
}

namespace {

constexpr uint32_t kWidth = 511, kHeight = 301, kFrames = 4;

bool OnlyLoopback() {
  for (const auto& entry : std::filesystem::directory_iterator("/sys/class/net"))
    if (entry.path().filename() != "lo") return false;
  return true;
}

// The camera, which the kernel stops when this program ends however it ends.
pid_t StartCamera(const char* program) {
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid != 0) return pid;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  execl(program, program, "-i", "127.0.0.1", static_cast<char*>(nullptr));
  _exit(127);
}

struct Frames {
  std::vector<GstBuffer*> in, out;
};

GstPadProbeReturn Keep(GstPad*, GstPadProbeInfo* info, gpointer list) {
  static_cast<std::vector<GstBuffer*>*>(list)->push_back(gst_buffer_ref(GST_PAD_PROBE_INFO_BUFFER(info)));
  return GST_PAD_PROBE_OK;
}

// Runs the pipeline to its end; false with `error` set when it fails.
bool Run(Frames* frames, std::string* error) {
  const std::string launch = "aravissrc camera-name=Aravis-GV01 num-buffers=" + std::to_string(kFrames) +
                             " ! video/x-bayer,format=grbg,width=" + std::to_string(kWidth) +
                             ",height=" + std::to_string(kHeight) +
                             " ! qvidemosaic name=demosaic method=med ! video/x-raw,format=BGR ! fakesink sync=false";
  GError* parse_error = nullptr;
  GstElement* pipeline = gst_parse_launch(launch.c_str(), &parse_error);
  if (pipeline == nullptr) {
    *error = parse_error != nullptr ? parse_error->message : "cannot build the pipeline";
    g_clear_error(&parse_error);
    return false;
  }
  GstElement* demosaic = gst_bin_get_by_name(GST_BIN(pipeline), "demosaic");
  GstPad* sink = gst_element_get_static_pad(demosaic, "sink");
  GstPad* src = gst_element_get_static_pad(demosaic, "src");
  gst_pad_add_probe(sink, GST_PAD_PROBE_TYPE_BUFFER, Keep, &frames->in, nullptr);
  gst_pad_add_probe(src, GST_PAD_PROBE_TYPE_BUFFER, Keep, &frames->out, nullptr);
  gst_object_unref(sink);
  gst_object_unref(src);
  gst_object_unref(demosaic);

  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* bus = gst_element_get_bus(pipeline);
  GstMessage* message = gst_bus_timed_pop_filtered(
      bus, 20 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  bool ok = message != nullptr && GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS;
  if (message == nullptr) {
    *error = "no end of stream within 20 s";
  } else if (!ok) {
    GError* e = nullptr;
    gst_message_parse_error(message, &e, nullptr);
    *error = e->message;
    g_error_free(e);
  }
  if (message != nullptr) gst_message_unref(message);
  gst_object_unref(bus);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
  return ok;
}

// The element's frame is the library's demosaic of the camera's bytes (whole
// lines, with zeros after the last where the odd width reads).
bool Matches(GstBuffer* in, GstBuffer* out) {
  GstVideoInfo info;
  gst_video_info_set_format(&info, GST_VIDEO_FORMAT_BGR, kWidth, kHeight);
  const uint32_t stride = static_cast<uint32_t>(GST_VIDEO_INFO_PLANE_STRIDE(&info, 0));
  const size_t size = gst_buffer_get_size(in);
  const auto in_stride = static_cast<uint32_t>(size / kHeight);
  if (size % kHeight != 0 || in_stride < kWidth) return false;
  std::vector<uint8_t> source(size + 2, 0), want(size_t{stride} * kHeight, 0);
  gst_buffer_extract(in, 0, source.data(), size);
  BufferHandle s = 0, d = 0;
  QVB_BufferCreate(source.data(), kWidth, kHeight, in_stride, FMT_BAY8, &s);
  QVB_BufferCreate(want.data(), kWidth, kHeight, stride, FMT_BGR24, &d);
  QVB_BufferParameterSet(s, BUF_PARAM_DEMOSAIC_METHOD, DEMOSAIC_METHOD_MED);
  QVB_BufferParameterSet(s, BUF_PARAM_BAYER_PHASE, BAYER_PHASE_B);
  const Status status = QVI_Convert(s, d);
  QVB_BufferDestroy(s);
  QVB_BufferDestroy(d);
  GstMapInfo map;
  if (status != STATUS_OK || !gst_buffer_map(out, &map, GST_MAP_READ)) return false;
  bool same = map.size >= want.size();
  for (uint32_t y = 0; same && y < kHeight; ++y)
    same = std::memcmp(map.data + y * stride, want.data() + y * stride, size_t{kWidth} * 3) == 0;
  gst_buffer_unmap(out, &map);
  return same;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s FAKE_CAMERA_PROGRAM PLUGIN_FILE...\n", argv[0]);
    return 2;
  }
  if (!OnlyLoopback()) {
    std::fprintf(stderr, "%s: interfaces other than loopback exist; run it through scripts/netns.sh\n", argv[0]);
    return 1;
  }
  g_setenv("GST_REGISTRY_UPDATE", "no", TRUE);
  g_setenv("GST_REGISTRY_FORK", "no", TRUE);
  g_setenv("GST_PLUGIN_SYSTEM_PATH_1_0", "", TRUE);
  g_setenv("GST_PLUGIN_PATH_1_0", "", TRUE);
  gst_init(nullptr, nullptr);
  for (int i = 2; i < argc; ++i) {
    GError* error = nullptr;
    GstPlugin* plugin = gst_plugin_load_file(argv[i], &error);
    if (plugin == nullptr) {
      std::fprintf(stderr, "cannot load %s: %s\n", argv[i], error != nullptr ? error->message : "?");
      return 1;
    }
    gst_object_unref(plugin);
  }

  const pid_t camera = StartCamera(argv[1]);
  if (camera < 0) return std::fprintf(stderr, "cannot start %s\n", argv[1]), 1;
  // The camera answers discovery once it is up: try a few times.
  Frames frames;
  std::string error;
  bool ran = false;
  const auto release = [&] {
    for (GstBuffer* b : frames.in) gst_buffer_unref(b);
    for (GstBuffer* b : frames.out) gst_buffer_unref(b);
    frames = Frames();
  };
  for (int attempt = 0; attempt < 10 && !ran; ++attempt) {
    g_usleep(G_USEC_PER_SEC / 2);
    release();
    ran = Run(&frames, &error);
  }
  kill(camera, SIGTERM);
  waitpid(camera, nullptr, 0);

  int failed = 0;
  if (!ran) {
    std::fprintf(stderr, "the pipeline failed: %s\n", error.c_str());
    failed = 1;
  } else if (frames.in.size() != kFrames || frames.out.size() != kFrames) {
    std::fprintf(stderr, "%zu frames in, %zu out; %u expected\n", frames.in.size(), frames.out.size(), kFrames);
    failed = 1;
  }
  for (size_t i = 0; !failed && i < frames.in.size(); ++i)
    if (!Matches(frames.in[i], frames.out[i])) {
      std::fprintf(stderr, "frame %zu differs from the library's demosaic of the camera's bytes\n", i);
      failed = 1;
    }
  if (!failed) std::printf("%u live %ux%u frames demosaiced as the library does\n", kFrames, kWidth, kHeight);
  release();
  gst_deinit();
  return failed;
}
