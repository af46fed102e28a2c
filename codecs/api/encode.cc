// SPDX-License-Identifier: MIT
#include "codecs/api/encode.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>

#include "codecs/api/codec.h"
#include "codecs/api/error.h"
#include "codecs/api/structs.h"
#include "codecs/support/convert.h"
#include "codecs/support/exif.h"

namespace zepcodec::api {
namespace {

// Samples beyond their depth would index tables out of their range.
Status CheckDepth(const Picture& picture) {
  const bool is_whole = picture.bits() == 8 * BytesOf(picture.type());
  const int most = is_whole ? 0 : picture.MaxValue();
  for (size_t i = 0; !is_whole && i < picture.SampleCount(); ++i) {
    if (picture.Get(i) > most) return Status::BadOption("a sample has more bits than it should");
  }
  return Status();
}

// The caller's rows, from memory or from the callback.
class CallerRows : public RowSource {
 public:
  CallerRows(const zepcPixels& pixels, const PixelFormat& format, const zepcEncodeOptions& options)
      : pixels_(pixels), format_(format), options_(options) {
    // A picture without rows needs no room.
    (void)form_.Borrow(nullptr, pixels.width, pixels.height, format.layout, format.type,
                       format.bits);
    form_.metadata() = MetadataOf(options.metadata);
  }

  const Picture& form() const override { return form_; }

 protected:
  Status Read(int y, int count, Picture* rows) override {
    Status status = options_.rows != nullptr ? Call(y, count, rows) : TakePixels(y, count, rows);
    return status.ok() ? CheckDepth(*rows) : status;
  }

 private:
  // Whether a picture can have the caller's pixels as they are: rows without gaps, red first.
  bool IsPicture() const {
    const size_t row_bytes = static_cast<size_t>(pixels_.width) * format_.BytesPerPixel();
    const auto address = reinterpret_cast<uintptr_t>(pixels_.data);
    return pixels_.stride == row_bytes && !format_.is_bgr &&
           address % static_cast<size_t>(BytesOf(format_.type)) == 0;
  }

  Status TakePixels(int y, int count, Picture* rows) {
    const uint8_t* const data =
        static_cast<const uint8_t*>(pixels_.data) + static_cast<size_t>(y) * pixels_.stride;
    if (IsPicture()) {
      return rows->BorrowLike(form_, data, pixels_.width, count) ? Status() : Status::NoMemory();
    }
    if (!rows->ResizeLike(form_, pixels_.width, count)) return Status::NoMemory();
    return Convert({data, pixels_.stride, pixels_.width, count, format_}, {}, PixelsOf(rows));
  }

  Status Call(int y, int count, Picture* rows) {
    if (!rows->ResizeLike(form_, pixels_.width, count)) return Status::NoMemory();
    zepcPixels wanted = pixels_;
    wanted.data = rows->Row(0);
    wanted.stride = rows->Stride();
    wanted.height = count;
    if (format_.is_bgr) {
      if (!band_.Resize(rows->SizeInBytes())) return Status::NoMemory();
      wanted.data = band_.data();
    }
    if (options_.rows(options_.rows_user, &wanted, y) != 0) return Status::Cancelled();
    if (!format_.is_bgr) return Status();
    return Convert({band_.data(), wanted.stride, wanted.width, count, format_}, {}, PixelsOf(rows));
  }

  const zepcPixels& pixels_;
  PixelFormat format_;
  const zepcEncodeOptions& options_;
  Picture form_;
  ByteBuffer band_;  // rows with blue first
};

// Hands the bytes of a file to the caller's callback.
class CallerBytes : public ByteSink {
 public:
  CallerBytes(zepcWrite write, void* user) : write_(write), user_(user) {}

  Status Write(const uint8_t* bytes, size_t size) override {
    constexpr size_t kMostAtOnce = size_t{1} << 16;
    for (size_t at = 0; at < size; at += kMostAtOnce) {
      if (write_(user_, bytes + at, std::min(kMostAtOnce, size - at)) != 0) {
        return Status::WriteFailed();
      }
    }
    return Status();
  }

 private:
  zepcWrite write_;
  void* user_;
};

Resolution::Unit UnitOf(zepcResolutionUnit unit) {
  switch (unit) {
    case zepcResolutionShape: return Resolution::Unit::kShape;
    case zepcResolutionInch: return Resolution::Unit::kInch;
    case zepcResolutionCm: return Resolution::Unit::kCentimetre;
    default: return Resolution::Unit::kNone;
  }
}

// With a sink, `bytes` gets the end of the file.
zepcStatus EncodePixels(const zepcPixels& pixels, const zepcEncodeOptions& options, ByteSink* sink,
                        ByteBuffer* bytes) {
  const std::optional<PixelFormat> format = FormatOf(pixels);
  const zepcStatus bad_pixels =
      options.rows != nullptr ? CheckForm(pixels, format) : CheckPixels(pixels, format);
  if (bad_pixels != zepcStatusOk) return bad_pixels;
  const Codec* const codec = CodecOf(options.format);
  if (codec == nullptr) return Fail(zepcStatusUnknownFormat, "there is no such format");
  if (Status status = CheckRange("threads", options.threads, 0, 1024); !status.ok()) {
    return StatusOf(status, zepcStatusBadArgument);
  }
  if (const zepcStatus bad = CheckMetadata(options.metadata); bad != zepcStatusOk) return bad;
  Watch watch(options.progress, options.progress_user);
  CallerRows rows(pixels, *format, options);
  const EncodeRequest request = {options, watch.progress(), sink};
  return StatusOf(codec->encode(&rows, request, bytes), zepcStatusBadArgument);
}

zepcStatus CheckCall(const zepcPixels* pixels, const zepcEncodeOptions* options) {
  if (pixels == nullptr || options == nullptr) return BadArgument("a null pointer");
  const auto has_size = [](const auto* given) { return given == nullptr || HasSize(given); };
  if (!HasSize(pixels) || !HasSize(options)) return BadArgument("the size of a struct is not set");
  const zepcEncodeOptions whole = Complete(options);
  if (!has_size(whole.jpeg) || !has_size(whole.lossless_jpeg) || !has_size(whole.jpeg2000) ||
      !has_size(whole.jpeg_xr) || !has_size(whole.dds) || !has_size(whole.tiff)) {
    return BadArgument("the size of a format's options is not set");
  }
  return zepcStatusOk;
}

}  // namespace

zepcStatus CheckMetadata(const zepcMetadata* given) {
  if (given == nullptr) return zepcStatusOk;
  if (!HasSize(given)) return BadArgument("the size of the metadata is not set");
  const zepcMetadata whole = Complete(given);
  if ((whole.exif == nullptr && whole.exif_size > 0) ||
      (whole.icc == nullptr && whole.icc_size > 0) ||
      (whole.xmp == nullptr && whole.xmp_size > 0) ||
      (whole.jpeg_segments == nullptr && whole.jpeg_segments_size > 0)) {
    return BadArgument("metadata of some size is null");
  }
  for (const Status& status :
       {CheckRange("orientation", whole.orientation, 0, 8),
        CheckRange("resolution_unit", whole.resolution_unit, 0, zepcResolutionCm)}) {
    if (!status.ok()) return StatusOf(status, zepcStatusBadArgument);
  }
  const auto is_good = [](double resolution) { return resolution >= 0 && resolution <= 1e9; };
  return is_good(whole.resolution_x) && is_good(whole.resolution_y)
             ? zepcStatusOk
             : BadArgument("the resolution must lie in 0 to 10^9");
}

Metadata MetadataOf(const zepcMetadata* given) {
  const zepcMetadata whole = Complete(given);
  const auto bytes = [](const void* data, size_t size) {
    const auto* const first = static_cast<const uint8_t*>(data);
    return size == 0 ? std::vector<uint8_t>() : std::vector<uint8_t>(first, first + size);
  };
  Metadata metadata;
  metadata.exif = bytes(whole.exif, whole.exif_size);
  metadata.icc_profile = bytes(whole.icc, whole.icc_size);
  metadata.xmp = bytes(whole.xmp, whole.xmp_size);
  metadata.jpeg_segments = bytes(whole.jpeg_segments, whole.jpeg_segments_size);
  metadata.orientation = OrientationOfExif(metadata.exif);
  if (metadata.orientation == 0 && whole.orientation > 1) {
    metadata.exif = WithOrientation(whole.orientation, metadata.exif);
    metadata.orientation = whole.orientation;
  }
  metadata.resolution = {UnitOf(whole.resolution_unit), whole.resolution_x, whole.resolution_y};
  return metadata;
}

zepcStatus HandOut(ByteBuffer* bytes, void** file, size_t* file_size) {
  *file_size = bytes->size();
  *file = bytes->Release();
  return zepcStatusOk;
}

}  // namespace zepcodec::api

namespace api = zepcodec::api;

zepcStatus zepcEncode(const zepcPixels* pixels, const zepcEncodeOptions* options, void** file,
                      size_t* file_size) {
  return api::Guarded([&] {
    if (file == nullptr || file_size == nullptr) return api::BadArgument("a null pointer");
    if (const zepcStatus bad = api::CheckCall(pixels, options); bad != zepcStatusOk) return bad;
    zepcodec::ByteBuffer bytes;
    const zepcStatus status =
        api::EncodePixels(api::Complete(pixels), api::Complete(options), nullptr, &bytes);
    return status == zepcStatusOk ? api::HandOut(&bytes, file, file_size) : status;
  });
}

zepcStatus zepcEncodeTo(const zepcPixels* pixels, const zepcEncodeOptions* options, zepcWrite write,
                        void* write_user) {
  return api::Guarded([&] {
    if (write == nullptr) return api::BadArgument("a null pointer");
    if (const zepcStatus bad = api::CheckCall(pixels, options); bad != zepcStatusOk) return bad;
    api::CallerBytes sink(write, write_user);
    zepcodec::ByteBuffer bytes;
    const zepcStatus status =
        api::EncodePixels(api::Complete(pixels), api::Complete(options), &sink, &bytes);
    if (status != zepcStatusOk) return status;
    return api::StatusOf(sink.Write(bytes.data(), bytes.size()), zepcStatusWriteFailed);
  });
}

void zepcFree(void* file) { zepcodec::FreeBytes(static_cast<uint8_t*>(file)); }
