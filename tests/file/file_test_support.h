// A scratch directory per test and file helpers for the file-output tests.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/image.h"

namespace qvi::test {

// Fresh fake buffers, and a directory of its own under $TMPDIR (or /tmp) that
// is removed with everything in it.
class FileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetFakeBuffers();
    const char* base = std::getenv("TMPDIR");
    dir_ = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/qvi-file-XXXXXX";
    ASSERT_NE(mkdtemp(dir_.data()), nullptr);
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
    ResetFakeBuffers();
  }
  std::string Path(const std::string& name) const { return dir_ + "/" + name; }

  std::string dir_;
};

inline std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void Fill(TestImage& image, std::initializer_list<uint8_t> bytes) {
  std::copy(bytes.begin(), bytes.end(), image.data());
}

}  // namespace qvi::test
