#include "pipeline.h"

#include <stdexcept>

#include "qvb.h"
#include "qvi_formats.h"
#include "unpack.h"

namespace qvi::camera {
namespace {

// A demosaic of an odd width reads up to two samples past the end of the
// last line (qvi.h): every source the library reads has this much more.
constexpr size_t kSlack = 16;

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

BufferHandle MakeBuffer(uint8_t* memory, uint32_t width, uint32_t height, uint32_t stride, ImageFormat format,
                        const PipelineSettings& s) {
  BufferHandle handle = 0;
  if (QVB_BufferCreate(memory, width, height, stride, format, &handle) != QVB_STATUS_OK)
    throw std::runtime_error("the buffer library could not create a buffer");
  if (IsBayer(format)) {
    QVB_BufferParameterSet(handle, BUF_PARAM_DEMOSAIC_METHOD, s.method);
    QVB_BufferParameterSet(handle, BUF_PARAM_BAYER_PHASE, s.format->phase.value_or(0));
  }
  return handle;
}

// Checks the settings; returns the bytes one raw frame needs.
uint64_t CheckedRawBytes(const PipelineSettings& s) {
  if (!s.format) throw std::invalid_argument("the pipeline needs a camera format");
  if (s.width == 0 || s.height == 0) throw std::invalid_argument("the pipeline needs a width and a height");
  if (s.workers == 0) throw std::invalid_argument("the pipeline needs at least one worker");
  const std::optional<uint32_t> line = CameraLineBytes(*s.format, s.width);
  const std::optional<uint64_t> stream = CameraFrameBytes(*s.format, s.width, s.height);
  if (!line || !stream) throw std::invalid_argument("the frames are too large");
  if (s.raw_stride == 0 && s.format->packing == Packing::kNone)
    throw std::invalid_argument("a frame of unpacked pixels needs a stride");
  if (s.raw_stride != 0 && s.raw_stride < *line)
    throw std::invalid_argument("the stride " + std::to_string(s.raw_stride) + " is shorter than a line of " +
                                std::to_string(*line) + " bytes");
  const uint64_t needed = s.raw_stride == 0 ? *stream : uint64_t{s.raw_stride} * (s.height - 1) + *line;
  if (s.raw_bytes < needed)
    throw std::invalid_argument("frames of " + std::to_string(s.raw_bytes) + " bytes cannot hold " +
                                std::to_string(s.width) + " x " + std::to_string(s.height) + " " +
                                std::string(s.format->name) + " pixels (" + std::to_string(needed) + " bytes)");
  if (uint64_t{s.raw_stride} * s.height > UINT32_MAX || uint64_t{s.width} * 2 * s.height > UINT32_MAX)
    throw std::invalid_argument("the frames exceed the 4 GiB that the library addresses");
  return needed;
}

}  // namespace

struct Pipeline::Worker {
  std::vector<uint8_t> unpacked;  // 16-bit words, for a packed format
  BufferHandle unpacked_handle = 0;
  std::vector<uint8_t> output;  // the converted image
  BufferHandle output_handle = 0;
  uint32_t output_stride = 0;

  Worker() = default;
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  ~Worker() {
    if (unpacked_handle) QVB_BufferDestroy(unpacked_handle);
    if (output_handle) QVB_BufferDestroy(output_handle);
  }
};

Pipeline::Pipeline(const PipelineSettings& settings, Sink sink, Recycle recycle)
    : settings_(settings),
      unpack_(settings.format && settings.format->packing != Packing::kNone),
      convert_(settings.format && settings.to != settings.format->format),
      sink_(std::move(sink)),
      recycle_(std::move(recycle)) {
  CheckedRawBytes(settings_);
  const uint32_t w = settings_.width, h = settings_.height;
  uint32_t output_stride = 0;
  if (convert_) {
    const std::optional<uint32_t> line = LineBytes(FormatOf(settings_.to), w);
    if (!line || uint64_t{*line} * h > UINT32_MAX)
      throw std::invalid_argument("the converted frames exceed the 4 GiB that the library addresses");
    output_stride = *line;
  }

  const unsigned count = settings_.frames ? settings_.frames : 2 * settings_.workers + 4;
  frames_.resize(count);
  queue_.resize(count);
  free_list_.reserve(count);
  for (Frame& f : frames_) {
    f.size_ = settings_.raw_bytes;
    f.memory_ = std::make_unique<uint8_t[]>(f.size_ + kSlack);
    if (!unpack_) f.handle_ = MakeBuffer(f.data(), w, h, settings_.raw_stride, settings_.format->format, settings_);
    free_list_.push_back(&f);
  }
  for (unsigned i = 0; i < settings_.workers; ++i) {
    auto worker = std::make_unique<Worker>();
    if (unpack_) {
      worker->unpacked.resize(size_t{w} * 2 * h + kSlack);
      worker->unpacked_handle = MakeBuffer(worker->unpacked.data(), w, h, w * 2, settings_.format->format, settings_);
    }
    if (convert_) {
      worker->output.resize(size_t{output_stride} * h);
      worker->output_stride = output_stride;
      worker->output_handle = MakeBuffer(worker->output.data(), w, h, output_stride, settings_.to, settings_);
    }
    workers_.push_back(std::move(worker));
  }
  // One conversion of a blank frame shows that the library takes this pair,
  // method and phase, before any frame arrives.
  Convert(*workers_.front(), frames_.front());

  start_ = last_done_ = Clock::now();
  for (auto& worker : workers_) threads_.emplace_back([this, &worker] { Work(*worker); });
}

Pipeline::~Pipeline() {
  try {
    Finish();
  } catch (...) {
    // The owner did not ask; the failure was counted.
  }
  for (Frame& f : frames_)
    if (f.handle_) QVB_BufferDestroy(f.handle_);
}

Converted Pipeline::Convert(Worker& worker, Frame& frame) {
  const PipelineSettings& s = settings_;
  Converted c{frame, frame.sequence_, frame.handle_, frame.data(), s.raw_stride, s.format->format, s.width, s.height};
  if (unpack_) {
    uint8_t* words = worker.unpacked.data();
    if (s.raw_stride == 0)
      UnpackStream(s.format->packing, frame.data(), s.width, s.height, words, size_t{s.width} * 2);
    else
      Unpack(s.format->packing, frame.data(), s.raw_stride, s.width, s.height, words, size_t{s.width} * 2);
    c.image = worker.unpacked_handle;
    c.pixels = words;
    c.stride = s.width * 2;
  }
  if (convert_) {
    const Status status = QVI_Convert(c.image, worker.output_handle);
    if (status != STATUS_OK)
      throw std::runtime_error("converting " + std::string(s.format->name) + " (" +
                               std::string(FormatOf(s.format->format).name) + ") into " +
                               std::string(FormatOf(s.to).name) + " failed: " + DescribeStatus(status));
    c.image = worker.output_handle;
    c.pixels = worker.output.data();
    c.stride = worker.output_stride;
    c.format = s.to;
  }
  return c;
}

void Pipeline::Work(Worker& worker) {
  // One lock a frame: the last frame's results and the next frame's taking
  // share it, so that the source, woken by the frame given back, rarely
  // finds the lock held.
  std::unique_lock lock(mutex_);
  for (;;) {
    work_.wait(lock, [&] { return queue_count_ > 0 || closing_; });
    if (queue_count_ == 0) return;
    Frame* frame = queue_[queue_head_];
    queue_head_ = (queue_head_ + 1) % queue_.size();
    --queue_count_;
    const bool failed = error_ != nullptr;
    lock.unlock();

    std::exception_ptr failure;
    double ms = 0;
    if (!failed) {
      try {
        const Clock::time_point start = Clock::now();
        const Converted c = Convert(worker, *frame);
        ms = Milliseconds(Clock::now() - start);
        if (sink_) sink_(c);
      } catch (...) {
        failure = std::current_exception();
      }
    }
    if (recycle_) recycle_(*frame);

    lock.lock();
    if (!recycle_) free_list_.push_back(frame);
    if (failed || failure) {
      ++counts_.failed;
      if (!error_) error_ = failure;
    } else {
      ++counts_.converted;
      times_.Add(ms);
      last_done_ = Clock::now();
    }
    if (!recycle_) free_.notify_one();
  }
}

void Pipeline::GiveBack(Frame& frame) {
  if (recycle_) {
    recycle_(frame);
    return;
  }
  {
    std::lock_guard lock(mutex_);
    free_list_.push_back(&frame);
  }
  free_.notify_one();
}

Frame* Pipeline::TakeFree() {
  std::lock_guard lock(mutex_);
  if (free_list_.empty()) return nullptr;
  Frame* f = free_list_.back();
  free_list_.pop_back();
  return f;
}

Frame* Pipeline::WaitFree() {
  std::unique_lock lock(mutex_);
  free_.wait(lock, [&] { return !free_list_.empty() || error_; });
  if (error_) return nullptr;
  Frame* f = free_list_.back();
  free_list_.pop_back();
  return f;
}

void Pipeline::Submit(Frame& frame) {
  {
    std::lock_guard lock(mutex_);
    ++counts_.received;
    frame.sequence_ = next_sequence_++;
    queue_[(queue_head_ + queue_count_) % queue_.size()] = &frame;
    ++queue_count_;
  }
  work_.notify_one();
}

void Pipeline::Reject(Frame& frame) {
  {
    std::lock_guard lock(mutex_);
    ++counts_.received;
    ++counts_.incomplete;
  }
  GiveBack(frame);
}

void Pipeline::CountDropped(uint64_t frames) {
  std::lock_guard lock(mutex_);
  counts_.received += frames;
  counts_.dropped += frames;
}

void Pipeline::Finish() {
  {
    std::lock_guard lock(mutex_);
    if (finished_) return;
    closing_ = true;
  }
  work_.notify_all();
  for (std::thread& t : threads_) t.join();
  std::lock_guard lock(mutex_);
  finished_ = true;
  free_.notify_all();
  if (error_) std::rethrow_exception(error_);
}

bool Pipeline::Failed() const {
  std::lock_guard lock(mutex_);
  return error_ != nullptr;
}

PipelineStats Pipeline::Stats() const {
  std::lock_guard lock(mutex_);
  PipelineStats s = counts_;
  const Clock::time_point end = finished_ ? last_done_ : Clock::now();
  s.seconds = std::chrono::duration<double>(end - start_).count();
  s.fps = s.seconds > 0 ? static_cast<double>(s.converted) / s.seconds : 0;
  s.convert_ms_p50 = times_.Percentile(50);
  s.convert_ms_p99 = times_.Percentile(99);
  return s;
}

}  // namespace qvi::camera
