// The line methods of the de-interlacer: line duplication and line averaging.
// Both work on raw bytes and never look at the pixel format.
#include "field/field_rows.h"
#include "field/frame_walk.h"
#include "qvi.h"

namespace qvi::field {
namespace {

template <RowKernel Row>
Status LineMethod(BufferHandle field, BufferHandle frame, FieldParity parity) {
  FieldPair p;
  if (const Status s = ReadFieldPair(field, frame, AsksFormat::No, &p); s != STATUS_OK) return s;
  WalkFrame<Row>(p, WholeLines(p.field_stride), parity);
  return STATUS_OK;
}

}  // namespace
}  // namespace qvi::field

extern "C" QVI_API Status QVI_FieldToFrame_LineDup(BufferHandle field, BufferHandle frame, FieldParity parity) {
  return qvi::field::LineMethod<qvi::field::CopyAboveRow>(field, frame, parity);
}

extern "C" QVI_API Status QVI_FieldToFrame_LineAve(BufferHandle field, BufferHandle frame, FieldParity parity) {
  return qvi::field::LineMethod<qvi::field::MeanRow>(field, frame, parity);
}
