// SPDX-License-Identifier: MIT
// PackBits (TIFF 6.0, section 9): packets of up to 128 literal bytes or of 2 to 128 equal ones.
//
// Packing is exact. From the end of the row backwards, cost(i) is the least length of what follows byte i:
//   literal  1 + n + cost(i + n) over n = 1 ... 128,
//   run      2 + cost(i + n), n the equal bytes there are, 128 at most.
// With key(j) = cost(j) + j a literal takes the least key of the next 128 positions. Those that may still win
// wait in a queue, as ranges of one key, so that bytes without an equal neighbour are settled many at a time.
#include <algorithm>
#include <cstring>

#include "frame/checks.h"
#include "frame/memory.h"

namespace zepjp {
namespace {

constexpr int64_t kMost = 128;        // bytes of a packet
constexpr uint8_t kNothing = 128;     // a control byte without a packet
constexpr int64_t kRunControl = 257;  // the control byte of a run is this minus its length

uint64_t Load64(const uint8_t* from) {
  uint64_t bytes;
  std::memcpy(&bytes, from, sizeof(bytes));
  return bytes;
}

// The top bit of each byte that is zero.
constexpr uint64_t ZeroBytes(uint64_t v) {
  constexpr uint64_t kLow = 0x7F7F7F7F7F7F7F7F;
  return ~(((v & kLow) + kLow) | v | kLow);
}

// The least a <= end such that no byte of [a, end) equals the one behind it; src[end] exists.
int64_t StartOfLiterals(const uint8_t* src, int64_t end) {
  while (end >= 8) {
    const uint64_t equal = ZeroBytes(Load64(src + end - 8) ^ Load64(src + end - 7));
    if (equal != 0) return end - __builtin_clzll(equal) / 8;
    end -= 8;
  }
  while (end > 0 && src[end - 1] != src[end]) --end;
  return end;
}

// The least s such that all bytes of [s, end) equal the last one.
int64_t StartOfRun(const uint8_t* src, int64_t end) {
  const uint8_t byte = src[end - 1];
  const uint64_t all = byte * 0x0101010101010101U;
  while (end >= 8 && Load64(src + end - 8) == all) end -= 8;
  while (end > 0 && src[end - 1] == byte) --end;
  return end;
}

// Positions [low, high] of one key.
struct Range {
  int64_t low, high, key;
};

// Ranges by falling position and rising key. The front has the least key within reach, its high end is the
// farthest position of that key.
class Queue {
 public:
  explicit Queue(int64_t end) { Push(end, end, end); }

  // For position `at`: what lies beyond its reach leaves.
  const Range& Front(int64_t at) {
    const int64_t reach = at + kMost;
    while (ranges_[first_ % kSize].low > reach) ++first_;
    Range& front = ranges_[first_ % kSize];
    front.high = std::min(front.high, reach);
    return front;
  }

  // Positions below all others; of what they are better than nothing will be needed.
  void Push(int64_t low, int64_t high, int64_t key) {
    while (last_ > first_ && ranges_[(last_ - 1) % kSize].key > key) --last_;
    Range& back = ranges_[(last_ - 1) % kSize];
    if (last_ > first_ && back.key == key && back.low == high + 1) {
      back.low = low;
      return;
    }
    ranges_[last_++ % kSize] = {low, high, key};
  }

  void Shift(int64_t positions, int64_t keys) {
    for (size_t i = first_; i < last_; ++i) {
      Range& range = ranges_[i % kSize];
      range.low += positions;
      range.high += positions;
      range.key += keys;
    }
  }

 private:
  static constexpr size_t kSize = 256;  // more than positions within reach
  Range ranges_[kSize];
  size_t first_ = kSize, last_ = kSize;
};

// Literal control bytes 127, 126 ... 0.
struct Falling {
  uint8_t controls[kMost];
};
constexpr Falling MakeFalling() {
  Falling falling = {};
  for (int i = 0; i < kMost; ++i) falling.controls[i] = static_cast<uint8_t>(kMost - 1 - i);
  return falling;
}
constexpr Falling kFalling = MakeFalling();

// For each byte of a row the control byte of the packet that best begins there. Where both kinds are as good
// it is a literal, and of literals the longest.
class Planner {
 public:
  Planner(const uint8_t* src, int64_t size, uint8_t* controls)
      : src_(src), controls_(controls), queue_(size) {
    for (int64_t end = size; end > 0;) {
      int64_t start = StartOfRun(src_, end);
      if (end - start > 1) {
        PlanRun(start, end);
      } else {
        start = LiteralsBefore(end - 1);
        PlanLiterals(start, end);
      }
      end = start;
    }
  }

  int64_t cost() const { return cost_; }

 private:
  // The start of the bytes without equal neighbours that end with byte `last`.
  int64_t LiteralsBefore(int64_t last) const {
    const int64_t start = StartOfLiterals(src_, last);
    return start > 0 ? start + 1 : 0;  // it is the last byte of a run otherwise
  }

  void PlanLiterals(int64_t start, int64_t end) {
    while (end > start) {
      const Range front = queue_.Front(end - 1);
      const int64_t from = std::max(start, front.low - kMost);
      const int64_t unclipped = std::clamp(front.high - kMost, from, end);
      std::memset(controls_ + from, kMost - 1, static_cast<size_t>(unclipped - from));
      std::memcpy(controls_ + unclipped, kFalling.controls + kMost - (front.high - unclipped),
                  static_cast<size_t>(end - unclipped));
      queue_.Push(from, end - 1, front.key + 1);
      cost_ = front.key + 1 - from;
      end = from;
    }
  }

  void PlanRun(int64_t start, int64_t end) {
    int64_t costs[kMost];  // of the last positions
    const int64_t cost_behind = cost_;
    for (int64_t i = end - 1; i >= start; --i) {
      if (end - i == kPeriodic) i = SkipPeriods(i, start, costs);
      const int64_t run = std::min(end - i, kMost);
      const int64_t behind = run < kMost || end - i == kMost ? cost_behind : costs[i % kMost];
      const Range& front = queue_.Front(i);
      const int64_t literal = 1 - i + front.key;
      const bool is_literal = run == 1 || literal <= 2 + behind;
      cost_ = is_literal ? literal : 2 + behind;
      controls_[i] = static_cast<uint8_t>(is_literal ? front.high - i - 1 : kRunControl - run);
      costs[i % kMost] = cost_;
      queue_.Push(i, i, cost_ + i);
    }
  }

  // Far inside a run everything repeats each 128 bytes, two bytes dearer. Returns the new position.
  int64_t SkipPeriods(int64_t i, int64_t start, int64_t (&costs)[kMost]) {
    const int64_t periods = (i - start) / kMost;
    for (int64_t k = 1; k <= periods; ++k) {
      std::memcpy(controls_ + i + 1 - k * kMost, controls_ + i + 1, static_cast<size_t>(kMost));
    }
    for (int64_t& cost : costs) cost += 2 * periods;
    cost_ += 2 * periods;
    queue_.Shift(-kMost * periods, (2 - kMost) * periods);
    return i - kMost * periods;
  }

  static constexpr int64_t kPeriodic = 4 * kMost;

  const uint8_t* src_;
  uint8_t* controls_;
  Queue queue_;
  int64_t cost_ = 0;  // of the position that was planned last
};

void WritePackets(const uint8_t* src, int64_t size, const uint8_t* controls, uint8_t* dst) {
  for (int64_t i = 0; i < size;) {
    const uint8_t control = controls[i];
    *dst++ = control;
    if (control > kNothing) {
      *dst++ = src[i];
      i += kRunControl - control;
      continue;
    }
    const int64_t count = control + 1;
    std::memcpy(dst, src + i, static_cast<size_t>(count));
    dst += count;
    i += count;
  }
}

zepStatus Pack(const uint8_t* src, int64_t size, uint8_t* controls, uint8_t* dst,
               int32_t* dst_size) {
  const int64_t cost = Planner(src, size, controls).cost();
  if (cost > *dst_size) return zepStatusBufferExhausted;
  WritePackets(src, size, controls, dst);
  *dst_size = static_cast<int32_t>(cost);
  return zepStatusOk;
}

constexpr int32_t kRowOnStack = 16384;

}  // namespace
}  // namespace zepjp

zepStatus ZEP_CALL zepiPackBitsRow_TIFF_8u_C1(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst,
                                              int32_t* pDstLen) {
  using namespace zepjp;
  if (auto bad =
          Checks().Ptr(pSrc).Ptr(pDst).Ptr(pDstLen).Refuse(srcLen < 1, zepStatusBadSize).Failed()) {
    return bad;
  }
  if (*pDstLen < 1) return zepStatusBufferExhausted;
  if (srcLen <= kRowOnStack) {
    uint8_t controls[kRowOnStack];
    return Pack(pSrc, srcLen, controls, pDst, pDstLen);
  }
  auto* controls = static_cast<uint8_t*>(Allocate(srcLen));
  if (controls == nullptr) return zepStatusMemAlloc;
  const zepStatus status = Pack(pSrc, srcLen, controls, pDst, pDstLen);
  Release(controls);
  return status;
}

zepStatus ZEP_CALL zepiUnpackBitsRow_TIFF_8u_C1(const uint8_t* pSrc, int32_t* pSrcLen,
                                                uint8_t* pDst, int32_t dstLen) {
  using namespace zepjp;
  if (auto bad =
          Checks().Ptr(pSrc).Ptr(pSrcLen).Ptr(pDst).Refuse(dstLen < 1, zepStatusBadSize).Failed()) {
    return bad;
  }
  if (*pSrcLen < 1) return zepStatusUnpackBitsOverrun;
  const int64_t size = *pSrcLen;
  int64_t at = 0;
  for (int64_t left = dstLen; left > 0;) {
    if (at == size) return zepStatusUnpackBitsOverrun;  // *pSrcLen is the end already
    const uint8_t control = pSrc[at];
    if (control == kNothing) {
      ++at;
      continue;
    }
    const bool is_run = control > kNothing;
    const int64_t count = is_run ? kRunControl - control : control + 1;
    const int64_t packet = is_run ? 2 : 1 + count;
    if (count > left || packet > size - at) {
      *pSrcLen = static_cast<int32_t>(at);
      return zepStatusUnpackBitsOverrun;
    }
    if (is_run) {
      std::memset(pDst, pSrc[at + 1], static_cast<size_t>(count));
    } else {
      std::memcpy(pDst, pSrc + at + 1, static_cast<size_t>(count));
    }
    pDst += count;
    left -= count;
    at += packet;
  }
  *pSrcLen = static_cast<int32_t>(at);
  return zepStatusOk;
}
