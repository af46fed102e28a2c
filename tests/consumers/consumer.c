/* SPDX-License-Identifier: MIT */
/* A program of somebody else's: converts two pixels and says which variant runs. */
#include <stdio.h>

#include "zepcore.h"
#include "zepjp.h"

int main(void) {
  const uint8_t rgb[6] = {255, 255, 255, 0, 0, 0};
  uint8_t y[2];
  const zepiSize size = {2, 1};
  const zepStatus status = zepiRGBToY_JPEG_8u_C3C1R(rgb, 6, y, 2, size);
  printf("%s on %d thread(s): %s, %d %d\n", zepjGetLibVersion()->name, (int)ownGetNumThreads(),
         zepStatusName(status), y[0], y[1]);
  return status == zepStatusOk && y[0] == 255 && y[1] == 0 ? 0 : 1;
}
