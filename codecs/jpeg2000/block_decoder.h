// SPDX-License-Identifier: MIT
// Decodes code-blocks and dequantizes their coefficients, in the place where the wavelet wants them.
#ifndef ZEPJP_CODECS_JPEG2000_BLOCK_DECODER_H_
#define ZEPJP_CODECS_JPEG2000_BLOCK_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/packet_reader.h"
#include "zepjp.h"

namespace zepcodec::jpeg2000 {

struct BlockJob {
  const CodedBlock* block;
  int orientation;
  int style;
  int most_planes;  // with the shift of the region of interest
  int roi_shift;
  bool reversible;
  double quantizer_step;
  zepiSize size;
  // Where the coefficients go: which plane and where in it ...
  size_t component;
  int64_t x, y;
  // ... and so one of the two, and how far its rows lie apart.
  int32_t* integers;
  float* reals;
  int64_t row_step;
};

class BlockDecoder {
 public:
  // For blocks of up to this size.
  explicit BlockDecoder(zepiSize most);
  // False: a damaged part was left out.
  bool Decode(const BlockJob& job);

 private:
  template <class T, class Value>
  void Store(const BlockJob& job, T* to, const Value& value) const;
  void Dequantize(const BlockJob& job, int lost) const;
  void Gather(const CodedBlock::Kept& block, int most_passes);

  std::vector<uint8_t> state_;
  std::vector<int32_t> samples_;
  std::vector<uint8_t> bytes_;
  std::vector<int32_t> lengths_;
  int passes_ = 0;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_BLOCK_DECODER_H_
