/* SPDX-License-Identifier: MIT */
/*
 * jpeg_segments.h: writes the parts of a baseline JPEG file around the coded data (ITU-T T.81,
 * annex B).
 *
 * The library codes blocks; the file format is the caller's. A file is a chain of segments, each
 * FF, a code, a length and its content:
 *
 *   SOI APP0 DQT... SOF0 DHT... SOS (coded data) EOI
 */
#ifndef EXAMPLES_JPEG_SEGMENTS_H
#define EXAMPLES_JPEG_SEGMENTS_H

#include <stdint.h>
#include <stdio.h>

enum { kDcCodes = 0, kAcCodes = 1 }; /* the two kinds of Huffman tables */

typedef struct JpegComponent {
  int across, down; /* its blocks in an MCU, the unit in which components alternate */
  int steps;        /* number of its quantizer table */
  int codes[2];     /* numbers of its Huffman tables, by kind */
} JpegComponent;

/* Errors of the stream are reported once, by jpegWriteEnd(). */

void jpegWriteStart(FILE* out);
/* Steps in zigzag order. */
void jpegWriteSteps(FILE* out, int table, const uint8_t steps[64]);
/* Counts of codes by length 1 to 16, and their symbols. */
void jpegWriteCodes(FILE* out, int kind, int table, const uint8_t bits[16], const uint8_t* symbols);
/* Size and components of the picture, of which there are 1 or 3. */
void jpegWriteFrame(FILE* out, int width, int height, const JpegComponent* component, int count);
/* The last segment before the coded data: all components in one scan. */
void jpegWriteScan(FILE* out, const JpegComponent* component, int count);
/* Returns null, or a sentence if anything since the start could not be written. */
const char* jpegWriteEnd(FILE* out);

#endif /* EXAMPLES_JPEG_SEGMENTS_H */
