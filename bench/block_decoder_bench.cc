// SPDX-License-Identifier: MIT
// Block decoding: all blocks of a picture's scan, one call each, into an array of blocks, against
// libjpeg-turbo's reading of the same file's coefficients (its decoder of blocks cannot be reached
// alone: headers, some 600 bytes, and the walk through its arrays of coefficients are in its time,
// allocation of the arrays is in both).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "huffman_image.h"
#include "zepjp.h"

namespace {

using bench::CodedBlock;
using bench::CodedPicture;
using bench::PictureAt;

struct OurTables {
  zepiDecodeHuffmanSpec dc[2], ac[2];
  explicit OurTables(const CodedPicture& picture) {
    for (int i = 0; i < 2; ++i) {
      zepiDecodeHuffmanSpecInit_JPEG_8u(picture.dc[i].bits, picture.dc[i].vals, &dc[i]);
      zepiDecodeHuffmanSpecInit_JPEG_8u(picture.ac[i].bits, picture.ac[i].vals, &ac[i]);
    }
  }
};

// False where a block fails.
bool DecodeOurs(const CodedPicture& picture, const OurTables& tables, CodedBlock* to) {
  zepiDecodeHuffmanState state;
  zepiDecodeHuffmanStateInit_JPEG_8u(&state);
  const uint8_t* scan = picture.file.data() + picture.scan_begin;
  const auto length = static_cast<int32_t>(picture.file.size() - picture.scan_begin);
  int32_t position = 0, marker = 0;
  int16_t last_dc[3] = {};
  const size_t count = picture.blocks.size();
  for (size_t i = 0; i < count; ++i) {
    const unsigned component = picture.component[i], kind = component != 0;
    if (zepiDecodeHuffman8x8_JPEG_1u16s_C1(scan, length, &position, to[i].coefficients,
                                           &last_dc[component], &marker, &tables.dc[kind],
                                           &tables.ac[kind], &state) != zepStatusOk) {
      return false;
    }
  }
  return true;
}

void Report(benchmark::State& state, const CodedPicture& picture) {
  const auto blocks = static_cast<double>(picture.blocks.size());
  state.counters["blocks/s"] =
      benchmark::Counter(blocks, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["bits/block"] =
      8 * static_cast<double>(picture.scan_end - picture.scan_begin) / blocks;
}

void DecodeOursBench(benchmark::State& state) {
  const CodedPicture& picture = PictureAt(static_cast<int>(state.range(0)));
  const OurTables tables(picture);
  const size_t bytes = picture.blocks.size() * sizeof(CodedBlock);
  std::vector<CodedBlock> check(picture.blocks.size());
  if (!DecodeOurs(picture, tables, check.data()) ||
      std::memcmp(check.data(), picture.blocks.data(), bytes) != 0) {
    std::fprintf(stderr, "other blocks than libjpeg-turbo's\n");
    std::exit(1);
  }
  for (auto _ : state) {
    auto* to = static_cast<CodedBlock*>(std::malloc(bytes));
    benchmark::DoNotOptimize(DecodeOurs(picture, tables, to));
    std::free(to);
  }
  Report(state, picture);
}

void ReadCoefficientsRivalBench(benchmark::State& state) {
  const CodedPicture& picture = PictureAt(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    jpeg_decompress_struct jpeg;
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, picture.file.data(), picture.file.size());
    jpeg_read_header(&jpeg, TRUE);
    benchmark::DoNotOptimize(jpeg_read_coefficients(&jpeg));
    jpeg_destroy_decompress(&jpeg);
  }
  Report(state, picture);
}

#define QUALITIES ->Arg(50)->Arg(75)->Arg(92)->Unit(benchmark::kMillisecond)

BENCHMARK(DecodeOursBench)->Name("zepiDecodeHuffman8x8_JPEG_1u16s_C1/ours") QUALITIES;
BENCHMARK(ReadCoefficientsRivalBench)->Name("zepiDecodeHuffman8x8_JPEG_1u16s_C1/rival") QUALITIES;

}  // namespace
