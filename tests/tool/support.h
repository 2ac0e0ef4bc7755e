// Helpers of the tool's tests: scratch folders, running the qvi program, and
// reading back what it wrote with libtiff and libpng.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace qvi::tool::test {

// A fresh folder under the test's temporary directory, removed at the end.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  std::vector<std::string> Entries() const;

 private:
  std::filesystem::path path_;
};

// Names of the entries of `dir`, hidden ones included, sorted.
std::vector<std::string> EntriesOf(const std::filesystem::path& dir);

void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes);
std::vector<uint8_t> ReadFile(const std::string& path);

struct RunResult {
  int exit_code;  // -1 if the program did not exit normally
  std::string out, err;
};
// Runs the qvi program built with the tests, with `args`, in `dir`.
RunResult RunQvi(const std::vector<std::string>& args, const std::filesystem::path& dir);

struct Picture {
  uint32_t width = 0, height = 0, channels = 0;
  std::vector<uint8_t> pixels;  // rows without padding; red, green, blue order
  uint8_t at(uint32_t x, uint32_t y, uint32_t channel) const {
    return pixels[(size_t{y} * width + x) * channels + channel];
  }
};
// Reads an 8-bit grey or RGB TIFF file with libtiff; fails the test if
// libtiff cannot.
Picture ReadTiff(const std::string& path);
// Reads a PNG file with libpng, as 8-bit RGB.
Picture ReadPng(const std::string& path);

}  // namespace qvi::tool::test
