#include "file/output_file.h"

namespace qvi::file {

FILE* OpenForWriting(const char* path) {
  FILE* stream = path != nullptr ? std::fopen(path, "wb") : nullptr;
  if (stream == nullptr) {
    char text[kMessageCapacity];
    static_cast<void>(std::snprintf(text, sizeof text, "Failed to open file %20s for writing",
                                    path != nullptr ? path : "(null)"));
  }
  return stream;
}

BoundaryWriter::BoundaryWriter(FILE* stream) : stream_(stream), to_boundary_(0) {
  const long at = std::ftell(stream);  // -1 if unknown: no alignment, same bytes
  if (at > 0) to_boundary_ = (kStreamBufferBytes - static_cast<uint64_t>(at) % kStreamBufferBytes) % kStreamBufferBytes;
}

void BoundaryWriter::Write(const uint8_t* data, uint64_t bytes) {
  if (to_boundary_ > 0 && bytes >= to_boundary_) {
    static_cast<void>(std::fwrite(data, 1, static_cast<size_t>(to_boundary_), stream_));
    static_cast<void>(std::fflush(stream_));
    data += to_boundary_;
    bytes -= to_boundary_;
    to_boundary_ = 0;
  } else if (to_boundary_ > 0) {
    to_boundary_ -= bytes;
  }
  static_cast<void>(std::fwrite(data, 1, static_cast<size_t>(bytes), stream_));
}

void DropFormatMessage(uint32_t format, const char* where) {
  char text[kMessageCapacity];
  static_cast<void>(std::snprintf(text, sizeof text, "Unrecognised Image Format [%d] in %s",
                                  static_cast<int>(static_cast<int32_t>(format)), where));
}

}  // namespace qvi::file
