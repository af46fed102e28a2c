// SPDX-License-Identifier: MIT
#include "ljpeg/rows.h"

#include <algorithm>
#include <cstddef>

namespace ljpeg {
namespace {

template <class T, size_t kChannels>
void Split(const uint8_t* row, size_t width, int shift, Row* const rows[kMostComponents]) {
  for (size_t c = 0; c < kChannels; ++c) {
    int16_t* const out = rows[c]->data();
    for (size_t x = 0; x < width; ++x) {
      T sample;
      std::memcpy(&sample, row + (x * kChannels + c) * sizeof(T), sizeof(T));
      out[x] = static_cast<int16_t>(static_cast<uint16_t>(sample >> shift));
    }
  }
}

template <class T>
void SplitAny(const common::Raster& picture, int y, int shift, Row* const rows[kMostComponents]) {
  const auto width = static_cast<size_t>(picture.width());
  switch (picture.channels()) {
    case 1: return Split<T, 1>(picture.Row(y), width, shift, rows);
    case 2: return Split<T, 2>(picture.Row(y), width, shift, rows);
    case 3: return Split<T, 3>(picture.Row(y), width, shift, rows);
    default: return Split<T, 4>(picture.Row(y), width, shift, rows);
  }
}

template <class T, size_t kChannels>
void Join(const Row& samples, int shift, unsigned max_value, uint8_t* out) {
  for (size_t x = 0; x < samples.size(); ++x) {
    const unsigned wide = unsigned{static_cast<uint16_t>(samples[x])} << shift;
    const auto sample = static_cast<T>(std::min(wide, max_value));
    std::memcpy(out + x * kChannels * sizeof(T), &sample, sizeof(T));
  }
}

template <class T>
void JoinAny(const Row& samples, int shift, int channel, int y, common::Raster* picture) {
  uint8_t* const out = picture->Row(y) + static_cast<size_t>(channel) * sizeof(T);
  const auto max_value = static_cast<unsigned>(picture->MaxValue());
  switch (picture->channels()) {
    case 1: return Join<T, 1>(samples, shift, max_value, out);
    case 2: return Join<T, 2>(samples, shift, max_value, out);
    case 3: return Join<T, 3>(samples, shift, max_value, out);
    default: return Join<T, 4>(samples, shift, max_value, out);
  }
}

}  // namespace

void SplitRow(const common::Raster& picture, int y, int shift, Row* const rows[kMostComponents]) {
  return picture.bits() > 8 ? SplitAny<uint16_t>(picture, y, shift, rows)
                            : SplitAny<uint8_t>(picture, y, shift, rows);
}

void JoinRow(const Row& samples, int shift, int channel, int y, common::Raster* picture) {
  return picture->bits() > 8 ? JoinAny<uint16_t>(samples, shift, channel, y, picture)
                             : JoinAny<uint8_t>(samples, shift, channel, y, picture);
}

}  // namespace ljpeg
