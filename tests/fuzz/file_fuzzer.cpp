// The file writers over guard-page buffers, writing into a directory of their
// own: kind, format, geometry and path drawn from the input.  The buffer may
// be read only within stride x height bytes (the TIFF writer) and is never
// written; no descriptor may stay open; a finished file has exactly the size
// its kind and geometry give, and a call refused before opening leaves no file.
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "fuzz/fuzz_input.h"
#include "support/qvb_buffer.h"

namespace qvi::fuzz {

constexpr uint32_t kFormats[] = {FMT_Y8, FMT_BGR24, FMT_RGB24, FMT_Y16, FMT_BGRX32, 0, 0x11, 0x01};
constexpr uint32_t kBytes[] = {1, 3, 3, 2, 4, 1, 3, 1};

// A scratch directory for the whole run, removed when the program exits
// (each run unlinks its file at once).
const struct ScratchDirectory {
  std::string path = std::filesystem::temp_directory_path() / "qvi-fuzz-XXXXXX";
  ScratchDirectory() { Check(mkdtemp(path.data()) != nullptr, "no scratch directory"); }
  ~ScratchDirectory() { rmdir(path.c_str()); }
} kScratch;

// The lowest free descriptor: it moves up when a call leaves one open.
int LowestFreeDescriptor() {
  const int fd = open("/dev/null", O_RDONLY);
  if (fd >= 0) close(fd);
  return fd;
}

void Run(FuzzInput& in) {
  const uint32_t call = in.Below(6), f = in.Below(8), format = kFormats[f];
  const uint32_t w = in.Below(300), h = in.Below(12);
  const uint32_t stride = in.Stride(w * kBytes[f]);
  const uint32_t faults = in.Byte(), where = in.Below(8);
  test::FencedMemory memory(uint64_t{stride} * h, in.PickFence(), 0);
  in.Fill(memory.data(), memory.size());
  test::QvbBuffer buffer(faults & 1 ? nullptr : memory.data(), format, w, h, stride);

  // Mostly the file; else in a missing directory, a directory, a name too long.
  const std::string& dir = kScratch.path;
  const std::string file = dir + "/image";
  const std::string paths[] = {file, dir + "/missing/image", dir, dir + "/" + std::string(300, 'x')};
  const std::string& path = paths[where < 5 ? 0 : where - 4];
  const BufferHandle handle = faults & 2 ? kGone : buffer.handle();
  const std::vector<uint8_t> before = Bytes(memory);
  const int lowest_free = LowestFreeDescriptor();

  // Kinds 0, 1 and 4 are not file kinds; call 5 is the TIFF writer itself.
  const uint32_t kind = call < 5 ? call : FILE_KIND_TIFF;
  const Status status = call < 5 ? QVI_FileWrite(handle, path.c_str(), kind) : QVI_FileWriteTiff(handle, path.c_str());
  struct stat st;
  const long long size = stat(file.c_str(), &st) == 0 ? static_cast<long long>(st.st_size) : -1;
  unlink(file.c_str());

  Check(Bytes(memory) == before, "the buffer was written");
  Check(LowestFreeDescriptor() == lowest_free, "a descriptor was left open", status);
  const bool grey = format == FMT_Y8;
  const long long tiff_size = (grey ? 186 : 204) + static_cast<long long>(w) * h * (grey ? 1 : 3);
  const long long raw_size = static_cast<long long>(uint64_t{h} * stride);
  if (status == STATUS_OK) {
    Check(path == file && size == (kind == FILE_KIND_RAW ? raw_size : tiff_size), "size of a written file", size);
  } else if (status == STATUS_BAD_FORMAT) {
    Check(path != file || size == 8, "an unknown format left more than the header", size);
  } else if (status == STATUS_BAD_BUFFER) {
    Check(size == -1 || (format == FMT_Y16 && size == 130), "a refused buffer left a file", size);
  } else {
    Check(status == STATUS_BAD_PARAMETER || status == STATUS_OPEN_FAILED, "undocumented status", status);
    Check(size == -1, "a refused kind or an open failure left a file");
  }
}

}  // namespace qvi::fuzz
