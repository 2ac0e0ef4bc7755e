// qvidemosaic: video/x-bayer (8-bit and 10-16-bit little-endian mosaics) to
// the video/x-raw formats the library demosaics into with the chosen method.
// The phase comes from the caps, the method from the property; strides come
// from the buffers' video meta or GStreamer's usual layout, and the library
// reads the mapped input and writes the mapped output directly.
#include <gst/base/gstbasetransform.h>
#include <gst/video/video.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "elements.h"
#include "formats.h"
#include "support.h"

GST_DEBUG_CATEGORY_STATIC(qvi_demosaic_debug);
#define GST_CAT_DEFAULT qvi_demosaic_debug

using namespace qvi::gst;

namespace {

enum Property { kPropMethod = 1 };
constexpr int kDefaultMethod = 1;  // ave

// What set_caps settled; touched by the streaming thread only.
struct Negotiated {
  const BayerFormat* bayer = nullptr;
  const RawFormat* out = nullptr;
  uint32_t width = 0, height = 0;
  GstVideoInfo out_info;
  // Odd widths make the library read past the last row; when the input
  // buffer has nothing readable there, the frame is demosaiced from this
  // copy, which ends in zeros.
  std::vector<uint8_t> padded;
  bool said_copying = false;
};

}  // namespace

struct QviDemosaic {
  GstBaseTransform parent;
  gint method;  // index into kDemosaicMethods; under the object lock
  Negotiated* state;
};

struct QviDemosaicClass {
  GstBaseTransformClass parent_class;
};

G_DEFINE_TYPE(QviDemosaic, qvi_demosaic, GST_TYPE_BASE_TRANSFORM)

namespace {

QviDemosaic* Self(gpointer p) { return reinterpret_cast<QviDemosaic*>(p); }

GType MethodType() {
  static gsize type = 0;
  static const GEnumValue values[] = {{0, "Duplication: copy one neighbouring sample", "dup"},
                                      {1, "Averaging: mean of two or four neighbours", "ave"},
                                      {2, "Median of four at red and blue sites, means elsewhere", "med"},
                                      {0, nullptr, nullptr}};
  return EnumType(&type, "QviDemosaicMethod", values);
}

DemosaicMethod CurrentMethod(QviDemosaic* self) {
  GST_OBJECT_LOCK(self);
  const gint m = self->method;
  GST_OBJECT_UNLOCK(self);
  return kDemosaicMethods[m];
}

const char* MethodName(DemosaicMethod m) {
  return m == DEMOSAIC_METHOD_DUP ? "dup" : m == DEMOSAIC_METHOD_AVE ? "ave" : "med";
}

// The same structure under another name and with other formats: size, rate
// and pixel shape carry over, everything else is dropped.
GstStructure* Counterpart(const GstStructure* s, const char* name, const std::vector<const char*>& formats) {
  GstStructure* out = gst_structure_new_empty(name);
  for (const char* field : {"width", "height", "framerate", "pixel-aspect-ratio"})
    if (const GValue* v = gst_structure_get_value(s, field)) gst_structure_set_value(out, field, v);
  SetFormatList(out, formats);
  return out;
}

GstCaps* TransformCaps(GstBaseTransform* trans, GstPadDirection direction, GstCaps* caps, GstCaps* filter) {
  const DemosaicMethod method = CurrentMethod(Self(trans));
  const auto bayer_names = BayerNames();
  const auto raw_names = RawNames();
  GstCaps* result = gst_caps_new_empty();
  for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
    if (!InSystemMemory(caps, i)) continue;
    const GstStructure* s = gst_caps_get_structure(caps, i);
    std::vector<const char*> formats;
    if (direction == GST_PAD_SINK) {
      if (!gst_structure_has_name(s, "video/x-bayer")) continue;
      const auto in = FormatNames(s, bayer_names);
      for (const RawFormat& r : RawFormats()) {
        bool produced = false;
        for (const char* name : in) produced = produced || DemosaicProduces(*FindBayer(name), method, r);
        if (produced) formats.push_back(gst_video_format_to_string(r.gst));
      }
      if (!formats.empty()) result = gst_caps_merge_structure(result, Counterpart(s, "video/x-raw", formats));
    } else {
      if (!gst_structure_has_name(s, "video/x-raw")) continue;
      const auto out = FormatNames(s, raw_names);
      for (const BayerFormat& b : BayerFormats()) {
        bool produces = false;
        for (const char* name : out)
          produces = produces || DemosaicProduces(b, method, *FindRaw(gst_video_format_from_string(name)));
        if (produces) formats.push_back(b.name);
      }
      if (!formats.empty()) result = gst_caps_merge_structure(result, Counterpart(s, "video/x-bayer", formats));
    }
  }
  result = Filtered(result, filter);
  GST_DEBUG_OBJECT(trans, "method %s, %" GST_PTR_FORMAT " -> %" GST_PTR_FORMAT, MethodName(method), caps, result);
  return result;
}

// GStreamer's Bayer elements round lines up to 4 bytes; cameras send them
// back to back.  A buffer that holds `height` rounded lines is taken to have
// them, any smaller one to be tight; a video meta says it outright.
uint64_t RoundedLine(uint64_t line) { return (line + 3u) & ~uint64_t{3}; }

gboolean SetCaps(GstBaseTransform* trans, GstCaps* incaps, GstCaps* outcaps) {
  QviDemosaic* self = Self(trans);
  Negotiated& n = *self->state;
  const GstStructure* s = gst_caps_get_structure(incaps, 0);
  const BayerFormat* bayer = FindBayer(gst_structure_get_string(s, "format"));
  gint width = 0, height = 0;
  GstVideoInfo out_info;
  if (bayer == nullptr || !gst_structure_get_int(s, "width", &width) || !gst_structure_get_int(s, "height", &height) ||
      !gst_video_info_from_caps(&out_info, outcaps)) {
    GST_ERROR_OBJECT(self, "cannot take %" GST_PTR_FORMAT " -> %" GST_PTR_FORMAT, incaps, outcaps);
    return FALSE;
  }
  const RawFormat* out = FindRaw(GST_VIDEO_INFO_FORMAT(&out_info));
  const DemosaicMethod method = CurrentMethod(self);
  if (out == nullptr || !DemosaicProduces(*bayer, method, *out)) {
    GST_ELEMENT_ERROR(self, CORE, NEGOTIATION, (nullptr),
                      ("method %s does not demosaic %s into %s", MethodName(method), bayer->name,
                       GST_VIDEO_INFO_NAME(&out_info)));
    return FALSE;
  }
  const uint64_t in_line = RoundedLine(static_cast<uint64_t>(width) * bayer->sample_bytes);
  if (width < 2 || height < 2 || !Fits32(in_line, static_cast<uint64_t>(height)) ||
      !Fits32(GST_VIDEO_INFO_PLANE_STRIDE(&out_info, 0), static_cast<uint64_t>(height))) {
    GST_ELEMENT_ERROR(self, CORE, NEGOTIATION, (nullptr),
                      ("a %dx%d frame is outside the library's 32-bit image sizes (at least 2x2)", width, height));
    return FALSE;
  }
  n.bayer = bayer;
  n.out = out;
  n.width = static_cast<uint32_t>(width);
  n.height = static_cast<uint32_t>(height);
  n.out_info = out_info;
  n.said_copying = false;
  GST_INFO_OBJECT(self, "%s %ux%u -> %s, method %s", bayer->name, n.width, n.height,
                  GST_VIDEO_INFO_NAME(&out_info), MethodName(method));
  return TRUE;
}

gboolean TransformSize(GstBaseTransform*, GstPadDirection direction, GstCaps*, gsize, GstCaps* othercaps,
                       gsize* othersize) {
  if (direction == GST_PAD_SINK) {
    GstVideoInfo info;
    if (!gst_video_info_from_caps(&info, othercaps)) return FALSE;
    *othersize = GST_VIDEO_INFO_SIZE(&info);
    return TRUE;
  }
  const GstStructure* s = gst_caps_get_structure(othercaps, 0);
  const BayerFormat* bayer = FindBayer(gst_structure_get_string(s, "format"));
  gint width = 0, height = 0;
  if (bayer == nullptr || !gst_structure_get_int(s, "width", &width) || !gst_structure_get_int(s, "height", &height))
    return FALSE;
  *othersize = RoundedLine(static_cast<uint64_t>(width) * bayer->sample_bytes) * static_cast<gsize>(height);
  return TRUE;
}

gboolean ProposeAllocation(GstBaseTransform* trans, GstQuery* decide_query, GstQuery* query) {
  if (!GST_BASE_TRANSFORM_CLASS(qvi_demosaic_parent_class)->propose_allocation(trans, decide_query, query))
    return FALSE;
  // Zeroed padding after each buffer lets the odd-width members read past
  // the last row in place (2 samples of up to 2 bytes).
  GstAllocationParams params;
  gst_allocation_params_init(&params);
  params.padding = 4;
  params.flags = GST_MEMORY_FLAG_ZERO_PADDED;
  gst_query_add_allocation_param(query, nullptr, &params);
  gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
  return TRUE;
}

// Without a pool from downstream, frames go into a video buffer pool of
// our own (GstBaseTransform would allocate every frame anew).
gboolean DecideAllocation(GstBaseTransform* trans, GstQuery* query) {
  GstBufferPool* pool = nullptr;
  guint size = 0, min = 0, max = 0;
  GstCaps* caps = nullptr;
  gst_query_parse_allocation(query, &caps, nullptr);
  const bool listed = gst_query_get_n_allocation_pools(query) > 0;
  if (listed) gst_query_parse_nth_allocation_pool(query, 0, &pool, &size, &min, &max);
  if (pool == nullptr) {
    GstVideoInfo info;
    if (caps == nullptr || !gst_video_info_from_caps(&info, caps)) return FALSE;
    pool = gst_video_buffer_pool_new();
    size = static_cast<guint>(GST_VIDEO_INFO_SIZE(&info));
    GstStructure* config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_set_params(config, caps, size, min, max);
    if (gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr))
      gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    gst_buffer_pool_set_config(pool, config);
    if (listed)
      gst_query_set_nth_allocation_pool(query, 0, pool, size, min, max);
    else
      gst_query_add_allocation_pool(query, pool, size, min, max);
  }
  gst_object_unref(pool);
  return GST_BASE_TRANSFORM_CLASS(qvi_demosaic_parent_class)->decide_allocation(trans, query);
}

// Where the rows of `in` start and how far apart they are; false when the
// buffer cannot hold the frame.
bool InputLayout(const Negotiated& n, GstBuffer* in, gsize size, gsize* offset, uint32_t* stride) {
  const uint32_t line = n.width * n.bayer->sample_bytes;
  if (const GstVideoMeta* meta = gst_buffer_get_video_meta(in)) {
    *offset = meta->offset[0];
    *stride = static_cast<uint32_t>(meta->stride[0]);
    if (meta->stride[0] <= 0) return false;
  } else {
    *offset = 0;
    const auto rounded = static_cast<uint32_t>(RoundedLine(line));
    *stride = size >= gsize{rounded} * n.height ? rounded : line;
  }
  return StrideUsable(*stride, n.bayer->sample_bytes, line, n.height) &&
         *offset + gsize{*stride} * (n.height - 1) + line <= size;
}

GstFlowReturn Transform(GstBaseTransform* trans, GstBuffer* inbuf, GstBuffer* outbuf) {
  QviDemosaic* self = Self(trans);
  Negotiated& n = *self->state;
  if (n.bayer == nullptr) return GST_FLOW_NOT_NEGOTIATED;
  const DemosaicMethod method = CurrentMethod(self);
  if (!DemosaicProduces(*n.bayer, method, *n.out)) {
    GST_ELEMENT_ERROR(self, CORE, NEGOTIATION, (nullptr),
                      ("method %s does not demosaic %s into %s", MethodName(method), n.bayer->name,
                       GST_VIDEO_INFO_NAME(&n.out_info)));
    return GST_FLOW_NOT_NEGOTIATED;
  }

  GstMapInfo in;
  if (!gst_buffer_map(inbuf, &in, GST_MAP_READ)) {
    GST_ELEMENT_WARNING(self, STREAM, FAILED, (nullptr), ("could not map an input buffer; frame dropped"));
    return GST_BASE_TRANSFORM_FLOW_DROPPED;
  }
  gsize offset = 0;
  uint32_t stride = 0;
  if (!InputLayout(n, inbuf, in.size, &offset, &stride)) {
    gst_buffer_unmap(inbuf, &in);
    GST_ELEMENT_WARNING(self, STREAM, FORMAT, (nullptr),
                        ("a %" G_GSIZE_FORMAT "-byte buffer cannot hold a %ux%u %s frame; frame dropped", in.size,
                         n.width, n.height, n.bayer->name));
    return GST_BASE_TRANSFORM_FLOW_DROPPED;
  }

  // The bytes the library reads: the rows, and for some members samples
  // past the last one.  Padding inside the buffer, or zeroed padding of
  // its memory, serves; otherwise the frame is demosaiced from a copy.
  const gsize rows = gsize{stride} * (n.height - 1) + gsize{n.width} * n.bayer->sample_bytes;
  const gsize tail = gsize{DemosaicTailSamples(*n.bayer, method, *n.out, n.width, n.height)} * n.bayer->sample_bytes;
  const guint8* source = in.data + offset;
  bool readable = offset + rows + tail <= in.size;
  if (!readable && offset + rows + tail <= in.maxsize && gst_buffer_n_memory(inbuf) == 1) {
    // Zeroed padding of an allocation of its own (a share's slack is the
    // next piece of its parent).
    GstMemory* memory = gst_buffer_peek_memory(inbuf, 0);
    readable = GST_MEMORY_IS_ZERO_PADDED(memory) && memory->parent == nullptr;
  }
  if (!readable) {
    if (!n.said_copying) {
      GST_INFO_OBJECT(self, "input buffers end at their last pixel: demosaicing %ux%u frames from a padded copy",
                      n.width, n.height);
      n.said_copying = true;
    }
    // The buffer's own bytes as far as they go, zeros after them.
    const gsize own = std::min(rows + tail, in.size - offset);
    n.padded.resize(rows + tail);
    std::memcpy(n.padded.data(), source, own);
    std::memset(n.padded.data() + own, 0, rows + tail - own);
    source = n.padded.data();
  }

  InitialiseOutputOnce(outbuf);
  GstVideoFrame out;
  if (!gst_video_frame_map(&out, &n.out_info, outbuf, GST_MAP_WRITE)) {
    gst_buffer_unmap(inbuf, &in);
    GST_ELEMENT_ERROR(self, STREAM, FAILED, (nullptr), ("could not map an output buffer"));
    return GST_FLOW_ERROR;
  }
  const gint out_stride = GST_VIDEO_FRAME_PLANE_STRIDE(&out, 0);
  const auto pixel = static_cast<uint32_t>(GST_VIDEO_FRAME_COMP_PSTRIDE(&out, 0));
  if (!StrideUsable(out_stride, pixel, uint64_t{n.width} * pixel, n.height)) {
    gst_video_frame_unmap(&out);
    gst_buffer_unmap(inbuf, &in);
    GST_ELEMENT_WARNING(self, STREAM, FORMAT, (nullptr),
                        ("output stride %d does not suit %u %s pixels; frame dropped", out_stride, n.width,
                         GST_VIDEO_INFO_NAME(&n.out_info)));
    return GST_BASE_TRANSFORM_FLOW_DROPPED;
  }
  Image src(const_cast<guint8*>(source), n.width, n.height, stride, n.bayer->code);
  Image dst(GST_VIDEO_FRAME_PLANE_DATA(&out, 0), n.width, n.height, static_cast<uint32_t>(out_stride), n.out->code);
  src.SetBayer(method, n.bayer->phase);
  const Status status = src.ok() && dst.ok() ? QVI_Convert(src.handle(), dst.handle()) : STATUS_BAD_BUFFER;
  gst_video_frame_unmap(&out);
  gst_buffer_unmap(inbuf, &in);
  if (status != STATUS_OK) {
    GST_ELEMENT_ERROR(self, STREAM, FAILED, (nullptr),
                      ("demosaicing %s into %s failed: %s", n.bayer->name, GST_VIDEO_INFO_NAME(&n.out_info),
                       StatusText(status).c_str()));
    return GST_FLOW_ERROR;
  }
  return GST_FLOW_OK;
}

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
  QviDemosaic* self = Self(object);
  if (id != kPropMethod) {
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    return;
  }
  GST_OBJECT_LOCK(self);
  const bool changed = self->method != g_value_get_enum(value);
  self->method = g_value_get_enum(value);
  GST_OBJECT_UNLOCK(self);
  // Another method may produce other formats: negotiate again.
  if (changed) gst_base_transform_reconfigure_src(GST_BASE_TRANSFORM(self));
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
  QviDemosaic* self = Self(object);
  if (id != kPropMethod) {
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    return;
  }
  GST_OBJECT_LOCK(self);
  g_value_set_enum(value, self->method);
  GST_OBJECT_UNLOCK(self);
}

void Finalize(GObject* object) {
  delete Self(object)->state;
  G_OBJECT_CLASS(qvi_demosaic_parent_class)->finalize(object);
}

// Every format some method produces from some mosaic.
std::vector<const char*> ProducedFormats() {
  std::vector<const char*> formats;
  for (const RawFormat& r : RawFormats()) {
    bool produced = false;
    for (const BayerFormat& b : BayerFormats())
      for (DemosaicMethod m : kDemosaicMethods) produced = produced || DemosaicProduces(b, m, r);
    if (produced) formats.push_back(gst_video_format_to_string(r.gst));
  }
  return formats;
}

}  // namespace

static void qvi_demosaic_class_init(QviDemosaicClass* klass) {
  GST_DEBUG_CATEGORY_INIT(qvi_demosaic_debug, "qvidemosaic", 0, "qvi demosaicing");
  GObjectClass* object_class = G_OBJECT_CLASS(klass);
  object_class->set_property = SetProperty;
  object_class->get_property = GetProperty;
  object_class->finalize = Finalize;
  g_object_class_install_property(
      object_class, kPropMethod,
      g_param_spec_enum("method", "Method", "How missing colours are made", MethodType(), kDefaultMethod,
                        static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS |
                                                 GST_PARAM_MUTABLE_PLAYING)));

  GstElementClass* element_class = GST_ELEMENT_CLASS(klass);
  AddPadTemplates(element_class, "video/x-bayer", BayerNames(), "video/x-raw", ProducedFormats(), 2, false);
  gst_element_class_set_static_metadata(
      element_class, "qvi demosaic", "Filter/Converter/Video",
      "Demosaics 8- and 10-16-bit Bayer mosaics into colour with the qvi library (dup, ave or med)", "qvi");
  gst_type_mark_as_plugin_api(MethodType(), static_cast<GstPluginAPIFlags>(0));

  GstBaseTransformClass* trans_class = GST_BASE_TRANSFORM_CLASS(klass);
  trans_class->transform_caps = TransformCaps;
  trans_class->set_caps = SetCaps;
  trans_class->transform_size = TransformSize;
  trans_class->propose_allocation = ProposeAllocation;
  trans_class->decide_allocation = DecideAllocation;
  trans_class->transform = Transform;
  trans_class->passthrough_on_same_caps = FALSE;
}

static void qvi_demosaic_init(QviDemosaic* self) {
  self->method = kDefaultMethod;
  self->state = new Negotiated();
}
