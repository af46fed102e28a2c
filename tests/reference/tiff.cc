// SPDX-License-Identifier: MIT
#include "reference/tiff.h"

#include <algorithm>
#include <vector>

#include "reference/pixels.h"

namespace reference {

// Every packet at every byte is tried, from the last one backwards.
zepStatus zepiPackBitsRow_TIFF_8u_C1(const uint8_t* src, int32_t src_size, uint8_t* dst,
                                     int32_t* dst_size) {
  const auto size = static_cast<size_t>(src_size);
  std::vector<size_t> cost(size + 1), literal(size), run(size);
  for (size_t i = size; i-- > 0;) {
    const size_t most = std::min<size_t>(128, size - i);
    size_t equal = 1;
    while (equal < most && src[i + equal] == src[i]) ++equal;
    cost[i] = SIZE_MAX;
    for (size_t n = most; n >= 2; --n) {
      if (n <= equal && 2 + cost[i + n] < cost[i]) {
        cost[i] = 2 + cost[i + n];
        run[i] = n;
      }
    }
    for (size_t n = 1; n <= most; ++n) {
      if (1 + n + cost[i + n] <= cost[i]) {
        cost[i] = 1 + n + cost[i + n];
        literal[i] = n;
      }
    }
    if (literal[i] != 0) run[i] = 0;
  }
  if (cost[0] > static_cast<size_t>(*dst_size)) return zepStatusBufferExhausted;
  *dst_size = static_cast<int32_t>(cost[0]);
  for (size_t i = 0; i < size;) {
    if (run[i] != 0) {
      *dst++ = static_cast<uint8_t>(257 - run[i]);
      *dst++ = src[i];
      i += run[i];
    } else {
      *dst++ = static_cast<uint8_t>(literal[i] - 1);
      dst = std::copy_n(src + i, literal[i], dst);
      i += literal[i];
    }
  }
  return zepStatusOk;
}

zepStatus zepiUnpackBitsRow_TIFF_8u_C1(const uint8_t* src, int32_t* src_size, uint8_t* dst,
                                       int32_t dst_size) {
  int32_t at = 0, written = 0;
  while (written < dst_size) {
    if (at >= *src_size) return *src_size = at, zepStatusUnpackBitsOverrun;
    const int32_t control = src[at];
    const int32_t count = control < 128 ? control + 1 : control > 128 ? 257 - control : 0;
    const int32_t bytes = control < 128 ? count : control > 128 ? 1 : 0;
    if (written + count > dst_size || at + 1 + bytes > *src_size) {
      return *src_size = at, zepStatusUnpackBitsOverrun;
    }
    for (int32_t i = 0; i < count; ++i) dst[written++] = src[at + 1 + (control < 128 ? i : 0)];
    at += 1 + bytes;
  }
  *src_size = at;
  return zepStatusOk;
}

zepStatus zepiSplitRow_TIFF_16u8u_C1(const uint16_t* src, uint8_t* dst, int32_t width) {
  for (int32_t x = 0; x < width; ++x) {
    const uint16_t sample = Get(src, 0, x, 0);
    dst[x] = static_cast<uint8_t>(sample / 256);
    dst[width + x] = static_cast<uint8_t>(sample % 256);
  }
  return zepStatusOk;
}

zepStatus zepiJoinRow_TIFF_8u16u_C1(const uint8_t* src, uint16_t* dst, int32_t width) {
  for (int32_t x = 0; x < width; ++x)
    Put(dst, 0, x, 0, static_cast<uint16_t>(src[x] * 256 + src[width + x]));
  return zepStatusOk;
}

}  // namespace reference
