// SPDX-License-Identifier: MIT
// A stretch of a sequential scan, decoded before it is known which of the picture's blocks it holds.
//
// Huffman codes synchronize by themselves: a decoder that starts at a wrong bit, or takes the tables
// of the wrong block, reads nonsense for a while, but sooner or later a block of it ends where a
// block really ends. If it is then also at the right place in the MCU, all that follows is right,
// except that the DC coefficients, which are coded as differences, miss a constant.
//
// So the scan is cut into parts of some thousand blocks each, and any thread decodes any part from a
// guess: the part's first byte begins the first block of an MCU, and the DC coefficients before it
// are 0. It records the state of its decoder before each block. Then the parts are joined in their
// order. The true decoder continues from the end of one part into the next until its state equals
// one that the next part recorded. From there on, the blocks of that part are those of the file. The
// blocks up to there, decoded by the true decoder, are kept as a bridge.
//
// Restart intervals that are short are decoded whole, several in a part. Then nothing is guessed.
#ifndef ZEPJP_CODECS_JPEG_CODED_PART_H_
#define ZEPJP_CODECS_JPEG_CODED_PART_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "codecs/support/byte_buffer.h"
#include "zepjp.h"

namespace zepcodec::jpeg {

// A block of an MCU: its component, counted within the scan, and the tables of its codes.
struct McuBlock {
  size_t component;
  const zepiDecodeHuffmanSpec* dc;
  const zepiDecodeHuffmanSpec* ac;
};

// The bytes of a scan, and the blocks of an MCU in their order.
struct ScanCode {
  const uint8_t* bytes;
  int32_t length;
  std::vector<McuBlock> mcu;
};

// One DC coefficient for each component of a scan.
using DcValues = std::array<int16_t, 4>;

// A decoder between two blocks.
struct BlockCursor {
  BlockCursor() = default;
  // At the first block of an interval.
  explicit BlockCursor(int32_t offset);

  // Where it is, and how far it has read ahead. Later blocks have larger keys.
  int64_t Key() const { return int64_t{at} * 64 + (63 - state.numBits); }

  int32_t at = 0;
  int32_t marker = 0;
  zepiDecodeHuffmanState state{};
  DcValues dc{};
  size_t place = 0;  // of the next block in its MCU
};

// Blocks of 64 coefficients in the order of the file.
class BlockList {
 public:
  // False: no memory.
  [[nodiscard]] bool Resize(size_t blocks) { return bytes_.Resize(blocks * kBytes); }
  // Room for one more block, and for others to come.
  [[nodiscard]] bool Grow() {
    return bytes_.MakeRoom(kBytes) && bytes_.Resize(bytes_.size() + kBytes);
  }
  size_t size() const { return bytes_.size() / kBytes; }
  int16_t* At(size_t index) { return reinterpret_cast<int16_t*>(bytes_.data()) + 64 * index; }
  const int16_t* At(size_t index) const {
    return reinterpret_cast<const int16_t*>(bytes_.data()) + 64 * index;
  }

 private:
  static constexpr size_t kBytes = 64 * sizeof(int16_t);

  ByteBuffer bytes_;
};

// A restart interval, or a stretch of one, in bytes from the scan's first. Blocks count from the scan's
// first too.
struct Stretch {
  int32_t begin;
  int32_t end;           // where the next stretch begins, or the marker after the interval
  bool starts_interval;  // else no block need begin at `begin`
  bool ends_interval;
  int64_t first_block;  // of the interval
  int64_t end_block;    // after its last one
};

// Blocks one after the other, in memory and in the picture.
struct BlockRun {
  int64_t first;  // index among the blocks of the scan
  int64_t count;
  const int16_t* blocks;
  DcValues dc_offset;  // to be added to the blocks of each component, modulo 2^16
};

// A part of a picture's flat areas has more blocks than others. Those beyond this multiple of the
// usual number are left to the bridge of the next part.
constexpr size_t kMostTimesThePart = 4;

class CodedPart {
 public:
  // Either whole intervals or a single stretch of one, with about `part_blocks` blocks.
  CodedPart(std::vector<Stretch> stretches, size_t part_blocks)
      : stretches_(std::move(stretches)), part_blocks_(part_blocks) {}

  // Decodes the part on its own, into `storage`. False: no memory.
  [[nodiscard]] bool Decode(const ScanCode& code, BlockList storage);

  enum class Outcome { kJoined, kDamaged, kNoMemory };
  // Joins it to the part before, where the true decoder stands at `cursor` in front of block `next`.
  // Both move to the end of this part; where it begins an interval, from anywhere. kDamaged: not
  // all is well with the coded bytes.
  Outcome Join(const ScanCode& code, BlockCursor* cursor, int64_t* next);

  // Gives the storage back when the blocks are needed no more.
  BlockList TakeStorage() { return std::move(blocks_); }

  // Where Join() begins if it begins an interval; else negative.
  int64_t first_block() const {
    return stretches_[0].starts_interval ? stretches_[0].first_block : -1;
  }
  // The blocks that are known after Join().
  const std::vector<BlockRun>& runs() const { return runs_; }
  // The blocks that the true decoder had to decode again.
  size_t bridge_size() const { return bridge_.size(); }

 private:
  bool IsWhole() const { return stretches_[0].starts_interval && stretches_[0].ends_interval; }
  bool DecodeIntervals(const ScanCode& code);
  bool DecodeGuess(const ScanCode& code);
  void SkipBadCode(const ScanCode& code, int32_t last_start);
  Outcome JoinGuess(const ScanCode& code, BlockCursor* cursor, int64_t* next);
  Outcome AddToBridge(const ScanCode& code, BlockCursor* cursor, int64_t* next);
  bool FindState(const ScanCode& code, const BlockCursor& cursor, size_t* index) const;
  int64_t TakeFrom(const ScanCode& code, size_t index, BlockCursor* cursor, int64_t* next);
  DcValues DcBefore(const ScanCode& code, size_t index) const;

  std::vector<Stretch> stretches_;
  size_t part_blocks_;
  BlockList blocks_;
  size_t count_ = 0;           // of blocks that were decoded
  std::vector<int64_t> keys_;  // of the decoder in front of each block, and after the last one
  size_t sound_from_ = 0;      // the first block after the last bad code
  BlockCursor cursor_;         // of the guess
  bool is_damaged_ = false;
  BlockList bridge_;
  std::vector<BlockRun> runs_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_CODED_PART_H_
