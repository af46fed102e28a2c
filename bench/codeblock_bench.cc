// SPDX-License-Identifier: MIT
// Code-blocks of 64 x 64 samples beside OpenJPEG. The samples are wavelet coefficients (5/3, five
// levels) of a synthetic photograph. OpenJPEG gets them as a signed picture without wavelet levels,
// so that about 99 % of its call is code-block coding; ours codes them as the same subband.
// `lossy`: without the two lowest bits.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "openjpeg_codec.h"
#include "zepjp.h"

namespace {

constexpr int kSide = 1024, kBlock = 64, kBlocks = kSide / kBlock, kLevels = 5;
constexpr size_t kSamples = size_t{kSide} * kSide;
using Samples = std::vector<int32_t>;

// A synthetic photograph: midpoint displacement in two dimensions, some edges, sensor noise.
Samples Picture() {
  constexpr size_t kStep = kSide + 1;
  std::vector<int32_t> field(kStep * kStep);
  uint32_t state = 1;
  const auto noise = [&](int range) {
    state = state * 1664525U + 1013904223U;
    return static_cast<int>(state >> 16) % (2 * range + 1) - range;
  };
  int range = 12000;
  for (size_t gap = kSide; gap > 1; gap /= 2, range = range * 10 / 19) {
    const size_t half = gap / 2;
    for (size_t y = 0; y < kStep; y += half) {
      const bool is_row = y % gap == 0;
      for (size_t x = is_row ? half : 0; x < kStep; x += is_row ? gap : half) {
        int64_t sum = 0;
        const size_t top = y - y % gap, left = x - x % gap;
        const size_t bottom = std::min(top + gap, kStep - 1),
                     right = std::min(left + gap, kStep - 1);
        sum += field[top * kStep + left] + field[top * kStep + right];
        sum += field[bottom * kStep + left] + field[bottom * kStep + right];
        field[y * kStep + x] = static_cast<int32_t>(sum / 4) + noise(range + 1);
      }
    }
  }
  Samples picture(kSamples);
  for (size_t i = 0; i < kSamples; ++i) {
    const size_t x = i % kSide, y = i / kSide;
    const int edge = (x / 90 + y / 70) % 3 == 0 ? 30 : 0;
    picture[i] = std::clamp(field[y * kStep + x] / 160 + edge + noise(2), -128, 127);
  }
  return picture;
}

// One level of the 5/3 transform along one direction.
void Transform(int32_t* line, size_t count, size_t step) {
  Samples in(count);
  for (size_t i = 0; i < count; ++i) in[i] = line[i * step];
  const size_t half = count / 2;
  Samples high(half);
  for (size_t k = 0; k < half; ++k) {
    const int32_t right = in[std::min(2 * k + 2, count - 2)];
    high[k] = in[2 * k + 1] - ((in[2 * k] + right) >> 1);
  }
  for (size_t k = 0; k < half; ++k) {
    const int32_t left = high[k > 0 ? k - 1 : 0];
    line[k * step] = in[2 * k] + ((left + high[k] + 2) >> 2);
    line[(half + k) * step] = high[k];
  }
}

Samples Coefficients(bool is_lossy) {
  Samples samples = Picture();
  for (size_t side = kSide; side > kSide >> kLevels; side /= 2) {
    for (size_t x = 0; x < side; ++x) Transform(&samples[x], side, kSide);
    for (size_t y = 0; y < side; ++y) Transform(&samples[y * kSide], side, 1);
  }
  if (is_lossy) {
    for (int32_t& sample : samples) sample = sample / 4;
  }
  return samples;
}

constexpr int kPlanes = 12;  // of magnitude bits

struct Coded {
  std::vector<uint8_t> bytes;
  int32_t planes, passes;
};

class Ours {
 public:
  explicit Ours(bool is_lossy) : samples_(Coefficients(is_lossy)) {
    for (int32_t& sample : samples_) {
      const auto magnitude = static_cast<uint32_t>(std::abs(sample)) << (31 - kPlanes);
      sample = static_cast<int32_t>(magnitude | (sample < 0 ? 0x80000000u : 0));
    }
    zepiEncodeInitAlloc_JPEG2K(&state_, {kBlock, kBlock});
  }
  ~Ours() { zepiEncodeFree_JPEG2K(state_); }
  Ours(const Ours&) = delete;
  Ours& operator=(const Ours&) = delete;

  size_t Encode() {
    size_t total = 0;
    for (int i = 0; i < kBlocks * kBlocks; ++i) {
      Coded& block = coded_[static_cast<size_t>(i)];
      int32_t segments = 0, length = kCodeSize, unfinished = 0;
      zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(At(&samples_, i), 4 * kSide, {kBlock, kBlock}, state_,
                                             0, kPlanes, 0, 0, 0, &block.planes, &block.passes,
                                             &segments);
      zepiEncodeStoreBits_JPEG2K_1u(code_.data(), &length, state_, &unfinished);
      block.bytes.assign(code_.data(), code_.data() + length);
      total += block.bytes.size();
      block.bytes.reserve(1);  // so that data() is not null
    }
    return total;
  }

  void Decode() {
    DecodeWith([](const Coded& block, int32_t* dst, uint8_t* state) {
      const auto length = static_cast<int32_t>(block.bytes.size());
      zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(block.bytes.data(), dst, 4 * kSide, {kBlock, kBlock}, 0,
                                           block.planes, block.passes, &length, 1, 0, nullptr,
                                           state);
    });
  }

  void DecodeInSteps() {
    DecodeWith([](const Coded& block, int32_t* dst, uint8_t* memory) {
      auto* state = reinterpret_cast<zepiDecodeStateJPEG2K*>(memory);
      zepiDecodeCBProgrInit_JPEG2K(state);
      zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst, 4 * kSide, {kBlock, kBlock}, state, 0,
                                             block.planes, 0);
      zepiDecodeCBProgrSetPassCounter_JPEG2K(block.passes, state);
      zepiDecodeCBProgrStep_JPEG2K(block.bytes.data(), static_cast<int32_t>(block.bytes.size()),
                                   state);
    });
  }

  bool IsSame() const {
    // Decoding in steps keeps the midpoints.
    constexpr auto kKept = static_cast<int32_t>(~((1u << (31 - kPlanes)) - 1));
    for (size_t i = 0; i < samples_.size(); ++i) {
      if ((decoded_[i] & kKept) != samples_[i] && (samples_[i] & 0x7FFFFFFF) != 0) return false;
    }
    return true;
  }

 private:
  template <class DecodeBlock>
  void DecodeWith(DecodeBlock decode) {
    int32_t size = 0;
    zepiDecodeGetBufSize_JPEG2K({kBlock, kBlock}, &size);
    std::vector<uint8_t> state(static_cast<size_t>(size));
    decoded_.resize(samples_.size());
    for (int i = 0; i < kBlocks * kBlocks; ++i) {
      decode(coded_[static_cast<size_t>(i)], At(&decoded_, i), state.data());
    }
  }

  static int32_t* At(Samples* samples, int block) {
    return samples->data() + block / kBlocks * kBlock * kSide + block % kBlocks * kBlock;
  }

  static constexpr int32_t kCodeSize = 1 << 16;

  Samples samples_;
  Samples decoded_;
  std::vector<uint8_t> code_ = std::vector<uint8_t>(kCodeSize);
  zepiEncodeStateJPEG2K* state_ = nullptr;
  Coded coded_[kBlocks * kBlocks];
};

class Rival {
 public:
  explicit Rival(bool is_lossy) {
    picture_.width = picture_.height = kSide;
    picture_.bits = 13;
    picture_.is_signed = true;
    picture_.planes = {Coefficients(is_lossy)};
  }

  size_t Encode() {
    rival::Options options;
    options.resolutions = 1;
    codestream_ = rival::Encode(picture_, options);
    return codestream_.size();
  }

  void Decode() { decoded_ = rival::Decode(&codestream_); }
  bool IsSame() const { return decoded_.planes == picture_.planes; }

 private:
  rival::Picture picture_, decoded_;
  std::vector<uint8_t> codestream_;
};

template <class Codec>
void Encode(benchmark::State& state, bool is_lossy) {
  Codec codec(is_lossy);
  size_t bytes = 0;
  for (auto _ : state) bytes = codec.Encode();
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kSamples));
  state.counters["bits"] = static_cast<double>(bytes) * 8 / static_cast<double>(kSamples);
}

template <class Codec, void (Codec::*kDecode)()>
void Decode(benchmark::State& state, bool is_lossy) {
  Codec codec(is_lossy);
  codec.Encode();
  for (auto _ : state) (codec.*kDecode)();
  if (!codec.IsSame()) state.SkipWithError("the samples are not the same");
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kSamples));
}

void AddRows(const std::string& name, void (*ours)(benchmark::State&, bool),
             void (*rival)(benchmark::State&, bool)) {
  for (const bool is_lossy : {false, true}) {
    const std::string data = is_lossy ? "/lossy" : "/lossless";
    benchmark::RegisterBenchmark((name + "/ours" + data).c_str(), ours, is_lossy);
    benchmark::RegisterBenchmark((name + "/rival" + data).c_str(), rival, is_lossy);
  }
}

const bool kAdded = [] {
  AddRows("zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R", Encode<Ours>, Encode<Rival>);
  const auto rival = Decode<Rival, &Rival::Decode>;
  AddRows("zepiDecodeCodeBlock_JPEG2K_1u32s_C1R", Decode<Ours, &Ours::Decode>, rival);
  AddRows("zepiDecodeCBProgrStep_JPEG2K", Decode<Ours, &Ours::DecodeInSteps>, rival);
  return true;
}();

}  // namespace
