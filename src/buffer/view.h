// What the library knows of one buffer, as the buffer library answered:
// each operation asks for the fields it needs (buffer/queries.h) and leaves
// the others 0.
#pragma once

#include <cstdint>

namespace qvi {

struct View {
  uint8_t* address = nullptr;  // of line 0; null when the buffer has no memory
  uint32_t stride = 0;         // bytes from one line to the next
  uint32_t width = 0;          // pixels
  uint32_t height = 0;         // lines
  uint32_t format = 0;         // the whole ImageFormat code

  // Line y, `stride` bytes a line.
  uint8_t* Line(uint32_t y) const { return address + uint64_t{y} * stride; }
};

}  // namespace qvi
