#include "arrays.h"

#include <pybind11/stl.h>

#include <bit>
#include <string>

#include "unpack.h"

namespace qvi::python {
namespace {

// The dtype byte-order character of the other endianness.
constexpr char kForeignOrder = std::endian::native == std::endian::little ? '>' : '<';

bool IsXFormat(ImageFormat code) {
  return code == FMT_XBGR32 || code == FMT_BGRX32 || code == FMT_XRGB32 || code == FMT_RGBX32;
}

// The library rounds a line's gap down to this many bytes for the format,
// so a stride that is not a multiple of it would shift the lines.
uint32_t StrideUnit(const FormatInfo& f) {
  if (f.code == FMT_YUV422) return 2;
  if (f.pixels_per_group != 1) return 1;
  if (f.group_bytes == 2 || f.group_bytes == 6) return 2;
  if (f.group_bytes == 4) return 4;
  return 1;
}

std::string ExpectedShape(const ArrayLayout& layout) {
  if (layout.packed) return "(H, bytes)";
  if (layout.channels) return "(H, W, " + std::to_string(layout.channels) + ")";
  return "(H, W)";
}

std::string Shape(const py::array& a) {
  return ShapeText(std::vector<py::ssize_t>(a.shape(), a.shape() + a.ndim()));
}

[[noreturn]] void TooLarge(const char* arg) {
  throw py::value_error(std::string(arg) + " is too large: the library addresses at most 4 GiB per frame");
}

uint32_t Fit32(uint64_t v, const char* arg) {
  if (v > UINT32_MAX) TooLarge(arg);
  return static_cast<uint32_t>(v);
}

}  // namespace

ArrayLayout LayoutOf(const FormatInfo& f) {
  if (f.pixels_per_group != 1) return {1, 0, true};
  switch (f.group_bytes) {
    case 1: return {1, 0, false};
    case 2: return {2, 0, false};
    case 3: return {1, 3, false};
    case 4: return IsXFormat(f.code) ? ArrayLayout{1, 4, false} : ArrayLayout{4, 0, false};
    default: return {2, 3, false};  // 6 bytes: three 16-bit words
  }
}

const char* DtypeName(uint32_t item_bytes) {
  return item_bytes == 1 ? "uint8" : item_bytes == 2 ? "uint16" : "uint32";
}

std::string ShapeText(const std::vector<py::ssize_t>& shape) {
  std::string s = "(";
  for (size_t i = 0; i < shape.size(); ++i) s += (i ? ", " : "") + std::to_string(shape[i]);
  return s + (shape.size() == 1 ? ",)" : ")");
}

bool Frames::Contiguous() const {
  return first.Compact() && (count <= 1 || step == static_cast<ptrdiff_t>(uint64_t{first.stride} * first.height));
}

Frames Describe(const py::array& a, const FormatInfo& f, std::optional<uint32_t> width, const char* arg, Role role,
                const CameraPacking& camera) {
  const bool unpacks = camera.packing != camera::Packing::kNone;
  const ArrayLayout layout = unpacks ? ArrayLayout{1, 0, true} : LayoutOf(f);
  const std::string name(unpacks ? camera.name : f.name);
  const py::dtype dtype = a.dtype();
  if (dtype.kind() != 'u' || dtype.itemsize() != layout.item_bytes || dtype.byteorder() == kForeignOrder)
    throw py::type_error(std::string(arg) + " must be an array of " + DtypeName(layout.item_bytes) + " for " + name +
                         ", not " + std::string(py::str(static_cast<const py::handle&>(dtype))));

  const int base = layout.channels ? 3 : 2;
  const int nd = static_cast<int>(a.ndim());
  const std::string expected = ExpectedShape(layout);
  if ((nd != base && nd != base + 1) || (layout.channels && a.shape(nd - 1) != layout.channels))
    throw py::value_error(std::string(arg) + " must have shape " + expected + ", or (N, " + expected.substr(1) +
                          " for a stack of frames, for " + name + "; it has shape " + Shape(a));

  const int r = nd - base;  // the line axis
  const py::ssize_t height = a.shape(r), cols = a.shape(r + 1);
  const py::ssize_t item = layout.item_bytes;
  const py::ssize_t pixel = layout.channels ? layout.channels * item : item;
  // An empty array's strides mean nothing.
  const bool empty = a.size() == 0;
  if (!empty && ((cols > 1 && a.strides(r + 1) != pixel) || (layout.channels && a.strides(r + 2) != item)))
    throw py::value_error(std::string(arg) + ": the pixels of each line must lie next to each other in memory (its "
                          "strides are " + ShapeText({a.strides(), a.strides() + nd}) +
                          "); pass numpy.ascontiguousarray(" + arg + ")");

  Frames fr;
  Plane& p = fr.first;
  p.data = static_cast<uint8_t*>(const_cast<void*>(a.data()));
  if (layout.packed) {
    if (width) {
      const std::optional<uint32_t> line =
          unpacks ? std::optional<uint32_t>(Fit32(camera::PackedLineBytes(camera.packing, *width), arg))
                  : camera::LineBytes(f, *width);
      if (!line) TooLarge(arg);
      if (cols < static_cast<py::ssize_t>(*line))
        throw py::value_error(std::string(arg) + " has lines of " + std::to_string(cols) + " bytes, fewer than the " +
                              std::to_string(*line) + " bytes of width=" + std::to_string(*width) + " " + name +
                              " pixels");
      p.width = *width;
      p.line = *line;
    } else {
      p.width = Fit32(static_cast<uint64_t>(cols) / f.group_bytes * f.pixels_per_group, arg);
      p.line = Fit32(static_cast<uint64_t>(cols), arg);
    }
  } else {
    if (width && static_cast<py::ssize_t>(*width) != cols)
      throw py::value_error("width=" + std::to_string(*width) + " does not match the " + std::to_string(cols) +
                            " pixels of each line of " + arg + "; leave it out for " + name);
    p.width = Fit32(static_cast<uint64_t>(cols), arg);
    p.line = Fit32(uint64_t{p.width} * f.group_bytes, arg);
  }
  p.height = Fit32(static_cast<uint64_t>(height), arg);

  const auto address = reinterpret_cast<uintptr_t>(p.data);
  if (!empty &&
      (address % item != 0 || (height > 1 && a.strides(r) % item != 0) ||
       (r == 1 && a.shape(0) > 1 && a.strides(0) % item != 0)))
    throw py::value_error(std::string(arg) + " is not aligned: its " + DtypeName(layout.item_bytes) +
                          " elements must lie at multiples of " + std::to_string(item) + " bytes");

  if (height <= 1 || empty) {
    p.stride = p.line;
  } else {
    const py::ssize_t rs = a.strides(r);
    if (rs < 0)
      throw py::value_error(std::string(arg) + " has its lines in reverse order (a negative stride); pass a copy");
    if (rs < static_cast<py::ssize_t>(p.line))
      throw py::value_error("the lines of " + std::string(arg) + " overlap: they start " + std::to_string(rs) +
                            " bytes apart and are " + std::to_string(p.line) + " bytes long");
    const uint32_t unit = unpacks ? 1 : StrideUnit(f);
    if (rs % unit != 0)
      throw py::value_error("the lines of " + std::string(arg) + " must start a multiple of " + std::to_string(unit) +
                            " bytes apart for " + name + "; they are " + std::to_string(rs) + " bytes apart");
    p.stride = Fit32(static_cast<uint64_t>(rs), arg);
  }
  Fit32(uint64_t{p.stride} * p.height, arg);

  if (r == 1) {
    fr.stack = true;
    fr.count = static_cast<size_t>(a.shape(0));
    fr.step = a.strides(0);
  }
  if (role == Role::kDestination) {
    if (!a.writeable()) throw py::value_error(std::string(arg) + " is read-only");
    const uint64_t span = uint64_t{p.stride} * (p.height ? p.height - 1 : 0) + p.line;
    if (fr.count > 1 && !fr.Empty() && static_cast<uint64_t>(fr.step < 0 ? -fr.step : fr.step) < span)
      throw py::value_error("the frames of " + std::string(arg) + " overlap in memory");
  }

  // The bytes the array spans, as numpy.byte_bounds counts them.
  fr.lo = fr.hi = address;
  for (int i = 0; i < nd && !empty; ++i) {
    const py::ssize_t reach = a.strides(i) * (a.shape(i) - 1);
    (reach < 0 ? fr.lo : fr.hi) += reach;
  }
  if (!empty) fr.hi += item;
  return fr;
}

std::vector<py::ssize_t> ShapeOf(const FormatInfo& f, bool stack, size_t count, uint32_t height, uint32_t row) {
  const ArrayLayout layout = LayoutOf(f);
  std::vector<py::ssize_t> shape;
  if (stack) shape.push_back(static_cast<py::ssize_t>(count));
  shape.push_back(height);
  shape.push_back(row);
  if (layout.channels) shape.push_back(layout.channels);
  return shape;
}

py::array NewArray(const FormatInfo& f, const std::vector<py::ssize_t>& shape, bool zeroed) {
  const uint32_t item = LayoutOf(f).item_bytes;
  const py::dtype dtype = item == 1 ? py::dtype::of<uint8_t>() : item == 2 ? py::dtype::of<uint16_t>()
                                                                           : py::dtype::of<uint32_t>();
  if (!zeroed) return py::array(dtype, shape);
  // numpy.zeros takes pages the system hands out zeroed, with no pass over
  // them; kept for the life of the process.
  static const py::handle zeros = py::object(py::module_::import("numpy").attr("zeros")).release();
  return zeros(py::tuple(py::cast(shape)), dtype);
}

void CheckShape(const py::array& out, const std::vector<py::ssize_t>& shape) {
  const std::vector<py::ssize_t> got(out.shape(), out.shape() + out.ndim());
  if (got != shape) throw py::value_error("out must have shape " + ShapeText(shape) + ", not " + ShapeText(got));
}

}  // namespace qvi::python
