// SPDX-License-Identifier: MIT
// From the rows of a picture to the samples of a row of MCUs.
#ifndef ZEPJP_CODECS_JPEG_STRIP_MAKER_H_
#define ZEPJP_CODECS_JPEG_STRIP_MAKER_H_

#include <cstdint>
#include <vector>

#include "codecs/jpeg/encoder.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

class StripMaker {
 public:
  // `form` has the layout and size of the picture, and need not have its rows.
  StripMaker(const Picture& form, Sampling sampling, const Geometry& geometry)
      : form_(form), sampling_(sampling), geometry_(geometry) {}

  // False: no memory.
  [[nodiscard]] bool Init();

  // The rows that Make() reads: those of some rows of MCUs, from the picture's row `y` on. They
  // must outlive the strips.
  void Use(const Picture* rows, int y) {
    rows_ = rows;
    top_ = y;
  }

  // Converts the rows under the given row of MCUs. Blocks that reach beyond the picture are filled
  // by repeating its last column and row; blocks completely beyond it keep their old values.
  void Make(int mcu_row);

  // Prefetches the pixels below some of the MCUs of a row.
  void FetchNext(int mcu_row, int first_mcu, int mcus) const;

  const uint8_t* Samples(size_t component) const { return planes_[component].data(); }
  int step() const { return geometry_.step; }

 private:
  const uint8_t* Padded(int first, int height, bool invert);
  void Convert(int first, int height);
  void ConvertCmyk(int first, int height);
  void FillBlocks(size_t component, int mcu_row);
  bool HalvesWidth() const { return sampling_ != Sampling::k444; }
  bool HalvesHeight() const { return sampling_ == Sampling::k420; }

  const uint8_t* Row(int y) const { return rows_->Row(y - top_); }

  const Picture& form_;
  const Picture* rows_ = nullptr;
  int top_ = 0;  // the picture's row that is the first of `rows_`
  Sampling sampling_;
  const Geometry& geometry_;
  std::vector<ByteBuffer> planes_;
  ByteBuffer padded_;     // rows of the picture, even in number and width
  ByteBuffer chroma_[2];  // of full resolution
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_STRIP_MAKER_H_
