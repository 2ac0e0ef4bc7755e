// The de-interlacer's dispatcher and its line methods, line duplication and
// line averaging, which work on raw bytes and never look at the pixel format.
#include "buffer/queries.h"
#include "field/field_rows.h"
#include "field/frame_walk.h"
#include "qvi.h"

namespace qvi::field {
namespace {

template <class Row>
Status LineMethod(BufferHandle field, BufferHandle frame, FieldParity parity, const Row& row) {
  View f, d;
  if (const Status s = ReadFieldAndFrame(field, frame, buffer::FieldFormat::NotAsked, &f, &d); s != STATUS_OK) {
    return s;
  }
  WalkFrame(f, d, LinesAtFieldStride(f.stride), parity, row);
  return STATUS_OK;
}

}  // namespace
}  // namespace qvi::field

extern "C" QVI_API Status QVI_FieldToFrame_LineDup(BufferHandle field, BufferHandle frame, FieldParity parity) {
  return qvi::field::LineMethod(field, frame, parity, qvi::field::CopyAboveRow);
}

extern "C" QVI_API Status QVI_FieldToFrame_LineAve(BufferHandle field, BufferHandle frame, FieldParity parity) {
  using namespace qvi::field;
  const FieldKernels* fast = FieldKernelsOf(qvi::Chosen());
  return LineMethod(field, frame, parity, [fast](const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) {
    LineMeanRow(a, b, out, n, fast);
  });
}

extern "C" QVI_API Status QVI_FieldToFrame(BufferHandle field, BufferHandle frame, FieldToFrameMethod method,
                                           FieldParity parity) {
  if (const Status s = qvi::buffer::AskForFieldToFrame(field, frame); s != STATUS_OK) return s;
  switch (method) {
    case FIELD_TO_FRAME_LINE_DUP: return QVI_FieldToFrame_LineDup(field, frame, parity);
    case FIELD_TO_FRAME_LINE_AVE: return QVI_FieldToFrame_LineAve(field, frame, parity);
    case FIELD_TO_FRAME_BILINEAR: return QVI_FieldToFrame_Bilinear(field, frame, parity);
    case FIELD_TO_FRAME_MEDIAN: return QVI_FieldToFrame_Median(field, frame, parity);
    default: return STATUS_BAD_PARAMETER;
  }
}
