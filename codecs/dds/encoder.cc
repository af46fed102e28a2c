// SPDX-License-Identifier: MIT
// The rows of blocks of a picture are made in bands, on all threads.
#include <algorithm>
#include <utility>
#include <vector>

#include "codecs/dds/blocks.h"
#include "codecs/dds/codec.h"
#include "codecs/dds/mipmaps.h"
#include "codecs/support/convert.h"
#include "codecs/support/parallel.h"
#include "codecs/support/shared_status.h"

namespace zepcodec::dds {
namespace {

constexpr int kBand = 16;  // rows of pixels

Status CheckOptions(const EncodeOptions& options) {
  if (options.is_ycocg && options.format != BlockFormat::kBc3) {
    return Status::Error("Y Co Cg goes with BC3 only");
  }
  if (!IsWritten(options.format)) return Status::Error("there is no encoder for this format");
  if (options.bc7_mode < -2 || options.bc7_mode > 7) {
    return Status::Error("BC7 has modes 0 to 7");
  }
  return Status();
}

Status CheckForm(const Picture& form, const EncodeOptions& options) {
  if (form.width() < 1 || form.height() < 1 || form.width() > kMostPixelsOnASide ||
      form.height() > kMostPixelsOnASide) {
    return Status::Error("a side must have 1 to 2^28 pixels");
  }
  if (form.type() != SampleType::kU8 && form.type() != SampleType::kU16) {
    return Status::Unsupported("textures are made of unsigned samples");
  }
  const PixelLayout wanted = LayoutOf(options.format, options.is_ycocg);
  if (form.layout() == PixelLayout::kCmyk ||
      (wanted == PixelLayout::kGrey && !IsGrey(form.layout())) ||
      (HasAlpha(form.layout()) && !HasAlpha(wanted))) {
    return Status::Unsupported("the texture cannot hold these channels");
  }
  return Status();
}

size_t BandsOf(int height) { return (static_cast<size_t>(height) + kBand - 1) / kBand; }

// The picture as its texture has it, for the smaller levels. Its rows are converted in bands.
Status TakeAll(PixelLayout layout, RowSource* rows, ThreadPool* pool, Picture* picture) {
  const Picture& form = rows->form();
  if (form.layout() == layout && form.bits() == 8) return rows->All(picture);
  if (!picture->Resize(form.width(), form.height(), layout)) return Status::NoMemory();
  SharedStatus shared;
  Status status = RunParallel(pool, BandsOf(form.height()), [&] {
    return [&](size_t) {
      if (shared.has_failed()) return;
      Picture band;
      int y = 0;
      if (!shared.Take(rows->Next(kBand, &band, &y))) return;
      Pixels to = PixelsOf(picture);
      to.data += static_cast<size_t>(y) * to.stride;
      to.height = band.height();
      shared.Take(Convert(PixelsOf(band), {}, to));
    };
  });
  return shared.has_failed() ? shared.status() : status;
}

class Encoder {
 public:
  Encoder(const EncodeOptions& options, ByteBuffer* file)
      : options_(options), file_(file), pool_(options.threads) {}

  Status Encode(RowSource* rows) {
    const Picture& form = rows->form();
    Header header;
    header.format = options_.format;
    header.is_ycocg = options_.is_ycocg;
    header.width = form.width();
    header.height = form.height();
    header.levels = options_.has_mipmaps ? FullLevelCount(form.width(), form.height()) : 1;
    if (!file_->Resize(0)) return Status::NoMemory();
    if (Status status = AppendHeader(header, options_.style, file_); !status.ok()) return status;
    header.data_offset = file_->size();
    const std::vector<Level> levels = LevelsOf(header);
    size_ = levels.back().offset + levels.back().size;
    if (options_.sink == nullptr) {
      const bool has_room =
          size_ <= SIZE_MAX && file_->MakeRoom(static_cast<size_t>(size_) - file_->size());
      if (!has_room) return Status::NoMemory();
    }
    return levels.size() == 1 ? EncodeLevel(levels[0], rows) : EncodeLevels(levels, rows);
  }

 private:
  Status EncodeLevels(const std::vector<Level>& levels, RowSource* rows) {
    Picture level;
    Status status = TakeAll(LayoutOf(options_.format, options_.is_ycocg), rows, &pool_, &level);
    for (size_t i = 0; i < levels.size() && status.ok(); ++i) {
      if (i > 0) {
        Picture half;
        status = Halve(level, &pool_, &half);
        if (!status.ok()) return status;
        level = std::move(half);
      }
      PictureRows level_rows(level);
      status = EncodeLevel(levels[i], &level_rows);
    }
    return status;
  }

  // With a sink, some bands are in memory at a time.
  Status EncodeLevel(const Level& level, RowSource* rows) {
    const size_t row_bytes = BlockRowBytes(options_.format, level.width);
    const size_t bands = BandsOf(level.height);
    const size_t at_once = options_.sink == nullptr ? bands : std::min(bands, 8 * pool_.size());
    for (size_t first = 0; first < bands; first += at_once) {
      const size_t end = std::min(first + at_once, bands);
      const auto top = static_cast<int>(first) * kBand;
      const int height = std::min(static_cast<int>(end) * kBand, level.height) - top;
      const size_t bytes = (static_cast<size_t>(height) + 3) / 4 * row_bytes;
      const size_t start = file_->size();
      if (!file_->MakeRoom(bytes) || !file_->Resize(start + bytes)) return Status::NoMemory();
      SetPart(level.offset + first * kBand / 4 * row_bytes, bytes);
      Status status = EncodeBands(end - first, top, row_bytes, rows, file_->data() + start);
      if (status.ok()) status = PassOn(options_.sink, file_);
      if (!status.ok()) return status;
    }
    return Status();
  }

  Status EncodeBands(size_t count, int top, size_t row_bytes, RowSource* rows, uint8_t* blocks) {
    Coding coding;
    coding.format = options_.format;
    coding.is_ycocg = options_.is_ycocg;
    coding.bc7_mode = options_.bc7_mode;
    SharedStatus shared;
    if (Stops(options_.progress, 0, 1)) return Status::Cancelled();
    Status status = RunParallel(
        &pool_, count,
        [&] {
          return [&, encoder = BlockEncoder(coding)](size_t) mutable {
            if (shared.has_failed()) return;
            Picture band;
            int y = 0;
            if (!shared.Take(rows->Next(kBand, &band, &y))) return;
            shared.Take(
                encoder.Encode(band, blocks + static_cast<size_t>(y - top) / 4 * row_bytes));
          };
        },
        options_.progress);
    return shared.has_failed() ? shared.status() : status;
  }

  void SetPart(uint64_t offset, uint64_t bytes) const {
    if (options_.progress == nullptr) return;
    options_.progress->SetPart(static_cast<double>(offset) / static_cast<double>(size_),
                               static_cast<double>(offset + bytes) / static_cast<double>(size_));
  }

  const EncodeOptions& options_;
  ByteBuffer* file_;
  ThreadPool pool_;
  uint64_t size_ = 0;  // of the file
};

}  // namespace

Status Encode(RowSource* rows, const EncodeOptions& options, ByteBuffer* file) {
  Status status = CheckOptions(options);
  if (status.ok()) status = CheckForm(rows->form(), options);
  return status.ok() ? Encoder(options, file).Encode(rows) : status;
}

}  // namespace zepcodec::dds
