// SPDX-License-Identifier: MIT
// A level splits an area into four bands: lifting along all columns, then along all rows, low-pass
// results first. The next level does the same to the low-pass quarter. The reversible 5/3 transform
// is one call of the library for each level, on integers and in place. The irreversible 9/7
// transform runs the library's passes along columns and rows on floats. They read a few samples
// beyond both ends of a line, which the filter mirrors there, so lines pass through work memory
// with room for them; columns go in strips, wide enough for whole registers and narrow enough for
// the first cache.
#include "codecs/jpeg2000/wavelet.h"

#include <algorithm>

#include "zepjp.h"

namespace zepcodec::jpeg2000 {
namespace {

using WholeTile = decltype(zepiWTFwd_B53_JPEG2K_32s_C1IR);

void TransformWhole(WholeTile* transform, const Rect& area, Plane<int32_t>* plane) {
  // Of the origin only the parity matters.
  const zepiRect rect = {static_cast<int32_t>(area.x0 & 1), static_cast<int32_t>(area.y0 & 1),
                         static_cast<int32_t>(area.width()), static_cast<int32_t>(area.height())};
  int32_t size = 0;
  zepiWTGetBufSize_B53_JPEG2K_32s_C1IR(&rect, &size);
  std::vector<uint8_t> buffer(static_cast<size_t>(size) + 1);
  transform(plane->At(0, 0), plane->StepInBytes(), &rect, buffer.data());
}

// Mirrors a line of at least two samples about its ends (F.3.7).
int64_t Mirrored(int64_t position, int64_t length) {
  const int64_t period = 2 * (length - 1);
  const int64_t in_period = (position % period + period) % period;
  return in_period < length ? in_period : period - in_period;
}

// The library's passes for floats read beyond both ends of a line, so lines are copied to work
// memory and extended there: rows one at a time, columns in strips. `phase`: 1 if the first sample
// of a line is a high-pass one.
class FloatLines {
 public:
  // For lines of `length` samples, strips of `width`.
  FloatLines(int64_t length, int phase, int64_t width)
      : length_(length),
        phase_(phase),
        pairs_((length + 1) / 2),
        lows_((length + 1 - phase) / 2),
        width_(width),
        step_(static_cast<int32_t>(width * int64_t{sizeof(float)})),
        samples_(Size(2 * pairs_ + kBefore + kBehind)),
        low_(Size(pairs_ + 2 * kMargin)),
        high_(Size(pairs_ + 2 * kMargin)) {}

  void ForwardRow(float* row) { Forward(row, 1, 1, zepiWTFwdRow_D97_JPEG2K_32f_C1R); }
  void InverseRow(float* row) { Inverse(row, 1, 1, zepiWTInvRow_D97_JPEG2K_32f_C1R); }
  // A single column is handled as a row.
  void ForwardColumns(float* first, int64_t step, int64_t count) {
    Forward(first, step, count,
            width_ == 1 ? zepiWTFwdRow_D97_JPEG2K_32f_C1R : zepiWTFwdCol_D97_JPEG2K_32f_C1R);
  }
  void InverseColumns(float* first, int64_t step, int64_t count) {
    Inverse(first, step, count,
            width_ == 1 ? zepiWTInvRow_D97_JPEG2K_32f_C1R : zepiWTInvCol_D97_JPEG2K_32f_C1R);
  }

 private:
  static constexpr int64_t kBefore = 4;  // samples before a line that the forward passes read
  static constexpr int64_t kBehind = 4;
  static constexpr int64_t kMargin = 2;  // coefficients on either side that the inverse passes read

  size_t Size(int64_t lines) const { return static_cast<size_t>(lines * width_); }
  float* Sample(int64_t i) { return samples_.data() + (i + kBefore) * width_; }
  float* Low(int64_t i) { return low_.data() + (i + kMargin) * width_; }
  float* High(int64_t i) { return high_.data() + (i + kMargin) * width_; }
  // The size of the pairs, along rows or along columns.
  zepiSize PairsOf(int64_t count) const {
    const auto pairs = static_cast<int32_t>(pairs_);
    return width_ == 1 ? zepiSize{pairs, 1} : zepiSize{static_cast<int32_t>(count), pairs};
  }

  // Copies `lines` times `count` values that lie side by side; a row is copied at once.
  static void CopyLines(const float* from, int64_t from_step, int64_t count, int64_t lines,
                        float* to, int64_t to_step) {
    if (from_step == 1 && to_step == 1) {
      std::copy_n(from, lines, to);
      return;
    }
    for (int64_t i = 0; i < lines; ++i) std::copy_n(from + i * from_step, count, to + i * to_step);
  }

  // Samples of a line lie `step` values apart; `count` lines lie side by side.
  template <class Pass>
  void Forward(float* first, int64_t step, int64_t count, Pass* pass) {
    if (length_ == 1) return Scale(first, count, 2);
    CopyLines(first, step, count, length_, Sample(0), width_);
    for (int64_t i = -kBefore; i < 2 * pairs_ + kBehind; i = i == -1 ? length_ : i + 1) {
      std::copy_n(first + Mirrored(i, length_) * step, count, Sample(i));
    }
    pass(Sample(0), step_, Low(0), step_, High(0), step_, PairsOf(count), phase_);
    CopyLines(Low(0), width_, count, lows_, first, step);
    CopyLines(High(0), width_, count, length_ - lows_, first + lows_ * step, step);
  }

  template <class Pass>
  void Inverse(float* first, int64_t step, int64_t count, Pass* pass) {
    if (length_ == 1) return Scale(first, count, 0.5F);
    const int64_t inner = length_ / 2;  // both bands have at least this many
    CopyLines(first, step, count, inner, Low(0), width_);
    CopyLines(first + lows_ * step, step, count, inner, High(0), width_);
    for (int64_t i = -kMargin; i < pairs_ + kMargin; i = i == -1 ? inner : i + 1) {
      const int64_t low = Mirrored(2 * i + phase_, length_) / 2;
      const int64_t high = Mirrored(2 * i + 1 - phase_, length_) / 2;
      std::copy_n(first + low * step, count, Low(i));
      std::copy_n(first + (lows_ + high) * step, count, High(i));
    }
    pass(Low(0), step_, High(0), step_, PairsOf(count), Sample(0), step_, phase_);
    CopyLines(Sample(0), width_, count, length_, first, step);
  }

  // A line of one sample stays as it is, or is doubled at an odd place.
  void Scale(float* first, int64_t count, float factor) const {
    if (phase_ == 0) return;
    for (int64_t i = 0; i < count; ++i) first[i] *= factor;
  }

  int64_t length_;
  int phase_;
  int64_t pairs_;
  int64_t lows_;
  int64_t width_;
  int32_t step_;
  std::vector<float> samples_, low_, high_;
};

constexpr int64_t kWidestStrip = 64;

// Calls columns(lines, first, count) for strips of the area. Narrow areas have narrower strips, so
// that work memory stays in proportion to the samples.
template <class Columns>
void ForStrips(const Rect& area, Plane<float>* plane, const Columns& columns) {
  const int64_t width = std::clamp<int64_t>(area.width() / 2, 1, kWidestStrip);
  FloatLines lines(area.height(), static_cast<int>(area.y0 & 1), width);
  for (int64_t x = 0; x < area.width(); x += width) {
    columns(&lines, plane->At(x, 0), std::min(width, area.width() - x));
  }
}

template <class Row>
void ForRows(const Rect& area, Plane<float>* plane, const Row& row) {
  FloatLines lines(area.width(), static_cast<int>(area.x0 & 1), 1);
  for (int64_t y = 0; y < area.height(); ++y) row(&lines, plane->At(0, y));
}

}  // namespace

void ForwardWavelet(const TileComponent& component, Plane<int32_t>* plane) {
  for (size_t r = component.resolutions.size(); --r > 0;) {
    const Rect& area = component.resolutions[r].area;
    if (!area.empty()) TransformWhole(zepiWTFwd_B53_JPEG2K_32s_C1IR, area, plane);
  }
}

void InverseWavelet(const TileComponent& component, int resolution, Plane<int32_t>* plane) {
  for (size_t r = 1; r <= static_cast<size_t>(resolution); ++r) {
    const Rect& area = component.resolutions[r].area;
    if (!area.empty()) TransformWhole(zepiWTInv_B53_JPEG2K_32s_C1IR, area, plane);
  }
}

void ForwardWavelet(const TileComponent& component, Plane<float>* plane) {
  for (size_t r = component.resolutions.size(); --r > 0;) {
    const Rect& area = component.resolutions[r].area;
    if (area.empty()) continue;
    ForStrips(area, plane, [&](FloatLines* lines, float* first, int64_t count) {
      lines->ForwardColumns(first, plane->width(), count);
    });
    ForRows(area, plane, [](FloatLines* lines, float* row) { lines->ForwardRow(row); });
  }
}

void InverseWavelet(const TileComponent& component, int resolution, Plane<float>* plane) {
  for (size_t r = 1; r <= static_cast<size_t>(resolution); ++r) {
    const Rect& area = component.resolutions[r].area;
    if (area.empty()) continue;
    ForRows(area, plane, [](FloatLines* lines, float* row) { lines->InverseRow(row); });
    ForStrips(area, plane, [&](FloatLines* lines, float* first, int64_t count) {
      lines->InverseColumns(first, plane->width(), count);
    });
  }
}

}  // namespace zepcodec::jpeg2000
