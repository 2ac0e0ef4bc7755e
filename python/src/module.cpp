// qvi._qvi: the extension behind the qvi package.  NumPy arrays are handed
// to the library as buffers of the bundled buffer library over the arrays'
// own memory; the GIL is released around every library call.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <exception>
#include <string>

#include "arguments.h"
#include "arrays.h"
#include "jobs.h"

namespace qvi::python {
namespace {

// A library call that failed; raised in Python as qvi.Error.
class LibraryError : public std::exception {
 public:
  LibraryError(Status status, const std::string& call)
      : status_(status), message_(call + " failed: " + camera::DescribeStatus(status)) {}
  const char* what() const noexcept override { return message_.c_str(); }
  Status status() const { return status_; }

 private:
  Status status_;
  std::string message_;
};

std::string Name(const FormatInfo& f) { return std::string(f.name); }

std::string FrameText(const Frames& frames, size_t i) {
  return frames.stack ? " on frame " + std::to_string(i) + " of " + std::to_string(frames.count) : "";
}

const char* PhaseLetter(BayerPhase phase) {
  switch (phase) {
    case BAYER_PHASE_A: return "A";
    case BAYER_PHASE_B: return "B";
    case BAYER_PHASE_C: return "C";
    default: return "D";
  }
}

const char* MethodName(DemosaicMethod method) {
  return method == DEMOSAIC_METHOD_DUP ? "dup" : method == DEMOSAIC_METHOD_AVE ? "ave" : "med";
}

bool LeavesXBytes(const FormatInfo& f) { return LayoutOf(f).channels == 4; }

// QVI_Convert may convert in place between formats of one pixel size, a
// Bayer source excepted: the same memory at the same strides.
bool InPlace(const ConvertJob& job) {
  return job.src.first.data == job.dst.first.data && job.src.first.stride == job.dst.first.stride &&
         (job.src.count <= 1 || job.src.step == job.dst.step) && job.from->pixels_per_group == 1 &&
         job.from->group_bytes == job.to->group_bytes && !camera::IsBayer(job.from->code) &&
         job.packing == camera::Packing::kNone;
}

// Checks the arguments of a conversion and describes source and destination
// (allocating the destination when `out` is None).
ConvertJob PlanConvert(py::handle src_arg, py::handle from_arg, py::handle to_arg, py::handle method_arg,
                       py::handle phase_arg, py::handle width_arg, py::handle out_arg, py::array& out) {
  const SourceFormat from = SourceFormatArg(from_arg, "from_format");
  const FormatInfo& f = *from.format;
  const FormatInfo& to = FormatArg(to_arg, "to_format");
  const DemosaicMethod method = DemosaicMethodArg(method_arg);
  const BayerPhase phase = SourcePhaseArg(from, phase_arg);
  const std::optional<uint32_t> width = WidthArg(width_arg);
  if (!HasRoute(f, to))
    throw py::value_error("to_format: the library has no conversion from " + Name(f) + " to " + Name(to) +
                          "; qvi.conversions() lists the conversions");
  const py::array src = SourceArray(src_arg, "src");
  const bool unpacks = from.packing != camera::Packing::kNone;
  if ((unpacks || LayoutOf(f).packed) && !width)
    throw py::value_error("width is required for " + std::string(from.name) +
                          ": src holds the bytes of each line, (H, bytes), and the width in pixels is not in its shape");

  ConvertJob job{&f, &to, method, phase, Describe(src, f, width, "src", Role::kSource, {from.packing, from.name}), {},
                 from.packing};
  const Plane& s = job.src.first;
  if (camera::IsBayer(f.code) && job.src.count > 0 && (s.width < 2 || s.height < 2))
    throw py::value_error("src: a Bayer mosaic needs at least 2 x 2 pixels; it has " + std::to_string(s.width) +
                          " x " + std::to_string(s.height));
  const std::optional<uint32_t> to_line = camera::LineBytes(to, s.width);
  if (!to_line || uint64_t{*to_line} * s.height > UINT32_MAX)
    throw py::value_error("src is too large: its " + Name(to) + " frames would exceed the 4 GiB the library addresses");
  const std::vector<py::ssize_t> shape = ShapeOf(to, job.src.stack, job.src.count, s.height, s.width);
  out = out_arg.is_none() ? NewArray(to, shape, LeavesXBytes(to)) : DestinationArray(out_arg, "out");
  job.dst = Describe(out, to, std::nullopt, "out", Role::kDestination);
  CheckShape(out, shape);
  if (Overlap(job.src, job.dst) && !InPlace(job))
    throw py::value_error("out overlaps src in memory; only a conversion in place (the same memory at the same "
                          "strides, between formats of one pixel size, not from a Bayer mosaic) may share it");
  job.Prepare();
  return job;
}

py::array Convert(py::handle src_arg, py::handle from_arg, py::handle to_arg, py::handle method_arg,
                  py::handle phase_arg, py::handle width_arg, py::handle out_arg, py::handle threads_arg) {
  const unsigned threads = ThreadsArg(threads_arg);
  py::array out;
  const ConvertJob job = PlanConvert(src_arg, from_arg, to_arg, method_arg, phase_arg, width_arg, out_arg, out);
  if (job.src.Empty()) return out;
  std::optional<Failure> failure;
  {
    py::gil_scoped_release release;
    failure = Run(job, threads);
  }
  if (failure) {
    std::string call = "QVI_Convert from " + Name(*job.from) + " to " + Name(*job.to);
    if (camera::IsBayer(job.from->code))
      call += std::string(" (method '") + MethodName(job.method) + "', phase " + PhaseLetter(job.phase) + ")";
    throw LibraryError(failure->status, call + FrameText(job.src, failure->frame));
  }
  return out;
}

py::array Deinterlace(py::handle field_arg, py::handle format_arg, py::handle method_arg, py::handle parity_arg,
                      py::handle out_arg, py::handle threads_arg) {
  const FormatInfo& f = FormatArg(format_arg, "format");
  const FieldToFrameMethod method = FieldMethodArg(method_arg);
  const FieldParity parity = ParityArg(parity_arg);
  const unsigned threads = ThreadsArg(threads_arg);
  if (!Deinterlaces(f, method))
    throw py::value_error("method: " + std::string(py::repr(method_arg)) + " does not take " + Name(f) +
                          " fields; bilinear and median take Y8, BGR24, RGB24, the four 32-bit X formats and "
                          "YUV422, linedup and lineave any format");
  const py::array field = SourceArray(field_arg, "field");
  DeinterlaceJob job{&f, method, parity, Describe(field, f, std::nullopt, "field", Role::kSource), {}};
  const Plane& s = job.field.first;
  const uint64_t lines = uint64_t{s.height} * 2;
  if (uint64_t{s.line} * lines > UINT32_MAX)
    throw py::value_error("field is too large: its frames would exceed the 4 GiB the library addresses");
  const std::vector<py::ssize_t> shape = ShapeOf(f, job.field.stack, job.field.count, static_cast<uint32_t>(lines),
                                                 LayoutOf(f).packed ? s.line : s.width);
  // The median gives 32-bit pixels a shorter line and leaves the end of the
  // frame unwritten.
  const bool zeroed = method == FIELD_TO_FRAME_MEDIAN && LeavesXBytes(f);
  py::array out = out_arg.is_none() ? NewArray(f, shape, zeroed) : DestinationArray(out_arg, "out");
  job.frame = Describe(out, f, std::nullopt, "out", Role::kDestination);
  CheckShape(out, shape);
  if (job.frame.first.stride != s.line)
    throw py::value_error("out: the lines of a frame must lie back to back, " + std::to_string(s.line) +
                          " bytes apart; the library lays them out at the field's line length");
  if (Overlap(job.field, job.frame)) throw py::value_error("out overlaps field in memory");
  if (job.field.Empty()) return out;
  std::optional<Failure> failure;
  {
    py::gil_scoped_release release;
    failure = Run(job, threads);
  }
  if (failure) throw LibraryError(failure->status, "QVI_FieldToFrame of " + Name(f) + FrameText(job.field, failure->frame));
  return out;
}

void WriteFileTo(py::handle path_arg, py::handle image_arg, py::handle format_arg, py::handle kind_arg) {
  if (!PyBytes_Check(path_arg.ptr())) throw py::type_error("path must be bytes (os.fsencode of the path)");
  const std::string path = py::reinterpret_borrow<py::bytes>(path_arg);
  if (path.find('\0') != std::string::npos) throw py::value_error("path contains a NUL byte");
  const FormatInfo& f = FormatArg(format_arg, "format");
  const FileKind kind = KindArg(kind_arg);
  if (kind == FILE_KIND_TIFF && f.code != FMT_Y8 && f.code != FMT_BGR24 && f.code != FMT_RGB24)
    throw py::value_error("format: TIFF files are written from Y8, BGR24 or RGB24 pixels, not " + Name(f) +
                          "; convert the image first, or write kind='raw'");
  const py::array image = SourceArray(image_arg, "image");
  const Frames frames = Describe(image, f, std::nullopt, "image", Role::kSource);
  if (kind == FILE_KIND_TIFF && frames.stack)
    throw py::value_error("image: a TIFF file holds one image, not a stack of " + std::to_string(frames.count) +
                          " frames; write each frame, or kind='raw'");
  if (kind == FILE_KIND_TIFF && (frames.first.width > 0xFFFF || frames.first.height > 0xFFFF))
    throw py::value_error("image: a TIFF file holds at most 65535 x 65535 pixels");
  if (kind == FILE_KIND_RAW && uint64_t{frames.first.line} * frames.first.height * frames.count > UINT32_MAX)
    throw py::value_error("image is too large for one raw file: the library writes at most 4 GiB");
  Status status;
  {
    py::gil_scoped_release release;
    status = WriteFile(frames, f, path, kind);
  }
  if (status != STATUS_OK) throw LibraryError(status, "QVI_FileWrite");
}

py::list FormatTable() {
  py::list table;
  for (const FormatInfo& f : camera::AllFormats()) {
    const ArrayLayout layout = LayoutOf(f);
    table.append(py::make_tuple(Name(f), f.code, f.group_bytes, f.pixels_per_group, DtypeName(layout.item_bytes),
                                layout.channels, layout.packed, std::string(f.layout)));
  }
  return table;
}

const char* PackingName(camera::Packing packing) {
  switch (packing) {
    case camera::Packing::kLsb10:
    case camera::Packing::kLsb12: return "p";
    case camera::Packing::kGrouped10:
    case camera::Packing::kGrouped12: return "Packed";
    case camera::Packing::kNone: break;
  }
  return "";
}

py::list CameraFormatTable() {
  py::list table;
  for (const camera::CameraFormat& c : camera::CameraFormats()) {
    const py::object phase = c.phase ? py::str(PhaseLetter(*c.phase)) : py::object(py::none());
    table.append(py::make_tuple(std::string(c.name), c.code, Name(camera::FormatOf(c.format)), phase,
                                PackingName(c.packing), c.bits));
  }
  return table;
}

py::list ConversionTable() {
  py::list table;
  for (const FormatInfo& f : camera::AllFormats()) {
    py::list to;
    for (const FormatInfo* t : camera::ConversionsFrom(f)) to.append(Name(*t));
    if (!to.empty()) table.append(py::make_tuple(Name(f), py::tuple(to)));
  }
  return table;
}

py::str FormatName(py::handle name, py::handle arg) {
  return Name(FormatArg(name, std::string(py::str(arg)).c_str()));
}

std::vector<double> TimeLibrary(py::handle src, py::handle from_format, py::handle to_format, py::handle method,
                                py::handle phase, py::handle out, size_t repeat) {
  py::array dst;
  const ConvertJob job = PlanConvert(src, from_format, to_format, method, phase, py::none(), out, dst);
  if (job.src.stack || job.src.Empty() || job.stage_source || job.widen || job.taller_destination)
    throw py::value_error("time one non-empty frame whose conversion needs no copy (an even width)");
  py::gil_scoped_release release;
  return TimeLibraryConvert(job, repeat);
}

constexpr const char* kConvertDoc = R"(convert(src, from_format, to_format='BGR24', *, method='ave', phase='A', width=None, out=None, threads=1)
--

Convert an image, or every frame of a stack, from one pixel format to another.

The array's own memory is handed to the library: no copy is made when each
line's pixels lie next to each other, so crops, ``a[::2]`` and arrays with
padded rows are converted where they are (the row stride becomes the
buffer's stride).  Pixels that are not next to each other within a line
raise ValueError.  The GIL is released while the library works.

Parameters
----------
src : numpy.ndarray
    One image, or a stack of N frames with a leading axis:

    - grey and Bayer formats: (H, W), uint8 for the 8-bit ones, uint16
      (right-aligned samples) for the 10- to 16-bit ones;
    - RGB15, BGR15, RGB16, BGR16: (H, W) uint16;
    - BGR24, RGB24: (H, W, 3) uint8; the 32-bit X formats (H, W, 4) uint8;
    - BGR48, RGB48, BGR36, TRIPLE16: (H, W, 3) uint16;
    - Y32, RGB30, BGR30: (H, W) uint32;
    - Y12P and YUV422, packed: (H, bytes) uint8, with ``width`` given;
    - a camera's packed lines (Mono12p, BayerRG10Packed, ...): (H, bytes)
      uint8 with ``width`` given; each frame is unpacked into 16-bit words
      (a scratch copy) before the library converts it.
from_format, to_format : str
    Format names as ``qvi.formats()`` lists them (case does not matter).
    ``qvi.conversions()`` lists the pairs the library converts.
    ``from_format`` also takes the camera (PFNC) names that
    ``qvi.camera_formats()`` lists, exactly as cameras spell them: "Mono8",
    "BayerRG12p", "Mono12Packed"; a Bayer name brings its phase.
method : {'ave', 'dup', 'med'}
    Demosaic method of a Bayer source (ignored for other sources).
phase : {'A', 'B', 'C', 'D'}
    Colours of a Bayer source's top-left 2 x 2 cell: A = R G / G B,
    B = G R / B G, C = G B / R G, D = B G / G R ('RGGB', 'GRBG', 'GBRG' and
    'BGGR' are taken too).  Ignored for other sources.  A camera Bayer
    name fixes the phase (BayerGR8 is 'B'); any other phase than the
    default raises ValueError.
width : int, optional
    Width in pixels of a packed source (Y12P, YUV422 or a packed camera
    format); for other formats it must be left out or equal the shape's.
out : numpy.ndarray, optional
    Destination of exactly the result's shape and dtype; its rows may be
    padded.  Nothing outside its pixels is written.  It may be ``src``
    itself for a conversion between formats of one pixel size (not from a
    Bayer mosaic); any other overlap raises ValueError.
threads : int
    Threads converting the frames of a stack at once (frames are the unit
    of work: a single image uses one thread).

Returns
-------
numpy.ndarray
    ``out``, or a new array of the natural shape and dtype of ``to_format``
    (a leading frame axis for a stack).  The X bytes of the 32-bit X
    formats that a conversion leaves alone are 0 in a new array and keep
    their value in ``out``.

Raises
------
TypeError
    A wrong type or dtype, naming the argument.
ValueError
    A wrong shape, layout, format name, pair of formats, method or phase,
    naming the argument.
qvi.Error
    The library refused the call (for example STATUS_BAD_BAYER_MODE: RGBX32
    is demosaiced by 'dup' only).

Notes
-----
The result equals the library's result for the image's bytes laid out
line after line with zero bytes after the last line, as in a raw capture.
Where the library reads past the end of a line (the 'ave' and 'med'
demosaic of an odd width, 'med' into RGB16 at phase C, RGB30 into RGB48 of
padded rows), the frame is converted from such a compact copy, so the
result never depends on memory outside the array and nothing outside it is
read.  Y12P and YUV422 of an odd width are converted as one pixel wider (the
library writes pixels in pairs) and the extra pixel is dropped.
)";

constexpr const char* kDeinterlaceDoc = R"(deinterlace(field, format, method='bilinear', parity='even', out=None, *, threads=1)
--

Make a frame of 2H lines from a field of H lines (or every field of a stack).

Parameters
----------
field : numpy.ndarray
    One field, or a stack of N fields, shaped as for ``convert`` (packed
    formats as (H, bytes)).  A field with padded rows is de-interlaced from
    a compact copy: the library reads and writes whole lines.
format : str
    The field's pixel format.
method : {'bilinear', 'median', 'linedup', 'lineave'}
    'linedup' repeats a field line, 'lineave' averages the two around each
    missing line, 'bilinear' and 'median' weigh six bytes.  'bilinear' and
    'median' take Y8, BGR24, RGB24, the four 32-bit X formats and YUV422;
    the line methods take any format.
parity : {'even', 'odd'}
    'even': the field holds the frame's lines 0, 2, 4, ...; 'odd': 1, 3, 5, ...
out : numpy.ndarray, optional
    Destination of exactly the result's shape and dtype with its lines
    back to back (its frames may lie anywhere).
threads : int
    Threads de-interlacing the fields of a stack at once.

Returns
-------
numpy.ndarray
    ``out``, or a new array of shape (2H, ...) (or (N, 2H, ...)) and the
    field's dtype.  Every byte is the library's, padding of packed lines
    included; 'median' on the 32-bit X formats leaves the end of each frame
    unwritten by design (0 in a new array).
)";

constexpr const char* kModuleDoc = R"(The compiled core of the qvi package; use the names in qvi instead.)";

}  // namespace
}  // namespace qvi::python

PYBIND11_MODULE(_qvi, m) {
  using namespace qvi::python;
  py::options options;
  options.disable_function_signatures();
  m.doc() = kModuleDoc;
  m.attr("__version__") = QVI_PYTHON_VERSION;

  py::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(p);
    } catch (const LibraryError& e) {
      const py::object type = py::module_::import("qvi._error").attr("Error");
      const py::object error = type(e.what(), e.status(), std::string(qvi::camera::StatusName(e.status())));
      PyErr_SetObject(type.ptr(), error.ptr());
    }
  });

  m.def("convert", &Convert, kConvertDoc, py::arg("src"), py::arg("from_format"), py::arg("to_format") = "BGR24",
        py::kw_only(), py::arg("method") = "ave", py::arg("phase") = "A", py::arg("width") = py::none(),
        py::arg("out") = py::none(), py::arg("threads") = 1);
  m.def("deinterlace", &Deinterlace, kDeinterlaceDoc, py::arg("field"), py::arg("format"),
        py::arg("method") = "bilinear", py::arg("parity") = "even", py::arg("out") = py::none(), py::kw_only(),
        py::arg("threads") = 1);
  m.def("write_file", &WriteFileTo,
        "write_file(path, image, format, kind)\n--\n\nWrite through QVI_FileWrite to `path` (bytes); see qvi.write.",
        py::arg("path"), py::arg("image"), py::arg("format"), py::arg("kind"));
  m.def("format_table", &FormatTable,
        "format_table()\n--\n\n(name, code, group bytes, pixels per group, dtype, channels, packed, layout) of "
        "every format.");
  m.def("camera_format_table", &CameraFormatTable,
        "camera_format_table()\n--\n\n(PFNC name, PFNC code, qvi format, Bayer phase or None, packing, bits) of "
        "every camera format convert takes.");
  m.def("conversion_table", &ConversionTable,
        "conversion_table()\n--\n\n(source, destinations) for every source QVI_Convert takes, asked of the library.");
  m.def("format_name", &FormatName,
        "format_name(name, arg)\n--\n\nThe format's name as qvi.formats() lists it; ValueError naming `arg`.",
        py::arg("name"), py::arg("arg"));
  m.def("time_library_convert", &TimeLibrary,
        "time_library_convert(src, from_format, to_format, method, phase, out, repeat)\n--\n\nSeconds each of "
        "`repeat` bare QVI_Convert calls takes on the same memory (for the speed script).",
        py::arg("src"), py::arg("from_format"), py::arg("to_format"), py::arg("method"), py::arg("phase"),
        py::arg("out"), py::arg("repeat"));
}
