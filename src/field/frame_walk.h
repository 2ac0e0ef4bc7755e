// What the de-interlacers learn about their two buffers, the checks they
// share, and the one walker that lays a field's lines into a frame and has a
// row kernel fill each missing line.
#pragma once

#include <cstdint>
#include <cstring>

#include "buffer/line_step.h"
#include "buffer/queries.h"
#include "buffer/view.h"
#include "qvi.h"

namespace qvi::field {

// The buffers of a de-interlacing method, in the order of its checks (the
// queries are buffer/queries.h's AskForDeinterlacing), then the size check,
// each failure returning STATUS_BAD_BUFFER.  `format`: the interpolating
// methods ask for the field's format.
Status ReadFieldAndFrame(BufferHandle field, BufferHandle frame, buffer::FieldFormat format, View* field_view,
                         View* frame_view);

// How a frame is laid out around its missing lines.  A copied field line is
// always `line` bytes (the field stride S) and the frame line after it starts
// S bytes on: frame lines are addressed by the field's stride, never by the
// frame's own.
struct FramePlan {
  uint32_t line;           // S: bytes of a copied field line
  uint32_t row_bytes;      // bytes a missing line is given (never more than S)
  uint32_t row_advance;    // from the start of a missing line to the next frame line
  uint32_t field_advance;  // from one field line read to the next
};

// Frame lines S apart, S the field's stride, whatever the frame's own stride.
// (Missing lines are whole S-byte lines and the field is read S bytes on.)
constexpr FramePlan LinesAtFieldStride(uint32_t stride) { return {stride, stride, stride, stride}; }

// Writes the frame in the de-interlacing order, with L0 .. L(H-1) the field
// lines and M(i) the missing line made from Li and Li+1 by
// row(above, below, out, bytes):
//   parity 0     : L0, then Li, M(i) for i = 0 .. H-2, then L(H-1)
//   other parity : Li, M(i) for i = 0 .. H-2, then L(H-1) twice
// Before each line it checks that the bytes the line writes lie inside the
// frame's stride x height and the bytes it reads inside the field's stride x
// height; the first line that does not stops the walk.  A field of no lines
// writes nothing.
template <class Row>
void WalkFrame(const View& field_view, const View& frame_view, const FramePlan& plan, FieldParity parity,
               const Row& row) {
  const uint32_t h = field_view.height;
  if (h == 0) return;
  buffer::LineCursor field(field_view.address, field_view.stride, h);
  buffer::LineCursor frame(frame_view.address, frame_view.stride, frame_view.height);
  const uint32_t s = plan.line;
  const auto put_line = [&](const uint8_t* line) {
    if (!frame.Holds(s)) return false;
    std::memmove(frame.Here(), line, s);
    frame.Advance(s, 0);
    return true;
  };
  if (parity == 0 && !put_line(field.Here())) return;
  for (uint32_t i = 0; i + 1 < h; ++i) {
    if (!field.Holds(uint64_t{s} + plan.row_bytes)) return;  // Li, and Li+1 as far as the row reads
    const uint8_t* above = field.Here();
    if (!put_line(above) || !frame.Holds(plan.row_bytes)) return;
    row(above, above + s, frame.Here(), plan.row_bytes);
    frame.Advance(plan.row_advance, 0);
    field.Advance(plan.field_advance, 0);
  }
  if (!field.Holds(s) || !put_line(field.Here())) return;
  if (parity != 0) put_line(field.Here());
}

}  // namespace qvi::field
