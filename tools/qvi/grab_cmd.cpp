// qvi grab: frames from a GenICam camera through Aravis, converted on worker
// threads as they arrive; and qvi cameras, the cameras Aravis finds.
//
// `qvi cameras` and `qvi grab --camera` use Aravis's discovery, which
// broadcasts on every network interface; `--address` talks to one address.
// The project's tests and demos run discovery only inside a private network
// namespace that holds nothing but loopback (scripts/netns.sh).
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <ostream>
#include <sstream>
#include <thread>

#include "aravis_camera.h"
#include "commands.h"
#include "error.h"
#include "frames.h"
#include "output.h"

namespace qvi::tool {
namespace {

using camera::AravisCamera;
using camera::CameraStream;
using Clock = std::chrono::steady_clock;

std::string Fixed(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, std::isfinite(value) ? value : 0.0);
  return text;
}

std::string Shortest(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

std::string JsonString(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      quoted += '\\';
      quoted += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      quoted += escape;
    } else {
      quoted += c;
    }
  }
  return quoted + "\"";
}

// The name of output `index` of a run: numbered as for `count` files when the
// count is known, else with six digits or more.
std::string OutputPath(const std::string& path, uint64_t index, std::optional<uint64_t> count) {
  return NumberedPath(path, index, count ? *count : std::max<uint64_t>(999999, index + 1));
}

std::unique_ptr<AravisCamera> OpenCamera(const GrabOptions& o) {
  try {
    return o.address ? AravisCamera::OpenAddress(*o.address) : AravisCamera::Open(*o.camera);
  } catch (const camera::CameraError& e) {
    throw Error(e.what());
  }
}

// The format to convert into: --to, else BGR24 (Y8 for grey), else the
// camera's own format when the library has no route into those.
const FormatInfo& Destination(const GrabOptions& o, const camera::CameraFormat& from) {
  const FormatInfo& source = FormatOf(from.format);
  const auto via = [&] { return std::string(source.name) + " (the camera's " + std::string(from.name) + ")"; };
  if (o.to) {
    const FormatInfo& to = ParseFormat(*o.to, "--to");
    if (to.code != from.format && !HasConversion(source, to))
      throw Error("the library has no conversion from " + via() + " to " + std::string(to.name) +
                  "; `qvi formats` lists the conversions, and --to " + std::string(source.name) +
                  " keeps the camera's pixels");
    return to;
  }
  const FormatInfo& usual = FormatOf(IsGrey(from.format) ? FMT_Y8 : FMT_BGR24);
  return HasConversion(source, usual) ? usual : source;
}

std::string StatusLine(const camera::PipelineStats& s) {
  return "received " + std::to_string(s.received) + ", converted " + std::to_string(s.converted) + ", dropped " +
         std::to_string(s.dropped) + ", incomplete " + std::to_string(s.incomplete) + "; conversion " +
         Fixed(s.convert_ms_p50, 2) + " ms median, " + Fixed(s.convert_ms_p99, 2) + " ms p99; " + Fixed(s.fps, 1) +
         " fps";
}

}  // namespace

void RunGrab(const GrabOptions& o, std::ostream& out) {
  if (o.frames && *o.frames == 0) throw Error("--frames 0 asks for no frame; give 1 or more, or leave it out");
  if (o.width.has_value() != o.height.has_value()) throw Error("--width and --height go together");
  if (o.fps && !(*o.fps > 0)) throw Error("--fps " + Shortest(*o.fps) + " is not a frame rate; give more than 0");
  if (!(o.timeout > 0)) throw Error("--timeout must be more than 0 seconds");
  std::optional<FileType> type;
  if (o.output) {
    type = FileTypeOf(*o.output, "-o");
    CheckOutputFolder(*o.output);
  }

  CountInterrupts();
  const std::unique_ptr<AravisCamera> camera = OpenCamera(o);
  camera::PipelineSettings settings;
  try {
    if (o.pixel_format) camera->SetPixelFormat(*o.pixel_format);
    if (o.width) camera->SetSize(*o.width, *o.height);
    if (o.fps) camera->SetFrameRate(*o.fps);
    settings = CameraStream::StreamSettings(*camera, settings);
  } catch (const std::exception& e) {
    throw Error(e.what());
  }
  const camera::CameraFormat& from = *settings.format;
  const FormatInfo& to = Destination(o, from);
  const bool bayer = from.phase.has_value();
  if (o.method && !bayer)
    throw Error("--method applies to Bayer formats only, and the camera sends " + std::string(from.name));
  settings.to = to.code;
  settings.method = bayer ? ParseDemosaicMethod(o.method.value_or("ave")) : DEMOSAIC_METHOD_AVE;
  settings.workers = o.threads ? o.threads : std::max(1u, std::thread::hardware_concurrency());
  if (type) CheckWritable(*type, to.code, settings.width, settings.height);

  OutputSet outputs;
  std::mutex outputs_mutex;
  camera::Pipeline::Sink sink;
  if (o.output)
    sink = [&](const camera::Converted& c) {
      std::string temp;
      {
        std::lock_guard lock(outputs_mutex);
        temp = outputs.Stage(OutputPath(*o.output, c.sequence, o.frames));
      }
      WriteImage(c.image, c.pixels, c.stride, c.format, c.width, c.height, temp, *type);
    };

  std::unique_ptr<CameraStream> stream;
  try {
    stream = std::make_unique<CameraStream>(*camera, settings, sink);
    stream->Start();
  } catch (const std::exception& e) {
    throw Error(e.what());
  }
  camera::Pipeline& pipeline = stream->pipeline();
  const bool tty = ::isatty(STDERR_FILENO);
  const auto limit = std::chrono::duration<double>(o.timeout);
  Clock::time_point last_frame = Clock::now(), last_status = last_frame;
  uint64_t accepted = 0;
  try {
    while (Interrupts() == 0 && !pipeline.Failed() && (!o.frames || accepted < *o.frames)) {
      const CameraStream::Popped p = stream->Next(std::chrono::milliseconds(100));
      const Clock::time_point now = Clock::now();
      if (p.outcome == CameraStream::Outcome::kFrame) {
        pipeline.Submit(*p.frame);
        ++accepted;
      }
      if (p.outcome != CameraStream::Outcome::kNothing) last_frame = now;
      if (now - last_frame > limit)
        throw Error("no frame came from the camera for " + Fixed(o.timeout, 1) + " s (stream timeout)");
      if (tty && now - last_status > std::chrono::milliseconds(250)) {
        std::fprintf(stderr, "\rqvi grab: %s ", StatusLine(pipeline.Stats()).c_str());
        last_status = now;
      }
    }
    stream->Stop();
  } catch (const std::exception& e) {
    if (tty) std::fputc('\n', stderr);
    throw Error(e.what());
  }
  if (tty) std::fputc('\n', stderr);
  if (Interrupts() > 1) throw Error("interrupted again while finishing: no file written");
  outputs.CommitAll();

  const camera::PipelineStats s = pipeline.Stats();
  const std::string name = camera->Describe();
  const std::string pixels = std::to_string(settings.width) + " x " + std::to_string(settings.height) + " " +
                             std::string(from.name);
  std::string conversion = std::string(to.name);
  if (bayer)
    conversion += " (" + o.method.value_or("ave") + ", phase " +
                  std::string(1, static_cast<char>('A' + (*from.phase >> 8) - 1)) + ")";
  if (to.code == from.format)
    conversion = std::string(to.name) + (from.packing == camera::Packing::kNone ? " as sent" : ", unpacked only");
  out << "qvi grab: " << name << ", " << pixels << " to " << conversion << ", " << settings.workers << " thread"
      << (settings.workers == 1 ? "" : "s") << (Interrupts() ? ", stopped by an interrupt" : "") << "\n"
      << "  " << StatusLine(s) << " over " << Fixed(s.seconds, 2) << " s\n";
  if (o.output && s.converted > 0) {
    out << "  written to " << OutputPath(*o.output, 0, o.frames);
    if (s.converted > 1) out << " .. " << OutputPath(*o.output, s.converted - 1, o.frames);
    out << "\n";
  }
  if (o.json) {
    out << "{\"camera\":" << JsonString(name) << ",\"pixel_format\":" << JsonString(std::string(from.name))
        << ",\"width\":" << settings.width << ",\"height\":" << settings.height
        << ",\"to\":" << JsonString(std::string(to.name)) << ",\"threads\":" << settings.workers
        << ",\"received\":" << s.received << ",\"converted\":" << s.converted << ",\"dropped\":" << s.dropped
        << ",\"incomplete\":" << s.incomplete << ",\"seconds\":" << Fixed(s.seconds, 3)
        << ",\"fps\":" << Fixed(s.fps, 2) << ",\"convert_ms_p50\":" << Fixed(s.convert_ms_p50, 3)
        << ",\"convert_ms_p99\":" << Fixed(s.convert_ms_p99, 3) << ",\"files\":" << (o.output ? s.converted : 0)
        << "}\n";
  }
}

void RunCameras(std::ostream& out) {
  const std::vector<camera::CameraListing> cameras = camera::DiscoverCameras();
  if (cameras.empty()) {
    out << "qvi cameras: no camera found (GigE Vision cameras on every network interface, USB3 Vision cameras)\n";
    return;
  }
  std::vector<std::array<std::string, 6>> rows{{"ID", "VENDOR", "MODEL", "SERIAL", "ADDRESS", "PROTOCOL"}};
  for (const camera::CameraListing& c : cameras) rows.push_back({c.id, c.vendor, c.model, c.serial, c.address, c.protocol});
  std::array<size_t, 6> widths{};
  for (const auto& row : rows)
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  for (const auto& row : rows) {
    std::string line;
    for (size_t i = 0; i < row.size(); ++i) {
      line += row[i];
      if (i + 1 < row.size()) line.append(widths[i] + 2 - row[i].size(), ' ');
    }
    out << line << "\n";
  }
}

}  // namespace qvi::tool
