// SPDX-License-Identifier: MIT
// Block decoding: all blocks of a picture's scan, one call each, into an array of blocks, beside
// libjpeg-turbo's jpeg_read_coefficients() on the same file. Its block decoder cannot be called on
// its own, so its time includes about 600 bytes of headers and the walk through its arrays of
// coefficients; the allocation of arrays is in both times.
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
using bench::TableLists;

struct Component {
  zepiDecodeHuffmanSpec dc, ac;
  int16_t last_dc = 0;
};

// False if a block fails.
bool DecodeOurs(const CodedPicture& picture, Component (&components)[3], CodedBlock* to) {
  zepiDecodeHuffmanState state;
  zepiDecodeHuffmanStateInit_JPEG_8u(&state);
  const uint8_t* scan = picture.file.data() + picture.scan_begin;
  const auto length = static_cast<int32_t>(picture.file.size() - picture.scan_begin);
  int32_t position = 0, marker = 0;
  for (Component& component : components) component.last_dc = 0;
  for (const uint8_t index : picture.component) {
    Component& component = components[index];
    if (zepiDecodeHuffman8x8_JPEG_1u16s_C1(scan, length, &position, (to++)->coefficients,
                                           &component.last_dc, &marker, &component.dc,
                                           &component.ac, &state) != zepStatusOk) {
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
  Component components[3];
  for (int i = 0; i < 3; ++i) {
    const TableLists &dc = picture.dc[i != 0], &ac = picture.ac[i != 0];
    zepiDecodeHuffmanSpecInit_JPEG_8u(dc.bits, dc.vals, &components[i].dc);
    zepiDecodeHuffmanSpecInit_JPEG_8u(ac.bits, ac.vals, &components[i].ac);
  }
  const size_t bytes = picture.blocks.size() * sizeof(CodedBlock);
  std::vector<CodedBlock> check(picture.blocks.size());
  if (!DecodeOurs(picture, components, check.data()) ||
      std::memcmp(check.data(), picture.blocks.data(), bytes) != 0) {
    std::fprintf(stderr, "other blocks than libjpeg-turbo's\n");
    std::exit(1);
  }
  for (auto _ : state) {
    auto* to = static_cast<CodedBlock*>(std::malloc(bytes));
    benchmark::DoNotOptimize(DecodeOurs(picture, components, to));
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
