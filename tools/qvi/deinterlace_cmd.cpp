// qvi deinterlace: fields of a raw capture to full frames.
#include <ostream>

#include "commands.h"
#include "error.h"
#include "frames.h"

namespace qvi::tool {

namespace {

FieldToFrameMethod ParseMethod(const std::string& name) {
  if (name == "linedup") return FIELD_TO_FRAME_LINE_DUP;
  if (name == "lineave") return FIELD_TO_FRAME_LINE_AVE;
  if (name == "bilinear") return FIELD_TO_FRAME_BILINEAR;
  if (name == "median") return FIELD_TO_FRAME_MEDIAN;
  throw Error("--method " + name + " is not a de-interlace method; use linedup, lineave, bilinear or median");
}

FieldParity ParseParity(const std::string& name) {
  if (name == "odd") return FIELD_PARITY_ODD;
  if (name == "even") return FIELD_PARITY_EVEN;
  throw Error("--parity " + name + " is not a field parity; use odd (the field holds the frame's lines 1, 3, "
              "5, ...) or even (lines 0, 2, 4, ...)");
}

// The format a frame is converted to for a TIFF or PNG file, or 0 when
// there is none.
ImageFormat PictureFormat(ImageFormat field) {
  switch (field) {
    case FMT_Y8:
    case FMT_Y16:
    case FMT_Y10:
    case FMT_Y12:
    case FMT_Y14:
    case FMT_Y12_ALT: return FMT_Y8;
    case FMT_BGR24:
    case FMT_BGR48:
    case FMT_BGR36:
    case FMT_YUV422: return FMT_BGR24;
    default: return 0;
  }
}

// Whether QVI_FieldToFrame takes fields of `format` by `method`, asked of
// the library on a small field.
bool Deinterlaces(ImageFormat format, FieldToFrameMethod method) {
  constexpr uint32_t kWidth = 4, kStride = 32;
  Image field(format, kWidth, 2, kStride);
  Image frame(format, kWidth, 4, kStride);
  return QVI_FieldToFrame(field.handle(), frame.handle(), method, FIELD_PARITY_EVEN) != STATUS_BAD_PARAMETER;
}

}  // namespace

void RunDeinterlace(const DeinterlaceOptions& o, std::ostream& out) {
  const FormatInfo& format = ParseFormat(o.format, "--format");
  const RawGeometry geometry = MakeGeometry(format, o.width, o.height, o.stride);
  const FieldToFrameMethod method = ParseMethod(o.method);
  const FieldParity parity = ParseParity(o.parity);
  if (uint64_t{geometry.stride} * o.height * 2 > UINT32_MAX)
    throw Error("a frame of twice --height " + std::to_string(o.height) + " lines would exceed the 4 GiB that the "
                "library addresses");
  if (!Deinterlaces(format.code, method))
    throw Error("the " + o.method + " method does not take " + std::string(format.name) +
                " fields; bilinear and median take Y8, BGR24, RGB24, the four 32-bit X formats and YUV422, "
                "linedup and lineave any format");
  const FileType type = FileTypeOf(o.output);
  CheckOutputFolder(o.output);
  const uint32_t frame_height = 2 * o.height;
  ImageFormat written = format.code;
  if (type != FileType::kRaw && format.code != FMT_Y8 && format.code != FMT_BGR24) {
    written = PictureFormat(format.code);
    if (written == 0)
      throw Error(std::string(FileTypeName(type)) + " files are written from Y8 or BGR24 pixels, and " +
                  std::string(format.name) + " frames are not converted to either; write a .raw file");
  }
  CheckWritable(type, written, o.width, frame_height);

  // The frame takes the field's stride: the library lays frame lines out at
  // that spacing.
  Image field(format.code, o.width, o.height, geometry.stride);
  Image frame(format.code, o.width, frame_height, geometry.stride);
  std::optional<Image> picture;
  if (written != format.code)
    picture.emplace(written, o.width, frame_height, *LineBytes(FormatOf(written), o.width));
  const auto deinterlace = [&](Image& f) -> const Image& {
    Status s = QVI_FieldToFrame(f.handle(), frame.handle(), method, parity);
    if (s != STATUS_OK)
      throw Error("de-interlacing " + std::string(format.name) + " by " + o.method + " failed: " + DescribeStatus(s));
    if (!picture) return frame;
    s = QVI_Convert(frame.handle(), picture->handle());
    if (s != STATUS_OK)
      throw Error("converting the frame to " + std::string(FormatOf(written).name) + " failed: " + DescribeStatus(s));
    return *picture;
  };
  std::string what = std::to_string(o.width) + " x " + std::to_string(o.height) + " " + std::string(format.name) +
                     " (" + o.parity + ") to " + std::to_string(o.width) + " x " +
                     std::to_string(frame_height) + " by " + o.method;
  if (picture) what.append(", as ").append(FormatOf(written).name);
  what.append(" ").append(FileTypeName(type));
  ForEachFrame(o, geometry, field, deinterlace, "qvi deinterlace", "field", what, out);
}

}  // namespace qvi::tool
