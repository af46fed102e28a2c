// SPDX-License-Identifier: MIT
// The formats of files: those of the library, and the tool's own.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_FORMAT_H_
#define ZEPJP_TOOLS_ZEPCONVERT_FORMAT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "zepcodec.h"

namespace zepconvert {

enum class Format : int32_t {
  kUnknown = zepcFormatUnknown,
  // Read and written by the library.
  kJpeg = zepcFormatJpeg,
  kLosslessJpeg = zepcFormatLosslessJpeg,
  kJp2 = zepcFormatJp2,
  kJ2k = zepcFormatJ2k,
  kJpegXr = zepcFormatJpegXr,
  kDds = zepcFormatDds,
  kTiff = zepcFormatTiff,
  // The tool's own.
  kPng = 1000,
  kPpm,
  kPgm,
  kPnm,
  kPam,
  kHdr,
  kOtherTiff  // of kinds that the library does not read; not written
};

constexpr bool IsOfLibrary(Format format) {
  return format != Format::kUnknown && format < Format::kPng;
}

// What files of a format hold besides grey and RGB of 8 bits.
struct Capacity {
  uint32_t depths;  // of unsigned samples: bit n - 1 is set for n bits
  bool holds_opacity;
  bool holds_cmyk;
  bool keeps_exif;
  bool keeps_icc;
  bool keeps_xmp;
  bool keeps_resolution;
  bool keeps_jpeg_segments;

  bool HoldsDepth(int bits) const { return (depths >> (bits - 1) & 1) != 0; }
};
Capacity CapacityOf(Format format);

// True for equal ones, and within JPEG, JPEG 2000 and PNM.
bool IsSameKind(Format a, Format b);

// "JPEG 2000 (JP2)"
std::string NameOf(Format format);

// By the first bytes; of a JPEG file also by its frame header.
Format FormatOfBytes(const uint8_t* data, size_t size);
// The format by which the file is read: kOtherTiff for a TIFF file that the library refuses, where
// there is libtiff to read it.
Format ReadingFormat(const uint8_t* data, size_t size);
// By the extension of a file name; also by an extension alone, such as "jpg".
Format FormatOfName(const std::string& name);
// The usual extension, such as "jpg".
std::string Extension(Format format);
// The usual extensions of all formats.
std::vector<std::string> Extensions();
// The same in words, each after `mark`.
std::string KnownExtensions(const std::string& separator, const std::string& last_separator,
                            const std::string& mark = "");

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_FORMAT_H_
