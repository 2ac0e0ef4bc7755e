// File-system failures beyond those of the file tests: a file or directory
// the caller may not write, thousands of failing calls of every kind without
// a descriptor left behind, and no file touched but the one named.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>

#include "support/image.h"
#include "support/scratch_dir.h"

namespace qvi::test {
namespace {

using FileFailures = FileTest;

long OpenDescriptors() {
  const std::filesystem::directory_iterator fds("/proc/self/fd");
  return std::distance(begin(fds), end(fds));
}

// Runs `body` in a child process without the right to write where the
// test's mode bits forbid it (as root, the child becomes nobody first);
// true when it exits with 0.
template <class Body>
bool InUnprivilegedChild(Body body) {
  const pid_t pid = fork();
  if (pid == 0) {
    if (geteuid() == 0 && (setresgid(65534, 65534, 65534) != 0 || setresuid(65534, 65534, 65534) != 0)) _exit(3);
    _exit(body() ? 0 : 1);
  }
  int status = 0;
  return pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(FileFailures, NoPermissionFailsToOpenAndLeavesTheFileAlone) {
  const std::string locked = Path("locked"), kept = Path("kept");
  ASSERT_EQ(mkdir(locked.c_str(), 0555), 0);
  std::ofstream(kept) << "old contents";
  ASSERT_EQ(chmod(kept.c_str(), 0444), 0);
  ASSERT_EQ(chmod(dir_.c_str(), 0755), 0);
  TestImage image(FMT_Y8, 4, 3, 4, 0, 0x11);
  for (FileKind kind : {FILE_KIND_RAW, FILE_KIND_TIFF}) {
    for (const std::string& path : {locked + "/new", kept}) {
      EXPECT_TRUE(InUnprivilegedChild([&] { return QVI_FileWrite(image.handle(), path.c_str(), kind) == STATUS_OPEN_FAILED; }))
          << kind << " " << path;
    }
  }
  EXPECT_TRUE(std::filesystem::is_empty(locked));
  EXPECT_EQ(ReadFile(kept), std::vector<uint8_t>({'o', 'l', 'd', ' ', 'c', 'o', 'n', 't', 'e', 'n', 't', 's'}));
}

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
  struct Case {
    const TestImage& image;
    FileKind kind;
    std::string path;
    Status status;
  };
  const Case cases[] = {
      {small, FILE_KIND_RAW, Path("missing/x"), STATUS_OPEN_FAILED},
      {small, FILE_KIND_TIFF, dir_, STATUS_OPEN_FAILED},  // a directory
      {small, FILE_KIND_RAW, "/dev/full", STATUS_CLOSE_FAILED},
      {large, FILE_KIND_RAW, "/dev/full", STATUS_WRITE_FAILED},
      {colour, FILE_KIND_TIFF, "/dev/full", STATUS_CLOSE_FAILED},
      {grey16, FILE_KIND_TIFF, Path("t"), STATUS_BAD_BUFFER},
      {unknown, FILE_KIND_TIFF, Path("t"), STATUS_BAD_FORMAT},
      {colour, FILE_KIND_TIFF, fifo, STATUS_BAD_BUFFER},  // no position to tell
  };
  const long before = OpenDescriptors();
  char drain[4096];
  for (int round = 0; round < 1000; ++round) {
    for (const Case& c : cases) {
      ASSERT_EQ(QVI_FileWrite(c.image.handle(), c.path.c_str(), c.kind), c.status) << c.path << " round " << round;
    }
    while (read(reader, drain, sizeof drain) > 0) {
    }
  }
  EXPECT_EQ(OpenDescriptors(), before);
  close(reader);
}

// Successful, refused and failed writes of one path in a directory with other
// files: only that path ever appears or changes.
TEST_F(FileFailures, NothingButTheNamedFileIsTouched) {
  const std::map<std::string, std::string> others = {{"a.tif", "neighbour"}, {"b.raw", "another"}, {"c", ""}};
  for (const auto& [name, text] : others) std::ofstream(Path(name)) << text;
  const auto listing = [this] {
    std::map<std::string, std::pair<std::string, std::filesystem::file_time_type>> files;
    for (const auto& e : std::filesystem::directory_iterator(dir_)) {
      const std::vector<uint8_t> bytes = ReadFile(e.path());
      files[e.path().filename()] = {std::string(bytes.begin(), bytes.end()), e.last_write_time()};
    }
    return files;
  };
  auto expected = listing();
  const std::string named = Path("image");
  TestImage grey(FMT_Y8, 5, 3, 8, 0, 0x42), grey16(FMT_Y16, 5, 3, 10), unknown(FMT_RGB48, 5, 3, 30);
  struct Case {
    const TestImage& image;
    FileKind kind;
    Status status;
  };
  for (const Case& c : {Case{grey, FILE_KIND_RAW, STATUS_OK}, {grey, FILE_KIND_TIFF, STATUS_OK},
                        {grey16, FILE_KIND_TIFF, STATUS_BAD_BUFFER}, {unknown, FILE_KIND_TIFF, STATUS_BAD_FORMAT},
                        {grey, 7, STATUS_BAD_PARAMETER}}) {
    ASSERT_EQ(QVI_FileWrite(c.image.handle(), named.c_str(), c.kind), c.status) << c.kind;
    auto now = listing();
    EXPECT_EQ(now.count("image"), c.status == STATUS_BAD_PARAMETER ? 0u : 1u) << c.kind;
    now.erase("image");
    EXPECT_EQ(now, expected) << c.kind;
    std::filesystem::remove(named);
  }
}

}  // namespace
}  // namespace qvi::test
