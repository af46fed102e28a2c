// SPDX-License-Identifier: MIT
#include "codecs/jpeg/interval_reader.h"

#include <algorithm>

#include "codecs/jpeg/markers/markers.h"

namespace zepcodec::jpeg {

std::string Reason(zepStatus status) {
  switch (status) {
    case zepStatusBufferExhausted: return "the file ends within the picture";
    case zepStatusBadHuffCode: return "no such Huffman code, or a marker too early";
    default: return zepStatusName(status);
  }
}

size_t IntervalReader::Next(bool ended_well) {
  is_repaired_ = false;
  if (const size_t missing = NextFound() - interval_; missing > 0) {
    const size_t marker = ended_well ? OffsetBehindUsedBits() : size_;
    if (!IsDamagedMarker(marker)) {
      interval_ += missing;
      return missing;
    }
    is_repaired_ = true;
    Start(marker + 2);
  } else {
    Start(intervals_.found[found_++].start);
  }
  ++interval_;
  return 0;
}

void IntervalReader::Start(size_t offset) {
  base_ = offset;
  at_ = 0;
  marker_ = 0;
  Rebase();
  zepiDecodeHuffmanStateInit_JPEG_8u(&state_);
}

void IntervalReader::Rebase() {
  base_ += static_cast<size_t>(at_);
  at_ = 0;
  length_ = static_cast<int32_t>(std::min<size_t>(size_ - base_, INT32_MAX));
}

size_t IntervalReader::NextFound() const {
  return found_ < intervals_.found.size() ? intervals_.found[found_].index : intervals_.count;
}

// Takes back the marker that stopped the decoder and the whole bytes that it read ahead.
size_t IntervalReader::OffsetBehindUsedBits() const {
  size_t at = offset();
  if (marker_ != 0) at -= 2;
  for (int32_t count = state_.numBits / 8; count > 0 && at > 0; --count) {
    --at;
    if (at > 0 && data_[at] == 0 && data_[at - 1] == 0xFF) --at;  // a stuffed zero
  }
  return at;
}

bool IntervalReader::IsDamagedMarker(size_t offset) const {
  if (size_ - offset < 2 || interval_ == 0) return false;
  const int expected = kRst0 + static_cast<int>((interval_ - 1) % 8);
  const int wrong = data_[offset] ^ 0xFF;
  return data_[offset + 1] == expected && (wrong & (wrong - 1)) == 0;
}

size_t IntervalReader::LeftOver() const {
  if (NextFound() > interval_) return 0;
  const bool is_last = found_ == intervals_.found.size();
  const size_t next = is_last ? intervals_.end : intervals_.found[found_].start - 2;
  return BytesLeftOver(offset(), next);
}

}  // namespace zepcodec::jpeg
