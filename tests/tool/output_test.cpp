// Output names and types, all-or-nothing writing, and PNG files.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>

#include "error.h"
#include "output.h"
#include "png_file.h"
#include "support.h"

namespace qvi::tool {
namespace {

using test::ScratchDir;

bool Throws(const std::function<void()>& f, const std::string& part = "") {
  try {
    f();
  } catch (const Error& e) {
    return std::string(e.what()).find(part) != std::string::npos;
  }
  return false;
}

TEST(Outputs, TypeComesFromTheExtension) {
  const struct {
    const char* path;
    std::optional<FileType> type;
  } cases[] = {
      {"a.tif", FileType::kTiff}, {"dir/a.TIFF", FileType::kTiff}, {"a.raw", FileType::kRaw},
      {"a.Png", FileType::kPng},  {"a.jpg", std::nullopt},         {"tif", std::nullopt},
      {"a.tif.gz", std::nullopt}, {"", std::nullopt},
  };
  for (const auto& c : cases) {
    if (c.type) {
      EXPECT_EQ(FileTypeOf(c.path), *c.type) << c.path;
    } else {
      EXPECT_TRUE(Throws([&] { FileTypeOf(c.path); }, "--output")) << c.path;
    }
  }
}

TEST(Outputs, SeveralFramesGetNumberedNames) {
  const struct {
    const char* path;
    uint64_t index, count;
    const char* expected;
  } cases[] = {
      {"out.tif", 0, 1, "out.tif"},          {"out.tif", 0, 2, "out-001.tif"},
      {"d/out.raw", 9, 10, "d/out-010.raw"}, {"out.png", 41, 999, "out-042.png"},
      {"out.tif", 0, 1000, "out-0001.tif"},   {"out.tif", 1233, 1234, "out-1234.tif"},
      {"d.x/out.tif", 0, 3, "d.x/out-001.tif"},
  };
  for (const auto& c : cases) EXPECT_EQ(NumberedPath(c.path, c.index, c.count), c.expected);
}

TEST(Outputs, TiffAndPngTakeEightBitGreyOrBgr24Only) {
  const struct {
    FileType type;
    ImageFormat format;
    uint32_t width;
    const char* refusal;  // null: accepted
  } cases[] = {
      {FileType::kTiff, FMT_Y8, 100, nullptr},
      {FileType::kTiff, FMT_BGR24, 65535, nullptr},
      {FileType::kPng, FMT_BGR24, 100, nullptr},
      {FileType::kRaw, FMT_BAY12, 70000, nullptr},
      {FileType::kTiff, FMT_RGB24, 100, "red and blue would come out exchanged"},
      {FileType::kTiff, FMT_Y16, 100, "not Y16"},
      {FileType::kPng, FMT_BGRX32, 100, "PNG files are written from Y8 or BGR24"},
      {FileType::kTiff, FMT_BGR24, 65536, "at most 65535 pixels a side"},
  };
  for (const auto& c : cases) {
    if (c.refusal) {
      EXPECT_TRUE(Throws([&] { CheckWritable(c.type, c.format, c.width, 10); }, c.refusal)) << c.refusal;
    } else {
      EXPECT_NO_THROW(CheckWritable(c.type, c.format, c.width, 10));
    }
  }
}

TEST(OutputSet, FilesAppearOnlyWhenCommitted) {
  ScratchDir dir;
  {
    OutputSet set;
    const std::string temp = set.Stage(dir / "a.raw");
    test::WriteFile(temp, {1, 2, 3});
    EXPECT_EQ(std::filesystem::path(temp).parent_path(), dir.path());
    EXPECT_EQ(dir.Entries().size(), 1u);
    EXPECT_EQ(dir.Entries()[0].substr(0, 7), ".a.raw.");
  }
  EXPECT_TRUE(dir.Entries().empty()) << "an abandoned set leaves nothing";

  OutputSet set;
  test::WriteFile(set.Stage(dir / "a.raw"), {1, 2, 3});
  test::WriteFile(set.Stage(dir / "b.raw"), {4});
  set.CommitAll();
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"a.raw", "b.raw"}));
  EXPECT_EQ(test::ReadFile(dir / "a.raw"), (std::vector<uint8_t>{1, 2, 3}));
  struct stat st {};
  ASSERT_EQ(::stat((dir / "a.raw").c_str(), &st), 0);
  const mode_t mask = ::umask(0);
  ::umask(mask);
  EXPECT_EQ(st.st_mode & 0777, 0666 & ~mask) << "committed files get the usual permissions";
}

TEST(OutputSet, RefusesMissingFoldersAndFolderNames) {
  ScratchDir dir;
  OutputSet set;
  EXPECT_TRUE(Throws([&] { set.Stage(dir / "no/such/a.tif"); }, "does not exist"));
  EXPECT_TRUE(Throws([&] { set.Stage(dir.path().string()); }, "is a folder"));
  EXPECT_TRUE(dir.Entries().empty());
}

TEST(Png, WritesColourAndGreyWithoutLinePadding) {
  ScratchDir dir;
  // 2 x 2 pixels at stride 8: bytes B, G, R, then padding that must not show.
  const uint8_t bgr[16] = {10, 20, 30, 40, 50, 60, 99, 99, 1, 2, 3, 4, 5, 6, 99, 99};
  WritePng(dir / "c.png", 2, 2, bgr, 8, PngPixels::kBgr);
  const test::Picture c = test::ReadPng(dir / "c.png");
  ASSERT_EQ(c.width, 2u);
  ASSERT_EQ(c.height, 2u);
  EXPECT_EQ(c.pixels, (std::vector<uint8_t>{30, 20, 10, 60, 50, 40, 3, 2, 1, 6, 5, 4}));

  const uint8_t grey[6] = {0, 128, 99, 255, 7, 99};
  WritePng(dir / "g.png", 2, 2, grey, 3, PngPixels::kGrey);
  const test::Picture g = test::ReadPng(dir / "g.png");
  EXPECT_EQ(g.pixels, (std::vector<uint8_t>{0, 0, 0, 128, 128, 128, 255, 255, 255, 7, 7, 7}));

  EXPECT_TRUE(Throws([&] { WritePng(dir / "no/x.png", 2, 2, grey, 3, PngPixels::kGrey); }, "cannot open"));
}

}  // namespace
}  // namespace qvi::tool
