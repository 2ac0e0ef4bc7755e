// qvideinterlace: a field of H lines (a progressive video/x-raw buffer) to a
// frame of 2H lines, by line doubling, line averaging, bilinear or median
// interpolation; the parity says which frame lines the field holds.
//
// The library lays the frame's lines at the field's stride.  Output buffers
// get that stride: the usual one when the field has it, otherwise a buffer
// of the field's stride with a video meta when downstream takes video meta.
// Only when neither holds is the frame made in a scratch buffer and its
// lines copied out.
#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "elements.h"
#include "formats.h"
#include "support.h"

GST_DEBUG_CATEGORY_STATIC(qvi_deinterlace_debug);
#define GST_CAT_DEFAULT qvi_deinterlace_debug

using namespace qvi::gst;

namespace {

enum Property { kPropMethod = 1, kPropParity };
constexpr FieldToFrameMethod kDefaultMethod = FIELD_TO_FRAME_LINE_AVE;
constexpr FieldParity kDefaultParity = FIELD_PARITY_EVEN;

struct Negotiated {
  const RawFormat* format = nullptr;
  bool downstream_meta = false;
  std::vector<uint8_t> field_copy, scratch;
  bool said_copying = false;
};

}  // namespace

struct QviDeinterlace {
  GstVideoFilter parent;
  gint method;  // FieldToFrameMethod; properties under the object lock
  gint parity;  // FieldParity
  Negotiated* state;
};

struct QviDeinterlaceClass {
  GstVideoFilterClass parent_class;
};

G_DEFINE_TYPE(QviDeinterlace, qvi_deinterlace, GST_TYPE_VIDEO_FILTER)

namespace {

QviDeinterlace* Self(gpointer p) { return reinterpret_cast<QviDeinterlace*>(p); }

GType MethodType() {
  static gsize type = 0;
  static const GEnumValue values[] = {
      {FIELD_TO_FRAME_LINE_DUP, "Line doubling: repeat the field line above", "linedup"},
      {FIELD_TO_FRAME_LINE_AVE, "Line averaging: mean of the field lines above and below", "lineave"},
      {FIELD_TO_FRAME_BILINEAR, "Bilinear: weighted mean of six neighbouring bytes", "bilinear"},
      {FIELD_TO_FRAME_MEDIAN, "Median of six neighbouring bytes", "median"},
      {0, nullptr, nullptr}};
  return EnumType(&type, "QviDeinterlaceMethod", values);
}

GType ParityType() {
  static gsize type = 0;
  static const GEnumValue values[] = {
      {FIELD_PARITY_ODD, "The field holds frame lines 1, 3, 5, ... (bottom field)", "odd"},
      {FIELD_PARITY_EVEN, "The field holds frame lines 0, 2, 4, ... (top field)", "even"},
      {0, nullptr, nullptr}};
  return EnumType(&type, "QviFieldParity", values);
}

void Current(QviDeinterlace* self, FieldToFrameMethod* method, FieldParity* parity) {
  GST_OBJECT_LOCK(self);
  *method = static_cast<FieldToFrameMethod>(self->method);
  *parity = static_cast<FieldParity>(self->parity);
  GST_OBJECT_UNLOCK(self);
}

FieldToFrameMethod CurrentMethod(QviDeinterlace* self) {
  FieldToFrameMethod method;
  FieldParity parity;
  Current(self, &method, &parity);
  return method;
}

const char* MethodName(FieldToFrameMethod method) {
  return g_enum_get_value(G_ENUM_CLASS(g_type_class_peek(MethodType())), static_cast<gint>(method))->value_nick;
}

// Heights of a frame from those of a field (doubling) or back: a fixed
// height, a range or a list of them; false when nothing is left.
bool MapHeight(const GValue* in, GValue* out, bool doubling) {
  constexpr gint kMaxField = G_MAXINT / 2;
  if (G_VALUE_HOLDS_INT(in)) {
    const gint h = g_value_get_int(in);
    if (doubling ? h > kMaxField : h % 2 != 0) return false;
    g_value_init(out, G_TYPE_INT);
    g_value_set_int(out, doubling ? 2 * h : h / 2);
    return true;
  }
  if (GST_VALUE_HOLDS_INT_RANGE(in)) {
    const gint lo = gst_value_get_int_range_min(in), hi = gst_value_get_int_range_max(in);
    const gint new_lo = doubling ? std::min(lo, kMaxField) * 2 : (lo + 1) / 2;
    const gint new_hi = doubling ? std::min(hi, kMaxField) * 2 : hi / 2;
    if (new_lo > new_hi || new_lo < 1) return false;
    if (new_lo == new_hi) {
      g_value_init(out, G_TYPE_INT);
      g_value_set_int(out, new_lo);
    } else {
      // Frames have even heights.
      g_value_init(out, GST_TYPE_INT_RANGE);
      gst_value_set_int_range_step(out, new_lo, new_hi, doubling ? 2 : 1);
    }
    return true;
  }
  if (GST_VALUE_HOLDS_LIST(in)) {
    gst_value_list_init(out, 0);
    for (guint i = 0; i < gst_value_list_get_size(in); ++i) {
      GValue v = G_VALUE_INIT;
      if (MapHeight(gst_value_list_get_value(in, i), &v, doubling)) gst_value_list_append_and_take_value(out, &v);
    }
    if (gst_value_list_get_size(out) > 0) return true;
    g_value_unset(out);
  }
  return false;
}

GstCaps* TransformCaps(GstBaseTransform* trans, GstPadDirection direction, GstCaps* caps, GstCaps* filter) {
  const FieldToFrameMethod method = CurrentMethod(Self(trans));
  const auto raw_names = RawNames();
  GstCaps* result = gst_caps_new_empty();
  for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
    const GstStructure* s = gst_caps_get_structure(caps, i);
    if (!gst_structure_has_name(s, "video/x-raw") || !InSystemMemory(caps, i)) continue;
    std::vector<const char*> formats;
    for (const char* name : FormatNames(s, raw_names))
      if (FieldMethodTakes(method, *FindRaw(gst_video_format_from_string(name)))) formats.push_back(name);
    if (formats.empty()) continue;
    GstStructure* other = gst_structure_copy(s);
    SetFormatList(other, formats);
    if (const GValue* height = gst_structure_get_value(s, "height")) {
      GValue mapped = G_VALUE_INIT;
      if (!MapHeight(height, &mapped, direction == GST_PAD_SINK)) {
        gst_structure_free(other);
        continue;
      }
      gst_structure_take_value(other, "height", &mapped);
    }
    result = gst_caps_merge_structure(result, other);
  }
  result = Filtered(result, filter);
  GST_DEBUG_OBJECT(trans, "method %s, %" GST_PTR_FORMAT " -> %" GST_PTR_FORMAT, MethodName(method), caps, result);
  return result;
}

gboolean SetInfo(GstVideoFilter* filter, GstCaps*, GstVideoInfo* in, GstCaps*, GstVideoInfo* out) {
  QviDeinterlace* self = Self(filter);
  const FieldToFrameMethod method = CurrentMethod(self);
  const RawFormat* format = FindRaw(GST_VIDEO_INFO_FORMAT(in));
  if (format == nullptr || GST_VIDEO_INFO_FORMAT(out) != GST_VIDEO_INFO_FORMAT(in) ||
      !FieldMethodTakes(method, *format)) {
    GST_ELEMENT_ERROR(self, CORE, NEGOTIATION, (nullptr),
                      ("method %s does not de-interlace %s into %s", MethodName(method), GST_VIDEO_INFO_NAME(in),
                       GST_VIDEO_INFO_NAME(out)));
    return FALSE;
  }
  if (GST_VIDEO_INFO_WIDTH(out) != GST_VIDEO_INFO_WIDTH(in) ||
      GST_VIDEO_INFO_HEIGHT(out) != 2 * GST_VIDEO_INFO_HEIGHT(in) ||
      !Fits32(GST_VIDEO_INFO_PLANE_STRIDE(out, 0), GST_VIDEO_INFO_HEIGHT(out))) {
    GST_ELEMENT_ERROR(self, CORE, NEGOTIATION, (nullptr),
                      ("a field of %dx%d cannot become a frame of %dx%d", GST_VIDEO_INFO_WIDTH(in),
                       GST_VIDEO_INFO_HEIGHT(in), GST_VIDEO_INFO_WIDTH(out), GST_VIDEO_INFO_HEIGHT(out)));
    return FALSE;
  }
  self->state->format = format;
  self->state->said_copying = false;
  GST_INFO_OBJECT(self, "%s field %dx%d, method %s", GST_VIDEO_INFO_NAME(in), GST_VIDEO_INFO_WIDTH(in),
                  GST_VIDEO_INFO_HEIGHT(in), MethodName(method));
  return TRUE;
}

gboolean DecideAllocation(GstBaseTransform* trans, GstQuery* query) {
  Self(trans)->state->downstream_meta = gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
  return GST_BASE_TRANSFORM_CLASS(qvi_deinterlace_parent_class)->decide_allocation(trans, query);
}

// Bytes of a mapping from `p` on.
gsize Readable(const GstMapInfo& map, const void* p) {
  const auto* at = static_cast<const guint8*>(p);
  return at >= map.data && at <= map.data + map.size ? gsize(map.data + map.size - at) : 0;
}

gint FieldStride(GstVideoFilter* filter, GstBuffer* input) {
  if (const GstVideoMeta* meta = gst_buffer_get_video_meta(input)) return meta->stride[0];
  return GST_VIDEO_INFO_PLANE_STRIDE(&filter->in_info, 0);
}

// A field with its own stride, and downstream that takes video meta: the
// frame gets a buffer of that stride.
GstFlowReturn PrepareOutputBuffer(GstBaseTransform* trans, GstBuffer* input, GstBuffer** output) {
  GstVideoFilter* filter = GST_VIDEO_FILTER(trans);
  const gint stride = FieldStride(filter, input);
  const GstVideoInfo* out = &filter->out_info;
  if (stride == GST_VIDEO_INFO_PLANE_STRIDE(out, 0) || !Self(trans)->state->downstream_meta || stride <= 0 ||
      !Fits32(static_cast<uint32_t>(stride), GST_VIDEO_INFO_HEIGHT(out)))
    return GST_BASE_TRANSFORM_CLASS(qvi_deinterlace_parent_class)->prepare_output_buffer(trans, input, output);
  GstAllocator* allocator = nullptr;
  GstAllocationParams params;
  gst_base_transform_get_allocator(trans, &allocator, &params);
  *output = gst_buffer_new_allocate(allocator, gsize(stride) * GST_VIDEO_INFO_HEIGHT(out), &params);
  if (allocator != nullptr) gst_object_unref(allocator);
  if (*output == nullptr) return GST_FLOW_ERROR;
  gsize offsets[GST_VIDEO_MAX_PLANES] = {0};
  gint strides[GST_VIDEO_MAX_PLANES] = {stride};
  gst_buffer_add_video_meta_full(*output, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_INFO_FORMAT(out),
                                 GST_VIDEO_INFO_WIDTH(out), GST_VIDEO_INFO_HEIGHT(out), 1, offsets, strides);
  GstBaseTransformClass* klass = GST_BASE_TRANSFORM_GET_CLASS(trans);
  if (klass->copy_metadata != nullptr && !klass->copy_metadata(trans, input, *output))
    GST_DEBUG_OBJECT(trans, "could not copy the field's metadata");
  return GST_FLOW_OK;
}

GstFlowReturn TransformFrame(GstVideoFilter* filter, GstVideoFrame* in, GstVideoFrame* out) {
  QviDeinterlace* self = Self(filter);
  Negotiated& n = *self->state;
  if (n.format == nullptr) return GST_FLOW_NOT_NEGOTIATED;
  FieldToFrameMethod method;
  FieldParity parity;
  Current(self, &method, &parity);
  if (!FieldMethodTakes(method, *n.format)) {
    GST_ELEMENT_ERROR(self, CORE, NEGOTIATION, (nullptr),
                      ("method %s does not de-interlace %s", MethodName(method), GST_VIDEO_INFO_NAME(&in->info)));
    return GST_FLOW_NOT_NEGOTIATED;
  }
  const auto width = static_cast<uint32_t>(GST_VIDEO_FRAME_WIDTH(in));
  const auto lines = static_cast<uint32_t>(GST_VIDEO_FRAME_HEIGHT(in));
  const auto pixel = static_cast<uint32_t>(GST_VIDEO_FRAME_COMP_PSTRIDE(in, 0));
  const uint64_t line_bytes = uint64_t{GST_ROUND_UP_N(width, GST_VIDEO_FORMAT_INFO_W_SUB(in->info.finfo, 1) ? 2u : 1u)} * pixel;
  const gint stride = GST_VIDEO_FRAME_PLANE_STRIDE(in, 0), out_stride = GST_VIDEO_FRAME_PLANE_STRIDE(out, 0);
  if (!StrideUsable(stride, pixel, line_bytes, 2 * lines) || !StrideUsable(out_stride, pixel, line_bytes, 2 * lines)) {
    GST_ELEMENT_WARNING(self, STREAM, FORMAT, (nullptr),
                        ("strides %d and %d do not suit a %ux%u %s field; frame dropped", stride, out_stride, width,
                         lines, GST_VIDEO_INFO_NAME(&in->info)));
    return GST_BASE_TRANSFORM_FLOW_DROPPED;
  }

  // The library reads whole field lines, padding included, and writes
  // whole frame lines at the field's stride: a field whose memory ends at
  // its last pixel is read from a copy, and the frame goes through the
  // scratch buffer unless the output has the field's stride and room.
  const gsize field_bytes = gsize(stride) * lines, frame_bytes = 2 * field_bytes;
  const auto* field_data = static_cast<const guint8*>(GST_VIDEO_FRAME_PLANE_DATA(in, 0));
  auto* out_data = static_cast<guint8*>(GST_VIDEO_FRAME_PLANE_DATA(out, 0));
  const bool whole_field = Readable(in->map[0], field_data) >= field_bytes;
  const bool direct = out_stride == stride && Readable(out->map[0], out_data) >= frame_bytes;
  if ((!whole_field || !direct) && !n.said_copying) {
    GST_INFO_OBJECT(self, "field stride %d, %" G_GSIZE_FORMAT " bytes, frame stride %d: copying %s", stride,
                    Readable(in->map[0], field_data), out_stride, whole_field ? "frame lines" : "fields");
    n.said_copying = true;
  }
  if (!whole_field) {
    n.field_copy.assign(field_bytes, 0);
    std::memcpy(n.field_copy.data(), field_data, gsize(stride) * (lines - 1) + line_bytes);
    field_data = n.field_copy.data();
  }
  if (!direct) n.scratch.resize(frame_bytes);
  guint8* frame_data = direct ? out_data : n.scratch.data();
  InitialiseOutputOnce(out->buffer);
  Image field(const_cast<guint8*>(field_data), width, lines, static_cast<uint32_t>(stride), n.format->code);
  Image frame(frame_data, width, 2 * lines, static_cast<uint32_t>(stride), n.format->code);
  const Status status =
      field.ok() && frame.ok() ? QVI_FieldToFrame(field.handle(), frame.handle(), method, parity) : STATUS_BAD_BUFFER;
  if (status != STATUS_OK) {
    GST_ELEMENT_ERROR(self, STREAM, FAILED, (nullptr),
                      ("de-interlacing a %s field failed: %s", GST_VIDEO_INFO_NAME(&in->info),
                       StatusText(status).c_str()));
    return GST_FLOW_ERROR;
  }
  if (!direct)
    for (uint32_t y = 0; y < 2 * lines; ++y)
      std::memcpy(out_data + gsize(out_stride) * y, n.scratch.data() + gsize(stride) * y, line_bytes);
  return GST_FLOW_OK;
}

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
  QviDeinterlace* self = Self(object);
  bool reconfigure = false;
  GST_OBJECT_LOCK(self);
  switch (id) {
    case kPropMethod:
      reconfigure = self->method != g_value_get_enum(value);
      self->method = g_value_get_enum(value);
      break;
    case kPropParity:
      self->parity = g_value_get_enum(value);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
  }
  GST_OBJECT_UNLOCK(self);
  // Another method may take other formats: negotiate again.
  if (reconfigure) gst_base_transform_reconfigure_src(GST_BASE_TRANSFORM(self));
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
  QviDeinterlace* self = Self(object);
  GST_OBJECT_LOCK(self);
  switch (id) {
    case kPropMethod:
      g_value_set_enum(value, self->method);
      break;
    case kPropParity:
      g_value_set_enum(value, self->parity);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
  }
  GST_OBJECT_UNLOCK(self);
}

void Finalize(GObject* object) {
  delete Self(object)->state;
  G_OBJECT_CLASS(qvi_deinterlace_parent_class)->finalize(object);
}

GstFlowReturn Transform(GstBaseTransform* trans, GstBuffer* in, GstBuffer* out) {
  return TransformMappableFrames(trans, in, out, GST_BASE_TRANSFORM_CLASS(qvi_deinterlace_parent_class));
}

// Every format some method takes.
std::vector<const char*> FieldFormats() {
  std::vector<const char*> names;
  for (const RawFormat& f : RawFormats()) {
    bool taken = false;
    for (FieldToFrameMethod m = FIELD_TO_FRAME_LINE_DUP; m <= FIELD_TO_FRAME_MEDIAN; ++m)
      taken = taken || FieldMethodTakes(m, f);
    if (taken) names.push_back(gst_video_format_to_string(f.gst));
  }
  return names;
}

}  // namespace

static void qvi_deinterlace_class_init(QviDeinterlaceClass* klass) {
  GST_DEBUG_CATEGORY_INIT(qvi_deinterlace_debug, "qvideinterlace", 0, "qvi field to frame");
  GObjectClass* object_class = G_OBJECT_CLASS(klass);
  object_class->set_property = SetProperty;
  object_class->get_property = GetProperty;
  object_class->finalize = Finalize;
  const auto flags =
      static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);
  g_object_class_install_property(object_class, kPropMethod,
                                  g_param_spec_enum("method", "Method", "How the missing lines are made",
                                                    MethodType(), kDefaultMethod, flags));
  g_object_class_install_property(object_class, kPropParity,
                                  g_param_spec_enum("parity", "Parity", "Which frame lines the field holds",
                                                    ParityType(), kDefaultParity, flags));

  GstElementClass* element_class = GST_ELEMENT_CLASS(klass);
  const auto formats = FieldFormats();
  AddPadTemplates(element_class, "video/x-raw", formats, "video/x-raw", formats, 1, true);
  gst_element_class_set_static_metadata(element_class, "qvi de-interlace", "Filter/Effect/Video/Deinterlace",
                                        "Makes a frame of 2H lines from a field of H lines with the qvi library",
                                        "qvi");
  gst_type_mark_as_plugin_api(MethodType(), static_cast<GstPluginAPIFlags>(0));
  gst_type_mark_as_plugin_api(ParityType(), static_cast<GstPluginAPIFlags>(0));

  GstBaseTransformClass* trans_class = GST_BASE_TRANSFORM_CLASS(klass);
  trans_class->transform_caps = TransformCaps;
  trans_class->transform = Transform;
  trans_class->decide_allocation = DecideAllocation;
  trans_class->prepare_output_buffer = PrepareOutputBuffer;
  GstVideoFilterClass* filter_class = GST_VIDEO_FILTER_CLASS(klass);
  filter_class->set_info = SetInfo;
  filter_class->transform_frame = TransformFrame;
}

static void qvi_deinterlace_init(QviDeinterlace* self) {
  self->method = static_cast<gint>(kDefaultMethod);
  self->parity = static_cast<gint>(kDefaultParity);
  self->state = new Negotiated();
}
