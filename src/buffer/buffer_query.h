// The only code that talks to the buffer library.  Every query clears its
// storage first and never looks at the query's own return value: a buffer is
// judged by the answers alone, and an unanswered query reads as 0.
#pragma once

#include <cstdint>

#include "qvi.h"

namespace qvi::buffer {

// BUF_PARAM_VALID: non-zero for a usable buffer.
uint64_t QueryValid(BufferHandle buffer);

// BUF_PARAM_ADDRESS as a byte pointer (nullptr when the buffer has no memory).
uint8_t* QueryAddress(BufferHandle buffer);

// Any of the unsigned 32-bit parameters.
uint32_t Query32(BufferHandle buffer, BufferParameter id);

// As Query32, also handing back the buffer library's status for the query
// (the raw file dump passes it on as its own success status).
uint32_t Query32(BufferHandle buffer, BufferParameter id, Status* query_status);

// Everything QVI_Convert learns about its two buffers.
struct ConversionPair {
  uint8_t* src = nullptr;
  uint8_t* dst = nullptr;
  uint32_t src_format = 0;
  uint32_t dst_format = 0;
  uint32_t src_stride = 0;
  uint32_t dst_stride = 0;
  uint32_t src_height = 0;
  uint32_t dst_height = 0;
  uint32_t src_width = 0;
  uint32_t dst_width = 0;
  uint32_t method = 0;  // BUF_PARAM_DEMOSAIC_METHOD of the source
  uint32_t phase = 0;   // BUF_PARAM_BAYER_PHASE of the source
};

// The two-buffer validation sequence: validity of source then destination,
// format of destination then source, address of source then destination;
// the first failure returns STATUS_BAD_BUFFER.  Then, unchecked, strides,
// heights and widths (source before destination each time) and the source's
// demosaic method and phase.
Status ReadConversionPair(BufferHandle source, BufferHandle destination, ConversionPair* pair);

}  // namespace qvi::buffer
