#include "arguments.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

namespace qvi::python {
namespace {

std::string TypeName(py::handle value) { return py::str(py::type::handle_of(value).attr("__name__")); }

std::string_view Text(py::handle value, const char* arg) {
  if (!PyUnicode_Check(value.ptr()))
    throw py::type_error(std::string(arg) + " must be a str, not " + TypeName(value));
  Py_ssize_t size = 0;
  const char* text = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
  if (text == nullptr) throw py::error_already_set();
  return {text, static_cast<size_t>(size)};
}

std::string Lower(std::string_view s) {
  std::string out(s);
  std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return std::tolower(c); });
  return out;
}

template <class Code, size_t N>
Code Choose(py::handle value, const char* arg, const char* what, const std::pair<const char*, Code> (&choices)[N],
            const char* hint) {
  const std::string name = Lower(Text(value, arg));
  for (const auto& [key, code] : choices)
    if (name == key) return code;
  throw py::value_error(std::string(arg) + ": " + std::string(py::repr(value)) + " is not " + what + "; use " + hint);
}

}  // namespace

const FormatInfo& FormatArg(py::handle value, const char* arg) {
  const std::string_view name = Text(value, arg);
  const FormatInfo* format = camera::FindFormat(name);
  if (format == nullptr)
    throw py::value_error(std::string(arg) + ": " + std::string(py::repr(value)) +
                          " is not a pixel format; qvi.formats() lists them");
  return *format;
}

SourceFormat SourceFormatArg(py::handle value, const char* arg) {
  const std::string_view name = Text(value, arg);
  if (const FormatInfo* format = camera::FindFormat(name))
    return {format, std::nullopt, camera::Packing::kNone, format->name};
  if (const camera::CameraFormat* c = camera::FindCameraFormat(name))
    return {&camera::FormatOf(c->format), c->phase, c->packing, c->name};
  std::string message = std::string(arg) + ": ";
  if (const std::optional<uint32_t> code = camera::PfncCode(name))
    message += camera::DescribePixelFormat(*code) + " is a camera format qvi does not take";
  else
    message += std::string(py::repr(value)) + " is not a pixel format";
  throw py::value_error(message + "; qvi.formats() and qvi.camera_formats() list the formats it takes");
}

BayerPhase SourcePhaseArg(const SourceFormat& from, py::handle phase_arg) {
  const BayerPhase asked = PhaseArg(phase_arg);
  if (!from.phase) return asked;
  if (asked != BAYER_PHASE_A && asked != *from.phase)
    throw py::value_error("phase: " + std::string(py::repr(phase_arg)) + " contradicts " + std::string(from.name) +
                          ", whose name gives its Bayer phase; leave phase out");
  return *from.phase;
}

DemosaicMethod DemosaicMethodArg(py::handle value) {
  static constexpr std::pair<const char*, DemosaicMethod> kChoices[] = {
      {"dup", DEMOSAIC_METHOD_DUP}, {"ave", DEMOSAIC_METHOD_AVE}, {"med", DEMOSAIC_METHOD_MED}};
  return Choose(value, "method", "a demosaic method", kChoices, "'dup', 'ave' or 'med'");
}

BayerPhase PhaseArg(py::handle value) {
  static constexpr std::pair<const char*, BayerPhase> kChoices[] = {
      {"a", BAYER_PHASE_A},    {"b", BAYER_PHASE_B},    {"c", BAYER_PHASE_C},    {"d", BAYER_PHASE_D},
      {"rggb", BAYER_PHASE_A}, {"grbg", BAYER_PHASE_B}, {"gbrg", BAYER_PHASE_C}, {"bggr", BAYER_PHASE_D}};
  return Choose(value, "phase", "a Bayer phase", kChoices,
                "the colours of the top-left 2 x 2 cell: 'A' (or 'RGGB') = R G / G B, 'B' ('GRBG') = G R / B G, "
                "'C' ('GBRG') = G B / R G, 'D' ('BGGR') = B G / G R");
}

FieldToFrameMethod FieldMethodArg(py::handle value) {
  static constexpr std::pair<const char*, FieldToFrameMethod> kChoices[] = {{"linedup", FIELD_TO_FRAME_LINE_DUP},
                                                                           {"lineave", FIELD_TO_FRAME_LINE_AVE},
                                                                           {"bilinear", FIELD_TO_FRAME_BILINEAR},
                                                                           {"median", FIELD_TO_FRAME_MEDIAN}};
  return Choose(value, "method", "a de-interlacing method", kChoices,
                "'linedup', 'lineave', 'bilinear' or 'median'");
}

FieldParity ParityArg(py::handle value) {
  static constexpr std::pair<const char*, FieldParity> kChoices[] = {{"even", FIELD_PARITY_EVEN},
                                                                    {"odd", FIELD_PARITY_ODD}};
  return Choose(value, "parity", "a field parity", kChoices,
                "'even' (the field holds the frame's lines 0, 2, 4, ...) or 'odd' (lines 1, 3, 5, ...)");
}

FileKind KindArg(py::handle value) {
  static constexpr std::pair<const char*, FileKind> kChoices[] = {{"tiff", FILE_KIND_TIFF}, {"raw", FILE_KIND_RAW}};
  return Choose(value, "kind", "a file kind", kChoices, "'tiff' or 'raw'");
}

std::optional<uint32_t> WidthArg(py::handle value) {
  if (value.is_none()) return std::nullopt;
  if (!PyLong_Check(value.ptr()) || PyBool_Check(value.ptr()))
    throw py::type_error("width must be an int or None, not " + TypeName(value));
  const long long w = PyLong_AsLongLong(value.ptr());
  if (w == -1 && PyErr_Occurred()) PyErr_Clear();
  else if (w >= 0 && w <= UINT32_MAX) return static_cast<uint32_t>(w);
  throw py::value_error("width must be between 0 and 4294967295, not " + std::string(py::repr(value)));
}

unsigned ThreadsArg(py::handle value) {
  if (!PyLong_Check(value.ptr()) || PyBool_Check(value.ptr()))
    throw py::type_error("threads must be an int, not " + TypeName(value));
  const long long n = PyLong_AsLongLong(value.ptr());
  if (n == -1 && PyErr_Occurred()) PyErr_Clear();
  else if (n >= 1 && n <= 1024) return static_cast<unsigned>(n);
  throw py::value_error("threads must be between 1 and 1024, not " + std::string(py::repr(value)));
}

py::array SourceArray(py::handle value, const char* arg) {
  if (py::isinstance<py::array>(value)) return py::reinterpret_borrow<py::array>(value);
  py::array converted = py::array::ensure(value);
  if (!converted) throw py::type_error(std::string(arg) + " must be a NumPy array, not " + TypeName(value));
  return converted;
}

py::array DestinationArray(py::handle value, const char* arg) {
  if (!py::isinstance<py::array>(value))
    throw py::type_error(std::string(arg) + " must be a NumPy array, not " + TypeName(value));
  return py::reinterpret_borrow<py::array>(value);
}

}  // namespace qvi::python
