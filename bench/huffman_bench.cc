// SPDX-License-Identifier: MIT
// Scans of progressive JPEG, and Huffman statistics, block by block over a picture's luminance.
//
// Rows: <export>/ours/<quality>, in blocks a second.
#include <benchmark/benchmark.h>

#include <numeric>
#include <string>
#include <vector>

#include "huffman_image.h"
#include "zepjp.h"

namespace {

using bench::CodedBlock;

std::vector<CodedBlock> Luminance(int quality) {
  const bench::CodedPicture& picture = bench::PictureAt(quality);
  std::vector<CodedBlock> blocks;
  for (size_t i = 0; i < picture.blocks.size(); ++i) {
    if (picture.component[i] == 0) blocks.push_back(picture.blocks[i]);
  }
  return blocks;
}

// The state of the functions.
struct Scan {
  // A code for every symbol.
  Scan() {
    std::vector<int32_t> counts(256);
    std::iota(counts.rbegin(), counts.rend(), 1);
    uint8_t bits[16], values[256];
    zepiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), bits, values);
    zepiEncodeHuffmanSpecInit_JPEG_8u(bits, values, &table);
    zepiDecodeHuffmanSpecInit_JPEG_8u(bits, values, &decoder_table);
  }
  void Start() {
    position = marker = 0;
    last_dc = 0;
    state = {};
    decoder_state = {};
  }

  std::vector<uint8_t> bytes = std::vector<uint8_t>(1 << 24);
  zepiEncodeHuffmanSpec table;
  zepiDecodeHuffmanSpec decoder_table;
  zepiEncodeHuffmanState state = {};
  zepiDecodeHuffmanState decoder_state = {};
  int32_t position = 0, marker = 0, dc[256] = {}, ac[256] = {};
  int16_t last_dc = 0;
  int32_t Length() const { return static_cast<int32_t>(bytes.size()); }
};

template <class Work>
void Register(const std::string& name, const Work& work) {
  for (const int quality : {75, 92}) {
    benchmark::RegisterBenchmark(
        (name + "/ours/" + std::to_string(quality)).c_str(), [=](benchmark::State& state) {
          const std::vector<CodedBlock> blocks = Luminance(quality);
          Scan scan;
          for (auto _ : state) {
            scan.Start();
            for (int32_t& count : scan.dc) count = 0;
            for (int32_t& count : scan.ac) count = 0;
            for (const CodedBlock& block : blocks) work(block.coefficients, &scan);
          }
          state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) *
                                  static_cast<int64_t>(blocks.size()));
        });
  }
}

// Decodes the output of `encode`; before each block, `start` sets it to the result of earlier
// scans.
template <class Encode, class Start, class Decode>
void RegisterDecoder(const std::string& name, const Encode& encode, const Start& start,
                     const Decode& decode) {
  for (const int quality : {75, 92}) {
    benchmark::RegisterBenchmark(
        (name + "/ours/" + std::to_string(quality)).c_str(), [=](benchmark::State& state) {
          const std::vector<CodedBlock> blocks = Luminance(quality);
          std::vector<CodedBlock> before = blocks;
          Scan scan;
          for (const CodedBlock& block : blocks) encode(block.coefficients, 0, &scan);
          encode(nullptr, 1, &scan);
          for (CodedBlock& block : before) {
            for (int16_t& value : block.coefficients) value = start(value);
          }
          for (auto _ : state) {
            scan.Start();
            for (const CodedBlock& block : before) {
              CodedBlock copy = block;
              decode(copy.coefficients, &scan);
              benchmark::DoNotOptimize(copy);
            }
          }
          state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) *
                                  static_cast<int64_t>(blocks.size()));
        });
  }
}

int16_t Nothing(int16_t) { return 0; }
int16_t AllButOneBit(int16_t value) { return static_cast<int16_t>(value / 2 * 2); }

void RegisterDecoders() {
  RegisterDecoder(
      "zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1",
      [](const int16_t* block, int flush, Scan* s) {
        if (flush != 0) return;
        zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(block, s->bytes.data(), s->Length(), &s->position,
                                                  &s->last_dc, &s->table, &s->table);
      },
      Nothing,
      [](int16_t* block, Scan* s) {
        zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(s->bytes.data(), s->Length(), &s->position, block,
                                                  &s->last_dc, &s->marker, &s->decoder_table,
                                                  &s->decoder_table);
      });
  RegisterDecoder(
      "zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1",
      [](const int16_t* block, int flush, Scan* s) {
        zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, s->bytes.data(), s->Length(),
                                                   &s->position, &s->last_dc, 1, &s->table,
                                                   &s->state, flush);
      },
      Nothing,
      [](int16_t* block, Scan* s) {
        zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(s->bytes.data(), s->Length(), &s->position,
                                                   block, &s->last_dc, &s->marker, 1,
                                                   &s->decoder_table, &s->decoder_state);
      });
  RegisterDecoder(
      "zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1",
      [](const int16_t* block, int flush, Scan* s) {
        zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, s->bytes.data(), s->Length(),
                                                    &s->position, 0, &s->state, flush);
      },
      AllButOneBit,
      [](int16_t* block, Scan* s) {
        zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(s->bytes.data(), s->Length(), &s->position,
                                                    block, &s->marker, 0, &s->decoder_state);
      });
  RegisterDecoder(
      "zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1",
      [](const int16_t* block, int flush, Scan* s) {
        zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(block, s->bytes.data(), s->Length(),
                                                   &s->position, 1, 63, 1, &s->table, &s->state,
                                                   flush);
      },
      Nothing,
      [](int16_t* block, Scan* s) {
        zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(s->bytes.data(), s->Length(), &s->position,
                                                   block, &s->marker, 1, 63, 1, &s->decoder_table,
                                                   &s->decoder_state);
      });
  RegisterDecoder(
      "zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1",
      [](const int16_t* block, int flush, Scan* s) {
        zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(block, s->bytes.data(), s->Length(),
                                                    &s->position, 1, 63, 0, &s->table, &s->state,
                                                    flush);
      },
      AllButOneBit,
      [](int16_t* block, Scan* s) {
        zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(s->bytes.data(), s->Length(), &s->position,
                                                    block, &s->marker, 1, 63, 0, &s->decoder_table,
                                                    &s->decoder_state);
      });
}

const bool registered = [] {
  RegisterDecoders();
  Register("zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1", [](const int16_t* block, Scan* s) {
    zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(block, s->bytes.data(), s->Length(), &s->position,
                                              &s->last_dc, &s->table, &s->table);
  });
  Register("zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1", [](const int16_t* block, Scan* s) {
    zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, s->bytes.data(), s->Length(), &s->position,
                                               &s->last_dc, 1, &s->table, &s->state, 0);
  });
  Register("zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1", [](const int16_t* block, Scan* s) {
    zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, s->bytes.data(), s->Length(), &s->position,
                                                0, &s->state, 0);
  });
  Register("zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1", [](const int16_t* block, Scan* s) {
    zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(block, s->bytes.data(), s->Length(), &s->position, 1,
                                               63, 1, &s->table, &s->state, 0);
  });
  Register("zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1", [](const int16_t* block, Scan* s) {
    zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(block, s->bytes.data(), s->Length(), &s->position,
                                                1, 63, 0, &s->table, &s->state, 0);
  });
  Register("zepiGetHuffmanStatistics8x8_JPEG_16s_C1", [](const int16_t* block, Scan* s) {
    zepiGetHuffmanStatistics8x8_JPEG_16s_C1(block, s->dc, s->ac, &s->last_dc);
  });
  Register("zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1", [](const int16_t* block, Scan* s) {
    zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, s->dc, &s->last_dc, 1);
  });
  Register("zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1", [](const int16_t* block, Scan* s) {
    zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, s->ac, 1, 63, 1, &s->state, 0);
  });
  Register("zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1", [](const int16_t* block, Scan* s) {
    zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(block, s->ac, 1, 63, 0, &s->state, 0);
  });
  Register("zepiGetHuffmanStatisticsOne_JPEG_16s_C1", [](const int16_t* block, Scan* s) {
    zepiGetHuffmanStatisticsOne_JPEG_16s_C1(block, s->dc);
  });
  Register("zepiEncodeHuffmanRawTableInit_JPEG_8u", [](const int16_t*, Scan* s) {
    uint8_t bits[16], values[256];
    zepiEncodeHuffmanRawTableInit_JPEG_8u(s->ac, bits, values);
    benchmark::DoNotOptimize(values);
  });
  return true;
}();

}  // namespace
