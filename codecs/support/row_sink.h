// SPDX-License-Identifier: MIT
// Takes the rows of a picture from a decoder while the rest is still in the file.
#ifndef ZEPJP_CODECS_SUPPORT_ROW_SINK_H_
#define ZEPJP_CODECS_SUPPORT_ROW_SINK_H_

#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec {

class RowSink {
 public:
  virtual ~RowSink() = default;

  // `rows` begin at row `y` of the picture, or of the part of it that is wanted, and are as wide.
  // They come from top to bottom without gaps, and from one thread at a time.
  virtual Status Take(const Picture& rows, int y) = 0;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_ROW_SINK_H_
