// SPDX-License-Identifier: MIT
// BC6H and BC7 on a picture of 2048 x 2048 pixels. No installed library has kernels for these
// formats, so decoding is compared with filling the memory that it writes.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "zepjp.h"

namespace {

constexpr int kSide = 2048;
constexpr size_t kPixels = size_t{kSide} * kSide;
constexpr zepiSize kSize = {kSide, kSide};

void Report(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kPixels));
}

std::vector<uint8_t> RandomBlocks() {
  std::vector<uint8_t> blocks(kPixels);
  std::mt19937 random(1);
  for (uint8_t& byte : blocks) byte = static_cast<uint8_t>(random());
  return blocks;
}

// Blocks of all eight modes in equal numbers, or of one mode.
std::vector<uint8_t> Bc7Blocks(int only_mode) {
  std::vector<uint8_t> blocks = RandomBlocks();
  std::mt19937 random(2);
  for (size_t i = 0; i < blocks.size(); i += 16) {
    const unsigned mode = only_mode >= 0 ? static_cast<unsigned>(only_mode) : random() % 8;
    blocks[i] = static_cast<uint8_t>((blocks[i] & ~((2U << mode) - 1)) | 1U << mode);
  }
  return blocks;
}

std::vector<uint8_t> Bc6hBlocks() {
  std::vector<uint8_t> blocks = RandomBlocks();
  const uint8_t modes[] = {0, 1, 2, 3, 6, 7, 10, 11, 14, 15, 18, 22, 26, 30};
  std::mt19937 random(2);
  for (size_t i = 0; i < blocks.size(); i += 16) {
    const uint8_t mode = modes[random() % sizeof(modes)];
    blocks[i] = static_cast<uint8_t>((blocks[i] & ~(mode < 2 ? 3U : 31U)) | mode);
  }
  return blocks;
}

void DecodeBc7(benchmark::State& state, int only_mode) {
  const std::vector<uint8_t> blocks = Bc7Blocks(only_mode);
  std::vector<uint8_t> picture(4 * kPixels);
  for (auto _ : state) {
    zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(blocks.data(), picture.data(), 4 * kSide, kSize);
    benchmark::ClobberMemory();
  }
  Report(state);
}

// Soft shapes with some noise, opaque.
std::vector<uint8_t> Picture() {
  std::vector<uint8_t> picture(4 * kPixels, 255);
  uint32_t state = 1;
  for (size_t i = 0; i < picture.size(); ++i) {
    if (i % 4 == 3) continue;
    const auto x = static_cast<double>(i / 4 % kSide), y = static_cast<double>(i / 4 / kSide);
    const auto phase = static_cast<double>(i % 4);
    state = state * 1664525U + 1013904223U;
    const double noise = static_cast<double>(state >> 28) - 8;
    picture[i] = static_cast<uint8_t>(
        128 + 100 * std::sin(x / 37 + phase) * std::cos(y / 23 - phase) + noise);
  }
  return picture;
}

void EncodeBc7(benchmark::State& state, int mode, int rows) {
  const std::vector<uint8_t> picture = Picture();
  std::vector<uint8_t> blocks(kPixels);
  for (auto _ : state) {
    zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(picture.data(), 4 * kSide, {kSide, rows},
                                                blocks.data(), mode);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kSide * rows);
}

void DecodeEncoded(benchmark::State& state, int mode) {
  std::vector<uint8_t> picture = Picture();
  std::vector<uint8_t> blocks(kPixels);
  zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(picture.data(), 4 * kSide, kSize, blocks.data(),
                                              mode);
  for (auto _ : state) {
    zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(blocks.data(), picture.data(), 4 * kSide, kSize);
    benchmark::ClobberMemory();
  }
  Report(state);
}

using DecodeHalves = decltype(zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R);

void DecodeBc6h(benchmark::State& state, DecodeHalves* decode) {
  const std::vector<uint8_t> blocks = Bc6hBlocks();
  std::vector<uint16_t> picture(3 * kPixels);
  for (auto _ : state) {
    decode(blocks.data(), picture.data(), 6 * kSide, kSize);
    benchmark::ClobberMemory();
  }
  Report(state);
}

void Fill(benchmark::State& state, size_t pixel_bytes) {
  std::vector<uint8_t> picture(kPixels * pixel_bytes);
  for (auto _ : state) {
    std::memset(picture.data(), 1, picture.size());
    benchmark::ClobberMemory();
  }
  Report(state);
}

BENCHMARK_CAPTURE(EncodeBc7, mode6, 6, kSide)
    ->Name("zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R/ours/mode6");
BENCHMARK_CAPTURE(EncodeBc7, quick, -1, kSide)
    ->Name("zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R/ours/quick");
BENCHMARK_CAPTURE(EncodeBc7, thorough, -2, 64)
    ->Name("zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R/ours/thorough");
BENCHMARK_CAPTURE(DecodeEncoded, encoded, -1)
    ->Name("zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R/ours/encoded");
BENCHMARK_CAPTURE(Fill, encoded, 4)
    ->Name("zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R/bound/encoded");
BENCHMARK_CAPTURE(DecodeBc7, all, -1)
    ->Name("zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R/ours/all_modes");
BENCHMARK_CAPTURE(Fill, rgba, 4)->Name("zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R/bound/all_modes");
BENCHMARK_CAPTURE(DecodeBc7, mode0, 0)->Name("bc7_mode0/ours/2048x2048");
BENCHMARK_CAPTURE(DecodeBc7, mode1, 1)->Name("bc7_mode1/ours/2048x2048");
BENCHMARK_CAPTURE(DecodeBc7, mode2, 2)->Name("bc7_mode2/ours/2048x2048");
BENCHMARK_CAPTURE(DecodeBc7, mode3, 3)->Name("bc7_mode3/ours/2048x2048");
BENCHMARK_CAPTURE(DecodeBc7, mode4, 4)->Name("bc7_mode4/ours/2048x2048");
BENCHMARK_CAPTURE(DecodeBc7, mode5, 5)->Name("bc7_mode5/ours/2048x2048");
BENCHMARK_CAPTURE(DecodeBc7, mode6, 6)->Name("bc7_mode6/ours/2048x2048");
BENCHMARK_CAPTURE(DecodeBc7, mode7, 7)->Name("bc7_mode7/ours/2048x2048");
BENCHMARK_CAPTURE(DecodeBc6h, hu, zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R)
    ->Name("zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R/ours/all_modes");
BENCHMARK_CAPTURE(Fill, hu, 6)
    ->Name("zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R/bound/all_modes");
BENCHMARK_CAPTURE(DecodeBc6h, hs, zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R)
    ->Name("zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R/ours/all_modes");
BENCHMARK_CAPTURE(Fill, hs, 6)
    ->Name("zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R/bound/all_modes");

}  // namespace
