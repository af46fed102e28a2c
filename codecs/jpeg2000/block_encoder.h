// SPDX-License-Identifier: MIT
// Quantizes and codes code-blocks, and finds the places where they can be truncated.
#ifndef ZEPJP_CODECS_JPEG2000_BLOCK_ENCODER_H_
#define ZEPJP_CODECS_JPEG2000_BLOCK_ENCODER_H_

#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/packet_writer.h"
#include "zepjp.h"

namespace zepcodec::jpeg2000 {

struct BlockSource {
  // The coefficients: one of the two pointers, and the distance of its rows in elements.
  const int32_t* integers;
  const float* reals;
  int64_t row_step;
  zepiSize size;
  int orientation;
  int style;
  int most_planes;
  double quantizer_step;
  double weight;  // squared error in the picture for an error of one step
};

class BlockEncoder {
 public:
  // For blocks of up to this size. Throws std::bad_alloc.
  explicit BlockEncoder(zepiSize most);
  BlockEncoder(BlockEncoder&& other) noexcept;
  BlockEncoder(const BlockEncoder&) = delete;
  BlockEncoder& operator=(const BlockEncoder&) = delete;
  ~BlockEncoder();

  // Without that many of the lowest planes.
  void Encode(const BlockSource& source, int spare_planes, EncodedBlock* block);

 private:
  template <class T, class Magnitude>
  void Quantize(const T* from, const BlockSource& source, const Magnitude& magnitude);
  void StoreBytes(EncodedBlock* block);

  zepiEncodeStateJPEG2K* state_ = nullptr;
  std::vector<int32_t> samples_;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_BLOCK_ENCODER_H_
