// SPDX-License-Identifier: MIT
// How the samples of a TIFF file lie in it, and what they become.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_TIFF_SHAPE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_TIFF_SHAPE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/tiff_handle.h"

namespace zepconvert {

struct TiffShape {
  int64_t width = 0;
  int64_t height = 0;
  // False: libtiff makes RGB with opacity, 8 bits, of palettes, YCbCr, L*a*b* and the like.
  bool is_exact = true;
  int samples = 1;  // of a pixel, in the file
  int bits = 8;     // of a sample, in the file
  bool is_signed = false;
  bool is_float = false;
  bool is_planar = false;  // each sample of a pixel in a plane of its own
  bool is_tiled = false;
  int64_t band_width = 0;          // of a tile; in strips the width of the picture
  int64_t band_rows = 0;           // of a strip or tile
  bool is_inverted = false;        // 0 is white
  bool is_premultiplied = false;   // colours are multiplied by their opacity
  Form form;                       // of the result
  std::vector<std::string> notes;  // on what the result loses

  // The planes that are read.
  int planes() const { return is_planar ? ChannelCount(form.layout) : 1; }
  // Stored bytes of a number of pixels in a row of a plane.
  int64_t RowBytes(int64_t pixels) const;
};

// Fails for pictures that cannot be read. May tell libtiff to decode YCbCr in JPEG to RGB.
TiffShape ReadTiffShape(TiffHandle* tiff);

// Makes `count` pixels of samples in this shape. `planes` has a row of each plane.
void ConvertTiffRow(const TiffShape& shape, const std::vector<const uint8_t*>& planes, size_t count,
                    uint8_t* out);

// Divides the colours by their opacity, which comes last.
void Unmultiply(const Form& form, size_t pixels, uint8_t* row);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_TIFF_SHAPE_H_
