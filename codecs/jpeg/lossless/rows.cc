// SPDX-License-Identifier: MIT
#include "codecs/jpeg/lossless/rows.h"

#include <algorithm>
#include <cstddef>

namespace zepcodec::jpeg::lossless {
namespace {

// All channels in one loop, so that the pixels are read in order.
template <class T, size_t kChannels>
void Split(const uint8_t* row, size_t width, int shift, Row* const rows[kMostComponents]) {
  int16_t* out[kChannels];
  for (size_t c = 0; c < kChannels; ++c) out[c] = rows[c]->data();
  for (size_t x = 0; x < width; ++x, row += kChannels * sizeof(T)) {
    T pixel[kChannels];
    std::memcpy(pixel, row, sizeof(pixel));
    for (size_t c = 0; c < kChannels; ++c) {
      out[c][x] = static_cast<int16_t>(static_cast<uint16_t>(pixel[c] >> shift));
    }
  }
}

template <class T>
void SplitAny(const Picture& picture, int y, int shift, Row* const rows[kMostComponents]) {
  const auto width = static_cast<size_t>(picture.width());
  switch (picture.channels()) {
    case 1: return Split<T, 1>(picture.Row(y), width, shift, rows);
    case 2: return Split<T, 2>(picture.Row(y), width, shift, rows);
    case 3: return Split<T, 3>(picture.Row(y), width, shift, rows);
    default: return Split<T, 4>(picture.Row(y), width, shift, rows);
  }
}

// `kCount` channels from a first one on, of pixels of `step` bytes.
template <class T, size_t kCount>
void Join(const Row* const rows[kMostComponents], size_t left, size_t width, int shift,
          unsigned max_value, size_t step, uint8_t* out) {
  const int16_t* in[kCount];
  for (size_t c = 0; c < kCount; ++c) in[c] = rows[c]->data() + left;
  for (size_t x = 0; x < width; ++x, out += step) {
    T pixel[kCount];
    for (size_t c = 0; c < kCount; ++c) {
      const unsigned sample = unsigned{static_cast<uint16_t>(in[c][x])} << shift;
      pixel[c] = static_cast<T>(std::min(sample, max_value));
    }
    std::memcpy(out, pixel, sizeof(pixel));
  }
}

template <class T>
void JoinAny(const Row* const rows[kMostComponents], int count, int shift, int channel, int left,
             int y, Picture* picture) {
  uint8_t* const out = picture->Row(y) + static_cast<size_t>(channel) * sizeof(T);
  const auto most = static_cast<unsigned>(picture->MaxValue());
  const size_t step = static_cast<size_t>(picture->channels()) * sizeof(T);
  const auto width = static_cast<size_t>(picture->width());
  const auto from = static_cast<size_t>(left);
  switch (count) {
    case 1: return Join<T, 1>(rows, from, width, shift, most, step, out);
    case 2: return Join<T, 2>(rows, from, width, shift, most, step, out);
    case 3: return Join<T, 3>(rows, from, width, shift, most, step, out);
    default: return Join<T, 4>(rows, from, width, shift, most, step, out);
  }
}

}  // namespace

void SplitRow(const Picture& picture, int y, int shift, Row* const rows[kMostComponents]) {
  return picture.bits() > 8 ? SplitAny<uint16_t>(picture, y, shift, rows)
                            : SplitAny<uint8_t>(picture, y, shift, rows);
}

void JoinRows(const Row* const rows[kMostComponents], int count, int shift, int channel, int left,
              int y, Picture* picture) {
  return picture->bits() > 8 ? JoinAny<uint16_t>(rows, count, shift, channel, left, y, picture)
                             : JoinAny<uint8_t>(rows, count, shift, channel, left, y, picture);
}

}  // namespace zepcodec::jpeg::lossless
