#include "buffer/queries.h"

namespace qvi::buffer {
namespace {

uint64_t Valid(BufferHandle buffer) {
  uint64_t valid = 0;
  QVB_BufferParameterGet(buffer, BUF_PARAM_VALID, &valid);
  return valid;
}

uint8_t* Address(BufferHandle buffer) {
  uint64_t address = 0;
  QVB_BufferParameterGet(buffer, BUF_PARAM_ADDRESS, &address);
  return reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(address));
}

uint32_t Ask32(BufferHandle buffer, BufferParameter id, Status* query_status = nullptr) {
  uint32_t value = 0;
  const Status status = QVB_BufferParameterGet(buffer, id, &value);
  if (query_status != nullptr) *query_status = status;
  return value;
}

// Strides, heights and widths, `a`'s before `b`'s each time.
void AskGeometry(BufferHandle a, BufferHandle b, View* va, View* vb) {
  va->stride = Ask32(a, BUF_PARAM_STRIDE);
  vb->stride = Ask32(b, BUF_PARAM_STRIDE);
  va->height = Ask32(a, BUF_PARAM_HEIGHT);
  vb->height = Ask32(b, BUF_PARAM_HEIGHT);
  va->width = Ask32(a, BUF_PARAM_WIDTH);
  vb->width = Ask32(b, BUF_PARAM_WIDTH);
}

}  // namespace

Status AskForConversion(BufferHandle source, BufferHandle destination, ConversionBuffers* buffers) {
  ConversionBuffers b;
  View &s = b.source, &d = b.destination;
  if (Valid(source) == 0 || Valid(destination) == 0) return STATUS_BAD_BUFFER;
  if ((d.format = Ask32(destination, BUF_PARAM_FORMAT)) == 0) return STATUS_BAD_BUFFER;
  if ((s.format = Ask32(source, BUF_PARAM_FORMAT)) == 0) return STATUS_BAD_BUFFER;
  if ((s.address = Address(source)) == nullptr) return STATUS_BAD_BUFFER;
  if ((d.address = Address(destination)) == nullptr) return STATUS_BAD_BUFFER;
  AskGeometry(source, destination, &s, &d);
  b.method = Ask32(source, BUF_PARAM_DEMOSAIC_METHOD);
  b.phase = Ask32(source, BUF_PARAM_BAYER_PHASE);
  *buffers = b;
  return STATUS_OK;
}

Status AskForDemosaic(BufferHandle source, BufferHandle destination, bool deep, uint32_t bits, View* source_view,
                      View* destination_view) {
  if (Valid(source) == 0 || Valid(destination) == 0) return STATUS_BAD_BUFFER;
  if (deep && bits == 8) return STATUS_BAD_BUFFER;
  View s, d;
  s.address = Address(source);
  s.stride = Ask32(source, BUF_PARAM_STRIDE);
  d.stride = Ask32(destination, BUF_PARAM_STRIDE);
  d.address = Address(destination);
  s.height = Ask32(source, BUF_PARAM_HEIGHT);
  s.width = Ask32(source, BUF_PARAM_WIDTH);
  *source_view = s;
  *destination_view = d;
  return STATUS_OK;
}

Status AskForFieldToFrame(BufferHandle field, BufferHandle frame) {
  return Valid(field) == 0 || Valid(frame) == 0 ? STATUS_BAD_BUFFER : STATUS_OK;
}

Status AskForDeinterlacing(BufferHandle field, BufferHandle frame, FieldFormat format, View* field_view,
                           View* frame_view) {
  // FieldValidityTestedTwice: the frame's validity is asked for, the field's
  // answer tested again in its place (QVI_FieldToFrame has tested both).
  if (Valid(field) == 0) return STATUS_BAD_BUFFER;
  static_cast<void>(Valid(frame));
  View f, d;
  f.address = Address(field);
  d.address = Address(frame);
  if (f.address == nullptr || d.address == nullptr) return STATUS_BAD_BUFFER;
  if (format == FieldFormat::Asked) f.format = Ask32(field, BUF_PARAM_FORMAT);
  AskGeometry(field, frame, &f, &d);
  *field_view = f;
  *frame_view = d;
  return STATUS_OK;
}

Status AskForFileWrite(BufferHandle buffer) { return Valid(buffer) == 0 ? STATUS_BAD_BUFFER : STATUS_OK; }

Status AskForRawDump(BufferHandle buffer, View* view, Status* stride_status) {
  View v;
  if ((v.address = Address(buffer)) == nullptr) return STATUS_BAD_BUFFER;
  v.height = Ask32(buffer, BUF_PARAM_HEIGHT);
  v.stride = Ask32(buffer, BUF_PARAM_STRIDE, stride_status);
  *view = v;
  return STATUS_OK;
}

Status AskForTiff(BufferHandle buffer, View* view) {
  View v;
  if (Valid(buffer) == 0) return STATUS_BAD_BUFFER;
  if ((v.format = Ask32(buffer, BUF_PARAM_FORMAT)) == 0) return STATUS_BAD_BUFFER;
  v.address = Address(buffer);
  v.height = Ask32(buffer, BUF_PARAM_HEIGHT);
  v.width = Ask32(buffer, BUF_PARAM_WIDTH);
  v.stride = Ask32(buffer, BUF_PARAM_STRIDE);
  *view = v;
  return STATUS_OK;
}

}  // namespace qvi::buffer
