// SPDX-License-Identifier: MIT
// Baseline blocks (ITU-T T.81, F.1.2 and F.2.2) at a position that counts bits, without a state
// between calls.
//
// The block coders do the work with a state that is made from the bytes before the position. The
// block decoder reads ahead, so afterwards the position goes back over the bytes whose bits were
// not used, including stuffed zeros and fill bytes. If the block decoder fails or meets a marker,
// the block is decoded again by a reader that never reads a bit before the block needs it. Only
// that reader can tell an invalid code from bits that are missing before a marker.
#include <cstring>

#include "frame/checks.h"
#include "jpeg/huffman/bit_reader.h"
#include "jpeg/huffman/careful_block.h"

namespace zepjp {
namespace {

constexpr int32_t kMaxBytes = (1 << 28) - 1;  // int32_t counts their bits

// Whether a position lies in a buffer or at its end.
bool IsWithin(int32_t bit_position, int32_t length) {
  return bit_position >= 0 && bit_position <= 8 * length;
}

// The position after a data byte. After FF a stuffed 00 follows, possibly with FF fill bytes in
// between.
int32_t After(const uint8_t* bytes, int32_t length, int32_t at) {
  if (bytes[at++] != 0xFF) return at;
  while (at < length && bytes[at] == 0xFF) ++at;
  return at < length && bytes[at] == 0 ? at + 1 : at;
}

// The position of the data byte that ends at `end`, including its fill bytes.
int32_t Before(const uint8_t* bytes, int32_t begin, int32_t end) {
  int32_t at = end - 1;
  if (bytes[at] != 0 || at == begin || bytes[at - 1] != 0xFF) return at;
  while (at > begin && bytes[at - 1] == 0xFF) --at;
  return at;
}

// Reads one bit at a time, and each byte only when its first bit is needed.
class DirectReader {
 public:
  DirectReader(const uint8_t* bytes, int32_t length, int32_t bit_position)
      : bytes_(bytes), length_(length), at_(bit_position / 8) {
    if (bit_position % 8 == 0) {
      next_ = at_;
      return;
    }
    value_ = bytes[at_];
    left_ = 8 - bit_position % 8;
    next_ = After(bytes, length, at_);
  }

  // Takes up to 16 bits.
  zepStatus Take(int count, uint32_t* bits) {
    for (*bits = 0; count > 0; --count) {
      if (left_ == 0) {
        if (auto bad = Load()) return bad;
      }
      *bits = *bits << 1 | (value_ >> --left_ & 1);
    }
    return zepStatusOk;
  }

  // ITU-T T.81, F.2.2.3.
  zepStatus TakeSymbol(const zepiDecodeHuffmanSpec& table, uint32_t* symbol) {
    uint32_t code = 0, bit = 0;
    for (int length = 1; length <= kMaxCodeBits; ++length) {
      if (auto bad = Take(1, &bit)) return bad;
      code = code << 1 | bit;
      if (!IsCode(table, length, code)) continue;
      const uint32_t index = IndexOfCode(table, length, code);
      if (index > 255) return zepStatusBadHuffCode;
      *symbol = table.symbol[index];
      return zepStatusOk;
    }
    return zepStatusBadHuffCode;
  }

  int32_t bit_position() const { return left_ == 0 ? 8 * next_ : 8 * at_ + 8 - left_; }
  // The marker that ended the data, or 0, and the bit position of its FF.
  int32_t marker() const { return marker_; }
  int32_t marker_position() const { return 8 * marker_at_; }

 private:
  zepStatus Load() {
    if (next_ == length_) return zepStatusBufferExhausted;
    at_ = next_;
    value_ = bytes_[at_];
    next_ = After(bytes_, length_, at_);
    left_ = 8;
    if (value_ != 0xFF || bytes_[next_ - 1] == 0) return zepStatusOk;
    if (next_ == length_) return zepStatusBufferExhausted;
    marker_ = bytes_[next_];
    marker_at_ = next_ - 1;
    return zepStatusBadHuffCode;
  }

  const uint8_t* bytes_;
  int32_t length_;
  int32_t at_;    // the position of the current byte
  int32_t next_;  // the position after it
  uint32_t value_ = 0;
  int left_ = 0;  // bits of the current byte that are not used yet
  int32_t marker_ = 0;
  int32_t marker_at_ = 0;
};

zepStatus DecodeCarefully(const uint8_t* bytes, int32_t length, int32_t* bit_position,
                          int16_t* block, int16_t* last_dc, int32_t* marker,
                          const zepiDecodeHuffmanSpec& dc_table,
                          const zepiDecodeHuffmanSpec& ac_table) {
  DirectReader reader(bytes, length, *bit_position);
  const zepStatus status = TakeBlock(dc_table, ac_table, &reader, block, last_dc);
  if (status == zepStatusOk) {
    *bit_position = reader.bit_position();
  } else if (reader.marker() != 0) {
    *bit_position = reader.marker_position();
    *marker = reader.marker();
  }
  return status;
}

// The byte position and the state with which the block decoder starts. The state holds up to four
// bytes before the position.
struct Start {
  Start(const uint8_t* bytes, int32_t length, int32_t bit_position) {
    const int32_t unused = bit_position % 8 == 0 ? 0 : 8 - bit_position % 8;
    at = unused == 0 ? bit_position / 8 : After(bytes, length, bit_position / 8);
    state = {};
    for (int32_t i = at < 4 ? 0 : at - 4; i < at; ++i) state.bits = state.bits << 8 | bytes[i];
    if (unused > 0) {
      state.bits = (state.bits & ~uint32_t{0xFF}) | bytes[bit_position / 8];
    }
    state.numBits = unused;
  }
  int32_t at;
  zepiDecodeHuffmanState state;
};

// The bit position of a block decoder that is at byte `at` and has read `unused` bits ahead.
int32_t TakeBack(const uint8_t* bytes, int32_t begin, int32_t at, int32_t unused) {
  for (; unused > 0; unused -= 8) at = Before(bytes, begin, at);
  return 8 * at - unused;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstBitPos, int16_t* pLastDC,
    const zepiEncodeHuffmanSpec* pDcTable, const zepiEncodeHuffmanSpec* pAcTable) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pDst)
                     .Ptr(pDstBitPos)
                     .Ptr(pLastDC)
                     .Ptr(pDcTable)
                     .Ptr(pAcTable)
                     .Refuse(dstLenBytes < 1 || dstLenBytes > kMaxBytes, zepStatusBadSize)
                     .Failed()) {
    return bad;
  }
  if (!IsWithin(*pDstBitPos, dstLenBytes)) return zepStatusBufferExhausted;
  int32_t at = *pDstBitPos / 8;
  zepiEncodeHuffmanState state;  // a sequential scan uses only the members set here
  state.numBits = *pDstBitPos % 8;
  state.reserved = 0;
  state.bits = state.numBits == 0 ? 0 : uint32_t{pDst[at]} << 16;
  int16_t last_dc = 0;
  std::memcpy(&last_dc, pLastDC, sizeof(last_dc));
  if (auto bad = zepiEncodeHuffman8x8_JPEG_16s1u_C1(pSrc, pDst, dstLenBytes, &at, &last_dc,
                                                    pDcTable, pAcTable, &state, 0)) {
    return bad;
  }
  if (state.numBits > 0) {
    if (at == dstLenBytes) return zepStatusBufferExhausted;
    pDst[at] = static_cast<uint8_t>(state.bits >> 16);
  }
  std::memcpy(pLastDC, &last_dc, sizeof(last_dc));
  *pDstBitPos = 8 * at + state.numBits;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcBitPos, int16_t* pDst, int16_t* pLastDC,
    int32_t* pMarker, const zepiDecodeHuffmanSpec* pDcTable,
    const zepiDecodeHuffmanSpec* pAcTable) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pSrcBitPos)
                     .Ptr(pDst)
                     .Ptr(pLastDC)
                     .Ptr(pMarker)
                     .Ptr(pDcTable)
                     .Ptr(pAcTable)
                     .Refuse(srcLenBytes < 0, zepStatusBadArg)
                     .Refuse(srcLenBytes > kMaxBytes, zepStatusBadSize)
                     .Failed()) {
    return bad;
  }
  if (*pMarker != 0) return zepStatusBadHuffCode;
  if (!IsWithin(*pSrcBitPos, srcLenBytes)) return zepStatusBufferExhausted;
  Start start(pSrc, srcLenBytes, *pSrcBitPos);
  int32_t marker = 0;
  int16_t last_dc = 0;
  std::memcpy(&last_dc, pLastDC, sizeof(last_dc));
  const zepStatus status = zepiDecodeHuffman8x8_JPEG_1u16s_C1(
      pSrc, srcLenBytes, &start.at, pDst, &last_dc, &marker, pDcTable, pAcTable, &start.state);
  if (status != zepStatusOk || marker != 0) {
    return DecodeCarefully(pSrc, srcLenBytes, pSrcBitPos, pDst, pLastDC, pMarker, *pDcTable,
                           *pAcTable);
  }
  *pSrcBitPos = TakeBack(pSrc, *pSrcBitPos / 8, start.at, start.state.numBits);
  std::memcpy(pLastDC, &last_dc, sizeof(last_dc));
  return zepStatusOk;
}
