// qviconvert: video/x-raw to video/x-raw between the formats QVI_Convert
// converts, offered from the library's own list of conversions.  Equal
// formats pass through untouched.
#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

#include <vector>

#include "elements.h"
#include "formats.h"
#include "support.h"

GST_DEBUG_CATEGORY_STATIC(qvi_convert_debug);
#define GST_CAT_DEFAULT qvi_convert_debug

using namespace qvi::gst;

struct QviConvert {
  GstVideoFilter parent;
  const Route* route;  // set by set_info, read by the streaming thread
};

struct QviConvertClass {
  GstVideoFilterClass parent_class;
};

G_DEFINE_TYPE(QviConvert, qvi_convert, GST_TYPE_VIDEO_FILTER)

namespace {

QviConvert* Self(gpointer p) { return reinterpret_cast<QviConvert*>(p); }

// For each structure: itself first (so that equal caps on both sides win and
// pass through), then the formats it converts into (direction sink) or from
// (direction src), without the fields that belong to a format's colour model.
GstCaps* TransformCaps(GstBaseTransform* trans, GstPadDirection direction, GstCaps* caps, GstCaps* filter) {
  const auto raw_names = RawNames();
  GstCaps* result = gst_caps_new_empty();
  for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
    const GstStructure* s = gst_caps_get_structure(caps, i);
    if (!gst_structure_has_name(s, "video/x-raw") || !InSystemMemory(caps, i)) continue;
    result = gst_caps_merge_structure(result, gst_structure_copy(s));
    std::vector<const char*> others;
    for (const RawFormat& f : RawFormats()) {
      bool reached = false;
      for (const char* name : FormatNames(s, raw_names)) {
        const GstVideoFormat g = gst_video_format_from_string(name);
        reached = reached || (direction == GST_PAD_SINK ? FindRoute(g, f.gst) : FindRoute(f.gst, g)) != nullptr;
      }
      if (reached) others.push_back(gst_video_format_to_string(f.gst));
    }
    if (others.empty()) continue;
    GstStructure* converted = gst_structure_copy(s);
    gst_structure_remove_fields(converted, "colorimetry", "chroma-site", nullptr);
    SetFormatList(converted, others);
    result = gst_caps_merge_structure(result, converted);
  }
  result = Filtered(result, filter);
  GST_DEBUG_OBJECT(trans, "%" GST_PTR_FORMAT " -> %" GST_PTR_FORMAT, caps, result);
  return result;
}

gboolean SetInfo(GstVideoFilter* filter, GstCaps*, GstVideoInfo* in, GstCaps*, GstVideoInfo* out) {
  QviConvert* self = Self(filter);
  const GstVideoFormat from = GST_VIDEO_INFO_FORMAT(in), to = GST_VIDEO_INFO_FORMAT(out);
  if (GST_VIDEO_INFO_WIDTH(in) != GST_VIDEO_INFO_WIDTH(out) || GST_VIDEO_INFO_HEIGHT(in) != GST_VIDEO_INFO_HEIGHT(out)) {
    GST_ELEMENT_ERROR(self, CORE, NEGOTIATION, (nullptr), ("qviconvert does not scale: %dx%d -> %dx%d",
                                                           GST_VIDEO_INFO_WIDTH(in), GST_VIDEO_INFO_HEIGHT(in),
                                                           GST_VIDEO_INFO_WIDTH(out), GST_VIDEO_INFO_HEIGHT(out)));
    return FALSE;
  }
  if (from == to) {
    self->route = nullptr;
    gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(filter), TRUE);
    return TRUE;
  }
  const Route* route = FindRoute(from, to);
  if (route == nullptr) {
    GST_ELEMENT_ERROR(self, CORE, NEGOTIATION, (nullptr),
                      ("the library does not convert %s into %s", GST_VIDEO_INFO_NAME(in), GST_VIDEO_INFO_NAME(out)));
    return FALSE;
  }
  // Pairs of 4:2:2 pixels: an odd width would make the library's lines
  // drift by one pixel each.
  if (route->in_code == FMT_YUV422 && GST_VIDEO_INFO_WIDTH(in) % 2 != 0) {
    GST_ELEMENT_ERROR(self, CORE, NEGOTIATION, (nullptr),
                      ("%s needs an even width, not %d", GST_VIDEO_INFO_NAME(in), GST_VIDEO_INFO_WIDTH(in)));
    return FALSE;
  }
  if (!Fits32(GST_VIDEO_INFO_PLANE_STRIDE(in, 0), GST_VIDEO_INFO_HEIGHT(in)) ||
      !Fits32(GST_VIDEO_INFO_PLANE_STRIDE(out, 0), GST_VIDEO_INFO_HEIGHT(out))) {
    GST_ELEMENT_ERROR(self, CORE, NEGOTIATION, (nullptr),
                      ("a %dx%d frame is outside the library's 32-bit image sizes", GST_VIDEO_INFO_WIDTH(in),
                       GST_VIDEO_INFO_HEIGHT(in)));
    return FALSE;
  }
  self->route = route;
  gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(filter), FALSE);
  GST_INFO_OBJECT(self, "%s -> %s", GST_VIDEO_INFO_NAME(in), GST_VIDEO_INFO_NAME(out));
  return TRUE;
}

GstFlowReturn TransformFrame(GstVideoFilter* filter, GstVideoFrame* in, GstVideoFrame* out) {
  QviConvert* self = Self(filter);
  const Route* route = self->route;
  if (route == nullptr) return GST_FLOW_NOT_NEGOTIATED;
  const auto width = static_cast<uint32_t>(GST_VIDEO_FRAME_WIDTH(in));
  const auto height = static_cast<uint32_t>(GST_VIDEO_FRAME_HEIGHT(in));
  const auto in_pixel = static_cast<uint32_t>(GST_VIDEO_FRAME_COMP_PSTRIDE(in, 0));
  const auto out_pixel = static_cast<uint32_t>(GST_VIDEO_FRAME_COMP_PSTRIDE(out, 0));
  const gint in_stride = GST_VIDEO_FRAME_PLANE_STRIDE(in, 0), out_stride = GST_VIDEO_FRAME_PLANE_STRIDE(out, 0);
  if (!StrideUsable(in_stride, in_pixel, uint64_t{width} * in_pixel, height) ||
      !StrideUsable(out_stride, out_pixel, uint64_t{width} * out_pixel, height)) {
    GST_ELEMENT_WARNING(self, STREAM, FORMAT, (nullptr),
                        ("strides %d and %d do not suit %ux%u %s -> %s; frame dropped", in_stride, out_stride, width,
                         height, GST_VIDEO_INFO_NAME(&in->info), GST_VIDEO_INFO_NAME(&out->info)));
    return GST_BASE_TRANSFORM_FLOW_DROPPED;
  }
  InitialiseOutputOnce(out->buffer);
  Image src(GST_VIDEO_FRAME_PLANE_DATA(in, 0), width, height, static_cast<uint32_t>(in_stride), route->in_code);
  Image dst(GST_VIDEO_FRAME_PLANE_DATA(out, 0), width, height, static_cast<uint32_t>(out_stride), route->out_code);
  const Status status = src.ok() && dst.ok() ? QVI_Convert(src.handle(), dst.handle()) : STATUS_BAD_BUFFER;
  if (status != STATUS_OK) {
    GST_ELEMENT_ERROR(self, STREAM, FAILED, (nullptr),
                      ("converting %s into %s failed: %s", GST_VIDEO_INFO_NAME(&in->info),
                       GST_VIDEO_INFO_NAME(&out->info), StatusText(status).c_str()));
    return GST_FLOW_ERROR;
  }
  return GST_FLOW_OK;
}

GstFlowReturn Transform(GstBaseTransform* trans, GstBuffer* in, GstBuffer* out) {
  return TransformMappableFrames(trans, in, out, GST_BASE_TRANSFORM_CLASS(qvi_convert_parent_class));
}

// The formats some route starts or ends in, on both pads: a format also
// passes through unchanged when both sides agree on it.
std::vector<const char*> RouteFormats() {
  std::vector<const char*> names;
  for (const RawFormat& f : RawFormats()) {
    bool used = false;
    for (const Route& r : ConvertRoutes()) used = used || r.in == &f || r.out == &f;
    if (used) names.push_back(gst_video_format_to_string(f.gst));
  }
  return names;
}

}  // namespace

static void qvi_convert_class_init(QviConvertClass* klass) {
  GST_DEBUG_CATEGORY_INIT(qvi_convert_debug, "qviconvert", 0, "qvi format conversion");
  GstElementClass* element_class = GST_ELEMENT_CLASS(klass);
  const auto formats = RouteFormats();
  AddPadTemplates(element_class, "video/x-raw", formats, "video/x-raw", formats, 1, false);
  gst_element_class_set_static_metadata(element_class, "qvi convert", "Filter/Converter/Video",
                                        "Converts between the raw video formats the qvi library converts", "qvi");

  GstBaseTransformClass* trans_class = GST_BASE_TRANSFORM_CLASS(klass);
  trans_class->transform_caps = TransformCaps;
  trans_class->transform = Transform;
  trans_class->passthrough_on_same_caps = TRUE;
  GstVideoFilterClass* filter_class = GST_VIDEO_FILTER_CLASS(klass);
  filter_class->set_info = SetInfo;
  filter_class->transform_frame = TransformFrame;
}

static void qvi_convert_init(QviConvert* self) { self->route = nullptr; }
