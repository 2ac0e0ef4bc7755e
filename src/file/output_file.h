// What the two file writers share: opening the output and the failure texts.
//
// The library reports failures by status alone.  The texts that describe
// them are still formatted, bounded, into a local buffer and then dropped, so
// that what a failure would say is written down in one place and a path of
// any length cannot overflow anything.
#pragma once

#include <cstdint>
#include <cstdio>

namespace qvi::file {

// Room for a failure text; longer texts (very long paths) are cut.
inline constexpr int kMessageCapacity = 128;

// fopen(path, "wb"); on failure (a null path included) formats
// "Failed to open file %20s for writing", drops it and returns nullptr.
FILE* OpenForWriting(const char* path);

// Formats "Unrecognised Image Format [%d] in <where>" with the format code as
// a signed number (0xC0022601 reads -1073601023) and drops it.
void DropFormatMessage(uint32_t format, const char* where);

// A buffer for the stream, on the writer's stack.  stdio's own is 4 KiB, so
// every block handed to it would cost a 4 KiB write and then one of the rest;
// through 64 KiB (and BoundaryWriter) the kernel gets whole 64 KiB writes at
// 64 KiB boundaries of the file, which it takes at far less cost per byte.
// It must outlive the stream: declare it before opening and close every path.
inline constexpr uint32_t kStreamBufferBytes = 64 * 1024;
struct StreamBuffer {
  alignas(64) char bytes[kStreamBufferBytes];
};

// Gives `stream` (just opened, nothing written yet) `buffer`; if stdio
// refuses, the stream keeps its own and only the speed differs.
inline void UseStreamBuffer(FILE* stream, StreamBuffer& buffer) {
  static_cast<void>(std::setvbuf(stream, buffer.bytes, _IOFBF, sizeof buffer.bytes));
}

// Hands a long run of bytes to a stream that writes through a StreamBuffer.
// The buffer fills from wherever the stream stands (after a seek, any
// offset), so each of its writes would straddle two 64 KiB boundaries of the
// file; the writer sends the bytes up to the next boundary on their own
// (fflush) once, and every full buffer after that ends on a boundary.  The
// bytes and their order are those of plain fwrite calls; errors stay in the
// stream, as fwrite leaves them.
class BoundaryWriter {
 public:
  explicit BoundaryWriter(FILE* stream);
  void Write(const uint8_t* data, uint64_t bytes);

 private:
  FILE* stream_;
  uint64_t to_boundary_;  // bytes before the first boundary; 0 once reached
};

// Closes a stream on a failure path; the failure being reported wins over
// whatever fclose says.
inline void CloseAfterFailure(FILE* stream) { static_cast<void>(std::fclose(stream)); }

}  // namespace qvi::file
