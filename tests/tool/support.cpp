#include "support.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <png.h>
#include <spawn.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

extern char** environ;

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

std::vector<std::string> ScratchDir::Entries() const { return EntriesOf(path_); }

std::vector<std::string> EntriesOf(const fs::path& dir) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream f(path, std::ios::binary);
  f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!f) throw std::runtime_error("cannot write " + path);
}

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()};
}

RunResult RunQvi(const std::vector<std::string>& args, const fs::path& dir) {
  const std::string out_path = (dir / ".qvi-stdout").string(), err_path = (dir / ".qvi-stderr").string();
  std::vector<std::string> argv_strings{QVI_TOOL};
  argv_strings.insert(argv_strings.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& s : argv_strings) argv.push_back(s.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  // The program runs in `dir`, so relative names in `args` resolve there.
  const fs::path here = fs::current_path();
  fs::current_path(dir);
  pid_t pid = 0;
  const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  fs::current_path(here);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) throw std::runtime_error("cannot start " + argv_strings[0]);
  int status = 0;
  waitpid(pid, &status, 0);

  RunResult r;
  r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  const auto out = ReadFile(out_path), err = ReadFile(err_path);
  r.out.assign(out.begin(), out.end());
  r.err.assign(err.begin(), err.end());
  fs::remove(out_path);
  fs::remove(err_path);
  return r;
}

Picture ReadTiff(const std::string& path) {
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

}  // namespace qvi::tool::test
