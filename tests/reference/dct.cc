// SPDX-License-Identifier: MIT
#include "reference/dct.h"

#include <algorithm>
#include <cmath>

#include "reference/pixels.h"

namespace reference {
namespace {

using Values = std::array<int32_t, 64>;
constexpr double kPi = 3.14159265358979323846;

int32_t Saturate(int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, -32768, 32767)); }
int32_t Low16(int64_t v) { return static_cast<int16_t>(static_cast<uint16_t>(v)); }
int32_t Add(int32_t a, int32_t b) { return Saturate(int64_t{a} + b); }
int32_t Sub(int32_t a, int32_t b) { return Saturate(int64_t{a} - b); }
int32_t MulHigh(int32_t a, int32_t b) { return (a * b) >> 16; }
// The low 16 bits: only -2^15 * -2^15 needs more.
int32_t MulRound(int32_t a, int32_t b) { return Saturate((int64_t{a} * b + 16384) >> 15); }

Values LoadBlock(const int16_t* src) {
  Values values;
  for (int i = 0; i < 64; ++i) values[static_cast<size_t>(i)] = Get(src, 16, i % 8, i / 8);
  return values;
}

Values Dequantized(const int16_t* src, const uint16_t* table) {
  Values values = LoadBlock(src);
  for (int i = 0; i < 64; ++i) {
    auto& v = values[static_cast<size_t>(i)];
    v = Low16(int64_t{v} * Get(table, 16, i % 8, i / 8));
  }
  return values;
}

// round(2^14 s sqrt2 C(u) cos((2 x + 1) u pi / 16)) for the scale s of a row.
int32_t ComputeRowWeight(int row, int x, int u) {
  const int group = std::min(row % 4 == 0 ? 0 : row, row % 4 == 0 ? 0 : 8 - row);
  const double scale = group == 0 ? 1 : std::sqrt(2.0) * std::cos(group * kPi / 16);
  const double cosine = u == 0 ? 1 : std::sqrt(2.0) * std::cos((2 * x + 1) * u * kPi / 16);
  return static_cast<int32_t>(std::lround(16384 * scale * cosine));
}

int32_t RowWeight(int row, int x, int u) {
  static const auto kTable = [] {
    std::array<int32_t, 512> table;
    for (int i = 0; i < 512; ++i) {
      table[static_cast<size_t>(i)] = ComputeRowWeight(i / 64, i / 8 % 8, i % 8);
    }
    return table;
  }();
  return kTable[static_cast<size_t>(64 * row + 8 * x + u)];
}

// One column of the forward transform in 16-bit arithmetic that saturates.
void ForwardColumn(Values& v, int x) {
  const auto at = [&](int y) -> int32_t& { return v[static_cast<size_t>(8 * y + x)]; };
  const auto odd_or = [](int32_t value) { return value | 1; };
  int32_t sum[4], difference[4];
  for (int i = 0; i < 4; ++i) {
    sum[i] = Add(at(i), at(7 - i));
    difference[i] = Sub(at(i), at(7 - i));
  }
  const int32_t p03 = Add(sum[0], sum[3]), p12 = Add(sum[1], sum[2]);
  const int32_t m03 = Saturate(8 * Sub(sum[0], sum[3]));
  const int32_t m12 = Saturate(8 * Sub(sum[1], sum[2]));
  at(0) = Saturate(8 * Add(p03, p12));
  at(4) = Saturate(8 * Sub(p03, p12));
  at(2) = odd_or(Add(m03, MulHigh(m12, 27146)));
  at(6) = odd_or(Sub(MulHigh(m03, 27146), m12));
  const int32_t d07 = Saturate(8 * difference[0]);
  const int32_t d16 = Saturate(16 * difference[1]);
  const int32_t d25 = Saturate(16 * difference[2]);
  const int32_t d34 = Saturate(8 * difference[3]);
  const int32_t minus_p65 = MulHigh(Add(d16, d25), -23170);
  const int32_t m65 = MulHigh(Sub(d16, d25), 23170);
  const int32_t p765 = Sub(d07, minus_p65);
  const int32_t m765 = Add(d07, minus_p65);
  const int32_t p465 = Add(d34, m65);
  const int32_t m465 = Sub(d34, m65);
  const auto times_tan3 = [](int32_t value) { return Add(MulHigh(value, -21746), value); };
  at(1) = Add(p765, MulHigh(p465, 13036));
  at(7) = Sub(MulHigh(p765, 13036), p465);
  at(3) = Sub(m765, times_tan3(m465));
  at(5) = Add(times_tan3(m765), m465);
}

void ForwardRow(Values& v, int y) {
  const auto row = v.begin() + 8 * y;
  int32_t out[8];
  for (int u = 0; u < 8; ++u) {
    int64_t sum = 1 << 19;
    for (int x = 0; x < 4; ++x) {
      const int32_t pair = u % 2 == 0 ? Add(row[x], row[7 - x]) : Sub(row[x], row[7 - x]);
      sum += int64_t{pair} * RowWeight(y, x, u);
    }
    out[u] = Saturate(sum >> 20);
  }
  std::copy(out, out + 8, row);
}

// (p + 2^14 - 1 + bit 15 of p) >> 15
int32_t QuantizeRounded(int32_t c, int32_t q) {
  const int64_t p = int64_t{q} * c;
  return Saturate((p + 16383 + ((p >> 15) & 1)) >> 15);
}

void ForwardAndQuantize(Values v, int16_t* dst, const uint16_t* table) {
  for (int x = 0; x < 8; ++x) ForwardColumn(v, x);
  for (int y = 0; y < 8; ++y) ForwardRow(v, y);
  for (int i = 0; i < 64; ++i) {
    const int32_t q = Get(table, 16, i % 8, i / 8);
    Put(dst, 16, i % 8, i / 8, static_cast<int16_t>(QuantizeRounded(v[static_cast<size_t>(i)], q)));
  }
}

// One row of the inverse transform, with 6 fractional bits of a sample and the scale for the column
// pass.
void InverseRow(Values& v, int y, int32_t extra) {
  const auto row = v.begin() + 8 * y;
  int32_t out[8];
  for (int x = 0; x < 4; ++x) {
    int64_t even = (1 << 10) + extra;
    int64_t odd = 0;
    for (int u = 0; u < 8; ++u) {
      (u % 2 == 0 ? even : odd) += int64_t{row[u]} * RowWeight(y, x, u);
    }
    const auto wrapped = [](int64_t sum) {
      return static_cast<int32_t>(static_cast<uint32_t>(sum));
    };
    out[x] = Saturate(wrapped(even + odd) >> 11);
    out[7 - x] = Saturate(wrapped(even - odd) >> 11);
  }
  std::copy(out, out + 8, row);
}

void InverseColumn(Values& v, int x) {
  const auto at = [&](int y) -> int32_t& { return v[static_cast<size_t>(8 * y + x)]; };
  constexpr int32_t kTan1 = 6518, kTan2 = 13573, kTan3 = 21895, kCos4 = 23170;
  const int32_t p04 = Add(at(0), at(4));
  const int32_t m04 = Sub(at(0), at(4));
  const int32_t p26 = Add(at(2), MulRound(at(6), kTan2));
  const int32_t m26 = Sub(MulRound(at(2), kTan2), at(6));
  const int32_t even[4] = {Add(p04, p26), Add(m04, m26), Sub(m04, m26), Sub(p04, p26)};
  const int32_t p17 = Add(at(1), MulRound(at(7), kTan1));
  const int32_t m17 = Sub(MulRound(at(1), kTan1), at(7));
  const int32_t p35 = Add(at(3), MulRound(at(5), kTan3));
  const int32_t m35 = Sub(MulRound(at(3), kTan3), at(5));
  const int32_t a = Sub(p17, p35);
  const int32_t b = Add(m17, m35);
  const int32_t odd[4] = {Add(p17, p35), MulRound(Add(a, b), kCos4), MulRound(Sub(a, b), kCos4),
                          Sub(m17, m35)};
  for (int i = 0; i < 4; ++i) {
    at(i) = Add(even[i], odd[i]) >> 6;
    at(7 - i) = Sub(even[i], odd[i]) >> 6;
  }
}

// The inverse transform. The rounding of the results, and `shift`, are added in the first row and
// pass through both passes.
Values Inverse(Values v, int32_t shift) {
  for (int y = 0; y < 8; ++y) InverseRow(v, y, y == 0 ? ((shift * 64 + 32) << 11) - 860 : 0);
  for (int x = 0; x < 8; ++x) InverseColumn(v, x);
  return v;
}

zepStatus StoreSamples(const Values& v, uint8_t* dst, int32_t step) {
  for (int i = 0; i < 64; ++i) Put(dst, step, i % 8, i / 8, Clamp255(v[static_cast<size_t>(i)]));
  return zepStatusOk;
}

zepStatus InverseCorner(int corner, const int16_t* src, uint8_t* dst, int32_t step,
                        const uint16_t* table) {
  Values v = Dequantized(src, table);
  for (int i = 0; i < 64; ++i) {
    if (i % 8 >= corner || i / 8 >= corner) v[static_cast<size_t>(i)] = 0;
  }
  return StoreSamples(Inverse(v, 128), dst, step);
}

// Single precision, with sums in the same order as in the kernels.
using Floats = std::array<float, 64>;

void Butterfly(float& x, float& y) {
  const float sum = x + y;
  y = x - y;
  x = sum;
}

// sqrt2 times a rotation by k pi/16 and a reflection.
void Reflect(int k, float& x, float& y) {
  static constexpr float kCosines[3] = {1.3870398F, 1.306563F, 1.1758756F};
  static constexpr float kSines[3] = {0.27589938F, 0.5411961F, 0.78569496F};
  const float c = kCosines[k - 1], s = kSines[k - 1];
  const float sum = x * c + y * s;
  y = x * s - y * c;
  x = sum;
}

constexpr float kFloatCos4 = 0.70710678F;

// Transforms eight values at a stride in place; the results are 2 sqrt2 times too large.
void FloatForward(float* values, int stride) {
  const auto at = [=](int i) -> float& { return values[i * stride]; };
  float sum[4], difference[4];
  for (int i = 0; i < 4; ++i) {
    sum[i] = at(i) + at(7 - i);
    difference[i] = at(i) - at(7 - i);
  }
  Butterfly(sum[0], sum[3]);
  Butterfly(sum[1], sum[2]);
  at(0) = sum[0] + sum[1];
  at(4) = sum[0] - sum[1];
  at(2) = sum[3];
  at(6) = sum[2];
  Reflect(2, at(2), at(6));
  const float p = (difference[1] + difference[2]) * kFloatCos4;
  const float m = (difference[1] - difference[2]) * kFloatCos4;
  at(1) = difference[0] + p;
  at(7) = m + difference[3];
  Reflect(1, at(1), at(7));
  at(3) = difference[0] - p;
  at(5) = m - difference[3];
  Reflect(3, at(3), at(5));
}

void FloatInverse(float* values, int stride) {
  const auto at = [=](int i) -> float& { return values[i * stride]; };
  Reflect(1, at(1), at(7));
  Reflect(2, at(2), at(6));
  Reflect(3, at(3), at(5));
  const float p = (at(1) - at(3)) * kFloatCos4;
  const float m = (at(7) + at(5)) * kFloatCos4;
  const float odd[4] = {at(1) + at(3), p + m, p - m, at(7) - at(5)};
  const float low = at(0) + at(4), high = at(0) - at(4);
  const float even[4] = {low + at(2), high + at(6), high - at(6), low - at(2)};
  for (int i = 0; i < 4; ++i) {
    at(i) = even[i] + odd[i];
    at(7 - i) = even[i] - odd[i];
  }
}

// Transforms rows, then columns; the results are 8 times too large.
template <class Pass>
void FloatTransform(Floats& block, const Pass& pass) {
  for (int y = 0; y < 8; ++y) pass(block.data() + 8 * y, 1);
  for (int x = 0; x < 8; ++x) pass(block.data() + x, 8);
}

float RoundLimited(float v, float min, float max) {
  return std::nearbyint(std::min(std::max(v, min), max));
}

}  // namespace

namespace {

// 1/2 C(u) cos((2 x + 1) u pi / (2 points)), an entry for each u and x.
std::array<double, 64> ExactWeights(int points) {
  std::array<double, 64> weights = {};
  for (int u = 0; u < points; ++u) {
    for (int x = 0; x < points; ++x) {
      weights[static_cast<size_t>(8 * u + x)] =
          (u == 0 ? std::sqrt(0.5) : 1) / 2 * std::cos((2 * x + 1) * u * kPi / (2 * points));
    }
  }
  return weights;
}

// out(i, j) = sum over k, l of left(i, k) in(k, l) right(j, l)
template <class Weight>
ExactBlock Separable(const ExactBlock& in, int points, const Weight& weight) {
  ExactBlock rows = {}, out = {};
  const auto index = [](int y, int x) { return static_cast<size_t>(8 * y + x); };
  for (int y = 0; y < points; ++y) {
    for (int x = 0; x < points; ++x) {
      for (int k = 0; k < points; ++k) rows[index(y, x)] += in[index(y, k)] * weight(x, k);
    }
  }
  for (int y = 0; y < points; ++y) {
    for (int x = 0; x < points; ++x) {
      for (int k = 0; k < points; ++k) out[index(y, x)] += rows[index(k, x)] * weight(y, k);
    }
  }
  return out;
}

}  // namespace

ExactBlock ExactForward(const ExactBlock& samples) {
  static const auto kWeights = ExactWeights(8);
  return Separable(samples, 8,
                   [](int u, int x) { return kWeights[static_cast<size_t>(8 * u + x)]; });
}

ExactBlock ExactInverse(const ExactBlock& coefficients, int points) {
  static const std::array<double, 64> kWeights[] = {ExactWeights(2), ExactWeights(4),
                                                    ExactWeights(8)};
  const auto& weights = kWeights[points == 8 ? 2 : points / 4];
  return Separable(coefficients, points,
                   [&](int x, int u) { return weights[static_cast<size_t>(8 * u + x)]; });
}

zepStatus zepiQuantFwd8x8_JPEG_16s_C1I(int16_t* block, const uint16_t* table) {
  for (int i = 0; i < 64; ++i) {
    const int32_t a = Low16(int64_t{Get(block, 16, i % 8, i / 8)} * 8);
    const int32_t b = Get(table, 16, i % 8, i / 8) >> 1;
    const int32_t h = (a * b) >> 16;
    Put(block, 16, i % 8, i / 8, static_cast<int16_t>(Low16(h + 1) >> 1));
  }
  return zepStatusOk;
}

zepStatus zepiQuantInv8x8_JPEG_16s_C1I(int16_t* block, const uint16_t* table) {
  const Values values = Dequantized(block, table);
  for (int i = 0; i < 64; ++i) {
    Put(block, 16, i % 8, i / 8, static_cast<int16_t>(values[static_cast<size_t>(i)]));
  }
  return zepStatusOk;
}

zepStatus zepiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst, const uint16_t* table) {
  ForwardAndQuantize(LoadBlock(src), dst, table);
  return zepStatusOk;
}

zepStatus zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* src, int32_t step, int16_t* dst,
                                              const uint16_t* table) {
  Values values;
  for (int i = 0; i < 64; ++i) values[static_cast<size_t>(i)] = Get(src, step, i % 8, i / 8) - 128;
  ForwardAndQuantize(values, dst, table);
  return zepStatusOk;
}

zepStatus zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const uint16_t* src, int32_t step, int16_t* dst,
                                               const uint16_t* table) {
  Floats samples;
  for (int i = 0; i < 64; ++i) {
    const auto sample = static_cast<int16_t>(Get(src, step, i % 8, i / 8));
    samples[static_cast<size_t>(i)] = static_cast<float>(sample) - 2048.0F;
  }
  FloatTransform(samples, FloatForward);
  for (int i = 0; i < 64; ++i) {
    const float factor = static_cast<float>(Get(table, 16, i % 8, i / 8)) * (0.125F / 32768);
    const float value = RoundLimited(samples[static_cast<size_t>(i)] * factor, -32768, 32767);
    Put(dst, 16, i % 8, i / 8, static_cast<int16_t>(value));
  }
  return zepStatusOk;
}

zepStatus zepiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst, const uint16_t* table) {
  const Values values = Inverse(Dequantized(src, table), 0);
  for (int i = 0; i < 64; ++i) {
    Put(dst, 16, i % 8, i / 8, static_cast<int16_t>(values[static_cast<size_t>(i)]));
  }
  return zepStatusOk;
}

zepStatus zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                              const uint16_t* table) {
  return InverseCorner(8, src, dst, step, table);
}

zepStatus zepiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                                  const uint16_t* table) {
  return InverseCorner(2, src, dst, step, table);
}

zepStatus zepiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                                  const uint16_t* table) {
  return InverseCorner(4, src, dst, step, table);
}

zepStatus zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const int16_t* src, uint16_t* dst, int32_t step,
                                               const uint16_t* table) {
  const Values values = Dequantized(src, table);
  Floats samples;
  std::transform(values.begin(), values.end(), samples.begin(),
                 [](int32_t v) { return static_cast<float>(v); });
  FloatTransform(samples, FloatInverse);
  for (int i = 0; i < 64; ++i) {
    const float value =
        2048.0F + RoundLimited(samples[static_cast<size_t>(i)] * 0.125F, -2048, 2047);
    Put(dst, step, i % 8, i / 8, static_cast<uint16_t>(value));
  }
  return zepStatusOk;
}

zepStatus zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                                  const uint16_t* table) {
  const int32_t p = Get(src, 16, 0, 0) * Get(table, 16, 0, 0);
  Values values;
  values.fill(Low16((p >> 3) + 128));
  return StoreSamples(values, dst, step);
}

zepStatus zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                                   const uint16_t* table) {
  const Values v = Dequantized(src, table);
  const auto weight = [](int x, int u) {
    const double scale = u == 0 ? std::sqrt(0.5) : 1;
    return static_cast<int64_t>(std::lround(16384 * scale * std::cos((2 * x + 1) * u * kPi / 8)));
  };
  int64_t rows[4][4];
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 4; ++x) {
      int64_t sum = 1 << 9;
      for (int u = 0; u < 4; ++u) sum += weight(x, u) * v[static_cast<size_t>(8 * y + u)];
      rows[y][x] = Saturate(sum >> 10);
    }
  }
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 4; ++x) {
      int64_t sum = (128 << 20) + (1 << 19);
      for (int u = 0; u < 4; ++u) sum += weight(y, u) * rows[u][x];
      const auto wrapped = static_cast<int32_t>(static_cast<uint32_t>(sum));
      Put(dst, step, x, y, Clamp255(Saturate(wrapped >> 20)));
    }
  }
  return zepStatusOk;
}

zepStatus zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                                   const uint16_t* table) {
  const Values v = Dequantized(src, table);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 2; ++x) {
      const int32_t top = x == 0 ? v[0] + v[1] : v[0] - v[1];
      const int32_t bottom = x == 0 ? v[8] + v[9] : v[8] - v[9];
      const int32_t sum = y == 0 ? top + bottom : top - bottom;
      Put(dst, step, x, y, Clamp255(((sum + 4) >> 3) + 128));
    }
  }
  return zepStatusOk;
}

}  // namespace reference
