// The byte-order writers: an unsigned value put on a stream one byte at a
// time, little-endian ("i") or big-endian ("m").
#include <cstdio>

#include "qvi.h"

namespace qvi::file {
namespace {

// Puts the bytes of `value` at the given bit shifts, in order.
// Returns the last putc's result only: an earlier failed byte goes unreported.
template <unsigned... Shifts>
int PutBytesReportingLast(FILE* stream, uint32_t value) {
  int last = 0;
  ((last = std::putc(static_cast<unsigned char>(value >> Shifts), stream)), ...);
  return last;
}

}  // namespace
}  // namespace qvi::file

using qvi::file::PutBytesReportingLast;

extern "C" QVI_API int QVI_fput_ui8(FILE* stream, uint32_t value) {
  return PutBytesReportingLast<0>(stream, value);
}

extern "C" QVI_API int QVI_fput_ui16i(FILE* stream, uint32_t value) {
  return PutBytesReportingLast<0, 8>(stream, value);
}

extern "C" QVI_API int QVI_fput_ui32i(FILE* stream, uint32_t value) {
  return PutBytesReportingLast<0, 8, 16, 24>(stream, value);
}

extern "C" QVI_API int QVI_fput_ui16m(FILE* stream, uint32_t value) {
  return PutBytesReportingLast<8, 0>(stream, value);
}

extern "C" QVI_API int QVI_fput_ui32m(FILE* stream, uint32_t value) {
  return PutBytesReportingLast<24, 16, 8, 0>(stream, value);
}
