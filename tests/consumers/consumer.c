/* SPDX-License-Identifier: MIT */
/* A program of a user: converts a picture that is large enough for two threads. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zepcore.h"
#include "zepjp.h"

int main(void) {
  const zepiSize size = {300, 200};
  uint8_t* const rgb = malloc(300 * 200 * 3);
  uint8_t* const grey = malloc(300 * 200);
  zepStatus status;
  int is_right;
  if (rgb == NULL || grey == NULL) return 1;
  memset(rgb, 77, 300 * 200 * 3);
  zepSetNumThreads(2);
  status = zepiRGBToY_JPEG_8u_C3C1R(rgb, 900, grey, 300, size);
  printf("%s on %d threads: %s\n", zepjGetLibVersion()->name, (int)ownGetNumThreads(),
         zepStatusName(status));
  is_right = status == zepStatusOk && grey[0] == 77 && grey[300 * 200 - 1] == 77;
  free(rgb);
  free(grey);
  return is_right ? 0 : 1;
}
