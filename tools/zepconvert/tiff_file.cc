// SPDX-License-Identifier: MIT
#include "tools/zepconvert/tiff_file.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/tiff_bands.h"
#include "tools/zepconvert/tiff_handle.h"
#include "tools/zepconvert/tiff_shape.h"
#include "zepcodec.hpp"

namespace zepconvert {
namespace {

// The most bytes that libtiff may ask for at once, and that the rows of a strip or tile may take.
int64_t MostBytes(int64_t max_pixels) {
  constexpr int64_t kLeast = int64_t{16} << 20, kMostPixels = int64_t{1} << 32;
  constexpr int64_t kBytesOfPixel = 8;
  return kLeast + kBytesOfPixel * std::min(max_pixels, kMostPixels);
}

// The most bytes that come of one, by compression; 0: there is no small limit.
int64_t MostExpansion(uint16_t compression) {
  switch (compression) {
    case COMPRESSION_NONE: return 1;
    case COMPRESSION_PACKBITS: return 64;
    case COMPRESSION_LZW: return 4096;
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE: return 1032;
    default: return 0;
  }
}

// Refuses pictures that are larger than the limit, or than the file can hold.
void CheckSize(const TiffHandle& tiff, const TiffShape& shape, ByteView input, int64_t max_pixels) {
  CheckPixels(shape.width, shape.height, max_pixels);
  const int64_t most = MostBytes(max_pixels);
  const int64_t band_rows = shape.is_tiled || shape.is_planar ? shape.band_rows : 1;
  const int64_t band_width = std::max(shape.band_width, shape.width);
  constexpr int64_t kMostSamples = 4096;
  if (shape.samples > kMostSamples || band_width > most / band_rows ||
      shape.RowBytes(band_width) > most / band_rows) {
    throw Failure("the strips or tiles are too large (--max-megapixels)");
  }
  const auto compression = tiff.Field<uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  const int64_t expansion = MostExpansion(compression);
  // A picture that is cut may still be worth something.
  constexpr int64_t kAlwaysAccepted = int64_t{1} << 20, kOftenCut = 16;
  const auto file_bytes = static_cast<int64_t>(input.size);
  const int64_t rows = shape.height * shape.planes();
  const int64_t row_bytes = shape.RowBytes(shape.width);
  if (expansion > 0 && shape.is_exact &&
      row_bytes > (kAlwaysAccepted + kOftenCut * expansion * file_bytes) / rows) {
    throw Failure("the directory announces more pixels than the file can hold");
  }
}

zepcResolutionUnit UnitOf(uint16_t unit) {
  switch (unit) {
    case RESUNIT_INCH: return zepcResolutionInch;
    case RESUNIT_CENTIMETER: return zepcResolutionCm;
    default: return zepcResolutionShape;
  }
}

void ReadResolution(const TiffHandle& tiff, Metadata* metadata) {
  const double x = tiff.Field<float>(TIFFTAG_XRESOLUTION, 0);
  const double y = tiff.Field<float>(TIFFTAG_YRESOLUTION, static_cast<float>(x));
  const zepcResolutionUnit unit =
      UnitOf(tiff.Field<uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH));
  if (!(x > 0) || !(y > 0) || (unit == zepcResolutionShape && x == y)) return;
  metadata->resolution_unit = unit;
  metadata->resolution_x = x;
  metadata->resolution_y = y;
}

// The library reads them from files whose pixels it refuses, too.
std::vector<uint8_t> ReadExif(ByteView input) {
  try {
    return Metadata(zepc::ReadMetadata(input.data, input.size).metadata()).exif;
  } catch (const zepc::Error&) {
    return {};
  }
}

}  // namespace

class TiffReader::Parts {
 public:
  Parts(ByteView input, int64_t max_pixels)
      : input_(input), tiff_(input, MostBytes(max_pixels)), shape_(ReadTiffShape(&tiff_)) {
    CheckSize(tiff_, shape_, input, max_pixels);
    bands_ = MakeTiffBands(&tiff_, shape_);
  }

  const TiffShape& shape() const { return shape_; }
  TiffBands& bands() { return *bands_; }

  bool is_lossless() const {
    const auto compression = tiff_.Field<uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    return compression != COMPRESSION_JPEG && compression != COMPRESSION_OJPEG &&
           compression != COMPRESSION_WEBP;
  }
  int pictures() const { return static_cast<int>(TIFFNumberOfDirectories(tiff_.get())); }

  void TakeHead(Picture* picture) {
    Metadata& metadata = picture->metadata;
    metadata.icc = tiff_.BytesOf(TIFFTAG_ICCPROFILE);
    metadata.xmp = tiff_.BytesOf(TIFFTAG_XMLPACKET);
    metadata.exif = ReadExif(input_);
    const auto orientation = tiff_.Field<uint16_t>(TIFFTAG_ORIENTATION, 0);
    metadata.orientation = orientation <= 8 ? orientation : 0;
    ReadResolution(tiff_, &metadata);
    picture->notes.insert(picture->notes.end(), shape_.notes.begin(), shape_.notes.end());
    if (pictures() > 1) {
      picture->notes.emplace_back("the first of several pictures was taken");
    }
  }

  void Finish(Picture* picture) {
    constexpr size_t kMost = 8;
    const std::vector<std::string>& damage = bands_->damage();
    if (!damage.empty() && bands_->is_all_lost()) throw Failure(damage.front());
    for (const std::string& warning : tiff_.warnings()) {
      picture->notes.push_back("libtiff: " + warning);
    }
    std::copy_n(damage.begin(), std::min(damage.size(), kMost),
                std::back_inserter(picture->warnings));
    if (damage.size() > kMost) {
      picture->warnings.push_back("and " + std::to_string(damage.size() - kMost) + " more");
    }
  }

 private:
  ByteView input_;
  TiffHandle tiff_;
  TiffShape shape_;
  std::unique_ptr<TiffBands> bands_;
};

TiffReader::TiffReader(ByteView input, int64_t max_pixels)
    : parts_(std::make_unique<Parts>(input, max_pixels)) {}
TiffReader::~TiffReader() = default;

int TiffReader::width() const { return static_cast<int>(parts_->shape().width); }
int TiffReader::height() const { return static_cast<int>(parts_->shape().height); }
Form TiffReader::form() const { return parts_->shape().form; }
bool TiffReader::is_lossless() const { return parts_->is_lossless(); }
int TiffReader::pictures() const { return parts_->pictures(); }
int64_t TiffReader::memory() const { return parts_->bands().memory(); }
void TiffReader::TakeHead(Picture* picture) { parts_->TakeHead(picture); }
void TiffReader::ReadRow(int y, uint8_t* row) { parts_->bands().ReadRow(y, row); }
void TiffReader::Finish(Picture* picture) { parts_->Finish(picture); }

Picture ReadTiff(ByteView input, int64_t max_pixels) {
  TiffReader reader(input, max_pixels);
  Picture picture;
  reader.TakeHead(&picture);
  picture.image = Image(reader.width(), reader.height(), reader.form());
  for (int y = 0; y < reader.height(); ++y) reader.ReadRow(y, picture.image.Row(y));
  reader.Finish(&picture);
  return picture;
}

Dimensions ReadTiffSize(ByteView input, int64_t max_pixels) {
  const TiffReader reader(input, max_pixels);
  const Form form = reader.form();
  return {reader.width(), reader.height(), ChannelCount(form.layout),
          static_cast<int>(BytesOf(form.sample)), reader.memory()};
}

}  // namespace zepconvert
