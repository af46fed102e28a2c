// SPDX-License-Identifier: MIT
#include "codecs/api/pixels.h"

#include "codecs/api/codec.h"
#include "codecs/api/error.h"
#include "codecs/api/structs.h"
#include "codecs/support/orientation.h"

namespace zepcodec::api {
namespace {

constexpr int64_t kMostOnASide = int64_t{1} << 28;

// Whether light would have to be blended.
bool IsBlendedLight(const PixelFormat& from, const OpacityUse& opacity, const PixelFormat& to) {
  return !IsUnsigned(to.type) && HasAlpha(from.layout) && !opacity.is_dropped &&
         (opacity.is_removed || !HasAlpha(to.layout));
}

ConstPixels ConstPixelsOf(const zepcPixels& pixels, const PixelFormat& format) {
  return {static_cast<const uint8_t*>(pixels.data), pixels.stride, pixels.width, pixels.height,
          format};
}

Pixels PixelsOf(const zepcPixels& pixels, const PixelFormat& format) {
  return {static_cast<uint8_t*>(pixels.data), pixels.stride, pixels.width, pixels.height, format};
}

zepcStatus ConvertCaller(const zepcPixels& from, zepcOpacity opacity, const uint16_t* background,
                         const zepcPixels& to) {
  const std::optional<PixelFormat> before = FormatOf(from);
  const std::optional<PixelFormat> after = FormatOf(to);
  if (const zepcStatus bad = CheckPixels(from, before); bad != zepcStatusOk) return bad;
  if (const zepcStatus bad = CheckPixels(to, after); bad != zepcStatusOk) return bad;
  if (from.width != to.width || from.height != to.height) {
    return BadArgument("the pixels have different sizes");
  }
  Status status = CheckRange("opacity", opacity, 0, zepcOpacityDrop);
  if (!status.ok()) return StatusOf(status, zepcStatusBadArgument);
  constexpr uint16_t kWhite[3] = {65535, 65535, 65535};
  const OpacityUse use = OpacityOf(opacity, background == nullptr ? kWhite : background);
  status = ConvertPixels(ConstPixelsOf(from, *before), use, PixelsOf(to, *after));
  return StatusOf(status, zepcStatusUnsupported);
}

bool IsSame(const PixelFormat& a, const PixelFormat& b) {
  return a.layout == b.layout && a.type == b.type && a.bits == b.bits && a.is_bgr == b.is_bgr;
}

zepcStatus TurnCaller(const zepcPixels& from, int32_t orientation, const zepcPixels& to) {
  const std::optional<PixelFormat> before = FormatOf(from);
  const std::optional<PixelFormat> after = FormatOf(to);
  if (const zepcStatus bad = CheckPixels(from, before); bad != zepcStatusOk) return bad;
  if (const zepcStatus bad = CheckPixels(to, after); bad != zepcStatusOk) return bad;
  const Status status = CheckRange("orientation", orientation, 1, 8);
  if (!status.ok()) return StatusOf(status, zepcStatusBadArgument);
  if (!IsSame(*before, *after)) return BadArgument("the pixels have different forms");
  const Turn turn = UprightOf(orientation);
  const int32_t width = turn.transposes ? from.height : from.width;
  const int32_t height = turn.transposes ? from.width : from.height;
  if (to.width != width || to.height != height) {
    return BadArgument("the size is not that of the upright picture");
  }
  TurnPixels(turn, ConstPixelsOf(from, *before), PixelsOf(to, *after));
  return zepcStatusOk;
}

// Calls `call` with complete structs.
template <class Call>
zepcStatus GuardedPair(const zepcPixels* from, const zepcPixels* to, const Call& call) {
  return Guarded([&] {
    if (from == nullptr || to == nullptr) return BadArgument("a null pointer");
    if (!HasSize(from) || !HasSize(to)) return BadArgument("the size of the pixels is not set");
    return call(Complete(from), Complete(to));
  });
}

}  // namespace

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

zepcStatus CheckForm(const zepcPixels& pixels, const std::optional<PixelFormat>& format) {
  if (!format) return BadArgument("the pixels have no layout, kind of samples or depth");
  if (pixels.width < 1 || pixels.height < 1 || pixels.width > kMostOnASide ||
      pixels.height > kMostOnASide) {
    return BadArgument("a side must have 1 to 2^28 pixels");
  }
  return zepcStatusOk;
}

zepcStatus CheckPixels(const zepcPixels& pixels, const std::optional<PixelFormat>& format) {
  if (pixels.data == nullptr) return BadArgument("the pixels are null");
  if (const zepcStatus bad = CheckForm(pixels, format); bad != zepcStatusOk) return bad;
  const uint64_t row_bytes = static_cast<uint64_t>(pixels.width) * format->BytesPerPixel();
  return pixels.stride < row_bytes ? BadArgument("the stride is less than a row") : zepcStatusOk;
}

OpacityUse OpacityOf(zepcOpacity opacity, const uint16_t* background) {
  OpacityUse use;
  use.is_removed = opacity != zepcOpacityAuto;
  use.is_dropped = opacity == zepcOpacityDrop;
  if (opacity != zepcOpacityBlend) return use;
  for (size_t c = 0; c < 3; ++c) use.background[c] = background[c] / 65535.0;
  return use;
}

Status ConvertPixels(const ConstPixels& from, const OpacityUse& opacity, const Pixels& to) {
  if (IsBlendedLight(from.format, opacity, to.format)) {
    return Status::Unsupported("opacity of fixed point and floats is kept or dropped only");
  }
  Status status = Convert(from, opacity, to);
  return status.kind() == Status::Kind::kError ? Status::Unsupported(status.text()) : status;
}

bool Resize(const PixelFormat& format, int width, int height, Picture* picture) {
  return IsUnsigned(format.type) ? picture->Resize(width, height, format.layout, format.bits)
                                 : picture->Resize(width, height, format.layout, format.type);
}

}  // namespace zepcodec::api

namespace api = zepcodec::api;

zepcStatus zepcConvert(const zepcPixels* from, zepcOpacity opacity, const uint16_t* background,
                       const zepcPixels* to) {
  return api::GuardedPair(from, to, [&](const zepcPixels& before, const zepcPixels& after) {
    return api::ConvertCaller(before, opacity, background, after);
  });
}

zepcStatus zepcTurnUpright(const zepcPixels* from, int32_t orientation, const zepcPixels* to) {
  return api::GuardedPair(from, to, [&](const zepcPixels& before, const zepcPixels& after) {
    return api::TurnCaller(before, orientation, after);
  });
}
