// A scratch directory of a test's own, removed with everything in it; a
// fixture with fresh fake buffers and a scratch directory; and a helper that
// reads a file whole.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/fake_buffers.h"

namespace qvi::test {

inline std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A fresh directory under the test's temporary directory, named
// <prefix>-XXXXXX.
class ScratchDir {
 public:
  explicit ScratchDir(const std::string& prefix) : path_(::testing::TempDir() + prefix + "-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("mkdtemp failed for " + path_);
  }
  ~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

class FileTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
  void TearDown() override { ResetFakeBuffers(); }
  std::string Path(const std::string& name) const { return dir_ / name; }

  ScratchDir dir_{"qvi-file"};
};

}  // namespace qvi::test
