// Helpers of the tool's tests: scratch folders, running the qvi program in
// one, and reading back what it wrote with libtiff and libpng.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace qvi::tool::test {

struct Run {
  int exit_code;  // -1 if the program did not exit normally
  std::string out, err;
};

// A fresh folder under the test's temporary directory, removed at the end.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  // Names of the entries of the folder `sub` of this one (of this one itself
  // by default), hidden ones included, sorted.
  std::vector<std::string> Entries(const std::string& sub = ".") const;
  // Runs the qvi program built with the tests in this folder; the shell
  // splits `args` into words.
  Run Qvi(const std::string& args) const;

 private:
  std::filesystem::path path_;
};

void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes);

struct Picture {
  uint32_t width = 0, height = 0, channels = 0;
  std::vector<uint8_t> pixels;  // rows without padding; red, green, blue order
  uint8_t at(uint32_t x, uint32_t y, uint32_t channel) const {
    return pixels[(size_t{y} * width + x) * channels + channel];
  }
};
// Reads a .png file with libpng as 8-bit RGB, anything else as an 8-bit grey
// or RGB TIFF file with libtiff; fails the test if the library cannot.
Picture ReadPicture(const std::string& path);

}  // namespace qvi::tool::test
