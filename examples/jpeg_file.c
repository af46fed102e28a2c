/* SPDX-License-Identifier: MIT */
#include "jpeg_file.h"

#include <stdlib.h>
#include <string.h>

enum { kMostBytes = 1 << 28, kMostPixels = 1 << 26 };

static const char* const kDamaged = "the header of the JPEG file is damaged or ends too early";

static int word(const uint8_t* bytes) { return bytes[0] << 8 | bytes[1]; }

/* DQT: tables of 64 steps, each with its number in front. */
static const char* readSteps(JpegFile* file, const uint8_t* content, int size) {
  for (; size >= 65; content += 65, size -= 65) {
    if (content[0] > 3) return "only four quantizer tables of 8-bit steps are supported";
    memcpy(file->steps[content[0]], content + 1, 64);
  }
  return size == 0 ? NULL : kDamaged;
}

/* DHT: kind and number, 16 counts of codes, as many symbols as they add up to. */
static const char* readCodes(JpegFile* file, const uint8_t* content, int size) {
  while (size >= 17) {
    const int kind = content[0] >> 4, table = content[0] & 15;
    int used = 17;
    for (int i = 1; i <= 16; ++i) used += content[i];
    if (kind > 1 || table > 3 || used > size) return kDamaged;
    zepiDecodeHuffmanSpec* const codes = &file->codes[kind][table];
    if (zepiDecodeHuffmanSpecInit_JPEG_8u(content + 1, content + 17, codes) != zepStatusOk) {
      return "a Huffman table is damaged";
    }
    file->hasCodes[kind][table] = 1;
    content += used;
    size -= used;
  }
  return size == 0 ? NULL : kDamaged;
}

/* Computes the blocks of an MCU and the number of MCUs that cover the picture. */
static const char* setLayout(JpegFile* file) {
  JpegComponent* const y = &file->component[0];
  if (file->components == 1) y->across = y->down = 1; /* alone, whatever the header says */
  int isSupported = y->across == 2 ? y->down == 1 || y->down == 2 : y->across == 1 && y->down == 1;
  for (int c = 1; c < file->components; ++c) {
    isSupported = isSupported && file->component[c].across == 1 && file->component[c].down == 1;
  }
  if (!isSupported) return "only sampling factors of 1x1, 2x1 and 2x2 are supported";
  file->mcusAcross = (file->width + 8 * y->across - 1) / (8 * y->across);
  file->mcus = file->mcusAcross * ((file->height + 8 * y->down - 1) / (8 * y->down));
  file->blocks = y->across * y->down + file->components - 1;
  return NULL;
}

/* SOF0: size, components. */
static const char* readFrame(JpegFile* file, const uint8_t* content, int size) {
  if (file->components != 0) return "the JPEG file has two frames";
  if (size < 6 || size != 6 + 3 * content[5]) return kDamaged;
  if (content[0] != 8) return "only samples of 8 bits are supported";
  if (content[5] != 1 && content[5] != 3) return "only one or three components are supported";
  file->height = word(content + 1);
  file->width = word(content + 3);
  file->components = content[5];
  if (file->width < 1 || file->height < 1) return "the picture has no pixels";
  if (file->width > kMostPixels / file->height) return "the picture is too large for this program";
  for (int c = 0; c < file->components; ++c) {
    const uint8_t* const entry = content + 6 + 3 * c;
    file->names[c] = entry[0];
    file->component[c].across = entry[1] >> 4;
    file->component[c].down = entry[1] & 15;
    file->component[c].steps = entry[2];
    if (entry[2] > 3) return kDamaged;
  }
  return setLayout(file);
}

/* SOS: the components of the scan and their Huffman tables. */
static const char* readScan(JpegFile* file, const uint8_t* content, int size) {
  if (file->components == 0 || size < 1 || size != 4 + 2 * content[0]) return kDamaged;
  if (content[0] != file->components) return "only files with a single scan are supported";
  for (int c = 0; c < file->components; ++c) {
    JpegComponent* const component = &file->component[c];
    const uint8_t* const entry = content + 1 + 2 * c;
    const int dc = entry[1] >> 4, ac = entry[1] & 15;
    if (entry[0] != file->names[c] || dc > 3 || ac > 3) return kDamaged;
    if (!file->hasCodes[kDcCodes][dc] || !file->hasCodes[kAcCodes][ac]) {
      return "a Huffman table is missing";
    }
    /* No step may be 0, so a table whose first step is 0 was never read. */
    if (file->steps[component->steps][0] == 0) return "a quantizer table is missing";
    component->codes[kDcCodes] = dc;
    component->codes[kAcCodes] = ac;
  }
  return NULL;
}

/* The twelfth byte of an Adobe header is 1 for Y, Cb, Cr; grey files and R, G, B have 0. */
static const char* readAdobe(const uint8_t* content, int size) {
  if (size < 12 || memcmp(content, "Adobe", 5) != 0 || content[11] == 1) return NULL;
  return "only grey pictures and Y, Cb, Cr are supported";
}

static const char* readSegment(JpegFile* file, int marker, const uint8_t* content, int size) {
  switch (marker) {
    case 0xDB: return readSteps(file, content, size);
    case 0xC4: return readCodes(file, content, size);
    case 0xC0: return readFrame(file, content, size);
    case 0xDA: return readScan(file, content, size);
    case 0xDD: /* DRI */
      if (size != 2) return kDamaged;
      file->restartInterval = word(content);
      return NULL;
    case 0xEE: return readAdobe(content, size);
    default: /* C1 to CF: other processes; the rest does not matter here */
      return marker >= 0xC1 && marker <= 0xCF ? "only baseline JPEG files are supported" : NULL;
  }
}

/* Segment by segment up to SOS, after which the coded data begins. */
static const char* readHeader(JpegFile* file) {
  const uint8_t* const bytes = file->bytes;
  if (file->size < 2 || word(bytes) != 0xFFD8) return "the input is not a JPEG file";
  int32_t at = 2;
  int marker = 0;
  while (marker != 0xDA) {
    while (file->size - at > 1 && word(bytes + at) == 0xFFFF) ++at; /* FF may be repeated */
    if (file->size - at < 4 || bytes[at] != 0xFF) return kDamaged;
    marker = bytes[at + 1];
    const int length = word(bytes + at + 2);
    if (length < 2 || length > file->size - at - 2) return kDamaged;
    const char* problem = readSegment(file, marker, bytes + at + 4, length - 2);
    if (problem != NULL) return problem;
    at += 2 + length;
  }
  file->scan = at;
  return NULL;
}

/* Reads the whole input. Its size is not known before, so the memory doubles when it is full. */
static const char* readBytes(FILE* in, JpegFile* file) {
  size_t room = 1 << 16, size = 0;
  do {
    room *= 2;
    uint8_t* const larger = realloc(file->bytes, room);
    if (larger == NULL) return "there is not enough memory for the file";
    file->bytes = larger;
    size += fread(larger + size, 1, room - size, in);
  } while (size == room && room < kMostBytes);
  if (ferror(in)) return "the input cannot be read";
  if (size == room) return "the file is too large for this program";
  file->size = (int32_t)size;
  /* Release the unused memory: then tools for memory errors detect each read beyond the end. */
  uint8_t* const exact = realloc(file->bytes, size > 0 ? size : 1);
  if (exact != NULL) file->bytes = exact;
  return NULL;
}

const char* jpegRead(FILE* in, JpegFile* file) {
  memset(file, 0, sizeof *file);
  const char* problem = readBytes(in, file);
  if (problem == NULL) problem = readHeader(file);
  if (problem != NULL) return problem;
  /* Each block takes at least two bits. A few bytes must not make a program allocate gigabytes. */
  const int64_t leastBits = 2 * (int64_t)file->mcus * file->blocks;
  return leastBits > 8 * (int64_t)(file->size - file->scan) ? "the file ends too early" : NULL;
}

void jpegFree(JpegFile* file) {
  free(file->bytes);
  file->bytes = NULL;
}
