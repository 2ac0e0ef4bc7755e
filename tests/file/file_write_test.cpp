// QVI_FileWrite and the failures of both writers: the queries made, what is
// refused before any file exists, the raw dump's bytes, and real open, write,
// close and position failures, none of which leaves a stream open.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <numeric>

#include "file/file_test_support.h"

namespace qvi::test {
namespace {

using FileWrite = FileTest;

Status Raw(BufferHandle b, const char* path) { return QVI_FileWrite(b, path, FILE_KIND_RAW); }

TEST_F(FileWrite, RawDumpHoldsEveryLineWithItsPadding) {
  // The width is never consulted; a height or stride of 0 gives an empty file.
  for (auto [w, h, stride] : {std::tuple{3u, 2u, 5u}, {0u, 4u, 3u}, {2u, 0u, 8u}, {2u, 3u, 0u}}) {
    TestImage image(FMT_BGR24, w, h, stride, /*slack=*/16);
    std::iota(image.bytes().begin(), image.bytes().end(), uint8_t{1});
    ASSERT_EQ(Raw(image.handle(), Path("a").c_str()), STATUS_OK);
    EXPECT_EQ(ReadFile(Path("a")), std::vector<uint8_t>(image.bytes().begin(), image.bytes().end() - 16));
  }
  TestImage image(FMT_Y8, 2, 2, 2);
  SetQueryStatus(99);  // answers still arrive; the stride query's status is the result
  EXPECT_EQ(Raw(image.handle(), Path("b").c_str()), 99u);
  EXPECT_EQ(ReadFile(Path("b")).size(), 4u);
}

TEST_F(FileWrite, AsksInOrderAndRefusesBeforeOpeningAnything) {
  struct Case {
    uint64_t valid, address;
    uint32_t format;
    FileKind kind;
    Status status;
    std::vector<BufferParameter> queries;
  };
  constexpr auto V = BUF_PARAM_VALID, A = BUF_PARAM_ADDRESS, H = BUF_PARAM_HEIGHT, S = BUF_PARAM_STRIDE,
                 F = BUF_PARAM_FORMAT, W = BUF_PARAM_WIDTH;
  const Case cases[] = {
      {1, 1, FMT_Y8, FILE_KIND_RAW, STATUS_OK, {V, A, H, S}},
      {1, 1, FMT_Y8, FILE_KIND_TIFF, STATUS_OK, {V, V, F, A, H, W, S}},
      {1, 0, FMT_Y8, FILE_KIND_RAW, STATUS_BAD_BUFFER, {V, A}},
      {1, 1, 0, FILE_KIND_TIFF, STATUS_BAD_BUFFER, {V, V, F}},
      {0, 1, FMT_Y8, FILE_KIND_RAW, STATUS_BAD_BUFFER, {V}},
      {0, 1, FMT_Y8, FILE_KIND_TIFF, STATUS_BAD_BUFFER, {V}},
      {0, 1, FMT_Y8, 4, STATUS_BAD_BUFFER, {V}},
      {1, 1, FMT_Y8, 0, STATUS_BAD_PARAMETER, {V}},
      {1, 1, FMT_Y8, 1, STATUS_BAD_PARAMETER, {V}},
      {1, 1, FMT_Y8, 4, STATUS_BAD_PARAMETER, {V}},
  };
  for (const Case& c : cases) {
    TestImage image(c.format, 2, 2, 2);
    image.params().valid = c.valid;
    if (c.address == 0) image.params().address = 0;
    const std::string path = Path("file");
    ClearQueryLog();
    EXPECT_EQ(QVI_FileWrite(image.handle(), path.c_str(), c.kind), c.status) << c.kind;
    std::vector<BufferParameter> asked;
    for (const Query& q : QueryLog()) asked.push_back(q.id);
    EXPECT_EQ(asked, c.queries) << c.kind;
    EXPECT_EQ(std::filesystem::exists(path), c.status == STATUS_OK) << c.kind;
    std::filesystem::remove(path);
  }
}

// /dev/full takes nothing.  A dump that fits the stream's buffer fails only
// when fclose flushes it, a larger one in fwrite; the TIFF writer's failed
// writes, small or large, surface when the file is closed.
TEST_F(FileWrite, ReportsEachFailureWhereItSurfaces) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  const std::string missing = Path("no-such-dir/x"), very_long = Path(std::string(5000, 'x'));
  struct Case {
    FileKind kind;
    uint32_t format, size;
    const std::string& path;
    Status status;
  };
  const std::string full = "/dev/full";
  const Case cases[] = {
      {FILE_KIND_RAW, FMT_Y8, 4, missing, STATUS_OPEN_FAILED},
      {FILE_KIND_TIFF, FMT_Y8, 4, missing, STATUS_OPEN_FAILED},
      {FILE_KIND_RAW, FMT_Y8, 4, very_long, STATUS_OPEN_FAILED},
      {FILE_KIND_TIFF, FMT_Y8, 4, very_long, STATUS_OPEN_FAILED},
      {FILE_KIND_RAW, FMT_Y8, 4, full, STATUS_CLOSE_FAILED},
      {FILE_KIND_RAW, FMT_Y8, 1024, full, STATUS_WRITE_FAILED},
      {FILE_KIND_TIFF, FMT_Y8, 4, full, STATUS_CLOSE_FAILED},
      {FILE_KIND_TIFF, FMT_Y8, 1024, full, STATUS_CLOSE_FAILED},
      {FILE_KIND_TIFF, FMT_BGR24, 512, full, STATUS_CLOSE_FAILED},
  };
  auto open_descriptors = [] {
    const std::filesystem::directory_iterator fds("/proc/self/fd");
    return std::distance(begin(fds), end(fds));
  };
  const auto before = open_descriptors();
  for (int attempt = 0; attempt < 10; ++attempt) {
    for (const Case& c : cases) {
      TestImage image(c.format, c.size, c.size, c.size * (c.format == FMT_Y8 ? 1 : 3));
      ASSERT_EQ(QVI_FileWrite(image.handle(), c.path.c_str(), c.kind), c.status) << c.kind << c.path;
    }
    for (uint32_t format : {FMT_Y16, FMT_Y32}) {  // refused after the file was opened
      TestImage image(format, 4, 4, 8);
      ASSERT_NE(QVI_FileWriteTiff(image.handle(), Path("t").c_str()), STATUS_OK);
    }
  }
  EXPECT_EQ(open_descriptors(), before) << "a failed write left a stream open";
  TestImage image(FMT_Y8, 1, 1, 1);
  EXPECT_EQ(QVI_FileWriteTiff(image.handle(), nullptr), STATUS_OPEN_FAILED);
}

// A pipe has no position: the first ftell fails, and what was written up to
// it reaches the reader because the stream is closed.
TEST_F(FileWrite, AnUnseekableTiffStopsAtTheFirstPlaceholder) {
  const std::string fifo = Path("pipe");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  // Header, entry count, the entries before the placeholder and its tag,
  // type and count: StripOffsets for grey, BitsPerSample for colour.
  for (auto [format, bytes] : {std::pair{FMT_Y8, 8 + 2 + 6 * 12 + 8}, {FMT_BGR24, 8 + 2 + 3 * 12 + 8}}) {
    const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    TestImage image(format, 2, 2, 6);
    EXPECT_EQ(QVI_FileWriteTiff(image.handle(), fifo.c_str()), STATUS_BAD_BUFFER);
    char arrived[1024];
    EXPECT_EQ(read(reader, arrived, sizeof arrived), bytes) << std::hex << format;
    close(reader);
  }
}

}  // namespace
}  // namespace qvi::test
