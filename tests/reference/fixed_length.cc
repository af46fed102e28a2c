// SPDX-License-Identifier: MIT
#include "reference/fixed_length.h"

#include <cstddef>
#include <cstring>

namespace reference {
namespace {

constexpr int kPositions[15][2] = {{0, 2}, {0, 1}, {1, 3}, {2, 0}, {3, 3}, {3, 0}, {2, 3}, {1, 0},
                                   {0, 3}, {1, 1}, {1, 2}, {3, 1}, {3, 2}, {2, 1}, {2, 2}};

template <class T>
void* At(T* block, int32_t step, int i) {
  auto* const bytes = const_cast<uint8_t*>(reinterpret_cast<const uint8_t*>(block));
  return bytes + ptrdiff_t{kPositions[i][0]} * step +
         kPositions[i][1] * static_cast<ptrdiff_t>(sizeof(T));
}

// Clears the bits below the valid ones, which are undefined.
void ClearInvalid(uint32_t* accumulator, uint32_t count) {
  *accumulator &= count == 0 ? 0 : ~uint32_t{0} << (32 - count);
}

struct Reader {
  const uint8_t** from;
  uint32_t* accumulator;
  uint32_t* count;

  void Refill() {
    if (*count >= 16) return;
    const uint32_t bytes = static_cast<uint32_t>((*from)[0]) << 8 | (*from)[1];
    *accumulator |= bytes << (16 - *count);
    *from += 2;
    *count += 16;
  }
  uint32_t Take(uint32_t bits) {
    const auto value = static_cast<uint32_t>(uint64_t{*accumulator} << bits >> 32);
    *accumulator = static_cast<uint32_t>(uint64_t{*accumulator} << bits);
    *count -= bits;
    return value;
  }
};

struct Writer {
  uint8_t** to;
  uint32_t* accumulator;
  uint32_t* count;

  void Put(uint32_t value, uint32_t bits) {
    for (uint32_t i = bits; i-- > 0;) PutBit(value >> i & 1);
  }
  void Store() {
    while (*count >= 16) {
      *(*to)++ = static_cast<uint8_t>(*accumulator >> 24);
      *(*to)++ = static_cast<uint8_t>(*accumulator >> 16);
      *accumulator <<= 16;
      *count -= 16;
    }
  }

 private:
  void PutBit(uint32_t bit) {
    Store();
    *accumulator |= bit << (31 - *count);
    ++*count;
    Store();
  }
};

template <class T>
zepStatus Decode(Reader reader, T* block, int32_t step, uint32_t m, T multiplier, uint32_t refine) {
  if (m == 0) return zepStatusOk;
  ClearInvalid(reader.accumulator, *reader.count);
  for (int i = 0; i < 15; ++i) {
    T value;
    std::memcpy(&value, At(block, step, i), sizeof(T));
    reader.Refill();
    const uint32_t q = reader.Take(m);
    const uint32_t product = q * static_cast<uint32_t>(int32_t{multiplier});
    const auto old = static_cast<uint32_t>(int32_t{value});
    if (refine != 0 && value != 0) {
      value = static_cast<T>(value < 0 ? old - product : old + product);
    } else if (q != 0) {
      value = static_cast<T>(reader.Take(1) == 1 ? 0 - product : product);
    }
    std::memcpy(At(block, step, i), &value, sizeof(T));
  }
  return zepStatusOk;
}

template <class T>
zepStatus Encode(Writer writer, const T* block, int32_t step, const int32_t* packed, uint32_t m,
                 uint32_t trim, uint32_t coded) {
  if (m == 0) return zepStatusOk;
  ClearInvalid(writer.accumulator, *writer.count);
  writer.Store();
  for (int i = 0; i < 15; ++i) {
    if (coded != 0) {
      const auto value = static_cast<uint32_t>(packed[4 * kPositions[i][0] + kPositions[i][1]]);
      writer.Put(value >> 1, m + (value & 1));
      continue;
    }
    T value;
    std::memcpy(&value, At(block, step, i), sizeof(T));
    const int64_t magnitude = value < 0 ? -int64_t{value} : int64_t{value};
    const auto t = static_cast<uint32_t>(magnitude >> trim) & ((1U << m) - 1);
    writer.Put(t, m);
    if (t != 0) writer.Put(value < 0 ? 1 : 0, 1);
  }
  return zepStatusOk;
}

}  // namespace

zepStatus zepiFLCDecode4x4_JPEGXR_1u32s_C1IR(const uint8_t** from, uint32_t* accumulator,
                                             uint32_t* count, int32_t* block, int32_t step,
                                             uint32_t m, int32_t multiplier, uint32_t refine) {
  return Decode({from, accumulator, count}, block, step, m, multiplier, refine);
}

zepStatus zepiFLCDecode4x4_JPEGXR_1u16s_C1IR(const uint8_t** from, uint32_t* accumulator,
                                             uint32_t* count, int16_t* block, int32_t step,
                                             uint32_t m, int16_t multiplier, uint32_t refine) {
  return Decode({from, accumulator, count}, block, step, m, multiplier, refine);
}

zepStatus zepiFLCEncode4x4_JPEGXR_32s1u_C1R(const int32_t* block, int32_t step,
                                            const int32_t* packed, uint8_t** to,
                                            uint32_t* accumulator, uint32_t* count, uint32_t m,
                                            uint32_t trim, uint32_t coded) {
  return Encode({to, accumulator, count}, block, step, packed, m, trim, coded);
}

zepStatus zepiFLCEncode4x4_JPEGXR_16s1u_C1R(const int16_t* block, int32_t step,
                                            const int32_t* packed, uint8_t** to,
                                            uint32_t* accumulator, uint32_t* count, uint32_t m,
                                            uint32_t trim, uint32_t coded) {
  return Encode({to, accumulator, count}, block, step, packed, m, trim, coded);
}

}  // namespace reference
