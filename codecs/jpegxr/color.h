// SPDX-License-Identifier: MIT
// Between samples and the components that are coded: a reversible colour transform (ITU-T T.832, 9.10),
// and chroma at half resolution.
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

// Reads rows of a picture into components; outside the picture its border repeats.
class PixelReader {
 public:
  // Rows of chroma before they are halved.
  struct Scratch {
    std::vector<int32_t> chroma[2];
  };

  // `kept_mb_rows` is that of the plane.
  PixelReader(const Picture& image, const FrameHeader& frame, size_t kept_mb_rows,
              CodedPlane* plane);

  // A row of macroblocks. Of 4:2:0 chroma the last row of samples comes with the next one.
  void ReadMbRow(size_t mb_row);

  // The parts of it: a row of samples; and for 4:2:0, from the rows around it, one of chroma.
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

// All of it.
Status FromImage(const Picture& image, const FrameHeader& frame, size_t threads, CodedPlane* plane);

// Writes rows of the picture; the first component goes to `channel` of its pixels.
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
