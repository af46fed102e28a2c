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
#include "codecs/api/delivery.h"
#include "codecs/api/error.h"
#include "codecs/api/picture.h"
#include "codecs/api/structs.h"
#include "codecs/support/convert.h"
#include "codecs/support/exif.h"
#include "codecs/support/orientation.h"

namespace zepcodec::api {
namespace {

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

// One file that is decoded.
class Decoding {
 public:
  Decoding(const File& file, const zepcDecodeOptions& options)
      : file_(file),
        watch_(options.progress, options.progress_user),
        request_{options, watch_.progress(), {}, nullptr, false},
        rows_(request_.options) {
    if (request_.options.max_pixels == 0) request_.options.max_pixels = kUsualMaxPixels;
    if (request_.options.max_memory == 0) request_.options.max_memory = kUsualMaxMemory;
  }

  const zepcDecodeOptions& options() const { return request_.options; }
  // The region, turned upright.
  const Picture& picture() const { return picture_; }
  Picture TakePicture() { return std::move(picture_); }

  zepcStatus Probe(Findings* info) {
    codec_ = CodecOfFile(file_);
    if (codec_ == nullptr) return Fail(zepcStatusUnknownFormat, "the format is not known");
    if (options().applies_orientation != 0) {
      request_.region = WantedRegion();
      request_.rows = nullptr;
      if (const zepcStatus status = ReadHeaders(info); status != zepcStatusOk) return status;
      turn_ = UprightOf(info->orientation);
    }
    request_.region = WantedRegion(RegionOf(options()), turn_);
    // Rows of a turned picture cannot be handed out in the order in which they are stored.
    if (options().rows != nullptr && turn_.IsNone()) request_.rows = &rows_;
    return ReadHeaders(info);
  }

  zepcStatus ProbeMetadata(Findings* info) {
    request_.metadata_only = true;
    return Probe(info);
  }

  // Fills the metadata and messages of `result`. zepcStatusDamaged where damage is accepted.
  zepcStatus Decode(zepcPicture* result) {
    Findings info{};
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
    if (!turn_.IsNone()) {
      if (Status status = MakeUpright(); !status.ok()) {
        return StatusOf(status, zepcStatusUnsupported);
      }
      MakeMetadataUpright(&result->metadata);
    }
    return report.damage.empty() ? zepcStatusOk : zepcStatusDamaged;
  }

  // As the picture is handed out.
  void MakeMetadataUpright(Metadata* metadata) const {
    if (turn_.IsNone()) return;
    metadata->orientation = 1;
    SetExifUpright(&metadata->exif);
    if (turn_.transposes) std::swap(metadata->resolution.x, metadata->resolution.y);
  }

  // Hands out the rows that the codec has not handed out itself.
  Status DeliverRows() { return picture_.width() > 0 ? rows_.Take(picture_, 0) : Status(); }

 private:
  static Region RegionOf(const zepcDecodeOptions& options) {
    const zepcRect& region = options.region;
    return {region.x, region.y, region.width, region.height};
  }

  zepcStatus ReadHeaders(Findings* info) {
    *info = Findings();
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
    AddConversion(info);
    return zepcStatusOk;
  }

  // The memory of turning and conversion. It is needed when the codec's own memory is free again,
  // except for the rows that a codec gives.
  void AddConversion(Findings* info) const {
    const zepcDecodeOptions& wanted = options();
    const int shift = info->format == zepcFormatDds ? wanted.level : wanted.reduce;
    const auto reduced = [&](int32_t side) {
      return std::max<int64_t>((int64_t{side} + (int64_t{1} << shift) - 1) >> shift, 1);
    };
    const int64_t stored_width = reduced(info->width);
    const int64_t stored_height = reduced(info->height);
    const bool is_part = wanted.region.width > 0;
    // A region outside of the picture is refused later.
    const int64_t sides = std::max(stored_width, stored_height);
    const int64_t width = is_part ? std::min<int64_t>(wanted.region.width, sides) : stored_width;
    const int64_t height =
        is_part ? std::clamp<int64_t>(wanted.region.height, 1, sides) : stored_height;
    const zepcLayout layout = wanted.layout == zepcLayoutNative ? info->layout : wanted.layout;
    const zepcSample sample = wanted.sample == zepcSampleNative ? info->sample : wanted.sample;
    const int64_t native = PictureBytes(width, height, PixelBytes(info->layout, info->sample));
    const bool is_whole = wanted.rows == nullptr;
    const int64_t rows = is_whole ? height : std::min<int64_t>(height, RowDelivery::kRowsAtOnce);
    const int64_t converted = layout == info->layout && sample == info->sample
                                  ? 0
                                  : PictureBytes(is_whole ? width : std::max(width, height), rows,
                                                 PixelBytes(layout, sample));
    if (info->gives_rows) {
      info->memory += converted;
    } else {
      const int64_t turned = turn_.IsNone() ? 0 : native;
      info->memory = std::max(info->memory, native + std::max(turned, converted));
    }
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

  Status MakeUpright() {
    Picture upright;
    if (Status status = Apply(turn_, picture_, &upright); !status.ok()) return status;
    picture_ = std::move(upright);
    return Status();
  }

  File file_;
  Watch watch_;
  DecodeRequest request_;
  RowDelivery rows_;
  Turn turn_;  // that is wanted
  const Codec* codec_ = nullptr;
  Picture picture_;
};

// A picture that the library allocates: the decoded one itself if nothing has to be changed.
Status DeliverPicture(const Target& target, Decoding* decoding, zepcPicture* result) {
  const Picture& picture = decoding->picture();
  if (IsAsWanted(target, picture)) {
    result->pixels = decoding->TakePicture();
    return Status();
  }
  if (!Resize(target.format, picture.width(), picture.height(), &result->pixels)) {
    return Status::NoMemory();
  }
  result->is_bgr = target.format.is_bgr;
  Pixels to = PixelsOf(&result->pixels);
  to.format.is_bgr = target.format.is_bgr;
  return ConvertPixels(PixelsOf(picture), target.opacity, to);
}

zepcStatus DecodeFile(const File& file, const zepcDecodeOptions& options, zepcPicture** picture) {
  auto result = std::make_unique<zepcPicture>();
  Decoding decoding(file, options);
  const zepcStatus status = decoding.Decode(result.get());
  if (status < 0) return status;
  const Status delivered =
      options.rows != nullptr
          ? decoding.DeliverRows()
          : DeliverPicture(TargetFor(options, decoding.picture()), &decoding, result.get());
  if (!delivered.ok()) return StatusOf(delivered, zepcStatusBadArgument);
  *picture = result.release();
  return status;
}

zepcStatus CheckBuffer(const zepcPixels& to, const Picture& picture, const Target& target) {
  if (to.width != picture.width() || to.height != picture.height()) {
    const std::string text = "the picture has " + std::to_string(picture.width()) + " x " +
                             std::to_string(picture.height()) + " pixels, the buffer " +
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
  options.rows = nullptr;
  Decoding decoding(file, options);
  const zepcStatus status = decoding.Decode(result.get());
  if (status < 0) return status;
  const Picture& picture = decoding.picture();
  Target target = TargetFor(options, picture);
  if (to.bits > 0) target.format.bits = to.bits;
  if (const zepcStatus bad = CheckBuffer(to, picture, target); bad != zepcStatusOk) return bad;
  const Status delivered = ConvertPixels(
      PixelsOf(picture), target.opacity,
      {static_cast<uint8_t*>(to.data), to.stride, to.width, to.height, target.format});
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
    api::Findings whole{};
    api::Decoding decoding({static_cast<const uint8_t*>(data), size}, api::Complete(options));
    const zepcStatus status = decoding.Probe(&whole);
    if (status == zepcStatusOk) api::Fill<zepcInfo>(whole, info);
    return status;
  });
}

zepcStatus zepcReadMetadata(const void* data, size_t size, const zepcDecodeOptions* options,
                            zepcPicture** picture) {
  return api::Guarded([&] {
    const zepcStatus bad = api::CheckCall(data, options, picture);
    if (bad != zepcStatusOk) return bad;
    auto result = std::make_unique<zepcPicture>();
    api::Findings info{};
    api::Decoding decoding({static_cast<const uint8_t*>(data), size}, api::Complete(options));
    const zepcStatus status = decoding.ProbeMetadata(&info);
    if (status != zepcStatusOk) return status;
    result->metadata = std::move(info.metadata);
    decoding.MakeMetadataUpright(&result->metadata);
    *picture = result.release();
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
