/* Converts a small 8-bit grey gradient to RGB16 with an installed qvi. */
#include <stdio.h>

#include <qvb.h>
#include <qvi.h>

int main(void) {
  uint8_t grey[2][8];
  uint16_t rgb16[2][8];
  BufferHandle src, dst;
  Status status;
  int x, y;

  for (y = 0; y < 2; ++y)
    for (x = 0; x < 8; ++x) grey[y][x] = (uint8_t)(x * 36 + y);
  QVB_BufferCreate(grey, 8, 2, sizeof grey[0], FMT_Y8, &src);
  QVB_BufferCreate(rgb16, 8, 2, sizeof rgb16[0], FMT_RGB16, &dst);
  status = QVI_Convert(src, dst);
  QVB_BufferDestroy(src);
  QVB_BufferDestroy(dst);
  if (status != STATUS_OK || rgb16[0][7] != 0xFFFF) {
    fprintf(stderr, "conversion failed: status %u\n", (unsigned)status);
    return 1;
  }
  printf("converted 8x2 grey to RGB16: first line %04X .. %04X\n", rgb16[0][0], rgb16[0][7]);
  return 0;
}
