/* SPDX-License-Identifier: MIT */
/*
 * one_interval.c: decodes one restart interval of a JPEG file to a picture (PPM or PGM) on standard
 * output.
 *
 *     one_interval NUMBER < photo.jpg > part.ppm        (1 is the first interval)
 *
 * What it shows: how to jump into the middle of the coded data.
 *
 * Why it works: codes have different lengths, and DC is coded as the difference from the block
 * before. So in general a decoder must start at the beginning. But the header can announce restart
 * markers at regular distances (DRI: the number of MCUs). They are RST0 to RST7 in turn, the bytes
 * FF D0 to FF D7. After a marker, codes start with a whole byte and DC predictions with 0, so an
 * interval can be decoded on its own. Markers are found without decoding, because in coded data
 * each FF is followed by 00. Searching for a byte is much less work than decoding.
 *
 * Decoders with several threads start at restart markers too, and after damage a decoder goes on at
 * the next one.
 *
 * The picture is the smallest rectangle of MCUs that holds the interval; MCUs of other intervals in
 * it are black.
 */
#include <stdlib.h>
#include <string.h>

#include "jpeg_file.h"
#include "jpeg_scan.h"
#include "pnm.h"

/* MCUs as a rectangle, and the pixels of one. */
typedef struct Box {
  int left, top, across, down;
  int mcuWidth, mcuHeight;
} Box;

/* Skips number - 1 restart markers. Returns the position after the last one, or -1. */
static int32_t findInterval(const JpegFile* file, int number) {
  int32_t at = file->scan;
  for (int i = 1; i < number; ++i) {
    at = jpegFindMarker(file, at);
    if (at == file->size || file->bytes[at + 1] != 0xD0 + (i - 1) % 8) return -1;
    at += 2;
  }
  return at;
}

/* MCUs first to last: part of a row, or whole rows. */
static Box boxAround(const JpegFile* file, int first, int last) {
  Box box = {0, first / file->mcusAcross, file->mcusAcross, 1, 0, 0};
  box.down = last / file->mcusAcross - box.top + 1;
  if (box.down == 1) {
    box.left = first % file->mcusAcross;
    box.across = last - first + 1;
  }
  box.mcuWidth = 8 * file->component[0].across;
  box.mcuHeight = 8 * file->component[0].down;
  return box;
}

static int smaller(int a, int b) { return a < b ? a : b; }

/* A black picture, cut off at the edges of the whole picture. */
static const char* createPart(const JpegFile* file, const Box* box, Picture* part) {
  const int right = smaller(file->width, (box->left + box->across) * box->mcuWidth);
  const int bottom = smaller(file->height, (box->top + box->down) * box->mcuHeight);
  return pictureCreate(part, right - box->left * box->mcuWidth, bottom - box->top * box->mcuHeight,
                       file->components);
}

/* Converts the blocks of an MCU to its pixels, without gaps between rows. */
static zepStatus decodePixels(const JpegFile* file, uint16_t steps[3][64], JpegBlock* blocks,
                              uint8_t* pixels) {
  if (file->components == 1) {
    return zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R(blocks[0].value, pixels, 8, steps[0]);
  }
  for (int b = 0; b < file->blocks; ++b) {
    const zepStatus status =
        zepiDCTQuantInv8x8_JPEG_16s_C1I(blocks[b].value, steps[jpegComponentOf(file, (size_t)b)]);
    if (status != zepStatusOk) return status;
  }
  const int16_t* const mcu[3] = {blocks[0].value, blocks[file->blocks - 2].value,
                                 blocks[file->blocks - 1].value};
  switch (file->blocks) {
    case 3: return zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R(mcu, pixels, 3 * 8);
    case 4: return zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R(mcu, pixels, 3 * 16);
    default: return zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R(mcu, pixels, 3 * 16);
  }
}

/* Copies the pixels of an MCU that lie inside the part to its column `left`, row `top`. */
static void copyPixels(const Box* box, const uint8_t* pixels, int left, int top, Picture* part) {
  const int columns = smaller(box->mcuWidth, part->width - left);
  const int rows = smaller(box->mcuHeight, part->height - top);
  const size_t channels = (size_t)part->channels;
  for (int y = 0; y < rows; ++y) {
    const size_t to = (size_t)(top + y) * (size_t)part->width + (size_t)left;
    memcpy(part->samples + channels * to, pixels + channels * (size_t)(y * box->mcuWidth),
           channels * (size_t)columns);
  }
}

/* Decodes MCUs first to last, the first of which begins at `position`, into the part. */
static const char* decodeMcus(const JpegFile* file, int first, int last, int32_t position,
                              Picture* part) {
  const Box box = boxAround(file, first, last);
  uint16_t steps[3][64];
  JpegBlock blocks[kMostBlocks];
  uint8_t pixels[16 * 16 * 3];
  JpegScan scan;
  const char* problem = createPart(file, &box, part);
  for (int c = 0; c < file->components && problem == NULL; ++c) {
    const uint8_t* const raw = file->steps[file->component[c].steps];
    problem = problemOf(zepiQuantInvTableInit_JPEG_8u16u(raw, steps[c]));
  }
  if (problem == NULL) problem = jpegScanStart(&scan, file, first, position);
  for (int mcu = first; mcu <= last && problem == NULL; ++mcu) {
    problem = jpegScanMcu(&scan, blocks);
    if (problem == NULL) problem = problemOf(decodePixels(file, steps, blocks, pixels));
    if (problem != NULL) break;
    copyPixels(&box, pixels, (mcu % file->mcusAcross - box.left) * box.mcuWidth,
               (mcu / file->mcusAcross - box.top) * box.mcuHeight, part);
  }
  return problem;
}

static const char* decodeInterval(const JpegFile* file, long number, Picture* part) {
  const int length = file->restartInterval;
  if (length == 0) return "the file has no restart intervals";
  if (number > (file->mcus + length - 1) / length) return "the file has no interval of this number";
  const int32_t position = findInterval(file, (int)number);
  if (position < 0) return "the coded data is damaged: a restart marker is missing";
  const int first = ((int)number - 1) * length;
  return decodeMcus(file, first, smaller(first + length, file->mcus) - 1, position, part);
}

int main(int argc, char** argv) {
  const long number = argc == 2 ? strtol(argv[1], NULL, 10) : 0;
  if (number < 1) {
    fprintf(stderr, "usage: one_interval NUMBER (from 1) < picture.jpg > part.ppm\n");
    return 1;
  }
  JpegFile file;
  Picture part = {0};
  const char* problem = jpegRead(stdin, &file);
  if (problem == NULL) problem = decodeInterval(&file, number, &part);
  if (problem == NULL) problem = pnmWrite(stdout, &part);
  free(part.samples);
  jpegFree(&file);
  if (problem != NULL) fprintf(stderr, "one_interval: %s\n", problem);
  return problem == NULL ? 0 : 1;
}
