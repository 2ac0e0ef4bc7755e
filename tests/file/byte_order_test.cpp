// The byte-order writers: which bytes go out in which order, and that only
// the last putc's result comes back.
#include <gtest/gtest.h>
#include <stdio.h>

#include <vector>

#include "qvi.h"

namespace qvi::test {
namespace {

// An unbuffered stream that keeps what it is given but refuses the byte 0xEE.
std::vector<uint8_t> arrived;
FILE* OpenPickyStream() {
  arrived.clear();
  cookie_io_functions_t io{};
  io.write = [](void*, const char* bytes, size_t n) -> ssize_t {
    if (static_cast<uint8_t>(bytes[0]) == 0xEE) return -1;
    arrived.insert(arrived.end(), bytes, bytes + n);
    return static_cast<ssize_t>(n);
  };
  FILE* stream = fopencookie(nullptr, "w", io);
  setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

TEST(ByteOrder, WritersPutTheirBytesInOrderAndReportTheLastPutcOnly) {
  struct Case {
    int (*put)(FILE*, uint32_t);
    uint32_t value;
    std::vector<uint8_t> bytes;
    int result;
  };
  const Case cases[] = {
      {QVI_fput_ui8, 0x11223344, {0x44}, 0x44},
      {QVI_fput_ui16i, 0x11223344, {0x44, 0x33}, 0x33},
      {QVI_fput_ui32i, 0x11223344, {0x44, 0x33, 0x22, 0x11}, 0x11},
      {QVI_fput_ui16m, 0x11223344, {0x33, 0x44}, 0x44},
      {QVI_fput_ui32m, 0x11223344, {0x11, 0x22, 0x33, 0x44}, 0x44},
      {QVI_fput_ui32i, 0xFF000000, {0x00, 0x00, 0x00, 0xFF}, 255},  // not EOF
      {QVI_fput_ui8, 0x12EE, {}, EOF},
      {QVI_fput_ui16i, 0xEE12, {0x12}, EOF},
      {QVI_fput_ui16m, 0xEE12, {0x12}, 0x12},  // the failed first byte goes unreported
      {QVI_fput_ui32m, 0xEEEE0012, {0x00, 0x12}, 0x12},
  };
  for (const Case& c : cases) {
    FILE* stream = OpenPickyStream();
    EXPECT_EQ(c.put(stream, c.value), c.result) << std::hex << c.value;
    fclose(stream);
    EXPECT_EQ(arrived, c.bytes) << std::hex << c.value;
  }
}

}  // namespace
}  // namespace qvi::test
