// SPDX-License-Identifier: MIT
#include "tools/zepconvert/row_input.h"

#include <utility>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/png_file.h"
#include "tools/zepconvert/pnm_file.h"
#ifdef ZEPCONVERT_HAS_TIFF
#  include "tools/zepconvert/tiff_file.h"
#endif

namespace zepconvert {
namespace {

// Of a file of the library.
class LibraryRows : public RowInput {
 public:
  LibraryRows(const Settings& settings, ByteView input) : settings_(settings), input_(input) {
    Head head = ReadHead(settings, input);
    width_ = head.width;
    height_ = head.height;
    form_ = head.form;
    head_.metadata = std::move(head.metadata);
    memory_ = head.memory;
  }

  void Read(RowPipe* pipe, Picture* picture) override {
    ReadRows(
        settings_, input_, [&](const zepcPixels& rows) { return pipe->Put(rows); }, picture);
  }

 private:
  const Settings& settings_;
  ByteView input_;
};

// Of a file that the tool reads itself, a row at a time.
template <class Reader>
class OwnRows : public RowInput {
 public:
  OwnRows(const Settings& settings, ByteView input) : reader_(input, settings.max_pixels) {
    region_ = RegionIn(settings, reader_.width(), reader_.height());
    width_ = region_.width;
    height_ = region_.height;
    form_ = reader_.form();
    constexpr int64_t kBesides = int64_t{32} << 20;  // metadata and buffers
    memory_ = kBesides;
  }

  void Read(RowPipe* pipe, Picture*) override {
    Image row(reader_.width(), 1, form_);
    zepcPixels part = row.pixels();
    const size_t pixel_bytes = part.stride / static_cast<size_t>(part.width);
    part.data = row.Row(0) + static_cast<size_t>(region_.x) * pixel_bytes;
    part.width = region_.width;
    for (int y = 0; y < region_.y + region_.height; ++y) {
      ReadRow(y, row.Row(0));
      if (y >= region_.y && !pipe->Put(part)) return;
    }
  }

 protected:
  virtual void ReadRow(int y, uint8_t* row) = 0;
  Reader reader_;

  zepcRect region_ = {};
};

class PnmRows : public OwnRows<PnmReader> {
 public:
  using OwnRows::OwnRows;

 protected:
  void ReadRow(int y, uint8_t* row) override { reader_.ReadRow(y, row); }
};

class PngRows : public OwnRows<PngReader> {
 public:
  PngRows(const Settings& settings, ByteView input) : OwnRows(settings, input) {
    reader_.TakeMetadata(&head_);
  }

  bool is_interlaced() const { return reader_.passes() > 1; }
  bool is_upright() const { return head_.metadata.orientation < 2; }

 protected:
  void ReadRow(int, uint8_t* row) override { reader_.ReadRow(row); }
};

#ifdef ZEPCONVERT_HAS_TIFF
class TiffRows : public OwnRows<TiffReader> {
 public:
  TiffRows(const Settings& settings, ByteView input) : OwnRows(settings, input) {
    reader_.TakeHead(&head_);
    memory_ += reader_.memory();
  }

  bool is_upright() const { return head_.metadata.orientation < 2; }

  void Read(RowPipe* pipe, Picture* picture) override {
    OwnRows::Read(pipe, picture);
    reader_.Finish(picture);
  }

 protected:
  void ReadRow(int y, uint8_t* row) override {
    if (y >= region_.y) reader_.ReadRow(y, row);
  }
};
#endif

}  // namespace

std::unique_ptr<RowInput> OpenRows(const Settings& settings, ByteView input) {
  const Format format = ReadingFormat(input.data, input.size);
  if (IsOfLibrary(format)) return std::make_unique<LibraryRows>(settings, input);
  if (format == Format::kPng) {
    auto rows = std::make_unique<PngRows>(settings, input);
    const bool comes_turned = settings.turns_upright && !rows->is_upright();
    if (rows->is_interlaced() || comes_turned) return nullptr;
    return rows;
  }
#ifdef ZEPCONVERT_HAS_TIFF
  if (format == Format::kOtherTiff) {
    auto rows = std::make_unique<TiffRows>(settings, input);
    if (settings.turns_upright && !rows->is_upright()) return nullptr;
    return rows;
  }
#endif
  if (format == Format::kUnknown) return nullptr;
  return std::make_unique<PnmRows>(settings, input);
}

void ReadAllRows(const Settings& settings, ByteView input, Picture* picture) {
  const Format format = ReadingFormat(input.data, input.size);
  if (IsOfLibrary(format)) {
    ReadRows(
        settings, input, [](const zepcPixels&) { return true; }, picture);
  } else if (format == Format::kPng) {
    PngReader reader(input, settings.max_pixels);
    Image row(reader.width(), 1, reader.form());
    for (int pass = 0; pass < reader.passes(); ++pass) {
      for (int y = 0; y < reader.height(); ++y) reader.ReadRow(row.Row(0));
    }
    reader.Finish();
#ifdef ZEPCONVERT_HAS_TIFF
  } else if (format == Format::kOtherTiff) {
    TiffReader reader(input, settings.max_pixels);
    Image row(reader.width(), 1, reader.form());
    for (int y = 0; y < reader.height(); ++y) reader.ReadRow(y, row.Row(0));
    reader.Finish(picture);
#endif
  } else {
    PnmReader reader(input, settings.max_pixels);
    Image row(reader.width(), 1, reader.form());
    for (int y = 0; y < reader.height(); ++y) reader.ReadRow(y, row.Row(0));
  }
}

}  // namespace zepconvert
