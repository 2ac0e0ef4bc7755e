// The capture pipeline between a camera and the library: a ring of frames
// allocated once, a queue of filled frames, and worker threads that unpack
// and convert each with QVI_Convert.
//
// The source (one thread: a camera's acquisition loop, or a test's
// synthetic frames) fills free frames and submits them; it never waits for
// conversion.  When every frame is busy, the source drops the new frame and
// counts it: frames are never queued beyond the ring.  Each worker owns its
// unpacking and output memory, so nothing is allocated per frame.
//
//   Pipeline p(settings, sink);
//   while (...) {
//     Frame* f = p.TakeFree();
//     if (!f) { p.CountDropped(); continue; }
//     fill f->data() ...;
//     p.Submit(*f);
//   }
//   p.Finish();                        // waits for the submitted frames
//
// A camera that fills frames itself (Aravis's stream, which owns the frames
// pushed into it) passes a Recycle function: the workers hand each frame
// back through it instead of putting it on the free list.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "conversion_times.h"
#include "pfnc.h"
#include "qvi.h"

namespace qvi::camera {

struct PipelineSettings {
  const CameraFormat* format = nullptr;  // the camera's pixel format
  uint32_t width = 0, height = 0;
  // Bytes from one line of a raw frame to the next; 0 for a packed format
  // sent as one bit stream (the usual case).  At least the line's bytes.
  uint32_t raw_stride = 0;
  // Bytes each raw frame holds: at least what a frame needs (the camera's
  // payload may be more).
  size_t raw_bytes = 0;
  // The format to convert into.  When it is the camera's (unpacked) format,
  // frames are passed on as they are, or only unpacked.
  ImageFormat to = FMT_BGR24;
  DemosaicMethod method = DEMOSAIC_METHOD_AVE;  // Bayer formats only
  unsigned workers = 1;
  unsigned frames = 0;  // the ring; 0 chooses 2 per worker plus 4
};

// One frame of the ring.
class Frame {
 public:
  uint8_t* data() { return memory_.get(); }
  const uint8_t* data() const { return memory_.get(); }
  size_t size() const { return size_; }  // raw_bytes of the settings

  void* tag = nullptr;   // the source's own: Aravis's buffer wrapping data()
  uint64_t camera_id = 0;  // the frame's number as the camera counts, if it does

 private:
  friend class Pipeline;
  std::unique_ptr<uint8_t[]> memory_;
  size_t size_ = 0;
  BufferHandle handle_ = 0;  // over data(), for an unpacked format
  uint64_t sequence_ = 0;
};

// What the sink is handed: a converted frame, valid during the call.
struct Converted {
  const Frame& raw;
  uint64_t sequence;      // 0, 1, 2, ... in the order frames were submitted
  BufferHandle image;     // the converted image, for QVI_FileWrite and the like
  const uint8_t* pixels;  // its first line
  uint32_t stride;
  ImageFormat format;
  uint32_t width, height;
};

struct PipelineStats {
  // received = submitted + incomplete + dropped; once finished, submitted =
  // converted + failed.
  uint64_t received = 0, converted = 0, dropped = 0, incomplete = 0, failed = 0;
  double seconds = 0;  // from the pipeline's start to the last conversion (running: to now)
  double fps = 0;      // converted frames per second over `seconds`
  double convert_ms_p50 = 0, convert_ms_p99 = 0;  // unpacking and conversion, per frame
};

class Pipeline {
 public:
  // Called on a worker thread for each converted frame, before the frame
  // returns to the ring.  An exception it throws ends the pipeline: Finish()
  // rethrows the first.
  using Sink = std::function<void(const Converted&)>;
  using Recycle = std::function<void(Frame&)>;

  // Allocates the ring and each worker's memory, checks with one conversion
  // of a blank frame that the library converts this format into settings.to
  // (throws std::runtime_error naming the status if not), and starts the
  // workers.
  explicit Pipeline(const PipelineSettings& settings, Sink sink = {}, Recycle recycle = {});
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  std::span<Frame> frames() { return frames_; }

  // Source side; one thread.
  Frame* TakeFree();  // a frame to fill, or nullptr when every frame is busy
  Frame* WaitFree();  // waits for one (sources that pace themselves)
  void Submit(Frame& frame);
  void Reject(Frame& frame);  // arrived incomplete: counted and recycled, not converted
  void CountDropped(uint64_t frames = 1);

  // Waits for every submitted frame, stops the workers and rethrows a
  // failure of a conversion or of the sink.  Later calls do nothing.
  void Finish();
  // A conversion or the sink failed; the source should stop.
  bool Failed() const;
  PipelineStats Stats() const;

 private:
  struct Worker;
  void Work(Worker& worker);
  Converted Convert(Worker& worker, Frame& frame);
  void GiveBack(Frame& frame);

  const PipelineSettings settings_;
  const bool unpack_, convert_;
  const Sink sink_;
  const Recycle recycle_;
  std::vector<Frame> frames_;
  std::vector<std::unique_ptr<Worker>> workers_;

  mutable std::mutex mutex_;
  std::condition_variable work_, free_;
  std::vector<Frame*> queue_;  // a ring of frames.size() entries
  size_t queue_head_ = 0, queue_count_ = 0;
  std::vector<Frame*> free_list_;
  bool closing_ = false, finished_ = false;
  std::exception_ptr error_;
  uint64_t next_sequence_ = 0;
  PipelineStats counts_;
  ConversionTimes times_;
  std::chrono::steady_clock::time_point start_, last_done_;
  std::vector<std::thread> threads_;
};

}  // namespace qvi::camera
