/* SPDX-License-Identifier: MIT */
#include "jpeg_writer.h"

#include <string.h>

/* Y has codes 0, Cb and Cr share codes 1. */
typedef struct Codes {
  zepiEncodeHuffmanSpec spec[2][2]; /* by kind and number */
} Codes;

static int codesOf(const JpegFile* file, int b) { return jpegComponentOf(file, b) > 0; }

static size_t mcuCount(const JpegFile* file) {
  return (size_t)file->mcusAcross * (size_t)file->mcusDown;
}

/* How often each symbol will be written, by kind, number and symbol. */
static zepStatus countSymbols(const JpegFile* file, const JpegBlock* blocks,
                              int32_t counts[2][2][256]) {
  int16_t lastDc[3] = {0, 0, 0};
  zepStatus status = zepStatusOk;
  for (size_t i = 0; i < mcuCount(file) && status == zepStatusOk; ++i) {
    for (int b = 0; b < file->blocks && status == zepStatusOk; ++b) {
      const int table = codesOf(file, b);
      status = zepiGetHuffmanStatistics8x8_JPEG_16s_C1((blocks++)->value, counts[kDcCodes][table],
                                                       counts[kAcCodes][table],
                                                       &lastDc[jpegComponentOf(file, b)]);
    }
  }
  return status;
}

/* The shortest codes for these counts: into the file, and prepared for the encoder. */
static zepStatus makeCodes(FILE* out, int kind, int table, const int32_t counts[256],
                           zepiEncodeHuffmanSpec* spec) {
  uint8_t bits[16], symbols[256];
  zepStatus status = zepiEncodeHuffmanRawTableInit_JPEG_8u(counts, bits, symbols);
  if (status == zepStatusOk) status = zepiEncodeHuffmanSpecInit_JPEG_8u(bits, symbols, spec);
  if (status == zepStatusOk) jpegWriteCodes(out, kind, table, bits, symbols);
  return status;
}

/* Size, components, tables: all that comes before the coded data. */
static zepStatus writeHeader(FILE* out, const JpegFile* file, const JpegBlock* blocks,
                             Codes* codes) {
  int32_t counts[2][2][256] = {{{0}}};
  JpegComponent component[3];
  zepStatus status = countSymbols(file, blocks, counts);
  jpegWriteStart(out);
  for (int c = 0; c < file->components; ++c) {
    component[c] = file->component[c];
    jpegWriteSteps(out, c, file->steps[component[c].steps]); /* a table for each component */
    component[c].steps = c;
    component[c].codes[kDcCodes] = component[c].codes[kAcCodes] = c > 0;
  }
  jpegWriteFrame(out, file->width, file->height, component, file->components);
  for (int table = 0; table < (file->components > 1 ? 2 : 1); ++table) {
    for (int kind = kDcCodes; kind <= kAcCodes && status == zepStatusOk; ++kind) {
      status = makeCodes(out, kind, table, counts[kind][table], &codes->spec[kind][table]);
    }
  }
  jpegWriteScan(out, component, file->components);
  return status;
}

/* The blocks of an MCU go into a small buffer, and from there to the file. */
static zepStatus writeData(FILE* out, const JpegFile* file, const JpegBlock* blocks,
                           const Codes* codes) {
  uint8_t coded[kMostBlocks * 504]; /* no block takes more than 504 bytes */
  int32_t size = 0;
  int16_t lastDc[3] = {0, 0, 0};
  zepiEncodeHuffmanState state;
  zepStatus status = zepiEncodeHuffmanStateInit_JPEG_8u(&state);
  for (size_t i = 0; i < mcuCount(file) && status == zepStatusOk; ++i) {
    for (int b = 0; b < file->blocks && status == zepStatusOk; ++b) {
      const int table = codesOf(file, b);
      status = zepiEncodeHuffman8x8_JPEG_16s1u_C1(
          (blocks++)->value, coded, sizeof coded, &size, &lastDc[jpegComponentOf(file, b)],
          &codes->spec[kDcCodes][table], &codes->spec[kAcCodes][table], &state, 0);
    }
    fwrite(coded, 1, (size_t)size, out);
    size = 0;
  }
  if (status != zepStatusOk) return status;
  /* The last bits: the flush fills their byte with ones. */
  status = zepiEncodeHuffman8x8_JPEG_16s1u_C1(NULL, coded, sizeof coded, &size, NULL, NULL, NULL,
                                              &state, 1);
  fwrite(coded, 1, (size_t)size, out);
  return status;
}

const char* jpegWriteBlocks(FILE* out, const JpegFile* file, const JpegBlock* blocks) {
  Codes codes;
  zepStatus status = writeHeader(out, file, blocks, &codes);
  if (status == zepStatusOk) status = writeData(out, file, blocks, &codes);
  return status == zepStatusOk ? jpegWriteEnd(out) : zepStatusName(status);
}
