// SPDX-License-Identifier: MIT
#include "tools/zepconvert/picture.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "tools/zepconvert/failure.h"

namespace zepconvert {
namespace {

// The sample of full opacity.
uint32_t FullOpacity(const Form& form) {
  switch (form.sample) {
    case zepcSampleS16: return 1U << 13;
    case zepcSampleS32: return 1U << 24;
    case zepcSampleF16: return 0x3C00;
    case zepcSampleF32: return 0x3F800000;
    default: return (1U << form.bits) - 1;
  }
}

template <class Sample>
bool IsOpaqueRow(const uint8_t* row, size_t samples, size_t channels, uint32_t full) {
  for (size_t i = channels - 1; i < samples; i += channels) {
    Sample sample;
    std::memcpy(&sample, row + i * sizeof(Sample), sizeof(Sample));
    if (sample != full) return false;
  }
  return true;
}

std::vector<uint8_t> CopyOf(const void* data, size_t size) {
  const auto* const bytes = static_cast<const uint8_t*>(data);
  return size == 0 ? std::vector<uint8_t>() : std::vector<uint8_t>(bytes, bytes + size);
}

}  // namespace

int ChannelCount(zepcLayout layout) {
  switch (layout) {
    case zepcLayoutGrey: return 1;
    case zepcLayoutGreyAlpha: return 2;
    case zepcLayoutRgb: return 3;
    default: return 4;
  }
}

bool HasAlpha(zepcLayout layout) {
  return layout == zepcLayoutGreyAlpha || layout == zepcLayoutRgba;
}

bool IsGrey(zepcLayout layout) { return layout == zepcLayoutGrey || layout == zepcLayoutGreyAlpha; }

zepcLayout LayoutWithChannels(int channels) { return static_cast<zepcLayout>(channels); }

bool IsLight(zepcSample sample) { return sample != zepcSampleU8 && sample != zepcSampleU16; }

size_t BytesOf(zepcSample sample) {
  switch (sample) {
    case zepcSampleU8: return 1;
    case zepcSampleS32:
    case zepcSampleF32: return 4;
    default: return 2;
  }
}

Form UnsignedForm(zepcLayout layout, int bits) {
  return {layout, bits > 8 ? zepcSampleU16 : zepcSampleU8, bits};
}

bool operator==(const Form& a, const Form& b) {
  return a.layout == b.layout && a.sample == b.sample && a.bits == b.bits;
}

Image::Image(int width, int height, const Form& form) : pixels_(zepc::Make<zepcPixels>()) {
  pixels_.width = width;
  pixels_.height = height;
  pixels_.layout = form.layout;
  pixels_.sample = form.sample;
  pixels_.bits = form.bits;
  pixels_.stride = SamplesInRow() * BytesOf(form.sample);
  if (pixels_.stride > PTRDIFF_MAX / static_cast<uint64_t>(height)) throw std::bad_alloc();
  own_.resize(Offset(height));
  pixels_.data = own_.data();
}

Image::Image(zepc::Picture decoded) : decoded_(std::move(decoded)), pixels_(decoded_.pixels()) {}

void Image::CutTo(const zepcRect& part) {
  const size_t pixel_bytes = BytesOf(pixels_.sample) * static_cast<size_t>(channels());
  pixels_.data = Row(part.y) + static_cast<size_t>(part.x) * pixel_bytes;
  pixels_.width = part.width;
  pixels_.height = part.height;
}

bool IsOpaque(const Image& image) {
  const Form form = image.form();
  if (!HasAlpha(form.layout)) return true;
  const uint32_t full = FullOpacity(form);
  const size_t samples = image.SamplesInRow();
  const auto channels = static_cast<size_t>(image.channels());
  const auto is_opaque = BytesOf(form.sample) == 1   ? IsOpaqueRow<uint8_t>
                         : BytesOf(form.sample) == 2 ? IsOpaqueRow<uint16_t>
                                                     : IsOpaqueRow<uint32_t>;
  for (int y = 0; y < image.height(); ++y) {
    if (!is_opaque(image.Row(y), samples, channels, full)) return false;
  }
  return true;
}

Image Converted(const Image& image, const Form& form, zepcOpacity opacity) {
  Image converted(image.width(), image.height(), form);
  zepc::Convert(image.pixels(), converted.pixels(), opacity);
  return converted;
}

Metadata::Metadata(const zepcMetadata& from)
    : exif(CopyOf(from.exif, from.exif_size)),
      icc(CopyOf(from.icc, from.icc_size)),
      xmp(CopyOf(from.xmp, from.xmp_size)),
      jpeg_segments(CopyOf(from.jpeg_segments, from.jpeg_segments_size)),
      orientation(from.orientation),
      resolution_unit(from.resolution_unit),
      resolution_x(from.resolution_x),
      resolution_y(from.resolution_y) {}

zepcMetadata Metadata::View() const {
  auto view = zepc::Make<zepcMetadata>();
  view.exif = exif.data();
  view.exif_size = exif.size();
  view.icc = icc.data();
  view.icc_size = icc.size();
  view.xmp = xmp.data();
  view.xmp_size = xmp.size();
  view.jpeg_segments = jpeg_segments.data();
  view.jpeg_segments_size = jpeg_segments.size();
  view.orientation = orientation;
  view.resolution_unit = resolution_unit;
  view.resolution_x = resolution_x;
  view.resolution_y = resolution_y;
  return view;
}

void MakeUpright(Picture* picture) {
  Image& image = picture->image;
  Metadata& metadata = picture->metadata;
  const int orientation = metadata.orientation;
  if (orientation < 2) return;
  const bool swaps_sides = orientation >= 5;
  Image upright(swaps_sides ? image.height() : image.width(),
                swaps_sides ? image.width() : image.height(), image.form());
  zepc::TurnUpright(image.pixels(), orientation, upright.pixels());
  image = std::move(upright);
  metadata.orientation = 1;
  zepcExifSetUpright(metadata.exif.data(), metadata.exif.size());
  if (swaps_sides) std::swap(metadata.resolution_x, metadata.resolution_y);
}

void CheckPixels(int64_t width, int64_t height, int64_t max_pixels) {
  const std::string claim = std::to_string(width) + " x " + std::to_string(height) + " pixels";
  if (width < 1 || height < 1) throw Failure("the picture has " + claim);
  constexpr int64_t kMostOnASide = int64_t{1} << 28;  // so that rows have less than 2^31 bytes
  if (width <= max_pixels / height && std::max(width, height) <= kMostOnASide) return;
  throw Failure("the header announces " + claim + ", more than the limit of " +
                std::to_string(max_pixels) + " (--max-megapixels)");
}

}  // namespace zepconvert
