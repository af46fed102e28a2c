/* SPDX-License-Identifier: MIT */
/*
 * Decodes a file of any format that the codecs know and encodes it in another, without losing a bit
 * of depth:
 *
 *   convert jp2 < photo.jpg > photo.jp2
 *
 * Three things that a caller of zepcodec.h does everywhere:
 * - Every struct starts with its own size, and each member that stays 0 has its default.
 * - zepcLastError() returns the sentence for a negative status.
 * - The library frees what it returned: zepcPictureFree() and zepcFree().
 *
 * Damaged files are decoded as far as possible here, and their messages printed; without
 * `keeps_damaged` they would be errors.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <zepcodec.h>

typedef struct Bytes {
  uint8_t* data;
  size_t size;
} Bytes;

/* All of standard input, or no data if memory or reading fails. */
static Bytes readAll(void) {
  Bytes bytes = {NULL, 0};
  size_t capacity = 0;
  size_t count = 1;
  while (count > 0) {
    if (bytes.size == capacity) {
      uint8_t* const grown = realloc(bytes.data, capacity = 2 * capacity + 65536);
      if (grown == NULL) break;
      bytes.data = grown;
    }
    count = fread(bytes.data + bytes.size, 1, capacity - bytes.size, stdin);
    bytes.size += count;
  }
  if (count > 0 || ferror(stdin)) {
    free(bytes.data);
    bytes.data = NULL;
  }
  return bytes;
}

static void printMessages(const zepcPicture* picture) {
  zepcMessage message = {.size = sizeof(message)};
  int32_t i;
  for (i = 0; zepcPictureMessage(picture, i, &message) == zepcStatusOk; ++i) {
    fprintf(stderr, "%s: %s\n", message.is_damage ? "damaged" : "note", message.text);
  }
}

/* Called with the file piece by piece; 0 asks for more. */
static int32_t writeOut(void* user, const void* data, size_t size) {
  (void)user;
  return fwrite(data, 1, size, stdout) == size ? 0 : 1;
}

/* The picture with its metadata as a file of another format. */
static zepcStatus encode(const zepcPicture* picture, zepcFormat format) {
  zepcPixels pixels = {.size = sizeof(pixels)};
  zepcMetadata metadata = {.size = sizeof(metadata)};
  zepcEncodeOptions options = {.size = sizeof(options)};
  zepcStatus status = zepcPicturePixels(picture, &pixels);
  if (status >= 0) status = zepcPictureMetadata(picture, &metadata);
  if (status < 0) return status;
  options.format = format;
  options.metadata = &metadata;
  return zepcEncodeTo(&pixels, &options, writeOut, NULL);
}

static int fail(const char* problem) {
  fprintf(stderr, "convert: %s\n", problem);
  return 1;
}

int main(int argc, char** argv) {
  const zepcFormat format = argc == 2 ? zepcFormatOfName(argv[1]) : zepcFormatUnknown;
  zepcDecodeOptions options = {.size = sizeof(options), .keeps_damaged = 1};
  zepcPicture* picture = NULL;
  zepcStatus status;
  Bytes file;
  if (format == zepcFormatUnknown) return fail("give the extension of a format, such as jp2");
  file = readAll();
  if (file.data == NULL) return fail("standard input cannot be read");
  status = zepcDecode(file.data, file.size, &options, &picture);
  free(file.data);
  if (status < 0) return fail(zepcLastError());
  printMessages(picture);
  status = encode(picture, format);
  zepcPictureFree(picture);
  if (status < 0) return fail(zepcLastError());
  return fflush(stdout) == 0 ? 0 : fail("standard output cannot be written");
}
