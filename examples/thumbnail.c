/* SPDX-License-Identifier: MIT */
/*
 * thumbnail.c: a JPEG file on standard input to a smaller picture (PPM or PGM) on standard output.
 *
 *     thumbnail 2|4|8 < photo.jpg > small.ppm
 *
 * What it shows: the reduced inverse transforms, which make 4x4 or 2x2 samples of an 8x8 block.
 *
 *   1/2   zepiDCTQuantInv8x8To4x4LS...   from the 16 coefficients of lowest frequency
 *   1/4   zepiDCTQuantInv8x8To2x2LS...   from 4 of them
 *   1/8   the mean                       DC / 8 + 128, no transform at all
 *
 * Why it works: coefficients of low frequency describe a block coarsely, those of high frequency
 * add details that the small picture cannot show. To leave them out is a good filter, and it is
 * much less work than a full transform and a filter afterwards.
 *
 * Chroma of a 4:2:0 file is at half size already, so it needs half the reduction of Y (none at
 * 1/2), and every plane comes out at the size of the small picture. In a 4:2:2 file chroma is at
 * half width only; the colour conversion doubles its columns.
 */
#include <stdlib.h>
#include <string.h>

#include "jpeg_file.h"
#include "jpeg_scan.h"
#include "pnm.h"

/* The reduced samples of a component. */
typedef struct Plane {
  uint8_t* samples;
  int32_t step;       /* bytes from row to row */
  int side;           /* samples of a block in each direction: 8, 4, 2 or 1 */
  uint16_t steps[64]; /* the prepared quantizer table */
} Plane;

static const char* createPlane(const JpegFile* file, int c, int scale, Plane* plane) {
  const JpegComponent* const component = &file->component[c];
  plane->side = 8 / scale * (file->component[0].down / component->down);
  plane->step = file->mcusAcross * component->across * plane->side;
  const int rows = file->mcus / file->mcusAcross * component->down * plane->side;
  plane->samples = malloc((size_t)plane->step * (size_t)rows);
  if (plane->samples == NULL) return "there is not enough memory for the picture";
  return problemOf(zepiQuantInvTableInit_JPEG_8u16u(file->steps[component->steps], plane->steps));
}

/* DC is 8 times the mean of the samples less 128; rounded to nearest. */
static uint8_t meanOfBlock(const JpegBlock* block, const uint16_t steps[64]) {
  const int eightTimes = block->value[0] * steps[0] + 8 * 128 + 4;
  if (eightTimes < 0) return 0;
  return (uint8_t)(eightTimes < 8 * 256 ? eightTimes / 8 : 255);
}

static zepStatus reduceBlock(const JpegBlock* block, const Plane* plane, uint8_t* samples) {
  switch (plane->side) {
    case 8:
      return zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R(block->value, samples, plane->step, plane->steps);
    case 4:
      return zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(block->value, samples, plane->step,
                                                      plane->steps);
    case 2:
      return zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(block->value, samples, plane->step,
                                                      plane->steps);
    default: *samples = meanOfBlock(block, plane->steps); return zepStatusOk;
  }
}

/* Writes the blocks of an MCU to their places in the planes. */
static zepStatus reduceMcu(const JpegFile* file, int mcu, const JpegBlock* blocks, Plane* planes) {
  const int mcuColumn = mcu % file->mcusAcross, mcuRow = mcu / file->mcusAcross;
  zepStatus status = zepStatusOk;
  for (int b = 0; b < file->blocks && status == zepStatusOk; ++b) {
    const int c = jpegComponentOf(file, (size_t)b);
    const JpegComponent* const component = &file->component[c];
    const Plane* const plane = &planes[c];
    const int inMcu = c == 0 ? b : 0; /* chroma has one block */
    const int column = mcuColumn * component->across + inMcu % component->across;
    const int row = mcuRow * component->down + inMcu / component->across;
    const size_t at = (size_t)row * (size_t)plane->side * (size_t)plane->step +
                      (size_t)column * (size_t)plane->side;
    status = reduceBlock(&blocks[b], plane, plane->samples + at);
  }
  return status;
}

static const char* reduceScan(const JpegFile* file, Plane* planes) {
  JpegBlock blocks[kMostBlocks];
  JpegScan scan;
  const char* problem = jpegScanStart(&scan, file, 0, file->scan);
  for (int mcu = 0; mcu < file->mcus && problem == NULL; ++mcu) {
    problem = jpegScanMcu(&scan, blocks);
    if (problem == NULL) problem = problemOf(reduceMcu(file, mcu, blocks, planes));
  }
  return problem;
}

/* Converts planes to pixels, without the parts of blocks that reach beyond the picture. */
static zepStatus joinPlanes(const JpegFile* file, const Plane* planes, Picture* picture) {
  const zepiSize size = {picture->width, picture->height};
  if (file->components == 1) {
    for (int y = 0; y < picture->height; ++y) {
      memcpy(picture->samples + (size_t)y * (size_t)picture->width,
             planes[0].samples + (size_t)y * (size_t)planes[0].step, (size_t)picture->width);
    }
    return zepStatusOk;
  }
  const uint8_t* const samples[3] = {planes[0].samples, planes[1].samples, planes[2].samples};
  const int32_t steps[3] = {planes[0].step, planes[1].step, planes[2].step};
  if (steps[1] == steps[0]) {
    return zepiYCbCrToRGB_JPEG_8u_P3C3R(samples, steps[0], picture->samples, 3 * picture->width,
                                        size);
  }
  return zepiYCbCr422ToRGB_JPEG_8u_P3C3R(samples, steps, picture->samples, 3 * picture->width,
                                         size);
}

static const char* makeThumbnail(const JpegFile* file, int scale, Plane* planes, Picture* picture) {
  const char* problem = pictureCreate(picture, (file->width + scale - 1) / scale,
                                      (file->height + scale - 1) / scale, file->components);
  for (int c = 0; c < file->components && problem == NULL; ++c) {
    problem = createPlane(file, c, scale, &planes[c]);
  }
  if (problem == NULL) problem = reduceScan(file, planes);
  if (problem == NULL) problem = problemOf(joinPlanes(file, planes, picture));
  return problem;
}

int main(int argc, char** argv) {
  const long scale = argc == 2 ? strtol(argv[1], NULL, 10) : 0;
  if (scale != 2 && scale != 4 && scale != 8) {
    fprintf(stderr, "usage: thumbnail 2|4|8 < picture.jpg > small.ppm\n");
    return 1;
  }
  JpegFile file;
  Plane planes[3] = {{0}};
  Picture picture = {0};
  const char* problem = jpegRead(stdin, &file);
  if (problem == NULL) problem = makeThumbnail(&file, (int)scale, planes, &picture);
  if (problem == NULL) problem = pnmWrite(stdout, &picture);
  for (int c = 0; c < 3; ++c) free(planes[c].samples);
  free(picture.samples);
  jpegFree(&file);
  if (problem != NULL) fprintf(stderr, "thumbnail: %s\n", problem);
  return problem == NULL ? 0 : 1;
}
