// The library calls behind the package's functions, frame by frame and on
// several threads.  Everything here runs without the GIL: it touches memory
// described by Frames and nothing of Python's.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "arrays.h"

namespace qvi::python {

// A library call that returned a failure status, and the frame it was for.
struct Failure {
  Status status;
  size_t frame;
};

struct ConvertJob {
  const FormatInfo* from;
  const FormatInfo* to;
  DemosaicMethod method;
  BayerPhase phase;
  Frames src, dst;
  // The camera layout src's lines are unpacked from into `from` first.
  camera::Packing packing = camera::Packing::kNone;
  // Set by Prepare: what each frame needs besides the call itself.
  bool stage_source = false;  // convert from a compact copy of the frame ...
  uint32_t source_tail = 0;   // ... followed by this many zero bytes
  bool widen = false;         // odd width of a pixel-pair format: one pixel more per line
  bool taller_destination = false;
  // Decides the copies and descriptions above; see jobs.cpp.
  void Prepare();
};

struct DeinterlaceJob {
  const FormatInfo* format;
  FieldToFrameMethod method;
  FieldParity parity;
  Frames field, frame;
};

// Runs the job on every frame with up to `threads` threads (the caller's
// among them).  Returns the first failure, if any; frames after a failure may
// be left unconverted.
std::optional<Failure> Run(const ConvertJob& job, unsigned threads);
std::optional<Failure> Run(const DeinterlaceJob& job, unsigned threads);

// Writes all frames of `image` to one file (a stack only as a raw file).
Status WriteFile(const Frames& image, const FormatInfo& format, const std::string& path, FileKind kind);

// Whether QVI_Convert has a route between the two formats, and whether
// QVI_FieldToFrame takes `format` by `method`; both asked of the library once.
bool HasRoute(const FormatInfo& from, const FormatInfo& to);
bool Deinterlaces(const FormatInfo& format, FieldToFrameMethod method);

// Seconds each of `repeat` bare QVI_Convert calls takes on the job's single
// frame, buffers made once beforehand: the baseline of the speed script.
std::vector<double> TimeLibraryConvert(const ConvertJob& job, size_t repeat);

}  // namespace qvi::python
