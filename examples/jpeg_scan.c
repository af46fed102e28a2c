/* SPDX-License-Identifier: MIT */
#include "jpeg_scan.h"

#include <stdlib.h>
#include <string.h>

size_t jpegBlockCount(const JpegFile* file) { return (size_t)file->mcus * (size_t)file->blocks; }

int jpegComponentOf(const JpegFile* file, size_t i) {
  const int b = (int)(i % (size_t)file->blocks); /* in its MCU */
  const int blocksOfY = file->blocks - (file->components - 1);
  return b < blocksOfY ? 0 : b - blocksOfY + 1;
}

/* An FF in the data itself is followed by 00. Before a marker's code FF may be repeated. */
int32_t jpegFindMarker(const JpegFile* file, int32_t position) {
  for (int32_t at = position; at + 1 < file->size; ++at) {
    const int next = file->bytes[at + 1];
    if (file->bytes[at] == 0xFF && next != 0 && next != 0xFF) return at;
  }
  return file->size;
}

const char* jpegScanStart(JpegScan* scan, const JpegFile* file, int mcu, int32_t position) {
  memset(scan, 0, sizeof *scan);
  scan->file = file;
  scan->mcu = mcu;
  scan->position = position;
  return problemOf(zepiDecodeHuffmanStateInit_JPEG_8u(&scan->state));
}

/*
 * Restart markers are RST0 to RST7 in turn. After one the DC predictions are 0, and codes start
 * with a whole byte.
 */
static const char* readMarker(JpegScan* scan) {
  const JpegFile* const file = scan->file;
  const int isLast = scan->mcu == file->mcus;
  const int expected = isLast ? 0xD9 : 0xD0 + (scan->mcu / file->restartInterval - 1) % 8;
  if (scan->marker == 0) { /* the decoder has not read this far */
    const int32_t at = jpegFindMarker(file, scan->position);
    if (at == file->size) return "the file ends too early";
    scan->marker = file->bytes[at + 1];
    scan->position = at + 2;
  }
  if (scan->marker != expected) return "the coded data is damaged: an unexpected marker";
  return isLast ? NULL : jpegScanStart(scan, file, scan->mcu, scan->position);
}

const char* jpegScanMcu(JpegScan* scan, JpegBlock* block) {
  const JpegFile* const file = scan->file;
  for (int b = 0; b < file->blocks; ++b) {
    const int c = jpegComponentOf(file, (size_t)b);
    const JpegComponent* const component = &file->component[c];
    const zepStatus status = zepiDecodeHuffman8x8_JPEG_1u16s_C1(
        file->bytes, file->size, &scan->position, block[b].value, &scan->lastDc[c], &scan->marker,
        &file->codes[kDcCodes][component->codes[kDcCodes]],
        &file->codes[kAcCodes][component->codes[kAcCodes]], &scan->state);
    if (status == zepStatusBufferExhausted) return "the file ends too early";
    if (status < 0) return "the coded data is damaged";
  }
  ++scan->mcu;
  const int isLast = scan->mcu == file->mcus;
  const int isBeforeRestart = file->restartInterval > 0 && scan->mcu % file->restartInterval == 0;
  return isLast || isBeforeRestart ? readMarker(scan) : NULL;
}

const char* jpegReadBlocks(const JpegFile* file, JpegBlock** blocks) {
  *blocks = calloc(jpegBlockCount(file), sizeof **blocks);
  if (*blocks == NULL) return "there is not enough memory for the coefficients";
  JpegScan scan;
  const char* problem = jpegScanStart(&scan, file, 0, file->scan);
  for (int i = 0; i < file->mcus && problem == NULL; ++i) {
    problem = jpegScanMcu(&scan, *blocks + (size_t)i * (size_t)file->blocks);
  }
  return problem;
}
