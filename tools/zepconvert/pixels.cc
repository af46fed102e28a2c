// SPDX-License-Identifier: MIT
#include "tools/zepconvert/pixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

namespace zepconvert {
namespace {

// A multiple of all numbers of channels: each lane belongs to one channel.
constexpr size_t kLanes = 48;

// Adds the squares of the differences to the sum of each lane. 32 bits hold the sums of 2^16
// squares of 8-bit differences.
template <class Sample, class Sum>
void AddSquares(const Sample* a, const Sample* b, size_t samples, uint64_t* lanes) {
  constexpr size_t kMost = kLanes << 15;
  for (size_t first = 0; first < samples; first += kMost) {
    const size_t end = std::min(samples, first + kMost);
    std::array<Sum, kLanes> sums{};
    size_t i = first;
    for (; i + kLanes <= end; i += kLanes) {
      for (size_t lane = 0; lane < kLanes; ++lane) {
        const int32_t distance = a[i + lane] - b[i + lane];
        const auto magnitude = static_cast<Sum>(distance < 0 ? -distance : distance);
        sums[lane] += magnitude * magnitude;
      }
    }
    for (size_t lane = 0; lane < kLanes; ++lane) lanes[lane] += sums[lane];
    for (size_t lane = 0; i < end; ++i, ++lane) {
      const int64_t distance = int64_t{a[i]} - b[i];
      lanes[lane] += static_cast<uint64_t>(distance * distance);
    }
  }
}

double Decibels(uint64_t sum_of_squares, uint64_t count, double peak) {
  if (sum_of_squares == 0) return std::numeric_limits<double>::infinity();
  return 10 *
         std::log10(peak * peak * static_cast<double>(count) / static_cast<double>(sum_of_squares));
}

void ReadLuma(const Image& image, int y, std::vector<uint8_t>* luma) {
  const uint8_t* const row = image.Row(y);
  const auto channels = static_cast<size_t>(image.channels());
  const size_t width = luma->size();
  uint8_t* const out = luma->data();
  const auto luma_of = [](const uint8_t* pixel) {
    return static_cast<uint8_t>(
        (19595U * pixel[0] + 38470U * pixel[1] + 7471U * pixel[2] + 32768U) >> 16);
  };
  if (channels < 3) {
    for (size_t x = 0; x < width; ++x) out[x] = row[x * channels];
  } else if (channels == 3) {
    for (size_t x = 0; x < width; ++x) out[x] = luma_of(row + x * 3);
  } else {
    for (size_t x = 0; x < width; ++x) out[x] = luma_of(row + x * 4);
  }
}

// Of the two pictures over some pixels.
struct Sums {
  uint32_t a = 0, b = 0, squares = 0, products = 0;

  void Add(const Sums& more) {
    a += more.a;
    b += more.b;
    squares += more.squares;
    products += more.products;
  }
};

// Of the blocks of 4 x 4 pixels in a row of them.
class BlockRow {
 public:
  explicit BlockRow(int width)
      : luma_a_(static_cast<size_t>(width)),
        luma_b_(luma_a_.size()),
        columns_(luma_a_.size()),
        blocks_(luma_a_.size() / 4) {}

  void Read(const Image& a, const Image& b, int top) {
    std::fill(columns_.begin(), columns_.end(), Sums());
    for (int y = top; y < top + 4; ++y) {
      ReadLuma(a, y, &luma_a_);
      ReadLuma(b, y, &luma_b_);
      for (size_t x = 0; x < columns_.size(); ++x) {
        const uint32_t left = luma_a_[x], right = luma_b_[x];
        columns_[x].Add({left, right, left * left + right * right, left * right});
      }
    }
    for (size_t i = 0; i < blocks_.size(); ++i) {
      blocks_[i] = Sums();
      for (size_t x = 4 * i; x < 4 * i + 4; ++x) blocks_[i].Add(columns_[x]);
    }
  }
  const std::vector<Sums>& blocks() const { return blocks_; }

 private:
  std::vector<uint8_t> luma_a_, luma_b_;
  std::vector<Sums> columns_;
  std::vector<Sums> blocks_;
};

double SsimOfWindow(const Sums& sums) {
  constexpr double kPixels = 64;
  constexpr double kC1 = 0.01 * 255 * 0.01 * 255, kC2 = 0.03 * 255 * 0.03 * 255;
  const double a = sums.a / kPixels, b = sums.b / kPixels;
  const double variances = sums.squares / kPixels - a * a - b * b;
  const double covariance = sums.products / kPixels - a * b;
  return (2 * a * b + kC1) * (2 * covariance + kC2) / ((a * a + b * b + kC1) * (variances + kC2));
}

// Whether samples of one form can be compared with those of the other.
bool IsComparable(const Form& a, const Image& b) {
  const Form form = b.form();
  if (a == form) return true;
  if (IsLight(a.sample) || IsLight(form.sample)) return false;
  return HasAlpha(a.layout) || IsOpaque(b);
}

}  // namespace

Psnr Measure(const Image& a, const Image& b) {
  const auto channels = static_cast<size_t>(a.channels());
  const bool is_deep = BytesOf(a.form().sample) == 2;
  std::array<uint64_t, kLanes> lanes{};
  for (int y = 0; y < a.height(); ++y) {
    const uint8_t* const row_a = a.Row(y);
    const uint8_t* const row_b = b.Row(y);
    if (is_deep) {
      AddSquares<uint16_t, uint64_t>(reinterpret_cast<const uint16_t*>(row_a),
                                     reinterpret_cast<const uint16_t*>(row_b), a.SamplesInRow(),
                                     lanes.data());
    } else {
      AddSquares<uint8_t, uint32_t>(row_a, row_b, a.SamplesInRow(), lanes.data());
    }
  }
  const uint64_t pixels = static_cast<uint64_t>(a.width()) * static_cast<uint64_t>(a.height());
  const double peak = (1 << a.form().bits) - 1;
  Psnr psnr;
  uint64_t all = 0;
  for (size_t c = 0; c < channels; ++c) {
    uint64_t sum = 0;
    for (size_t lane = c; lane < kLanes; lane += channels) sum += lanes[lane];
    psnr.channels.push_back(Decibels(sum, pixels, peak));
    all += sum;
  }
  psnr.all = Decibels(all, pixels * channels, peak);
  return psnr;
}

double Ssim(const Image& a, const Image& b) {
  if (a.width() < 8 || a.height() < 8) return std::numeric_limits<double>::quiet_NaN();
  BlockRow above(a.width()), below(a.width());
  above.Read(a, b, 0);
  double sum = 0, windows = 0;
  for (int y = 4; y + 4 <= a.height(); y += 4) {
    below.Read(a, b, y);
    for (size_t i = 0; i + 1 < below.blocks().size(); ++i) {
      Sums window = above.blocks()[i];
      window.Add(above.blocks()[i + 1]);
      window.Add(below.blocks()[i]);
      window.Add(below.blocks()[i + 1]);
      sum += SsimOfWindow(window);
      windows += 1;
    }
    std::swap(above, below);
  }
  return sum / windows;
}

bool IsEquivalent(const Image& a, const Image& b) {
  if (a.width() != b.width() || a.height() != b.height() || !IsComparable(a.form(), b)) {
    return false;
  }
  Image converted;
  if (!(a.form() == b.form())) converted = Converted(b, a.form());
  const Image& other = a.form() == b.form() ? b : converted;
  const size_t bytes = a.SamplesInRow() * BytesOf(a.form().sample);
  for (int y = 0; y < a.height(); ++y) {
    if (std::memcmp(a.Row(y), other.Row(y), bytes) != 0) return false;
  }
  return true;
}

}  // namespace zepconvert
