// qvi convert: raw captures to TIFF, PNG or raw files in another format.
#include <ostream>

#include "commands.h"
#include "error.h"
#include "frames.h"

namespace qvi::tool {
namespace {

BayerPhase ParsePhase(const std::string& name) {
  if (name == "A" || name == "a") return BAYER_PHASE_A;
  if (name == "B" || name == "b") return BAYER_PHASE_B;
  if (name == "C" || name == "c") return BAYER_PHASE_C;
  if (name == "D" || name == "d") return BAYER_PHASE_D;
  throw Error("--phase " + name + " is not a Bayer phase; use A, B, C or D");
}

std::string Failure(const FormatInfo& from, const FormatInfo& to, const ConvertOptions& o, Status s) {
  const std::string pair = std::string(from.name) + " to " + std::string(to.name);
  switch (s) {
    case STATUS_BAD_PARAMETER:
      return "the library has no conversion from " + pair + ": " + DescribeStatus(s) +
             "; `qvi formats` lists the conversions";
    case STATUS_BAD_BAYER_MODE:
      return "the conversion from " + pair + " does not take --method " + o.method.value_or("ave") + " --phase " +
             o.phase.value_or("?") + ": " + DescribeStatus(s);
    default:
      return "converting " + pair + " failed: " + DescribeStatus(s);
  }
}

}  // namespace

void RunConvert(const ConvertOptions& o, std::ostream& out) {
  const FormatInfo& from = ParseFormat(o.format, "--format");
  const RawGeometry geometry = MakeGeometry(from, o.width, o.height, o.stride);
  const bool bayer = IsBayer(from.code);
  DemosaicMethod method = DEMOSAIC_METHOD_AVE;
  BayerPhase phase = 0;
  if (bayer) {
    if (o.method) method = ParseDemosaicMethod(*o.method);
    if (!o.phase)
      throw Error("--phase is needed for Bayer input: the colours of the capture's top-left 2 x 2 cell, "
                  "A = R G / G B, B = G R / B G, C = G B / R G, D = B G / G R");
    phase = ParsePhase(*o.phase);
  } else if (o.method || o.phase) {
    throw Error(std::string(o.method ? "--method" : "--phase") + " applies to Bayer input only, and --format " +
                o.format + " is not a Bayer format");
  }
  const FormatInfo& to =
      o.to ? ParseFormat(*o.to, "--to") : FormatOf(IsGrey(from.code) ? FMT_Y8 : FMT_BGR24);
  if (!HasConversion(from, to)) throw Error(Failure(from, to, o, STATUS_BAD_PARAMETER));
  const FileType type = FileTypeOf(o.output);
  CheckOutputFolder(o.output);
  CheckWritable(type, to.code, o.width, o.height);
  const std::optional<uint32_t> to_line = LineBytes(to, o.width);
  if (!to_line || uint64_t{*to_line} * o.height > UINT32_MAX)
    throw Error("the converted image of " + std::to_string(o.width) + " x " + std::to_string(o.height) + " " +
                std::string(to.name) + " pixels would exceed the 4 GiB that the library addresses");

  Image frame(from.code, o.width, o.height, geometry.stride);
  if (bayer) frame.SetBayer(method, phase);
  Image converted(to.code, o.width, o.height, *to_line);
  const auto convert = [&](Image& f) -> const Image& {
    const Status s = QVI_Convert(f.handle(), converted.handle());
    if (s != STATUS_OK) throw Error(Failure(from, to, o, s));
    return converted;
  };
  std::string what = std::to_string(o.width) + " x " + std::to_string(o.height) + " " + std::string(from.name);
  if (bayer) what += " (" + o.method.value_or("ave") + ", phase " + *o.phase + ")";
  what += " to " + std::string(to.name) + " " + FileTypeName(type);
  ForEachFrame(o, geometry, frame, convert, "qvi convert", "frame", what, out);
}

}  // namespace qvi::tool
