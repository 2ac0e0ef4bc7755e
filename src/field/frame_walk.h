// What the de-interlacers learn about their two buffers, the checks they
// share, and the one walker that lays a field's lines into a frame and has a
// row kernel fill each missing line.
#pragma once

#include <cstdint>
#include <cstring>

#include "buffer/line_step.h"
#include "qvi.h"

namespace qvi::field {

struct FieldPair {
  uint8_t* field = nullptr;
  uint8_t* frame = nullptr;
  uint32_t format = 0;  // of the field; asked for by bilinear and median only
  uint32_t field_stride = 0;
  uint32_t frame_stride = 0;
  uint32_t field_height = 0;
  uint32_t frame_height = 0;
  uint32_t field_width = 0;
  uint32_t frame_width = 0;
};

enum class AsksFormat : bool { No, Yes };

// The checks of the four methods, in order, each failure returning
// STATUS_BAD_BUFFER: the field's validity (the frame's is asked for but the
// field's answer is tested in its place); both addresses asked for, then
// each tested for null; the field's format when `asks_format`; strides,
// heights and widths (field before frame each time); the size check.
Status ReadFieldPair(BufferHandle field, BufferHandle frame, AsksFormat asks_format, FieldPair* pair);

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
void WalkFrame(const FieldPair& p, const FramePlan& plan, FieldParity parity, const Row& row) {
  const uint32_t h = p.field_height;
  if (h == 0) return;
  buffer::LineCursor field(p.field, p.field_stride, h);
  buffer::LineCursor frame(p.frame, p.frame_stride, p.frame_height);
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
