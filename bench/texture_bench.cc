// SPDX-License-Identifier: MIT
// The texture family on a picture of 2048 x 2048 pixels, beside the encoders of stb_dxt and the
// decoder of libsquish, block by block, and beside a fill of the memory that decoding writes.
// (stb_dxt has no DXT3; its DXT5 is compared with ours.)
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include <squish.h>

#include "rival_stb.h"
#include "zepjp.h"

namespace {

constexpr int kSide = 2048;
constexpr size_t kPixels = size_t{kSide} * kSide;
constexpr zepiSize kSize = {kSide, kSide};

// Smooth shapes with some noise, in any number of channels.
std::vector<uint8_t> Picture(int channels) {
  std::vector<uint8_t> picture(kPixels * static_cast<size_t>(channels));
  uint32_t state = 1;
  for (size_t i = 0; i < picture.size(); ++i) {
    const size_t pixel = i / static_cast<size_t>(channels);
    const auto x = static_cast<double>(pixel % kSide), y = static_cast<double>(pixel / kSide);
    const auto phase = static_cast<double>(i % static_cast<size_t>(channels));
    state = state * 1664525U + 1013904223U;
    const double noise = static_cast<double>(state >> 28) - 8;
    picture[i] = static_cast<uint8_t>(
        128 + 100 * std::sin(x / 37 + phase) * std::cos(y / 23 - phase) + noise);
  }
  return picture;
}

void Report(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kPixels));
}

using EncodeFunction = decltype(zepiTextureEncodeBlock_BC4_8u_C1R);
using DecodeFunction = decltype(zepiTextureDecodeBlock_BC4_8u_C1R);
using RivalEncode = void (*)(uint8_t* block, const uint8_t* pixels);

void EncodeOurs(benchmark::State& state, EncodeFunction* encode, int channels, size_t block) {
  const std::vector<uint8_t> picture = Picture(channels);
  std::vector<uint8_t> blocks(kPixels / 16 * block);
  for (auto _ : state) {
    encode(picture.data(), kSide * channels, kSize, blocks.data());
    benchmark::ClobberMemory();
  }
  Report(state);
}

// Gathers the pixels of a block first, which callers of these encoders have to do.
void EncodeRival(benchmark::State& state, RivalEncode encode, int channels, size_t block) {
  const std::vector<uint8_t> picture = Picture(channels);
  std::vector<uint8_t> blocks(kPixels / 16 * block);
  const size_t width = 4 * static_cast<size_t>(channels), step = kSide / 4 * width;
  for (auto _ : state) {
    uint8_t* to = blocks.data();
    for (size_t y = 0; y < kSide; y += 4) {
      for (size_t x = 0; x < kSide / 4; ++x, to += block) {
        uint8_t pixels[64];
        for (size_t i = 0; i < 4; ++i) {
          std::memcpy(pixels + i * width, &picture[(y + i) * step + x * width], width);
        }
        encode(to, pixels);
      }
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

void DecodeOurs(benchmark::State& state, EncodeFunction* encode, DecodeFunction* decode,
                int channels, size_t block) {
  std::vector<uint8_t> picture = Picture(channels);
  std::vector<uint8_t> blocks(kPixels / 16 * block);
  encode(picture.data(), kSide * channels, kSize, blocks.data());
  for (auto _ : state) {
    decode(blocks.data(), picture.data(), kSide * channels, kSize);
    benchmark::ClobberMemory();
  }
  Report(state);
}

// It decodes all kinds of blocks to RGBA.
void DecodeRival(benchmark::State& state, EncodeFunction* encode, int channels, int flags,
                 size_t block) {
  std::vector<uint8_t> picture = Picture(channels);
  std::vector<uint8_t> blocks(kPixels / 16 * block);
  encode(picture.data(), kSide * channels, kSize, blocks.data());
  picture.resize(4 * kPixels);
  for (auto _ : state) {
    squish::DecompressImage(picture.data(), kSide, kSide, blocks.data(), flags);
    benchmark::ClobberMemory();
  }
  Report(state);
}

void Fill(benchmark::State& state, int channels) {
  std::vector<uint8_t> picture(kPixels * static_cast<size_t>(channels));
  for (auto _ : state) {
    std::memset(picture.data(), 1, picture.size());
    benchmark::ClobberMemory();
  }
  Report(state);
}

void Dxt1Rival(uint8_t* block, const uint8_t* pixels) {
  stb_compress_dxt_block(block, pixels, 0, STB_DXT_NORMAL);
}
void Dxt5Rival(uint8_t* block, const uint8_t* pixels) {
  stb_compress_dxt_block(block, pixels, 1, STB_DXT_NORMAL);
}

// It has no YCoCg, so the channels are rearranged first.
void YCoCgRival(uint8_t* block, const uint8_t* pixels) {
  uint8_t rgba[64];
  for (int i = 0; i < 16; ++i, pixels += 3) {
    const uint8_t pixel[4] = {pixels[1], pixels[2], 0, pixels[0]};
    std::memcpy(rgba + 4 * i, pixel, 4);
  }
  Dxt5Rival(block, rgba);
}

#define ENCODER(name, channels, block, rival)                                                \
  BENCHMARK_CAPTURE(EncodeOurs, name, name, channels, block)->Name(#name "/ours/2048x2048"); \
  BENCHMARK_CAPTURE(EncodeRival, name, rival, channels, block)->Name(#name "/rival/2048x2048")
#define DECODER(name, encoder, channels, block, flags)                  \
  BENCHMARK_CAPTURE(DecodeOurs, name, encoder, name, channels, block)   \
      ->Name(#name "/ours/2048x2048");                                  \
  BENCHMARK_CAPTURE(DecodeRival, name, encoder, channels, flags, block) \
      ->Name(#name "/rival/2048x2048")

ENCODER(zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R, 4, 8, Dxt1Rival);
ENCODER(zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R, 4, 16, Dxt5Rival);
ENCODER(zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R, 4, 16, Dxt5Rival);
ENCODER(zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R, 3, 16, YCoCgRival);
ENCODER(zepiTextureEncodeBlock_BC4_8u_C1R, 1, 8, stb_compress_bc4_block);
ENCODER(zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R, 2, 16, stb_compress_bc5_block);

DECODER(zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R, zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R, 4,
        8, squish::kDxt1);
DECODER(zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R, zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R, 4,
        16, squish::kDxt3);
DECODER(zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R, zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R, 4,
        16, squish::kDxt5);
DECODER(zepiTextureDecodeBlock_BC4_8u_C1R, zepiTextureEncodeBlock_BC4_8u_C1R, 1, 8, squish::kBc4);
DECODER(zepiTextureDecodeBlockToRG_BC5_8u_C1C2R, zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R, 2, 16,
        squish::kBc5);

BENCHMARK_CAPTURE(Fill, rgba, 4)->Name("fill_rgba/bound/2048x2048");
BENCHMARK_CAPTURE(Fill, r, 1)->Name("fill_r/bound/2048x2048");
BENCHMARK_CAPTURE(Fill, rg, 2)->Name("fill_rg/bound/2048x2048");

}  // namespace
