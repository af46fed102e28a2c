/* SPDX-License-Identifier: MIT */
/*
 * first_jpeg_encoder.c: a PPM picture on standard input to a JPEG file on standard output.
 *
 *     first_jpeg_encoder [QUALITY] < photo.ppm > photo.jpg
 *
 * What it shows: the stages of a baseline JPEG encoder, and in which order they are called.
 *
 * JPEG cuts the picture into MCUs (minimum coded units), here of 16x16 pixels, and codes them one
 * after the other:
 *
 *   pixels -> Y, Cb, Cr     zepiRGBToYCbCr411LS_MCU...  four 8x8 blocks of Y, one each of Cb and Cr
 *   block  -> coefficients  zepiDCTQuantFwd8x8...       DCT, then division by a table of steps
 *   block  -> bits          zepiEncodeHuffman8x8...     short codes for frequent values
 *
 * Why it works: the eye sees fine colour worse than fine brightness, so one chroma value for four
 * pixels is enough. The DCT gathers what neighbouring pixels have in common in few coefficients;
 * large steps make most of the others 0, and a run of zeros costs a few bits. What loses
 * information is the reduction of chroma and the division by the steps; the quality chooses the
 * steps.
 *
 * The library makes the bits. The segments around them (sizes, tables) are the caller's:
 * jpeg_segments.c writes them.
 */
#include <stdlib.h>
#include <string.h>
#include <zepjp.h>

#include "jpeg_segments.h"
#include "pnm.h"
#include "standard_tables.h"

enum { kSide = 16, kBlocks = 6, kMostCoded = 504 }; /* no block takes more than 504 bytes */

/* 4:2:0: four blocks of Y beside one each of Cb and Cr. Tables 0 are for Y, tables 1 for chroma. */
static const JpegComponent kComponents[3] = {
    {2, 2, 0, {0, 0}}, {1, 1, 1, {1, 1}}, {1, 1, 1, {1, 1}}};

typedef struct Encoder {
  uint16_t quantizer[2][64];
  zepiEncodeHuffmanSpec dc[2], ac[2];
  int16_t lastDc[3];            /* DC is coded as the difference from the block before */
  zepiEncodeHuffmanState state; /* bits that do not fill a byte yet */
} Encoder;

/* Prepares the tables for luminance (0) or chrominance (1), and writes them into the file. */
static zepStatus prepareTables(Encoder* encoder, int table, int quality, FILE* out) {
  uint8_t steps[64];
  memcpy(steps, kSteps[table], sizeof steps);
  zepStatus status = zepiQuantFwdRawTableInit_JPEG_8u(steps, quality);
  if (status == zepStatusOk) {
    status = zepiQuantFwdTableInit_JPEG_8u16u(steps, encoder->quantizer[table]);
  }
  if (status == zepStatusOk) {
    status = zepiEncodeHuffmanSpecInit_JPEG_8u(kDcBits[table], kDcSymbols, &encoder->dc[table]);
  }
  if (status == zepStatusOk) {
    status =
        zepiEncodeHuffmanSpecInit_JPEG_8u(kAcBits[table], kAcSymbols[table], &encoder->ac[table]);
  }
  jpegWriteSteps(out, table, steps);
  jpegWriteCodes(out, kDcCodes, table, kDcBits[table], kDcSymbols);
  jpegWriteCodes(out, kAcCodes, table, kAcBits[table], kAcSymbols[table]);
  return status;
}

/* The pixels of an MCU. Those beyond an edge of the picture repeat its last column and row. */
static void copyTile(const Picture* picture, int left, int top, uint8_t* tile) {
  for (int i = 0; i < kSide * kSide; ++i) {
    int x = left + i % kSide, y = top + i / kSide;
    if (x >= picture->width) x = picture->width - 1;
    if (y >= picture->height) y = picture->height - 1;
    memcpy(tile + 3 * i, picture->samples + 3 * ((size_t)y * (size_t)picture->width + (size_t)x),
           3);
  }
}

/* All stages for one MCU. */
static zepStatus encodeMcu(Encoder* encoder, const uint8_t* tile, FILE* out) {
  int16_t block[kBlocks][64];
  int16_t* const mcu[3] = {block[0], block[4], block[5]}; /* Y, Cb, Cr */
  uint8_t coded[kBlocks * kMostCoded];
  int32_t size = 0;
  zepStatus status = zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(tile, 3 * kSide, mcu);
  for (int b = 0; b < kBlocks && status == zepStatusOk; ++b) {
    const int component = b < 4 ? 0 : b - 3, table = component > 0;
    status = zepiDCTQuantFwd8x8_JPEG_16s_C1I(block[b], encoder->quantizer[table]);
    if (status == zepStatusOk) {
      status = zepiEncodeHuffman8x8_JPEG_16s1u_C1(block[b], coded, sizeof coded, &size,
                                                  &encoder->lastDc[component], &encoder->dc[table],
                                                  &encoder->ac[table], &encoder->state, 0);
    }
  }
  fwrite(coded, 1, (size_t)size, out);
  return status;
}

/* Writes the bits that are left, with ones up to the end of their byte. */
static zepStatus flush(Encoder* encoder, FILE* out) {
  uint8_t coded[2];
  int32_t size = 0;
  const zepStatus status = zepiEncodeHuffman8x8_JPEG_16s1u_C1(NULL, coded, sizeof coded, &size,
                                                              NULL, NULL, NULL, &encoder->state, 1);
  fwrite(coded, 1, (size_t)size, out);
  return status;
}

static zepStatus encodeData(Encoder* encoder, const Picture* picture, FILE* out) {
  uint8_t tile[kSide * kSide * 3];
  zepStatus status = zepiEncodeHuffmanStateInit_JPEG_8u(&encoder->state);
  for (int top = 0; top < picture->height; top += kSide) {
    for (int left = 0; left < picture->width && status == zepStatusOk; left += kSide) {
      copyTile(picture, left, top, tile);
      status = encodeMcu(encoder, tile, out);
    }
  }
  return status == zepStatusOk ? flush(encoder, out) : status;
}

static const char* encode(const Picture* picture, int quality, FILE* out) {
  if (picture->channels != 3) return "a colour picture is expected (PPM)";
  Encoder encoder = {.lastDc = {0, 0, 0}};
  jpegWriteStart(out);
  zepStatus status = prepareTables(&encoder, 0, quality, out);
  if (status == zepStatusOk) status = prepareTables(&encoder, 1, quality, out);
  jpegWriteFrame(out, picture->width, picture->height, kComponents, 3);
  jpegWriteScan(out, kComponents, 3);
  if (status == zepStatusOk) status = encodeData(&encoder, picture, out);
  return status == zepStatusOk ? jpegWriteEnd(out) : zepStatusName(status);
}

int main(int argc, char** argv) {
  const long quality = argc > 1 ? strtol(argv[1], NULL, 10) : 75;
  if (argc > 2 || quality < 1 || quality > 100) {
    fprintf(stderr, "usage: first_jpeg_encoder [QUALITY (1 to 100)] < picture.ppm > picture.jpg\n");
    return 1;
  }
  Picture picture = {0};
  const char* problem = pnmRead(stdin, &picture);
  if (problem == NULL) problem = encode(&picture, (int)quality, stdout);
  free(picture.samples);
  if (problem != NULL) fprintf(stderr, "first_jpeg_encoder: %s\n", problem);
  return problem == NULL ? 0 : 1;
}
