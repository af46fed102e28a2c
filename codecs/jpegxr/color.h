// SPDX-License-Identifier: MIT
// Conversion between samples and the components that are coded: a reversible colour transform
// (ITU-T T.832, 9.10), and chroma at half resolution.
#ifndef ZEPJP_CODECS_JPEGXR_COLOR_H_
#define ZEPJP_CODECS_JPEGXR_COLOR_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/parallel.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpegxr {

// Reads rows of a picture into components; the last row and column are repeated to whole
// macroblocks.
class PixelReader {
 public:
  // Rows of chroma before they are halved.
  struct Scratch {
    std::vector<int32_t> chroma[2];
  };

  // `kept_mb_rows`: as the plane was made with.
  PixelReader(const Picture& image, const FrameHeader& frame, size_t kept_mb_rows,
              CodedPlane* plane);

  // Reads a row of macroblocks. With 4:2:0 the last row of chroma samples follows with the next
  // row.
  void ReadMbRow(size_t mb_row);

  // The two steps of it: reads a row of samples; makes a row of 4:2:0 chroma from five rows.
  void ReadRow(size_t y, Scratch* scratch);
  void HalveDown(size_t y);

 private:
  Window NarrowChroma(size_t component);

  const Picture& image_;
  const FrameHeader& frame_;
  CodedPlane* plane_;
  Plane narrow_[2];
  Scratch scratch_;
  size_t halved_ = 0;
};

// Reads the whole picture.
Status FromImage(const Picture& image, const FrameHeader& frame, size_t threads, CodedPlane* plane);

// Writes rows of the picture; the first component goes to channel `channel` of its pixels.
class PixelWriter {
 public:
  PixelWriter(const FrameHeader& frame, int channel, CodedPlane* plane, Picture* image);
  static size_t MemoryOf(size_t mb_width) { return 3 * (16 * mb_width + 16) * sizeof(int32_t); }
  void WriteRow(size_t y);

 private:
  const int32_t* ChromaRow(size_t component, size_t y);

  const FrameHeader& frame_;
  int channel_;
  CodedPlane* plane_;
  Picture* image_;
  std::vector<int32_t> wide_[2], narrow_;
};

Status ToImage(const FrameHeader& frame, int channel, size_t threads, CodedPlane* plane,
               Picture* image);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_COLOR_H_
