// Small pieces the three elements share: a buffer description over mapped
// memory, and the one-time initialisation of output memory.
#pragma once

#include <gst/base/gstbasetransform.h>
#include <gst/gst.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qvi.h"

namespace qvi::gst {

// A stand-in buffer (QVB_BufferCreate) describing memory the element has
// mapped; destroyed with the object.  Nothing is copied.
class Image {
 public:
  Image(void* data, uint32_t width, uint32_t height, uint32_t stride, ImageFormat format);
  ~Image();
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  bool ok() const { return handle_ != 0; }
  BufferHandle handle() const { return handle_; }
  void SetBayer(DemosaicMethod method, BayerPhase phase);

 private:
  BufferHandle handle_ = 0;
};

// The library writes neither the padding after a line's last pixel nor the
// X byte of a 32-bit pixel.  So that no uninitialised memory travels
// downstream, each output memory is filled with 0xFF the first time the
// element writes into it, and marked; memory that comes back from a pool is
// left as it is.
void InitialiseOutputOnce(GstBuffer* buffer);

// GstVideoFilter's transform for input frames that map; one that does not
// (a buffer too small for its caps) is dropped with a warning rather than
// letting an unwritten output buffer through.
GstFlowReturn TransformMappableFrames(GstBaseTransform* trans, GstBuffer* in, GstBuffer* out,
                                      GstBaseTransformClass* video_filter_class);

// An enumeration type for a property, registered on first use.
GType EnumType(gsize* once, const char* name, const GEnumValue* values);

// Whether structure `i` of `caps` is in plain memory the library can be
// handed (caps features such as memory:GLMemory are not).
bool InSystemMemory(const GstCaps* caps, guint i);

// `caps` cut down to what `filter` allows (transform_caps); takes `caps`.
GstCaps* Filtered(GstCaps* caps, GstCaps* filter);

// Adds the "sink" and "src" templates: each its media type and formats,
// sizes from `min_side` up, any frame rate and, if asked, progressive
// frames only.
void AddPadTemplates(GstElementClass* klass, const char* sink_media, const std::vector<const char*>& sink_formats,
                     const char* src_media, const std::vector<const char*>& src_formats, gint min_side,
                     bool progressive_only);

// "STATUS_BAD_BUFFER (8: ...)"
std::string StatusText(Status status);

// Whether `bytes_per_line` x `lines` fits the library's 32-bit sizes.
bool Fits32(uint64_t bytes_per_line, uint64_t lines);

// Whether the library can walk `lines` lines of `line_bytes` at `stride`:
// the stride holds the line, fits 32-bit sizes, and is a multiple of 2 for
// 2-byte pixels and of 4 for 4-byte pixels (the library rounds other gaps
// down, which would shift the lines).
bool StrideUsable(int64_t stride, uint32_t pixel_bytes, uint64_t line_bytes, uint32_t lines);

}  // namespace qvi::gst
