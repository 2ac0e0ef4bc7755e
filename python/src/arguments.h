// The Python arguments of the package's functions: names of formats,
// methods, phases, parities and file kinds, counts and arrays, each checked
// with an error that names the argument.
#pragma once

#include <pybind11/numpy.h>

#include <optional>

#include "pfnc.h"
#include "qvi_formats.h"

namespace qvi::python {

namespace py = pybind11;
using camera::FormatInfo;

// What a from_format name stands for: the library's format of the pixels it
// is handed, the Bayer phase when the name itself fixes one, and the packed
// layout the bytes are unpacked from first (camera format names bring both).
struct SourceFormat {
  const FormatInfo* format;
  std::optional<BayerPhase> phase;
  camera::Packing packing = camera::Packing::kNone;
  std::string_view name;  // as listed: "BAY12", "BayerRG12p"
};

// A format by its name as `qvi formats` prints it (case does not matter and
// an "FMT_" prefix is accepted).
const FormatInfo& FormatArg(py::handle value, const char* arg);
// A format a conversion reads: any name FormatArg takes, or a camera (PFNC)
// format name that qvi.camera_formats() lists ("BayerRG12p", "Mono8").
SourceFormat SourceFormatArg(py::handle value, const char* arg);
// The Bayer phase of a conversion from `from`: phase_arg, or the camera
// format's own phase, which phase_arg may not contradict (its default 'A'
// aside).
BayerPhase SourcePhaseArg(const SourceFormat& from, py::handle phase_arg);

DemosaicMethod DemosaicMethodArg(py::handle value);  // "dup", "ave", "med"
BayerPhase PhaseArg(py::handle value);               // "A".."D" or "RGGB", "GRBG", "GBRG", "BGGR"
FieldToFrameMethod FieldMethodArg(py::handle value);  // "linedup", "lineave", "bilinear", "median"
FieldParity ParityArg(py::handle value);             // "even", "odd"
FileKind KindArg(py::handle value);                  // "tiff", "raw"

// None, or a non-negative int that fits in 32 bits.
std::optional<uint32_t> WidthArg(py::handle value);
unsigned ThreadsArg(py::handle value);  // an int of at least 1

// An array to read: an ndarray as it is, anything else through numpy.asarray.
py::array SourceArray(py::handle value, const char* arg);
// An array to write: an ndarray and nothing else (a converted copy would
// receive the result and be lost).
py::array DestinationArray(py::handle value, const char* arg);

}  // namespace qvi::python
