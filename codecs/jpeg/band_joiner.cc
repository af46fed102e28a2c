// SPDX-License-Identifier: MIT
#include "codecs/jpeg/band_joiner.h"

#include <cstring>

namespace zepcodec::jpeg {
namespace {

constexpr size_t kWord = sizeof(uint64_t);

bool HasFf(uint64_t word) {
  constexpr uint64_t kOnes = 0x0101010101010101;
  const uint64_t inverse = ~word;  // bytes of FF become 0
  return ((inverse - kOnes) & word & (kOnes << 7)) != 0;
}

// The first byte highest.
uint64_t LoadWord(const uint8_t* bytes) {
  uint64_t word = 0;
  for (size_t i = 0; i < kWord; ++i) word = word << 8 | bytes[i];
  return word;
}

void StoreWord(uint64_t word, uint8_t* bytes) {
  for (size_t i = kWord; i-- > 0; word >>= 8) bytes[i] = static_cast<uint8_t>(word);
}

}  // namespace

OpenBits OpenBitsOf(const zepiEncodeHuffmanState& state) {
  if (state.numBits == 0) return {};
  return {(state.bits & 0xFFFFFF) >> (24 - state.numBits), state.numBits};
}

bool BandJoiner::Append(const CodedBand& band) {
  // Each byte can become two, and those after a marker stay.
  if (!file_->MakeRoom(2 * band.bytes.size() + 4 * kWord)) return false;
  out_ = file_->data() + file_->size();
  AppendShifted(band.bytes.data(), band.head_size);
  AddBits(band.head.bits, band.head.count);
  if (band.has_restart) {
    const size_t rest = band.bytes.size() - band.head_size;
    AddBits(0x7F, (8 - open_.count) % 8);
    std::memcpy(out_, band.bytes.data() + band.head_size, rest);
    out_ += rest;
    open_ = band.tail;
  }
  return file_->Resize(static_cast<size_t>(out_ - file_->data()));
}

bool BandJoiner::Finish() {
  if (!file_->MakeRoom(2)) return false;
  out_ = file_->data() + file_->size();
  AddBits(0x7F, (8 - open_.count) % 8);
  return file_->Resize(static_cast<size_t>(out_ - file_->data()));
}

void BandJoiner::AppendShifted(const uint8_t* bytes, size_t size) {
  if (open_.count == 0) {
    if (size > 0) std::memcpy(out_, bytes, size);
    out_ += size;
    return;
  }
  for (size_t i = 0; i < size;) {
    i += AppendWords(bytes + i, size - i);
    if (i == size) return;
    AddBits(bytes[i], 8);
    i += bytes[i] == 0xFF ? 2 : 1;  // the 00 after it is none of the band's bits
  }
}

// Bytes without an FF, eight at a time. Returns how many.
size_t BandJoiner::AppendWords(const uint8_t* bytes, size_t size) {
  size_t done = 0;
  for (; size - done >= kWord; done += kWord) {
    const uint64_t word = LoadWord(bytes + done);
    const uint64_t shifted = uint64_t{open_.bits} << (64 - open_.count) | word >> open_.count;
    if (HasFf(word) || HasFf(shifted)) return done;
    StoreWord(shifted, out_);
    out_ += kWord;
    open_.bits = static_cast<uint32_t>(word) & ((1u << open_.count) - 1);
  }
  return done;
}

// The lowest `count` bits, up to 8.
void BandJoiner::AddBits(uint32_t bits, int count) {
  const uint32_t value = open_.bits << count | (bits & ((1u << count) - 1));
  open_.count += count;
  if (open_.count >= 8) {
    open_.count -= 8;
    PutByte(value >> open_.count);
  }
  open_.bits = value & ((1u << open_.count) - 1);
}

void BandJoiner::PutByte(uint32_t byte) {
  *out_++ = static_cast<uint8_t>(byte);
  if (byte == 0xFF) *out_++ = 0;
}

}  // namespace zepcodec::jpeg
