/* SPDX-License-Identifier: MIT */
/* pnm.h: pictures of 8-bit samples in memory, and as PGM (P5, grey) and PPM (P6, RGB) files. */
#ifndef EXAMPLES_PNM_H
#define EXAMPLES_PNM_H

#include <stdint.h>
#include <stdio.h>

typedef struct Picture {
  int width, height;
  int channels;     /* 1: grey, 3: RGB */
  uint8_t* samples; /* row by row without gaps; the caller releases them with free() */
} Picture;

/* Each function returns null, or a sentence that says what is wrong. */

/* A black picture. Start with Picture picture = {0}, and free(picture.samples) in any case. */
const char* pictureCreate(Picture* picture, int width, int height, int channels);
const char* pnmRead(FILE* in, Picture* picture);
const char* pnmWrite(FILE* out, const Picture* picture);

#endif /* EXAMPLES_PNM_H */
