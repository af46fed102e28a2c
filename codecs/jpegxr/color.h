// SPDX-License-Identifier: MIT
// Conversion between samples and the components that are coded: a reversible colour transform
// (ITU-T T.832, 9.10), and chroma at half resolution.
#ifndef ZEPJP_CODECS_JPEGXR_COLOR_H_
#define ZEPJP_CODECS_JPEGXR_COLOR_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/support/picture.h"
#include "codecs/support/region.h"

namespace zepcodec::jpegxr {

// Reads rows of a picture into components; the last row and column are repeated to whole
// macroblocks.
class PixelReader {
 public:
  // `kept_mb_rows`: as the plane was made with.
  PixelReader(const FrameHeader& frame, size_t kept_mb_rows, CodedPlane* plane);

  // Reads a row of macroblocks, whose pixels are those of `rows`. With 4:2:0 the last row of chroma
  // samples follows with the next row.
  void ReadMbRow(size_t mb_row, const Picture& rows);

 private:
  void ReadRow(size_t y, const uint8_t* pixels, const Picture& form);
  void HalveDown(size_t y);
  Window NarrowChroma(size_t component);

  const FrameHeader& frame_;
  CodedPlane* plane_;
  Plane narrow_[2];                 // chroma at half the width
  std::vector<int32_t> chroma_[2];  // rows of it at full width
  size_t halved_ = 0;
};

// Writes pixels of a region.
class PixelWriter {
 public:
  // The first component goes to channel `channel` of the pixels.
  PixelWriter(const FrameHeader& frame, int channel, const Region& region, CodedPlane* plane);
  static size_t MemoryOf(size_t mb_width) { return 3 * (16 * mb_width + 16) * sizeof(int32_t); }

  // Row `y` of the region, to pixels as the picture has them.
  void WriteRow(int y, uint8_t* pixels, const Picture& form);

 private:
  const int32_t* ChromaRow(size_t component, size_t y);

  const FrameHeader& frame_;
  int channel_;
  CodedPlane* plane_;
  size_t left_;  // in the coded picture
  size_t top_;
  std::vector<int32_t> wide_[2], narrow_;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_COLOR_H_
