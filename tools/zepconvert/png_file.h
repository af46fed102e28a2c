// SPDX-License-Identifier: MIT
// PNG files, by libpng.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PNG_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PNG_FILE_H_

#include <cstdint>
#include <memory>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

// A file that is read row by row. Palettes are expanded; samples of less than 8 bits become 8. EXIF
// data, a colour profile, an XMP packet and the resolution are kept; other chunks are skipped. It
// takes the memory of a few rows, and at most 8 MB for each of EXIF data, profile and XMP.
class PngReader {
 public:
  // Reads up to the pixels. The bytes must outlive the reader.
  PngReader(ByteView input, int64_t max_pixels);
  ~PngReader();
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;

  int width() const;
  int height() const;
  Form form() const;
  // More than 1: interlaced rows, which come once for each pass and become complete with the last
  // pass.
  int passes() const;
  // The next row. That of a later pass is added to what the earlier ones read.
  void ReadRow(uint8_t* row);
  // The metadata that were read up to here; some may follow the pixels.
  void TakeMetadata(Picture* picture);
  // After the last row.
  void Finish();

 private:
  class Parts;
  std::unique_ptr<Parts> parts_;
};

// The whole picture.
Picture ReadPng(ByteView input, int64_t max_pixels);

// What the header tells. 0 wide: it cannot be read.
Dimensions ReadPngSize(ByteView input);

// Makes a file row by row. The picture has unsigned samples of 8 or 16 bits and is not CMYK. A
// profile is written only where PngProfileFault() finds nothing.
class PngWriter {
 public:
  PngWriter(const zepcPixels& shape, const Metadata& metadata);
  ~PngWriter();
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;

  void WriteRow(const uint8_t* row);
  void Finish();
  // The bytes of the file that have been made since the last call.
  Bytes TakeBytes();

 private:
  class Parts;
  std::unique_ptr<Parts> parts_;
};

// The whole file.
Bytes WritePng(const Image& image, const Metadata& metadata);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PNG_FILE_H_
