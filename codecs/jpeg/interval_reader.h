// SPDX-License-Identifier: MIT
// The coded bytes of a scan, one restart interval after the other, with the arguments of the
// library's Huffman decoders.
#ifndef ZEPJP_CODECS_JPEG_INTERVAL_READER_H_
#define ZEPJP_CODECS_JPEG_INTERVAL_READER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "codecs/jpeg/intervals.h"
#include "zepjp.h"

namespace zepcodec::jpeg {

// Why a decoder stopped, for a message.
std::string Reason(zepStatus status);

// How many of the bytes before `end`, where an interval ends, a decoder that stands at `at` left unread,
// as far as they are too many to be what fills the last byte.
constexpr size_t BytesLeftOver(size_t at, size_t end) {
  constexpr size_t kMayRemain = 8;
  return end <= at + kMayRemain ? 0 : end - at;
}

class IntervalReader {
 public:
  // The bytes must outlive the reader.
  IntervalReader(const uint8_t* data, size_t size, Intervals intervals)
      : data_(data), size_(size), intervals_(std::move(intervals)) {}

  // Starts the next interval. Returns 0, or the number of intervals in a row that are missing,
  // which it passes over. `ended_well`: the previous interval was decoded completely, so the next
  // restart marker should follow here. One that lost its FF to a wrong bit is then found.
  size_t Next(bool ended_well);
  // Whether the next interval was found, or the current one is the last. Then the current one need
  // not be decoded to find what follows.
  bool KnowsNext() const { return NextFound() == interval_; }
  // Whether the marker before the current interval was damaged in this way.
  bool is_repaired() const { return is_repaired_; }
  // After every few calls of a decoder: the library counts bytes in 32 bits, files may be larger.
  void KeepInRange() {
    if (at_ > length_ / 2) Rebase();
  }
  // The bytes that are left at the end of an interval, besides the padding of the last byte. They
  // are a sign of damage that gave no invalid code.
  size_t LeftOver() const;
  // The offset of the next byte in the file.
  size_t offset() const { return base_ + static_cast<size_t>(at_); }
  // Where the scan's data ends in the file.
  size_t end() const { return intervals_.end; }

  // The arguments of the Huffman decoders.
  const uint8_t* bytes() const { return data_ + base_; }
  int32_t length() const { return length_; }
  int32_t* at() { return &at_; }
  int32_t* marker() { return &marker_; }
  zepiDecodeHuffmanState* state() { return &state_; }

 private:
  void Start(size_t offset);
  void Rebase();
  // The index of the next interval that was found, or the number of intervals.
  size_t NextFound() const;
  size_t OffsetBehindUsedBits() const;
  bool IsDamagedMarker(size_t offset) const;

  const uint8_t* data_;
  size_t size_;
  Intervals intervals_;
  size_t interval_ = 0;  // index of the interval after the current one
  size_t found_ = 0;     // how many entries of intervals_.found were used
  bool is_repaired_ = false;
  // The library's buffer begins at data_ + base_.
  size_t base_ = 0;
  int32_t length_ = 0;
  int32_t at_ = 0;
  int32_t marker_ = 0;
  zepiDecodeHuffmanState state_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_INTERVAL_READER_H_
