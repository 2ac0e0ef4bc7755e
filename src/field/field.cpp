// The de-interlacer's dispatcher and its line methods, line duplication and
// line averaging, which work on raw bytes and never look at the pixel format.
#include "buffer/buffer_query.h"
#include "field/field_rows.h"
#include "field/frame_walk.h"
#include "qvi.h"

namespace qvi::field {
namespace {

template <RowKernel Row>
Status LineMethod(BufferHandle field, BufferHandle frame, FieldParity parity) {
  FieldPair p;
  if (const Status s = ReadFieldPair(field, frame, AsksFormat::No, &p); s != STATUS_OK) return s;
  WalkFrame<Row>(p, LinesAtFieldStride(p.field_stride), parity);
  return STATUS_OK;
}

}  // namespace
}  // namespace qvi::field

extern "C" QVI_API Status QVI_FieldToFrame_LineDup(BufferHandle field, BufferHandle frame, FieldParity parity) {
  return qvi::field::LineMethod<qvi::field::CopyAboveRow>(field, frame, parity);
}

extern "C" QVI_API Status QVI_FieldToFrame_LineAve(BufferHandle field, BufferHandle frame, FieldParity parity) {
  using namespace qvi::field;
  return WithBestVec([&]<class V>() { return LineMethod<MeanRow<V>>(field, frame, parity); });
}

extern "C" QVI_API Status QVI_FieldToFrame(BufferHandle field, BufferHandle frame, FieldToFrameMethod method,
                                           FieldParity parity) {
  if (qvi::buffer::QueryValid(field) == 0) return STATUS_BAD_BUFFER;
  if (qvi::buffer::QueryValid(frame) == 0) return STATUS_BAD_BUFFER;
  switch (method) {
    case FIELD_TO_FRAME_LINE_DUP: return QVI_FieldToFrame_LineDup(field, frame, parity);
    case FIELD_TO_FRAME_LINE_AVE: return QVI_FieldToFrame_LineAve(field, frame, parity);
    case FIELD_TO_FRAME_BILINEAR: return QVI_FieldToFrame_Bilinear(field, frame, parity);
    case FIELD_TO_FRAME_MEDIAN: return QVI_FieldToFrame_Median(field, frame, parity);
    default: return STATUS_BAD_PARAMETER;
  }
}
