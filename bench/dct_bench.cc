// SPDX-License-Identifier: MIT
// The DCT family, one block at a time, beside libjpeg-turbo's accurate (islow) kernels. The blocks
// come from a set that stays in the caches.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "rival_jpeg.h"
#include "zepjp.h"

namespace {

constexpr size_t kBlocks = 64;
constexpr int32_t kStep = 8 * kBlocks;

// Samples of soft shapes with some noise, and their coefficients at quality 75.
class Blocks {
 public:
  Blocks()
      : samples(kStep * 8),
        words(kStep * 8),
        values(kBlocks * 64),
        coefficients(kBlocks * 64),
        results(kBlocks * 64) {
    uint32_t state = 1;
    for (size_t i = 0; i < samples.size(); ++i) {
      const auto x = static_cast<double>(i % kStep);
      const auto y = static_cast<double>(i / kStep);
      state = state * 1664525U + 1013904223U;
      const double noise = static_cast<double>(state >> 28) - 8;
      samples[i] = static_cast<uint8_t>(128 + 80 * std::sin(x / 9) * std::cos(y / 5) + noise);
      words[i] = static_cast<uint16_t>(samples[i] * 16);
    }
    static const uint8_t kLuminance[64] = {
        16, 11, 12,  14,  12,  10, 16, 14,  13,  14,  18,  17,  16, 19,  24,  40,
        26, 24, 22,  22,  24,  49, 35, 37,  29,  40,  58,  51,  61, 60,  57,  51,
        56, 55, 64,  72,  92,  78, 64, 68,  87,  69,  55,  56,  80, 109, 81,  87,
        95, 98, 103, 104, 103, 62, 77, 113, 121, 112, 100, 120, 92, 101, 103, 99};
    std::memcpy(raw, kLuminance, 64);
    zepiQuantFwdRawTableInit_JPEG_8u(raw, 75);
    zepiQuantFwdTableInit_JPEG_8u16u(raw, forward);
    zepiQuantInvTableInit_JPEG_8u16u(raw, inverse);
    for (size_t b = 0; b < kBlocks; ++b) {
      for (size_t i = 0; i < 64; ++i) {
        values[64 * b + i] = static_cast<int16_t>(samples[8 * b + i / 8 * kStep + i % 8] - 128);
      }
      zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(&samples[8 * b], kStep, &coefficients[64 * b], forward);
    }
    for (int y = 0; y < 8; ++y) {
      sample_rows[y] = &samples[static_cast<size_t>(y) * kStep];
    }
    FillDivisors();
  }

  std::vector<uint8_t> samples;
  std::vector<uint16_t> words;
  // Block `b` of a copy of `blocks`, for work in place. All blocks are copied at once, so that no
  // load has to wait for a store of the copy.
  int16_t* CopyOf(const std::vector<int16_t>& blocks, size_t b) {
    if (b == 0) std::memcpy(results.data(), blocks.data(), 2 * results.size());
    return &results[64 * b];
  }

  std::vector<int16_t> values, coefficients, results;
  uint8_t raw[64];
  alignas(32) uint16_t forward[64];
  alignas(32) uint16_t inverse[64];
  alignas(32) int16_t divisors[192];  // the rival's: reciprocals, corrections, scales
  alignas(32) int16_t workspace[64];
  uint8_t* sample_rows[8];

 private:
  // For each step d (its transform is scaled by 8): 2^r / d rounded up, d / 2, and 2^(32 - r).
  void FillDivisors() {
    for (int i = 0; i < 64; ++i) {
      const unsigned d = inverse[i] * 8U;
      const int r = 16 + 31 - __builtin_clz(d);
      unsigned f = static_cast<unsigned>((1ULL << r) / d);
      unsigned correction = d / 2;
      if (((1ULL << r) % d) <= d / 2) {
        ++correction;
      } else {
        ++f;
      }
      divisors[i] = static_cast<int16_t>(f);
      divisors[64 + i] = static_cast<int16_t>(correction);
      divisors[128 + i] = static_cast<int16_t>(1U << (32 - r));
    }
  }
};

template <class Work>
void Register(const std::string& name, const Work& work) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    Blocks blocks;
    size_t b = 0;
    for (auto _ : state) {
      work(blocks, b);
      benchmark::ClobberMemory();
      b = (b + 1) % kBlocks;
    }
    state.SetItemsProcessed(state.iterations());
  });
}

template <class Ours, class Rival>
void Pair(const std::string& name, const Ours& ours, const Rival& rival) {
  Register(name + "/ours/block", ours);
  Register(name + "/rival/block", rival);
}

void RegisterForward() {
  Pair(
      "zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R",
      [](Blocks& m, size_t b) {
        zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(&m.samples[8 * b], kStep, &m.results[64 * b],
                                            m.forward);
      },
      [](Blocks& m, size_t b) {
        rival::convert_samples(m.sample_rows, static_cast<unsigned>(8 * b), m.workspace);
        rival::forward_dct(m.workspace);
        rival::quantize(&m.results[64 * b], m.divisors, m.workspace);
      });
  const auto rival_values = [](Blocks& m, size_t b) {
    int16_t* const block = m.CopyOf(m.values, b);
    rival::forward_dct(block);
    rival::quantize(m.workspace, m.divisors, block);
  };
  Pair(
      "zepiDCTQuantFwd8x8_JPEG_16s_C1",
      [](Blocks& m, size_t b) {
        zepiDCTQuantFwd8x8_JPEG_16s_C1(&m.values[64 * b], &m.results[64 * b], m.forward);
      },
      rival_values);
  Pair(
      "zepiDCTQuantFwd8x8_JPEG_16s_C1I",
      [](Blocks& m, size_t b) {
        zepiDCTQuantFwd8x8_JPEG_16s_C1I(m.CopyOf(m.values, b), m.forward);
      },
      rival_values);
  Register("zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R/ours/block", [](Blocks& m, size_t b) {
    zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(&m.words[8 * b], 2 * kStep, &m.results[64 * b], m.forward);
  });
}

using ToSamples = zepStatus(ZEP_CALL*)(const int16_t*, uint8_t*, int32_t, const uint16_t*);
using RivalToSamples = void (*)(void*, int16_t*, uint8_t**, unsigned);

void PairToSamples(const std::string& name, ToSamples ours, RivalToSamples rival) {
  Pair(
      name,
      [=](Blocks& m, size_t b) {
        ours(&m.coefficients[64 * b], &m.samples[8 * b], kStep, m.inverse);
      },
      [=](Blocks& m, size_t b) {
        rival(m.inverse, &m.coefficients[64 * b], m.sample_rows, static_cast<unsigned>(8 * b));
      });
}

void RegisterInverse() {
  const auto full = rival::inverse_dct;
  PairToSamples("zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R", zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R, full);
  PairToSamples("zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R", zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R,
                full);
  PairToSamples("zepiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R", zepiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R,
                full);
  PairToSamples("zepiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R", zepiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R,
                full);
  PairToSamples("zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R",
                zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, jsimd_idct_4x4_sse2);
  PairToSamples("zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R",
                zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, jsimd_idct_2x2_sse2);
  Register("zepiDCTQuantInv8x8_JPEG_16s_C1/ours/block", [](Blocks& m, size_t b) {
    zepiDCTQuantInv8x8_JPEG_16s_C1(&m.coefficients[64 * b], &m.results[64 * b], m.inverse);
  });
  Register("zepiDCTQuantInv8x8_JPEG_16s_C1I/ours/block", [](Blocks& m, size_t b) {
    zepiDCTQuantInv8x8_JPEG_16s_C1I(m.CopyOf(m.coefficients, b), m.inverse);
  });
  Register("zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R/ours/block", [](Blocks& m, size_t b) {
    zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R(&m.coefficients[64 * b], &m.words[8 * b], 2 * kStep,
                                         m.inverse);
  });
}

void RegisterQuantization() {
  Register("zepiQuantFwd8x8_JPEG_16s_C1I/ours/block", [](Blocks& m, size_t b) {
    zepiQuantFwd8x8_JPEG_16s_C1I(&m.results[64 * b], m.forward);
  });
  Register("zepiQuantInv8x8_JPEG_16s_C1I/ours/block", [](Blocks& m, size_t b) {
    zepiQuantInv8x8_JPEG_16s_C1I(&m.results[64 * b], m.inverse);
  });
  Register("zepiQuantFwdRawTableInit_JPEG_8u/ours/block",
           [](Blocks& m, size_t) { zepiQuantFwdRawTableInit_JPEG_8u(m.raw, 50); });
  Register("zepiQuantFwdTableInit_JPEG_8u16u/ours/block",
           [](Blocks& m, size_t) { zepiQuantFwdTableInit_JPEG_8u16u(m.raw, m.forward); });
  Register("zepiQuantInvTableInit_JPEG_8u16u/ours/block",
           [](Blocks& m, size_t) { zepiQuantInvTableInit_JPEG_8u16u(m.raw, m.inverse); });
  Register("copy_block/bound/block", [](Blocks& m, size_t b) {
    std::memcpy(&m.results[64 * b], &m.coefficients[64 * b], 128);
  });
}

const bool registered = [] {
  RegisterForward();
  RegisterInverse();
  RegisterQuantization();
  return true;
}();

}  // namespace
