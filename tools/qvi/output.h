// Output files: their type by extension, numbered names for several frames,
// and all-or-nothing writing through temporary files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image.h"

namespace qvi::tool {

enum class FileType { kTiff, kRaw, kPng };

// .tif/.tiff, .raw or .png, in any case; anything else is an error that names
// the option.
FileType FileTypeOf(const std::string& path, const std::string& option = "--output");
const char* FileTypeName(FileType type);

// Throws unless the folder that `path` names a file in exists and `path` is
// not itself a folder.
void CheckOutputFolder(const std::string& path);

// Throws if `format` cannot be written as `type`: TIFF and PNG files are
// written from Y8 or BGR24 pixels and at most 65535 pixels a side.
void CheckWritable(FileType type, ImageFormat format, uint32_t width, uint32_t height);

// The name of output `index` (0-based) of `count`: `path` itself when count
// is 1, else "name-001.tif" and so on, with as many digits as count needs
// (at least three).
std::string NumberedPath(const std::string& path, uint64_t index, uint64_t count);

// Writes `image` to `path` as `type` (TIFF and raw through QVI_FileWrite).
void WriteImage(const Image& image, const std::string& path, FileType type);
// The same for an image the buffer library knows as `handle`, whose first
// line is at `pixels`.
void WriteImage(BufferHandle handle, const uint8_t* pixels, uint32_t stride, ImageFormat format, uint32_t width,
                uint32_t height, const std::string& path, FileType type);

// For a command that ends on Ctrl-C: from now on SIGINT, SIGTERM and SIGHUP
// only count (Interrupts()) instead of removing the pending files and ending
// the process, so that the command can stop at its next look, finish what is
// in hand and commit or remove its files itself.
void CountInterrupts();
int Interrupts();

// A set of output files that appear together or not at all.  Each file is
// written to a temporary name in its own directory; CommitAll() renames them
// all into place, and whatever was not committed is removed when the set
// ends, also when the tool is interrupted by SIGINT, SIGTERM or SIGHUP.
class OutputSet {
 public:
  OutputSet() = default;
  ~OutputSet();
  OutputSet(const OutputSet&) = delete;
  OutputSet& operator=(const OutputSet&) = delete;

  // Reserves a temporary file next to `final_path` and returns its name.
  std::string Stage(const std::string& final_path);
  void CommitAll();

 private:
  struct Entry {
    std::string temp, final;
  };
  std::vector<Entry> entries_;
};

}  // namespace qvi::tool
