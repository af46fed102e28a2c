// SPDX-License-Identifier: MIT
#include "codecs/jpeg/coded_part.h"

#include <algorithm>

#include "codecs/jpeg/interval_reader.h"

namespace zepcodec::jpeg {
namespace {

zepStatus DecodeBlock(const ScanCode& code, BlockCursor* cursor, int16_t* block) {
  const McuBlock& kind = code.mcu[cursor->place];
  const zepStatus status = zepiDecodeHuffman8x8_JPEG_1u16s_C1(
      code.bytes, code.length, &cursor->at, block, &cursor->dc[kind.component], &cursor->marker,
      kind.dc, kind.ac, &cursor->state);
  if (++cursor->place == code.mcu.size()) cursor->place = 0;
  return status;
}

// Whether a decoder has read all of an interval when it stands here after the last block.
bool IsAllRead(int64_t key, const Stretch& stretch) {
  return BytesLeftOver(static_cast<size_t>(key / 64), static_cast<size_t>(stretch.end)) == 0;
}

int16_t WrapAdd(int16_t a, int16_t b) {
  return static_cast<int16_t>(static_cast<uint16_t>(a) + static_cast<uint16_t>(b));
}

int16_t WrapSubtract(int16_t a, int16_t b) {
  return static_cast<int16_t>(static_cast<uint16_t>(a) - static_cast<uint16_t>(b));
}

}  // namespace

BlockCursor::BlockCursor(int32_t offset) : at(offset) {
  zepiDecodeHuffmanStateInit_JPEG_8u(&state);
}

bool CodedPart::Decode(const ScanCode& code, BlockList storage) {
  blocks_ = std::move(storage);
  return IsWhole() ? DecodeIntervals(code) : DecodeGuess(code);
}

bool CodedPart::DecodeIntervals(const ScanCode& code) {
  const int64_t blocks = stretches_.back().end_block - stretches_.front().first_block;
  if (!blocks_.Resize(static_cast<size_t>(blocks))) return false;
  for (const Stretch& stretch : stretches_) {
    BlockCursor cursor(stretch.begin);
    for (int64_t i = stretch.first_block; i < stretch.end_block; ++i) {
      if (DecodeBlock(code, &cursor, blocks_.At(count_)) != zepStatusOk) is_damaged_ = true;
      if (is_damaged_) return true;
      ++count_;
    }
    if (!IsAllRead(cursor.Key(), stretch)) is_damaged_ = true;
  }
  return true;
}

bool CodedPart::DecodeGuess(const ScanCode& code) {
  const Stretch& stretch = stretches_[0];
  keys_.reserve(part_blocks_ + part_blocks_ / 4);
  cursor_ = BlockCursor(stretch.begin);
  while (count_ < kMostTimesThePart * part_blocks_ && cursor_.at < stretch.end) {
    // Most parts need little more than the usual number of blocks.
    if (count_ == blocks_.size() && !blocks_.Resize(count_ + part_blocks_ + part_blocks_ / 4)) {
      return false;
    }
    const BlockCursor before = cursor_;
    if (DecodeBlock(code, &cursor_, blocks_.At(count_)) == zepStatusOk) {
      keys_.push_back(before.Key());
      ++count_;
    } else if (cursor_.marker != 0) {
      cursor_ = before;
      break;
    } else {
      SkipBadCode(code, before.at);
    }
  }
  keys_.push_back(cursor_.Key());
  return true;
}

// Guesses anew, a byte after `last_start` or where the bad code was found.
void CodedPart::SkipBadCode(const ScanCode& code, int32_t last_start) {
  int32_t next = std::max(cursor_.at, last_start + 1);
  while (next < stretches_[0].end && code.bytes[next - 1] == 0xFF) ++next;
  cursor_ = BlockCursor(next);
  sound_from_ = count_;
}

CodedPart::Outcome CodedPart::Join(const ScanCode& code, BlockCursor* cursor, int64_t* next) {
  if (!IsWhole()) return JoinGuess(code, cursor, next);
  if (is_damaged_) return Outcome::kDamaged;
  *next = first_block();
  runs_ = {{*next, static_cast<int64_t>(count_), blocks_.At(0), {}}};
  *next += static_cast<int64_t>(count_);
  return Outcome::kJoined;
}

CodedPart::Outcome CodedPart::JoinGuess(const ScanCode& code, BlockCursor* cursor, int64_t* next) {
  const Stretch& stretch = stretches_[0];
  if (stretch.starts_interval) {
    *cursor = BlockCursor(stretch.begin);
    *next = stretch.first_block;
  }
  const int64_t first = *next;
  size_t index = sound_from_;
  bool is_found = FindState(code, *cursor, &index);
  while (!is_found && *next < stretch.end_block && cursor->at < stretch.end) {
    const Outcome outcome = AddToBridge(code, cursor, next);
    if (outcome != Outcome::kJoined) return outcome;
    is_found = FindState(code, *cursor, &index);
  }
  const auto before = static_cast<int64_t>(bridge_.size());
  int64_t end_key = cursor->Key();
  if (is_found) end_key = TakeFrom(code, index, cursor, next);
  const int64_t last = *next;
  // The guess ends where the last byte of the interval is read, not where its last block ends.
  while (stretch.ends_interval && *next < stretch.end_block) {
    const Outcome outcome = AddToBridge(code, cursor, next);
    if (outcome != Outcome::kJoined) return outcome;
    end_key = cursor->Key();
  }
  if (before > 0) runs_.insert(runs_.begin(), {first, before, bridge_.At(0), {}});
  if (*next > last) {
    runs_.push_back({last, *next - last, bridge_.At(static_cast<size_t>(before)), {}});
  }
  const bool is_good =
      stretch.ends_interval ? IsAllRead(end_key, stretch) : *next < stretch.end_block;
  return is_good ? Outcome::kJoined : Outcome::kDamaged;
}

CodedPart::Outcome CodedPart::AddToBridge(const ScanCode& code, BlockCursor* cursor,
                                          int64_t* next) {
  if (!bridge_.Grow()) return Outcome::kNoMemory;
  const zepStatus status = DecodeBlock(code, cursor, bridge_.At(bridge_.size() - 1));
  if (status != zepStatusOk) return Outcome::kDamaged;
  ++*next;
  return Outcome::kJoined;
}

// The blocks from `index` on are those of the file. Returns the key after the last one of them.
int64_t CodedPart::TakeFrom(const ScanCode& code, size_t index, BlockCursor* cursor,
                            int64_t* next) {
  const int64_t left = stretches_[0].end_block - *next;
  const int64_t count = std::min(static_cast<int64_t>(count_ - index), left);
  const DcValues guessed = DcBefore(code, index);
  DcValues offset{};
  for (size_t i = 0; i < offset.size(); ++i) offset[i] = WrapSubtract(cursor->dc[i], guessed[i]);
  if (count > 0) runs_.push_back({*next, count, blocks_.At(index), offset});
  *cursor = cursor_;
  for (size_t i = 0; i < offset.size(); ++i) cursor->dc[i] = WrapAdd(cursor_.dc[i], offset[i]);
  *next += count;
  return keys_[index + static_cast<size_t>(count)];
}

// Looks for the state of a decoder among those of the guess, from `*index` on.
bool CodedPart::FindState(const ScanCode& code, const BlockCursor& cursor, size_t* index) const {
  const int64_t key = cursor.Key();
  while (*index <= count_ && keys_[*index] < key) ++*index;
  return *index <= count_ && keys_[*index] == key &&
         (*index - sound_from_) % code.mcu.size() == cursor.place;
}

// The last DC coefficient of each component before a block, as the guess has it.
DcValues CodedPart::DcBefore(const ScanCode& code, size_t index) const {
  DcValues values{};
  const size_t mcu = code.mcu.size();
  for (size_t i = index - std::min(index - sound_from_, mcu); i < index; ++i) {
    values[code.mcu[(i - sound_from_) % mcu].component] = blocks_.At(i)[0];
  }
  return values;
}

}  // namespace zepcodec::jpeg
