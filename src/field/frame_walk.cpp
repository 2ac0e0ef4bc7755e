#include "field/frame_walk.h"

#include "buffer/buffer_query.h"

namespace qvi::field {
namespace {

// Asks both validities but tests the field's answer twice, never the frame's.
// (So a method called directly accepts an invalid frame handle; the
// dispatcher has refused it before calling.)
bool FieldValidityTestedTwice(BufferHandle field, BufferHandle frame) {
  const uint64_t field_valid = buffer::QueryValid(field);
  if (field_valid == 0) return false;
  static_cast<void>(buffer::QueryValid(frame));
  return field_valid != 0;
}

// Size check by the field's width, not stride: 2 x W x H <= frame stride x height.
// (In unsigned 32-bit arithmetic; each frame line then receives the field's
// stride, which this check does not weigh.)
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
