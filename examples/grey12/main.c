/* Converts a built-in 12-bit grey ramp to BGRX32 and to 8-bit grey through
 * the public API and prints what it did. */
#include <stdio.h>
#include <string.h>

#include "qvb.h"
#include "qvi.h"

enum { W = 16, H = 4 };

static const char* StatusName(Status s) {
  switch (s) {
    case STATUS_OK: return "STATUS_OK";
    case STATUS_BAD_BUFFER: return "STATUS_BAD_BUFFER";
    case STATUS_BAD_PARAMETER: return "STATUS_BAD_PARAMETER";
    case STATUS_BAD_BAYER_MODE: return "STATUS_BAD_BAYER_MODE";
    default: return "another status";
  }
}

int main(void) {
  static uint16_t grey12[H][W];
  static uint8_t bgrx[H][W * 4];
  static uint8_t grey8[H][W];
  BufferHandle src, to_bgrx, to_grey8;
  Status s1, s2;
  int x, y;

  for (y = 0; y < H; ++y)
    for (x = 0; x < W; ++x) grey12[y][x] = (uint16_t)((x * 4095) / (W - 1) ^ (y << 2));
  memset(bgrx, 0, sizeof bgrx);

  QVB_BufferCreate(grey12, W, H, W * 2, FMT_Y12, &src);
  QVB_BufferCreate(bgrx, W, H, W * 4, FMT_BGRX32, &to_bgrx);
  QVB_BufferCreate(grey8, W, H, W, FMT_Y8, &to_grey8);

  s1 = QVI_Convert(src, to_bgrx);
  s2 = QVI_Convert(src, to_grey8);
  printf("12-bit grey %dx%d -> BGRX32: %s\n", W, H, StatusName(s1));
  printf("12-bit grey %dx%d -> Y8:     %s\n", W, H, StatusName(s2));
  printf("line 0, 12-bit in / 8-bit out / BGRX32 bytes of the first pixels:\n");
  for (x = 0; x < W; x += 5)
    printf("  x=%2d  0x%03X -> 0x%02X   %02X %02X %02X %02X\n", x, grey12[0][x], grey8[0][x],
           bgrx[0][4 * x], bgrx[0][4 * x + 1], bgrx[0][4 * x + 2], bgrx[0][4 * x + 3]);

  QVB_BufferDestroy(src);
  QVB_BufferDestroy(to_bgrx);
  QVB_BufferDestroy(to_grey8);
  return s1 == STATUS_OK && s2 == STATUS_OK ? 0 : 1;
}
