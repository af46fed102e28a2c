// SPDX-License-Identifier: MIT
// The bits of a tile's packets. The position is kept in the form that the library's functions take.
#ifndef ZEPJP_CODECS_JPEGXR_PACKET_H_
#define ZEPJP_CODECS_JPEGXR_PACKET_H_

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/parallel.h"
#include "codecs/support/status.h"

namespace zepcodec::jpegxr {

// The library's decoders do not check for the end: kSpareBytes more must follow it, which is more
// than a macroblock can read, and callers ask IsBeyondEnd() after each macroblock.
class PacketReader {
 public:
  static constexpr size_t kSpareBytes = 1 << 16;

  PacketReader() = default;
  PacketReader(const uint8_t* begin, const uint8_t* end) : from(begin), end_(end) {}

  // Up to 16 bits.
  uint32_t Bits(uint32_t number) {
    if (count < 16) Refill();
    const auto value = static_cast<uint32_t>(uint64_t{accumulator} << number >> 32);
    accumulator <<= number;
    count -= number;
    return value;
  }
  bool Bit() { return Bits(1) != 0; }
  uint32_t LongBits(uint32_t number) {
    if (number <= 16) return Bits(number);
    const uint32_t high = Bits(16);
    return high << (number - 16) | Bits(number - 16);
  }
  // The next 8 bits, without consuming them.
  uint32_t Look8() {
    if (count < 16) Refill();
    return accumulator >> 24;
  }
  void Skip(uint32_t number) {
    accumulator <<= number;
    count -= number;
  }
  bool IsBeyondEnd() const { return from - count / 8 > end_; }

  const uint8_t* from = nullptr;
  uint32_t accumulator = 0;
  uint32_t count = 0;

 private:
  void Refill() {
    accumulator |= (static_cast<uint32_t>(from[0]) << 8 | from[1]) << (16 - count);
    from += 2;
    count += 16;
  }

  const uint8_t* end_ = nullptr;
};

// The readers of the bands. In spatial order all bands share one.
struct BandReaders {
  PacketReader* dc;
  PacketReader* lp;
  PacketReader* hp;
  PacketReader* refinement;
  bool is_spatial;
};

class PacketWriter {
 public:
  // The most that a macroblock can take; call MakeRoom() before each.
  static constexpr size_t kRoom = 1 << 16;

  void MakeRoom() {
    const auto size = static_cast<size_t>(to - bytes_.data());
    if (to == nullptr) {
      if (!bytes_.MakeRoom(4 * kRoom)) throw std::bad_alloc();
      to = bytes_.data();
      return;
    }
    if (bytes_.capacity() - size >= kRoom) return;
    if (!bytes_.Resize(size) || !bytes_.MakeRoom(bytes_.capacity())) throw std::bad_alloc();
    to = bytes_.data() + size;
  }

  // Writes the lowest `number` bits, up to 16; all others are 0.
  void Put(uint32_t value, uint32_t number) {
    accumulator |= static_cast<uint32_t>(uint64_t{value} << (32 - count - number));
    count += number;
    if (count < 16) return;
    to[0] = static_cast<uint8_t>(accumulator >> 24);
    to[1] = static_cast<uint8_t>(accumulator >> 16);
    to += 2;
    accumulator <<= 16;
    count -= 16;
  }
  void PutLong(uint32_t value, uint32_t number) {
    if (number > 16) Put(value >> 16, number - 16);
    Put(number > 16 ? value & 0xFFFF : value, number < 16 ? number : 16);
  }

  // Forgets all bits, but keeps the memory.
  void Clear() {
    to = bytes_.data();
    accumulator = count = 0;
  }

  size_t SizeInBits() const { return 8 * static_cast<size_t>(to - bytes_.data()) + count; }

  // Stores the last bits, with zeros that a reader looks at ahead. Nothing is to be written after
  // this.
  void Flush() {
    for (uint32_t i = 0; i < 4; ++i) to[i] = static_cast<uint8_t>(accumulator >> (24 - 8 * i));
  }

  // Reads the flushed bits, up to 16 at a time.
  PacketReader Read() const { return {bytes_.data(), to}; }

  // Ends the packet with zero bits up to a whole byte, and frees spare memory.
  std::vector<uint8_t> Finish() {
    while (count > 0) {
      *to++ = static_cast<uint8_t>(accumulator >> 24);
      accumulator <<= 8;
      count = count > 8 ? count - 8 : 0;
    }
    std::vector<uint8_t> packet(bytes_.data(), to);
    bytes_ = ByteBuffer();
    to = nullptr;
    return packet;
  }

  uint8_t* to = nullptr;
  uint32_t accumulator = 0;
  uint32_t count = 0;

 private:
  ByteBuffer bytes_;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_PACKET_H_
