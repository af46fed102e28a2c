/* SPDX-License-Identifier: MIT */
/*
 * wavelet_headroom.c: what five levels of the 9/7 wavelet in 16-bit integers lose, by bits of
 * headroom.
 *
 *     wavelet_headroom [PICTURE.pgm]        (without a picture it paints one)
 *
 * What it shows: a transform over several levels, and how to prepare samples for it.
 *
 * A level splits a region into four quadrants, of which the upper left one holds the low
 * coefficients: a picture of half the size, (width + 1) / 2 by (height + 1) / 2. The next level
 * works on that quadrant, in place, with the same row step. The inverse takes the levels in reverse
 * order.
 *
 * Why headroom: each lifting step of the 9/7 wavelet multiplies by a fraction and rounds to an
 * integer. With samples of 8 bits as they are, the errors of all steps add up to more than most
 * quantizers lose. Samples times 2^n have n fraction bits, and the errors become 2^n times smaller:
 * 6 dB for each bit. But values must still fit into 16 bits, and the first lifting step can make
 * 4.2 times the largest sample (1 + 2 * 1.586). So 0 bits lose too much, 3 or 4 bits are good for
 * any picture, 6 bits only for smooth ones.
 */
#include <math.h>
#include <stdlib.h>
#include <zepjp.h>

#include "pnm.h"
#include "problem.h"

enum { kLevels = 5, kMostHeadroom = 7 };

/* A grey plane in 16 bits, the regions of its levels, and the work buffer of the transform. */
typedef struct Wavelet {
  int16_t* samples;
  int32_t step; /* bytes from row to row */
  zepiRect tile[kLevels];
  uint8_t* buffer;
} Wavelet;

static const char* createWavelet(const Picture* picture, Wavelet* wavelet) {
  int width = picture->width, height = picture->height;
  wavelet->step = width * (int32_t)sizeof(int16_t);
  for (int n = 0; n < kLevels; ++n) {
    const zepiRect tile = {0, 0, width, height};
    wavelet->tile[n] = tile;
    width = (width + 1) / 2;
    height = (height + 1) / 2;
  }
  int32_t size = 0;
  const char* problem = problemOf(zepiWTGetBufSize_D97_JPEG2K_16s_C1IR(&wavelet->tile[0], &size));
  if (problem != NULL) return problem;
  wavelet->samples = malloc((size_t)wavelet->step * (size_t)picture->height);
  wavelet->buffer = malloc((size_t)size + 1); /* not null for size 0 either */
  if (wavelet->samples != NULL && wavelet->buffer != NULL) return NULL;
  return "there is not enough memory for the transform";
}

static zepStatus transformForward(Wavelet* wavelet) {
  zepStatus status = zepStatusOk;
  for (int n = 0; n < kLevels && status == zepStatusOk; ++n) {
    status = zepiWTFwd_D97_JPEG2K_16s_C1IR(wavelet->samples, wavelet->step, &wavelet->tile[n],
                                           wavelet->buffer);
  }
  return status;
}

static zepStatus transformInverse(Wavelet* wavelet) {
  zepStatus status = zepStatusOk;
  for (int n = kLevels - 1; n >= 0 && status == zepStatusOk; --n) {
    status = zepiWTInv_D97_JPEG2K_16s_C1IR(wavelet->samples, wavelet->step, &wavelet->tile[n],
                                           wavelet->buffer);
  }
  return status;
}

static size_t countOf(const Picture* picture) {
  return (size_t)picture->width * (size_t)picture->height;
}

/* Samples less 128, so that they lie around 0, times 2^headroom. */
static void loadSamples(const Picture* picture, int headroom, int16_t* samples) {
  for (size_t i = 0; i < countOf(picture); ++i) {
    samples[i] = (int16_t)((picture->samples[i] - 128) * (1 << headroom));
  }
}

/* The peak signal-to-noise ratio in decibels, of samples before they are rounded to integers. */
static double psnr(const Picture* picture, int headroom, const int16_t* samples) {
  double squares = 0;
  for (size_t i = 0; i < countOf(picture); ++i) {
    const double error = samples[i] / (double)(1 << headroom) + 128 - picture->samples[i];
    squares += error * error;
  }
  return 10 * log10(255.0 * 255.0 * (double)countOf(picture) / squares);
}

static const char* measure(const Picture* picture, Wavelet* wavelet) {
  for (int headroom = 0; headroom <= kMostHeadroom; ++headroom) {
    loadSamples(picture, headroom, wavelet->samples);
    zepStatus status = transformForward(wavelet);
    if (status == zepStatusOk) status = transformInverse(wavelet);
    if (status != zepStatusOk) return zepStatusName(status);
    printf("%d bits of headroom: %.1f dB\n", headroom, psnr(picture, headroom, wavelet->samples));
  }
  return NULL;
}

/* Like a photograph: shades and waves of several sizes, a hard edge, some noise. */
static const char* paint(Picture* picture) {
  const char* problem = pictureCreate(picture, 512, 512, 1);
  unsigned random = 1;
  for (int i = 0; i < 512 * 512 && problem == NULL; ++i) {
    const int x = i % 512, y = i / 512;
    const int isInside = (x - 300) * (x - 300) + (y - 200) * (y - 200) < 90 * 90;
    random = random * 1664525u + 1013904223u;
    picture->samples[i] =
        (uint8_t)(128 + 50 * sin(x * 0.013 + y * 0.007) + 30 * sin(x * 0.05 - y * 0.08) +
                  12 * sin(x * 0.4 + y * 0.3) + (random >> 24) / 32.0 - 32 * isInside);
  }
  return problem;
}

static const char* readGrey(const char* name, Picture* picture) {
  FILE* const in = fopen(name, "rb");
  if (in == NULL) return "the picture cannot be opened";
  const char* problem = pnmRead(in, picture);
  fclose(in);
  if (problem == NULL && picture->channels != 1) problem = "a grey picture is expected (PGM)";
  return problem;
}

int main(int argc, char** argv) {
  if (argc > 2) {
    fprintf(stderr, "usage: wavelet_headroom [PICTURE.pgm]\n");
    return 1;
  }
  Picture picture = {0};
  Wavelet wavelet = {0};
  const char* problem = argc == 2 ? readGrey(argv[1], &picture) : paint(&picture);
  if (problem == NULL) problem = createWavelet(&picture, &wavelet);
  if (problem == NULL) problem = measure(&picture, &wavelet);
  free(wavelet.samples);
  free(wavelet.buffer);
  free(picture.samples);
  if (problem != NULL) fprintf(stderr, "wavelet_headroom: %s\n", problem);
  return problem == NULL ? 0 : 1;
}
