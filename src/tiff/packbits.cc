// SPDX-License-Identifier: MIT
// PackBits (TIFF 6.0, section 9): packets of 1 to 128 literal bytes or of 2 to 128 equal bytes.
//
// The packer finds a shortest packing by dynamic programming from the end of the row backwards. Let
// cost(i) be the least length of the packed bytes from i to the end of the row. A packet at i gives
//
//   literal of n bytes   1 + n + cost(i + n), for n = 1 to 128
//   run of n bytes       2 + cost(i + n), for n the number of equal bytes from i, at most 128
//
// With key(j) = cost(j) + j, a literal of n bytes has the key 1 + key(i + n). So the best literal
// has the key m + 1, where m is the least key of the next 128 positions. No new key is larger than
// m + 1, so it is enough to know which of the next 128 positions have the key m, and which m + 1:
// two sets of 128 bits. Eight bytes that are all different, or all equal, are planned together.
//
// The row is cut into pieces that can be packed on their own. A run of 4 to 128 bytes is a packet
// of its own in every shortest packing: as literal bytes it takes at least two bytes more, and
// saves at most the header of the literal after it. The same holds for a longer run if packets of
// 128 leave 0 or at least 4 bytes of it. So the bytes between two such runs are a piece. A short
// piece has only runs of one to three bytes and is packed by a rule. A run packet for three equal
// bytes saves one byte and for two equal bytes none, but it costs a header if it splits a literal.
// So where a packet begins, three equal bytes become a run packet, and two do if no single byte
// follows before the next three equal bytes or the end. A literal is only ended by three equal
// bytes after which again no single byte follows before the next three or the end.
//
// No memory is allocated. The control bytes are kept for one block of the row at a time: a first
// pass over a longer piece stores only the state of the plan at the end of each of its parts; then
// each part is planned again from there.
#include <algorithm>
#include <cstring>

#include "frame/checks.h"
#include "hwy/base.h"

namespace zepjp {
namespace {

constexpr uint32_t kMaxPacket = 128;   // bytes of a packet
constexpr uint8_t kNothing = 128;      // the control byte that decoders skip
constexpr uint32_t kRunControl = 257;  // the control byte of a run is this minus its length

constexpr uint32_t kBlock = 16384;  // bytes whose control bytes are kept; a multiple of kMaxPacket
constexpr uint32_t kParts = 16;     // parts of a piece that is longer than a block

constexpr uint64_t kEach = 0x0101010101010101;  // times a byte: eight copies of it

uint64_t Load64(const uint8_t* from) {
  uint64_t bytes;
  std::memcpy(&bytes, from, sizeof(bytes));
  return bytes;
}
void Store64(uint64_t bytes, uint8_t* to) { std::memcpy(to, &bytes, sizeof(bytes)); }

// The result has the top bit set in each byte that is zero in v.
constexpr uint64_t ZeroBytes(uint64_t v) {
  constexpr uint64_t kLow = 0x7F * kEach;
  return ~(((v & kLow) + kLow) | v | kLow);
}

// A set of positions among the next 128, as bits, the nearest one lowest.
struct Positions {
  uint64_t low = 0, high = 0;

  bool IsEmpty() const { return (low | high) == 0; }
  uint32_t Farthest() const {
    return high != 0 ? 127u - static_cast<uint32_t>(__builtin_clzll(high))
                     : 63u - static_cast<uint32_t>(__builtin_clzll(low));
  }
  void Advance(int count) {
    high = high << count | low >> (64 - count);
    low <<= count;
  }
};

// The state of the plan between two blocks. Keys are modulo 2^32; only their differences matter.
struct PlanState {
  PlanState() = default;
  explicit PlanState(uint32_t row_size) : least(row_size), last(row_size) { at_least.low = 1; }

  Positions at_least, above_least;  // the positions whose key is `least`, and `least` + 1
  uint32_t least = 0;
  uint32_t last = 0;       // the key of the position that was planned last
  uint32_t after_run = 0;  // the key of the byte after the run
  uint32_t run = 0;        // the number of equal bytes from the last position
};

// Finds for each byte of a block the control byte of the best packet that begins there. If both
// kinds are equally good it is a literal, and of literals the longest.
class Planner {
 public:
  Planner(const PlanState& start, uint8_t* controls, uint32_t* keys)
      : controls_(controls), keys_(keys), now_(start) {}

  // `has_more`: more of the row follows the block, so its last byte is compared with the next one.
  HWY_INLINE PlanState Plan(const uint8_t* src, uint32_t size, bool has_more) {
    uint32_t i = size - 1;
    PlanOne(i, has_more && src[i] == src[size] ? 1 : 0);
    for (; i >= 8; i -= 8) {
      const uint64_t equal = ZeroBytes(Load64(src + i - 8) ^ Load64(src + i - 7));
      if (equal == 0 && PlanLiterals(i - 8)) continue;
      if (equal == 0x80 * kEach && PlanRun(i - 8)) continue;
      for (uint32_t k = 1; k <= 8; ++k) PlanOne(i - k, equal >> (71 - 8 * k) & 1);
    }
    for (; i > 0; --i) PlanOne(i - 1, src[i - 1] == src[i] ? 1 : 0);
    return now_;
  }

 private:
  // Plans byte `i`; `is_equal` is 1 if the next byte equals it.
  HWY_INLINE void PlanOne(uint32_t i, uint64_t is_equal) {
    const uint32_t in_run = 0u - static_cast<uint32_t>(is_equal);
    now_.after_run = (now_.after_run & in_run) | (now_.last & ~in_run);
    now_.run = (now_.run & in_run) + 1;
    const uint32_t key = now_.run <= kMaxPacket ? now_.after_run - now_.run + 2
                                                : keys_[i % kMaxPacket] - kMaxPacket + 2;
    // No branches below, because pictures would make them mispredict. A mask is all ones if its
    // name is true.
    const int64_t above = std::min(static_cast<int32_t>(key - now_.least), int32_t{1});
    const auto is_run = static_cast<uint64_t>((above - 1) >> 63);
    const auto is_best = static_cast<uint64_t>(above >> 63);
    const uint64_t run_control = kRunControl - std::min(now_.run, kMaxPacket);
    const uint64_t literal = now_.at_least.Farthest();
    controls_[i] = static_cast<uint8_t>(literal ^ ((literal ^ run_control) & is_run));
    now_.last = now_.least + static_cast<uint32_t>(above);
    keys_[i % kMaxPacket] = now_.last;
    now_.at_least.Advance(1);
    now_.above_least.Advance(1);
    now_.at_least.low = (now_.at_least.low & ~is_best) | (is_run & 1);
    now_.at_least.high &= ~is_best;
    now_.above_least.low = (now_.above_least.low | 1) & ~is_run;
    now_.above_least.high &= ~is_run;
    now_.least += static_cast<uint32_t>(above) & static_cast<uint32_t>(is_best);
    ForgetLeast();
  }

  HWY_INLINE void ForgetLeast() {
    if (HWY_LIKELY(!now_.at_least.IsEmpty())) return;
    now_.at_least = now_.above_least;
    now_.above_least = Positions();
    ++now_.least;
  }

  // Plans the eight bytes from `low`; the caller knows that each differs from the next. False: they
  // have to be planned one by one.
  HWY_INLINE bool PlanLiterals(uint32_t low) {
    constexpr uint64_t kAllEight = uint64_t{0xFF} << 56;
    const uint64_t literal = now_.at_least.Farthest();
    if (literal + 7 < kMaxPacket) {
      Store64(literal * kEach + 0x0001020304050607, controls_ + low);
    } else if ((now_.at_least.high & kAllEight) == kAllEight) {
      Store64((kMaxPacket - 1) * kEach, controls_ + low);
    } else {
      return false;
    }
    now_.last = now_.after_run = now_.least + 1;
    keys_[low % kMaxPacket] = now_.last;  // a run may end here
    now_.run = 1;
    now_.at_least.Advance(8);
    now_.above_least.Advance(8);
    now_.above_least.low |= 0xFF;
    ForgetLeast();
    return true;
  }

  // Plans the eight bytes from `low`, which all equal the next byte. If a run is better than every
  // literal, it stays better while it grows up to 128 bytes, and after that as long as it was
  // better 128 bytes before. False: the bytes have to be planned one by one.
  HWY_INLINE bool PlanRun(uint32_t low) {
    uint32_t key;
    uint64_t controls;
    if (now_.run + 8 <= kMaxPacket) {
      key = now_.after_run - now_.run + 1;
      controls = (kRunControl - 8 - now_.run) * kEach + 0x0706050403020100;
    } else if (now_.run >= kMaxPacket &&
               keys_[(low + 7) % kMaxPacket] - keys_[low % kMaxPacket] == 7) {
      key = keys_[(low + 7) % kMaxPacket] - kMaxPacket + 2;
      controls = (kRunControl - kMaxPacket) * kEach;
    } else {
      return false;
    }
    if (static_cast<int32_t>(key - now_.least) >= 0) return false;
    Store64(controls, controls_ + low);
    for (uint32_t k = 0; k < 8; ++k) keys_[(low + 7 - k) % kMaxPacket] = key - k;
    now_.last = now_.least = key - 7;
    now_.run += 8;
    now_.at_least = {1, 0};
    now_.above_least = Positions();
    return true;
  }

  uint8_t* controls_;
  uint32_t* keys_;  // the keys of the last kMaxPacket positions, as far as they are in a run
  PlanState now_;
};

uint8_t* WriteLiteral(const uint8_t* src, uint32_t count, uint8_t* dst) {
  *dst = static_cast<uint8_t>(count - 1);
  std::memcpy(dst + 1, src, count);
  return dst + 1 + count;
}

uint8_t* WriteRun(uint8_t byte, uint32_t count, uint8_t* dst) {
  dst[0] = static_cast<uint8_t>(kRunControl - count);
  dst[1] = byte;
  return dst + 2;
}

// Packs a row, or a piece, to the shortest length.
class ExactPacker {
 public:
  ExactPacker(const uint8_t* src, uint32_t size) : src_(src), size_(size) {}

  // The length of the packed row: the key of position 0, which is its cost.
  HWY_NOINLINE uint32_t Cost() const {
    uint8_t controls[kBlock];
    Place place;
    place.progress = PlanState(size_);
    Plan(0, size_, controls, &place);
    return place.progress.last;
  }

  // Returns the end of the packed bytes.
  uint8_t* Pack(uint8_t* dst) {
    Place end;
    end.progress = PlanState(size_);
    dst_ = dst;
    if (size_ <= kBlock) {
      PackBlock(0, size_, &end);
    } else {
      PackParts(0, size_, &end);
    }
    return dst_;
  }

  // Packs a row of at most one block. If that takes more than `room` bytes, nothing is written and
  // the result is null.
  HWY_NOINLINE uint8_t* PackShortRow(uint32_t room, uint8_t* dst) {
    uint8_t controls[kBlock];
    Place place;
    place.progress = PlanState(size_);
    Plan(0, size_, controls, &place);
    if (place.progress.last > room) return nullptr;
    dst_ = dst;
    WritePackets(0, size_, controls);
    return dst_;
  }

 private:
  struct Place {
    PlanState progress;
    uint32_t keys[kMaxPacket];  // as in Planner
  };

  // Plans from `to` backwards to `from`, block by block. On return `controls` has the control bytes
  // of the first block.
  HWY_NOINLINE void Plan(uint32_t from, uint32_t to, uint8_t* controls, Place* place) const {
    while (to > from) {
      const uint32_t size = (to - from - 1) % kBlock + 1;
      to -= size;
      place->progress =
          Planner(place->progress, controls, place->keys).Plan(src_ + to, size, to + size < size_);
    }
  }

  HWY_NOINLINE void PackBlock(uint32_t from, uint32_t to, Place* place) {
    uint8_t controls[kBlock];
    Plan(from, to, controls, place);
    WritePackets(from, to, controls);
  }

  HWY_NOINLINE void SkipPart(uint32_t from, uint32_t to, Place* place) const {
    uint8_t controls[kBlock];
    Plan(from, to, controls, place);
  }

  // Packs more than one block. Recursion is at most five levels deep for any row; each level plans
  // the row once more and uses 9 KiB of the stack.
  HWY_NOINLINE void PackParts(uint32_t from, uint32_t to, Place* end) {
    uint32_t part = kBlock;
    while ((to - from - 1) / part >= kParts) part *= kParts;
    const uint32_t last = (to - from - 1) / part;
    Place ends[kParts];
    ends[last] = *end;
    for (uint32_t k = last; k > 0; --k) {
      ends[k - 1] = ends[k];
      SkipPart(from + k * part, std::min(to, from + (k + 1) * part), &ends[k - 1]);
    }
    for (uint32_t k = 0; k <= last; ++k) {
      const uint32_t begin = from + k * part, size = std::min(to - begin, part);
      if (size <= kBlock) {
        PackBlock(begin, begin + size, &ends[k]);
      } else {
        PackParts(begin, begin + size, &ends[k]);
      }
    }
  }

  void WritePackets(uint32_t from, uint32_t to, const uint8_t* controls) {
    while (at_ < to) {
      const uint8_t control = controls[at_ - from];
      const bool is_run = control > kNothing;
      const uint32_t count = is_run ? kRunControl - control : control + 1u;
      dst_ = is_run ? WriteRun(src_[at_], count, dst_) : WriteLiteral(src_ + at_, count, dst_);
      at_ += count;
    }
  }

  const uint8_t* src_;
  uint32_t size_;
  uint32_t at_ = 0;  // bytes packed so far
  uint8_t* dst_ = nullptr;
};

// A bit for each of 64 bytes: whether it equals the next one. Reads 65 bytes.
HWY_INLINE uint64_t EqualToNext(const uint8_t* src) {
  uint64_t equal = 0;
  for (int i = 0; i < 8; ++i) {
    const uint64_t zeros = ZeroBytes(Load64(src + 8 * i) ^ Load64(src + 8 * i + 1)) >> 7;
    equal |= (zeros * 0x0102040810204080 >> 56) << (8 * i);  // byte k to bit 56 + k
  }
  return equal;
}

// Packs a row piece by piece; the destination has room for any result.
class PieceWriter {
 public:
  PieceWriter(const uint8_t* src, uint32_t size, uint8_t* dst)
      : src_(src), size_(size), dst_(dst) {}

  // Returns the end of the packed row.
  uint8_t* Pack() {
    for (uint32_t i = 0; i < size_;) {
      uint32_t length = 0;
      const uint64_t equal = size_ - i > 64 ? EqualToNext(src_ + i) : 0;
      const uint64_t runs = RunsOfFour(equal);
      const uint32_t count = runs == 0 ? 0 : static_cast<uint32_t>(__builtin_ctzll(runs));
      if (runs != 0 && (length = RunLength(i + count), IsAlone(length))) {
        PackShort(src_ + i, count, equal);
        i += count;
      } else {
        const uint32_t end = FindRunAlone(i, &length);
        if (end > i) dst_ = ExactPacker(src_ + i, end - i).Pack(dst_);
        i = end;
      }
      for (uint32_t left = length; left > 0; left -= std::min(left, kMaxPacket)) {
        dst_ = WriteRun(src_[i], std::min(left, kMaxPacket), dst_);
      }
      i += length;
    }
    return dst_;
  }

 private:
  static uint64_t RunsOfFour(uint64_t equal) { return equal & equal >> 1 & equal >> 2; }
  static bool IsAlone(uint32_t length) {
    return length % kMaxPacket == 0 || length % kMaxPacket >= 4;
  }

  uint32_t RunLength(uint32_t from) const {
    const uint64_t bytes = src_[from] * kEach;
    uint32_t i = from + 1;
    for (; size_ - i >= 8; i += 8) {
      const uint64_t different = Load64(src_ + i) ^ bytes;
      if (different != 0) return i + FirstByte(different) - from;
    }
    while (i < size_ && src_[i] == src_[from]) ++i;
    return i - from;
  }

  // The index of the first byte in memory order that is not zero.
  static uint32_t FirstByte(uint64_t bytes) {
    return static_cast<uint32_t>(__builtin_ctzll(bytes)) / 8;
  }

  // Returns the position of the first run from `i` that ends a piece, and its length; or the end of
  // the row and a length of 0.
  uint32_t FindRunAlone(uint32_t i, uint32_t* length) const {
    while (i < size_) {
      if (size_ - i > 64) {
        const uint64_t runs = RunsOfFour(EqualToNext(src_ + i));
        if (runs == 0) {
          i += 61;  // runs of four that begin later are not visible in these 64 bits
          continue;
        }
        i += static_cast<uint32_t>(__builtin_ctzll(runs));
      }
      *length = RunLength(i);
      if (*length >= 4 && IsAlone(*length)) return i;
      i += *length;
    }
    *length = 0;
    return size_;
  }

  // Packs up to 61 bytes without four equal ones in a row, which a run packet follows.
  HWY_INLINE void PackShort(const uint8_t* src, uint32_t count, uint64_t equal) {
    const uint64_t all = (uint64_t{1} << count) - 1;
    const uint64_t pairs = equal & all;  // the last byte differs from the run
    const uint64_t threes = pairs & pairs >> 1;
    const uint64_t singles = all & ~(pairs | pairs << 1);
    const auto ends_well = [=](uint32_t from) {
      const uint64_t single = singles >> from, three = threes >> from;
      return single == 0 || (three & (single ^ (single - 1))) != 0;
    };
    for (uint32_t i = 0; i < count;) {
      const bool is_three = (threes >> i & 1) != 0;
      const bool is_pair = (pairs >> i & 1) != 0;
      const uint32_t run = is_three ? 3 : is_pair ? 2 : 1;
      if (is_three || (is_pair && ends_well(i + run))) {
        dst_ = WriteRun(src[i], run, dst_);
        i += run;
        continue;
      }
      uint64_t left = threes & ~uint64_t{0} << (i + run);
      while (left != 0 && !ends_well(static_cast<uint32_t>(__builtin_ctzll(left)) + 3)) {
        left &= left - 1;
      }
      const uint32_t end = left == 0 ? count : static_cast<uint32_t>(__builtin_ctzll(left));
      dst_ = WriteLiteral(src + i, end - i, dst_);
      i = end;
    }
  }

  const uint8_t* src_;
  uint32_t size_;
  uint8_t* dst_;
};

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiPackBitsRow_TIFF_8u_C1(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst,
                                              int32_t* pDstLen) {
  if (auto bad =
          Checks().Ptr(pSrc).Ptr(pDst).Ptr(pDstLen).Refuse(srcLen < 1, zepStatusBadSize).Failed()) {
    return bad;
  }
  if (*pDstLen < 1) return zepStatusBufferExhausted;
  const auto size = static_cast<uint32_t>(srcLen), room = static_cast<uint32_t>(*pDstLen);
  const bool is_tight = room < uint64_t{size} + (uint64_t{size} + 127) / 128;
  const uint8_t* end;
  if (is_tight && size <= kBlock) {
    end = ExactPacker(pSrc, size).PackShortRow(room, pDst);
  } else if (is_tight && ExactPacker(pSrc, size).Cost() > room) {
    end = nullptr;
  } else {
    end = PieceWriter(pSrc, size, pDst).Pack();
  }
  if (end == nullptr) return zepStatusBufferExhausted;
  *pDstLen = static_cast<int32_t>(end - pDst);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiUnpackBitsRow_TIFF_8u_C1(const uint8_t* pSrc, int32_t* pSrcLen,
                                                uint8_t* pDst, int32_t dstLen) {
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
    const int64_t count = is_run ? int64_t{kRunControl} - control : control + 1;
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
