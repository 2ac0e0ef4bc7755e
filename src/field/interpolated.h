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
Status RunInterpolated(const FieldPair& p, FieldParity parity, const FramePlan& quad_plan) {
  const FramePlan whole = LinesAtFieldStride(p.field_stride);
  return WithBestVec([&]<class V>() {
    switch (FieldLayoutOf(p.format).shape) {
      case Shape::Grey8: WalkFrame<InterpolatedRow<Shape::Grey8, Op, V>>(p, whole, parity); break;
      case Shape::Triple: WalkFrame<InterpolatedRow<Shape::Triple, Op, V>>(p, whole, parity); break;
      case Shape::Quad: WalkFrame<InterpolatedRow<Shape::Quad, Op, V>>(p, quad_plan, parity); break;
      case Shape::Yuv422: WalkFrame<InterpolatedRow<Shape::Yuv422, Op, V>>(p, whole, parity); break;
      case Shape::Unsupported: return STATUS_BAD_PARAMETER;
    }
    return STATUS_OK;
  });
}

}  // namespace qvi::field
