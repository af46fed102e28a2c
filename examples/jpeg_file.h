/* SPDX-License-Identifier: MIT */
/*
 * jpeg_file.h: reads the marker segments of a JPEG file (ITU-T T.81, annex B) up to the coded data.
 *
 * Supported: baseline (SOF0, Huffman codes, 8 bits), grey or Y, Cb, Cr in one scan, where an MCU
 * has 1x1, 2x1 or 2x2 blocks of Y and one of each chroma. Other files are refused with a sentence.
 * Any bytes are safe: before a segment is read, the parser checks that it lies within the file, and
 * before a field is read, that it lies within its segment.
 */
#ifndef EXAMPLES_JPEG_FILE_H
#define EXAMPLES_JPEG_FILE_H

#include "jpeg_segments.h"
#include "problem.h"

enum { kMostBlocks = 6 }; /* blocks of an MCU: 2x2 of Y, one of Cb, one of Cr */

typedef struct JpegFile {
  uint8_t* bytes; /* the whole file */
  int32_t size;
  int32_t scan; /* position of the coded data */

  int width, height;
  int components;   /* 1 or 3 */
  uint8_t names[3]; /* of components, by which SOS refers to SOF0 */
  JpegComponent component[3];
  int mcusAcross, mcus; /* MCUs of a row, and of the whole picture */
  int blocks;           /* blocks of an MCU */
  int restartInterval;  /* MCUs from one restart marker to the next; 0: there are none */

  uint8_t steps[4][64];              /* quantizer tables in zigzag order */
  zepiDecodeHuffmanSpec codes[2][4]; /* Huffman tables, by kind */
  int hasCodes[2][4];
} JpegFile;

/* Returns null, or a sentence that says what is wrong. Call jpegFree() in any case. */
const char* jpegRead(FILE* in, JpegFile* file);
void jpegFree(JpegFile* file);

#endif /* EXAMPLES_JPEG_FILE_H */
