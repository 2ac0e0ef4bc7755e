#include "support.h"

#include <gtest/gtest.h>
#include <png.h>
#include <sys/wait.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace qvi::tool::test {
namespace fs = std::filesystem;

ScratchDir::ScratchDir() {
  std::string pattern = (fs::path(::testing::TempDir()) / "qvi-tool-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

ScratchDir::~ScratchDir() {
  std::error_code ec;
  fs::remove_all(path_, ec);
}

std::vector<std::string> ScratchDir::Entries(const std::string& sub) const {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(path_ / sub)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

Run ScratchDir::Qvi(const std::string& args) const {
  const std::string command =
      "cd '" + path_.string() + "' && '" QVI_TOOL "' " + args + " </dev/null >.qvi-out 2>.qvi-err";
  const int status = std::system(command.c_str());
  Run r{WIFEXITED(status) ? WEXITSTATUS(status) : -1, {}, {}};
  for (auto [name, text] : {std::pair{".qvi-out", &r.out}, std::pair{".qvi-err", &r.err}}) {
    std::ifstream f(path_ / name);
    text->assign(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
    fs::remove(path_ / name);
  }
  return r;
}

void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream f(path, std::ios::binary);
  f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!f) throw std::runtime_error("cannot write " + path);
}

namespace {

Picture ReadPng(const std::string& path) {
  Picture p;
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) {
    ADD_FAILURE() << "libpng cannot open " << path << ": " << image.message;
    return p;
  }
  image.format = PNG_FORMAT_RGB;
  p.width = image.width;
  p.height = image.height;
  p.channels = 3;
  p.pixels.resize(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, p.pixels.data(), 0, nullptr))
    ADD_FAILURE() << "libpng cannot read " << path << ": " << image.message;
  return p;
}

}  // namespace

Picture ReadPicture(const std::string& path) {
  if (path.ends_with(".png")) return ReadPng(path);
  TIFFSetWarningHandler(nullptr);
  Picture p;
  TIFF* tif = TIFFOpen(path.c_str(), "r");
  if (!tif) {
    ADD_FAILURE() << "libtiff cannot open " << path;
    return p;
  }
  uint16_t bits = 0, samples = 0;
  TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &p.width);
  TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &p.height);
  TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
  EXPECT_EQ(bits, 8) << path;
  p.channels = samples;
  p.pixels.resize(size_t{p.width} * p.height * samples);
  for (uint32_t y = 0; y < p.height; ++y)
    if (TIFFReadScanline(tif, p.pixels.data() + size_t{y} * p.width * samples, y) < 0) {
      ADD_FAILURE() << "libtiff cannot read line " << y << " of " << path;
      break;
    }
  TIFFClose(tif);
  return p;
}

}  // namespace qvi::tool::test
