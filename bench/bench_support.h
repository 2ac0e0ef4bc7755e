// Shared benchmark scaffolding: images made with the bundled buffer library,
// filled with seeded random bytes, and a measurement that reports megapixels
// per second and the ratio to a memcpy of the same bytes timed in the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "qvb.h"
#include "qvi.h"

namespace qvi::bench {

struct BenchImage {
  BenchImage(ImageFormat format, uint32_t width, uint32_t height, uint32_t stride, uint32_t seed = 1)
      : bytes(uint64_t{stride} * height + 64) {
    std::mt19937 rng(seed);
    for (auto& b : bytes) b = static_cast<uint8_t>(rng());
    QVB_BufferCreate(bytes.data(), width, height, stride, format, &handle);
  }
  ~BenchImage() { QVB_BufferDestroy(handle); }
  BenchImage(const BenchImage&) = delete;
  BenchImage& operator=(const BenchImage&) = delete;

  std::vector<uint8_t> bytes;
  BufferHandle handle = 0;
};

// Runs `work` in the benchmark loop.  `bytes` is what the job moves (its
// destination size); a memcpy of that many bytes is timed first and the
// counter x_memcpy is memcpy time / our time (1.0 = as fast as memcpy).
// Returns our mean time per run in seconds.
template <class Work>
double Measure(benchmark::State& state, uint64_t pixels, uint64_t bytes, Work work) {
  std::vector<uint8_t> a(bytes, 1), b(bytes, 2);
  using Clock = std::chrono::steady_clock;
  double memcpy_seconds = 1e30;
  for (int i = 0; i < 5; ++i) {
    const auto t0 = Clock::now();
    std::memcpy(b.data(), a.data(), bytes);
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
    memcpy_seconds = std::min(memcpy_seconds, std::chrono::duration<double>(Clock::now() - t0).count());
  }
  double ours = 0;
  uint64_t runs = 0;
  for (auto _ : state) {
    const auto t0 = Clock::now();
    work();
    benchmark::ClobberMemory();
    ours += std::chrono::duration<double>(Clock::now() - t0).count();
    ++runs;
  }
  state.SetItemsProcessed(static_cast<int64_t>(runs * pixels));
  state.SetBytesProcessed(static_cast<int64_t>(runs * bytes));
  state.counters["Mpx/s"] = benchmark::Counter(static_cast<double>(pixels) * runs / 1e6 / ours);
  state.counters["x_memcpy"] = benchmark::Counter(memcpy_seconds / (ours / runs));
  return runs == 0 ? 0.0 : ours / runs;
}

// The sizes every benchmark runs at: VGA, a 5-megapixel sensor, and an odd
// size so that line tails are always in the numbers.
inline void Sizes(benchmark::internal::Benchmark* b) {
  b->Args({640, 480})->Args({2448, 2048})->Args({1279, 961});
}

}  // namespace qvi::bench
