// SPDX-License-Identifier: MIT
#include "codecs/jpeg/lossless/difference_part.h"

#include <algorithm>
#include <utility>

namespace zepcodec::jpeg::lossless {
namespace {

// MCUs that are decoded in one call. The true decoder may go past the end of a part by that many,
// so the guess records the positions of more.
constexpr size_t kMcusInACall = 64;
constexpr size_t kProbedMcus = 384;
// A difference takes up to 31 bits, and each byte may be stuffed.
constexpr int32_t kMostBytesOfCall = int32_t{kMcusInACall} * kMostComponents * 8;
// The single-threaded decoder may have read a few bytes more or less than the parts' decoders do.
constexpr int32_t kMostBytesLeft = 4;

}  // namespace

DifferenceCursor::DifferenceCursor(int32_t offset) : at(offset) {
  zepiDecodeHuffmanStateInit_JPEG_8u(&state);
}

// Whole bytes that were read ahead are given back, stuffed zeros too. So decoders that have read
// ahead differently agree.
int64_t DifferenceCursor::Position(const DifferenceCode& code) const {
  int32_t byte = at;
  for (int32_t count = state.numBits / 8; count > 0 && byte > 0; --count) {
    --byte;
    if (byte > 0 && code.bytes[byte] == 0 && code.bytes[byte - 1] == 0xFF) --byte;
  }
  return int64_t{byte} * 8 - state.numBits % 8;
}

zepStatus DifferenceCursor::DecodeMcus(const DifferenceCode& code,
                                       int16_t* const to[kMostComponents], size_t count) {
  return zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
      code.bytes, code.length, &at, to, static_cast<int32_t>(count),
      static_cast<int32_t>(code.components), &marker, code.tables, &state);
}

zepStatus DifferenceCursor::DecodeOne(const DifferenceCode& code, size_t component, int16_t* to) {
  return zepiDecodeHuffmanOne_JPEG_1u16s_C1(code.bytes, code.length, &at, to, &marker,
                                            code.tables[component], &state);
}

void McuList::Grow(const DifferenceCode& code, size_t count, int16_t* to[kMostComponents]) {
  const size_t before = size();
  for (size_t c = 0; c < code.components; ++c) {
    planes_[c].resize(before + count);
    to[c] = planes_[c].data() + before;
  }
}

McuRun McuList::Run() const {
  McuRun run{{}, size()};
  for (size_t c = 0; c < kMostComponents; ++c) run.planes[c] = planes_[c].data();
  return run;
}

// A difference takes at least one bit.
size_t DifferencePart::StorageFor(size_t coded_bytes) {
  return (8 * coded_bytes + (kMcusInACall + 1) * kMostComponents) * sizeof(int16_t);
}

// The guess must not go past the end of the interval, which it does not know in MCUs.
int32_t DifferencePart::Limit(const DifferenceCode& code) const {
  return std::min(end_, code.end - kMostBytesOfCall);
}

bool DifferencePart::Decode(const DifferenceCode& code, ByteBuffer storage) {
  storage_ = std::move(storage);
  components_ = code.components;
  const size_t bytes = StorageFor(static_cast<size_t>(end_ - begin_));
  if (!storage_.Resize(bytes)) return false;
  planes_ = reinterpret_cast<int16_t*>(storage_.data());
  most_mcus_ = bytes / sizeof(int16_t) / components_;
  cursor_ = DifferenceCursor(begin_);
  constexpr int kTries = 16;
  for (int i = 0; i < kTries && cursor_.at < Limit(code); ++i) {
    if (Probe(code)) {
      DecodeRest(code);
      return true;
    }
    int32_t next = cursor_.at + 1;
    while (next < end_ && code.bytes[next - 1] == 0xFF) ++next;
    cursor_ = DifferenceCursor(next);
  }
  positions_.clear();
  count_ = 0;
  return true;
}

// The first differences, with their positions. False: a bad code.
bool DifferencePart::Probe(const DifferenceCode& code) {
  positions_.clear();
  positions_.reserve(kProbedMcus * components_);
  for (count_ = 0; count_ < kProbedMcus * components_ && cursor_.at < Limit(code); ++count_) {
    positions_.push_back(cursor_.Position(code));
    int16_t* const to = Plane(count_ % components_) + count_ / components_;
    if (cursor_.DecodeOne(code, count_ % components_, to) != zepStatusOk) return false;
  }
  return true;
}

// After a bad code the guess is given up, and the true decoder decodes the part.
void DifferencePart::DecodeRest(const DifferenceCode& code) {
  if (count_ % components_ != 0) return;
  while (cursor_.at < Limit(code)) {
    int16_t* to[kMostComponents] = {};
    for (size_t c = 0; c < components_; ++c) to[c] = Plane(c) + count_ / components_;
    if (cursor_.DecodeMcus(code, to, kMcusInACall) != zepStatusOk) {
      positions_.clear();
      return;
    }
    count_ += kMcusInACall * components_;
  }
}

bool DifferencePart::Join(const DifferenceCode& code, DifferenceCursor* cursor, int64_t* left) {
  if (!FindGuess(code, cursor, left)) return false;
  const bool is_last = IsLast(code);
  while (*left > 0 && (is_last || cursor->at < end_)) {
    const auto count = static_cast<size_t>(std::min<int64_t>(*left, kMcusInACall));
    if (!AddMcus(code, count, &tail_, cursor, left)) return false;
  }
  return is_last ? code.end - cursor->at <= kMostBytesLeft : *left > 0;
}

bool DifferencePart::AddMcus(const DifferenceCode& code, size_t count, McuList* list,
                             DifferenceCursor* cursor, int64_t* left) {
  int16_t* to[kMostComponents] = {};
  list->Grow(code, count, to);
  *left -= static_cast<int64_t>(count);
  return cursor->DecodeMcus(code, to, count) == zepStatusOk;
}

// Decodes MCUs up to one that the guess has, and takes those of the guess. False: a bad code.
bool DifferencePart::FindGuess(const DifferenceCode& code, DifferenceCursor* cursor,
                               int64_t* left) {
  size_t index = 0;
  while (*left > 0) {
    const int64_t position = cursor->Position(code);
    while (index < positions_.size() && positions_[index] < position) ++index;
    if (index == positions_.size()) return true;
    const bool fits = code.has_one_table || index % components_ == 0;
    if (positions_[index] == position && fits) {
      taken_from_ = index;
      return TakeGuess(code, cursor, left);
    }
    if (!AddMcus(code, 1, &bridge_, cursor, left)) return false;
  }
  return true;
}

bool DifferencePart::TakeGuess(const DifferenceCode& code, DifferenceCursor* cursor,
                               int64_t* left) {
  const size_t known = count_ - taken_from_;
  taken_ = known / components_;
  if (static_cast<int64_t>(taken_) > *left) return false;
  *left -= static_cast<int64_t>(taken_);
  *cursor = cursor_;
  const size_t more = known % components_;
  if (more == 0) return true;
  // The guess has the first components of one MCU more.
  if (*left == 0) return false;
  int16_t* to[kMostComponents] = {};
  tail_.Grow(code, 1, to);
  --*left;
  for (size_t c = 0; c < components_; ++c) {
    const size_t index = count_ - more + c;
    if (c < more) {
      *to[c] = Plane(index % components_)[index / components_];
    } else if (cursor->DecodeOne(code, c, to[c]) != zepStatusOk) {
      return false;
    }
  }
  return true;
}

std::vector<McuRun> DifferencePart::Runs() const {
  McuRun guess{{}, taken_};
  for (size_t c = 0; c < components_; ++c) {
    const size_t index = taken_from_ + c;
    guess.planes[c] = Plane(index % components_) + index / components_;
  }
  return {bridge_.Run(), guess, tail_.Run()};
}

}  // namespace zepcodec::jpeg::lossless
