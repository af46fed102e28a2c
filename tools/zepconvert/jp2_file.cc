// SPDX-License-Identifier: MIT
#include "tools/zepconvert/jp2_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "codecs/jpeg/metadata.h"
#include "codecs/jpeg2000/decoder.h"
#include "codecs/jpeg2000/encoder.h"
#include "tools/zepconvert/jp2_colors.h"
#include "tools/zepconvert/pixels.h"

namespace jpeg = zepcodec::jpeg;
namespace jpeg2000 = zepcodec::jpeg2000;

namespace zepconvert {
namespace {

using jpeg2000::ColorSpace;
using zepcodec::PixelLayout;

// The bytes for all samples, counted from the lowest that there is.
std::vector<uint8_t> BytesOf(const jpeg2000::Component& component) {
  const uint32_t most = (1u << component.bits) - 1;
  std::vector<uint8_t> bytes(most + 1);
  for (uint32_t i = 0; i <= most; ++i) bytes[i] = static_cast<uint8_t>((i * 255 + most / 2) / most);
  return bytes;
}

// A channel of an image of the size of the finest component.
void FillChannel(const jpeg2000::Component& component, size_t channel, zepcodec::Picture* image) {
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

// From L*a*b* of any depth, at once: 8 bits of it are too few.
void FillFromLab(const jpeg2000::Image& decoded, zepcodec::Picture* image) {
  const std::array<const jpeg2000::Component*, 3> parts = {
      &decoded.components[0], &decoded.components[1], &decoded.components[2]};
  const LabToRgb to_rgb(decoded.lab, {parts[0]->bits, parts[1]->bits, parts[2]->bits});
  std::array<int32_t, 3> lab = {};
  for (int y = 0; y < image->height(); ++y) {
    uint8_t* out = image->Row(y);
    for (int64_t x = 0; x < image->width(); ++x, out += image->channels()) {
      for (size_t c = 0; c < 3; ++c) {
        const jpeg2000::Component& part = *parts[c];
        const int32_t lowest = part.is_signed ? -(1 << (part.bits - 1)) : 0;
        const int64_t row = int64_t{y} * part.height / image->height();
        lab[c] = part.Row(static_cast<int>(row))[x * part.width / image->width()] - lowest;
      }
      to_rgb.Convert(lab, out);
    }
  }
}

size_t ColorCount(const jpeg2000::Image& decoded, size_t components) {
  switch (decoded.color) {
    case ColorSpace::kGrey:
    case ColorSpace::kInvertedGrey: return 1;
    case ColorSpace::kCmyk:
    case ColorSpace::kYcck: return components >= 4 ? 4 : components >= 3 ? 3 : 1;
    default: return components >= 3 ? 3 : 1;
  }
}

// The components that are shown, opacity last.
struct Shown {
  std::vector<size_t> components;
  PixelLayout layout;
};

// What has no place gets a note.
Shown ChooseShown(const jpeg2000::Image& decoded, std::vector<std::string>* notes) {
  constexpr PixelLayout kLayouts[] = {PixelLayout::kGrey, PixelLayout::kGreyAlpha,
                                      PixelLayout::kRgb, PixelLayout::kRgba};
  const size_t count = decoded.components.size();
  const bool has_alpha = decoded.alpha >= 0 && count > 1;
  const size_t opaque = count - (has_alpha ? 1 : 0);
  const size_t colors = ColorCount(decoded, opaque);
  Shown shown;
  for (size_t i = 0; shown.components.size() < colors; ++i) {
    if (!has_alpha || static_cast<int>(i) != decoded.alpha) shown.components.push_back(i);
  }
  if (opaque > colors) {
    notes->push_back("left out beside the colours: " + std::to_string(opaque - colors) +
                     (opaque - colors == 1 ? " component" : " components"));
  }
  if (colors == 4) {
    if (has_alpha) notes->emplace_back("opacity has no place beside four inks and was left out");
    shown.layout = PixelLayout::kCmyk;
    return shown;
  }
  if (has_alpha) shown.components.push_back(static_cast<size_t>(decoded.alpha));
  shown.layout = kLayouts[shown.components.size() - 1];
  return shown;
}

// Those that have luminance in a way of their own would look quite wrong as RGB.
zepcodec::Status CheckColors(const jpeg2000::Image& decoded, std::vector<std::string>* notes) {
  if (decoded.color == ColorSpace::kLab && decoded.components.size() < 3) {
    return zepcodec::Status::Error("a picture in CIELab with fewer than three components");
  }
  if (decoded.unknown_color < 0) return zepcodec::Status();
  const std::string number = "the JP2 colour space " + std::to_string(decoded.unknown_color);
  const bool is_luminance = decoded.unknown_color == 1 || decoded.unknown_color == 4 ||
                            decoded.unknown_color == 9 || decoded.unknown_color == 19 ||
                            decoded.unknown_color == 22 || decoded.unknown_color == 23;
  if (is_luminance) return zepcodec::Status::Error(number + " cannot be converted");
  notes->push_back(number + " is not known; the samples were taken as " +
                   (decoded.components.size() < 3 ? "grey" : "RGB"));
  return zepcodec::Status();
}

void ConvertColors(const jpeg2000::Image& decoded, zepcodec::Picture* image) {
  const bool has_three = image->channels() >= 3;
  switch (decoded.color) {
    case ColorSpace::kInvertedGrey: InvertColors(image); break;
    case ColorSpace::kYcc:
      if (has_three) YccToRgb(image);
      break;
    case ColorSpace::kCmy: InvertColors(image); break;
    case ColorSpace::kCmyk:
      if (image->layout() != PixelLayout::kCmyk) InvertColors(image);  // three inks
      break;
    case ColorSpace::kYcck:
      if (has_three) YccToRgb(image);
      if (image->layout() == PixelLayout::kCmyk) InvertColors(image);
      break;
    case ColorSpace::kLab: FillFromLab(decoded, image); break;
    default: break;
  }
  if (decoded.is_premultiplied && HasAlpha(image->layout())) DivideByAlpha(image);
}

zepcodec::Status ToImage(const jpeg2000::Image& decoded, std::vector<std::string>* notes,
                         zepcodec::Picture* image) {
  zepcodec::Status status = CheckColors(decoded, notes);
  if (!status.ok()) return status;
  const Shown shown = ChooseShown(decoded, notes);
  int width = 0;
  int height = 0;
  for (const size_t i : shown.components) {
    width = std::max(width, decoded.components[i].width);
    height = std::max(height, decoded.components[i].height);
  }
  if (!image->Resize(width, height, shown.layout)) return zepcodec::Status::NoMemory();
  for (size_t c = 0; c < shown.components.size(); ++c) {
    const jpeg2000::Component& component = decoded.components[shown.components[c]];
    if (component.width < 1 || component.height < 1) {
      return zepcodec::Status::Error("a component without samples");
    }
    FillChannel(component, c, image);
  }
  ConvertColors(decoded, image);
  return status;
}

jpeg2000::Image FromImage(const zepcodec::Picture& image) {
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
zepcodec::Status EncodeTo(double psnr, const jpeg2000::Image& image,
                          const zepcodec::Picture& original, jpeg2000::EncodeOptions options,
                          zepcodec::ByteBuffer* file) {
  constexpr int kTries = 10;
  constexpr double kCloseEnough = 1.005;
  double too_few = static_cast<double>(original.SizeInBytes()) / 1000;
  double enough = static_cast<double>(original.SizeInBytes());
  options.layer_bytes = {0};
  zepcodec::Status status = jpeg2000::Encode(image, options, file);
  for (int i = 0; i < kTries && status.ok() && enough > too_few * kCloseEnough; ++i) {
    const double bytes = std::sqrt(too_few * enough);
    options.layer_bytes = {static_cast<size_t>(bytes)};
    zepcodec::ByteBuffer tried;
    status = jpeg2000::Encode(image, options, &tried);
    if (!status.ok()) return status;
    jpeg2000::Image decoded;
    jpeg2000::FileInfo info;
    jpeg2000::DecodeOptions decode;
    decode.max_pixels = INT64_MAX;
    decode.threads = options.threads;
    zepcodec::Picture again;
    status = jpeg2000::Decode(tried.data(), tried.size(), decode, &decoded, &info);
    std::vector<std::string> ignored;
    if (status.ok()) status = ToImage(decoded, &ignored, &again);
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

jpeg2000::DecodeOptions OptionsOf(const Settings& settings) {
  jpeg2000::DecodeOptions options;
  options.max_pixels = settings.max_pixels;
  options.threads = settings.threads;
  while (1 << options.reduce < settings.scale) ++options.reduce;
  return options;
}

}  // namespace

int64_t EstimateJp2Memory(const Settings& settings, const zepcodec::ByteBuffer& input) {
  int64_t bytes = 0;
  const zepcodec::Status status =
      jpeg2000::EstimateMemory(input.data(), input.size(), OptionsOf(settings), &bytes);
  return status.ok() ? bytes : 0;
}

zepcodec::Status ReadJp2(const Settings& settings, const zepcodec::ByteBuffer& input,
                         Picture* picture) {
  const jpeg2000::DecodeOptions options = OptionsOf(settings);
  jpeg2000::Image decoded;
  jpeg2000::FileInfo info;
  zepcodec::Status status = jpeg2000::Decode(input.data(), input.size(), options, &decoded, &info);
  if (!status.ok()) return status;
  picture->TakeWarnings(info.messages);
  picture->TakeNotes(info.notes);
  if (!decoded.icc_profile.empty()) jpeg::AddIccProfile(decoded.icc_profile, &picture->metadata);
  return ToImage(decoded, &picture->notes, &picture->image);
}

zepcodec::Status WriteJp2(const Settings& settings, bool has_boxes, const Picture& picture,
                          zepcodec::ByteBuffer* file) {
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
