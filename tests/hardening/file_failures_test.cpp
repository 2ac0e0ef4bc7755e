// File-system failures beyond those of the file tests: thousands of failing
// calls of every kind without a descriptor left behind, and no file touched
// but the one named.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

#include "support/image.h"
#include "support/scratch_dir.h"

namespace qvi::test {
namespace {

using FileFailures = FileTest;

// Every failure status, a thousand times over: the process ends with the
// descriptors it started with (a leaked stream would also exhaust them and
// change the statuses long before the end).
TEST_F(FileFailures, ThousandsOfFailingCallsLeaveNoDescriptorOpen) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  const std::string fifo = Path("pipe");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  TestImage small(FMT_Y8, 4, 4, 4), large(FMT_Y8, 256, 256, 256), grey16(FMT_Y16, 4, 4, 8),
      unknown(FMT_BGRX32, 4, 4, 16), colour(FMT_BGR24, 4, 4, 12);
  const auto cases = {
      std::tuple<const TestImage&, FileKind, std::string, Status>{small, FILE_KIND_RAW, Path("missing/x"), STATUS_OPEN_FAILED},
      {small, FILE_KIND_TIFF, dir_, STATUS_OPEN_FAILED},  // a directory
      {small, FILE_KIND_RAW, "/dev/full", STATUS_CLOSE_FAILED},
      {large, FILE_KIND_RAW, "/dev/full", STATUS_WRITE_FAILED},
      {colour, FILE_KIND_TIFF, "/dev/full", STATUS_CLOSE_FAILED},
      {grey16, FILE_KIND_TIFF, Path("t"), STATUS_BAD_BUFFER},
      {unknown, FILE_KIND_TIFF, Path("t"), STATUS_BAD_FORMAT},
      {colour, FILE_KIND_TIFF, fifo, STATUS_BAD_BUFFER},  // no position to tell
  };
  const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
  const auto before = descriptors();
  char drain[4096];
  for (int round = 0; round < 1000; ++round) {
    for (const auto& [image, kind, path, status] : cases) {
      ASSERT_EQ(QVI_FileWrite(image.handle(), path.c_str(), kind), status) << path << " round " << round;
    }
    while (read(reader, drain, sizeof drain) > 0) {
    }
  }
  EXPECT_EQ(descriptors(), before);
  close(reader);
}

// Successful, refused and failed writes of one path in a directory with other
// files: only that path ever appears or changes.
TEST_F(FileFailures, NothingButTheNamedFileIsTouched) {
  for (const auto& [name, text] : {std::pair{"a.tif", "neighbour"}, {"b.raw", "another"}, {"c", ""}}) {
    std::ofstream(Path(name)) << text;
  }
  const auto listing = [this] {
    std::map<std::string, std::pair<std::vector<uint8_t>, std::filesystem::file_time_type>> files;
    for (const auto& e : std::filesystem::directory_iterator(dir_))
      files[e.path().filename()] = {ReadFile(e.path()), e.last_write_time()};
    return files;
  };
  const auto others = listing();
  const std::string named = Path("image");
  TestImage grey(FMT_Y8, 5, 3, 8, 0, 0x42), grey16(FMT_Y16, 5, 3, 10), unknown(FMT_RGB48, 5, 3, 30);
  for (const auto& [image, kind, status] :
       {std::tuple{&grey, FILE_KIND_RAW, STATUS_OK}, {&grey, FILE_KIND_TIFF, STATUS_OK},
        {&grey16, FILE_KIND_TIFF, STATUS_BAD_BUFFER}, {&unknown, FILE_KIND_TIFF, STATUS_BAD_FORMAT},
        {&grey, 7u, STATUS_BAD_PARAMETER}}) {
    ASSERT_EQ(QVI_FileWrite(image->handle(), named.c_str(), kind), status) << kind;
    auto now = listing();
    EXPECT_EQ(now.erase("image"), status == STATUS_BAD_PARAMETER ? 0u : 1u) << kind;
    EXPECT_EQ(now, others) << kind;
    std::filesystem::remove(named);
  }
}

}  // namespace
}  // namespace qvi::test
