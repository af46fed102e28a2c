// SPDX-License-Identifier: MIT
// A part of a lossless scan without restart markers, decoded before it is known which samples it
// holds.
//
// As with blocks (coded_part.h), a decoder that starts at a wrong bit soon reads the true codes.
// Here an MCU is one difference of each component. A decoder that starts with the wrong component
// reads true codes with a wrong table, and falls out of step until by chance it has the right one.
// With equal tables it never does, but then it reads the right differences, and only the components
// change places.
//
// The guess records the bit position of its first differences. The true decoder, which comes from
// the part before, decodes MCUs one by one until it stands at one of these positions.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_DIFFERENCE_PART_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_DIFFERENCE_PART_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/lossless/rows.h"
#include "codecs/support/byte_buffer.h"
#include "zepjp.h"

namespace zepcodec::jpeg::lossless {

// The bytes of an interval, and the tables of the components of an MCU.
struct DifferenceCode {
  const uint8_t* bytes;
  int32_t length;  // of the bytes that may be read
  int32_t end;     // of the interval
  size_t components;
  const zepiDecodeHuffmanSpec* tables[kMostComponents];
  bool has_one_table;  // all tables are equal
};

// A decoder between two differences.
struct DifferenceCursor {
  DifferenceCursor() = default;
  explicit DifferenceCursor(int32_t offset);

  // The position of the next bit; larger ones come later.
  int64_t Position(const DifferenceCode& code) const;
  // Decodes MCUs, or a number of differences of one component.
  zepStatus DecodeMcus(const DifferenceCode& code, int16_t* const to[kMostComponents],
                       size_t count);
  zepStatus DecodeOne(const DifferenceCode& code, size_t component, int16_t* to);

  int32_t at = 0;
  int32_t marker = 0;
  zepiDecodeHuffmanState state{};
};

// Differences of MCUs, a plane for each component.
struct McuRun {
  const int16_t* planes[kMostComponents];
  size_t count;
};

// MCUs that are appended.
class McuList {
 public:
  size_t size() const { return planes_[0].size(); }
  // Room for more MCUs, to be filled.
  void Grow(const DifferenceCode& code, size_t count, int16_t* to[kMostComponents]);
  McuRun Run() const;

 private:
  std::vector<int16_t> planes_[kMostComponents];
};

class DifferencePart {
 public:
  // The bytes begin..end-1; the true decoder goes on to the next part at `end` or a little after.
  DifferencePart(int32_t begin, int32_t end) : begin_(begin), end_(end) {}

  // Decodes the part on its own, into `storage`. False: no memory.
  [[nodiscard]] bool Decode(const DifferenceCode& code, ByteBuffer storage);

  // Joins it to the part before, where the true decoder stands. `*left` MCUs of the interval are
  // not decoded yet. Both move to the end of this part. False: not all is well with the coded
  // bytes.
  bool Join(const DifferenceCode& code, DifferenceCursor* cursor, int64_t* left);

  // The MCUs that are known after Join().
  std::vector<McuRun> Runs() const;
  ByteBuffer TakeStorage() { return std::move(storage_); }

  // The most bytes of storage for a part of some coded bytes.
  static size_t StorageFor(size_t coded_bytes);

 private:
  bool IsLast(const DifferenceCode& code) const { return end_ == code.end; }
  int32_t Limit(const DifferenceCode& code) const;
  int16_t* Plane(size_t index) { return planes_ + index * most_mcus_; }
  const int16_t* Plane(size_t index) const { return planes_ + index * most_mcus_; }
  bool Probe(const DifferenceCode& code);
  void DecodeRest(const DifferenceCode& code);
  bool AddMcus(const DifferenceCode& code, size_t count, McuList* list, DifferenceCursor* cursor,
               int64_t* left);
  bool FindGuess(const DifferenceCode& code, DifferenceCursor* cursor, int64_t* left);
  bool TakeGuess(const DifferenceCode& code, DifferenceCursor* cursor, int64_t* left);

  int32_t begin_;
  int32_t end_;
  ByteBuffer storage_;
  int16_t* planes_ = nullptr;
  size_t most_mcus_ = 0;  // of a plane
  std::vector<int64_t> positions_;
  size_t count_ = 0;  // of differences of the guess
  size_t taken_from_ = 0;
  size_t taken_ = 0;  // MCUs of the guess
  size_t components_ = 0;
  DifferenceCursor cursor_;  // of the guess
  McuList bridge_;
  McuList tail_;
};

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_DIFFERENCE_PART_H_
