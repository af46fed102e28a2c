// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/sample_source.h"

#include <algorithm>

namespace zepcodec::jpeg2000 {
namespace {

template <class T>
void ReadChannel(const T* from, size_t channels, int64_t count, int32_t* to) {
  for (int64_t i = 0; i < count; ++i, from += channels) to[i] = *from;
}

}  // namespace

void ImageSamples::Read(size_t component, int64_t x, int64_t y, int64_t count, int32_t* to) const {
  std::copy_n(image_.components[component].Row(static_cast<int>(y)) + x, count, to);
}

void PictureSamples::Read(size_t component, int64_t x, int64_t y, int64_t count,
                          int32_t* to) const {
  const uint8_t* const row = rows_.Row(static_cast<int>(y - top_));
  const auto channels = static_cast<size_t>(rows_.channels());
  const size_t first = static_cast<size_t>(x) * channels + component;
  if (rows_.type() == SampleType::kU8) {
    ReadChannel(row + first, channels, count, to);
  } else {
    ReadChannel(reinterpret_cast<const uint16_t*>(row) + first, channels, count, to);
  }
}

}  // namespace zepcodec::jpeg2000
