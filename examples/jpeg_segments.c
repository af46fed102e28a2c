/* SPDX-License-Identifier: MIT */
#include "jpeg_segments.h"

#include <string.h>

/* The length counts its own two bytes. */
static void writeSegment(FILE* out, int marker, const void* content, size_t size) {
  const size_t length = size + 2;
  const uint8_t head[4] = {0xFF, (uint8_t)marker, (uint8_t)(length >> 8), (uint8_t)length};
  fwrite(head, 1, sizeof head, out);
  fwrite(content, 1, size, out);
}

void jpegWriteStart(FILE* out) {
  fwrite("\xFF\xD8", 1, 2, out); /* SOI */
  /* APP0, JFIF 1.1: full-range Y, Cb, Cr; square pixels; no small preview. */
  writeSegment(out, 0xE0, "JFIF\0\1\1\0\0\1\0\1\0", 14);
}

void jpegWriteSteps(FILE* out, int table, const uint8_t steps[64]) {
  uint8_t content[65] = {(uint8_t)table};
  memcpy(content + 1, steps, 64);
  writeSegment(out, 0xDB, content, sizeof content); /* DQT */
}

void jpegWriteCodes(FILE* out, int kind, int table, const uint8_t bits[16],
                    const uint8_t* symbols) {
  uint8_t content[17 + 256] = {(uint8_t)(kind << 4 | table)};
  size_t count = 0;
  for (int i = 0; i < 16; ++i) count += bits[i];
  if (count > 256) count = 256; /* a byte has no more values */
  memcpy(content + 1, bits, 16);
  memcpy(content + 17, symbols, count);
  writeSegment(out, 0xC4, content, 17 + count); /* DHT */
}

void jpegWriteFrame(FILE* out, int width, int height, const JpegComponent* component, int count) {
  uint8_t content[6 + 3 * 3] = {8, /* bits of a sample */
                                (uint8_t)(height >> 8),
                                (uint8_t)height,
                                (uint8_t)(width >> 8),
                                (uint8_t)width,
                                (uint8_t)count};
  for (int c = 0; c < count; ++c) {
    uint8_t* const entry = content + 6 + 3 * c;
    entry[0] = (uint8_t)(c + 1); /* its name in SOS */
    entry[1] = (uint8_t)(component[c].across << 4 | component[c].down);
    entry[2] = (uint8_t)component[c].steps;
  }
  writeSegment(out, 0xC0, content, 6 + 3 * (size_t)count); /* SOF0: baseline */
}

void jpegWriteScan(FILE* out, const JpegComponent* component, int count) {
  uint8_t content[1 + 2 * 3 + 3] = {(uint8_t)count};
  for (int c = 0; c < count; ++c) {
    content[1 + 2 * c] = (uint8_t)(c + 1);
    content[2 + 2 * c] =
        (uint8_t)(component[c].codes[kDcCodes] << 4 | component[c].codes[kAcCodes]);
  }
  memcpy(content + 1 + 2 * count, "\0\x3F\0", 3); /* coefficients 0 to 63, all their bits */
  writeSegment(out, 0xDA, content, 4 + 2 * (size_t)count); /* SOS */
}

const char* jpegWriteEnd(FILE* out) {
  fwrite("\xFF\xD9", 1, 2, out); /* EOI */
  return fflush(out) != 0 || ferror(out) ? "the JPEG file cannot be written" : NULL;
}
