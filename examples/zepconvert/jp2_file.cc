// SPDX-License-Identifier: MIT
#include "zepconvert/jp2_file.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "jpeg/metadata.h"
#include "jpeg2000/decoder.h"
#include "jpeg2000/encoder.h"
#include "zepconvert/pixels.h"

namespace zepconvert {
namespace {

using common::PixelLayout;
using jpeg2000::ColorSpace;

// The bytes for all samples, counted from the lowest that there is.
std::vector<uint8_t> BytesOf(const jpeg2000::Component& component) {
  const uint32_t most = (1u << component.bits) - 1;
  std::vector<uint8_t> bytes(most + 1);
  for (uint32_t i = 0; i <= most; ++i) bytes[i] = static_cast<uint8_t>((i * 255 + most / 2) / most);
  return bytes;
}

// A channel of an image of the size of the finest component.
void FillChannel(const jpeg2000::Component& component, size_t channel, common::Image* image) {
  const std::vector<uint8_t> bytes = BytesOf(component);
  const auto most = static_cast<int32_t>(bytes.size() - 1);
  const int32_t lowest = component.is_signed ? -(most + 1) / 2 : 0;
  std::vector<int> columns(static_cast<size_t>(image->width()));
  for (size_t x = 0; x < columns.size(); ++x) {
    columns[x] = static_cast<int>(x * static_cast<size_t>(component.width) / columns.size());
  }
  const auto channels = static_cast<size_t>(image->channels());
  for (int y = 0; y < image->height(); ++y) {
    const int64_t row = int64_t{y} * component.height / image->height();
    const int32_t* in = component.Row(static_cast<int>(row));
    uint8_t* out = image->Row(y) + channel;
    for (const int x : columns) {
      *out = bytes[static_cast<size_t>(std::clamp(in[x] - lowest, 0, most))];
      out += channels;
    }
  }
}

void YccToRgb(common::Image* image) {
  const auto channels = static_cast<size_t>(image->channels());
  uint8_t* pixel = image->Row(0);
  for (uint8_t* end = pixel + image->SizeInBytes(); pixel < end; pixel += channels) {
    const double y = pixel[0], cb = pixel[1] - 128, cr = pixel[2] - 128;
    const double rgb[3] = {y + 1.402 * cr, y - 0.344136 * cb - 0.714136 * cr, y + 1.772 * cb};
    for (int c = 0; c < 3; ++c) {
      pixel[c] = static_cast<uint8_t>(std::clamp(std::lround(rgb[c]), 0L, 255L));
    }
  }
}

// The components that are shown, opacity last.
std::vector<size_t> ShownComponents(const jpeg2000::Image& decoded) {
  const size_t count = decoded.components.size();
  std::vector<size_t> shown;
  for (size_t i = 0; i < count; ++i) {
    if (static_cast<int>(i) != decoded.alpha) shown.push_back(i);
  }
  const size_t colors = decoded.color == ColorSpace::kCmyk && shown.size() >= 4  ? 4
                        : decoded.color == ColorSpace::kGrey || shown.size() < 3 ? 1
                                                                                 : 3;
  shown.resize(colors);
  if (decoded.alpha >= 0 && colors != 4) shown.push_back(static_cast<size_t>(decoded.alpha));
  return shown;
}

common::Status ToImage(const jpeg2000::Image& decoded, common::Image* image) {
  constexpr PixelLayout kLayouts[] = {PixelLayout::kGrey, PixelLayout::kGreyAlpha,
                                      PixelLayout::kRgb, PixelLayout::kRgba};
  const std::vector<size_t> shown = ShownComponents(decoded);
  const bool is_cmyk = decoded.color == ColorSpace::kCmyk && shown.size() == 4;
  int width = 0;
  int height = 0;
  for (const size_t i : shown) {
    width = std::max(width, decoded.components[i].width);
    height = std::max(height, decoded.components[i].height);
  }
  const PixelLayout layout = is_cmyk ? PixelLayout::kCmyk : kLayouts[shown.size() - 1];
  if (!image->Resize(width, height, layout)) return common::Status::NoMemory();
  for (size_t c = 0; c < shown.size(); ++c) {
    const jpeg2000::Component& component = decoded.components[shown[c]];
    if (component.width < 1 || component.height < 1) {
      return common::Status::Error("a component without samples");
    }
    FillChannel(component, c, image);
  }
  if (decoded.color == ColorSpace::kYcc && ChannelCount(layout) >= 3) YccToRgb(image);
  return common::Status();
}

jpeg2000::Image FromImage(const common::Image& image) {
  jpeg2000::Image made;
  made.x1 = image.width();
  made.y1 = image.height();
  made.color = image.channels() <= 2 ? ColorSpace::kGrey : ColorSpace::kRgb;
  const auto channels = static_cast<size_t>(image.channels());
  if (HasAlpha(image.layout())) made.alpha = image.channels() - 1;
  for (size_t c = 0; c < channels; ++c) {
    jpeg2000::Component component;
    component.width = image.width();
    component.height = image.height();
    component.samples.resize(image.SizeInBytes() / channels);
    const uint8_t* in = image.Row(0) + c;
    for (int32_t& sample : component.samples) {
      sample = *in;
      in += channels;
    }
    made.components.push_back(std::move(component));
  }
  return made;
}

// The smallest file with this PSNR, found by trying: bytes for a lower PSNR and for a higher one close in
// on it.
common::Status EncodeTo(double psnr, const jpeg2000::Image& image, const common::Image& original,
                        jpeg2000::EncodeOptions options, common::ByteBuffer* file) {
  constexpr int kTries = 10;
  constexpr double kCloseEnough = 1.005;
  double too_few = static_cast<double>(original.SizeInBytes()) / 1000;
  double enough = static_cast<double>(original.SizeInBytes());
  options.layer_bytes = {0};
  common::Status status = jpeg2000::Encode(image, options, file);
  for (int i = 0; i < kTries && status.ok() && enough > too_few * kCloseEnough; ++i) {
    const double bytes = std::sqrt(too_few * enough);
    options.layer_bytes = {static_cast<size_t>(bytes)};
    common::ByteBuffer tried;
    status = jpeg2000::Encode(image, options, &tried);
    if (!status.ok()) return status;
    jpeg2000::Image decoded;
    jpeg2000::FileInfo info;
    jpeg2000::DecodeOptions decode;
    decode.max_pixels = INT64_MAX;
    decode.threads = options.threads;
    common::Image again;
    status = jpeg2000::Decode(tried.data(), tried.size(), decode, &decoded, &info);
    if (status.ok()) status = ToImage(decoded, &again);
    if (!status.ok()) return status;
    if (Measure(original, again).all < psnr) {
      too_few = bytes;
    } else {
      enough = bytes;
      *file = std::move(tried);
    }
  }
  return status;
}

}  // namespace

common::Status ReadJp2(const Settings& settings, const common::ByteBuffer& input,
                       Picture* picture) {
  jpeg2000::DecodeOptions options;
  options.max_pixels = settings.max_pixels;
  options.threads = settings.threads;
  while (1 << options.reduce < settings.scale) ++options.reduce;
  jpeg2000::Image decoded;
  jpeg2000::FileInfo info;
  common::Status status = jpeg2000::Decode(input.data(), input.size(), options, &decoded, &info);
  if (!status.ok()) return status;
  picture->TakeWarnings(info.messages);
  picture->TakeNotes(info.notes);
  if (!decoded.icc_profile.empty()) jpeg::AddIccProfile(decoded.icc_profile, &picture->metadata);
  return ToImage(decoded, &picture->image);
}

common::Status WriteJp2(const Settings& settings, bool has_boxes, const Picture& picture,
                        common::ByteBuffer* file) {
  jpeg2000::Image image = FromImage(picture.image);
  image.icc_profile = jpeg::FindIccProfile(picture.metadata);
  jpeg2000::EncodeOptions options;
  options.is_jp2 = has_boxes;
  options.block_style = settings.block_style;
  options.threads = settings.threads;
  options.reversible = settings.ratio == 0 && settings.psnr == 0;
  if (settings.psnr > 0) return EncodeTo(settings.psnr, image, picture.image, options, file);
  if (settings.ratio > 0) {
    const double bytes = static_cast<double>(picture.image.SizeInBytes()) / settings.ratio;
    options.layer_bytes = {std::max<size_t>(static_cast<size_t>(bytes), 1)};
  }
  return jpeg2000::Encode(image, options, file);
}

}  // namespace zepconvert
