// A test fixture with fresh fake buffers and a scratch directory of its own,
// removed with everything in it; and a helper that reads a file whole.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/fake_buffers.h"

namespace qvi::test {

inline std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class FileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetFakeBuffers();
    ASSERT_NE(mkdtemp(dir_.data()), nullptr);
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
    ResetFakeBuffers();
  }
  std::string Path(const std::string& name) const { return dir_ + "/" + name; }

  std::string dir_ = ::testing::TempDir() + "qvi-file-XXXXXX";
};

}  // namespace qvi::test
