#include "output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "error.h"
#include "formats.h"
#include "png_file.h"

namespace qvi::tool {
namespace fs = std::filesystem;

namespace {

// Temporary files not yet renamed into place, for the signal handler.  The
// list changes only while the handled signals are blocked.
std::vector<std::string> g_pending;
bool g_handlers_installed = false;
constexpr int kHandled[] = {SIGINT, SIGTERM, SIGHUP};
std::atomic<int> g_interrupts{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may touch only lock-free atomics");

extern "C" void RemovePendingAndDie(int sig) {
  for (const std::string& path : g_pending) ::unlink(path.c_str());
  std::signal(sig, SIG_DFL);
  std::raise(sig);
}

extern "C" void CountInterrupt(int) { g_interrupts.fetch_add(1); }

class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t set;
    sigemptyset(&set);
    for (int s : kHandled) sigaddset(&set, s);
    sigprocmask(SIG_BLOCK, &set, &old_);
  }
  ~SignalsBlocked() { sigprocmask(SIG_SETMASK, &old_, nullptr); }

 private:
  sigset_t old_;
};

void AddPending(const std::string& path) {
  SignalsBlocked blocked;
  if (!g_handlers_installed) {
    for (int s : kHandled) std::signal(s, RemovePendingAndDie);
    g_handlers_installed = true;
  }
  g_pending.push_back(path);
}

void DropPending(const std::string& path) {
  SignalsBlocked blocked;
  g_pending.erase(std::remove(g_pending.begin(), g_pending.end(), path), g_pending.end());
}

mode_t NewFileMode() {
  static const mode_t mode = [] {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return static_cast<mode_t>(0666 & ~mask);
  }();
  return mode;
}

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

void CheckStatus(Status s, const std::string& what) {
  if (s != STATUS_OK) throw Error(what + ": " + DescribeStatus(s));
}

}  // namespace

FileType FileTypeOf(const std::string& path, const std::string& option) {
  const std::string ext = Lower(fs::path(path).extension().string());
  if (ext == ".tif" || ext == ".tiff") return FileType::kTiff;
  if (ext == ".raw") return FileType::kRaw;
  if (ext == ".png") return FileType::kPng;
  throw Error(option + " " + path + ": the name must end in .tif, .tiff, .raw or .png to say what to write");
}

const char* FileTypeName(FileType type) {
  switch (type) {
    case FileType::kTiff: return "TIFF";
    case FileType::kRaw: return "raw";
    case FileType::kPng: return "PNG";
  }
  return "?";
}

void CheckWritable(FileType type, ImageFormat format, uint32_t width, uint32_t height) {
  if (type == FileType::kRaw) return;
  if (format != FMT_Y8 && format != FMT_BGR24) {
    std::string why = std::string(FileTypeName(type)) + " files are written from Y8 or BGR24 pixels, not " +
                      std::string(FormatOf(format).name);
    if (type == FileType::kTiff && format == FMT_RGB24) why += " (its red and blue would come out exchanged)";
    throw Error(why + "; convert to BGR24 or Y8, or write a .raw file");
  }
  if (width > 65535 || height > 65535)
    throw Error(std::string(FileTypeName(type)) + " files are written at most 65535 pixels a side; this image is " +
                std::to_string(width) + " x " + std::to_string(height) + "; write a .raw file");
}

std::string NumberedPath(const std::string& path, uint64_t index, uint64_t count) {
  if (count == 1) return path;
  const size_t digits = std::max<size_t>(3, std::to_string(count).size());
  std::string number = std::to_string(index + 1);
  number.insert(0, digits - number.size(), '0');
  const fs::path p(path);
  return (p.parent_path() / (p.stem().string() + "-" + number + p.extension().string())).string();
}

void WriteImage(const Image& image, const std::string& path, FileType type) {
  WriteImage(image.handle(), image.data(), image.stride(), image.format(), image.width(), image.height(), path, type);
}

void WriteImage(BufferHandle handle, const uint8_t* pixels, uint32_t stride, ImageFormat format, uint32_t width,
                uint32_t height, const std::string& path, FileType type) {
  CheckWritable(type, format, width, height);
  switch (type) {
    case FileType::kTiff:
      CheckStatus(QVI_FileWrite(handle, path.c_str(), FILE_KIND_TIFF), "writing a TIFF file failed");
      return;
    case FileType::kRaw:
      CheckStatus(QVI_FileWrite(handle, path.c_str(), FILE_KIND_RAW), "writing a raw file failed");
      return;
    case FileType::kPng:
      WritePng(path, width, height, pixels, stride, format == FMT_BGR24 ? PngPixels::kBgr : PngPixels::kGrey);
      return;
  }
}

void CountInterrupts() {
  SignalsBlocked blocked;
  for (int s : kHandled) std::signal(s, CountInterrupt);
  g_handlers_installed = true;
}

int Interrupts() { return g_interrupts.load(); }

OutputSet::~OutputSet() {
  for (const Entry& e : entries_) {
    ::unlink(e.temp.c_str());
    DropPending(e.temp);
  }
}

void CheckOutputFolder(const std::string& path) {
  const fs::path target(path);
  const fs::path dir = target.has_parent_path() ? target.parent_path() : fs::path(".");
  std::error_code ec;
  if (!fs::is_directory(dir, ec)) throw Error("output folder " + dir.string() + " does not exist");
  if (fs::is_directory(target, ec)) throw Error("output " + path + " is a folder");
}

std::string OutputSet::Stage(const std::string& final_path) {
  CheckOutputFolder(final_path);
  const fs::path target(final_path);
  const fs::path dir = target.has_parent_path() ? target.parent_path() : fs::path(".");
  std::string name = target.filename().string();
  name.insert(0, 1, '.');
  name.append(".XXXXXX");
  std::string temp = (dir / name).string();
  {
    SignalsBlocked blocked;  // the file must not appear before it is listed
    const int fd = ::mkstemp(temp.data());
    if (fd < 0) throw Error("cannot create a file in " + dir.string() + ": " + std::strerror(errno));
    ::fchmod(fd, NewFileMode());
    ::close(fd);
    AddPending(temp);
  }
  entries_.push_back({temp, final_path});
  return temp;
}

void OutputSet::CommitAll() {
  while (!entries_.empty()) {
    const Entry e = entries_.front();
    if (std::rename(e.temp.c_str(), e.final.c_str()) != 0)
      throw Error("cannot rename the finished file into " + e.final + ": " + std::strerror(errno));
    entries_.erase(entries_.begin());
    DropPending(e.temp);
  }
}

}  // namespace qvi::tool
