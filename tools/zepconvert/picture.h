// SPDX-License-Identifier: MIT
// A picture with what belongs to it, and the formats of files.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PICTURE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PICTURE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "codecs/jpeg/metadata.h"
#include "codecs/support/messages.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepconvert {

struct Picture {
  bool IsDeep() const { return image.bits() != 8; }
  // Damage: the tool prints "damaged: TEXT" and ends with exit code 4.
  void TakeWarnings(const zepcodec::Messages& messages);
  // What is unusual but costs nothing: the tool prints "note: TEXT", and the exit code stays 0.
  void TakeNotes(const zepcodec::Messages& messages);

  zepcodec::Picture image;
  zepcodec::jpeg::SavedSegments metadata;
  std::vector<std::string> notes;     // what was given up, for the user to know
  std::vector<std::string> warnings;  // what was damaged
};

enum class Format {
  kUnknown,
  kJpeg,
  kLjpeg,
  kPng,
  kPpm,
  kPgm,
  kPnm,
  kPam,
  kTiff,
  kDds,
  kJp2,
  kJ2k,
  kJxr,
  kHdr
};

// By the first bytes; of a JPEG file by its frame header.
Format FormatOfBytes(const uint8_t* data, size_t size);
// By the part behind the last dot; also "jpg" and the like alone.
Format FormatOfName(const std::string& name);
// The usual one: "jpg" and the like.
std::string Extension(Format format);

// What the first bytes of a file tell. Zero: they cannot be read.
struct Dimensions {
  int64_t width = 0;
  int64_t height = 0;
  int channels = 4;
  int sample_bytes = 1;  // of the picture that is made of it
};
Dimensions ReadDimensions(const uint8_t* data, size_t size);

// Whether files of this kind can have other depths than 8 bits here.
bool CanBeDeep(Format format);

// Refuses what is beyond the limit before memory is taken.
zepcodec::Status CheckPixels(int64_t width, int64_t height, int64_t max_pixels);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PICTURE_H_
