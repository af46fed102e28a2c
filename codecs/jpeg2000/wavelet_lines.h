// SPDX-License-Identifier: MIT
// One level of the wavelet transform along lines: rows one at a time, columns in strips.
//
// The library's passes read a few values beyond both ends of a line, which the filter mirrors
// there, so lines pass through work memory with room for them. The results of a position do not
// depend on the lines beside it, nor on the part of a line that is transformed.
#ifndef ZEPJP_CODECS_JPEG2000_WAVELET_LINES_H_
#define ZEPJP_CODECS_JPEG2000_WAVELET_LINES_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "codecs/support/plain_vector.h"
#include "zepjp.h"

namespace zepcodec::jpeg2000 {

// Mirrors a position about the ends of a line of at least two samples (F.3.7).
inline int64_t Mirrored(int64_t position, int64_t length) {
  const int64_t period = 2 * (length - 1);
  const int64_t in_period = (position % period + period) % period;
  return in_period < length ? in_period : period - in_period;
}

// The passes of a filter along rows and columns.
template <class T>
struct Filter;

template <>
struct Filter<int32_t> {
  static constexpr auto* kForwardRow = zepiWTFwdRow_B53_JPEG2K_32s_C1R;
  static constexpr auto* kForwardColumns = zepiWTFwdCol_B53_JPEG2K_32s_C1R;
  static constexpr auto* kInverseRow = zepiWTInvRow_B53_JPEG2K_32s_C1R;
  static constexpr auto* kInverseColumns = zepiWTInvCol_B53_JPEG2K_32s_C1R;
  // A single sample at an odd place.
  static int32_t Doubled(int32_t value) {
    return static_cast<int32_t>(2 * static_cast<uint32_t>(value));
  }
  static int32_t Halved(int32_t value) { return value / 2; }
};

template <>
struct Filter<float> {
  static constexpr auto* kForwardRow = zepiWTFwdRow_D97_JPEG2K_32f_C1R;
  static constexpr auto* kForwardColumns = zepiWTFwdCol_D97_JPEG2K_32f_C1R;
  static constexpr auto* kInverseRow = zepiWTInvRow_D97_JPEG2K_32f_C1R;
  static constexpr auto* kInverseColumns = zepiWTInvCol_D97_JPEG2K_32f_C1R;
  static float Doubled(float value) { return 2 * value; }
  static float Halved(float value) { return 0.5F * value; }
};

// Lines in place. Their samples lie `step` elements apart, and `count` lines side by side; both are
// 1 for a row. `phase`: 1 if the first sample of a line is a high-pass one.
template <class T>
struct Lines {
  T* first;
  int64_t step;
  int64_t count;
  int64_t length;
  int phase;

  bool is_row() const { return step == 1; }
  int64_t lows() const { return (length + 1 - phase) / 2; }
  T* At(int64_t i) const { return first + i * step; }
};

// Transforms lines; keeps work memory from one call to the next.
template <class T>
class LineTransform {
 public:
  void Forward(const Lines<T>& lines) {
    if (lines.length == 1) return MapOdd(lines, Filter<T>::Doubled);
    Prepare(lines, (lines.length + 1) / 2);
    CopyLines(lines.first, lines.step, lines.length, Sample(0), width_);
    for (int64_t i = -kBefore; i < 2 * pairs_ + kAfter; i = i == -1 ? lines.length : i + 1) {
      std::copy_n(lines.At(Mirrored(i, lines.length)), width_, Sample(i));
    }
    auto* const pass = lines.is_row() ? Filter<T>::kForwardRow : Filter<T>::kForwardColumns;
    const int32_t step = Bytes(width_);
    pass(Sample(0), step, Low(0), step, High(0), step, Size(lines, pairs_), lines.phase);
    CopyLines(Low(0), width_, lines.lows(), lines.first, lines.step);
    CopyLines(High(0), width_, lines.length - lines.lows(), lines.At(lines.lows()), lines.step);
  }

  // All whole pairs of samples go to their place at once. Half of a last pair would overrun it.
  void Inverse(const Lines<T>& lines) {
    if (lines.length == 1) return MapOdd(lines, Filter<T>::Halved);
    Prepare(lines, 1);
    const int64_t inner = lines.length / 2;  // both bands have at least this many
    CopyLines(lines.first, lines.step, inner, Low(0), width_);
    CopyLines(lines.At(lines.lows()), lines.step, inner, High(0), width_);
    for (int64_t i = -kMargin; i < pairs_ + kMargin; i = i == -1 ? inner : i + 1) {
      const int64_t low = Mirrored(2 * i + lines.phase, lines.length) / 2;
      const int64_t high = Mirrored(2 * i + 1 - lines.phase, lines.length) / 2;
      std::copy_n(lines.At(low), width_, Low(i));
      std::copy_n(lines.At(lines.lows() + high), width_, High(i));
    }
    auto* const pass = lines.is_row() ? Filter<T>::kInverseRow : Filter<T>::kInverseColumns;
    const int32_t step = Bytes(width_);
    pass(Low(0), step, High(0), step, Size(lines, inner), lines.first, Bytes(lines.step),
         lines.phase);
    if (inner == pairs_) return;
    pass(Low(inner), step, High(inner), step, Size(lines, 1), Sample(0), step, lines.phase);
    std::copy_n(Sample(0), width_, lines.At(2 * inner));
  }

 private:
  static constexpr int64_t kBefore = 4;  // samples before a line that the forward passes read
  static constexpr int64_t kAfter = 4;
  static constexpr int64_t kMargin = 2;  // coefficients on either side that the inverse passes read

  void Prepare(const Lines<T>& lines, int64_t sample_pairs) {
    width_ = lines.count;
    pairs_ = (lines.length + 1) / 2;
    MakeRoom(2 * sample_pairs + kBefore + kAfter, &samples_);
    MakeRoom(pairs_ + 2 * kMargin, &low_);
    MakeRoom(pairs_ + 2 * kMargin, &high_);
  }
  void MakeRoom(int64_t rows, PlainVector<T>* memory) const {
    const auto size = static_cast<size_t>(rows * width_);
    if (memory->size() < size) *memory = PlainVector<T>(size);
  }
  T* Sample(int64_t i) { return samples_.data() + (i + kBefore) * width_; }
  T* Low(int64_t i) { return low_.data() + (i + kMargin) * width_; }
  T* High(int64_t i) { return high_.data() + (i + kMargin) * width_; }
  static int32_t Bytes(int64_t elements) {
    return static_cast<int32_t>(elements * int64_t{sizeof(T)});
  }
  // Of pairs along a row, or along columns.
  static zepiSize Size(const Lines<T>& lines, int64_t pairs) {
    const auto count = static_cast<int32_t>(lines.count), length = static_cast<int32_t>(pairs);
    return lines.is_row() ? zepiSize{length, 1} : zepiSize{count, length};
  }

  void CopyLines(const T* from, int64_t from_step, int64_t rows, T* to, int64_t to_step) const {
    if (from_step == width_ && to_step == width_) {
      std::copy_n(from, rows * width_, to);
      return;
    }
    for (int64_t i = 0; i < rows; ++i) std::copy_n(from + i * from_step, width_, to + i * to_step);
  }

  // A single sample at an even place stays as it is.
  template <class Map>
  static void MapOdd(const Lines<T>& lines, const Map& map) {
    if (lines.phase == 0) return;
    std::transform(lines.first, lines.first + lines.count, lines.first, map);
  }

  int64_t width_ = 0;
  int64_t pairs_ = 0;
  PlainVector<T> samples_, low_, high_;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_WAVELET_LINES_H_
