// SPDX-License-Identifier: MIT
// The last step of the inverse wavelet: parts of the highest level, with memory of their own, so
// that the samples of a picture go from the cache to the pixels.
//
// A part is made of pairs of a low-pass and a high-pass coefficient, and of two more pairs on each
// side. At the ends of the level these are mirrored. Each sample is the same in all parts.
#ifndef ZEPJP_CODECS_JPEG2000_LEVEL_PART_H_
#define ZEPJP_CODECS_JPEG2000_LEVEL_PART_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "codecs/jpeg2000/plane.h"
#include "codecs/jpeg2000/wavelet_lines.h"
#include "codecs/support/plain_vector.h"

namespace zepcodec::jpeg2000 {

// The pairs of a part along one direction.
struct Pairs {
  static constexpr int64_t kMargin = 2;

  int64_t begin = 0, end = 0;
  int64_t length = 0;  // of the level, in samples
  int phase = 0;       // 1: the first sample of the level is a high-pass one

  int64_t count() const { return end - begin; }
  int64_t lows() const { return (length + 1 - phase) / 2; }
  // The places of the coefficients of a pair.
  int64_t Low(int64_t pair) const { return Mirrored(2 * pair + phase, length) / 2; }
  int64_t High(int64_t pair) const { return lows() + Mirrored(2 * pair + 1 - phase, length) / 2; }
  // Whether nothing is mirrored.
  bool IsInside() const { return begin >= kMargin && 2 * (end + kMargin) <= length; }
};

template <class T>
class LevelPart {
 public:
  // Makes the samples of an area, which counts from the first wanted sample of the plane.
  void Make(const Rect& area, Plane<T>* plane) {
    const size_t level = plane->levels();
    const Window& window = plane->WindowAt(level);
    const Rect part =
        Moved(area, window.taken.x0 - window.made.x0, window.taken.y0 - window.made.y0);
    if (level == 0) return Copy(part, plane);
    across_ = {part.x0 / 2, (part.x1 + 1) / 2, window.made.width(), int(window.made.x0 & 1)};
    down_ = {part.y0 / 2, (part.y1 + 1) / 2, window.made.height(), int(window.made.y0 & 1)};
    step_ = 2 * across_.count();
    first_ = (part.y0 & 1) * step_ + (part.x0 & 1);
    MakeRoom(2 * down_.count(), &samples_);
    if (down_.length == 1) return MakeOnlyRow(plane);
    const int64_t rows = down_.count() + 2 * Pairs::kMargin;
    MakeRoom(rows, &low_);
    MakeRoom(rows, &high_);
    for (int64_t i = 0; i < rows; ++i) {
      const int64_t pair = down_.begin + i - Pairs::kMargin;
      InverseRow(plane->At(level, 0, down_.Low(pair)), low_.data() + i * step_);
      InverseRow(plane->At(level, 0, down_.High(pair)), high_.data() + i * step_);
    }
    const int64_t margin = Pairs::kMargin * step_;
    Filter<T>::kInverseColumns(low_.data() + margin, Bytes(), high_.data() + margin, Bytes(),
                               {int32_t(step_), int32_t(down_.count())}, samples_.data(), Bytes(),
                               down_.phase);
  }

  T* Row(int64_t y) { return samples_.data() + first_ + y * step_; }

 private:
  int32_t Bytes() const { return static_cast<int32_t>(step_ * int64_t{sizeof(T)}); }
  void MakeRoom(int64_t rows, PlainVector<T>* memory) const {
    const auto size = static_cast<size_t>(rows * step_);
    if (memory->size() < size) *memory = PlainVector<T>(size);
  }

  // Without a transform the coefficients are the samples.
  void Copy(const Rect& part, Plane<T>* plane) {
    step_ = part.width();
    first_ = 0;
    MakeRoom(part.height(), &samples_);
    for (int64_t y = 0; y < part.height(); ++y) {
      std::copy_n(plane->At(0, part.x0, part.y0 + y), step_, Row(y));
    }
  }

  // A single row at an even place is not transformed along columns.
  void MakeOnlyRow(Plane<T>* plane) {
    T* const to = samples_.data();
    InverseRow(plane->At(plane->levels(), 0, 0), to);
    if (down_.phase == 1) std::transform(to, to + step_, to, Filter<T>::Halved);
  }

  void InverseRow(const T* from, T* to) {
    if (across_.length == 1) {
      std::fill_n(to, step_, across_.phase == 1 ? Filter<T>::Halved(*from) : *from);
      return;
    }
    const T* low = from + across_.begin;
    const T* high = low + across_.lows();
    if (!across_.IsInside()) {
      const int64_t room = across_.count() + 2 * Pairs::kMargin;
      MirrorRow(from, room);
      low = row_.data() + Pairs::kMargin;
      high = low + room;
    }
    Filter<T>::kInverseRow(low, Bytes(), high, Bytes(), {int32_t(across_.count()), 1}, to, Bytes(),
                           across_.phase);
  }

  // Copies the coefficients that a part at an end of the rows needs.
  void MirrorRow(const T* from, int64_t room) {
    const auto size = static_cast<size_t>(2 * room);
    if (row_.size() < size) row_ = PlainVector<T>(size);
    const int64_t begin = across_.begin - Pairs::kMargin, end = begin + room;
    const int64_t first = std::max<int64_t>(0, begin);
    const int64_t last = std::max(first, std::min(end, across_.length / 2));
    T* const low = row_.data();
    T* const high = low + room;
    std::copy_n(from + first, last - first, low + (first - begin));
    std::copy_n(from + across_.lows() + first, last - first, high + (first - begin));
    for (int64_t i = begin == first ? last : begin; i < end; i = i + 1 == first ? last : i + 1) {
      low[i - begin] = from[across_.Low(i)];
      high[i - begin] = from[across_.High(i)];
    }
  }

  Pairs across_, down_;
  int64_t step_ = 0;   // from one row of samples to the next
  int64_t first_ = 0;  // the first sample of the area, which can be the second one of a pair
  PlainVector<T> low_, high_, samples_, row_;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_LEVEL_PART_H_
