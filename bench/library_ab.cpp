// Two or more builds of libqvi side by side in one process: each is loaded
// from its own file (dlopen, RTLD_LOCAL), and every round calls each build
// once on the same buffers, so the drift of a shared or virtual machine
// slows all of them alike.  Prints the median time of each job per build and
// its speed relative to the first build (above 1: faster).
//
//   qvi_library_ab OLD/libqvi.so.1 NEW/libqvi.so.1 [--rounds N] [--size WxH]
//
// The builds share the libqvb this program is linked against.  Give each
// build's library by a distinct path (a copy under another name will do).
#include <dlfcn.h>

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
  uint32_t kWidth = 2448, kHeight = 2048;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    } else if (std::strcmp(argv[i], "--size") == 0 && i + 1 < argc) {
      if (std::sscanf(argv[++i], "%ux%u", &kWidth, &kHeight) != 2 || kWidth < 2 || kHeight < 2 || kWidth > 65536 ||
          kHeight > 65536) {
        std::fprintf(stderr, "qvi_library_ab: --size wants WxH, each from 2 to 65536, not %s\n", argv[i]);
        return 2;
      }
    } else {
      paths.push_back(argv[i]);
    }
  }
  if (paths.empty()) {
    std::fprintf(stderr, "usage: qvi_library_ab LIBQVI [LIBQVI ...] [--rounds N] [--size WxH]\n");
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

  Image bay12(FMT_BAY12, kWidth, kHeight, kWidth * 2, 0x0F), bay8(FMT_BAY8, kWidth, kHeight, kWidth);
  Image bgr24(FMT_BGR24, kWidth, kHeight, kWidth * 3), bgrx32(FMT_BGRX32, kWidth, kHeight, kWidth * 4);
  Image grey(FMT_Y8, kWidth, kHeight, kWidth), field(FMT_Y8, kWidth, kHeight / 2, kWidth);
  Image frame(FMT_Y8, kWidth, kHeight, kWidth);

  using Deep = Status (*)(BufferHandle, BufferHandle, uint32_t);
  using Plain = Status (*)(BufferHandle, BufferHandle);
  using Field = Status (*)(BufferHandle, BufferHandle, FieldParity);
  std::vector<Job> jobs;
  const auto add = [&](const char* name, const std::function<std::function<void()>(void*, const char*)>& make) {
    Job job{name, {}};
    for (size_t k = 0; k < builds.size(); ++k) job.calls.push_back(make(builds[k], paths[k]));
    jobs.push_back(std::move(job));
  };
  for (const char* name : {"QVI_BAYn_to_BGR24_dup_A", "QVI_BAYn_to_BGR24_ave_A", "QVI_BAYn_to_BGR24_med_A"})
    add(name, [&](void* b, const char* p) {
      const auto f = reinterpret_cast<Deep>(Symbol(b, p, name));
      return std::function<void()>([f, &bay12, &bgr24] { f(bay12.handle, bgr24.handle, 12); });
    });
  add("QVI_BAYn_to_BGRX32_ave_A", [&](void* b, const char* p) {
    const auto f = reinterpret_cast<Deep>(Symbol(b, p, "QVI_BAYn_to_BGRX32_ave_A"));
    return std::function<void()>([f, &bay12, &bgrx32] { f(bay12.handle, bgrx32.handle, 12); });
  });
  for (const char* name : {"QVI_BAY8_to_BGR24_dup_A", "QVI_BAY8_to_BGR24_ave_A", "QVI_BAY8_to_BGR24_med_A"})
    add(name, [&](void* b, const char* p) {
      const auto f = reinterpret_cast<Plain>(Symbol(b, p, name));
      return std::function<void()>([f, &bay8, &bgr24] { f(bay8.handle, bgr24.handle); });
    });
  add("QVI_BAY8_to_BGRX32_med_A", [&](void* b, const char* p) {
    const auto f = reinterpret_cast<Plain>(Symbol(b, p, "QVI_BAY8_to_BGRX32_med_A"));
    return std::function<void()>([f, &bay8, &bgrx32] { f(bay8.handle, bgrx32.handle); });
  });
  for (const char* name : {"QVI_FieldToFrame_LineDup", "QVI_FieldToFrame_LineAve", "QVI_FieldToFrame_Bilinear",
                           "QVI_FieldToFrame_Median"})
    add(name, [&](void* b, const char* p) {
      const auto f = reinterpret_cast<Field>(Symbol(b, p, name));
      return std::function<void()>([f, &field, &frame] { f(field.handle, frame.handle, FIELD_PARITY_EVEN); });
    });
  add("QVI_Convert Y8 -> BGR24", [&](void* b, const char* p) {
    const auto f = reinterpret_cast<Plain>(Symbol(b, p, "QVI_Convert"));
    return std::function<void()>([f, &grey, &bgr24] { f(grey.handle, bgr24.handle); });
  });
  add("QVI_Convert BGRX32 -> BGR24", [&](void* b, const char* p) {
    const auto f = reinterpret_cast<Plain>(Symbol(b, p, "QVI_Convert"));
    return std::function<void()>([f, &bgrx32, &bgr24] { f(bgrx32.handle, bgr24.handle); });
  });

  std::printf("%dx%d, median of %d rounds; ms, and in brackets the speed against the first build\n\n", kWidth,
              kHeight, rounds);
  std::printf("| job |");
  for (const char* path : paths) std::printf(" %s |", path);
  std::printf("\n|---|");
  for (size_t k = 0; k < paths.size(); ++k) std::printf("---:|");
  std::printf("\n");
  for (const Job& job : jobs) {
    std::vector<std::vector<double>> seconds(builds.size());
    for (int r = 0; r < rounds; ++r)
      for (size_t k = 0; k < builds.size(); ++k) {
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
}
