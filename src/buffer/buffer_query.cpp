#include "buffer/buffer_query.h"

namespace qvi::buffer {

uint64_t QueryValid(BufferHandle buffer) {
  uint64_t valid = 0;
  QVB_BufferParameterGet(buffer, BUF_PARAM_VALID, &valid);
  return valid;
}

uint8_t* QueryAddress(BufferHandle buffer) {
  uint64_t address = 0;
  QVB_BufferParameterGet(buffer, BUF_PARAM_ADDRESS, &address);
  return reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(address));
}

uint32_t Query32(BufferHandle buffer, BufferParameter id) {
  uint32_t value = 0;
  QVB_BufferParameterGet(buffer, id, &value);
  return value;
}

uint32_t Query32(BufferHandle buffer, BufferParameter id, Status* query_status) {
  uint32_t value = 0;
  *query_status = QVB_BufferParameterGet(buffer, id, &value);
  return value;
}

Status ReadConversionPair(BufferHandle source, BufferHandle destination, ConversionPair* pair) {
  ConversionPair p;
  if (QueryValid(source) == 0) return STATUS_BAD_BUFFER;
  if (QueryValid(destination) == 0) return STATUS_BAD_BUFFER;
  p.dst_format = Query32(destination, BUF_PARAM_FORMAT);
  if (p.dst_format == 0) return STATUS_BAD_BUFFER;
  p.src_format = Query32(source, BUF_PARAM_FORMAT);
  if (p.src_format == 0) return STATUS_BAD_BUFFER;
  p.src = QueryAddress(source);
  if (p.src == nullptr) return STATUS_BAD_BUFFER;
  p.dst = QueryAddress(destination);
  if (p.dst == nullptr) return STATUS_BAD_BUFFER;
  p.src_stride = Query32(source, BUF_PARAM_STRIDE);
  p.dst_stride = Query32(destination, BUF_PARAM_STRIDE);
  p.src_height = Query32(source, BUF_PARAM_HEIGHT);
  p.dst_height = Query32(destination, BUF_PARAM_HEIGHT);
  p.src_width = Query32(source, BUF_PARAM_WIDTH);
  p.dst_width = Query32(destination, BUF_PARAM_WIDTH);
  p.method = Query32(source, BUF_PARAM_DEMOSAIC_METHOD);
  p.phase = Query32(source, BUF_PARAM_BAYER_PHASE);
  *pair = p;
  return STATUS_OK;
}

}  // namespace qvi::buffer
