// SPDX-License-Identifier: MIT
#include "tools/zepconvert/resize.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "tools/zepconvert/failure.h"

namespace zepconvert {
namespace {

constexpr int kWeightBits = 14;  // the weights of a sample sum up to 2^14
constexpr int kBetweenBits = 8;  // of fraction between the two passes
constexpr double kLobes = 3;
constexpr double kPi = 3.14159265358979323846;

// The samples that become one, and their weights.
struct Taps {
  int first = 0;
  std::vector<int32_t> weights;
};

double Lanczos(double x) {
  if (std::abs(x) < 1e-9) return 1;
  if (std::abs(x) >= kLobes) return 0;
  return kLobes * std::sin(kPi * x) * std::sin(kPi * x / kLobes) / (kPi * kPi * x * x);
}

Taps MakeTaps(int from, int to, int at) {
  const double scale = static_cast<double>(from) / to;
  const double center = (at + 0.5) * scale;
  const int first = std::max(0, static_cast<int>(std::floor(center - kLobes * scale)));
  const int end = std::min(from, static_cast<int>(std::ceil(center + kLobes * scale)));
  std::vector<double> weights;
  double sum = 0;
  for (int i = first; i < end; ++i) {
    weights.push_back(Lanczos((i + 0.5 - center) / scale));
    sum += weights.back();
  }
  Taps taps;
  taps.first = first;
  int32_t left = 1 << kWeightBits;
  for (const double weight : weights) {
    taps.weights.push_back(static_cast<int32_t>(std::lround(weight / sum * (1 << kWeightBits))));
    left -= taps.weights.back();
  }
  // The rounding goes to the largest weight, so that a constant picture stays so.
  *std::max_element(taps.weights.begin(), taps.weights.end()) += left;
  return taps;
}

std::vector<Taps> AllTaps(int from, int to) {
  std::vector<Taps> all;
  for (int at = 0; at < to; ++at) all.push_back(MakeTaps(from, to, at));
  return all;
}

// Rows of the picture at its new width, with kBetweenBits of fraction.
template <class Sample>
std::vector<int32_t> Narrowed(const Image& image, int width) {
  const auto channels = static_cast<size_t>(image.channels());
  const std::vector<Taps> taps = AllTaps(image.width(), width);
  std::vector<int32_t> narrow(static_cast<size_t>(width) * channels *
                              static_cast<size_t>(image.height()));
  int32_t* out = narrow.data();
  for (int y = 0; y < image.height(); ++y) {
    const auto* const row = reinterpret_cast<const Sample*>(image.Row(y));
    for (const Taps& tap : taps) {
      for (size_t c = 0; c < channels; ++c) {
        const Sample* in = row + static_cast<size_t>(tap.first) * channels + c;
        int64_t sum = 0;
        for (const int32_t weight : tap.weights) {
          sum += int64_t{weight} * *in;
          in += channels;
        }
        *out++ = static_cast<int32_t>(sum >> (kWeightBits - kBetweenBits));
      }
    }
  }
  return narrow;
}

template <class Sample>
Image ResizedTo(const Image& image, const PictureSize& size, int32_t least, int32_t most) {
  const std::vector<int32_t> narrow = Narrowed<Sample>(image, size.width);
  Image small(size.width, size.height, image.form());
  const size_t samples = small.SamplesInRow();
  std::vector<int64_t> sums(samples);
  for (int y = 0; y < size.height; ++y) {
    const Taps taps = MakeTaps(image.height(), size.height, y);
    constexpr int kShift = kWeightBits + kBetweenBits;
    std::fill(sums.begin(), sums.end(), int64_t{1} << (kShift - 1));
    const int32_t* in = narrow.data() + static_cast<size_t>(taps.first) * samples;
    for (const int32_t weight : taps.weights) {
      for (size_t i = 0; i < samples; ++i) sums[i] += int64_t{weight} * in[i];
      in += samples;
    }
    auto* const out = reinterpret_cast<Sample*>(small.Row(y));
    for (size_t i = 0; i < samples; ++i) {
      out[i] = static_cast<Sample>(std::clamp<int64_t>(sums[i] >> kShift, least, most));
    }
  }
  return small;
}

// Colours times opacity, or the reverse: transparent pixels have no part in the mean of others.
template <class Scale>
void ScaleColors(const Scale& scale, Image* image) {
  const auto channels = static_cast<size_t>(image->channels());
  for (int y = 0; y < image->height(); ++y) {
    auto* const row = reinterpret_cast<uint16_t*>(image->Row(y));
    for (size_t i = 0; i < image->SamplesInRow(); i += channels) {
      const uint32_t opacity = row[i + channels - 1];
      for (size_t c = 0; c + 1 < channels; ++c) {
        row[i + c] = static_cast<uint16_t>(scale(row[i + c], opacity));
      }
    }
  }
}

Image ResizedWithOpacity(const Image& image, const PictureSize& size) {
  static constexpr uint32_t kFull = 65535;
  Image wide = Converted(image, UnsignedForm(image.form().layout, 16));
  ScaleColors(
      [](uint32_t color, uint32_t opacity) { return (color * opacity + kFull / 2) / kFull; },
      &wide);
  Image small = ResizedTo<uint16_t>(wide, size, 0, kFull);
  ScaleColors(
      [](uint32_t color, uint32_t opacity) {
        return opacity == 0 ? 0 : std::min((color * kFull + opacity / 2) / opacity, kFull);
      },
      &small);
  return Converted(small, image.form());
}

}  // namespace

PictureSize FitInto(const PictureSize& box, const PictureSize& size) {
  const double scale = std::min({1.0, box.width == 0 ? 1.0 : 1.0 * box.width / size.width,
                                 box.height == 0 ? 1.0 : 1.0 * box.height / size.height});
  const auto scaled = [&](int side) {
    return std::max(1, static_cast<int>(std::lround(side * scale)));
  };
  return {scaled(size.width), scaled(size.height)};
}

Image Resized(const Image& image, const PictureSize& size) {
  const Form form = image.form();
  const int32_t most = form.bits < 31 ? (1 << form.bits) - 1 : 0;
  switch (form.sample) {
    case zepcSampleU8:
      return HasAlpha(form.layout) ? ResizedWithOpacity(image, size)
                                   : ResizedTo<uint8_t>(image, size, 0, most);
    case zepcSampleU16:
      return HasAlpha(form.layout) ? ResizedWithOpacity(image, size)
                                   : ResizedTo<uint16_t>(image, size, 0, most);
    case zepcSampleS16: {
      using Limits = std::numeric_limits<int16_t>;
      return ResizedTo<int16_t>(image, size, Limits::min(), Limits::max());
    }
    default: throw Failure("samples of 32 bits and half floats cannot be made smaller (--fit)");
  }
}

PictureSize SizeOf(const Image& image) { return {image.width(), image.height()}; }

void Shrink(const PictureSize& size, Image* image) {
  if (image->width() > size.width || image->height() > size.height) *image = Resized(*image, size);
}

}  // namespace zepconvert
