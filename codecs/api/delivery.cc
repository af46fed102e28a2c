// SPDX-License-Identifier: MIT
#include "codecs/api/delivery.h"

#include <algorithm>
#include <optional>

namespace zepcodec::api {
namespace {

PixelLayout LayoutFor(zepcLayout wanted, zepcOpacity opacity, PixelLayout native) {
  if (const std::optional<PixelLayout> channels = ChannelsOf(wanted)) return *channels;
  if (opacity == zepcOpacityAuto || !HasAlpha(native)) return native;
  return IsGrey(native) ? PixelLayout::kGrey : PixelLayout::kRgb;
}

}  // namespace

Target TargetFor(const zepcDecodeOptions& options, const Picture& picture) {
  Target target;
  target.format = zepcodec::FormatOf(picture);
  target.format.layout = LayoutFor(options.layout, options.opacity, picture.layout());
  target.format.is_bgr = IsBgr(options.layout);
  if (const std::optional<SampleType> type = TypeOf(options.sample)) {
    target.format.type = *type;
    target.format.bits = 8 * BytesOf(*type);
  }
  target.opacity = OpacityOf(options.opacity, options.background);
  return target;
}

bool IsAsWanted(const Target& target, const Picture& picture) {
  const PixelFormat native = zepcodec::FormatOf(picture);
  return native.layout == target.format.layout && native.type == target.format.type &&
         native.bits == target.format.bits && !target.format.is_bgr &&
         !(target.opacity.is_removed && HasAlpha(native.layout));
}

int64_t PixelBytes(zepcLayout layout, zepcSample sample) {
  const PixelLayout channels = LayoutFor(layout, zepcOpacityAuto, PixelLayout::kRgba);
  return int64_t{ChannelCount(channels)} * BytesOf(TypeOf(sample).value_or(SampleType::kU8));
}

Status RowDelivery::Take(const Picture& rows, int y) {
  const Target target = TargetFor(options_, rows);
  const int most = std::min(kRowsAtOnce, rows.height());
  for (int first = 0; first < rows.height(); first += most) {
    const int count = std::min(most, rows.height() - first);
    ConstPixels part = {rows.Row(first), rows.Stride(), rows.width(), count,
                        zepcodec::FormatOf(rows)};
    if (!IsAsWanted(target, rows)) {
      if (Status status = Convert(target, &part); !status.ok()) return status;
    }
    if (Status status = Call(part, y + first); !status.ok()) return status;
  }
  return Status();
}

Status RowDelivery::Convert(const Target& target, ConstPixels* rows) {
  const size_t stride = static_cast<size_t>(rows->width) * target.format.BytesPerPixel();
  if (!band_.Resize(stride * static_cast<size_t>(rows->height))) return Status::NoMemory();
  const Pixels to = {band_.data(), stride, rows->width, rows->height, target.format};
  Status status = ConvertPixels(*rows, target.opacity, to);
  *rows = {to.data, stride, to.width, to.height, target.format};
  return status;
}

Status RowDelivery::Call(const ConstPixels& rows, int y) {
  const zepcPixels pixels = {sizeof(zepcPixels),
                             const_cast<uint8_t*>(rows.data),
                             rows.stride,
                             rows.width,
                             rows.height,
                             LayoutOf(rows.format.layout, rows.format.is_bgr),
                             SampleOf(rows.format.type),
                             rows.format.bits};
  return options_.rows(options_.rows_user, &pixels, y) == 0 ? Status() : Status::Cancelled();
}

}  // namespace zepcodec::api
