// File output: the raw dump and the TIFF writer against an fwrite of the same
// bytes to the same file, for 8-bit grey and BGR24 at a 5-megapixel size.
#include <stdlib.h>
#include <unistd.h>

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

enum class Writer { Fwrite, Raw, Tiff };

void Write(benchmark::State& state, Writer writer, ImageFormat format) {
  const auto w = static_cast<uint32_t>(state.range(0));
  const auto h = static_cast<uint32_t>(state.range(1));
  const uint32_t pixel_bytes = format == FMT_Y8 ? 1 : 3;
  BenchImage image(format, w, h, w * pixel_bytes);
  ScratchFile out;
  const uint64_t bytes = uint64_t{w} * h * pixel_bytes;
  Measure(state, uint64_t{w} * h, bytes, [&] {
    Status status = STATUS_OK;
    if (writer == Writer::Fwrite) {
      FILE* stream = std::fopen(out.path(), "wb");
      if (stream == nullptr || std::fwrite(image.bytes.data(), 1, bytes, stream) != bytes) status = STATUS_WRITE_FAILED;
      if (stream != nullptr && std::fclose(stream) != 0) status = STATUS_CLOSE_FAILED;
    } else {
      status = writer == Writer::Raw ? QVI_FileWrite(image.handle, out.path(), FILE_KIND_RAW)
                                     : QVI_FileWriteTiff(image.handle, out.path());
    }
    if (status != STATUS_OK) state.SkipWithError("write failed");
  });
}

BENCHMARK_CAPTURE(Write, Y8_fwrite_baseline, Writer::Fwrite, FMT_Y8)->Args({2448, 2048});
BENCHMARK_CAPTURE(Write, Y8_raw, Writer::Raw, FMT_Y8)->Args({2448, 2048});
BENCHMARK_CAPTURE(Write, Y8_tiff, Writer::Tiff, FMT_Y8)->Args({2448, 2048});
BENCHMARK_CAPTURE(Write, BGR24_fwrite_baseline, Writer::Fwrite, FMT_BGR24)->Args({2448, 2048});
BENCHMARK_CAPTURE(Write, BGR24_raw, Writer::Raw, FMT_BGR24)->Args({2448, 2048});
BENCHMARK_CAPTURE(Write, BGR24_tiff, Writer::Tiff, FMT_BGR24)->Args({2448, 2048});

}  // namespace
}  // namespace qvi::bench

BENCHMARK_MAIN();
