// SPDX-License-Identifier: MIT
// A picture on its way from a file to the caller: decoded as the file has it, turned upright, cut,
// and converted last, so that conversions work on no more pixels than are wanted.
#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "codecs/api/codec.h"
#include "codecs/api/error.h"
#include "codecs/api/picture.h"
#include "codecs/api/structs.h"
#include "codecs/support/convert.h"
#include "codecs/support/exif.h"
#include "codecs/support/orientation.h"

namespace zepcodec::api {
namespace {

constexpr int kRowsAtOnce = 64;  // for the caller's callback

Status CheckOptions(const zepcDecodeOptions& options) {
  const struct {
    const char* name;
    int64_t value;
    int64_t most;
  } kRanges[] = {{"max_pixels", options.max_pixels, INT64_MAX},
                 {"max_memory", options.max_memory, INT64_MAX},
                 {"threads", options.threads, 1024},
                 {"reduce", options.reduce, 32},
                 {"layers", options.layers, 65535},
                 {"level", options.level, 32},
                 {"layout", options.layout, zepcLayoutCmyk},
                 {"sample", options.sample, zepcSampleF32},
                 {"opacity", options.opacity, zepcOpacityDrop},
                 {"region.x", options.region.x, INT32_MAX},
                 {"region.y", options.region.y, INT32_MAX},
                 {"region.width", options.region.width, INT32_MAX},
                 {"region.height", options.region.height, INT32_MAX}};
  for (const auto& range : kRanges) {
    if (Status status = CheckRange(range.name, range.value, 0, range.most); !status.ok()) {
      return status;
    }
  }
  return Status();
}

// What the caller wants of the pixels.
struct Target {
  PixelFormat format;
  OpacityUse opacity;
};

PixelLayout LayoutFor(zepcLayout wanted, zepcOpacity opacity, PixelLayout native) {
  if (const std::optional<PixelLayout> channels = ChannelsOf(wanted)) return *channels;
  if (opacity == zepcOpacityAuto || !HasAlpha(native)) return native;
  return IsGrey(native) ? PixelLayout::kGrey : PixelLayout::kRgb;
}

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

// The pixels of a region, in place.
Status PixelsOfRegion(const zepcRect& region, const Picture& picture, ConstPixels* pixels) {
  *pixels = PixelsOf(picture);
  if (region.width == 0) return Status();
  if (region.height < 1 || region.x > picture.width() - region.width ||
      region.y > picture.height() - region.height) {
    return Status::Error("the region is not inside the picture of " +
                         std::to_string(picture.width()) + " x " +
                         std::to_string(picture.height()) + " pixels");
  }
  pixels->data += static_cast<size_t>(region.y) * pixels->stride +
                  static_cast<size_t>(region.x) * pixels->format.BytesPerPixel();
  pixels->width = region.width;
  pixels->height = region.height;
  return Status();
}

int64_t PixelBytes(zepcLayout layout, zepcSample sample) {
  const PixelLayout channels = LayoutFor(layout, zepcOpacityAuto, PixelLayout::kRgba);
  return int64_t{ChannelCount(channels)} * BytesOf(TypeOf(sample).value_or(SampleType::kU8));
}

// One file that is decoded.
class Decoding {
 public:
  Decoding(const File& file, const zepcDecodeOptions& options)
      : file_(file),
        watch_(options.progress, options.progress_user),
        request_{options, watch_.progress()} {
    if (request_.options.max_pixels == 0) request_.options.max_pixels = kUsualMaxPixels;
    if (request_.options.max_memory == 0) request_.options.max_memory = kUsualMaxMemory;
  }

  const zepcDecodeOptions& options() const { return request_.options; }
  const Picture& picture() const { return picture_; }
  Picture TakePicture() { return std::move(picture_); }

  zepcStatus Probe(zepcInfo* info) {
    codec_ = CodecOfFile(file_);
    if (codec_ == nullptr) return Fail(zepcStatusUnknownFormat, "the format is not known");
    info->format = codec_->facts.format;
    info->layers = info->pictures = info->tiles_across = info->tiles_down = 1;
    if (Status status = codec_->probe(file_, request_, info); !status.ok()) {
      return StatusOf(status, zepcStatusBadFile);
    }
    if (info->width > options().max_pixels / info->height) {
      const std::string text = std::to_string(info->width) + " x " + std::to_string(info->height) +
                               " pixels are more than the limit of " +
                               std::to_string(options().max_pixels);
      return Fail(zepcStatusTooLarge, text.c_str());
    }
    info->memory = std::max(info->memory, MemoryAfterwards(*info));
    return zepcStatusOk;
  }

  // Fills the metadata and messages of `result`. zepcStatusDamaged where damage is accepted.
  zepcStatus Decode(zepcPicture* result) {
    zepcInfo info{};
    if (const zepcStatus status = Probe(&info); status != zepcStatusOk) return status;
    if (info.memory > options().max_memory && options().threads != 1) {
      // A single thread takes less.
      request_.options.threads = 1;
      if (const zepcStatus status = Probe(&info); status != zepcStatusOk) return status;
    }
    if (info.memory > options().max_memory) {
      const std::string text = "decoding takes about " + std::to_string(info.memory) +
                               " bytes, more than the limit of " +
                               std::to_string(options().max_memory);
      return Fail(zepcStatusTooLarge, text.c_str());
    }
    Report report;
    if (Status status = codec_->decode(file_, request_, &picture_, &report); !status.ok()) {
      return StatusOf(status, zepcStatusBadFile);
    }
    TakeNotes(report, result);
    if (!report.damage.empty() && options().keeps_damaged == 0) {
      return Fail(zepcStatusBadFile, result->notes[0].text.c_str());
    }
    result->metadata = std::move(picture_.metadata());
    if (options().applies_orientation != 0) {
      if (Status status = MakeUpright(result); !status.ok()) {
        return StatusOf(status, zepcStatusUnsupported);
      }
    }
    return report.damage.empty() ? zepcStatusOk : zepcStatusDamaged;
  }

  // Converts the region into `to`.
  Status Deliver(const Target& target, const Pixels& to) {
    ConstPixels from{};
    if (Status status = PixelsOfRegion(options().region, picture_, &from); !status.ok()) {
      return status;
    }
    return ConvertPixels(from, target.opacity, to);
  }

  // The size of the region.
  int width() const {
    return options().region.width > 0 ? options().region.width : picture_.width();
  }
  int height() const {
    return options().region.width > 0 ? options().region.height : picture_.height();
  }

 private:
  // The memory of turning and conversion, when the codec's own memory is free again.
  int64_t MemoryAfterwards(const zepcInfo& info) const {
    const zepcDecodeOptions& wanted = options();
    const int shift = info.format == zepcFormatDds ? wanted.level : wanted.reduce;
    const int64_t width =
        std::max<int64_t>((int64_t{info.width} + (int64_t{1} << shift) - 1) >> shift, 1);
    const int64_t height =
        std::max<int64_t>((int64_t{info.height} + (int64_t{1} << shift) - 1) >> shift, 1);
    const int64_t native = PictureBytes(width, height, PixelBytes(info.layout, info.sample));
    const bool is_turned = wanted.applies_orientation != 0 && info.orientation > 1;
    const zepcLayout layout = wanted.layout == zepcLayoutNative ? info.layout : wanted.layout;
    const zepcSample sample = wanted.sample == zepcSampleNative ? info.sample : wanted.sample;
    const bool is_part = wanted.region.width > 0;
    if (!is_part && layout == info.layout && sample == info.sample && wanted.rows == nullptr) {
      return is_turned ? 2 * native : native;
    }
    int64_t rows = is_part ? std::max(wanted.region.height, 1) : is_turned ? width : height;
    if (wanted.rows != nullptr) rows = std::min<int64_t>(rows, kRowsAtOnce);
    const int64_t columns = is_part ? wanted.region.width : is_turned ? height : width;
    const int64_t sides = std::max(width, height);  // a region outside of it is refused later
    const int64_t result =
        PictureBytes(std::min(columns, sides), std::min(rows, sides), PixelBytes(layout, sample));
    return native + std::max(is_turned ? native : 0, result);
  }

  static void TakeNotes(const Report& report, zepcPicture* result) {
    const auto take = [&](const Messages& messages, bool is_damage) {
      for (const Message& message : messages.kept()) {
        result->notes.push_back({is_damage, message.offset, message.ToString()});
      }
      const int64_t more = messages.count() - static_cast<int64_t>(messages.kept().size());
      if (more > 0) {
        result->notes.push_back({is_damage, -1, "and " + std::to_string(more) + " more"});
      }
    };
    take(report.damage, true);
    take(report.notes, false);
  }

  Status MakeUpright(zepcPicture* result) {
    const Turn turn = UprightOf(result->metadata.orientation);
    if (!turn.transposes && !turn.mirrors_x && !turn.mirrors_y) return Status();
    Picture upright;
    if (Status status = Apply(turn, picture_, &upright); !status.ok()) return status;
    picture_ = std::move(upright);
    result->metadata.orientation = 1;
    SetExifUpright(&result->metadata.exif);
    if (turn.transposes) {
      std::swap(result->metadata.resolution.x, result->metadata.resolution.y);
    }
    return Status();
  }

  File file_;
  Watch watch_;
  DecodeRequest request_;
  const Codec* codec_ = nullptr;
  Picture picture_;
};

// Hands out rows a few at a time.
Status DeliverRows(const Target& target, Decoding* decoding) {
  const zepcDecodeOptions& options = decoding->options();
  ConstPixels from{};
  if (Status status = PixelsOfRegion(options.region, decoding->picture(), &from); !status.ok()) {
    return status;
  }
  ByteBuffer band;
  const size_t stride = static_cast<size_t>(from.width) * target.format.BytesPerPixel();
  const int rows = std::min(kRowsAtOnce, from.height);
  if (!band.Resize(stride * static_cast<size_t>(rows))) return Status::NoMemory();
  for (int y = 0; y < from.height; y += rows) {
    const int count = std::min(rows, from.height - y);
    const ConstPixels part = {from.data + static_cast<size_t>(y) * from.stride, from.stride,
                              from.width, count, from.format};
    Status status = ConvertPixels(part, target.opacity,
                                  {band.data(), stride, from.width, count, target.format});
    if (!status.ok()) return status;
    const zepcPixels pixels = {sizeof(zepcPixels),
                               band.data(),
                               stride,
                               from.width,
                               count,
                               LayoutOf(target.format.layout, target.format.is_bgr),
                               SampleOf(target.format.type),
                               target.format.bits};
    if (options.rows(options.rows_user, &pixels, y) != 0) return Status::Cancelled();
  }
  return Status();
}

// A picture that the library allocates: the decoded one itself if nothing has to be changed.
Status DeliverPicture(const Target& target, Decoding* decoding, zepcPicture* result) {
  ConstPixels region{};
  Status inside = PixelsOfRegion(decoding->options().region, decoding->picture(), &region);
  if (!inside.ok()) return inside;
  const PixelFormat native = zepcodec::FormatOf(decoding->picture());
  const bool is_same = native.layout == target.format.layout && native.type == target.format.type &&
                       native.bits == target.format.bits && !target.format.is_bgr &&
                       !(target.opacity.is_removed && HasAlpha(native.layout)) &&
                       decoding->options().region.width == 0;
  if (is_same) {
    result->pixels = decoding->TakePicture();
    return Status();
  }
  if (!Resize(target.format, decoding->width(), decoding->height(), &result->pixels)) {
    return Status::NoMemory();
  }
  result->is_bgr = target.format.is_bgr;
  Pixels to = PixelsOf(&result->pixels);
  to.format.is_bgr = target.format.is_bgr;
  return decoding->Deliver(target, to);
}

zepcStatus DecodeFile(const File& file, const zepcDecodeOptions& options, zepcPicture** picture) {
  auto result = std::make_unique<zepcPicture>();
  Decoding decoding(file, options);
  const zepcStatus status = decoding.Decode(result.get());
  if (status < 0) return status;
  const Target target = TargetFor(options, decoding.picture());
  const Status delivered = options.rows != nullptr
                               ? DeliverRows(target, &decoding)
                               : DeliverPicture(target, &decoding, result.get());
  if (!delivered.ok()) return StatusOf(delivered, zepcStatusBadArgument);
  *picture = result.release();
  return status;
}

zepcStatus CheckBuffer(const zepcPixels& to, const Decoding& decoding, const Target& target) {
  if (to.width != decoding.width() || to.height != decoding.height()) {
    const std::string text = "the picture has " + std::to_string(decoding.width()) + " x " +
                             std::to_string(decoding.height()) + " pixels, the buffer " +
                             std::to_string(to.width) + " x " + std::to_string(to.height);
    return BadArgument(text.c_str());
  }
  const size_t row_bytes = static_cast<size_t>(to.width) * target.format.BytesPerPixel();
  return to.stride < row_bytes ? BadArgument("the stride is less than a row") : zepcStatusOk;
}

zepcStatus DecodeFileInto(const File& file, zepcDecodeOptions options, const zepcPixels& to,
                          zepcPicture** details) {
  auto result = std::make_unique<zepcPicture>();
  options.layout = to.layout;
  options.sample = to.sample;
  Decoding decoding(file, options);
  const zepcStatus status = decoding.Decode(result.get());
  if (status < 0) return status;
  Target target = TargetFor(options, decoding.picture());
  if (to.bits > 0) target.format.bits = to.bits;
  if (const zepcStatus bad = CheckBuffer(to, decoding, target); bad != zepcStatusOk) return bad;
  const Status delivered = decoding.Deliver(
      target, {static_cast<uint8_t*>(to.data), to.stride, to.width, to.height, target.format});
  if (!delivered.ok()) return StatusOf(delivered, zepcStatusBadArgument);
  if (details != nullptr) *details = result.release();
  return status;
}

zepcStatus CheckCall(const void* data, const zepcDecodeOptions* options, const void* output) {
  if (data == nullptr || output == nullptr) return BadArgument("a null pointer");
  if (options != nullptr && !HasSize(options)) {
    return BadArgument("the size of the options is not set");
  }
  return StatusOf(CheckOptions(Complete(options)), zepcStatusBadArgument);
}

}  // namespace
}  // namespace zepcodec::api

namespace api = zepcodec::api;

zepcStatus zepcProbe(const void* data, size_t size, const zepcDecodeOptions* options,
                     zepcInfo* info) {
  return api::Guarded([&] {
    if (const zepcStatus bad = api::CheckCall(data, options, info); bad != zepcStatusOk) return bad;
    if (!api::HasSize(info)) return api::BadArgument("the size of the info is not set");
    zepcInfo whole{};
    api::Decoding decoding({static_cast<const uint8_t*>(data), size}, api::Complete(options));
    const zepcStatus status = decoding.Probe(&whole);
    if (status == zepcStatusOk) api::Fill(whole, info);
    return status;
  });
}

zepcStatus zepcDecode(const void* data, size_t size, const zepcDecodeOptions* options,
                      zepcPicture** picture) {
  return api::Guarded([&] {
    const zepcStatus bad = api::CheckCall(data, options, picture);
    if (bad != zepcStatusOk) return bad;
    return api::DecodeFile({static_cast<const uint8_t*>(data), size}, api::Complete(options),
                           picture);
  });
}

zepcStatus zepcDecodeInto(const void* data, size_t size, const zepcDecodeOptions* options,
                          const zepcPixels* to, zepcPicture** details) {
  return api::Guarded([&] {
    zepcStatus bad = api::CheckCall(data, options, to);
    if (bad != zepcStatusOk) return bad;
    if (!api::HasSize(to)) return api::BadArgument("the size of the pixels is not set");
    const zepcPixels pixels = api::Complete(to);
    bad = api::CheckPixels(pixels, api::FormatOf(pixels));
    if (bad != zepcStatusOk) return bad;
    return api::DecodeFileInto({static_cast<const uint8_t*>(data), size}, api::Complete(options),
                               pixels, details);
  });
}
