// SPDX-License-Identifier: MIT
#include "tools/zepconvert/tiff_bands.h"

#include <algorithm>
#include <cstring>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/failure.h"

namespace zepconvert {
namespace {

std::string RowsFrom(int64_t first) { return "rows from " + std::to_string(first) + " on"; }

// Strips of interleaved samples, a row at a time. After an error the rest of the strip is lost.
class Scanlines : public TiffBands {
 public:
  Scanlines(TiffHandle* tiff, const TiffShape& shape)
      : TiffBands(tiff, shape),
        // libtiff fills what it takes for a row.
        stored_(std::max(static_cast<size_t>(shape.RowBytes(shape.width)),
                         static_cast<size_t>(TIFFScanlineSize64(tiff->get())))) {}

  void ReadRow(int y, uint8_t* row) override {
    const int64_t strip = y / shape_.band_rows;
    bool is_good = strip != lost_strip_;
    if (is_good && TIFFReadScanline(tiff_.get(), stored_.data(), static_cast<uint32_t>(y), 0) < 0) {
      is_good = false;
      lost_strip_ = strip;
      AddDamage(RowsFrom(y));
    }
    has_good_rows_ = has_good_rows_ || is_good;
    if (is_good) {
      ConvertTiffRow(shape_, {stored_.data()}, static_cast<size_t>(shape_.width), row);
    } else {
      std::memset(row, 0, PixelBytesOfRow());
    }
  }
  int64_t memory() const override { return static_cast<int64_t>(stored_.size()); }

 private:
  size_t PixelBytesOfRow() const {
    return static_cast<size_t>(shape_.width * ChannelCount(shape_.form.layout)) *
           BytesOf(shape_.form.sample);
  }

  Bytes stored_;
  int64_t lost_strip_ = -1;
};

// Tiles, and strips of planes: a band is decoded at once.
class Blocks : public TiffBands {
 public:
  Blocks(TiffHandle* tiff, const TiffShape& shape) : TiffBands(tiff, shape) {
    across_ = (shape.width + shape.band_width - 1) / shape.band_width;
    block_row_bytes_ = static_cast<size_t>(shape.RowBytes(shape.band_width));
    const bool has_whole_bytes = across_ == 1 || shape.band_width * shape.bits % 8 == 0;
    if (!has_whole_bytes) throw Failure("tiles of odd width cannot be read");
    const tmsize_t size = shape.is_tiled ? TIFFTileSize(tiff->get()) : TIFFStripSize(tiff->get());
    const size_t expected = block_row_bytes_ * static_cast<size_t>(shape.band_rows);
    if (size <= 0 || static_cast<size_t>(size) != expected) {
      throw Failure("the directory is damaged");
    }
    row_bytes_ = block_row_bytes_ * static_cast<size_t>(across_);
    band_bytes_ = row_bytes_ * static_cast<size_t>(shape.band_rows);
    block_.resize(expected);
    bands_.resize(band_bytes_ * static_cast<size_t>(shape.planes()));
  }

  void ReadRow(int y, uint8_t* row) override {
    const int64_t band = y / shape_.band_rows;
    if (band != band_) ReadBand(band);
    std::vector<const uint8_t*> planes;
    for (int plane = 0; plane < shape_.planes(); ++plane) {
      planes.push_back(BandOf(plane) + static_cast<size_t>(y % shape_.band_rows) * row_bytes_);
    }
    ConvertTiffRow(shape_, planes, static_cast<size_t>(shape_.width), row);
  }
  int64_t memory() const override { return static_cast<int64_t>(block_.size() + bands_.size()); }

 private:
  uint8_t* BandOf(int plane) { return bands_.data() + static_cast<size_t>(plane) * band_bytes_; }

  void ReadBand(int64_t band) {
    band_ = band;
    for (int plane = 0; plane < shape_.planes(); ++plane) {
      for (int64_t x = 0; x < across_; ++x) {
        ReadBlock(band, x, plane);
        uint8_t* to = BandOf(plane) + static_cast<size_t>(x) * block_row_bytes_;
        const uint8_t* from = block_.data();
        for (int64_t y = 0; y < shape_.band_rows; ++y) {
          std::memcpy(to, from, block_row_bytes_);
          to += row_bytes_;
          from += block_row_bytes_;
        }
      }
    }
  }

  void ReadBlock(int64_t band, int64_t x, int plane) {
    const auto row = static_cast<uint32_t>(band * shape_.band_rows);
    const auto column = static_cast<uint32_t>(x * shape_.band_width);
    const auto sample = static_cast<uint16_t>(plane);
    std::fill(block_.begin(), block_.end(), uint8_t{0});
    const auto size = static_cast<tmsize_t>(block_.size());
    const tmsize_t done =
        shape_.is_tiled
            ? TIFFReadEncodedTile(tiff_.get(), TIFFComputeTile(tiff_.get(), column, row, 0, sample),
                                  block_.data(), size)
            : TIFFReadEncodedStrip(tiff_.get(), TIFFComputeStrip(tiff_.get(), row, sample),
                                   block_.data(), size);
    has_good_rows_ = has_good_rows_ || done >= 0;
    if (done >= 0) return;
    std::fill(block_.begin(), block_.end(), uint8_t{0});
    AddDamage((shape_.is_tiled ? "the tile at column " + std::to_string(column) + ", row "
                               : std::string("the strip at row ")) +
              std::to_string(row));
  }

  int64_t across_ = 0;
  size_t block_row_bytes_ = 0;
  size_t row_bytes_ = 0;   // of a band
  size_t band_bytes_ = 0;  // of a plane
  Bytes block_;
  Bytes bands_;
  int64_t band_ = -1;
};

// Pixels as libtiff shows them.
class ShownRows : public TiffBands {
 public:
  ShownRows(TiffHandle* tiff, const TiffShape& shape)
      : TiffBands(tiff, shape),
        pixels_(static_cast<size_t>(shape.width) *
                static_cast<size_t>(std::min(shape.band_rows, shape.height))) {
    char why[1024] = "";
    if (TIFFRGBAImageBegin(&image_, tiff->get(), 0, why) != 1) {
      throw Failure("libtiff: " + std::string(why));
    }
    image_.req_orientation = image_.orientation;  // pictures are not turned
  }
  ~ShownRows() override { TIFFRGBAImageEnd(&image_); }

  void ReadRow(int y, uint8_t* row) override {
    const int64_t band = y / shape_.band_rows;
    if (band != band_) ReadBand(band);
    const auto width = static_cast<size_t>(shape_.width);
    const uint32_t* pixel = pixels_.data() + static_cast<size_t>(y % shape_.band_rows) * width;
    const int channels = ChannelCount(shape_.form.layout);
    uint8_t* out = row;
    for (size_t x = 0; x < width; ++x, ++pixel) {
      for (int c = 0; c < channels; ++c) *out++ = static_cast<uint8_t>(*pixel >> (8 * c));
    }
    // libtiff multiplies colours by their opacity.
    if (channels == 4) Unmultiply(shape_.form, width, row);
  }
  int64_t memory() const override {
    constexpr int64_t kStored = 4;  // libtiff's own bytes for each pixel of a band, about
    return static_cast<int64_t>(pixels_.size()) * (4 + kStored);
  }

 private:
  void ReadBand(int64_t band) {
    band_ = band;
    std::fill(pixels_.begin(), pixels_.end(), 0);
    const int64_t first = band * shape_.band_rows;
    const auto rows = static_cast<uint32_t>(std::min(shape_.band_rows, shape_.height - first));
    image_.row_offset = static_cast<int>(first);
    image_.col_offset = 0;
    (void)tiff_.TakeError();
    const bool is_good =
        TIFFRGBAImageGet(&image_, pixels_.data(), static_cast<uint32_t>(shape_.width), rows) == 1;
    has_good_rows_ = has_good_rows_ || is_good;
    if (!is_good || tiff_.has_error()) AddDamage(RowsFrom(first));
  }

  TIFFRGBAImage image_ = {};
  std::vector<uint32_t> pixels_;
  int64_t band_ = -1;
};

}  // namespace

std::unique_ptr<TiffBands> MakeTiffBands(TiffHandle* tiff, const TiffShape& shape) {
  if (!shape.is_exact) return std::make_unique<ShownRows>(tiff, shape);
  if (shape.is_tiled || shape.is_planar) return std::make_unique<Blocks>(tiff, shape);
  return std::make_unique<Scanlines>(tiff, shape);
}

}  // namespace zepconvert
