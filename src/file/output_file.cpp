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

void DropFormatMessage(uint32_t format, const char* where) {
  char text[kMessageCapacity];
  static_cast<void>(std::snprintf(text, sizeof text, "Unrecognised Image Format [%d] in %s",
                                  static_cast<int>(static_cast<int32_t>(format)), where));
}

}  // namespace qvi::file
