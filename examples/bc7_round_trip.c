/* SPDX-License-Identifier: MIT */
/*
 * bc7_round_trip.c: a PPM picture to BC7 texture blocks and back, in every mode, with the PSNR of
 * each.
 *
 *     bc7_round_trip < photo.ppm
 *     bc7_round_trip MODE < photo.ppm > decoded.ppm
 *
 * What it shows: the texture coders, which take a whole picture in one call, and the quality of
 * their modes.
 *
 * Why it works: a block of 4x4 pixels takes 16 bytes, whatever it shows, so a graphics processor
 * can find any block without decoding those before it. A block stores two colours (the end points
 * of a line through the colours of its pixels), and for each pixel only its position on that line.
 * Eight modes divide the 128 bits in different ways: two or three lines for groups of pixels
 * (subsets), more bits for end points or for positions, a line of its own for alpha. The first bits
 * of a block tell the decoder its mode.
 *
 * One mode for all blocks shows what that mode can do; the searches choose one for each block. -1
 * is quick and usually nearly as good as -2, a thorough search that takes many times as long.
 */
#include <math.h>
#include <stdlib.h>
#include <zepjp.h>

#include "pnm.h"
#include "problem.h"

enum { kThorough = -2, kLastMode = 7 };

/* In the order of the modes from -2. */
static const char* const kDescriptions[] = {
    "the best mode for each block, thoroughly",
    "the best mode for each block, quickly",
    "3 subsets, 3-bit indexes",
    "2 subsets, 3-bit indexes",
    "3 subsets, 2-bit indexes",
    "2 subsets, exact end points",
    "alpha on a line of its own, 2 and 3 bits",
    "alpha on a line of its own, exact end points",
    "1 subset, 4-bit indexes",
    "2 subsets with alpha",
};

/* A picture as pixels R, G, B, A; its blocks; the pixels decoded from them. */
typedef struct Texture {
  uint8_t *rgba, *coded, *decoded;
  size_t pixels, blocks;
  zepiSize size;
} Texture;

static const char* createTexture(const Picture* picture, Texture* texture) {
  if (picture->channels != 3) return "a colour picture is expected (PPM)";
  const size_t width = (size_t)picture->width, height = (size_t)picture->height;
  texture->size.width = picture->width;
  texture->size.height = picture->height;
  texture->pixels = width * height;
  texture->blocks = (width + 3) / 4 * ((height + 3) / 4); /* at an edge blocks are filled up */
  texture->rgba = malloc(4 * texture->pixels);
  texture->coded = malloc(16 * texture->blocks);
  texture->decoded = malloc(4 * texture->pixels);
  if (texture->rgba == NULL || texture->coded == NULL || texture->decoded == NULL) {
    return "there is not enough memory for the texture";
  }
  for (size_t i = 0; i < texture->pixels; ++i) {
    for (int c = 0; c < 3; ++c)
      texture->rgba[4 * i + (size_t)c] = picture->samples[3 * i + (size_t)c];
    texture->rgba[4 * i + 3] = 255; /* opaque */
  }
  return NULL;
}

static void freeTexture(Texture* texture) {
  free(texture->rgba);
  free(texture->coded);
  free(texture->decoded);
}

static zepStatus roundTrip(Texture* texture, int mode) {
  const int32_t step = 4 * texture->size.width;
  zepStatus status = zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(texture->rgba, step, texture->size,
                                                                 texture->coded, mode);
  if (status != zepStatusOk) return status;
  return zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(texture->coded, texture->decoded, step,
                                                   texture->size);
}

/* The peak signal-to-noise ratio of R, G and B, in decibels. */
static double psnr(const Texture* texture) {
  double squares = 0;
  for (size_t i = 0; i < 4 * texture->pixels; ++i) {
    if (i % 4 == 3) continue;
    const double error = texture->decoded[i] - texture->rgba[i];
    squares += error * error;
  }
  return 10 * log10(255.0 * 255.0 * 3 * (double)texture->pixels / squares);
}

static const char* printModes(Texture* texture) {
  printf("%zu blocks of 16 bytes\n", texture->blocks);
  for (int mode = kThorough; mode <= kLastMode; ++mode) {
    const char* problem = problemOf(roundTrip(texture, mode));
    if (problem != NULL) return problem;
    printf("mode %2d: %5.2f dB  %s\n", mode, psnr(texture), kDescriptions[mode - kThorough]);
  }
  return NULL;
}

static const char* writeDecoded(Texture* texture, int mode, Picture* picture) {
  const char* problem = problemOf(roundTrip(texture, mode));
  if (problem != NULL) return problem;
  for (size_t i = 0; i < texture->pixels; ++i) {
    for (size_t c = 0; c < 3; ++c) picture->samples[3 * i + c] = texture->decoded[4 * i + c];
  }
  return pnmWrite(stdout, picture);
}

int main(int argc, char** argv) {
  const long mode = argc == 2 ? strtol(argv[1], NULL, 10) : 0;
  if (argc > 2 || mode < kThorough || mode > kLastMode) {
    fprintf(stderr, "usage: bc7_round_trip [MODE (-2 to 7)] < picture.ppm [> decoded.ppm]\n");
    return 1;
  }
  Picture picture = {0};
  Texture texture = {0};
  const char* problem = pnmRead(stdin, &picture);
  if (problem == NULL) problem = createTexture(&picture, &texture);
  if (problem == NULL) {
    problem = argc == 2 ? writeDecoded(&texture, (int)mode, &picture) : printModes(&texture);
  }
  freeTexture(&texture);
  free(picture.samples);
  if (problem != NULL) fprintf(stderr, "bc7_round_trip: %s\n", problem);
  return problem == NULL ? 0 : 1;
}
