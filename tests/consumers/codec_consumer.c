/* SPDX-License-Identifier: MIT */
/* A program of a user: writes a picture to a file of each format and reads it back. */
#include <stdio.h>
#include <string.h>

#include "zepcodec.h"

static int isKept(zepcFormat format) {
  static unsigned char grey[20 * 10], again[20 * 10];
  const zepcPixels pixels = {sizeof(pixels), grey, 20, 20, 10, zepcLayoutGrey, zepcSampleU8, 0};
  const zepcPixels back = {sizeof(back), again, 20, 20, 10, zepcLayoutGrey, zepcSampleU8, 0};
  zepcEncodeOptions options = {.size = sizeof(options)};
  void* file = NULL;
  size_t size = 0;
  zepcStatus status;
  memset(grey, 90, sizeof(grey));
  memset(again, 0, sizeof(again));
  options.format = format;
  status = zepcEncode(&pixels, &options, &file, &size);
  if (status == zepcStatusOk) status = zepcDecodeInto(file, size, NULL, &back, NULL);
  zepcFree(file);
  if (status != zepcStatusOk) fprintf(stderr, "%s\n", zepcLastError());
  return status == zepcStatusOk && again[0] + 4 > 90 && again[199] < 94;
}

int main(void) {
  const zepcFormatFacts* facts;
  int count = 0;
  for (; (facts = zepcFormatAt(count)) != NULL; ++count) {
    if (!isKept(facts->format)) return 1;
  }
  printf("zepcodec %s: %d formats\n", zepcVersion(), count);
  return count == 7 ? 0 : 1;
}
