// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/decoder.h"

#include <algorithm>
#include <new>
#include <string>

#include "codecs/jpegxr/container.h"
#include "codecs/jpegxr/frame_decoder.h"

namespace zepcodec::jpegxr {
namespace {

void FillOpaque(Picture* image) {
  const size_t bytes = image->BytesPerSample();
  const auto channels = static_cast<size_t>(image->channels());
  uint8_t* const samples = image->Row(0);
  for (size_t i = channels - 1; i < image->SampleCount(); i += channels) {
    image->StoreOne(samples + i * bytes);
  }
}

// The codestreams of a file, with their headers read.
class FileDecoder {
 public:
  FileDecoder(const Container& container, const DecodeOptions& options)
      : alpha_(container.alpha), options_(options), decoder_(container.picture, options) {}

  Status ReadHeader() { return decoder_.ReadHeader(); }
  const FrameHeader& frame() const { return decoder_.frame(); }
  PixelLayout Layout() const {
    const bool has_alpha = frame().has_alpha || HasOwnAlpha();
    if (frame().is_rgb) return has_alpha ? PixelLayout::kRgba : PixelLayout::kRgb;
    return has_alpha ? PixelLayout::kGreyAlpha : PixelLayout::kGrey;
  }

  bool HasOwnAlpha() const { return alpha_.size > 0 && !frame().has_alpha; }
  bool GivesRows() const { return options_.rows != nullptr && !HasOwnAlpha(); }

  // The most memory that Decode() takes. It refuses regions that are not inside the picture.
  int64_t Memory() const {
    Region region;
    if (!FindRegion(&region).ok()) return 0;
    const size_t threads = ThreadCount(options_.threads);
    int64_t bytes = decoder_.Memory(region, threads);
    if (HasOwnAlpha()) {
      FrameDecoder alpha(alpha_, options_);
      if (OpenAlpha(&alpha).ok()) bytes = std::max(bytes, alpha.Memory(region, threads));
    }
    const int64_t rows = GivesRows() ? kRowsAtOnce : region.height;
    return bytes + int64_t{ChannelCount(Layout())} * BytesOf(frame().type) * region.width * rows;
  }

  Status Decode(Picture* image, FileInfo* info) {
    Region region;
    if (Status status = FindRegion(&region); !status.ok()) return status;
    Picture form;
    if (!form.Resize(region.width, GivesRows() ? 1 : region.height, Layout(), frame().type,
                     frame().Bits())) {
      return Status::NoMemory();
    }
    ThreadPool pool(options_.threads);
    Target target = {region, &form, GivesRows() ? options_.rows : nullptr, 0};
    Status status = decoder_.Decode(target, &pool, &info->messages);
    if (status.ok() && HasOwnAlpha()) status = DecodeAlpha(target, &pool, info);
    if (status.ok() && !GivesRows()) *image = std::move(form);
    return status;
  }

 private:
  static constexpr int kRowsAtOnce = 32;  // are handed out

  // Sides beyond an int are refused with the picture's size.
  Status FindRegion(Region* region) const {
    return options_.region.In(static_cast<int>(frame().width), static_cast<int>(frame().height),
                              region);
  }

  Status DecodeAlpha(Target target, ThreadPool* pool, FileInfo* info) const {
    FrameDecoder decoder(alpha_, options_);
    Status status = OpenAlpha(&decoder);
    target.channel = ColorCount(target.picture->layout());
    if (status.ok()) status = decoder.Decode(target, pool, &info->messages);
    const Status::Kind kind = status.kind();
    if (kind == Status::Kind::kCancelled || kind == Status::Kind::kNoMemory) return status;
    if (!status.ok()) {
      info->messages.Add("opacity: " + status.text());
      FillOpaque(target.picture);
    }
    return Status();
  }

  Status OpenAlpha(FrameDecoder* decoder) const {
    const Status status = decoder->ReadHeader();
    const FrameHeader& alpha = decoder->frame();
    if (status.ok() &&
        (alpha.width != frame().width || alpha.height != frame().height ||
         alpha.type != frame().type || alpha.Bits() != frame().Bits() || alpha.is_rgb)) {
      return Status::Error("it does not fit the picture");
    }
    return status;
  }

  Span alpha_;
  const DecodeOptions& options_;
  FrameDecoder decoder_;
};

// Reads the headers, then calls `use` with the decoder of the file.
template <class Use>
Status OpenFile(const uint8_t* data, size_t size, const DecodeOptions& options, FileInfo* info,
                const Use& use) {
  try {
    Container container;
    Status status = ReadContainer(data, size, &info->messages, &info->notes, &container);
    if (!status.ok()) return status;
    FileDecoder decoder(container, options);
    status = decoder.ReadHeader();
    info->frame = decoder.frame();
    info->layout = decoder.Layout();
    info->has_own_alpha = decoder.HasOwnAlpha();
    ApplyTransform(info->frame.orientation, &container);
    info->metadata = container.metadata;
    return status.ok() ? use(&decoder) : status;
  } catch (const std::bad_alloc&) {
    return Status::NoMemory();
  }
}

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* image,
              FileInfo* info) {
  return OpenFile(data, size, options, info,
                  [&](FileDecoder* decoder) { return decoder->Decode(image, info); });
}

Status EstimateMemory(const uint8_t* data, size_t size, const DecodeOptions& options,
                      int64_t* bytes) {
  FileInfo info;
  return OpenFile(data, size, options, &info, [&](FileDecoder* decoder) {
    *bytes = decoder->Memory();
    return Status();
  });
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  const DecodeOptions options;
  return OpenFile(data, size, options, info, [](FileDecoder*) { return Status(); });
}

}  // namespace zepcodec::jpegxr
