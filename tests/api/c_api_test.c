/* A C99 program written against the public headers alone: converts a 12-bit
 * grey image to BGRX32 through libqvi and the bundled buffer library and
 * checks every byte against the documented arithmetic. */
#include <stdio.h>
#include <string.h>

#include "qvb.h"
#include "qvi.h"

enum { W = 5, H = 3, SRC_STRIDE = 12, DST_STRIDE = 24 };

int main(void) {
  uint16_t grey[H][SRC_STRIDE / 2];
  uint8_t bgrx[H][DST_STRIDE];
  BufferHandle src = 0, dst = 0;
  int failures = 0;
  int x, y, i;

  for (y = 0; y < H; ++y)
    for (x = 0; x < SRC_STRIDE / 2; ++x) grey[y][x] = (uint16_t)((y * 977 + x * 1231) & 0xFFF);
  memset(bgrx, 0xA5, sizeof bgrx);

  if (QVB_BufferCreate(grey, W, H, SRC_STRIDE, FMT_Y12, &src) != QVB_STATUS_OK ||
      QVB_BufferCreate(bgrx, W, H, DST_STRIDE, FMT_BGRX32, &dst) != QVB_STATUS_OK) {
    fprintf(stderr, "cannot create buffers\n");
    return 1;
  }
  if (QVI_Convert(src, dst) != STATUS_OK) {
    fprintf(stderr, "QVI_Convert failed\n");
    return 1;
  }
  for (y = 0; y < H; ++y) {
    for (i = 0; i < DST_STRIDE; ++i) {
      /* grey into an X format: all four bytes are the top 8 of 12 bits */
      const int expected = i < 4 * W ? grey[y][i / 4] >> 4 : 0xA5;
      if (bgrx[y][i] != expected) {
        fprintf(stderr, "line %d byte %d: %d, expected %d\n", y, i, bgrx[y][i], expected);
        ++failures;
      }
    }
  }
  QVB_BufferDestroy(src);
  QVB_BufferDestroy(dst);
  if (QVI_Convert(src, dst) != STATUS_BAD_BUFFER) {
    fprintf(stderr, "destroyed handles were accepted\n");
    ++failures;
  }
  printf("%d passed, %d failed\n", failures == 0 ? 1 : 0, failures == 0 ? 0 : 1);
  return failures == 0 ? 0 : 1;
}
