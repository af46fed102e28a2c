/* SPDX-License-Identifier: MIT */
/*
 * jpeg_scan.h: decodes the coded data of a JPEG file to quantized coefficients, MCU by MCU.
 *
 * An MCU (minimum coded unit) holds the blocks of one patch of the picture: those of Y from left to
 * right and from top to bottom, then Cb, then Cr. MCUs follow one another along the rows of the
 * picture.
 */
#ifndef EXAMPLES_JPEG_SCAN_H
#define EXAMPLES_JPEG_SCAN_H

#include "jpeg_file.h"

/* 64 coefficients in natural order: row by row, the frequencies of a row from low to high. */
typedef struct JpegBlock {
  int16_t value[64];
} JpegBlock;

typedef struct JpegScan {
  const JpegFile* file;
  int mcu;          /* number of the next MCU */
  int32_t position; /* of the byte that is read next */
  int marker;       /* second byte of the marker that was met, or 0 */
  int16_t lastDc[3];
  zepiDecodeHuffmanState state; /* bits that were read but not used */
} JpegScan;

/* Starts at an MCU whose data begins at `position`: the first, or one after a restart marker. */
const char* jpegScanStart(JpegScan* scan, const JpegFile* file, int mcu, int32_t position);
/*
 * Decodes the next MCU to at most kMostBlocks blocks. After the last one of a restart interval or
 * of the picture it reads the marker that follows, too.
 */
const char* jpegScanMcu(JpegScan* scan, JpegBlock* block);

/* All blocks of a file in the order of the scan. The caller releases them with free(). */
const char* jpegReadBlocks(const JpegFile* file, JpegBlock** blocks);

size_t jpegBlockCount(const JpegFile* file);
/* The component (0, 1 or 2) of block i in the order of the scan. */
int jpegComponentOf(const JpegFile* file, size_t i);
/* The position of the first marker from `position` on, or the file's size if there is none. */
int32_t jpegFindMarker(const JpegFile* file, int32_t position);

#endif /* EXAMPLES_JPEG_SCAN_H */
