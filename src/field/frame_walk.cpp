#include "field/frame_walk.h"

namespace qvi::field {
namespace {

// Size check by the field's width, not stride: 2 x W x H <= frame stride x height.
// (In unsigned 32-bit arithmetic; each frame line then receives the field's
// stride, which this check does not weigh.)
bool FrameHoldsByFieldWidth(const View& field, const View& frame) {
  const uint32_t needed = 2u * field.width * field.height;
  const uint32_t available = frame.stride * frame.height;
  return needed <= available;
}

}  // namespace

Status ReadFieldAndFrame(BufferHandle field, BufferHandle frame, buffer::FieldFormat format, View* field_view,
                         View* frame_view) {
  View f, d;
  if (const Status s = buffer::AskForDeinterlacing(field, frame, format, &f, &d); s != STATUS_OK) return s;
  if (!FrameHoldsByFieldWidth(f, d)) return STATUS_BAD_BUFFER;
  *field_view = f;
  *frame_view = d;
  return STATUS_OK;
}

}  // namespace qvi::field
