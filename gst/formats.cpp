#include "formats.h"

#include <array>
#include <cstring>

#include "qvb.h"
#include "qvi_formats.h"

namespace qvi::gst {
namespace {

// GStreamer's definitions (video-format.c) against qvi.h: RGB16 and RGB15
// hold red in the high bits of a native word, BGR16 and BGR15 blue; the
// 24- and 32-bit names list their bytes in memory order; YUY2 is Y0 U Y1 V.
// GStreamer has no format for qvi's 10-14-bit right-aligned grey, 48-bit,
// 36-bit and 30-bit colour or packed 12-bit grey.
constexpr std::array<RawFormat, 13> kRaw{{
    {GST_VIDEO_FORMAT_BGRx, FMT_BGRX32, true},
    {GST_VIDEO_FORMAT_BGR, FMT_BGR24, true},
    {GST_VIDEO_FORMAT_RGBx, FMT_RGBX32, true},
    {GST_VIDEO_FORMAT_xRGB, FMT_XRGB32, true},
    {GST_VIDEO_FORMAT_xBGR, FMT_XBGR32, true},
    {GST_VIDEO_FORMAT_RGB, FMT_RGB24, true},
    {GST_VIDEO_FORMAT_RGB16, FMT_RGB16, false},
    {GST_VIDEO_FORMAT_BGR16, FMT_BGR16, false},
    {GST_VIDEO_FORMAT_RGB15, FMT_RGB15, false},
    {GST_VIDEO_FORMAT_BGR15, FMT_BGR15, false},
    {GST_VIDEO_FORMAT_GRAY8, FMT_Y8, true},
    {GST_VIDEO_FORMAT_GRAY16_LE, FMT_Y16, false},
    {GST_VIDEO_FORMAT_YUY2, FMT_YUV422, true},
}};

// rggb = R G / G B at the top left = phase A, grbg = B, gbrg = C, bggr = D;
// the deep formats are little-endian words with the samples right-aligned.
constexpr std::array<BayerFormat, 20> kBayer{{
    {"rggb", FMT_BAY8, BAYER_PHASE_A, 1},      {"grbg", FMT_BAY8, BAYER_PHASE_B, 1},
    {"gbrg", FMT_BAY8, BAYER_PHASE_C, 1},      {"bggr", FMT_BAY8, BAYER_PHASE_D, 1},
    {"rggb10le", FMT_BAY10, BAYER_PHASE_A, 2}, {"grbg10le", FMT_BAY10, BAYER_PHASE_B, 2},
    {"gbrg10le", FMT_BAY10, BAYER_PHASE_C, 2}, {"bggr10le", FMT_BAY10, BAYER_PHASE_D, 2},
    {"rggb12le", FMT_BAY12, BAYER_PHASE_A, 2}, {"grbg12le", FMT_BAY12, BAYER_PHASE_B, 2},
    {"gbrg12le", FMT_BAY12, BAYER_PHASE_C, 2}, {"bggr12le", FMT_BAY12, BAYER_PHASE_D, 2},
    {"rggb14le", FMT_BAY14, BAYER_PHASE_A, 2}, {"grbg14le", FMT_BAY14, BAYER_PHASE_B, 2},
    {"gbrg14le", FMT_BAY14, BAYER_PHASE_C, 2}, {"bggr14le", FMT_BAY14, BAYER_PHASE_D, 2},
    {"rggb16le", FMT_BAY16, BAYER_PHASE_A, 2}, {"grbg16le", FMT_BAY16, BAYER_PHASE_B, 2},
    {"gbrg16le", FMT_BAY16, BAYER_PHASE_C, 2}, {"bggr16le", FMT_BAY16, BAYER_PHASE_D, 2},
}};

// The library's BGRX32 -> BGR24 route writes the three colour bytes in
// reverse order (include/qvi.h), so its output is GStreamer's RGB.  Routes
// listed here serve (in, the format with red and blue exchanged).
struct Reversal {
  ImageFormat in, out;
  GstVideoFormat serves;
};
constexpr Reversal kReversingRoutes[] = {{FMT_BGRX32, FMT_BGR24, GST_VIDEO_FORMAT_RGB}};

// Routes whose bytes mean something else in GStreamer: Y8 -> Y16 puts the
// 8-bit values into 16-bit words unscaled, which GRAY16_LE reads as near
// black.
struct Pair {
  ImageFormat in, out;
};
constexpr Pair kWithheldRoutes[] = {{FMT_Y8, FMT_Y16}};

// Runs QVI_Convert on a 2 x 2 image (the smallest a demosaic takes) with
// room past the rows for any member's reads.
Status ProbeConvert(ImageFormat in, ImageFormat out, DemosaicMethod method, BayerPhase phase) {
  constexpr uint32_t kSide = 2, kStride = 16;
  uint8_t in_memory[kSide * kStride + 16] = {};
  uint8_t out_memory[kSide * kStride] = {};
  BufferHandle src = 0, dst = 0;
  Status status = STATUS_BAD_BUFFER;
  if (QVB_BufferCreate(in_memory, kSide, kSide, kStride, in, &src) == QVB_STATUS_OK &&
      QVB_BufferCreate(out_memory, kSide, kSide, kStride, out, &dst) == QVB_STATUS_OK) {
    QVB_BufferParameterSet(src, BUF_PARAM_DEMOSAIC_METHOD, method);
    QVB_BufferParameterSet(src, BUF_PARAM_BAYER_PHASE, phase);
    status = QVI_Convert(src, dst);
  }
  if (src != 0) QVB_BufferDestroy(src);
  if (dst != 0) QVB_BufferDestroy(dst);
  return status;
}

Status ProbeField(FieldToFrameMethod method, ImageFormat format) {
  constexpr uint32_t kWidth = 2, kLines = 2, kStride = 16;
  uint8_t field_memory[kLines * kStride] = {};
  uint8_t frame_memory[2 * kLines * kStride] = {};
  BufferHandle field = 0, frame = 0;
  Status status = STATUS_BAD_BUFFER;
  if (QVB_BufferCreate(field_memory, kWidth, kLines, kStride, format, &field) == QVB_STATUS_OK &&
      QVB_BufferCreate(frame_memory, kWidth, 2 * kLines, kStride, format, &frame) == QVB_STATUS_OK)
    status = QVI_FieldToFrame(field, frame, method, FIELD_PARITY_EVEN);
  if (field != 0) QVB_BufferDestroy(field);
  if (frame != 0) QVB_BufferDestroy(frame);
  return status;
}

constexpr size_t kMethods = std::size(kDemosaicMethods);

struct Answers {
  // demosaic[bayer][method][raw]
  bool demosaic[kBayer.size()][kMethods][kRaw.size()] = {};
  bool field[4][kRaw.size()] = {};
  std::vector<Route> routes;
};

size_t IndexOf(const BayerFormat& f) { return static_cast<size_t>(&f - kBayer.data()); }
size_t IndexOf(const RawFormat& f) { return static_cast<size_t>(&f - kRaw.data()); }
size_t IndexOf(DemosaicMethod m) {
  for (size_t i = 0; i < kMethods; ++i)
    if (kDemosaicMethods[i] == m) return i;
  return 0;
}

Answers Ask() {
  Answers a;
  for (const BayerFormat& b : kBayer)
    for (size_t m = 0; m < kMethods; ++m)
      for (const RawFormat& r : kRaw)
        a.demosaic[IndexOf(b)][m][IndexOf(r)] = ProbeConvert(b.code, r.code, kDemosaicMethods[m], b.phase) == STATUS_OK;

  for (FieldToFrameMethod m = FIELD_TO_FRAME_LINE_DUP; m <= FIELD_TO_FRAME_MEDIAN; ++m)
    for (const RawFormat& r : kRaw) {
      bool takes = ProbeField(m, r.code) == STATUS_OK;
      // A byte-wise mean of 16-bit words or 5:6:5 words is not a colour.
      if (m == FIELD_TO_FRAME_LINE_AVE && !r.byte_components) takes = false;
      // The median computes a shorter line for the 32-bit formats, so their
      // frames drift sideways line by line (include/qvi.h); not offered.
      const camera::FormatInfo& info = camera::FormatOf(r.code);
      if (m == FIELD_TO_FRAME_MEDIAN && info.group_bytes == 4 && info.pixels_per_group == 1) takes = false;
      a.field[m][IndexOf(r)] = takes;
    }

  for (const RawFormat& in : kRaw)
    for (const RawFormat& out : kRaw) {
      if (in.code == out.code || !camera::HasConversion(camera::FormatOf(in.code), camera::FormatOf(out.code)))
        continue;
      bool withheld = false;
      for (const Pair& p : kWithheldRoutes) withheld = withheld || (p.in == in.code && p.out == out.code);
      if (withheld) continue;
      const RawFormat* serves = &out;
      for (const Reversal& r : kReversingRoutes)
        if (r.in == in.code && r.out == out.code) serves = FindRaw(r.serves);
      a.routes.push_back({&in, serves, in.code, out.code});
    }
  return a;
}

const Answers& Library() {
  static const Answers answers = Ask();
  return answers;
}

}  // namespace

std::span<const RawFormat> RawFormats() { return kRaw; }

const RawFormat* FindRaw(GstVideoFormat format) {
  for (const RawFormat& f : kRaw)
    if (f.gst == format) return &f;
  return nullptr;
}

std::span<const BayerFormat> BayerFormats() { return kBayer; }

const BayerFormat* FindBayer(const char* name) {
  if (name == nullptr) return nullptr;
  for (const BayerFormat& f : kBayer)
    if (std::strcmp(f.name, name) == 0) return &f;
  return nullptr;
}

bool DemosaicProduces(const BayerFormat& bayer, DemosaicMethod method, const RawFormat& out) {
  return Library().demosaic[IndexOf(bayer)][IndexOf(method)][IndexOf(out)];
}

uint32_t DemosaicTailSamples(const BayerFormat& bayer, DemosaicMethod method, const RawFormat& out,
                             uint32_t width, uint32_t height) {
  if (method == DEMOSAIC_METHOD_DUP) return 0;
  const bool rgb16_med_c = out.code == FMT_RGB16 && method == DEMOSAIC_METHOD_MED && bayer.phase == BAYER_PHASE_C;
  // Odd widths read E, NE and SE one sample past each row; the RGB16 median
  // of phase C takes the row below one column further right, and for even
  // widths reads one sample past row 1, which is the last row of a 2-row
  // image.
  if (width % 2 == 1) return rgb16_med_c ? 2 : 1;
  return rgb16_med_c && height == 2 ? 1 : 0;
}

std::span<const Route> ConvertRoutes() { return Library().routes; }

const Route* FindRoute(GstVideoFormat in, GstVideoFormat out) {
  for (const Route& r : Library().routes)
    if (r.in->gst == in && r.out->gst == out) return &r;
  return nullptr;
}

bool FieldMethodTakes(FieldToFrameMethod method, const RawFormat& format) {
  return method <= FIELD_TO_FRAME_MEDIAN && Library().field[method][IndexOf(format)];
}

std::vector<const char*> RawNames() {
  std::vector<const char*> names;
  for (const RawFormat& r : kRaw) names.push_back(gst_video_format_to_string(r.gst));
  return names;
}

std::vector<const char*> BayerNames() {
  std::vector<const char*> names;
  for (const BayerFormat& b : kBayer) names.push_back(b.name);
  return names;
}

void SetFormatList(GstStructure* s, const std::vector<const char*>& names) {
  if (names.size() == 1) {
    gst_structure_set(s, "format", G_TYPE_STRING, names[0], nullptr);
    return;
  }
  GValue list = G_VALUE_INIT;
  gst_value_list_init(&list, static_cast<guint>(names.size()));
  for (const char* name : names) {
    GValue v = G_VALUE_INIT;
    g_value_init(&v, G_TYPE_STRING);
    g_value_set_string(&v, name);
    gst_value_list_append_and_take_value(&list, &v);
  }
  gst_structure_take_value(s, "format", &list);
}

std::vector<const char*> FormatNames(const GstStructure* s, const std::vector<const char*>& known) {
  const GValue* value = gst_structure_get_value(s, "format");
  if (value == nullptr) return known;
  std::vector<const char*> found;
  auto add = [&](const GValue* v) {
    if (!G_VALUE_HOLDS_STRING(v)) return;
    const char* name = g_value_get_string(v);
    for (const char* k : known)
      if (name != nullptr && std::strcmp(k, name) == 0) found.push_back(k);
  };
  if (GST_VALUE_HOLDS_LIST(value)) {
    for (guint i = 0; i < gst_value_list_get_size(value); ++i) add(gst_value_list_get_value(value, i));
  } else {
    add(value);
  }
  return found;
}

}  // namespace qvi::gst
