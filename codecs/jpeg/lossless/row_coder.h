// SPDX-License-Identifier: MIT
// Codes rows of a picture as differences: a thread's share of the encoder.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_ROW_CODER_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_ROW_CODER_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/band_joiner.h"
#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpeg/lossless/rows.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"
#include "zepjp.h"

namespace zepcodec::jpeg::lossless {

constexpr size_t kCategories = 17;
using Counts = std::array<int64_t, kCategories>;

struct Table {
  std::array<uint8_t, 16> bits;
  std::array<uint8_t, 256> categories;
  zepiEncodeHuffmanSpec spec;
};

// Rows from y on, and the row above them. That one is missing if nothing is predicted from it.
struct RowBand {
  Picture rows;
  Picture above;
  int y = 0;
};

// Whether row y is the first one of a scan or restart interval.
inline bool IsFirstRow(const EncodeOptions& options, int y) {
  return y == 0 || (options.restart_rows > 0 && y % options.restart_rows == 0);
}

class RowCoder {
 public:
  // Any thread may have one. All arguments must outlive it. `form`: of the picture.
  RowCoder(const Picture& form, const EncodeOptions& options);

  // The next rows are those of the band. It does not follow the rows before.
  void Begin(const RowBand& band);
  // It follows the rows before.
  void Continue(const RowBand& band) { band_ = &band; }

  // Adds the magnitude categories of the next row; components beyond the last entry of `counts`
  // share that one.
  void Count(std::vector<Counts>* counts);

  // Codes the next row, after the restart marker if one comes before it. `is_band`: bytes of other
  // rows come before those in `band`.
  Status Code(const std::vector<Table>& tables, bool is_band, CodedBand* band);
  // Fills up the last byte.
  Status Finish(ByteBuffer* bytes) { return CodeRow(nullptr, bytes); }
  // Instead of Finish(): fills in how to join the coded bytes to other bands.
  void Describe(CodedBand* band) const;

 private:
  void Split(const Picture& rows, int y);
  void Predict();
  Status Restart(bool is_band, CodedBand* band);
  Status CodeRow(const std::vector<Table>* tables, ByteBuffer* bytes);

  const Picture& form_;
  const EncodeOptions& options_;
  const size_t components_;
  const RowBand* band_ = nullptr;
  int y_ = 0;
  Row samples_[kMostComponents];
  Row above_[kMostComponents];
  Row differences_[kMostComponents];
  zepiEncodeHuffmanState state_;
};

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_ROW_CODER_H_
