// SPDX-License-Identifier: MIT
// Whole MCUs beside the same work in libjpeg-turbo: conversion of rows, downsampling, samples to
// blocks; in the other direction blocks to samples, then conversion or merged upsampling of rows.
// (In libjpeg-turbo, blocks to samples is the end of the inverse DCT; here a loop of the same
// instructions stands for it.)
//
// Rows: <export>/<who>/mcu. A line of MCUs of a picture of a megapixel fits the second-level cache.
#include <benchmark/benchmark.h>
#include <emmintrin.h>

#include <cstdint>
#include <string>
#include <vector>

#include "rival_jpeg.h"
#include "zepcore.h"
#include "zepjp.h"

namespace {

constexpr int kMcus = 64;
constexpr size_t kRows = 16;

// A line of MCUs: rows of pixels, blocks and planes of samples.
class Line {
 public:
  Line() : pixels(kRows * kStep), blocks_(4 * kMcus * kMcuValues) {
    for (size_t i = 0; i < pixels.size(); ++i)
      pixels[i] = static_cast<uint8_t>(i * 2654435761U >> 13);
    for (size_t i = 0; i < blocks_.size(); ++i) {
      blocks_[i] = static_cast<int16_t>(static_cast<int>(i * 2654435761U >> 13 & 255) - 128);
    }
    for (auto& plane : planes_) plane.assign(pixels.begin(), pixels.begin() + kRows * kPlaneStep);
    for (int i = 0; i < 3; ++i) {
      for (size_t y = 0; y < kRows; ++y) plane_rows_[i].push_back(&planes_[i][y * kPlaneStep]);
      small_[i].resize(kRows * kPlaneStep);
      for (size_t y = 0; y < kRows; ++y) small_rows_[i].push_back(&small_[i][y * kPlaneStep]);
    }
    for (size_t y = 0; y < kRows; ++y) pixel_rows.push_back(&pixels[y * kStep]);
  }

  // Rows of 4096 bytes would all fall into the same cache sets.
  static constexpr int32_t kStep = 16 * kMcus * 4 + 192, kPlaneStep = 16 * kMcus + 256;
  static constexpr size_t kMcuValues = 256;

  int16_t* Blocks(int component, int mcu) {
    return &blocks_[(static_cast<size_t>(component) * kMcus + static_cast<size_t>(mcu)) *
                    kMcuValues];
  }
  uint8_t** Planes(int i) { return plane_rows_[i].data(); }
  uint8_t** Reduced(int i) { return small_rows_[i].data(); }

  std::vector<uint8_t> pixels;
  std::vector<uint8_t*> pixel_rows;

 private:
  std::vector<int16_t> blocks_;
  std::vector<uint8_t> planes_[3], small_[3];
  std::vector<uint8_t*> plane_rows_[3], small_rows_[3];
};

template <class Work>
void Register(const std::string& name, int pixels, const Work& work) {
  benchmark::RegisterBenchmark((name + "/mcu").c_str(), [=](benchmark::State& state) {
    Line line;
    for (auto _ : state) {
      work(line);
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kMcus * pixels);
  });
}

constexpr int Pixels(int columns, int rows) { return 64 * columns * rows; }

template <class Function>
auto ToBlocks(Function function, int width, int channels) {
  return [=](Line& line) {
    for (int i = 0; i < kMcus; ++i) {
      int16_t* const mcu[] = {line.Blocks(0, i), line.Blocks(1, i), line.Blocks(2, i),
                              line.Blocks(3, i)};
      function(&line.pixels[static_cast<size_t>(i * width * channels)], Line::kStep, mcu);
    }
  };
}

template <class Function, class... Alpha>
auto ToPixels(Function function, int width, int channels, Alpha... alpha) {
  return [=](Line& line) {
    for (int i = 0; i < kMcus; ++i) {
      const int16_t* const mcu[] = {line.Blocks(0, i), line.Blocks(1, i), line.Blocks(2, i),
                                    line.Blocks(3, i)};
      function(mcu, &line.pixels[static_cast<size_t>(i * width * channels)], Line::kStep, alpha...);
    }
  };
}

// The rival: a line of MCUs of kColumns x kRowsOf blocks of Y.
template <int kColumns, int kRowsOf, bool kFourBytes>
void RivalToBlocks(Line& line) {
  constexpr unsigned kWidth = 8 * kColumns * kMcus;
  uint8_t** planes[] = {line.Planes(0), line.Planes(1), line.Planes(2)};
  const auto convert = kFourBytes ? rival::rgbx_to_ycc : rival::rgb_to_ycc;
  convert(kWidth, line.pixel_rows.data(), planes, 0, 8 * kRowsOf);
  for (int i = 1; i < 3 && kColumns == 2; ++i) {
    for (int y = 0; y < 8; ++y) {
      const auto down = kRowsOf == 2 ? rival::h2v2_downsample : rival::h2v1_downsample;
      down(kWidth, kRowsOf, 1, kWidth / 16, line.Planes(i) + kRowsOf * y, line.Reduced(i) + y);
    }
  }
  for (int mcu = 0; mcu < kMcus; ++mcu) {
    for (int block = 0; block < kColumns * kRowsOf; ++block) {
      rival::convert_samples(line.Planes(0) + block / kColumns * 8,
                             static_cast<unsigned>(8 * (mcu * kColumns + block % kColumns)),
                             line.Blocks(0, mcu) + 64 * block);
    }
    for (int i = 1; i < 3; ++i) {
      uint8_t** chroma = kColumns == 2 ? line.Reduced(i) : line.Planes(i);
      rival::convert_samples(chroma, static_cast<unsigned>(8 * mcu), line.Blocks(i, mcu));
    }
  }
}

// The values of a block plus 128, saturated, as the rival's inverse DCT stores them.
void SamplesOf(const int16_t* block, uint8_t** rows, size_t column) {
  const __m128i middle = _mm_set1_epi8(-128);
  for (size_t y = 0; y < 8; y += 2) {
    const auto* from = reinterpret_cast<const __m128i*>(block + 8 * y);
    const __m128i packed = _mm_packs_epi16(_mm_loadu_si128(from), _mm_loadu_si128(from + 1));
    const __m128i samples = _mm_sub_epi8(packed, middle);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(rows[y] + column), samples);
    _mm_storeh_pd(reinterpret_cast<double*>(rows[y + 1] + column), _mm_castsi128_pd(samples));
  }
}

template <int kColumns, int kRowsOf, bool kFourBytes>
void RivalToPixels(Line& line) {
  constexpr unsigned kWidth = 8 * kColumns * kMcus;
  for (int mcu = 0; mcu < kMcus; ++mcu) {
    for (int block = 0; block < kColumns * kRowsOf; ++block) {
      SamplesOf(line.Blocks(0, mcu) + 64 * block, line.Planes(0) + block / kColumns * 8,
                static_cast<size_t>(8 * (mcu * kColumns + block % kColumns)));
    }
    for (int i = 1; i < 3; ++i)
      SamplesOf(line.Blocks(i, mcu), line.Planes(i), static_cast<size_t>(8 * mcu));
  }
  uint8_t** planes[] = {line.Planes(0), line.Planes(1), line.Planes(2)};
  if constexpr (kColumns == 1) {
    const auto convert = kFourBytes ? rival::ycc_to_rgbx : rival::ycc_to_rgb;
    convert(kWidth, planes, 0, line.pixel_rows.data(), 8);
  } else {
    const auto up = kRowsOf == 1 ? kFourBytes ? rival::h2v1_to_rgbx : rival::h2v1_to_rgb
                    : kFourBytes ? rival::h2v2_to_rgbx
                                 : rival::h2v2_to_rgb;
    for (unsigned y = 0; y < 8; ++y) up(kWidth, planes, y, line.pixel_rows.data() + kRowsOf * y);
  }
}

// The benchmark of a function for MCUs of `columns` x `rows` blocks of Y, and of its rival if there
// is one.
#define TO_BLOCKS(function, columns, rows, channels) \
  Register(#function "/ours", Pixels(columns, rows), ToBlocks(function, 8 * (columns), channels))
#define TO_BLOCKS_AND_RIVAL(function, columns, rows, channels) \
  TO_BLOCKS(function, columns, rows, channels);                \
  Register(#function "/rival", Pixels(columns, rows), RivalToBlocks<columns, rows, (channels) == 4>)
#define TO_PIXELS(function, columns, rows, ...) \
  Register(#function "/ours", Pixels(columns, rows), ToPixels(function, 8 * (columns), __VA_ARGS__))
#define TO_PIXELS_AND_RIVAL(function, columns, rows, ...) \
  TO_PIXELS(function, columns, rows, __VA_ARGS__);        \
  Register(#function "/rival", Pixels(columns, rows),     \
           RivalToPixels<columns, rows, HasFourBytes(__VA_ARGS__)>)

constexpr bool HasFourBytes(int channels, int /*alpha*/ = 0) { return channels == 4; }

void RegisterToBlocks() {
  TO_BLOCKS_AND_RIVAL(zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R, 1, 1, 3);
  TO_BLOCKS_AND_RIVAL(zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C4P3R, 1, 1, 4);
  TO_BLOCKS_AND_RIVAL(zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R, 2, 1, 3);
  TO_BLOCKS_AND_RIVAL(zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C4P3R, 2, 1, 4);
  TO_BLOCKS_AND_RIVAL(zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R, 2, 2, 3);
  TO_BLOCKS_AND_RIVAL(zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C4P3R, 2, 2, 4);
  TO_BLOCKS_AND_RIVAL(zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C3P3R, 1, 1, 3);
  TO_BLOCKS_AND_RIVAL(zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C4P3R, 1, 1, 4);
  TO_BLOCKS_AND_RIVAL(zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C3P3R, 2, 1, 3);
  TO_BLOCKS_AND_RIVAL(zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C4P3R, 2, 1, 4);
  TO_BLOCKS_AND_RIVAL(zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C3P3R, 2, 2, 3);
  TO_BLOCKS_AND_RIVAL(zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C4P3R, 2, 2, 4);
  TO_BLOCKS(zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R, 1, 1, 4);
  TO_BLOCKS(zepiCMYKToYCCK422LS_MCU_JPEG_8u16s_C4P4R, 2, 1, 4);
  TO_BLOCKS(zepiCMYKToYCCK411LS_MCU_JPEG_8u16s_C4P4R, 2, 2, 4);
  TO_BLOCKS(zepiSampleDown444LS_MCU_JPEG_8u16s_C3P3R, 1, 1, 3);
  TO_BLOCKS(zepiSampleDown422LS_MCU_JPEG_8u16s_C3P3R, 2, 1, 3);
  TO_BLOCKS(zepiSampleDown411LS_MCU_JPEG_8u16s_C3P3R, 2, 2, 3);
  TO_BLOCKS(zepiSplit422LS_MCU_JPEG_8u16s_C2P3R, 2, 1, 2);
}

void RegisterToPixels() {
  TO_PIXELS_AND_RIVAL(zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R, 1, 1, 3);
  TO_PIXELS_AND_RIVAL(zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C4R, 1, 1, 4, uint8_t{255});
  TO_PIXELS_AND_RIVAL(zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R, 2, 1, 3);
  TO_PIXELS_AND_RIVAL(zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C4R, 2, 1, 4, uint8_t{255});
  TO_PIXELS_AND_RIVAL(zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R, 2, 2, 3);
  TO_PIXELS_AND_RIVAL(zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C4R, 2, 2, 4, uint8_t{255});
  TO_PIXELS_AND_RIVAL(zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C3R, 1, 1, 3);
  TO_PIXELS_AND_RIVAL(zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C4R, 1, 1, 4, uint8_t{255});
  TO_PIXELS_AND_RIVAL(zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C3R, 2, 1, 3);
  TO_PIXELS_AND_RIVAL(zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C4R, 2, 1, 4, uint8_t{255});
  TO_PIXELS_AND_RIVAL(zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C3R, 2, 2, 3);
  TO_PIXELS_AND_RIVAL(zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C4R, 2, 2, 4, uint8_t{255});
  TO_PIXELS(zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R, 1, 1, 4);
  TO_PIXELS(zepiYCCK422ToCMYKLS_MCU_JPEG_16s8u_P4C4R, 2, 1, 4);
  TO_PIXELS(zepiYCCK411ToCMYKLS_MCU_JPEG_16s8u_P4C4R, 2, 2, 4);
  TO_PIXELS(zepiSampleUp444LS_MCU_JPEG_16s8u_P3C3R, 1, 1, 3);
  TO_PIXELS(zepiSampleUp422LS_MCU_JPEG_16s8u_P3C3R, 2, 1, 3);
  TO_PIXELS(zepiSampleUp411LS_MCU_JPEG_16s8u_P3C3R, 2, 2, 3);
  TO_PIXELS(zepiJoin422LS_MCU_JPEG_16s8u_P3C2R, 2, 1, 2);
}

const bool registered = [] {
  zepSetNumThreads(1);
  RegisterToBlocks();
  RegisterToPixels();
  return true;
}();

}  // namespace
