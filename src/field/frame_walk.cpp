#include "field/frame_walk.h"

#include "buffer/buffer_query.h"

namespace qvi::field {
namespace {

// The frame's validity is asked for but never looked at: the field's answer
// is tested a second time in its place, so a method called directly accepts
// an invalid frame handle (QVI_FieldToFrame has rejected it before).
bool FieldValidityTestedTwice(BufferHandle field, BufferHandle frame) {
  const uint64_t field_valid = buffer::QueryValid(field);
  if (field_valid == 0) return false;
  static_cast<void>(buffer::QueryValid(frame));
  return field_valid != 0;
}

// The size check weighs the field's width in pixels, not its stride (which is
// what each frame line receives): 2 x width x height of the field against
// stride x height of the frame, all in unsigned 32-bit arithmetic.
bool FrameHoldsByFieldWidth(const FieldPair& p) {
  const uint32_t needed = 2u * p.field_width * p.field_height;
  const uint32_t available = p.frame_stride * p.frame_height;
  return needed <= available;
}

}  // namespace

Status ReadFieldPair(BufferHandle field, BufferHandle frame, AsksFormat asks_format, FieldPair* pair) {
  FieldPair p;
  if (!FieldValidityTestedTwice(field, frame)) return STATUS_BAD_BUFFER;
  p.field = buffer::QueryAddress(field);
  p.frame = buffer::QueryAddress(frame);
  if (p.field == nullptr || p.frame == nullptr) return STATUS_BAD_BUFFER;
  if (asks_format == AsksFormat::Yes) p.format = buffer::Query32(field, BUF_PARAM_FORMAT);
  p.field_stride = buffer::Query32(field, BUF_PARAM_STRIDE);
  p.frame_stride = buffer::Query32(frame, BUF_PARAM_STRIDE);
  p.field_height = buffer::Query32(field, BUF_PARAM_HEIGHT);
  p.frame_height = buffer::Query32(frame, BUF_PARAM_HEIGHT);
  p.field_width = buffer::Query32(field, BUF_PARAM_WIDTH);
  p.frame_width = buffer::Query32(frame, BUF_PARAM_WIDTH);
  if (!FrameHoldsByFieldWidth(p)) return STATUS_BAD_BUFFER;
  *pair = p;
  return STATUS_OK;
}

}  // namespace qvi::field
