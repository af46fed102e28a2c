/* SPDX-License-Identifier: MIT */
/*
 * jpeg_coefficients.c: a JPEG file on standard input to a smaller one with the same pixels on
 * standard output.
 *
 *     jpeg_coefficients < photo.jpg > smaller.jpg
 *
 * What it shows: how to read the quantized coefficients of a file, and how to make a file of them
 * again. On standard error it prints what percentage of the coefficients of each frequency is 0.
 *
 * Why it works: a JPEG decoder first undoes the Huffman codes, which lose nothing, and then
 * computes pixels. A program that stops after the first step has exactly the numbers that the
 * encoder had, and can code them again. Most encoders use the codes of the standard's Annex K for
 * every picture; codes made for this picture are shorter. Tools that rotate or crop files without
 * loss work on coefficients too, because decoding and encoding again costs quality each time.
 *
 * The calls of the library are in jpeg_scan.c (decoding) and jpeg_writer.c (counting, codes,
 * encoding).
 */
#include <stdlib.h>

#include "jpeg_file.h"
#include "jpeg_scan.h"
#include "jpeg_writer.h"

/* How many blocks of component c there are, and in how many of them each coefficient is 0. */
static size_t countZeros(const JpegFile* file, const JpegBlock* blocks, int c, size_t zeros[64]) {
  size_t count = 0;
  for (int k = 0; k < 64; ++k) zeros[k] = 0;
  for (size_t i = 0; i < jpegBlockCount(file); ++i) {
    if (jpegComponentOf(file, i) != c) continue;
    for (int k = 0; k < 64; ++k) zeros[k] += blocks[i].value[k] == 0;
    ++count;
  }
  return count;
}

/* A table for each component: DC upper left, frequencies grow to the right and downwards. */
static void printZeros(FILE* out, const JpegFile* file, const JpegBlock* blocks) {
  static const char* const kNames[3] = {"Y", "Cb", "Cr"};
  for (int c = 0; c < file->components; ++c) {
    size_t zeros[64];
    const size_t count = countZeros(file, blocks, c, zeros);
    fprintf(out, "%s: %zu blocks, percent of zeros\n", kNames[c], count);
    for (int k = 0; k < 64; ++k) {
      fprintf(out, "%4.0f%s", 100.0 * (double)zeros[k] / (double)count, k % 8 == 7 ? "\n" : "");
    }
  }
}

int main(void) {
  JpegFile file;
  JpegBlock* blocks = NULL;
  const char* problem = jpegRead(stdin, &file);
  if (problem == NULL) problem = jpegReadBlocks(&file, &blocks);
  if (problem == NULL) {
    printZeros(stderr, &file, blocks);
    problem = jpegWriteBlocks(stdout, &file, blocks);
  }
  free(blocks);
  jpegFree(&file);
  if (problem != NULL) fprintf(stderr, "jpeg_coefficients: %s\n", problem);
  return problem == NULL ? 0 : 1;
}
