/* SPDX-License-Identifier: MIT */
/*
 * Encodes a picture that is never in memory: circular waves, computed row by row.
 *
 *   rings jpg 30000 20000 > rings.jpg
 *
 * What it shows: zepcEncodeOptions::rows asks for the rows when the encoder needs them, and
 * zepcEncodeTo() passes on the file while it is made. A test pattern of this kind, whose waves
 * become finer to the outside, shows how much a codec smooths (it is known as a zone plate).
 *
 * Why it works: an encoder of baseline JPEG needs a few rows of blocks at a time, one of JPEG 2000
 * or JPEG XR a row of tiles. With one tile they would need all rows, so this program asks for tiles.
 */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <zepcodec.h>

enum { kTileSide = 256 };

typedef struct Rings {
  double center_x, center_y;
  double speed; /* of the phase, in radians for the square of a pixel */
} Rings;

/* Called with rows to fill, from top to bottom; 0 means that they are filled. */
static int32_t fillRows(void* user, const zepcPixels* rows, int32_t y) {
  const Rings* const rings = user;
  for (int32_t i = 0; i < rows->height; ++i) {
    uint8_t* const row = (uint8_t*)rows->data + (size_t)i * rows->stride;
    const double dy = y + i - rings->center_y;
    for (int32_t x = 0; x < rows->width; ++x) {
      const double dx = x - rings->center_x;
      row[x] = (uint8_t)(127.5 + 127 * cos(rings->speed * (dx * dx + dy * dy)));
    }
  }
  return 0;
}

static int32_t writeOut(void* user, const void* data, size_t size) {
  (void)user;
  return fwrite(data, 1, size, stdout) == size ? 0 : 1;
}

static int fail(const char* problem) {
  fprintf(stderr, "rings: %s\n", problem);
  return 1;
}

int main(int argc, char** argv) {
  const zepcFormat format = argc == 4 ? zepcFormatOfName(argv[1]) : zepcFormatUnknown;
  zepcPixels pixels = {.size = sizeof(pixels),
                       .width = argc == 4 ? (int32_t)strtol(argv[2], NULL, 10) : 0,
                       .height = argc == 4 ? (int32_t)strtol(argv[3], NULL, 10) : 0,
                       .layout = zepcLayoutGrey,
                       .sample = zepcSampleU8};
  zepcJpeg2000Options jpeg2000 = {
      .size = sizeof(jpeg2000), .tile_width = kTileSide, .tile_height = kTileSide};
  zepcJpegXrOptions jpeg_xr = {
      .size = sizeof(jpeg_xr), .tile_width = kTileSide, .tile_height = kTileSide};
  Rings rings;
  zepcEncodeOptions options = {.size = sizeof(options),
                               .format = format,
                               .jpeg2000 = &jpeg2000,
                               .jpeg_xr = &jpeg_xr,
                               .rows = fillRows,
                               .rows_user = &rings};
  if (format == zepcFormatUnknown) return fail("give the extension of a format, width and height");
  rings.center_x = pixels.width / 2.0;
  rings.center_y = pixels.height / 2.0;
  /* At the nearest edge a wave takes four pixels. */
  rings.speed = 3.14159265 / 2 / (rings.center_x < rings.center_y ? pixels.width : pixels.height);
  if (zepcEncodeTo(&pixels, &options, writeOut, NULL) < 0) return fail(zepcLastError());
  return fflush(stdout) == 0 ? 0 : fail("standard output cannot be written");
}
