// qvi demo: the library's main job on a built-in capture.  A synthetic scene
// is mosaiced into a 12-bit Bayer frame, demosaiced by all three methods,
// one result is cut into a field and de-interlaced again, and every result
// is written as a TIFF file with the time each library call took.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <limits>
#include <ostream>
#include <vector>

#include "commands.h"
#include "error.h"
#include "formats.h"
#include "output.h"
#include "png_file.h"
#include "scene.h"

namespace qvi::tool {
namespace fs = std::filesystem;

namespace {

constexpr uint32_t kWidth = 1024, kHeight = 768;
constexpr BayerPhase kPhase = BAYER_PHASE_A;

// One file the demo wrote, and the library call that made it.
struct Row {
  std::string file, step;
  double seconds;
  uint64_t pixels;
};

// Best time of `call` in seconds.  Fast calls are repeated for a short while
// so that the figure is not one cold run.
double Time(const std::function<void()>& call, bool repeat) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  double best = std::numeric_limits<double>::infinity();
  int runs = 0;
  do {
    const auto t0 = Clock::now();
    call();
    best = std::min(best, std::chrono::duration<double>(Clock::now() - t0).count());
    ++runs;
  } while (repeat && runs < 20 && Clock::now() - start < std::chrono::milliseconds(150));
  return best;
}

void Check(Status s, const std::string& what) {
  if (s != STATUS_OK) throw Error(what + " failed: " + DescribeStatus(s));
}

// Crops of the reference and the three methods side by side, one row per
// detail of the scene, each pixel enlarged to kZoom x kZoom.
Image Comparison(const std::vector<const Image*>& columns) {
  struct Crop {
    uint32_t x, y;
  };
  static constexpr Crop kCrops[] = {
      {316, 316},  // zone plate, 0.17 to 0.30 cycles a pixel
      {616, 147},  // corner of four colour patches
      {104, 616},  // black/white edge, 5 degrees off vertical
      {360, 616},  // red/blue edge
      {904, 600},  // star, off its centre
  };
  constexpr uint32_t kSize = 48, kZoom = 3, kGap = 4, kTile = kSize * kZoom;
  const uint32_t cols = static_cast<uint32_t>(columns.size()), rows = std::size(kCrops);
  const uint32_t width = cols * kTile + (cols + 1) * kGap, height = rows * kTile + (rows + 1) * kGap;
  Image out(FMT_BGR24, width, height, width * 3);
  std::fill(out.data(), out.data() + out.size(), uint8_t{255});
  for (uint32_t r = 0; r < rows; ++r)
    for (uint32_t c = 0; c < cols; ++c)
      for (uint32_t y = 0; y < kTile; ++y) {
        const uint8_t* src = columns[c]->line(kCrops[r].y + y / kZoom) + kCrops[r].x * 3;
        uint8_t* dst = out.line(kGap + r * (kTile + kGap) + y) + (kGap + c * (kTile + kGap)) * 3;
        for (uint32_t x = 0; x < kTile; ++x) std::copy_n(src + (x / kZoom) * 3, 3, dst + x * 3);
      }
  return out;
}

// The reference at half size (2 x 2 box filter), to show the whole scene.
Image HalfSize(const Image& image) {
  const uint32_t w = image.width() / 2, h = image.height() / 2;
  Image out(FMT_BGR24, w, h, w * 3);
  for (uint32_t y = 0; y < h; ++y) {
    const uint8_t* a = image.line(2 * y);
    const uint8_t* b = image.line(2 * y + 1);
    uint8_t* d = out.line(y);
    for (uint32_t x = 0; x < w * 3; ++x) {
      const uint32_t i = (x / 3) * 6 + x % 3;
      d[x] = static_cast<uint8_t>((a[i] + a[i + 3] + b[i] + b[i + 3] + 2) / 4);
    }
  }
  return out;
}

bool CreateFolder(const fs::path& dir) {
  std::error_code ec;
  if (fs::is_directory(dir, ec)) return false;
  if (!fs::create_directories(dir, ec)) throw Error("cannot create folder " + dir.string() + ": " + ec.message());
  return true;
}

void PrintTable(const std::vector<Row>& rows, std::ostream& out) {
  char line[160];
  std::snprintf(line, sizeof line, "  %-25s %-40s %7s %7s\n", "file", "made by", "ms", "MP/s");
  out << line;
  for (const Row& r : rows) {
    std::snprintf(line, sizeof line, "  %-25s %-40s %7.2f %7.1f\n", r.file.c_str(), r.step.c_str(), r.seconds * 1e3,
                  static_cast<double>(r.pixels) / r.seconds / 1e6);
    out << line;
  }
}

void Demo(const DemoOptions& options, std::ostream& out) {
  const fs::path dir(options.out_dir);
  OutputSet outputs;
  std::vector<Row> rows;
  const uint64_t pixels = uint64_t{kWidth} * kHeight;
  const auto write = [&](const Image& image, const std::string& name, FileType type) {
    const std::string temp = outputs.Stage((dir / name).string());
    return Time([&] { WriteImage(image, temp, type); }, false);
  };

  const Scene scene(kWidth, kHeight);
  const Image reference = SceneAsBgr24(scene);
  rows.push_back({"scene.tif", "the scene: QVI_FileWrite TIFF", write(reference, "scene.tif", FileType::kTiff),
                  pixels});
  Image capture = Mosaic(scene, FMT_BAY12, kPhase, DEMOSAIC_METHOD_DUP);
  rows.push_back({"capture-bay12.raw", "its mosaic: QVI_FileWrite raw",
                  write(capture, "capture-bay12.raw", FileType::kRaw), pixels});

  struct Method {
    const char* name;
    DemosaicMethod code;
  };
  static constexpr Method kMethods[] = {
      {"dup", DEMOSAIC_METHOD_DUP}, {"ave", DEMOSAIC_METHOD_AVE}, {"med", DEMOSAIC_METHOD_MED}};
  std::vector<Image> results;
  results.reserve(std::size(kMethods));
  for (const Method& m : kMethods) {
    capture.SetBayer(m.code, kPhase);
    Image& rgb = results.emplace_back(FMT_BGR24, kWidth, kHeight, kWidth * 3);
    const std::string step = std::string("QVI_Convert BAY12 -> BGR24, ") + m.name;
    const double s = Time([&] { Check(QVI_Convert(capture.handle(), rgb.handle()), step); }, true);
    const std::string file = std::string("demosaic-") + m.name + ".tif";
    write(rgb, file, FileType::kTiff);
    rows.push_back({file, step, s, pixels});
  }

  // The even lines of the averaged result, as one field of an interlaced
  // capture, made into a frame again.
  const Image& ave = results[1];
  Image field(FMT_BGR24, kWidth, kHeight / 2, kWidth * 3);
  for (uint32_t y = 0; y < kHeight / 2; ++y) std::copy_n(ave.line(2 * y), kWidth * 3, field.line(y));
  Image frame(FMT_BGR24, kWidth, kHeight, kWidth * 3);
  const std::string step = "QVI_FieldToFrame bilinear, even field";
  const double s = Time(
      [&] {
        Check(QVI_FieldToFrame(field.handle(), frame.handle(), FIELD_TO_FRAME_BILINEAR, FIELD_PARITY_EVEN), step);
      },
      true);
  write(frame, "deinterlace-bilinear.tif", FileType::kTiff);
  rows.push_back({"deinterlace-bilinear.tif", step, s, pixels});

  if (options.pictures_dir) {
    const fs::path pics(*options.pictures_dir);
    CreateFolder(pics);
    const Image comparison = Comparison({&reference, &results[0], &results[1], &results[2]});
    WriteImage(comparison, outputs.Stage((pics / "demosaic-methods.png").string()), FileType::kPng);
    WriteImage(HalfSize(reference), outputs.Stage((pics / "scene.png").string()), FileType::kPng);
  }
  outputs.CommitAll();

  out << "qvi demo: a " << kWidth << " x " << kHeight
      << " 12-bit Bayer capture (phase A) of a zone plate, colour patches,\n"
         "slanted edges and a star, demosaiced by the three methods and de-interlaced,\n"
         "written to "
      << dir.string() << "/\n\n";
  PrintTable(rows, out);
  out << "\nCompare demosaic-dup.tif, demosaic-ave.tif and demosaic-med.tif with scene.tif.\n"
         "The capture converts like any other:\n  qvi convert "
      << (dir / "capture-bay12.raw").string() << " --width " << kWidth << " --height " << kHeight
      << " --format BAY12 --phase A --method med -o med.tif\n";
  if (options.pictures_dir)
    out << "Pictures: " << (fs::path(*options.pictures_dir) / "demosaic-methods.png").string() << ", "
        << (fs::path(*options.pictures_dir) / "scene.png").string() << "\n";
}

}  // namespace

void RunDemo(const DemoOptions& options, std::ostream& out) {
  const bool created = CreateFolder(options.out_dir);
  try {
    Demo(options, out);
  } catch (...) {
    std::error_code ec;
    if (created) fs::remove(options.out_dir, ec);  // only if still empty
    throw;
  }
}

}  // namespace qvi::tool
