// File output: the raw dump and the TIFF writer for 8-bit grey and BGR24.
// Each reports x_fwrite: the time of one fopen, fwrite of the same bytes and
// fclose of a new file, alternating with ours in the same loop, over ours
// (1.0 = as fast as a single fwrite); and x_memcpy as the other benchmarks.
// The BGR24 TIFF writer must reorder every byte before the kernel copies it;
// for it x_fwrite_bound is the best x_fwrite any single-thread writer could
// reach: one fwrite over one fwrite plus a bare pass of the image through a
// cache-sized block, the least such a writer adds.
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "bench_support.h"

namespace qvi::bench {
namespace {

// A file in a directory of its own under $TMPDIR (or /tmp), removed afterwards.
class ScratchFile {
 public:
  ScratchFile() {
    const char* base = std::getenv("TMPDIR");
    dir_ = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/qvi-bench-XXXXXX";
    if (mkdtemp(dir_.data()) == nullptr) dir_.clear();
    path_ = dir_ + "/out";
  }
  ~ScratchFile() {
    std::remove(path_.c_str());
    if (!dir_.empty()) rmdir(dir_.c_str());
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const char* path() const { return path_.c_str(); }

 private:
  std::string dir_, path_;
};

Status FwriteOnce(const char* path, const uint8_t* data, uint64_t bytes) {
  FILE* stream = std::fopen(path, "wb");
  if (stream == nullptr) return STATUS_OPEN_FAILED;
  Status status = std::fwrite(data, 1, bytes, stream) == bytes ? STATUS_OK : STATUS_WRITE_FAILED;
  if (std::fclose(stream) != 0) status = STATUS_CLOSE_FAILED;
  return status;
}

enum class Writer { Raw, Tiff };

// Copies the image, 64 KiB at a time, into a block that stays in cache.
double BlockPassSeconds(const uint8_t* data, uint64_t bytes) {
  static uint8_t block[64 * 1024];
  const auto t0 = std::chrono::steady_clock::now();
  for (uint64_t at = 0; at < bytes; at += sizeof block) {
    std::memcpy(block, data + at, std::min<uint64_t>(sizeof block, bytes - at));
    benchmark::DoNotOptimize(block);
    benchmark::ClobberMemory();
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// Each iteration writes the file with one fwrite, then with ours, so that
// both meet the same state of the page cache and the same machine load.
void Write(benchmark::State& state, Writer writer, ImageFormat format) {
  const auto w = static_cast<uint32_t>(state.range(0));
  const auto h = static_cast<uint32_t>(state.range(1));
  const uint32_t pixel_bytes = format == FMT_Y8 ? 1 : 3;
  BenchImage image(format, w, h, w * pixel_bytes);
  ScratchFile out;
  const uint64_t bytes = uint64_t{w} * h * pixel_bytes;
  using Clock = std::chrono::steady_clock;
  std::vector<uint8_t> copy(bytes);
  double memcpy_seconds = 1e30;
  for (int i = 0; i < 5; ++i) {
    const auto t0 = Clock::now();
    std::memcpy(copy.data(), image.bytes.data(), bytes);
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
    memcpy_seconds = std::min(memcpy_seconds, std::chrono::duration<double>(Clock::now() - t0).count());
  }
  const bool reorders = writer == Writer::Tiff && format == FMT_BGR24;
  double fwrite_seconds = 0, pass_seconds = 0, ours = 0;
  uint64_t runs = 0;
  for (auto _ : state) {
    // Each write makes a new file; removing the old one is not timed.
    std::remove(out.path());
    const auto t0 = Clock::now();
    if (FwriteOnce(out.path(), image.bytes.data(), bytes) != STATUS_OK) state.SkipWithError("fwrite failed");
    const auto t1 = Clock::now();
    std::remove(out.path());
    const auto t2 = Clock::now();
    const Status status = writer == Writer::Raw ? QVI_FileWrite(image.handle, out.path(), FILE_KIND_RAW)
                                                : QVI_FileWriteTiff(image.handle, out.path());
    if (status != STATUS_OK) state.SkipWithError("write failed");
    const auto t3 = Clock::now();
    if (reorders) pass_seconds += BlockPassSeconds(image.bytes.data(), bytes);
    fwrite_seconds += std::chrono::duration<double>(t1 - t0).count();
    ours += std::chrono::duration<double>(t3 - t2).count();
    ++runs;
  }
  if (runs == 0 || ours <= 0) return;
  state.SetItemsProcessed(static_cast<int64_t>(runs * w * h));
  state.counters["Mpx/s"] = benchmark::Counter(static_cast<double>(w) * h * runs / 1e6 / ours);
  state.counters["x_fwrite"] = benchmark::Counter(fwrite_seconds / ours);
  state.counters["x_memcpy"] = benchmark::Counter(memcpy_seconds / (ours / runs));
  if (reorders) state.counters["x_fwrite_bound"] = benchmark::Counter(fwrite_seconds / (fwrite_seconds + pass_seconds));
}

BENCHMARK_CAPTURE(Write, Y8_raw, Writer::Raw, FMT_Y8)->Apply(Sizes);
BENCHMARK_CAPTURE(Write, Y8_tiff, Writer::Tiff, FMT_Y8)->Apply(Sizes);
BENCHMARK_CAPTURE(Write, BGR24_raw, Writer::Raw, FMT_BGR24)->Apply(Sizes);
BENCHMARK_CAPTURE(Write, BGR24_tiff, Writer::Tiff, FMT_BGR24)->Apply(Sizes);

}  // namespace
}  // namespace qvi::bench

BENCHMARK_MAIN();
