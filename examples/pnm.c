/* SPDX-License-Identifier: MIT */
#include "pnm.h"

#include <stdlib.h>

enum { kLargestSide = 65535, kMostPixels = 1 << 26 };

static size_t sampleCount(const Picture* picture) {
  return (size_t)picture->width * (size_t)picture->height * (size_t)picture->channels;
}

const char* pictureCreate(Picture* picture, int width, int height, int channels) {
  if (width < 1 || height < 1) return "the picture has no pixels";
  if (width > kLargestSide || height > kLargestSide || width > kMostPixels / height) {
    return "the picture is too large for this program";
  }
  picture->width = width;
  picture->height = height;
  picture->channels = channels;
  picture->samples = calloc(sampleCount(picture), 1);
  return picture->samples == NULL ? "there is not enough memory for the picture" : NULL;
}

static int isSpace(int c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

/* Skips white space and comments (# to the end of the line); returns the character after them. */
static int skipSpace(FILE* in) {
  int c = getc(in);
  while (isSpace(c) || c == '#') {
    if (c == '#') {
      while (c != '\n' && c != EOF) c = getc(in);
    } else {
      c = getc(in);
    }
  }
  return c;
}

/* A number of the header and the one space after it; -1 for no number, or one too large. */
static int readNumber(FILE* in) {
  int c = skipSpace(in);
  if (c < '0' || c > '9') return -1;
  int value = 0;
  while (c >= '0' && c <= '9' && value <= kLargestSide) {
    value = 10 * value + (c - '0');
    c = getc(in);
  }
  return isSpace(c) && value <= kLargestSide ? value : -1;
}

const char* pnmRead(FILE* in, Picture* picture) {
  const int first = getc(in), kind = getc(in);
  if (first != 'P' || (kind != '5' && kind != '6')) return "the input is not a PGM or PPM file";
  const int width = readNumber(in), height = readNumber(in), white = readNumber(in);
  if (width < 0 || height < 0) return "the size in the header is damaged or too large";
  if (white != 255) return "only samples of 0 to 255 are supported";
  const char* problem = pictureCreate(picture, width, height, kind == '5' ? 1 : 3);
  if (problem != NULL) return problem;
  const size_t count = sampleCount(picture);
  return fread(picture->samples, 1, count, in) == count ? NULL : "the picture ends too early";
}

const char* pnmWrite(FILE* out, const Picture* picture) {
  fprintf(out, "P%d\n%d %d\n255\n", picture->channels == 1 ? 5 : 6, picture->width,
          picture->height);
  fwrite(picture->samples, 1, sampleCount(picture), out);
  /* A stream remembers an error of any call before. */
  return fflush(out) != 0 || ferror(out) ? "the picture cannot be written" : NULL;
}
