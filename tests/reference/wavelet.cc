// SPDX-License-Identifier: MIT
#include "reference/wavelet.h"

#include <cstring>
#include <type_traits>
#include <vector>

namespace reference {

namespace {

template <class T>
T Wrapped(int64_t value) {
  return static_cast<T>(static_cast<std::make_unsigned_t<T>>(value));
}

// Rows may have any alignment.
template <class T>
T At(const T* data, int64_t step, int64_t x, int64_t y) {
  T value;
  const auto* row = reinterpret_cast<const uint8_t*>(data) + step * y;
  std::memcpy(&value, row + x * static_cast<int64_t>(sizeof(T)), sizeof(T));
  return value;
}
template <class T>
void Set(T* data, int64_t step, int64_t x, int64_t y, T value) {
  auto* row = reinterpret_cast<uint8_t*>(data) + step * y;
  std::memcpy(row + x * static_cast<int64_t>(sizeof(T)), &value, sizeof(T));
}

}  // namespace

// A filter changes the middle one of three values: Forward(step, ...), undone by Inverse(step,
// ...). Steps 0, 2 are of high coefficients, 1, 3 of low ones.
template <class T>
struct B53 {
  static constexpr int kSteps = 2;
  static constexpr bool kPairsAreShort = true;
  static T Change(int step, T left, T right) {
    const T sum = Wrapped<T>(int64_t{left} + right);
    return step == 0 ? static_cast<T>(sum >> 1) : static_cast<T>(Wrapped<T>(int64_t{sum} + 2) >> 2);
  }
  static T Forward(int step, T value, T left, T right) {
    const int64_t change = Change(step, left, right);
    return Wrapped<T>(step == 0 ? value - change : value + change);
  }
  static T Inverse(int step, T value, T left, T right) {
    const int64_t change = Change(step, left, right);
    return Wrapped<T>(step == 0 ? value + change : value - change);
  }
  static T ForwardScale(bool, T value) { return value; }
  static T InverseScale(bool, T value) { return value; }
  static T Half(T value) { return static_cast<T>(value / 2); }
};

template <class T>
struct D97 {
  static constexpr int kSteps = 4;
  static constexpr bool kPairsAreShort = false;
  static T Product(int64_t value, int64_t c) { return Wrapped<T>((value * c + 8192) >> 14); }
  static T Change(int step, T left, T right) {
    constexpr int64_t kLift[] = {-25987, -868, 14466, 7266};
    return Product(int64_t{left} + right, kLift[step]);
  }
  static T Forward(int step, T value, T left, T right) {
    return Wrapped<T>(int64_t{value} + Change(step, left, right));
  }
  static T Inverse(int step, T value, T left, T right) {
    return Wrapped<T>(int64_t{value} - Change(step, left, right));
  }
  static T ForwardScale(bool high, T value) { return Product(value, high ? 20155 : 13318); }
  static T InverseScale(bool high, T value) { return Product(value, high ? 13318 : 20155); }
  static T Half(T value) { return static_cast<T>(value / 2); }
};

template <>
struct D97<float> {
  static constexpr int kSteps = 4;
  static constexpr bool kPairsAreShort = false;
  static constexpr float kK = 1.2301740646362305F;
  static constexpr float kInverseK = 0.8128930926322937F;
  static float Change(int step, float left, float right) {
    constexpr float kLift[] = {-1.5861343145370483F, -0.05298011749982834F, 0.8829110860824585F,
                               0.4435068666934967F};
    const float sum = left + right;
    return kLift[step] * sum;
  }
  static float Forward(int step, float value, float left, float right) {
    return value + Change(step, left, right);
  }
  static float Inverse(int step, float value, float left, float right) {
    return value - Change(step, left, right);
  }
  static float ForwardScale(bool high, float value) { return value * (high ? kK : kInverseK); }
  static float InverseScale(bool high, float value) { return value * (high ? kInverseK : kK); }
};

namespace {

// Values at the positions from `first` up; position 0 is that of the first sample.
template <class T>
struct Line {
  int64_t first;
  int phase;  // 1: even positions hold high coefficients
  std::vector<T> values;

  int64_t end() const { return first + static_cast<int64_t>(values.size()); }
  T& operator[](int64_t position) { return values[static_cast<size_t>(position - first)]; }
  bool IsHigh(int64_t position) const { return ((position + phase) & 1) != 0; }
};

template <class T>
Line<T> Empty(int64_t first, int64_t last, int phase) {
  return {first, phase, std::vector<T>(static_cast<size_t>(last - first + 1))};
}

// The outermost values do not change, so each step makes one more value at both ends invalid.
template <class Filter, class T>
void ForwardLifting(Line<T>& line) {
  for (int step = 0; step < Filter::kSteps; ++step) {
    for (int64_t p = line.first + 1; p < line.end() - 1; ++p) {
      if (line.IsHigh(p) != (step % 2 == 0)) continue;
      line[p] = Filter::Forward(step, line[p], line[p - 1], line[p + 1]);
    }
  }
  for (int64_t p = line.first; p < line.end(); ++p) {
    line[p] = Filter::ForwardScale(line.IsHigh(p), line[p]);
  }
}

template <class Filter, class T>
void InverseLifting(Line<T>& line) {
  for (int64_t p = line.first; p < line.end(); ++p) {
    line[p] = Filter::InverseScale(line.IsHigh(p), line[p]);
  }
  for (int step = Filter::kSteps - 1; step >= 0; --step) {
    for (int64_t p = line.first + 1; p < line.end() - 1; ++p) {
      if (line.IsHigh(p) != (step % 2 == 0)) continue;
      line[p] = Filter::Inverse(step, line[p], line[p - 1], line[p + 1]);
    }
  }
}

// `line` with ten more positions on both sides, mirrored about its ends as often as necessary.
template <class T>
Line<T> Extended(Line<T>& line) {
  const int64_t n = line.end();
  Line<T> result = Empty<T>(-10, n + 9, line.phase);
  for (int64_t p = result.first; p < result.end(); ++p) {
    int64_t from = p;
    while (from < 0 || from >= n) from = from < 0 ? -from : 2 * (n - 1) - from;
    result[p] = line[from];
  }
  return result;
}

// A line of a tile, from position 0.
template <class Filter, class T>
void ForwardTileLine(Line<T>& line) {
  const int64_t n = line.end();
  if (n == 1) {
    if (line.IsHigh(0)) line[0] = Wrapped<T>(int64_t{line[0]} * 2);
  } else if (n == 2 && Filter::kPairsAreShort) {
    T& high = line[line.IsHigh(0) ? 0 : 1];
    T& low = line[line.IsHigh(0) ? 1 : 0];
    high = Wrapped<T>(int64_t{high} - low);
    low = Wrapped<T>(int64_t{low} + (Wrapped<T>(int64_t{high} + 1) >> 1));
  } else {
    Line<T> extended = Extended(line);
    ForwardLifting<Filter>(extended);
    for (int64_t p = 0; p < n; ++p) line[p] = extended[p];
  }
}

template <class Filter, class T>
void InverseTileLine(Line<T>& line) {
  const int64_t n = line.end();
  if (n == 1) {
    if (line.IsHigh(0)) line[0] = Filter::Half(line[0]);
  } else if (n == 2 && Filter::kPairsAreShort) {
    T& high = line[line.IsHigh(0) ? 0 : 1];
    T& low = line[line.IsHigh(0) ? 1 : 0];
    low = Wrapped<T>(int64_t{low} - (Wrapped<T>(int64_t{high} + 1) >> 1));
    high = Wrapped<T>(int64_t{high} + low);
  } else {
    Line<T> extended = Extended(line);
    InverseLifting<Filter>(extended);
    for (int64_t p = 0; p < n; ++p) line[p] = extended[p];
  }
}

// The index of the value at position `p` among the low, then the high coefficients.
template <class T>
int64_t Place(Line<T>& line, int64_t p) {
  const int64_t low_count = (line.end() + (line.phase ? 0 : 1)) / 2;
  return line.IsHigh(p) ? low_count + p / 2 : p / 2;
}

// One line of a tile in memory: `count` elements at (x, y), (x + dx, y + dy) and so on.
template <class Filter, class T>
void ForwardInMemory(T* data, int64_t step, int64_t x, int64_t y, int64_t dx, int64_t dy,
                     int64_t count, int phase) {
  Line<T> line = Empty<T>(0, count - 1, phase);
  for (int64_t p = 0; p < count; ++p) line[p] = At(data, step, x + p * dx, y + p * dy);
  ForwardTileLine<Filter>(line);
  for (int64_t p = 0; p < count; ++p) {
    const int64_t place = Place(line, p);
    Set(data, step, x + place * dx, y + place * dy, line[p]);
  }
}
template <class Filter, class T>
void InverseInMemory(T* data, int64_t step, int64_t x, int64_t y, int64_t dx, int64_t dy,
                     int64_t count, int phase) {
  Line<T> line = Empty<T>(0, count - 1, phase);
  for (int64_t p = 0; p < count; ++p) {
    const int64_t place = Place(line, p);
    line[p] = At(data, step, x + place * dx, y + place * dy);
  }
  InverseTileLine<Filter>(line);
  for (int64_t p = 0; p < count; ++p) Set(data, step, x + p * dx, y + p * dy, line[p]);
}

// The part of four planes that holds column x, row y of the quadrants.
struct Cut {
  int plane;
  int64_t x, y;
};
Cut CutAt(const zepiRect& tile, int64_t x, int64_t y) {
  const int64_t half_width = (int64_t{tile.width} + 1) >> 1;
  const int64_t half_height = (int64_t{tile.height} + 1) >> 1;
  const bool right = x >= half_width, below = y >= half_height;
  return {(right ? 2 : 0) + (below ? 1 : 0), x - (right ? half_width : 0),
          y - (below ? half_height : 0)};
}

// Exactly the samples on which the low and high coefficients of a line depend.
template <class Filter, class T>
Line<T> ForwardReach(int64_t pairs, int32_t phase) {
  const int64_t reach = Filter::kSteps;
  return phase == 0 ? Empty<T>(-reach, 2 * pairs - 2 + reach, 0)
                    : Empty<T>(1 - reach, 2 * pairs - 1 + reach, 1);
}
template <class Filter, class T>
Line<T> InverseReach(int64_t pairs, int32_t phase) {
  const int64_t reach = Filter::kSteps;
  return phase == 0 ? Empty<T>(1 - reach, 2 * pairs - 1 + reach, 0)
                    : Empty<T>(-reach, 2 * pairs - 2 + reach, 1);
}

// The index k of a coefficient at position 2k or 2k + 1.
int64_t Index(int64_t position) { return position >> 1; }

float LowTaps(Line<float> x, int64_t p) {
  float sum = 0.602949F * x[p];
  sum = sum + 0.26686412F * (x[p - 1] + x[p + 1]);
  sum = sum - 0.078223266F * (x[p - 2] + x[p + 2]);
  sum = sum - 0.01686412F * (x[p - 3] + x[p + 3]);
  return sum + 0.026748758F * (x[p - 4] + x[p + 4]);
}
float HighTaps(Line<float> x, int64_t p) {
  float sum = 1.115087F * x[p];
  sum = sum - 0.59127176F * (x[p - 1] + x[p + 1]);
  sum = sum - 0.057543527F * (x[p - 2] + x[p + 2]);
  return sum + 0.091271766F * (x[p - 3] + x[p + 3]);
}

}  // namespace

template <template <class> class Filter, class T>
zepStatus Wavelet<Filter, T>::FwdRow(const T* src, int32_t src_step, T* low, int32_t low_step,
                                     T* high, int32_t high_step, zepiSize size, int32_t phase) {
  for (int64_t y = 0; y < size.height; ++y) {
    Line<T> line = ForwardReach<Filter<T>, T>(size.width, phase);
    for (int64_t p = line.first; p < line.end(); ++p) line[p] = At(src, src_step, p, y);
    Line<T> samples = line;
    ForwardLifting<Filter<T>>(line);
    if constexpr (std::is_same_v<T, float>) {
      for (const int64_t p :
           {int64_t{0}, int64_t{1}, 2 * int64_t{size.width} - 2, 2 * int64_t{size.width} - 1}) {
        line[p] = line.IsHigh(p) ? HighTaps(samples, p) : LowTaps(samples, p);
      }
    }
    for (int64_t p = 0; p < 2 * int64_t{size.width}; ++p) {
      if (line.IsHigh(p))
        Set(high, high_step, Index(p), y, line[p]);
      else
        Set(low, low_step, Index(p), y, line[p]);
    }
  }
  return zepStatusOk;
}

template <template <class> class Filter, class T>
zepStatus Wavelet<Filter, T>::InvRow(const T* low, int32_t low_step, const T* high,
                                     int32_t high_step, zepiSize size, T* dst, int32_t dst_step,
                                     int32_t phase) {
  for (int64_t y = 0; y < size.height; ++y) {
    Line<T> line = InverseReach<Filter<T>, T>(size.width, phase);
    for (int64_t p = line.first; p < line.end(); ++p) {
      line[p] = line.IsHigh(p) ? At(high, high_step, Index(p), y) : At(low, low_step, Index(p), y);
    }
    InverseLifting<Filter<T>>(line);
    for (int64_t p = 0; p < 2 * int64_t{size.width}; ++p) Set(dst, dst_step, p, y, line[p]);
  }
  return zepStatusOk;
}

template <template <class> class Filter, class T>
zepStatus Wavelet<Filter, T>::FwdCol(const T* src, int32_t src_step, T* low, int32_t low_step,
                                     T* high, int32_t high_step, zepiSize size, int32_t phase) {
  for (int64_t x = 0; x < size.width; ++x) {
    Line<T> line = ForwardReach<Filter<T>, T>(size.height, phase);
    for (int64_t p = line.first; p < line.end(); ++p) line[p] = At(src, src_step, x, p);
    ForwardLifting<Filter<T>>(line);
    for (int64_t p = 0; p < 2 * int64_t{size.height}; ++p) {
      if (line.IsHigh(p))
        Set(high, high_step, x, Index(p), line[p]);
      else
        Set(low, low_step, x, Index(p), line[p]);
    }
  }
  return zepStatusOk;
}

template <template <class> class Filter, class T>
zepStatus Wavelet<Filter, T>::InvCol(const T* low, int32_t low_step, const T* high,
                                     int32_t high_step, zepiSize size, T* dst, int32_t dst_step,
                                     int32_t phase) {
  for (int64_t x = 0; x < size.width; ++x) {
    Line<T> line = InverseReach<Filter<T>, T>(size.height, phase);
    for (int64_t p = line.first; p < line.end(); ++p) {
      line[p] = line.IsHigh(p) ? At(high, high_step, x, Index(p)) : At(low, low_step, x, Index(p));
    }
    InverseLifting<Filter<T>>(line);
    for (int64_t p = 0; p < 2 * int64_t{size.height}; ++p) Set(dst, dst_step, x, p, line[p]);
  }
  return zepStatusOk;
}

template <template <class> class Filter, class T>
zepStatus Wavelet<Filter, T>::FwdInPlace(T* data, int32_t step, const zepiRect* tile) {
  if constexpr (!std::is_same_v<T, float>) {
    for (int64_t x = 0; x < tile->width; ++x) {
      ForwardInMemory<Filter<T>>(data, step, x, 0, 0, 1, tile->height, tile->y & 1);
    }
    for (int64_t y = 0; y < tile->height; ++y) {
      ForwardInMemory<Filter<T>>(data, step, 0, y, 1, 0, tile->width, tile->x & 1);
    }
  }
  return zepStatusOk;
}

template <template <class> class Filter, class T>
zepStatus Wavelet<Filter, T>::InvInPlace(T* data, int32_t step, const zepiRect* tile) {
  if constexpr (!std::is_same_v<T, float>) {
    for (int64_t y = 0; y < tile->height; ++y) {
      InverseInMemory<Filter<T>>(data, step, 0, y, 1, 0, tile->width, tile->x & 1);
    }
    for (int64_t x = 0; x < tile->width; ++x) {
      InverseInMemory<Filter<T>>(data, step, x, 0, 0, 1, tile->height, tile->y & 1);
    }
  }
  return zepStatusOk;
}

template <template <class> class Filter, class T>
zepStatus Wavelet<Filter, T>::Fwd(const T* src, int32_t src_step, const zepiRect* tile,
                                  T* const dst[4], const int32_t dst_step[4]) {
  std::vector<T> copy(static_cast<size_t>(tile->width) * static_cast<size_t>(tile->height));
  const auto step = static_cast<int32_t>(static_cast<size_t>(tile->width) * sizeof(T));
  for (int64_t y = 0; y < tile->height; ++y) {
    for (int64_t x = 0; x < tile->width; ++x) Set(copy.data(), step, x, y, At(src, src_step, x, y));
  }
  FwdInPlace(copy.data(), step, tile);
  for (int64_t y = 0; y < tile->height; ++y) {
    for (int64_t x = 0; x < tile->width; ++x) {
      const Cut cut = CutAt(*tile, x, y);
      Set(dst[cut.plane], dst_step[cut.plane], cut.x, cut.y, At(copy.data(), step, x, y));
    }
  }
  return zepStatusOk;
}

template <template <class> class Filter, class T>
zepStatus Wavelet<Filter, T>::Inv(const T* const src[4], const int32_t src_step[4], T* dst,
                                  int32_t dst_step, const zepiRect* tile) {
  std::vector<T> copy(static_cast<size_t>(tile->width) * static_cast<size_t>(tile->height));
  const auto step = static_cast<int32_t>(static_cast<size_t>(tile->width) * sizeof(T));
  for (int64_t y = 0; y < tile->height; ++y) {
    for (int64_t x = 0; x < tile->width; ++x) {
      const Cut cut = CutAt(*tile, x, y);
      Set(copy.data(), step, x, y, At(src[cut.plane], src_step[cut.plane], cut.x, cut.y));
    }
  }
  InvInPlace(copy.data(), step, tile);
  for (int64_t y = 0; y < tile->height; ++y) {
    for (int64_t x = 0; x < tile->width; ++x) Set(dst, dst_step, x, y, At(copy.data(), step, x, y));
  }
  return zepStatusOk;
}

template <class T>
void FwdColLift53(const T* const in[4], T* low, T* high, int32_t width) {
  for (int64_t i = 0; i < width; ++i) {
    const T x0 = At(in[0], 0, i, 0), x1 = At(in[1], 0, i, 0), x2 = At(in[2], 0, i, 0);
    const T previous = At(in[3], 0, i, 0);
    const T h = B53<T>::Forward(0, x1, x0, x2);
    Set(high, 0, i, 0, h);
    Set(low, 0, i, 0, B53<T>::Forward(1, x0, previous, h));
  }
}

template <class T>
void InvColLift53(const T* const in[4], T* odd, T* even, int32_t width) {
  for (int64_t i = 0; i < width; ++i) {
    const T low = At(in[0], 0, i, 0), high0 = At(in[1], 0, i, 0), high1 = At(in[2], 0, i, 0);
    const T previous = At(in[3], 0, i, 0);
    const T x = B53<T>::Inverse(1, low, high0, high1);
    Set(even, 0, i, 0, x);
    Set(odd, 0, i, 0, B53<T>::Inverse(0, high0, previous, x));
  }
}

template <class T>
void FwdColLift97(T* const rows[8], int32_t width) {
  using Filter = D97<T>;
  for (int64_t i = 0; i < width; ++i) {
    const auto in = [&](int row) { return At(rows[row], 0, i, 0); };
    const T a1 = Filter::Forward(0, in(1), in(0), in(2));
    const T b1 = Filter::Forward(1, in(0), in(6), a1);
    const T c0 = Filter::Forward(2, in(6), in(3), b1);
    const T low = Filter::ForwardScale(false, Filter::Forward(3, in(3), in(5), c0));
    const T high = Filter::ForwardScale(true, in(5));
    Set(rows[3], 0, i, 0, low);
    Set(rows[4], 0, i, 0, b1);
    Set(rows[5], 0, i, 0, high);
    Set(rows[6], 0, i, 0, c0);
    Set(rows[7], 0, i, 0, a1);
  }
}

template <class T>
void InvColLift97(T* const rows[8], int32_t width) {
  using Filter = D97<T>;
  for (int64_t i = 0; i < width; ++i) {
    const auto in = [&](int row) { return At(rows[row], 0, i, 0); };
    const T h1 = Filter::InverseScale(true, in(1));
    const T l1 = Filter::Inverse(3, Filter::InverseScale(false, in(0)), in(5), h1);
    const T g0 = Filter::Inverse(2, in(5), in(4), l1);
    const T even = Filter::Inverse(1, in(4), in(3), g0);
    const T odd = Filter::Inverse(0, in(3), in(2), even);
    Set(rows[3], 0, i, 0, odd);
    Set(rows[4], 0, i, 0, even);
    Set(rows[5], 0, i, 0, g0);
    Set(rows[6], 0, i, 0, l1);
    Set(rows[7], 0, i, 0, h1);
  }
}

template struct Wavelet<B53, int16_t>;
template struct Wavelet<B53, int32_t>;
template struct Wavelet<D97, int16_t>;
template struct Wavelet<D97, int32_t>;
template struct Wavelet<D97, float>;
template void FwdColLift53(const int16_t* const[4], int16_t*, int16_t*, int32_t);
template void FwdColLift53(const int32_t* const[4], int32_t*, int32_t*, int32_t);
template void InvColLift53(const int16_t* const[4], int16_t*, int16_t*, int32_t);
template void InvColLift53(const int32_t* const[4], int32_t*, int32_t*, int32_t);
template void FwdColLift97(int16_t* const[8], int32_t);
template void FwdColLift97(int32_t* const[8], int32_t);
template void FwdColLift97(float* const[8], int32_t);
template void InvColLift97(int16_t* const[8], int32_t);
template void InvColLift97(int32_t* const[8], int32_t);
template void InvColLift97(float* const[8], int32_t);

}  // namespace reference
