// SPDX-License-Identifier: MIT
#include "codecs/api/pixels.h"

namespace zepcodec::api {

std::optional<PixelLayout> ChannelsOf(zepcLayout layout) {
  switch (layout) {
    case zepcLayoutNative: break;
    case zepcLayoutGrey: return PixelLayout::kGrey;
    case zepcLayoutGreyAlpha: return PixelLayout::kGreyAlpha;
    case zepcLayoutRgb:
    case zepcLayoutBgr: return PixelLayout::kRgb;
    case zepcLayoutRgba:
    case zepcLayoutBgra: return PixelLayout::kRgba;
    case zepcLayoutCmyk: return PixelLayout::kCmyk;
  }
  return std::nullopt;
}

std::optional<SampleType> TypeOf(zepcSample sample) {
  switch (sample) {
    case zepcSampleNative: break;
    case zepcSampleU8: return SampleType::kU8;
    case zepcSampleU16: return SampleType::kU16;
    case zepcSampleS16: return SampleType::kS16;
    case zepcSampleS32: return SampleType::kS32;
    case zepcSampleF16: return SampleType::kF16;
    case zepcSampleF32: return SampleType::kF32;
  }
  return std::nullopt;
}

bool IsBgr(zepcLayout layout) { return layout == zepcLayoutBgr || layout == zepcLayoutBgra; }

zepcLayout LayoutOf(PixelLayout layout, bool is_bgr) {
  switch (layout) {
    case PixelLayout::kGrey: return zepcLayoutGrey;
    case PixelLayout::kGreyAlpha: return zepcLayoutGreyAlpha;
    case PixelLayout::kRgb: return is_bgr ? zepcLayoutBgr : zepcLayoutRgb;
    case PixelLayout::kRgba: return is_bgr ? zepcLayoutBgra : zepcLayoutRgba;
    case PixelLayout::kCmyk: return zepcLayoutCmyk;
  }
  return zepcLayoutNative;
}

zepcSample SampleOf(SampleType type) {
  switch (type) {
    case SampleType::kU8: return zepcSampleU8;
    case SampleType::kU16: return zepcSampleU16;
    case SampleType::kS16: return zepcSampleS16;
    case SampleType::kS32: return zepcSampleS32;
    case SampleType::kF16: return zepcSampleF16;
    case SampleType::kF32: return zepcSampleF32;
  }
  return zepcSampleNative;
}

std::optional<PixelFormat> FormatOf(const zepcPixels& pixels) {
  const std::optional<PixelLayout> layout = ChannelsOf(pixels.layout);
  const std::optional<SampleType> type = TypeOf(pixels.sample);
  if (!layout || !type) return std::nullopt;
  const int whole = 8 * BytesOf(*type);
  const int least = *type == SampleType::kU8 ? 1 : *type == SampleType::kU16 ? 9 : whole;
  const int bits = pixels.bits == 0 ? whole : pixels.bits;
  if (bits < least || bits > whole) return std::nullopt;
  return PixelFormat{*layout, *type, bits, IsBgr(pixels.layout)};
}

bool Resize(const PixelFormat& format, int width, int height, Picture* picture) {
  return IsUnsigned(format.type) ? picture->Resize(width, height, format.layout, format.bits)
                                 : picture->Resize(width, height, format.layout, format.type);
}

}  // namespace zepcodec::api
