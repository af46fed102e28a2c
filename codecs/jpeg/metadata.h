// SPDX-License-Identifier: MIT
// Metadata of a JPEG file: application and comment segments, resolution.
#ifndef ZEPJP_CODECS_JPEG_METADATA_H_
#define ZEPJP_CODECS_JPEG_METADATA_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/support/messages.h"
#include "codecs/support/metadata.h"

namespace zepcodec::jpeg {

// An APPn or COM segment without its marker and length.
struct Segment {
  int marker;
  std::vector<uint8_t> data;
  size_t offset = 0;  // of the marker in the file that it was read from
};

// Of the JFIF header: unit 0 says that x:y is the shape of a pixel, 1 dots an inch, 2 dots a cm.
struct Density {
  int unit = 0;
  int x = 1;
  int y = 1;
};

// The segments in the order of the file, without the JFIF and Adobe headers: those describe how the
// samples are stored, so an encoder writes its own.
struct SavedSegments {
  Density density;
  std::vector<Segment> segments;
};

// The capacity of a segment in bytes.
constexpr size_t kMaxSegmentBytes = 65533;

// A profile has up to 255. The limit stops files of many empty segments from filling the memory.
constexpr size_t kMostSegments = 4096;

// The EXIF data, a TIFF structure; empty where there is none.
std::vector<uint8_t> FindExif(const SavedSegments& metadata);
// The colour profile, joined from its segments in the order of their numbers, which count from 1
// (from 0 in some files); of two with the same number the first counts. Empty where there is none
// or a part is missing.
std::vector<uint8_t> FindIccProfile(const SavedSegments& metadata);
// Whether there is a profile or a part of one.
bool HasIccProfile(const SavedSegments& metadata);

// Append. False: too large for the form (one segment, or 255 of them).
bool AddExif(const std::vector<uint8_t>& exif, SavedSegments* metadata);
bool AddIccProfile(const std::vector<uint8_t>& profile, SavedSegments* metadata);

// The metadata in the form that all formats share. An incomplete profile is left out, with a note.
zepcodec::Metadata ToMetadata(const SavedSegments& saved, Messages* notes);
// The segments for it, and the resolution. Metadata that do not fit into segments are left out.
SavedSegments ToSegments(const zepcodec::Metadata& metadata);

// Sets the orientation in the EXIF data, if there are any, to upright.
void MakeExifUpright(SavedSegments* metadata);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_METADATA_H_
