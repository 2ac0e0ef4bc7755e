#include "qvi_formats.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <stdexcept>

#include "qvb.h"

namespace qvi::camera {
namespace {

constexpr std::array<FormatInfo, 30> kFormats{{
    {"Y8", FMT_Y8, 1, 1, "8-bit grey"},
    {"Y16", FMT_Y16, 2, 1, "16-bit grey"},
    {"Y32", FMT_Y32, 4, 1, "grey in a 32-bit word"},
    {"RGB15", FMT_RGB15, 2, 1, "16-bit word: R bits 10-14, G 5-9, B 0-4"},
    {"RGB16", FMT_RGB16, 2, 1, "16-bit word: R bits 11-15, G 5-10, B 0-4"},
    {"XBGR32", FMT_XBGR32, 4, 1, "bytes X, B, G, R"},
    {"BGRX32", FMT_BGRX32, 4, 1, "bytes B, G, R, X"},
    {"BGR48", FMT_BGR48, 6, 1, "16-bit words B, G, R"},
    {"BGR15", FMT_BGR15, 2, 1, "16-bit word: B bits 10-14, G 5-9, R 0-4"},
    {"BGR16", FMT_BGR16, 2, 1, "16-bit word: B bits 11-15, G 5-10, R 0-4"},
    {"XRGB32", FMT_XRGB32, 4, 1, "bytes X, R, G, B"},
    {"RGBX32", FMT_RGBX32, 4, 1, "bytes R, G, B, X"},
    {"RGB48", FMT_RGB48, 6, 1, "16-bit words R, G, B"},
    {"RGB30", FMT_RGB30, 4, 1, "three 10-bit colours in a 32-bit word"},
    {"BGR30", FMT_BGR30, 4, 1, "as RGB30, colours reversed"},
    {"BGR24", FMT_BGR24, 3, 1, "bytes B, G, R"},
    {"RGB24", FMT_RGB24, 3, 1, "bytes R, G, B"},
    {"Y10", FMT_Y10, 2, 1, "10-bit grey, right-aligned in 16 bits"},
    {"Y12", FMT_Y12, 2, 1, "12-bit grey, right-aligned in 16 bits"},
    {"Y14", FMT_Y14, 2, 1, "14-bit grey, right-aligned in 16 bits"},
    {"BAY8", FMT_BAY8, 1, 1, "8-bit Bayer mosaic"},
    {"BAY10", FMT_BAY10, 2, 1, "10-bit Bayer mosaic in 16-bit words"},
    {"BAY12", FMT_BAY12, 2, 1, "12-bit Bayer mosaic in 16-bit words"},
    {"BAY14", FMT_BAY14, 2, 1, "14-bit Bayer mosaic in 16-bit words"},
    {"BAY16", FMT_BAY16, 2, 1, "16-bit Bayer mosaic"},
    {"Y12P", FMT_Y12P, 3, 2, "packed 12-bit grey, 2 pixels in 3 bytes"},
    {"BGR36", FMT_BGR36, 6, 1, "16-bit words B, G, R of 12 bits each"},
    {"TRIPLE16", FMT_TRIPLE16, 6, 1, "three 16-bit words"},
    {"YUV422", FMT_YUV422, 4, 2, "4:2:2 luma/chroma, bytes Y0, U, Y1, V"},
    {"Y12_ALT", FMT_Y12_ALT, 2, 1, "second code for 12-bit grey"},
}};

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::toupper(static_cast<unsigned char>(x)) == std::toupper(static_cast<unsigned char>(y));
         });
}

}  // namespace

std::span<const FormatInfo> AllFormats() { return kFormats; }

const FormatInfo* FindFormat(std::string_view name) {
  if (name.size() > 4 && SameName(name.substr(0, 4), "FMT_")) name.remove_prefix(4);
  for (const FormatInfo& f : kFormats)
    if (SameName(f.name, name)) return &f;
  return nullptr;
}

const FormatInfo& FormatOf(ImageFormat code) {
  for (const FormatInfo& f : kFormats)
    if (f.code == code) return f;
  throw std::logic_error("format code missing from the format table");
}

std::optional<uint32_t> LineBytes(const FormatInfo& format, uint64_t width) {
  const uint64_t groups = (width + format.pixels_per_group - 1) / format.pixels_per_group;
  const uint64_t bytes = groups * format.group_bytes;
  if (bytes > UINT32_MAX) return std::nullopt;
  return static_cast<uint32_t>(bytes);
}

std::string BytesPerPixelText(const FormatInfo& format) {
  if (format.pixels_per_group == 1) return std::to_string(format.group_bytes);
  return std::to_string(format.group_bytes) + " per " + std::to_string(format.pixels_per_group);
}

bool IsBayer(ImageFormat code) {
  return code == FMT_BAY8 || code == FMT_BAY10 || code == FMT_BAY12 || code == FMT_BAY14 ||
         code == FMT_BAY16;
}

bool IsGrey(ImageFormat code) {
  return code == FMT_Y8 || code == FMT_Y16 || code == FMT_Y32 || code == FMT_Y10 || code == FMT_Y12 ||
         code == FMT_Y14 || code == FMT_Y12_ALT;
}

uint32_t BayerBits(ImageFormat code) {
  switch (code) {
    case FMT_BAY8: return 8;
    case FMT_BAY10: return 10;
    case FMT_BAY12: return 12;
    case FMT_BAY14: return 14;
    case FMT_BAY16: return 16;
    default: return 0;
  }
}

std::string_view StatusName(Status status) {
  switch (status) {
    case STATUS_OK: return "STATUS_OK";
    case STATUS_BAD_BAYER_MODE: return "STATUS_BAD_BAYER_MODE";
    case STATUS_OPEN_FAILED: return "STATUS_OPEN_FAILED";
    case STATUS_BAD_BUFFER: return "STATUS_BAD_BUFFER";
    case STATUS_BAD_PARAMETER: return "STATUS_BAD_PARAMETER";
    case STATUS_BAD_FORMAT: return "STATUS_BAD_FORMAT";
    case STATUS_WRITE_FAILED: return "STATUS_WRITE_FAILED";
    case STATUS_CLOSE_FAILED: return "STATUS_CLOSE_FAILED";
    default: return "an unknown status";
  }
}

std::string_view StatusMeaning(Status status) {
  switch (status) {
    case STATUS_OK: return "the operation completed";
    case STATUS_BAD_BAYER_MODE: return "the demosaic method or Bayer phase is not accepted for this conversion";
    case STATUS_OPEN_FAILED: return "the file could not be opened for writing";
    case STATUS_BAD_BUFFER: return "a buffer is invalid, has no format or memory, or the destination is too small";
    case STATUS_BAD_PARAMETER: return "the pair of formats, the file kind or the method is not supported";
    case STATUS_BAD_FORMAT: return "the TIFF writer does not accept the buffer's format";
    case STATUS_WRITE_FAILED: return "the file took fewer bytes than were written";
    case STATUS_CLOSE_FAILED: return "closing the file failed (the disk may be full)";
    default: return "not a status of this library";
  }
}

std::string DescribeStatus(Status status) {
  return std::string(StatusName(status)) + " (" + std::to_string(status) + ": " +
         std::string(StatusMeaning(status)) + ")";
}

bool HasConversion(const FormatInfo& source, const FormatInfo& destination) {
  // 2 x 2 pixels is the smallest image a demosaic accepts; the strides leave
  // room for the widest pixel, and the slack for a demosaic's reads past a
  // line's end.
  constexpr uint32_t kSide = 2, kStride = 16;
  uint8_t src_memory[kSide * kStride + 16] = {};
  uint8_t dst_memory[kSide * kStride] = {};
  BufferHandle src = 0, dst = 0;
  if (QVB_BufferCreate(src_memory, kSide, kSide, kStride, source.code, &src) != QVB_STATUS_OK ||
      QVB_BufferCreate(dst_memory, kSide, kSide, kStride, destination.code, &dst) != QVB_STATUS_OK) {
    if (src != 0) QVB_BufferDestroy(src);
    throw std::runtime_error("the buffer library could not create a buffer");
  }
  if (IsBayer(source.code)) {
    QVB_BufferParameterSet(src, BUF_PARAM_DEMOSAIC_METHOD, DEMOSAIC_METHOD_DUP);
    QVB_BufferParameterSet(src, BUF_PARAM_BAYER_PHASE, BAYER_PHASE_A);
  }
  const Status status = QVI_Convert(src, dst);
  QVB_BufferDestroy(src);
  QVB_BufferDestroy(dst);
  return status != STATUS_BAD_PARAMETER;
}

std::vector<const FormatInfo*> ConversionsFrom(const FormatInfo& source) {
  std::vector<const FormatInfo*> found;
  for (const FormatInfo& to : kFormats)
    if (HasConversion(source, to)) found.push_back(&to);
  return found;
}

}  // namespace qvi::camera
