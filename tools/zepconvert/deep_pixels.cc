// SPDX-License-Identifier: MIT
#include "tools/zepconvert/deep_pixels.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace zepconvert {
namespace {

using zepcodec::Raster;
using Pixel = std::array<uint32_t, 4>;  // RGB and opacity

Pixel Load(const Raster& raster, size_t pixel) {
  const auto channels = static_cast<size_t>(raster.channels());
  const auto get = [&](size_t channel) {
    return static_cast<uint32_t>(raster.Get(pixel * channels + channel));
  };
  const bool is_grey = channels <= 2;
  return {get(0), get(is_grey ? 0 : 1), get(is_grey ? 0 : 2),
          HasAlpha(raster) ? get(channels - 1) : static_cast<uint32_t>(raster.MaxValue())};
}

void LayOverWhite(uint32_t white, Pixel* pixel) {
  const uint64_t alpha = (*pixel)[3];
  for (size_t c = 0; c < 3; ++c) {
    (*pixel)[c] =
        static_cast<uint32_t>(((*pixel)[c] * alpha + white * (white - alpha) + white / 2) / white);
  }
  (*pixel)[3] = white;
}

// ITU-R BT.601 in 16 bits; the weights add up to 65536.
uint32_t Luminance(const Pixel& pixel) {
  return (19595 * pixel[0] + 38470 * pixel[1] + 7471 * pixel[2] + 32768) >> 16;
}

}  // namespace

bool IsOpaque(const Raster& raster) {
  if (!HasAlpha(raster)) return true;
  const auto channels = static_cast<size_t>(raster.channels());
  for (size_t i = channels - 1; i < raster.SampleCount(); i += channels) {
    if (raster.Get(i) != raster.MaxValue()) return false;
  }
  return true;
}

zepcodec::Status ChangeDepth(const Raster& raster, int channels, int bits, Raster* changed) {
  if (!changed->Resize(raster.width(), raster.height(), channels, bits)) {
    return zepcodec::Status::NoMemory();
  }
  const auto before = static_cast<uint32_t>(raster.MaxValue());
  const auto after = static_cast<uint32_t>(changed->MaxValue());
  const bool is_grey = channels <= 2;
  const auto scaled = [&](uint32_t value) {
    return static_cast<int>((uint64_t{value} * after + before / 2) / before);
  };
  const size_t pixels = raster.SampleCount() / static_cast<size_t>(raster.channels());
  size_t to = 0;
  for (size_t i = 0; i < pixels; ++i) {
    Pixel pixel = Load(raster, i);
    if (HasAlpha(raster) && !HasAlpha(*changed)) LayOverWhite(before, &pixel);
    if (is_grey) {
      changed->Set(to++, scaled(raster.channels() <= 2 ? pixel[0] : Luminance(pixel)));
    } else {
      for (size_t c = 0; c < 3; ++c) changed->Set(to++, scaled(pixel[c]));
    }
    if (HasAlpha(*changed)) changed->Set(to++, scaled(pixel[3]));
  }
  return zepcodec::Status();
}

zepcodec::Status ToImage(const Raster& raster, zepcodec::Image* image) {
  constexpr zepcodec::PixelLayout kLayouts[] = {
      zepcodec::PixelLayout::kGrey, zepcodec::PixelLayout::kGreyAlpha, zepcodec::PixelLayout::kRgb,
      zepcodec::PixelLayout::kRgba};
  Raster bytes;
  if (raster.bits() != 8) {
    if (zepcodec::Status status = ChangeDepth(raster, raster.channels(), 8, &bytes); !status.ok()) {
      return status;
    }
  }
  const Raster& from = raster.bits() != 8 ? bytes : raster;
  if (!image->Resize(from.width(), from.height(), kLayouts[from.channels() - 1])) {
    return zepcodec::Status::NoMemory();
  }
  std::memcpy(image->Row(0), from.Row(0), from.SizeInBytes());
  return zepcodec::Status();
}

zepcodec::Status ToRaster(const zepcodec::Image& image, Raster* raster) {
  if (!raster->Resize(image.width(), image.height(), image.channels(), 8)) {
    return zepcodec::Status::NoMemory();
  }
  std::memcpy(raster->Row(0), image.Row(0), image.SizeInBytes());
  return zepcodec::Status();
}

}  // namespace zepconvert
