/* SPDX-License-Identifier: MIT */
/*
 * A constructor of the earliest priority that a program may have calls exports. The kernels must be
 * chosen before it runs, also if the program contains the library.
 */
#include <stdio.h>

#include "zepjp.h"

static int failures = 0;

static void Expect(int is_right, const char* what) {
  if (is_right) return;
  fprintf(stderr, "wrong: %s\n", what);
  ++failures;
}

__attribute__((constructor(101))) static void BeforeOtherConstructors(void) {
  const uint8_t white[] = {255, 255, 255};
  const zepiSize pixel = {1, 1};
  uint8_t luminance = 0, steps[64], row[4] = {0};
  uint16_t table[64];
  int16_t block[64] = {0};
  int length = sizeof(row);
  Expect(zepjGetLibVersion() != NULL, "the version");
  Expect(
      zepiRGBToY_JPEG_8u_C3C1R(white, 3, &luminance, 1, pixel) == zepStatusOk && luminance == 255,
      "colours");
  for (int i = 0; i < 64; ++i) steps[i] = 1;
  Expect(zepiQuantInvTableInit_JPEG_8u16u(steps, table) == zepStatusOk && table[0] == 1, "tables");
  block[0] = 7;
  Expect(zepiQuantInv8x8_JPEG_16s_C1I(block, table) == zepStatusOk && block[0] == 7, "blocks");
  Expect(zepiPackBitsRow_TIFF_8u_C1(white, 3, row, &length) == zepStatusOk && length == 2, "rows");
}

int main(void) { return failures; }
