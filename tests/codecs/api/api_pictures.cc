// SPDX-License-Identifier: MIT
#include "tests/codecs/api/api_pictures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

namespace api_pictures {

size_t ChannelsOf(zepcLayout layout) {
  switch (layout) {
    case zepcLayoutGrey: return 1;
    case zepcLayoutGreyAlpha: return 2;
    case zepcLayoutRgb:
    case zepcLayoutBgr: return 3;
    default: return 4;
  }
}

size_t BytesOf(zepcSample sample) {
  switch (sample) {
    case zepcSampleU8: return 1;
    case zepcSampleS32:
    case zepcSampleF32: return 4;
    default: return 2;
  }
}

bool HasOpacity(zepcLayout layout) {
  return layout == zepcLayoutGreyAlpha || layout == zepcLayoutRgba || layout == zepcLayoutBgra;
}

bool IsBgr(zepcLayout layout) { return layout == zepcLayoutBgr || layout == zepcLayoutBgra; }

bool IsInteger(zepcSample sample) { return sample == zepcSampleU8 || sample == zepcSampleU16; }

const uint8_t* Image::At(int32_t x, int32_t y, size_t channel) const {
  const size_t samples = static_cast<size_t>(x) * ChannelsOf(layout) + channel;
  return bytes.data() + static_cast<size_t>(y) * stride + samples * BytesOf(sample);
}

uint8_t* Image::At(int32_t x, int32_t y, size_t channel) {
  return const_cast<uint8_t*>(static_cast<const Image*>(this)->At(x, y, channel));
}

int32_t Image::Get(int32_t x, int32_t y, size_t channel) const {
  const uint8_t* const at = At(x, y, channel);
  if (sample == zepcSampleU8) return *at;
  uint16_t value = 0;
  std::memcpy(&value, at, sizeof(value));
  return value;
}

void Image::Set(int32_t x, int32_t y, size_t channel, int32_t value) {
  uint8_t* const at = At(x, y, channel);
  const auto wide = static_cast<uint16_t>(value);
  const auto narrow = static_cast<uint8_t>(value);
  if (sample == zepcSampleU8) {
    *at = narrow;
  } else {
    std::memcpy(at, &wide, sizeof(wide));
  }
}

zepcPixels Image::Pixels() {
  return {sizeof(zepcPixels), bytes.data(), stride, width, height, layout, sample, bits};
}

Image Blank(int32_t width, int32_t height, const Shape& shape, size_t gap) {
  Image image;
  image.width = width;
  image.height = height;
  image.layout = shape.layout;
  image.sample = shape.sample;
  image.bits = shape.bits;
  image.stride = image.row_bytes() + gap;
  image.bytes.assign(image.stride * static_cast<size_t>(height), 0xA5);
  for (int32_t y = 0; y < height; ++y) std::memset(image.At(0, y, 0), 0, image.row_bytes());
  return image;
}

Image Make(int32_t width, int32_t height, const Shape& shape, size_t gap) {
  Image image = Blank(width, height, shape, gap);
  const int32_t most = (1 << std::min(shape.bits, 16)) - 1;
  uint32_t chance = 1;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      for (size_t c = 0; c < ChannelsOf(shape.layout); ++c) {
        chance = chance * 1664525 + 1013904223;
        const double wave = 0.5 + 0.45 * std::sin(0.11 * x * static_cast<double>(c + 1) + 0.07 * y +
                                                  1.3 * static_cast<double>(c));
        const double noisy = std::min(wave + (chance >> 24) / 256.0 * 0.04, 1.0);
        const auto value = static_cast<int32_t>(noisy * most);
        switch (shape.sample) {
          case zepcSampleU8:
          case zepcSampleU16: image.Set(x, y, c, value); break;
          // Around 0, and up to 1.
          case zepcSampleS16: image.Set(x, y, c, static_cast<int16_t>(noisy * 9000 - 800)); break;
          case zepcSampleF16: image.Set(x, y, c, 0x3000 + value % 0x0C00); break;
          case zepcSampleS32: {
            const auto fixed = static_cast<int32_t>(noisy * 17000000 - 100000);
            std::memcpy(image.At(x, y, c), &fixed, sizeof(fixed));
            break;
          }
          default: {
            // What 13 bits of a mantissa hold.
            const float single = std::round(static_cast<float>(noisy) * 4096) / 4096;
            std::memcpy(image.At(x, y, c), &single, sizeof(single));
          }
        }
      }
    }
  }
  return image;
}

Image CopyOf(const zepcPixels& pixels) {
  Image image = Blank(pixels.width, pixels.height, {pixels.layout, pixels.sample, pixels.bits});
  const auto* const from = static_cast<const uint8_t*>(pixels.data);
  for (int32_t y = 0; y < pixels.height; ++y) {
    std::memcpy(image.At(0, y, 0), from + static_cast<size_t>(y) * pixels.stride,
                image.row_bytes());
  }
  return image;
}

Image CopyOf(const zepcPicture* picture) {
  auto pixels = Sized<zepcPixels>();
  if (picture == nullptr || zepcPicturePixels(picture, &pixels) != zepcStatusOk ||
      pixels.data == nullptr) {
    ADD_FAILURE() << "no pixels";
    return Blank(1, 1, {});
  }
  return CopyOf(pixels);
}

bool Same(const Image& a, const Image& b) {
  if (a.width != b.width || a.height != b.height || a.layout != b.layout || a.sample != b.sample ||
      a.bits != b.bits) {
    return false;
  }
  for (int32_t y = 0; y < a.height; ++y) {
    if (std::memcmp(a.At(0, y, 0), b.At(0, y, 0), a.row_bytes()) != 0) return false;
  }
  return true;
}

Image Part(const Image& from, const zepcRect& region) {
  Image part = Blank(region.width, region.height, {from.layout, from.sample, from.bits});
  for (int32_t y = 0; y < region.height; ++y) {
    const uint8_t* const row = from.At(region.x, region.y + y, 0);
    std::copy(row, row + part.row_bytes(), part.At(0, y, 0));
  }
  return part;
}

double Psnr(const Image& a, const Image& b) {
  EXPECT_TRUE(a.width == b.width && a.height == b.height && a.layout == b.layout);
  double sum = 0;
  const size_t channels = ChannelsOf(a.layout);
  for (int32_t y = 0; y < a.height; ++y) {
    for (int32_t x = 0; x < a.width; ++x) {
      for (size_t c = 0; c < channels; ++c) {
        sum += std::pow(a.Get(x, y, c) - b.Get(x, y, c), 2);
      }
    }
  }
  const double mean =
      sum / (static_cast<double>(a.width) * a.height * static_cast<double>(channels));
  const double most = (1 << a.bits) - 1;
  return mean == 0 ? 999 : 10 * std::log10(most * most / mean);
}

zepcEncodeOptions OptionsFor(zepcFormat format) {
  auto options = Sized<zepcEncodeOptions>();
  options.format = format;
  options.threads = 1;
  return options;
}

zepcStatus TryEncode(Image image, const zepcEncodeOptions& options, Bytes* file) {
  const zepcPixels pixels = image.Pixels();
  void* made = nullptr;
  size_t size = 0;
  const zepcStatus status = zepcEncode(&pixels, &options, &made, &size);
  if (status == zepcStatusOk) {
    const auto* const bytes = static_cast<const uint8_t*>(made);
    file->assign(bytes, bytes + size);
  } else {
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(size, 0U);
    EXPECT_STRNE(zepcLastError(), "");
  }
  zepcFree(made);
  return status;
}

Bytes Encode(Image image, const zepcEncodeOptions& options) {
  Bytes file;
  const zepcStatus status = TryEncode(std::move(image), options, &file);
  EXPECT_EQ(status, zepcStatusOk) << zepcLastError() << ", format " << options.format;
  return file;
}

Bytes Encode(Image image, zepcFormat format) {
  return Encode(std::move(image), OptionsFor(format));
}

Picture Decode(const Bytes& file, const zepcDecodeOptions* options) {
  zepcPicture* picture = nullptr;
  const zepcStatus status = zepcDecode(file.data(), file.size(), options, &picture);
  EXPECT_EQ(status, zepcStatusOk) << zepcLastError();
  return Picture(picture);
}

Image DecodeToImage(const Bytes& file, const zepcDecodeOptions* options) {
  return CopyOf(Decode(file, options).get());
}

zepcInfo Probe(const Bytes& file) {
  auto info = Sized<zepcInfo>();
  EXPECT_EQ(zepcProbe(file.data(), file.size(), nullptr, &info), zepcStatusOk) << zepcLastError();
  return info;
}

Bytes Exif(uint8_t orientation, bool is_big_endian) {
  if (is_big_endian) {
    return {'M', 'M', 0, 42, 0, 0, 0,           8, 0, 1, 1, 0x12, 0,
            3,   0,   0, 0,  1, 0, orientation, 0, 0, 0, 0, 0,    0};
  }
  return {'I', 'I', 42, 0, 8, 0,           0, 0, 1, 0, 0x12, 1, 3,
          0,   1,   0,  0, 0, orientation, 0, 0, 0, 0, 0,    0, 0};
}

Bytes Icc(size_t size) {
  Bytes profile(size);
  for (size_t i = 0; i < size; ++i) profile[i] = static_cast<uint8_t>(i * 7);
  for (size_t i = 0; i < 4; ++i) profile[i] = static_cast<uint8_t>(size >> (24 - 8 * i));
  const std::string space = "RGB ", mark = "acsp";
  std::copy(space.begin(), space.end(), profile.begin() + 16);
  std::copy(mark.begin(), mark.end(), profile.begin() + 36);
  return profile;
}

const std::vector<zepcFormat>& Formats() {
  static const std::vector<zepcFormat> formats = {
      zepcFormatJpeg,   zepcFormatLosslessJpeg, zepcFormatJp2, zepcFormatJ2k,
      zepcFormatJpegXr, zepcFormatDds,          zepcFormatTiff};
  return formats;
}

const std::vector<Bytes>& Files() {
  static const std::vector<Bytes> files = [] {
    std::vector<Bytes> made;
    for (const zepcFormat format : Formats()) made.push_back(Encode(Make(37, 29, {}), format));
    return made;
  }();
  return files;
}

}  // namespace api_pictures
