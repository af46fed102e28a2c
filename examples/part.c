/* SPDX-License-Identifier: MIT */
/*
 * A part of a picture as a PPM file:
 *
 *   part 640 480 12000 9000 map.jp2 > town.ppm      (width, height, left, top)
 *
 * What it shows: zepcDecodeOptions::region and ::rows together. The codec decodes only what the
 * part needs and hands out rows as they are ready, so neither the picture nor the part has to be
 * in memory.
 *
 * Why it works: files in tiles tell where each tile begins, so the others are passed over. In a
 * JPEG file every code begins where the one before it ends, so all codes above the part are read,
 * but not turned into pixels; with restart markers even that is saved.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <zepcodec.h>

/* The whole file, which is small beside its pixels; null if it cannot be read. */
static uint8_t* readFile(const char* name, size_t* size) {
  FILE* const file = fopen(name, "rb");
  uint8_t* data = NULL;
  long end = -1;
  if (file == NULL) return NULL;
  if (fseek(file, 0, SEEK_END) == 0) end = ftell(file);
  if (end > 0 && fseek(file, 0, SEEK_SET) == 0) data = malloc((size_t)end);
  if (data != NULL && fread(data, 1, (size_t)end, file) != (size_t)end) {
    free(data);
    data = NULL;
  }
  fclose(file);
  *size = data == NULL ? 0 : (size_t)end;
  return data;
}

/* Called with rows of the part, from top to bottom; 0 asks for more. */
static int32_t writeRows(void* user, const zepcPixels* rows, int32_t y) {
  const size_t row_bytes = 3 * (size_t)rows->width;
  (void)user;
  (void)y;
  for (int32_t i = 0; i < rows->height; ++i) {
    const uint8_t* const row = (const uint8_t*)rows->data + (size_t)i * rows->stride;
    if (fwrite(row, 1, row_bytes, stdout) != row_bytes) return 1;
  }
  return 0;
}

static int fail(const char* problem) {
  fprintf(stderr, "part: %s\n", problem);
  return 1;
}

int main(int argc, char** argv) {
  zepcDecodeOptions options = {.size = sizeof(options),
                               .max_pixels = INT64_MAX, /* only the part takes memory */
                               .layout = zepcLayoutRgb,
                               .sample = zepcSampleU8,
                               .rows = writeRows};
  zepcPicture* picture = NULL;
  uint8_t* data;
  size_t size = 0;
  zepcStatus status;
  if (argc != 6) return fail("give width, height, left, top and the name of a file");
  options.region.width = (int32_t)strtol(argv[1], NULL, 10);
  options.region.height = (int32_t)strtol(argv[2], NULL, 10);
  options.region.x = (int32_t)strtol(argv[3], NULL, 10);
  options.region.y = (int32_t)strtol(argv[4], NULL, 10);
  if (options.region.width < 1) return fail("the part has no width");
  data = readFile(argv[5], &size);
  if (data == NULL) return fail("the file cannot be read");
  printf("P6\n%d %d\n255\n", (int)options.region.width, (int)options.region.height);
  status = zepcDecode(data, size, &options, &picture);
  zepcPictureFree(picture);
  free(data);
  if (status < 0) return fail(zepcLastError());
  return fflush(stdout) == 0 ? 0 : fail("standard output cannot be written");
}
