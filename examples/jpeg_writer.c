/* SPDX-License-Identifier: MIT */
#include "jpeg_writer.h"

/* Y uses tables 0, Cb and Cr share tables 1. */
static int tableOf(const JpegFile* file, size_t i) { return jpegComponentOf(file, i) > 0; }

/* How often each symbol will be written, by kind of codes, table and symbol. */
static zepStatus countSymbols(const JpegFile* file, const JpegBlock* blocks,
                              int32_t counts[2][2][256]) {
  int16_t lastDc[3] = {0, 0, 0};
  zepStatus status = zepStatusOk;
  for (size_t i = 0; i < jpegBlockCount(file) && status == zepStatusOk; ++i) {
    const int table = tableOf(file, i);
    status = zepiGetHuffmanStatistics8x8_JPEG_16s_C1(blocks[i].value, counts[kDcCodes][table],
                                                     counts[kAcCodes][table],
                                                     &lastDc[jpegComponentOf(file, i)]);
  }
  return status;
}

/* Makes the shortest codes for these counts, for the file and for the encoder. */
static zepStatus makeCodes(FILE* out, int kind, int table, const int32_t counts[256],
                           zepiEncodeHuffmanSpec* spec) {
  uint8_t bits[16], symbols[256];
  zepStatus status = zepiEncodeHuffmanRawTableInit_JPEG_8u(counts, bits, symbols);
  if (status == zepStatusOk) status = zepiEncodeHuffmanSpecInit_JPEG_8u(bits, symbols, spec);
  if (status == zepStatusOk) jpegWriteCodes(out, kind, table, bits, symbols);
  return status;
}

/* Writes everything before the coded data: size, components, tables. */
static zepStatus writeHeader(FILE* out, const JpegFile* file, const JpegBlock* blocks,
                             zepiEncodeHuffmanSpec specs[2][2]) {
  int32_t counts[2][2][256] = {{{0}}};
  zepStatus status = countSymbols(file, blocks, counts);
  if (status != zepStatusOk) return status;
  JpegComponent component[3];
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
      status = makeCodes(out, kind, table, counts[kind][table], &specs[kind][table]);
    }
  }
  jpegWriteScan(out, component, file->components);
  return status;
}

/* Codes each block into a small buffer, and writes it from there to the file. */
static zepStatus writeData(FILE* out, const JpegFile* file, const JpegBlock* blocks,
                           zepiEncodeHuffmanSpec specs[2][2]) {
  uint8_t coded[504]; /* no block takes more */
  int32_t size = 0;
  int16_t lastDc[3] = {0, 0, 0};
  zepiEncodeHuffmanState state;
  zepStatus status = zepiEncodeHuffmanStateInit_JPEG_8u(&state);
  for (size_t i = 0; i < jpegBlockCount(file) && status == zepStatusOk; ++i) {
    const int table = tableOf(file, i);
    status = zepiEncodeHuffman8x8_JPEG_16s1u_C1(
        blocks[i].value, coded, sizeof coded, &size, &lastDc[jpegComponentOf(file, i)],
        &specs[kDcCodes][table], &specs[kAcCodes][table], &state, 0);
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
  zepiEncodeHuffmanSpec specs[2][2]; /* by kind of codes and table */
  zepStatus status = writeHeader(out, file, blocks, specs);
  if (status == zepStatusOk) status = writeData(out, file, blocks, specs);
  return status == zepStatusOk ? jpegWriteEnd(out) : zepStatusName(status);
}
