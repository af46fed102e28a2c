/* SPDX-License-Identifier: MIT */
/* Prints the feature mask. */
#include <inttypes.h>
#include <stdio.h>

#include "zepcore.h"

int main(void) {
  printf("0x%" PRIx64 "\n", zepGetEnabledCpuFeatures());
  return 0;
}
