// The capture pipeline against bare QVI_Convert calls: 2448 x 2048 BayerRG8
// (BAY8, phase A) into BGR24 by averaging, from a synthetic source that
// writes nothing into the frames (as a camera's DMA costs the processor
// nothing).  Each iteration times, back to back, a batch of frames converted
// by bare calls on one thread (cycling through as many frames as the ring
// holds, so both move the same memory), and as many through the pipeline,
// kept full, with one worker and with two.  Counters:
//   bare_ms, one_worker_ms, two_workers_ms   per frame
//   overhead_pct     one worker against the bare calls (the pipeline's cost)
//   speedup          frames per second of two workers over one
//   bare_one_frame_ms  one frame converted again and again, for reference
//   worker_convert_ms  the median conversion call on the one worker
// Run on a quiet machine: other work on the cores shows in every figure.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "bench_support.h"
#include "pipeline.h"

namespace qvi::bench {
namespace {

using Clock = std::chrono::steady_clock;
constexpr uint32_t kWidth = 2448, kHeight = 2048, kBatch = 24;

double Since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// A pipeline fed as fast as frames come free, timed in its steady state:
// between two conversions finishing, with the ring full before and after,
// so that neither filling nor draining it is in the figure (a camera keeps
// sending).
class Timed {
 public:
  explicit Timed(unsigned workers) {
    camera::PipelineSettings s;
    s.format = camera::FindCameraFormat("BayerRG8");
    s.width = kWidth;
    s.height = kHeight;
    s.raw_stride = kWidth;
    s.raw_bytes = size_t{kWidth} * kHeight;
    s.to = FMT_BGR24;
    s.workers = workers;
    pipeline_ = std::make_unique<camera::Pipeline>(s, [this](const camera::Converted&) {
      std::lock_guard lock(mutex_);
      if (done_ < finished_.size()) finished_[done_] = Clock::now();
      ++done_;
      changed_.notify_all();
    });
    std::mt19937 rng(3);
    for (camera::Frame& f : pipeline_->frames())
      for (size_t i = 0; i < f.size(); ++i) f.data()[i] = static_cast<uint8_t>(rng());
  }

  size_t frames() { return pipeline_->frames().size(); }
  camera::PipelineStats Stats() const { return pipeline_->Stats(); }

  // Seconds that `count` conversions take in the steady state.
  double Run(uint32_t count) {
    const uint32_t margin = static_cast<uint32_t>(frames()), total = count + 2 * margin;
    {
      std::lock_guard lock(mutex_);
      finished_.assign(total, {});
      done_ = 0;
    }
    for (uint32_t i = 0; i < total; ++i) pipeline_->Submit(*pipeline_->WaitFree());
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return done_ >= total; });
    return std::chrono::duration<double>(finished_[margin + count - 1] - finished_[margin - 1]).count();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  uint64_t done_ = 0;
  std::vector<Clock::time_point> finished_;
  std::unique_ptr<camera::Pipeline> pipeline_;  // last: its workers use the members above
};

void PipelineAgainstBareCalls(benchmark::State& state) {
  Timed one(1), two(2);
  std::vector<std::unique_ptr<BenchImage>> sources;
  for (size_t i = 0; i < one.frames(); ++i)
    sources.push_back(std::make_unique<BenchImage>(FMT_BAY8, kWidth, kHeight, kWidth, static_cast<uint32_t>(i)));
  for (auto& s : sources) {
    QVB_BufferParameterSet(s->handle, BUF_PARAM_DEMOSAIC_METHOD, DEMOSAIC_METHOD_AVE);
    QVB_BufferParameterSet(s->handle, BUF_PARAM_BAYER_PHASE, BAYER_PHASE_A);
  }
  BenchImage out(FMT_BGR24, kWidth, kHeight, kWidth * 3);

  double bare = 0, bare_one = 0, with_one = 0, with_two = 0;
  for (auto _ : state) {
    Clock::time_point start = Clock::now();
    for (uint32_t i = 0; i < kBatch; ++i) QVI_Convert(sources[i % sources.size()]->handle, out.handle);
    bare += Since(start);
    start = Clock::now();
    for (uint32_t i = 0; i < kBatch; ++i) QVI_Convert(sources[0]->handle, out.handle);
    bare_one += Since(start);
    with_one += one.Run(kBatch);
    with_two += two.Run(kBatch);
  }
  const double frames = static_cast<double>(state.iterations()) * kBatch;
  state.SetItemsProcessed(static_cast<int64_t>(frames) * 4);
  state.counters["bare_ms"] = bare / frames * 1e3;
  state.counters["bare_one_frame_ms"] = bare_one / frames * 1e3;
  state.counters["one_worker_ms"] = with_one / frames * 1e3;
  state.counters["two_workers_ms"] = with_two / frames * 1e3;
  state.counters["overhead_pct"] = (with_one / bare - 1) * 100;
  state.counters["speedup"] = with_one / with_two;
  // The median time of the conversion call itself on the worker: what is
  // left of overhead_pct is handing frames over.
  state.counters["worker_convert_ms"] = one.Stats().convert_ms_p50;
}

BENCHMARK(PipelineAgainstBareCalls)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

}  // namespace
}  // namespace qvi::bench

BENCHMARK_MAIN();
