// SPDX-License-Identifier: MIT
// Block encoding: all blocks of a picture's scan, one call each, beside libjpeg-turbo's kernel for
// a block, and beside its jpeg_write_coefficients() of the same picture to memory, whose time
// includes about 600 bytes of headers and the walk through its arrays of coefficients. Both start
// from quantized coefficients in natural order.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "huffman_image.h"
#include "zepjp.h"

extern "C" {
// libjpeg-turbo's kernel and its state.
struct RivalTable {
  unsigned code[256];
  char size[256];
};
struct RivalState {
  uint8_t* next_output_byte;
  size_t free_in_buffer;
  uint64_t put_buffer;
  int free_bits;
  int last_dc_val[4];
  void* cinfo;
  int simd;
};
uint8_t* jsimd_huff_encode_one_block_sse2(RivalState* state, uint8_t* buffer, const int16_t* block,
                                          int last_dc_val, const RivalTable* dc,
                                          const RivalTable* ac);
}

namespace {

using bench::CodedBlock;
using bench::CodedPicture;
using bench::PictureAt;
using bench::TableLists;

struct Tables {
  zepiEncodeHuffmanSpec dc, ac;
};
// The table of luminance (index 0) or chrominance.
Tables TablesOf(const CodedPicture& picture, int index) {
  Tables tables;
  const TableLists &dc = picture.dc[index != 0], &ac = picture.ac[index != 0];
  zepiEncodeHuffmanSpecInit_JPEG_8u(dc.bits, dc.vals, &tables.dc);
  zepiEncodeHuffmanSpecInit_JPEG_8u(ac.bits, ac.vals, &tables.ac);
  return tables;
}

struct Component {
  Tables tables;
  int16_t last_dc = 0;
};
struct RivalComponent {
  RivalTable dc, ac;
  int16_t last_dc = 0;
};

RivalTable ToRival(const zepiEncodeHuffmanSpec& table) {
  RivalTable rival;
  for (int i = 0; i < 256; ++i) {
    rival.code[i] = table.entry[i] & 0xFFFF;
    rival.size[i] = static_cast<char>(table.entry[i] >> 16);
  }
  return rival;
}

size_t EncodeOurs(const CodedPicture& picture, Component (&components)[3],
                  std::vector<uint8_t>* to) {
  zepiEncodeHuffmanState state;
  zepiEncodeHuffmanStateInit_JPEG_8u(&state);
  int32_t position = 0;
  const auto length = static_cast<int32_t>(to->size());
  for (Component& component : components) component.last_dc = 0;
  const CodedBlock* block = picture.blocks.data();
  for (const uint8_t index : picture.component) {
    Component& component = components[index];
    zepiEncodeHuffman8x8_JPEG_16s1u_C1((block++)->coefficients, to->data(), length, &position,
                                       &component.last_dc, &component.tables.dc,
                                       &component.tables.ac, &state, 0);
  }
  zepiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, to->data(), length, &position, nullptr, nullptr,
                                     nullptr, &state, 1);
  return static_cast<size_t>(position);
}

size_t EncodeRival(const CodedPicture& picture, RivalComponent (&components)[3],
                   std::vector<uint8_t>* to) {
  RivalState state = {};
  state.free_bits = 64;
  for (RivalComponent& component : components) component.last_dc = 0;
  uint8_t* at = to->data();
  const CodedBlock* next = picture.blocks.data();
  for (const uint8_t index : picture.component) {
    RivalComponent& component = components[index];
    const int16_t* block = (next++)->coefficients;
    at = jsimd_huff_encode_one_block_sse2(&state, at, block, component.last_dc, &component.dc,
                                          &component.ac);
    component.last_dc = block[0];
  }
  for (int bits = 64 - state.free_bits; bits > 0; bits -= 8) {  // the last bits, padded
    const uint64_t left = state.put_buffer << state.free_bits;
    const uint64_t padded = state.free_bits == 0 ? left : left | ((1ULL << state.free_bits) - 1);
    const auto byte = static_cast<uint8_t>(padded >> (bits - 8 + state.free_bits >= 0 ? 56 : 0));
    *at++ = byte;
    if (byte == 0xFF) *at++ = 0;
    state.put_buffer <<= 8;
  }
  return static_cast<size_t>(at - to->data());
}

// Both sides write the same scan as libjpeg-turbo's encoder.
void Verify(const CodedPicture& picture, const std::vector<uint8_t>& bytes, size_t count,
            size_t may_differ, const char* who) {
  const size_t want = picture.scan_end - picture.scan_begin;
  if (count + may_differ < want || count > want + may_differ ||
      std::memcmp(bytes.data(), picture.file.data() + picture.scan_begin, want - may_differ) != 0) {
    std::fprintf(stderr, "%s: other bytes than the file\n", who);
    std::exit(1);
  }
}

void Report(benchmark::State& state, const CodedPicture& picture) {
  const auto blocks = static_cast<double>(picture.blocks.size());
  state.counters["blocks/s"] =
      benchmark::Counter(blocks, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["bits/block"] =
      8 * static_cast<double>(picture.scan_end - picture.scan_begin) / blocks;
}

void EncodeOursBench(benchmark::State& state) {
  const CodedPicture& picture = PictureAt(static_cast<int>(state.range(0)));
  Component components[3];
  for (int i = 0; i < 3; ++i) components[i].tables = TablesOf(picture, i);
  std::vector<uint8_t> to(picture.file.size() + 4096);
  Verify(picture, to, EncodeOurs(picture, components, &to), 0, "ours");
  for (auto _ : state) benchmark::DoNotOptimize(EncodeOurs(picture, components, &to));
  Report(state, picture);
}

void EncodeRivalBench(benchmark::State& state) {
  const CodedPicture& picture = PictureAt(static_cast<int>(state.range(0)));
  RivalComponent components[3];
  for (int i = 0; i < 3; ++i) {
    const Tables tables = TablesOf(picture, i);
    components[i].dc = ToRival(tables.dc);
    components[i].ac = ToRival(tables.ac);
  }
  std::vector<uint8_t> to(picture.file.size() + 4096);
  Verify(picture, to, EncodeRival(picture, components, &to), 8, "rival");
  for (auto _ : state) benchmark::DoNotOptimize(EncodeRival(picture, components, &to));
  Report(state, picture);
}

// The coefficients in libjpeg-turbo's arrays, read once.
class RivalCoefficients {
 public:
  explicit RivalCoefficients(const CodedPicture& picture) : to_(picture.file.size() + 4096) {
    source_.err = jpeg_std_error(&errors_);
    jpeg_create_decompress(&source_);
    jpeg_mem_src(&source_, picture.file.data(), picture.file.size());
    jpeg_read_header(&source_, TRUE);
    arrays_ = jpeg_read_coefficients(&source_);
  }
  ~RivalCoefficients() { jpeg_destroy_decompress(&source_); }

  size_t Write() {
    jpeg_compress_struct target;
    target.err = &errors_;
    jpeg_create_compress(&target);
    jpeg_copy_critical_parameters(&source_, &target);
    unsigned char* memory = to_.data();
    unsigned long size = to_.size();
    jpeg_mem_dest(&target, &memory, &size);
    jpeg_write_coefficients(&target, arrays_);
    jpeg_finish_compress(&target);
    jpeg_destroy_compress(&target);
    return size;
  }

 private:
  jpeg_decompress_struct source_;
  jpeg_error_mgr errors_;
  jvirt_barray_ptr* arrays_;
  std::vector<uint8_t> to_;
};

void WriteCoefficientsRivalBench(benchmark::State& state) {
  const CodedPicture& picture = PictureAt(static_cast<int>(state.range(0)));
  RivalCoefficients rival(picture);
  for (auto _ : state) benchmark::DoNotOptimize(rival.Write());
  Report(state, picture);
}

#define QUALITIES ->Arg(50)->Arg(75)->Arg(92)->Unit(benchmark::kMillisecond)

BENCHMARK(EncodeOursBench)->Name("zepiEncodeHuffman8x8_JPEG_16s1u_C1/ours") QUALITIES;
BENCHMARK(EncodeRivalBench)->Name("zepiEncodeHuffman8x8_JPEG_16s1u_C1/rival") QUALITIES;
BENCHMARK(WriteCoefficientsRivalBench)
    ->Name("zepiEncodeHuffman8x8_JPEG_16s1u_C1/rival_write_coefficients") QUALITIES;

}  // namespace
