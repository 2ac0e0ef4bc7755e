#include "support.h"

#include <gst/video/gstvideofilter.h>

#include <cstring>

#include "formats.h"
#include "qvb.h"
#include "qvi_formats.h"

namespace qvi::gst {

Image::Image(void* data, uint32_t width, uint32_t height, uint32_t stride, ImageFormat format) {
  if (QVB_BufferCreate(data, width, height, stride, format, &handle_) != QVB_STATUS_OK) handle_ = 0;
}

Image::~Image() {
  if (handle_ != 0) QVB_BufferDestroy(handle_);
}

void Image::SetBayer(DemosaicMethod method, BayerPhase phase) {
  QVB_BufferParameterSet(handle_, BUF_PARAM_DEMOSAIC_METHOD, method);
  QVB_BufferParameterSet(handle_, BUF_PARAM_BAYER_PHASE, phase);
}

void InitialiseOutputOnce(GstBuffer* buffer) {
  static const GQuark mark = g_quark_from_static_string("qvi-initialised");
  const guint n = gst_buffer_n_memory(buffer);
  for (guint i = 0; i < n; ++i) {
    GstMemory* memory = gst_buffer_peek_memory(buffer, i);
    if (gst_mini_object_get_qdata(GST_MINI_OBJECT_CAST(memory), mark) != nullptr) continue;
    GstMapInfo map;
    if (!gst_memory_map(memory, &map, GST_MAP_WRITE)) continue;
    std::memset(map.data, 0xFF, map.size);
    gst_memory_unmap(memory, &map);
    gst_mini_object_set_qdata(GST_MINI_OBJECT_CAST(memory), mark, GINT_TO_POINTER(1), nullptr);
  }
}

GstFlowReturn TransformMappableFrames(GstBaseTransform* trans, GstBuffer* in, GstBuffer* out,
                                      GstBaseTransformClass* video_filter_class) {
  GstVideoFrame frame;
  if (!gst_video_frame_map(&frame, &GST_VIDEO_FILTER(trans)->in_info, in, GST_MAP_READ)) {
    GST_ELEMENT_WARNING(trans, STREAM, FORMAT, (nullptr),
                        ("a %" G_GSIZE_FORMAT "-byte buffer does not hold a %dx%d %s frame; frame dropped",
                         gst_buffer_get_size(in), GST_VIDEO_FILTER(trans)->in_info.width,
                         GST_VIDEO_FILTER(trans)->in_info.height, GST_VIDEO_INFO_NAME(&GST_VIDEO_FILTER(trans)->in_info)));
    return GST_BASE_TRANSFORM_FLOW_DROPPED;
  }
  gst_video_frame_unmap(&frame);
  return video_filter_class->transform(trans, in, out);
}

GType EnumType(gsize* once, const char* name, const GEnumValue* values) {
  if (g_once_init_enter(once)) g_once_init_leave(once, g_enum_register_static(name, values));
  return static_cast<GType>(*once);
}

bool InSystemMemory(const GstCaps* caps, guint i) {
  const GstCapsFeatures* features = gst_caps_get_features(caps, i);
  return features == nullptr || gst_caps_features_is_equal(features, GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY);
}

GstCaps* Filtered(GstCaps* caps, GstCaps* filter) {
  if (filter == nullptr) return caps;
  GstCaps* both = gst_caps_intersect_full(filter, caps, GST_CAPS_INTERSECT_FIRST);
  gst_caps_unref(caps);
  return both;
}

void AddPadTemplates(GstElementClass* klass, const char* sink_media, const std::vector<const char*>& sink_formats,
                     const char* src_media, const std::vector<const char*>& src_formats, gint min_side,
                     bool progressive_only) {
  for (GstPadDirection d : {GST_PAD_SINK, GST_PAD_SRC}) {
    GstStructure* s = gst_structure_new(d == GST_PAD_SINK ? sink_media : src_media, "width", GST_TYPE_INT_RANGE,
                                        min_side, G_MAXINT, "height", GST_TYPE_INT_RANGE, min_side, G_MAXINT,
                                        "framerate", GST_TYPE_FRACTION_RANGE, 0, 1, G_MAXINT, 1, nullptr);
    if (progressive_only) gst_structure_set(s, "interlace-mode", G_TYPE_STRING, "progressive", nullptr);
    SetFormatList(s, d == GST_PAD_SINK ? sink_formats : src_formats);
    GstCaps* caps = gst_caps_new_empty();
    gst_caps_append_structure(caps, s);
    gst_element_class_add_pad_template(klass,
                                       gst_pad_template_new(d == GST_PAD_SINK ? "sink" : "src", d, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);
  }
}

std::string StatusText(Status status) { return camera::DescribeStatus(status); }

bool Fits32(uint64_t bytes_per_line, uint64_t lines) { return bytes_per_line * lines <= UINT32_MAX; }

bool StrideUsable(int64_t stride, uint32_t pixel_bytes, uint64_t line_bytes, uint32_t lines) {
  if (stride <= 0 || static_cast<uint64_t>(stride) < line_bytes || !Fits32(static_cast<uint64_t>(stride), lines))
    return false;
  return (pixel_bytes != 2 && pixel_bytes != 4) || stride % pixel_bytes == 0;
}

}  // namespace qvi::gst
