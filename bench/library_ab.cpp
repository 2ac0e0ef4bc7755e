// Two or more builds of libqvi side by side in one process: each is loaded
// from its own file (dlopen, RTLD_LOCAL), and every round calls each build
// once on the same buffers, so the drift of a shared or virtual machine
// slows all of them alike.  Prints the median time of each job per build and
// its speed relative to the first build (above 1: faster).  The builds take
// turns at going first.  --cold writes 64 MiB of other memory before each
// call, so that the call finds its buffers in no cache, as a frame fresh
// from a camera is.
//
//   qvi_library_ab OLD/libqvi.so.1 NEW/libqvi.so.1 [--rounds N] [--size WxH] [--cold]
//
// The builds share the libqvb this program is linked against.  Give each
// build's library by a distinct path (a copy under another name will do).
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "qvb.h"
#include "qvi.h"

namespace {


struct Image {
  Image(ImageFormat format, uint32_t width, uint32_t height, uint32_t stride, uint8_t mask = 0xFF)
      : bytes(size_t{stride} * height + 64) {
    std::mt19937 rng(1);
    for (uint8_t& b : bytes) b = static_cast<uint8_t>(rng()) & mask;
    QVB_BufferCreate(bytes.data(), width, height, stride, format, &handle);
  }
  ~Image() { QVB_BufferDestroy(handle); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  std::vector<uint8_t> bytes;
  BufferHandle handle = 0;
};

struct Job {
  std::string name;
  std::vector<std::function<void()>> calls;  // one per build
};

void* Symbol(void* library, const char* library_path, const char* name) {
  void* p = dlsym(library, name);
  if (p == nullptr) {
    std::fprintf(stderr, "qvi_library_ab: %s has no %s\n", library_path, name);
    std::exit(1);
  }
  return p;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<const char*> paths;
  int rounds = 41;
  uint32_t width = 2448, height = 2048;
  bool cold = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    } else if (std::strcmp(argv[i], "--size") == 0 && i + 1 < argc) {
      if (std::sscanf(argv[++i], "%ux%u", &width, &height) != 2 || width < 2 || height < 2 || width > 65536 ||
          height > 65536) {
        std::fprintf(stderr, "qvi_library_ab: --size wants WxH, each from 2 to 65536, not %s\n", argv[i]);
        return 2;
      }
    } else if (std::strcmp(argv[i], "--cold") == 0) {
      cold = true;
    } else {
      paths.push_back(argv[i]);
    }
  }
  if (paths.empty()) {
    std::fprintf(stderr, "usage: qvi_library_ab LIBQVI [LIBQVI ...] [--rounds N] [--size WxH] [--cold]\n");
    return 2;
  }
  std::vector<void*> builds;
  for (const char* path : paths) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
      std::fprintf(stderr, "qvi_library_ab: %s\n", dlerror());
      return 1;
    }
    builds.push_back(library);
  }

  const uint32_t w = width, h = height;
  Image bay12(FMT_BAY12, w, h, w * 2, 0x0F), bay8(FMT_BAY8, w, h, w), y12(FMT_Y12, w, h, w * 2, 0x0F);
  Image bgr24(FMT_BGR24, w, h, w * 3), bgrx32(FMT_BGRX32, w, h, w * 4), rgb16(FMT_RGB16, w, h, w * 2);
  Image grey(FMT_Y8, w, h, w), yuv(FMT_YUV422, w, h, w * 2), field(FMT_Y8, w, h / 2, w), frame(FMT_Y8, w, h, w);
  // Destinations apart from the sources, so that no job reads what another wrote.
  Image out24(FMT_BGR24, w, h, w * 3), out32(FMT_BGRX32, w, h, w * 4), out8(FMT_Y8, w, h, w);

  using Deep = Status (*)(BufferHandle, BufferHandle, uint32_t);
  using Plain = Status (*)(BufferHandle, BufferHandle);
  using Field = Status (*)(BufferHandle, BufferHandle, FieldToFrameMethod, FieldParity);
  using Tiff = Status (*)(BufferHandle, const char*);
  using Raw = Status (*)(BufferHandle, const char*, uint32_t);
  std::vector<Job> jobs;
  // make(library, its path, its index) gives the call of one build.
  const auto add = [&](const std::string& name, const auto& make) {
    Job job{name, {}};
    for (size_t k = 0; k < builds.size(); ++k) job.calls.push_back(make(builds[k], paths[k], k));
    jobs.push_back(std::move(job));
  };
  // The demosaic entry points of the peer table: 8-bit, then 12-bit.
  for (const auto& entry : {std::pair{"QVI_BAY8_to_BGR24_dup_A", &out24}, {"QVI_BAY8_to_BGR24_ave_A", &out24},
                            {"QVI_BAY8_to_BGR24_med_A", &out24}, {"QVI_BAY8_to_BGRX32_dup_A", &out32},
                            {"QVI_BAY8_to_BGRX32_ave_A", &out32}, {"QVI_BAY8_to_BGRX32_med_A", &out32}}) {
    const char* const name = entry.first;
    Image* const to = entry.second;
    add(name, [&, name, to](void* b, const char* p, size_t) {
      const auto f = reinterpret_cast<Plain>(Symbol(b, p, name));
      return std::function<void()>([f, &bay8, to] { f(bay8.handle, to->handle); });
    });
  }
  for (const auto& entry : {std::pair{"QVI_BAYn_to_BGR24_ave_A", &out24}, {"QVI_BAYn_to_BGRX32_ave_A", &out32},
                            {"QVI_BAYn_to_BGR24_dup_A", &out24}, {"QVI_BAYn_to_BGR24_med_A", &out24}}) {
    const char* const name = entry.first;
    Image* const to = entry.second;
    add(name, [&, name, to](void* b, const char* p, size_t) {
      const auto f = reinterpret_cast<Deep>(Symbol(b, p, name));
      return std::function<void()>([f, &bay12, to] { f(bay12.handle, to->handle, 12); });
    });
  }
  // The conversions of the peer table.
  struct Conversion {
    const char* name;
    Image* from;
    Image* to;
  };
  for (const Conversion& c : {Conversion{"BGR24 -> BGRX32", &bgr24, &out32}, {"BGRX32 -> BGR24", &bgrx32, &out24},
                              {"BGR24 -> RGB16", &bgr24, &rgb16}, {"Y8 -> BGR24", &grey, &out24},
                              {"Y8 -> BGRX32", &grey, &out32}, {"Y12 -> Y8", &y12, &out8},
                              {"YUV422 -> BGR24", &yuv, &out24}, {"YUV422 -> BGRX32", &yuv, &out32}})
    add(std::string("QVI_Convert ") + c.name, [&, c](void* b, const char* p, size_t) {
      const auto f = reinterpret_cast<Plain>(Symbol(b, p, "QVI_Convert"));
      return std::function<void()>([f, c] { f(c.from->handle, c.to->handle); });
    });
  for (const auto& entry : {std::pair{"line doubling", FIELD_TO_FRAME_LINE_DUP},
                            {"line averaging", FIELD_TO_FRAME_LINE_AVE}, {"bilinear", FIELD_TO_FRAME_BILINEAR},
                            {"median", FIELD_TO_FRAME_MEDIAN}}) {
    const char* const name = entry.first;
    const FieldToFrameMethod method = entry.second;
    add(std::string("QVI_FieldToFrame ") + name, [&, method](void* b, const char* p, size_t) {
      const auto f = reinterpret_cast<Field>(Symbol(b, p, "QVI_FieldToFrame"));
      return std::function<void()>([f, m = method, &field, &frame] {
        f(field.handle, frame.handle, m, FIELD_PARITY_EVEN);
      });
    });
  }
  // The files, each build writing its own.
  const char* tmp = std::getenv("TMPDIR");
  const std::string scratch = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/qvi-library-ab-" +
                              std::to_string(getpid()) + "-";
  std::vector<std::string> files;
  for (size_t k = 0; k < builds.size(); ++k) files.push_back(scratch + std::to_string(k));
  for (const auto& entry : {std::pair{"QVI_FileWriteTiff Y8", &grey}, {"QVI_FileWriteTiff BGR24", &bgr24}}) {
    const char* const name = entry.first;
    Image* const from = entry.second;
    add(name, [&, from](void* b, const char* p, size_t k) {
      const auto f = reinterpret_cast<Tiff>(Symbol(b, p, "QVI_FileWriteTiff"));
      return std::function<void()>([f, from, file = files[k].c_str()] { f(from->handle, file); });
    });
  }
  add("QVI_FileWrite raw BGR24", [&](void* b, const char* p, size_t k) {
    const auto f = reinterpret_cast<Raw>(Symbol(b, p, "QVI_FileWrite"));
    return std::function<void()>([f, &bgr24, file = files[k].c_str()] { f(bgr24.handle, file, FILE_KIND_RAW); });
  });

  std::printf("%ux%u%s, median of %d rounds; ms, and in brackets the speed against the first build\n\n", width,
              height, cold ? " from no cache" : "", rounds);
  std::printf("| job |");
  for (const char* path : paths) std::printf(" %s |", path);
  std::printf("\n|---|");
  for (size_t k = 0; k < paths.size(); ++k) std::printf("---:|");
  std::printf("\n");
  std::vector<uint8_t> evict(cold ? size_t{64} << 20 : 0);
  for (const Job& job : jobs) {
    std::vector<std::vector<double>> seconds(builds.size());
    for (int r = 0; r < rounds; ++r)
      for (size_t turn = 0; turn < builds.size(); ++turn) {
        const size_t k = (turn + static_cast<size_t>(r)) % builds.size();
        if (cold) std::memset(evict.data(), r + static_cast<int>(turn), evict.size());
        const auto t0 = std::chrono::steady_clock::now();
        job.calls[k]();
        seconds[k].push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
      }
    std::printf("| %s |", job.name.c_str());
    double first = 0;
    for (size_t k = 0; k < builds.size(); ++k) {
      std::sort(seconds[k].begin(), seconds[k].end());
      const double median = seconds[k][seconds[k].size() / 2];
      if (k == 0) first = median;
      std::printf(" %.3f (%.2f) |", median * 1e3, first / median);
    }
    std::printf("\n");
  }
  for (const std::string& file : files) std::remove(file.c_str());
}
