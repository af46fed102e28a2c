// SPDX-License-Identifier: MIT
#include "reference/texture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace reference {
namespace {

using Pixel = std::array<int, 4>;  // the channels that the format has
using Tile = std::array<Pixel, 16>;

uint64_t Bits(const uint8_t* from, int count) {
  uint64_t bits = 0;
  for (int i = 0; i < count; ++i) bits |= uint64_t{from[i]} << (8 * i);
  return bits;
}

Pixel Widen(uint64_t color) {
  const auto r = static_cast<int>(color >> 11), g = static_cast<int>(color >> 5 & 63),
             b = static_cast<int>(color & 31);
  return {r << 3 | r >> 2, g << 2 | g >> 4, b << 3 | b >> 2, 255};
}

void DecodeColors(const uint8_t* block, bool may_have_three, Tile* tile) {
  const uint64_t c0 = Bits(block, 2), c1 = Bits(block + 2, 2);
  const Pixel e0 = Widen(c0), e1 = Widen(c1);
  const bool has_three = may_have_three && c0 <= c1;
  Pixel palette[4] = {e0, e1, {}, {}};
  for (unsigned i = 0; i < 3; ++i) {
    palette[2][i] = has_three ? (e0[i] + e1[i]) >> 1 : (2 * e0[i] + e1[i]) / 3;
    palette[3][i] = has_three ? 255 : (e0[i] + 2 * e1[i]) / 3;
  }
  palette[2][3] = palette[3][3] = 255;
  const uint64_t indexes = Bits(block + 4, 4);
  for (unsigned i = 0; i < 16; ++i) (*tile)[i] = palette[indexes >> (2 * i) & 3];
}

void DecodeChannel(const uint8_t* block, unsigned channel, Tile* tile) {
  const int a0 = block[0], a1 = block[1];
  int palette[8] = {a0, a1};
  for (int k = 1; k < 7; ++k) {
    if (a0 > a1) palette[k + 1] = ((7 - k) * a0 + k * a1 + 3) / 7;
  }
  if (a0 <= a1) {
    for (int k = 1; k < 5; ++k) palette[k + 1] = ((5 - k) * a0 + k * a1 + 2) / 5;
    palette[6] = 0;
    palette[7] = 255;
  }
  const uint64_t indexes = Bits(block + 2, 6);
  for (unsigned i = 0; i < 16; ++i) (*tile)[i][channel] = palette[indexes >> (3 * i) & 7];
}

// Decodes all blocks, then stores the rows one after another.
template <unsigned kChannels, size_t kBlockBytes, class DecodeBlock>
zepStatus Decode(const uint8_t* src, uint8_t* dst, int32_t step, zepiSize size,
                 DecodeBlock decode) {
  if (src == nullptr || dst == nullptr) return zepStatusNullPtr;
  if (step == 0) return zepStatusBadStep;
  if (size.width < 1 || size.height < 1) return zepStatusBadSize;
  const auto width = static_cast<size_t>(size.width), height = static_cast<size_t>(size.height);
  std::vector<uint8_t> image(width * height * kChannels);
  for (size_t y = 0; y < height; y += 4) {
    for (size_t x = 0; x < width; x += 4, src += kBlockBytes) {
      Tile tile = {};
      decode(src, &tile);
      for (size_t i = 0; i < 16; ++i) {
        const size_t column = x + i % 4, row = y + i / 4;
        if (column >= width || row >= height) continue;
        for (unsigned c = 0; c < kChannels; ++c) {
          image[(row * width + column) * kChannels + c] = static_cast<uint8_t>(tile[i][c]);
        }
      }
    }
  }
  for (size_t y = 0; y < height; ++y) {
    std::memcpy(dst + static_cast<ptrdiff_t>(y) * step, &image[y * width * kChannels],
                width * kChannels);
  }
  return zepStatusOk;
}

// The minimum and maximum of a channel, moved inwards by a sixteenth of their distance.
struct Bounds {
  int low, high;
};
Bounds BoundsOf(const Tile& tile, unsigned channel) {
  int low = 255, high = 0;
  for (const Pixel& pixel : tile) {
    low = std::min(low, pixel[channel]);
    high = std::max(high, pixel[channel]);
  }
  const int inset = (high - low) >> 4;
  return {std::min(low + inset, 255), std::max(high - inset, 0)};
}

void Store(uint64_t bits, int count, uint8_t* to) {
  for (int i = 0; i < count; ++i) to[i] = static_cast<uint8_t>(bits >> (8 * i));
}

int Distance(const Pixel& a, const Pixel& b) {
  return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]);
}

void EncodeColors(const Tile& tile, uint8_t* block) {
  Pixel p[4] = {};
  int c[2] = {};
  const Bounds red = BoundsOf(tile, 0), green = BoundsOf(tile, 1), blue = BoundsOf(tile, 2);
  const int ends[2][3] = {{red.high, green.high, blue.high}, {red.low, green.low, blue.low}};
  for (int k = 0; k < 2; ++k) {
    const auto [r, g, b] = ends[k];
    c[k] = (r >> 3) << 11 | (g >> 2) << 5 | (b >> 3);
    p[k] = {(r & 248) | r >> 5, (g & 252) | g >> 6, (b & 248) | b >> 5, 0};
  }
  for (unsigned i = 0; i < 3; ++i) {
    p[2][i] = (2 * p[0][i] + p[1][i]) / 3;
    p[3][i] = (p[0][i] + 2 * p[1][i]) / 3;
  }
  uint64_t indexes = 0;
  for (unsigned i = 0; i < 16; ++i) {
    int d[4];
    for (int k = 0; k < 4; ++k) d[k] = Distance(tile[i], p[k]);
    const bool b0 = d[0] > d[3] && d[2] > d[3];
    const bool b1 = (d[1] > d[2] && d[0] > d[2]) || (d[0] > d[3] && d[1] > d[3]);
    indexes |= (uint64_t{b1} * 2 + uint64_t{b0}) << (2 * i);
  }
  Store(static_cast<uint64_t>(c[0]), 2, block);
  Store(static_cast<uint64_t>(c[1]), 2, block + 2);
  Store(indexes, 4, block + 4);
}

void EncodeNibbles(const Tile& tile, uint8_t* block) {
  uint64_t bits = 0;
  for (unsigned i = 0; i < 16; ++i) bits |= static_cast<uint64_t>(tile[i][3] >> 4) << (4 * i);
  Store(bits, 8, block);
}

void EncodeChannel(const Tile& tile, unsigned channel, uint8_t* block) {
  const auto [low, high] = BoundsOf(tile, channel);
  const int bias = (high - low) / 14;
  int thresholds[7] = {low + bias};
  for (int j = 1; j <= 6; ++j) thresholds[j] = ((7 - j) * high + j * low) / 7 + bias;
  uint64_t indexes = 0;
  for (unsigned i = 0; i < 16; ++i) {
    const auto count = std::count_if(std::begin(thresholds), std::end(thresholds),
                                     [&](int t) { return t >= tile[i][channel]; });
    const auto index = static_cast<uint64_t>(count == 7 ? 1 : count == 0 ? 0 : count + 1);
    indexes |= index << (3 * i);
  }
  block[0] = static_cast<uint8_t>(high);
  block[1] = static_cast<uint8_t>(low);
  Store(indexes, 6, block + 2);
}

// Pixels beyond an edge repeat the last ones.
template <unsigned kChannels, size_t kBlockBytes, class EncodeBlock>
zepStatus Encode(const uint8_t* src, int32_t step, zepiSize size, uint8_t* dst,
                 EncodeBlock encode) {
  if (src == nullptr || dst == nullptr) return zepStatusNullPtr;
  if (step == 0) return zepStatusBadStep;
  if (size.width < 1 || size.height < 1) return zepStatusBadSize;
  for (int32_t y = 0; y < size.height; y += 4) {
    for (int32_t x = 0; x < size.width; x += 4, dst += kBlockBytes) {
      Tile tile = {};
      for (int i = 0; i < 16; ++i) {
        const int32_t row = std::min(y + i / 4, size.height - 1);
        const int32_t column = std::min(x + i % 4, size.width - 1);
        const uint8_t* pixel =
            src + ptrdiff_t{row} * step + size_t{kChannels} * static_cast<size_t>(column);
        for (unsigned c = 0; c < kChannels; ++c) tile[static_cast<size_t>(i)][c] = pixel[c];
      }
      encode(tile, dst);
    }
  }
  return zepStatusOk;
}

}  // namespace

zepStatus zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                     int32_t dst_step, zepiSize size) {
  return Decode<4, 8>(src, dst, dst_step, size,
                      [](const uint8_t* block, Tile* tile) { DecodeColors(block, true, tile); });
}

zepStatus zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                     int32_t dst_step, zepiSize size) {
  return Decode<4, 16>(src, dst, dst_step, size, [](const uint8_t* block, Tile* tile) {
    DecodeColors(block + 8, false, tile);
    const uint64_t alpha = Bits(block, 8);
    for (unsigned i = 0; i < 16; ++i) (*tile)[i][3] = static_cast<int>(alpha >> (4 * i) & 15) << 4;
  });
}

zepStatus zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                     int32_t dst_step, zepiSize size) {
  return Decode<4, 16>(src, dst, dst_step, size, [](const uint8_t* block, Tile* tile) {
    DecodeColors(block + 8, false, tile);
    DecodeChannel(block, 3, tile);
  });
}

zepStatus zepiTextureDecodeBlock_BC4_8u_C1R(const uint8_t* src, uint8_t* dst, int32_t dst_step,
                                            zepiSize size) {
  return Decode<1, 8>(src, dst, dst_step, size,
                      [](const uint8_t* block, Tile* tile) { DecodeChannel(block, 0, tile); });
}

zepStatus zepiTextureDecodeBlockToRG_BC5_8u_C1C2R(const uint8_t* src, uint8_t* dst,
                                                  int32_t dst_step, zepiSize size) {
  return Decode<2, 16>(src, dst, dst_step, size, [](const uint8_t* block, Tile* tile) {
    DecodeChannel(block, 0, tile);
    DecodeChannel(block + 8, 1, tile);
  });
}

zepStatus zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* src, int32_t src_step,
                                                       zepiSize size, uint8_t* dst) {
  return Encode<4, 8>(src, src_step, size, dst, EncodeColors);
}

zepStatus zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(const uint8_t* src, int32_t src_step,
                                                       zepiSize size, uint8_t* dst) {
  return Encode<4, 16>(src, src_step, size, dst, [](const Tile& tile, uint8_t* block) {
    EncodeNibbles(tile, block);
    EncodeColors(tile, block + 8);
  });
}

zepStatus zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(const uint8_t* src, int32_t src_step,
                                                       zepiSize size, uint8_t* dst) {
  return Encode<4, 16>(src, src_step, size, dst, [](const Tile& tile, uint8_t* block) {
    EncodeChannel(tile, 3, block);
    EncodeColors(tile, block + 8);
  });
}

zepStatus zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(const uint8_t* src, int32_t src_step,
                                                        zepiSize size, uint8_t* dst) {
  return Encode<3, 16>(src, src_step, size, dst, [](const Tile& tile, uint8_t* block) {
    Tile colors = {};
    for (size_t i = 0; i < 16; ++i) colors[i] = {tile[i][1], tile[i][2], 0, 0};
    EncodeChannel(tile, 0, block);
    EncodeColors(colors, block + 8);
  });
}

zepStatus zepiTextureEncodeBlock_BC4_8u_C1R(const uint8_t* src, int32_t src_step, zepiSize size,
                                            uint8_t* dst) {
  return Encode<1, 8>(src, src_step, size, dst,
                      [](const Tile& tile, uint8_t* block) { EncodeChannel(tile, 0, block); });
}

zepStatus zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R(const uint8_t* src, int32_t src_step,
                                                    zepiSize size, uint8_t* dst) {
  return Encode<2, 16>(src, src_step, size, dst, [](const Tile& tile, uint8_t* block) {
    EncodeChannel(tile, 0, block);
    EncodeChannel(tile, 1, block + 8);
  });
}

}  // namespace reference
