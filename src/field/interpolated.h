// The walk of the two interpolating de-interlacers (bilinear and median):
// the row kernel is chosen once per call from the field's format.
#pragma once

#include "field/field_formats.h"
#include "field/field_rows.h"
#include "field/frame_walk.h"

namespace qvi::field {

// Walks the frame with Op as the interior rule of the field's format.  The
// 4-byte formats lay out their missing lines by `quad_plan`, each method in
// its own way; the others use whole lines.  A format outside the table
// returns STATUS_BAD_PARAMETER with nothing written.
template <class Op>
Status RunInterpolated(const View& field, const View& frame, FieldParity parity, const FramePlan& quad_plan) {
  const FramePlan whole = LinesAtFieldStride(field.stride);
  const FieldKernels* fast = FieldKernelsOf(Chosen());
  const auto walk = [&]<Shape S>(const FramePlan& plan) {
    WalkFrame(field, frame, plan, parity, [fast](const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) {
      InterpolatedRow<S, Op>(a, b, out, n, fast);
    });
  };
  switch (FieldLayoutOf(field.format).shape) {
    case Shape::Grey8: walk.template operator()<Shape::Grey8>(whole); break;
    case Shape::Triple: walk.template operator()<Shape::Triple>(whole); break;
    case Shape::Quad: walk.template operator()<Shape::Quad>(quad_plan); break;
    case Shape::Yuv422: walk.template operator()<Shape::Yuv422>(whole); break;
    case Shape::Unsupported: return STATUS_BAD_PARAMETER;
  }
  return STATUS_OK;
}

// An interpolating method from call to result: the checks, then the walk,
// the 4-byte formats' missing lines laid out by QuadPlan(field stride).
template <class Op, FramePlan (*QuadPlan)(uint32_t)>
Status Interpolate(BufferHandle field, BufferHandle frame, FieldParity parity) {
  View f, d;
  if (const Status s = ReadFieldAndFrame(field, frame, buffer::FieldFormat::Asked, &f, &d); s != STATUS_OK) return s;
  return RunInterpolated<Op>(f, d, parity, QuadPlan(f.stride));
}

}  // namespace qvi::field
