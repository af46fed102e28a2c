// SPDX-License-Identifier: MIT
// Coding of the coefficients of a grey picture beside libjxr. The rival encodes and decodes the
// whole picture without refinement bits; the time in its coders of high-pass and low-pass bands is
// measured by functions that replace them inside the library and call them. Ours codes the same
// coefficients, block by block. The rival's times include parts that our callers code themselves:
// the pattern of coded blocks (high-pass), and a bit and the refinement of fifteen values
// (low-pass).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "jpegxr_rival.h"
#include "zepjp.h"

namespace {

using rival::kSide;
constexpr int kBlocks = kSide / 16;  // macroblocks in a row, and rows of macroblocks

// The binary PGM file of this size that the environment variable ZEPJP_BENCH_GREY names, or a
// synthetic photograph: midpoint displacement in two dimensions, some edges, sensor noise.
std::vector<uint8_t> Picture() {
  std::vector<uint8_t> picture(size_t{kSide} * kSide);
  if (const char* name = std::getenv("ZEPJP_BENCH_GREY")) {
    std::ifstream file(name, std::ios::binary);
    std::string magic;
    int width = 0, height = 0, maximum = 0;
    file >> magic >> width >> height >> maximum;
    file.get();
    if (magic != "P5" || width != kSide || height != kSide) throw std::runtime_error(name);
    file.read(reinterpret_cast<char*>(picture.data()),
              static_cast<std::streamsize>(picture.size()));
    return picture;
  }
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
        const size_t top = y - y % gap, left = x - x % gap;
        const size_t bottom = std::min(top + gap, kStep - 1),
                     right = std::min(left + gap, kStep - 1);
        const int64_t sum = int64_t{field[top * kStep + left]} + field[top * kStep + right] +
                            field[bottom * kStep + left] + field[bottom * kStep + right];
        field[y * kStep + x] = static_cast<int32_t>(sum / 4) + noise(range + 1);
      }
    }
  }
  for (size_t i = 0; i < picture.size(); ++i) {
    const size_t x = i % kSide, y = i / kSide;
    const int edge = (x / 90 + y / 70) % 3 == 0 ? 30 : 0;
    picture[i] = static_cast<uint8_t>(
        std::clamp(field[y * kStep + x] / 160 + edge + noise(2) + 128, 0, 255));
  }
  return picture;
}

// The place of raster frequency f = 4 v + u after the transform.
constexpr int kRow[16] = {0, 0, 0, 1, 2, 3, 3, 2, 1, 0, 1, 1, 3, 3, 2, 2};
constexpr int kColumn[16] = {0, 2, 1, 3, 0, 3, 0, 3, 0, 3, 1, 2, 1, 2, 1, 2};

struct Macroblock {
  int32_t values[16][16];
  int32_t low[16];  // by raster frequency
  uint32_t low_bits;
  uint32_t orientation;  // the scan
  uint32_t model_bits;
  uint32_t coded;  // which of the 16 blocks, in the order of coding
};

int32_t Quantize(int32_t value, int32_t step) {
  const int32_t magnitude = (std::abs(value) + (3 * step + 1) / 8) / step;
  return value < 0 ? -magnitude : magnitude;
}

int32_t* BlockAt(Macroblock* macroblock, int row, int column) {
  return &macroblock->values[4 * row][4 * column];
}

// The second stage; it determines the orientation.
uint32_t TransformLow(Macroblock* macroblock, int32_t step) {
  int32_t low[4][4];
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 4; ++x) low[y][x] = *BlockAt(macroblock, y, x);
  }
  zepiPCTFwd_JPEGXR_32s_C1IR(&low[0][0], 16, {4, 4});
  for (int f = 0; f < 16; ++f) macroblock->low[f] = Quantize(low[kRow[f]][kColumn[f]], step);
  const auto magnitude = [&](int f) { return std::abs(macroblock->low[f]); };
  const int32_t horizontal = magnitude(1) + magnitude(2) + magnitude(3);
  const int32_t vertical = magnitude(4) + magnitude(8) + magnitude(12);
  return 4 * horizontal < vertical ? 0 : 4 * vertical < horizontal ? 2 : 1;
}

// Differences to the block above or on the left.
void Predict(uint32_t orientation, Macroblock* macroblock) {
  if (orientation == 1) return;
  for (int i = 15; i >= 0; --i) {
    const int along = i / 4, across = i % 4;
    if (along == 0) continue;
    for (int k = 1; k < 4; ++k) {
      const int f = orientation == 0 ? 4 * k : k;
      const int offset = 16 * kRow[f] + kColumn[f];
      int32_t* const here = orientation == 0 ? BlockAt(macroblock, along, across)
                                             : BlockAt(macroblock, across, along);
      const int32_t* const before = orientation == 0 ? BlockAt(macroblock, along - 1, across)
                                                     : BlockAt(macroblock, across, along - 1);
      here[offset] -= before[offset];
    }
  }
}

Macroblock Transform(const uint8_t* pixels, int32_t step) {
  Macroblock macroblock;
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 16; ++x) macroblock.values[y][x] = pixels[y * kSide + x] - 128;
  }
  zepiPCTFwd16x16_JPEGXR_32s_C1IR(&macroblock.values[0][0], 64);
  const uint32_t orientation = TransformLow(&macroblock, step);
  for (int i = 0; i < 256; ++i) {
    int32_t& value = macroblock.values[i / 16][i % 16];
    value = i / 16 % 4 == 0 && i % 4 == 0 ? 0 : Quantize(value, step);
  }
  Predict(orientation, &macroblock);
  macroblock.orientation = orientation == 0 ? 0 : 1;
  return macroblock;
}

// The standard's model of the number of refinement bits.
class ModelBits {
 public:
  ModelBits(int bits, uint32_t weight) : weight_(weight), bits_(bits) {}
  uint32_t bits() const { return static_cast<uint32_t>(bits_); }
  void Update(uint32_t count) {
    int delta = (static_cast<int>(count * weight_) - 70) >> 2;
    if (delta <= -8) {
      state_ += std::max(delta + 4, -16);
      if (state_ < -8) Move(-1);
    } else if (delta >= 8) {
      state_ += std::min(delta - 4, 15);
      if (state_ > 8) Move(1);
    }
  }

 private:
  void Move(int by) {
    const int next = bits_ + by;
    if (next < 0 || next > 15) {
      state_ = 8 * by;
      return;
    }
    bits_ = next;
    state_ = 0;
  }
  uint32_t weight_;
  int state_ = 0, bits_;
};

// The blocks of a macroblock in the order of coding.
constexpr int kBlockRow[16] = {0, 0, 1, 1, 0, 0, 1, 1, 2, 2, 3, 3, 2, 2, 3, 3};
constexpr int kBlockColumn[16] = {0, 1, 0, 1, 2, 3, 2, 3, 0, 1, 0, 1, 2, 3, 2, 3};

template <class T>
struct CodedMacroblock {
  T values[16][16];
  uint32_t scan, model_bits, coded;
  T* Block(int j) { return &values[4 * kBlockRow[j]][4 * kBlockColumn[j]]; }
};

std::vector<Macroblock> Macroblocks(int32_t step) {
  const std::vector<uint8_t> picture = Picture();
  std::vector<Macroblock> macroblocks;
  ModelBits model(0, 1), low_model(4, 12);
  for (int i = 0; i < kBlocks * kBlocks; ++i) {
    Macroblock next =
        Transform(&picture[static_cast<size_t>(16 * (i / kBlocks * kSide + i % kBlocks))], step);
    next.model_bits = model.bits();
    next.coded = 0;
    uint32_t count = 0;
    for (int j = 0; j < 16; ++j) {
      const int32_t* const block = BlockAt(&next, kBlockRow[j], kBlockColumn[j]);
      uint32_t levels = 0;
      for (int k = 1; k < 16; ++k) {
        levels += std::abs(block[k / 4 * 16 + k % 4]) >> model.bits() != 0 ? 1 : 0;
      }
      if (levels > 0) next.coded |= 1u << j;
      count += levels;
    }
    model.Update(count);
    next.low_bits = low_model.bits();
    low_model.Update(
        static_cast<uint32_t>(std::count_if(next.low + 1, next.low + 16, [&](int32_t v) {
          return std::abs(v) >> next.low_bits != 0;
        })));
    macroblocks.push_back(next);
  }
  return macroblocks;
}

template <class T>
class Ours {
 public:
  explicit Ours(int32_t step) : stream_(size_t{8} * kSide * kSide), decoded_(1) {
    for (const Macroblock& from : Macroblocks(step)) {
      CodedMacroblock<T> to = {};
      for (int i = 0; i < 256; ++i)
        to.values[i / 16][i % 16] = static_cast<T>(from.values[i / 16][i % 16]);
      to.scan = from.orientation;
      to.model_bits = from.model_bits;
      to.coded = from.coded;
      macroblocks_.push_back(to);
    }
  }

  void Begin() {
    zepiVLCInit_JPEGXR(state());
    for (uint32_t scan = 0; scan < 3; ++scan) zepiVLCScanReset_JPEGXR(state(), scan);
    acc_ = count_ = 0;
  }

  // The work of a coder around the blocks of a macroblock.
  template <class Code>
  void ForMacroblocks(const Code& code) {
    Begin();
    for (size_t i = 0; i < macroblocks_.size(); ++i) {
      CodedMacroblock<T>& macroblock = macroblocks_[i];
      const size_t column = i % kBlocks;
      if (column % 16 == 0) {
        for (uint32_t scan = 0; scan < 3; ++scan) zepiVLCScanReset_JPEGXR(state(), scan);
      }
      zepiVLCScanSet_JPEGXR(state(), macroblock.scan);
      code(&macroblock);
      if (column % 16 == 0 || column + 1 == kBlocks) zepiVLCAdapt_JPEGXR(state(), 1);
    }
  }

  template <bool kWithFlex>
  size_t Encode() {
    uint8_t* dst = stream_.data();
    ForMacroblocks([&](CodedMacroblock<T>* macroblock) {
      zepiVLCContext context = {0, 0};
      for (uint32_t rest = macroblock->coded; rest != 0; rest &= rest - 1) {
        EncodeBlock<kWithFlex>(macroblock->Block(__builtin_ctz(rest)), macroblock->model_bits, &dst,
                               &context);
      }
    });
    for (uint32_t left = (count_ + 7) / 8; left > 0; --left, acc_ <<= 8) {
      *dst++ = static_cast<uint8_t>(acc_ >> 24);
    }
    return static_cast<size_t>(dst - stream_.data());
  }

  void Decode() {
    const uint8_t* src = stream_.data();
    ForMacroblocks([&](CodedMacroblock<T>* macroblock) {
      zepiVLCContext context = {0, 1};
      CodedMacroblock<T>& to = decoded_[0];
      std::memset(to.values, 0, sizeof(to.values));
      for (uint32_t rest = macroblock->coded; rest != 0; rest &= rest - 1) {
        DecodeBlock(to.Block(__builtin_ctz(rest)), macroblock->model_bits, &src, &context);
      }
      benchmark::DoNotOptimize(to);
    });
  }

  // Whether decoding returns the coefficients.
  bool IsRight() {
    const uint8_t* src = stream_.data();
    bool is_right = true;
    ForMacroblocks([&](CodedMacroblock<T>* macroblock) {
      zepiVLCContext context = {0, 1};
      CodedMacroblock<T> to = {};
      for (uint32_t rest = macroblock->coded; rest != 0; rest &= rest - 1) {
        DecodeBlock(to.Block(__builtin_ctz(rest)), macroblock->model_bits, &src, &context);
      }
      for (int i = 0; i < 256; ++i) {
        const int value = macroblock->values[i / 16][i % 16];
        const int level = std::abs(value) >> macroblock->model_bits;
        const int want = (value < 0 ? -level : level) * (1 << macroblock->model_bits);
        is_right = is_right && to.values[i / 16][i % 16] == want;
      }
    });
    return is_right;
  }

 private:
  static constexpr uint32_t kStep = 16 * sizeof(T);
  zepiVLCState* state() { return reinterpret_cast<zepiVLCState*>(state_); }

  template <bool kWithFlex>
  void EncodeBlock(const T* block, uint32_t model_bits, uint8_t** dst, zepiVLCContext* context) {
    int32_t flex[16];
    if constexpr (kWithFlex && sizeof(T) == 2) {
      zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R(block, kStep, 0, model_bits, 0, dst, &acc_, &count_,
                                            state(), flex, context);
      benchmark::DoNotOptimize(flex);
    } else if constexpr (kWithFlex) {
      zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(block, kStep, 0, model_bits, 0, dst, &acc_, &count_,
                                            state(), flex, context);
      benchmark::DoNotOptimize(flex);
    } else if constexpr (sizeof(T) == 2) {
      zepiVLCEncode4x4_JPEGXR_16s1u_C1R(block, kStep, 0, model_bits, dst, &acc_, &count_, state(),
                                        context);
    } else {
      zepiVLCEncode4x4_JPEGXR_32s1u_C1R(block, kStep, 0, model_bits, dst, &acc_, &count_, state(),
                                        context);
    }
  }
  void DecodeBlock(T* block, uint32_t model_bits, const uint8_t** src, zepiVLCContext* context) {
    if constexpr (sizeof(T) == 2) {
      zepiVLCDecode4x4_JPEGXR_1u16s_C1R(src, &acc_, &count_, model_bits, state(), kStep, 0, block,
                                        context);
    } else {
      zepiVLCDecode4x4_JPEGXR_1u32s_C1R(src, &acc_, &count_, model_bits, state(), kStep, 0, block,
                                        context);
    }
  }

  std::vector<uint8_t> stream_;
  std::vector<CodedMacroblock<T>> macroblocks_, decoded_;
  alignas(64) uint8_t state_[1780];
  uint32_t acc_ = 0, count_ = 0;
};

// Low-pass coefficients: one block for each macroblock or, for chroma, its first 6 or 14 values.
enum class Format { k420, k422, k444 };
class Lowpass {
 public:
  Lowpass(int32_t step, Format format) : format_(format), stream_(size_t{128} * kBlocks * kBlocks) {
    for (const Macroblock& from : Macroblocks(step)) {
      Coded to = {};
      std::copy(from.low, from.low + 16, to.low);
      to.bits = from.low_bits;
      if (format != Format::k444) CollectPairs(&to);
      macroblocks_.push_back(to);
    }
  }

  void Scan() {
    Begin();
    for (Coded& macroblock : macroblocks_) {
      int32_t packed[16];
      zepiVLCScan4x4DC_JPEGXR_32s(macroblock.low, macroblock.bits, state(), macroblock.pairs,
                                  &macroblock.count, packed);
      benchmark::DoNotOptimize(packed);
    }
  }

  void Encode() {
    if (format_ == Format::k444) {
      EncodeWith([&](const Coded& from, uint8_t** dst) {
        zepiVLCEncodeDC444_JPEGXR_32s1u(from.pairs, from.count, 0, dst, &acc_, &count_, state());
      });
    } else if (format_ == Format::k422) {
      EncodeWith([&](const Coded& from, uint8_t** dst) {
        zepiVLCEncodeDC422_JPEGXR_32s1u(from.pairs, from.count, dst, &acc_, &count_, state());
      });
    } else {
      EncodeWith([&](const Coded& from, uint8_t** dst) {
        zepiVLCEncodeDC420_JPEGXR_32s1u(from.pairs, from.count, dst, &acc_, &count_, state());
      });
    }
  }

  void Decode() {
    if (format_ == Format::k444) {
      DecodeWith([&](const uint8_t** src, int32_t* to) {
        zepiVLCDecodeDC444_JPEGXR_1u32s(src, &acc_, &count_, state(), to);
      });
    } else if (format_ == Format::k422) {
      DecodeWith([&](const uint8_t** src, int32_t* to) {
        zepiVLCDecodeDC422_JPEGXR_1u32s(src, &acc_, &count_, state(), to);
      });
    } else {
      DecodeWith([&](const uint8_t** src, int32_t* to) {
        zepiVLCDecodeDC420_JPEGXR_1u32s(src, &acc_, &count_, state(), to);
      });
    }
  }

 private:
  struct Coded {
    int32_t low[16], pairs[32];
    uint32_t bits, count;
  };

  zepiVLCState* state() { return reinterpret_cast<zepiVLCState*>(state_); }

  void CollectPairs(Coded* to) const {
    const int slots = format_ == Format::k420 ? 6 : 14;
    int32_t run = 0;
    for (int i = 1; i <= slots; ++i, ++run) {
      const int32_t magnitude = std::abs(to->low[i]) >> to->bits;
      if (magnitude == 0) continue;
      to->pairs[2 * to->count] = run;
      to->pairs[2 * to->count + 1] = to->low[i] < 0 ? -magnitude : magnitude;
      ++to->count;
      run = -1;
    }
  }

  void Begin() {
    zepiVLCInit_JPEGXR(state());
    for (uint32_t scan = 0; scan < 3; ++scan) zepiVLCScanReset_JPEGXR(state(), scan);
    acc_ = count_ = 0;
  }

  template <class Code>
  void EncodeWith(const Code& code) {
    Begin();
    uint8_t* dst = stream_.data();
    for (size_t i = 0; i < macroblocks_.size(); ++i) {
      code(macroblocks_[i], &dst);
      if (i % 16 == 0) zepiVLCAdapt_JPEGXR(state(), 0);
    }
    for (uint32_t left = (count_ + 7) / 8; left > 0; --left, acc_ <<= 8) {
      *dst++ = static_cast<uint8_t>(acc_ >> 24);
    }
  }

  template <class Code>
  void DecodeWith(const Code& code) {
    Begin();
    const uint8_t* src = stream_.data();
    for (size_t i = 0; i < macroblocks_.size(); ++i) {
      int32_t values[16] = {};
      if (macroblocks_[i].count > 0) code(&src, values);
      benchmark::DoNotOptimize(values);
      if (i % 16 == 0) zepiVLCAdapt_JPEGXR(state(), 0);
    }
  }

  Format format_;
  std::vector<uint8_t> stream_;
  std::vector<Coded> macroblocks_;
  alignas(64) uint8_t state_[1780];
  uint32_t acc_ = 0, count_ = 0;
};

// Index 21 is a quantizer step of 6.
constexpr int kIndexOf6 = 21;

int32_t StepOf(bool is_lossy) { return is_lossy ? 6 : 1; }

void SetRate(benchmark::State* state) {
  state->SetItemsProcessed(state->iterations() * kSide * kSide);
}

template <class T, bool kWithFlex>
void EncodeOurs(benchmark::State& state, bool is_lossy) {
  Ours<T> ours(StepOf(is_lossy));
  size_t bytes = 0;
  for (auto _ : state) bytes = ours.template Encode<kWithFlex>();
  SetRate(&state);
  state.counters["bytes"] = static_cast<double>(bytes);
}

template <class T>
void DecodeOurs(benchmark::State& state, bool is_lossy) {
  Ours<T> ours(StepOf(is_lossy));
  ours.template Encode<false>();
  for (auto _ : state) ours.Decode();
  if (!ours.IsRight()) state.SkipWithError("the coefficients are not the same");
  SetRate(&state);
}

template <Format kFormat, void (Lowpass::*kWork)()>
void WorkOurs(benchmark::State& state, bool is_lossy) {
  Lowpass ours(StepOf(is_lossy), kFormat);
  if (kFormat == Format::k444) ours.Scan();
  ours.Encode();
  for (auto _ : state) (ours.*kWork)();
  SetRate(&state);
}

template <double (rival::Codec::*kSeconds)() const>
void EncodeRival(benchmark::State& state, bool is_lossy) {
  rival::Codec codec(Picture(), is_lossy ? kIndexOf6 : 0);
  for (auto _ : state) {
    codec.Encode();
    state.SetIterationTime((codec.*kSeconds)());
  }
  SetRate(&state);
}

template <double (rival::Codec::*kSeconds)() const>
void DecodeRival(benchmark::State& state, bool is_lossy) {
  rival::Codec codec(Picture(), is_lossy ? kIndexOf6 : 0);
  codec.Encode();
  for (auto _ : state) {
    codec.Decode();
    state.SetIterationTime((codec.*kSeconds)());
  }
  SetRate(&state);
}

using Row = void (*)(benchmark::State&, bool);

void AddRows(const std::string& name, Row ours, Row theirs) {
  for (const bool is_lossy : {false, true}) {
    const std::string data = is_lossy ? "/step6" : "/lossless";
    benchmark::RegisterBenchmark((name + "/ours" + data).c_str(), ours, is_lossy);
    if (theirs == nullptr) continue;
    benchmark::RegisterBenchmark((name + "/rival" + data).c_str(), theirs, is_lossy)
        ->UseManualTime();
  }
}

const bool kAdded = [] {
  const Row encode_high = EncodeRival<&rival::Codec::highpass_seconds>;
  const Row encode_low = EncodeRival<&rival::Codec::lowpass_seconds>;
  const Row decode_high = DecodeRival<&rival::Codec::highpass_seconds>;
  const Row decode_low = DecodeRival<&rival::Codec::lowpass_seconds>;
  AddRows("zepiVLCEncode4x4_JPEGXR_16s1u_C1R", EncodeOurs<int16_t, false>, encode_high);
  AddRows("zepiVLCEncode4x4_JPEGXR_32s1u_C1R", EncodeOurs<int32_t, false>, encode_high);
  AddRows("zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R", EncodeOurs<int16_t, true>, encode_high);
  AddRows("zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R", EncodeOurs<int32_t, true>, encode_high);
  AddRows("zepiVLCDecode4x4_JPEGXR_1u16s_C1R", DecodeOurs<int16_t>, decode_high);
  AddRows("zepiVLCDecode4x4_JPEGXR_1u32s_C1R", DecodeOurs<int32_t>, decode_high);
  AddRows("zepiVLCScan4x4DC_JPEGXR_32s", WorkOurs<Format::k444, &Lowpass::Scan>, nullptr);
  AddRows("zepiVLCEncodeDC444_JPEGXR_32s1u", WorkOurs<Format::k444, &Lowpass::Encode>, encode_low);
  AddRows("zepiVLCEncodeDC422_JPEGXR_32s1u", WorkOurs<Format::k422, &Lowpass::Encode>, nullptr);
  AddRows("zepiVLCEncodeDC420_JPEGXR_32s1u", WorkOurs<Format::k420, &Lowpass::Encode>, nullptr);
  AddRows("zepiVLCDecodeDC444_JPEGXR_1u32s", WorkOurs<Format::k444, &Lowpass::Decode>, decode_low);
  AddRows("zepiVLCDecodeDC422_JPEGXR_1u32s", WorkOurs<Format::k422, &Lowpass::Decode>, nullptr);
  AddRows("zepiVLCDecodeDC420_JPEGXR_1u32s", WorkOurs<Format::k420, &Lowpass::Decode>, nullptr);
  return true;
}();

}  // namespace
