// SPDX-License-Identifier: MIT
#include "codecs/dds/mipmaps.h"

#include <algorithm>
#include <cstdint>

#include "codecs/support/parallel.h"

namespace zepcodec::dds {
namespace {

// The pixels that one of half the size covers along a side of n pixels. In units of 1 / (n / 2) of
// a pixel the weights are whole numbers: of an odd side 2m + 1, pixel i takes m - i parts of pixel
// 2i, m of 2i + 1 and i + 1 of 2i + 2.
struct Taps {
  Taps(int side, int i) : first(2 * i) {
    const int half = side / 2;
    if (side == 1) {
      count = 1;
    } else if (side % 2 == 0) {
      count = 2;
    } else {
      count = 3;
      weights[0] = static_cast<uint64_t>(half - i);
      weights[1] = static_cast<uint64_t>(half);
      weights[2] = static_cast<uint64_t>(i + 1);
    }
  }

  int first;
  int count;
  uint64_t weights[3] = {1, 1, 1};
};

// The sum of the weights along a side.
uint64_t TotalWeight(int side) {
  return side == 1 || side % 2 != 0 ? static_cast<uint64_t>(side) : 2;
}

void HalveRow(const Picture& image, int y, Picture* half) {
  const auto channels = static_cast<size_t>(image.channels());
  const uint64_t total = TotalWeight(image.width()) * TotalWeight(image.height());
  const Taps rows(image.height(), y);
  uint8_t* out = half->Row(y);
  for (int x = 0; x < half->width(); ++x) {
    const Taps columns(image.width(), x);
    for (size_t c = 0; c < channels; ++c) {
      uint64_t sum = total / 2;
      for (int i = 0; i < rows.count; ++i) {
        const uint8_t* in =
            image.Row(rows.first + i) + static_cast<size_t>(columns.first) * channels + c;
        uint64_t row_sum = 0;
        for (int j = 0; j < columns.count; ++j) {
          row_sum += columns.weights[j] * in[static_cast<size_t>(j) * channels];
        }
        sum += rows.weights[i] * row_sum;
      }
      *out++ = static_cast<uint8_t>(sum / total);
    }
  }
}

}  // namespace

Status Halve(const Picture& image, ThreadPool* pool, Picture* half) {
  const int width = std::max(image.width() / 2, 1);
  const int height = std::max(image.height() / 2, 1);
  if (!half->Resize(width, height, image.layout())) return Status::NoMemory();
  constexpr int kBand = 16;  // rows
  return RunParallel(pool, static_cast<size_t>((height + kBand - 1) / kBand), [&] {
    return [&](size_t band) {
      const int begin = static_cast<int>(band) * kBand;
      for (int y = begin; y < std::min(begin + kBand, height); ++y) HalveRow(image, y, half);
    };
  });
}

}  // namespace zepcodec::dds
