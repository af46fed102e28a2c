// SPDX-License-Identifier: MIT
// The state of a code-block decoder: a record, then the flags of the samples. The
// memory is the caller's.
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_DECODER_STATE_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_DECODER_STATE_H_

#include <cstddef>
#include <cstdint>

#include "jpeg2k/codeblock/decoder_flags.h"
#include "jpeg2k/codeblock/mq_states.h"
#include "jpeg2k/codeblock/tables.h"
#include "zepjp.h"

namespace zepjp::codeblock {

// A state may have any alignment, so the record is copied in and out.
struct DecoderRecord {
  char id[4];
  int32_t is_attached;
  uint8_t* dst;
  ptrdiff_t step;
  zepiSize size;
  int32_t subband;
  int32_t planes;  // magnitude bit planes that are coded
  int32_t style;
  int32_t plane;  // the current one
  int32_t passes_left;
  int32_t pass;  // the next one
  int32_t has_failed;
  ContextStates contexts;

  bool IsDone() const { return passes_left < 1 || pass >= 3 * planes - 2; }
};

// A state is 388 bytes larger than its flags: this record, and up to 31 bytes to align the flags.
constexpr uint64_t kFixedBytes = 388, kAlignment = 32;
static_assert(sizeof(DecoderRecord) <= kFixedBytes - (kAlignment - 1),
              "the size is part of the interface");

// The flags fit: with u units and n stripes they take 32 (un + u + n) + 64 bytes. FlagBytes() is at
// least 32u (2n + 1), and more than 64 bytes are left beside the record.
static_assert(kFixedBytes - (kAlignment - 1) - sizeof(DecoderRecord) >= 64);

inline uint64_t FlagBytes(zepiSize size) {
  const uint64_t row = ((static_cast<uint64_t>(size.width) + 2) * 4 + 31) / 32 * 32;
  return row * ((static_cast<uint64_t>(size.height) + 1) / 2 + 2);
}
inline void* FlagsOf(void* state) {
  const auto end = reinterpret_cast<uintptr_t>(state) + sizeof(DecoderRecord);
  const auto more = static_cast<size_t>(-end) % kAlignment;
  return static_cast<uint8_t*>(state) + sizeof(DecoderRecord) + more;
}

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_DECODER_STATE_H_
