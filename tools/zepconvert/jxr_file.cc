// SPDX-License-Identifier: MIT
#include "tools/zepconvert/jxr_file.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "codecs/jpegxr/decoder.h"
#include "codecs/jpegxr/encoder.h"

namespace jpeg = zepcodec::jpeg;
namespace jpegxr = zepcodec::jpegxr;

namespace zepconvert {
namespace {

using jpegxr::SampleType;
using zepcodec::PixelLayout;

template <class T>
T Load(const uint8_t* from) {
  T value;
  std::memcpy(&value, from, sizeof(T));
  return value;
}

// Linear light with the curve of sRGB, which 8 bits have.
uint8_t ByteOfLight(double light) {
  if (!(light > 0)) return 0;
  if (light >= 1) return 255;
  const double curved =
      light < 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
  return static_cast<uint8_t>(std::lround(255 * curved));
}

uint8_t ByteOf(const uint8_t* sample, SampleType type, bool is_opacity) {
  constexpr double kOne16 = 1 << 13, kOne32 = 1 << 24;  // 1 in fixed point
  double light = 0;
  switch (type) {
    case SampleType::kU8: return *sample;
    case SampleType::kU16:
      return static_cast<uint8_t>((Load<uint16_t>(sample) * 255U + 32767U) / 65535U);
    case SampleType::kS16: light = Load<int16_t>(sample) / kOne16; break;
    case SampleType::kS32: light = Load<int32_t>(sample) / kOne32; break;
    case SampleType::kF32: light = Load<float>(sample); break;
  }
  if (!is_opacity) return ByteOfLight(light);
  return static_cast<uint8_t>(
      std::lround(255 * std::clamp(std::isnan(light) ? 1 : light, 0.0, 1.0)));
}

zepcodec::Status ToImage(const jpegxr::Image& decoded, zepcodec::Image* image) {
  constexpr PixelLayout kLayouts[] = {PixelLayout::kGrey, PixelLayout::kGreyAlpha,
                                      PixelLayout::kRgb, PixelLayout::kRgba};
  const auto channels = static_cast<size_t>(decoded.channels);
  if (!image->Resize(decoded.width, decoded.height, kLayouts[channels - 1])) {
    return zepcodec::Status::NoMemory();
  }
  if (decoded.type == SampleType::kU8) {
    std::copy(decoded.bytes.begin(), decoded.bytes.end(), image->Row(0));
    return zepcodec::Status();
  }
  const auto bytes = static_cast<size_t>(BytesOf(decoded.type));
  uint8_t* const to = image->Row(0);
  for (size_t i = 0; i < decoded.bytes.size() / bytes; ++i) {
    const bool is_opacity = decoded.HasAlpha() && i % channels == channels - 1;
    to[i] = ByteOf(&decoded.bytes[i * bytes], decoded.type, is_opacity);
  }
  return zepcodec::Status();
}

jpegxr::ColorFormat FormatOf(const Settings& settings) {
  if (!settings.has_sampling) return jpegxr::ColorFormat::k444;
  switch (settings.sampling) {
    case jpeg::Sampling::k420: return jpegxr::ColorFormat::k420;
    case jpeg::Sampling::k422: return jpegxr::ColorFormat::k422;
    default: return jpegxr::ColorFormat::k444;
  }
}

}  // namespace

zepcodec::Status ReadJxr(const Settings& settings, const zepcodec::ByteBuffer& input,
                         Picture* picture) {
  jpegxr::DecodeOptions options;
  options.max_pixels = settings.max_pixels;
  options.threads = settings.threads;
  jpegxr::Image decoded;
  jpegxr::FileInfo info;
  zepcodec::Status status = jpegxr::Decode(input.data(), input.size(), options, &decoded, &info);
  if (!status.ok()) return status;
  picture->TakeWarnings(info.messages);
  return ToImage(decoded, &picture->image);
}

bool IsLosslessJxr(const Settings& settings) {
  return !settings.has_quality && FormatOf(settings) == jpegxr::ColorFormat::k444;
}

zepcodec::Status WriteJxr(const Settings& settings, const Picture& picture,
                          zepcodec::ByteBuffer* file) {
  const zepcodec::Image& from = picture.image;
  jpegxr::Image image;
  image.width = from.width();
  image.height = from.height();
  image.channels = from.channels();
  image.bytes.assign(from.Row(0), from.Row(0) + from.SizeInBytes());
  jpegxr::EncodeOptions options;
  options.lossless = !settings.has_quality;
  options.quality = settings.quality;
  options.overlap = static_cast<jpegxr::Overlap>(settings.overlap);
  options.color = FormatOf(settings);
  options.tile_width = settings.tile_width;
  options.tile_height = settings.tile_height;
  options.threads = settings.threads;
  return jpegxr::Encode(image, options, file);
}

}  // namespace zepconvert
