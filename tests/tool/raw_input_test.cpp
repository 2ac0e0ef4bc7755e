// Raw capture geometry and the reading of frames.
#include <gtest/gtest.h>

#include <functional>

#include "error.h"
#include "raw_input.h"
#include "support.h"

namespace qvi::tool {
namespace {

using test::ScratchDir;

// The message of the Error that `f` throws, or "" if it throws none.
std::string ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.what();
  }
  return "";
}

TEST(Geometry, DefaultStrideIsOneLineOfPixels) {
  const struct {
    const char* format;
    uint32_t width, stride;
  } cases[] = {{"BAY12", 7, 14}, {"Y8", 7, 7}, {"BGR24", 7, 21}, {"YUV422", 7, 16}, {"Y12P", 7, 12}};
  for (const auto& c : cases) {
    const RawGeometry g = MakeGeometry(*FindFormat(c.format), c.width, 3, std::nullopt);
    EXPECT_EQ(g.stride, c.stride) << c.format;
    EXPECT_EQ(g.FrameBytes(), uint64_t{c.stride} * 3) << c.format;
  }
  EXPECT_EQ(MakeGeometry(*FindFormat("Y8"), 7, 3, 16).stride, 16u);
}

TEST(Geometry, RefusesWhatTheLibraryCannotTakeAndNamesTheArgument) {
  const struct {
    const char* format;
    uint32_t width, height;
    std::optional<uint32_t> stride;
    const char* expected;
  } cases[] = {
      {"Y8", 0, 4, std::nullopt, "--width must be at least 1"},
      {"Y8", 4, 0, std::nullopt, "--height must be at least 1"},
      {"BAY12", 8, 4, 15, "--stride 15 is smaller than one line of 8 BAY12 pixels (16 bytes)"},
      {"YUV422", 3, 4, 6, "--stride 6"},
      {"BAY8", 1, 4, std::nullopt, "Bayer capture needs --width and --height of at least 2"},
      {"BAY8", 4, 1, std::nullopt, "at least 2"},
      {"Y16", 0x80000000u, 1, std::nullopt, "--width 2147483648 is too wide"},
      {"Y8", 65536, 65536, std::nullopt, "exceeds the 4 GiB"},
  };
  for (const auto& c : cases) {
    const std::string message = ErrorOf([&] { MakeGeometry(*FindFormat(c.format), c.width, c.height, c.stride); });
    EXPECT_NE(message.find(c.expected), std::string::npos) << c.format << ": \"" << message << '"';
  }
}

TEST(RawReader, ReadsEveryFrameInOrderPaddingIncluded) {
  ScratchDir dir;
  // Three 3 x 2 Y8 frames at stride 4: byte i of the file is i.
  std::vector<uint8_t> bytes(3 * 2 * 4);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i);
  test::WriteFile(dir / "in.raw", bytes);
  const RawGeometry g = MakeGeometry(*FindFormat("Y8"), 3, 2, 4);
  RawReader reader(dir / "in.raw", g);
  ASSERT_EQ(reader.frames(), 3u);
  Image frame(FMT_Y8, 3, 2, 4);
  for (uint8_t f = 0; f < 3; ++f) {
    reader.ReadFrame(frame);
    for (uint8_t i = 0; i < 8; ++i) EXPECT_EQ(frame.data()[i], f * 8 + i) << "frame " << int{f};
  }
  EXPECT_NE(ErrorOf([&] { reader.ReadFrame(frame); }), "");
}

TEST(RawReader, RefusesFilesThatAreNotWholeFrames) {
  ScratchDir dir;
  test::WriteFile(dir / "short.raw", std::vector<uint8_t>(20));
  test::WriteFile(dir / "empty.raw", {});
  const RawGeometry g = MakeGeometry(*FindFormat("BAY12"), 4, 2, std::nullopt);  // 16 bytes a frame
  const struct {
    std::string path;
    const char* expected;
  } cases[] = {
      {dir / "short.raw", "holds 20 bytes, not a whole number of frames of 2 lines x 8 bytes (16 bytes)"},
      {dir / "empty.raw", "is empty"},
      {dir / "missing.raw", "cannot read input"},
      {dir.path().string(), "is a directory"},
  };
  for (const auto& c : cases) {
    const std::string message = ErrorOf([&] { RawReader reader(c.path, g); });
    EXPECT_NE(message.find(c.expected), std::string::npos) << c.path << ": \"" << message << '"';
  }
}

}  // namespace
}  // namespace qvi::tool
