// SPDX-License-Identifier: MIT
// TIFF files that the library refuses, through libtiff: other compressions, tiles, palettes,
// opacity, inks, floats and other depths.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_TIFF_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_TIFF_FILE_H_

#include <cstdint>
#include <memory>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

// The first picture of a file, row by row.
class TiffReader {
 public:
  TiffReader(ByteView input, int64_t max_pixels);
  ~TiffReader();
  TiffReader(const TiffReader&) = delete;
  TiffReader& operator=(const TiffReader&) = delete;

  int width() const;
  int height() const;
  Form form() const;
  bool is_lossless() const;
  int pictures() const;
  // That it takes beside a row of the picture, about.
  int64_t memory() const;
  // Metadata, and notes on the form of the samples.
  void TakeHead(Picture* picture);
  // Rows must come in order; some may be left out. Lost ones are black or transparent.
  void ReadRow(int y, uint8_t* row);
  // After the last row: warnings about lost rows. Fails if all that were read are lost.
  void Finish(Picture* picture);

 private:
  class Parts;
  std::unique_ptr<Parts> parts_;
};

// The whole picture.
Picture ReadTiff(ByteView input, int64_t max_pixels);

// What the directory tells.
Dimensions ReadTiffSize(ByteView input, int64_t max_pixels);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_TIFF_FILE_H_
