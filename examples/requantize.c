/* SPDX-License-Identifier: MIT */
/*
 * requantize.c: a JPEG file on standard input to one of lower quality on standard output.
 *
 *     requantize QUALITY < photo.jpg > smaller.jpg
 *
 * What it shows: a change of quality on coefficients, without pixels.
 *
 *   coefficient * old step    zepiQuantInv8x8_JPEG_16s_C1I
 *   ... / new step, rounded   zepiQuantFwd8x8_JPEG_16s_C1I
 *
 * Why it works: the steps decide how exact each coefficient is, and a decoder multiplies by
 * whatever steps the file names. Larger steps mean smaller numbers and more zeros, thus fewer bits.
 * Compared with decoding and encoding it saves both transforms and both colour conversions, and
 * only the coefficients are rounded.
 *
 * A step never becomes smaller than it was: that would take more bits for the same picture. Each
 * coefficient is rounded twice, by the first encoder and here, so the result is a little worse than
 * a file of this quality made from the original.
 */
#include <stdlib.h>
#include <string.h>

#include "jpeg_file.h"
#include "jpeg_scan.h"
#include "jpeg_writer.h"
#include "standard_tables.h"

/* Prepared tables of a component: old steps to multiply by, new steps to divide by. */
typedef struct Requantizer {
  uint16_t inverse[64], forward[64];
} Requantizer;

/* Replaces steps by those of the standard at this quality, where these are larger. */
static zepStatus enlargeSteps(uint8_t steps[64], int isChroma, int quality) {
  uint8_t wanted[64];
  memcpy(wanted, kSteps[isChroma], sizeof wanted);
  const zepStatus status = zepiQuantFwdRawTableInit_JPEG_8u(wanted, quality);
  for (int k = 0; k < 64; ++k) {
    if (wanted[k] > steps[k]) steps[k] = wanted[k];
  }
  return status;
}

/* Components may share a table, but their new steps differ: each gets a table of its own. */
static void separateTables(JpegFile* file) {
  uint8_t steps[3][64];
  for (int c = 0; c < file->components; ++c) {
    memcpy(steps[c], file->steps[file->component[c].steps], sizeof steps[c]);
    file->component[c].steps = c;
  }
  memcpy(file->steps, steps, sizeof steps);
}

/* The old steps go into the inverse table, the new ones into the forward table and the file. */
static zepStatus prepare(JpegFile* file, int c, int quality, Requantizer* requantizer) {
  uint8_t* const steps = file->steps[c];
  zepStatus status = zepiQuantInvTableInit_JPEG_8u16u(steps, requantizer->inverse);
  if (status == zepStatusOk) status = enlargeSteps(steps, c > 0, quality);
  if (status == zepStatusOk) status = zepiQuantFwdTableInit_JPEG_8u16u(steps, requantizer->forward);
  return status;
}

static const char* requantize(JpegFile* file, JpegBlock* blocks, int quality) {
  Requantizer requantizer[3];
  zepStatus status = zepStatusOk;
  separateTables(file);
  for (int c = 0; c < file->components && status == zepStatusOk; ++c) {
    status = prepare(file, c, quality, &requantizer[c]);
  }
  for (size_t i = 0; i < jpegBlockCount(file) && status == zepStatusOk; ++i) {
    const Requantizer* const tables = &requantizer[jpegComponentOf(file, i)];
    status = zepiQuantInv8x8_JPEG_16s_C1I(blocks[i].value, tables->inverse);
    if (status == zepStatusOk) {
      status = zepiQuantFwd8x8_JPEG_16s_C1I(blocks[i].value, tables->forward);
    }
  }
  return problemOf(status);
}

int main(int argc, char** argv) {
  const long quality = argc == 2 ? strtol(argv[1], NULL, 10) : 0;
  if (quality < 1 || quality > 100) {
    fprintf(stderr, "usage: requantize QUALITY (1 to 100) < picture.jpg > smaller.jpg\n");
    return 1;
  }
  JpegFile file;
  JpegBlock* blocks = NULL;
  const char* problem = jpegRead(stdin, &file);
  if (problem == NULL) problem = jpegReadBlocks(&file, &blocks);
  if (problem == NULL) problem = requantize(&file, blocks, (int)quality);
  if (problem == NULL) problem = jpegWriteBlocks(stdout, &file, blocks);
  free(blocks);
  jpegFree(&file);
  if (problem != NULL) fprintf(stderr, "requantize: %s\n", problem);
  return problem == NULL ? 0 : 1;
}
