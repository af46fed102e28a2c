// SPDX-License-Identifier: MIT
#include "jpeg/interval_reader.h"

#include <algorithm>

namespace jpeg {

std::string Reason(zepStatus status) {
  switch (status) {
    case zepStatusBufferExhausted: return "the file ends within the picture";
    case zepStatusBadHuffCode: return "no such Huffman code, or a marker too early";
    default: return zepStatusName(status);
  }
}

bool IntervalReader::Next() {
  const size_t start = intervals_.starts[interval_++];
  if (start == Intervals::kLost) return false;
  base_ = start;
  at_ = 0;
  marker_ = 0;
  Rebase();
  zepiDecodeHuffmanStateInit_JPEG_8u(&state_);
  return true;
}

void IntervalReader::Rebase() {
  base_ += static_cast<size_t>(at_);
  at_ = 0;
  length_ = static_cast<int32_t>(std::min<size_t>(size_ - base_, INT32_MAX));
}

size_t IntervalReader::LeftOver() const {
  constexpr size_t kMayRemain = 8;
  size_t next = intervals_.end;
  if (interval_ < intervals_.starts.size()) {
    if (intervals_.starts[interval_] == Intervals::kLost) return 0;
    next = intervals_.starts[interval_] - 2;
  }
  return next <= offset() + kMayRemain ? 0 : next - offset();
}

}  // namespace jpeg
