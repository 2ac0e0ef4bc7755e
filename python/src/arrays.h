// How NumPy arrays hold the pixels of each format, and the checks that turn
// an array (a single image or a stack of them) into frames the library can
// be handed without a copy.
#pragma once

#include <pybind11/numpy.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "pfnc.h"
#include "qvi_formats.h"

namespace qvi::python {

namespace py = pybind11;
using camera::FormatInfo;

// The NumPy shape and dtype of a format's pixels.
struct ArrayLayout {
  uint32_t item_bytes;  // 1, 2 or 4: uint8, uint16 or uint32
  uint32_t channels;    // 0 for (H, W); 3 or 4 for (H, W, channels)
  bool packed;          // (H, bytes) of uint8: the width is not in the shape
};
ArrayLayout LayoutOf(const FormatInfo& format);
const char* DtypeName(uint32_t item_bytes);

// One frame as the library sees it.
struct Plane {
  uint8_t* data;
  uint32_t width;   // pixels
  uint32_t height;  // lines
  uint32_t stride;  // bytes from one line's start to the next
  uint32_t line;    // bytes of one line's pixels
  bool Compact() const { return stride == line; }
};

// A single image (count 1, no frame axis) or a stack of frames.
struct Frames {
  Plane first;
  size_t count = 1;
  ptrdiff_t step = 0;  // bytes from one frame to the next
  bool stack = false;
  uintptr_t lo = 0, hi = 0;  // the bytes the array spans, [lo, hi)

  Plane operator[](size_t i) const {
    Plane p = first;
    p.data += step * static_cast<ptrdiff_t>(i);
    return p;
  }
  bool Empty() const { return count == 0 || first.width == 0 || first.height == 0; }
  // Whether the frames lie back to back with compact lines.
  bool Contiguous() const;
};

// What an array is used for, which decides the checks it must pass.
enum class Role { kSource, kDestination };

// A camera's packed lines (BayerRG12p, Mono10Packed, ...): (H, bytes) of
// uint8 whose pixels are unpacked into `format` before the library sees them.
struct CameraPacking {
  camera::Packing packing = camera::Packing::kNone;
  std::string_view name;  // the camera format's, for messages
};

// Checks `array` against `format` (or, with `camera`, against that camera
// layout) and describes it.  `width` is the image width for packed formats
// (and must match the shape for the others); without it a packed array's
// width is taken from its whole pixel groups.  Errors are TypeError or
// ValueError naming `arg`.
Frames Describe(const py::array& array, const FormatInfo& format, std::optional<uint32_t> width, const char* arg,
                Role role, const CameraPacking& camera = {});

// The shape of `count` frames (no frame axis unless `stack`) of `height`
// lines of `format`; `row` is the width in pixels, or in bytes when packed.
std::vector<py::ssize_t> ShapeOf(const FormatInfo& format, bool stack, size_t count, uint32_t height, uint32_t row);

// A new array of that shape; zeroed when `zeroed`.
py::array NewArray(const FormatInfo& format, const std::vector<py::ssize_t>& shape, bool zeroed);

// Checks that `out` has exactly `shape` (its dtype and layout were checked by
// Describe), naming the expected shape in the error.
void CheckShape(const py::array& out, const std::vector<py::ssize_t>& shape);

// Whether the byte spans of two arrays meet.
inline bool Overlap(const Frames& a, const Frames& b) { return a.lo < b.hi && b.lo < a.hi; }

// "(2, 3, 4)"
std::string ShapeText(const std::vector<py::ssize_t>& shape);

}  // namespace qvi::python
