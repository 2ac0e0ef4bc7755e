#include "jobs.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <exception>
#include <mutex>
#include <new>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "qvb.h"
#include "unpack.h"

namespace qvi::python {
namespace {

// A bundled-library buffer over memory the caller owns, for one call.
class LibraryBuffer {
 public:
  LibraryBuffer(const Plane& p, ImageFormat format) {
    if (QVB_BufferCreate(p.data, p.width, p.height, p.stride, format, &handle_) != QVB_STATUS_OK)
      throw std::bad_alloc();
  }
  ~LibraryBuffer() { QVB_BufferDestroy(handle_); }
  LibraryBuffer(const LibraryBuffer&) = delete;
  LibraryBuffer& operator=(const LibraryBuffer&) = delete;

  BufferHandle handle() const { return handle_; }
  void SetBayer(DemosaicMethod method, BayerPhase phase) const {
    QVB_BufferParameterSet(handle_, BUF_PARAM_DEMOSAIC_METHOD, method);
    QVB_BufferParameterSet(handle_, BUF_PARAM_BAYER_PHASE, phase);
  }

 private:
  BufferHandle handle_ = 0;
};

// Memory of one worker for the copies some frames need, kept from frame to
// frame.
struct Scratch {
  std::vector<uint8_t> source, destination;
};

void CopyLines(const Plane& from, const Plane& to, uint32_t bytes) {
  for (uint32_t y = 0; y < from.height; ++y)
    std::memcpy(to.data + size_t{to.stride} * y, from.data + size_t{from.stride} * y, bytes);
}

// A compact copy of `p` in `memory`, followed by `tail` zero bytes.
Plane Stage(const Plane& p, uint32_t tail, std::vector<uint8_t>& memory) {
  const size_t bytes = size_t{p.line} * p.height;
  memory.resize(bytes + tail);
  const Plane copy{memory.data(), p.width, p.height, p.line, p.line};
  CopyLines(p, copy, p.line);
  std::fill(memory.begin() + static_cast<ptrdiff_t>(bytes), memory.end(), uint8_t{0});
  return copy;
}

// `p`'s packed camera lines unpacked into a compact plane of 16-bit words
// in `memory`, followed by `tail` zero bytes.
Plane Unpacked(const Plane& p, camera::Packing packing, uint32_t tail, std::vector<uint8_t>& memory) {
  const uint32_t line = 2 * p.width;
  const size_t bytes = size_t{line} * p.height;
  memory.resize(bytes + tail);
  camera::Unpack(packing, p.data, p.stride, p.width, p.height, memory.data(), line);
  std::fill(memory.begin() + static_cast<ptrdiff_t>(bytes), memory.end(), uint8_t{0});
  return {memory.data(), p.width, p.height, line, line};
}

// A compact plane one pixel wider than `dst` in `memory`, holding dst's
// pixels, so that bytes the library leaves alone keep dst's values.
Plane Widened(const Plane& dst, uint32_t pixel_bytes, std::vector<uint8_t>& memory) {
  const uint32_t line = dst.line + pixel_bytes;
  memory.resize(size_t{line} * dst.height);
  const Plane wide{memory.data(), dst.width + 1, dst.height, line, line};
  CopyLines(dst, wide, dst.line);
  return wide;
}

// Runs work(frame, scratch) for every frame on up to `threads` threads, the
// calling one among them; stops handing out frames after the first failure.
template <class Work>
std::optional<Failure> ForEachFrame(size_t count, unsigned threads, const Work& work) {
  std::atomic<size_t> next{0};
  std::atomic<bool> stop{false};
  std::mutex lock;
  std::optional<Failure> failure;
  std::exception_ptr error;
  const auto worker = [&] {
    Scratch scratch;
    while (!stop) {
      const size_t i = next++;
      if (i >= count) return;
      try {
        const Status status = work(i, scratch);
        if (status == STATUS_OK) continue;
        const std::lock_guard<std::mutex> guard(lock);
        if (!failure || i < failure->frame) failure = Failure{status, i};
      } catch (...) {
        const std::lock_guard<std::mutex> guard(lock);
        if (!error) error = std::current_exception();
      }
      stop = true;
    }
  };
  std::vector<std::thread> helpers;
  const size_t wanted = std::min<size_t>(threads, count);
  try {
    for (size_t k = 1; k < wanted; ++k) helpers.emplace_back(worker);
  } catch (const std::system_error&) {
    // No more threads to be had: the ones running do the work.
  }
  worker();
  for (std::thread& t : helpers) t.join();
  if (error) std::rethrow_exception(error);
  return failure;
}

Status ConvertFrame(const ConvertJob& job, size_t i, Scratch& scratch) {
  Plane src = job.src[i];
  const Plane dst = job.dst[i];
  if (job.packing != camera::Packing::kNone)
    src = Unpacked(src, job.packing, job.source_tail, scratch.source);
  else if (job.stage_source)
    src = Stage(src, job.source_tail, scratch.source);
  Plane target = dst;
  if (job.widen) {
    target = Widened(dst, job.to->group_bytes, scratch.destination);
    src.width += 1;
  }
  if (job.taller_destination) target.height += 1;
  const LibraryBuffer s(src, job.from->code), d(target, job.to->code);
  if (camera::IsBayer(job.from->code)) s.SetBayer(job.method, job.phase);
  const Status status = QVI_Convert(s.handle(), d.handle());
  if (status == STATUS_OK && job.widen) CopyLines(target, dst, dst.line);
  return status;
}

Status DeinterlaceFrame(const DeinterlaceJob& job, size_t i, Scratch& scratch) {
  Plane field = job.field[i];
  // Lines are read whole, padding included: hand over the pixels only.
  if (!field.Compact()) field = Stage(field, 0, scratch.source);
  const LibraryBuffer f(field, job.format->code), fr(job.frame[i], job.format->code);
  return QVI_FieldToFrame(f.handle(), fr.handle(), job.method, job.parity);
}

size_t IndexOf(const FormatInfo& f) { return static_cast<size_t>(&f - camera::AllFormats().data()); }

void CheckFits(uint64_t bytes) {
  if (bytes > UINT32_MAX) throw std::invalid_argument("the image is too large: the library addresses at most 4 GiB");
}

}  // namespace

// Routes that read past the end of a line read bytes the array may not own,
// and their results would depend on bytes outside the image; such frames are
// converted from a compact copy followed by zero bytes, which is what the
// library reads of a raw capture in memory:
//  - ave and med demosaicing of an odd width read one sample past each line
//    (med into RGB16 at phase C two, from the line below);
//  - med into RGB16 at phase C reads one sample past the end of line 1;
//  - RGB30 into RGB48 reads the word after each line inside the buffer.
// Pixel-pair sources (Y12P, YUV422) of an odd width write one pixel more
// per line and then drift; they are converted one pixel wider into a
// scratch frame whose lines are copied out.  Same-format copies of equal
// strides and heights copy the padding too; the destination is then
// described one line taller, which makes the library copy line by line.
// A camera's packed lines are always unpacked into such a copy first.
void ConvertJob::Prepare() {
  const Plane& s = src.first;
  const Plane& d = dst.first;
  if (camera::IsBayer(from->code) && method != DEMOSAIC_METHOD_DUP) {
    const uint32_t sample = from->group_bytes;
    const bool shifted = method == DEMOSAIC_METHOD_MED && phase == BAYER_PHASE_C && to->code == FMT_RGB16;
    if (s.width % 2 == 1) {
      stage_source = true;
      source_tail = sample * (shifted ? 2 : 1);
    } else if (shifted && (s.height == 2 || !s.Compact())) {
      stage_source = true;
      source_tail = s.height == 2 ? sample : 0;
    }
  }
  if (from->code == FMT_RGB30 && to->code == FMT_RGB48 && !s.Compact()) stage_source = true;
  if (packing != camera::Packing::kNone) {
    stage_source = true;
    CheckFits(uint64_t{from->group_bytes} * s.width * s.height + source_tail);
  }
  widen = from->pixels_per_group == 2 && s.width % 2 == 1;
  if (widen) CheckFits((uint64_t{d.line} + to->group_bytes) * d.height);
  taller_destination = from->code == to->code && (from->code == FMT_Y8 || from->code == FMT_Y16) &&
                       s.stride == d.stride && s.height == d.height && !d.Compact();
  if (taller_destination) CheckFits(uint64_t{d.stride} * (d.height + 1));
}

std::optional<Failure> Run(const ConvertJob& job, unsigned threads) {
  return ForEachFrame(job.src.count, threads,
                      [&job](size_t i, Scratch& scratch) { return ConvertFrame(job, i, scratch); });
}

std::optional<Failure> Run(const DeinterlaceJob& job, unsigned threads) {
  return ForEachFrame(job.field.count, threads,
                      [&job](size_t i, Scratch& scratch) { return DeinterlaceFrame(job, i, scratch); });
}

Status WriteFile(const Frames& image, const FormatInfo& format, const std::string& path, FileKind kind) {
  Plane p = image.first;
  std::vector<uint8_t> copy;
  if (kind == FILE_KIND_RAW) {
    // One raw file of all frames, back to back, pixels only.
    const uint64_t frame = uint64_t{p.line} * p.height;
    CheckFits(frame * image.count);
    if (!image.Contiguous() && frame * image.count > 0) {
      copy.resize(frame * image.count);
      for (size_t i = 0; i < image.count; ++i)
        CopyLines(image[i], {copy.data() + frame * i, p.width, p.height, p.line, p.line}, p.line);
      p.data = copy.data();
    }
    p.stride = p.line;
    p.height = static_cast<uint32_t>(p.height * image.count);
  }
  const LibraryBuffer b(p, format.code);
  return QVI_FileWrite(b.handle(), path.c_str(), kind);
}

bool HasRoute(const FormatInfo& from, const FormatInfo& to) {
  static const auto kRoutes = [] {
    const auto all = camera::AllFormats();
    std::vector<std::vector<bool>> routes(all.size(), std::vector<bool>(all.size()));
    for (const FormatInfo& f : all)
      for (const FormatInfo* t : camera::ConversionsFrom(f)) routes[IndexOf(f)][IndexOf(*t)] = true;
    return routes;
  }();
  return kRoutes[IndexOf(from)][IndexOf(to)];
}

bool Deinterlaces(const FormatInfo& format, FieldToFrameMethod method) {
  static const auto kTaken = [] {
    constexpr uint32_t kWidth = 4, kStride = 32;
    const auto all = camera::AllFormats();
    std::vector<std::array<bool, 4>> taken(all.size());
    std::array<uint8_t, kStride * 2> field{};
    std::array<uint8_t, kStride * 4> frame{};
    for (const FormatInfo& f : all)
      for (FieldToFrameMethod m = FIELD_TO_FRAME_LINE_DUP; m <= FIELD_TO_FRAME_MEDIAN; ++m) {
        const LibraryBuffer a({field.data(), kWidth, 2, kStride, kStride}, f.code);
        const LibraryBuffer b({frame.data(), kWidth, 4, kStride, kStride}, f.code);
        taken[IndexOf(f)][m] = QVI_FieldToFrame(a.handle(), b.handle(), m, FIELD_PARITY_EVEN) != STATUS_BAD_PARAMETER;
      }
    return taken;
  }();
  return method <= FIELD_TO_FRAME_MEDIAN && kTaken[IndexOf(format)][method];
}

std::vector<double> TimeLibraryConvert(const ConvertJob& job, size_t repeat) {
  using Clock = std::chrono::steady_clock;
  const LibraryBuffer s(job.src.first, job.from->code), d(job.dst.first, job.to->code);
  if (camera::IsBayer(job.from->code)) s.SetBayer(job.method, job.phase);
  std::vector<double> seconds;
  seconds.reserve(repeat);
  for (size_t i = 0; i < repeat; ++i) {
    const auto t0 = Clock::now();
    QVI_Convert(s.handle(), d.handle());
    seconds.push_back(std::chrono::duration<double>(Clock::now() - t0).count());
  }
  return seconds;
}

}  // namespace qvi::python
