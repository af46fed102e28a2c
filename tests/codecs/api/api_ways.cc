// SPDX-License-Identifier: MIT
#include "tests/codecs/api/api_ways.h"

#include <utility>

namespace api_pictures {
namespace {

constexpr Shape kGrey8 = {zepcLayoutGrey, zepcSampleU8, 8};
constexpr Shape kRgb8 = {zepcLayoutRgb, zepcSampleU8, 8};
constexpr Shape kRgba8 = {zepcLayoutRgba, zepcSampleU8, 8};
constexpr Shape kCmyk8 = {zepcLayoutCmyk, zepcSampleU8, 8};
constexpr Shape kGrey16 = {zepcLayoutGrey, zepcSampleU16, 16};
constexpr Shape kRgb16 = {zepcLayoutRgb, zepcSampleU16, 16};

class List {
 public:
  template <class Set>
  void Add(const char* name, zepcFormat format, const Shape& shape, const Set& set) {
    Way way;
    way.name = name;
    way.format = format;
    way.shape = shape;
    set(&way);
    ways_.push_back(std::move(way));
  }
  void Add(const char* name, zepcFormat format, const Shape& shape) {
    Add(name, format, shape, [](Way*) {});
  }
  std::vector<Way> Take() { return std::move(ways_); }

 private:
  std::vector<Way> ways_;
};

void AddJpeg(List* list) {
  constexpr zepcFormat kFormat = zepcFormatJpeg;
  list->Add("JPEG 4:2:0", kFormat, kRgb8);
  list->Add("JPEG 4:2:2", kFormat, kRgb8, [](Way* way) { way->jpeg.sampling = zepcSampling422; });
  list->Add("JPEG 4:4:4", kFormat, kRgb8, [](Way* way) { way->jpeg.sampling = zepcSampling444; });
  list->Add("JPEG grey", kFormat, kGrey8);
  list->Add("JPEG inks", kFormat, kCmyk8);
  list->Add("JPEG restart", kFormat, kRgb8, [](Way* way) { way->jpeg.restart_interval = 5; });
  list->Add("JPEG progressive", kFormat, kRgb8, [](Way* way) { way->jpeg.is_progressive = 1; });
  list->Add("JPEG optimized", kFormat, kRgb8, [](Way* way) { way->jpeg.optimizes = 1; });
  list->Add("JPEG three scans", kFormat, kRgb8,
            [](Way* way) { way->jpeg.scan_script = "0; 1; 2;"; });
  list->Add("JPEG 12 bits", kFormat, {zepcLayoutRgb, zepcSampleU16, 12});
}

void AddLosslessJpeg(List* list) {
  constexpr zepcFormat kFormat = zepcFormatLosslessJpeg;
  list->Add("lossless JPEG", kFormat, kRgb8);
  list->Add("lossless JPEG 4", kFormat, kRgb8, [](Way* way) { way->lossless_jpeg.predictor = 4; });
  list->Add("lossless JPEG 7", kFormat, kGrey16, [](Way* way) {
    way->lossless_jpeg.predictor = 7;
    way->lossless_jpeg.restart_rows = 10;
  });
  list->Add("lossless JPEG inks", kFormat, kCmyk8,
            [](Way* way) { way->lossless_jpeg.point_transform = 2; });
  const std::pair<const char*, Shape> kUsual[] = {
      {"RGB", kRgb8}, {"grey", kGrey16}, {"inks", kCmyk8}};
  for (const auto& [name, shape] : kUsual) {
    const std::string full = std::string("lossless JPEG usual table ") + name;
    list->Add(full.c_str(), kFormat, shape, [](Way* way) {
      way->lossless_jpeg.predictor = 5;
      way->lossless_jpeg.has_usual_table = 1;
    });
  }
}

void AddJpeg2000(List* list) {
  const auto in_tiles = [](Way* way) {
    way->jpeg2000.tile_width = 72;
    way->jpeg2000.tile_height = 50;
  };
  list->Add("JPEG 2000", zepcFormatJ2k, kRgb8);
  list->Add("JPEG 2000 16 bits", zepcFormatJp2, kGrey16);
  list->Add("JPEG 2000 opacity", zepcFormatJp2, kRgba8);
  list->Add("JPEG 2000 20:1", zepcFormatJp2, kRgb8, [](Way* way) { way->jpeg2000.ratio = 20; });
  list->Add("JPEG 2000 PSNR", zepcFormatJ2k, kRgb8, [](Way* way) { way->jpeg2000.psnr = 35; });
  list->Add("JPEG 2000 no levels", zepcFormatJ2k, kRgb8,
            [](Way* way) { way->jpeg2000.levels = -1; });
  list->Add("JPEG 2000 tiles", zepcFormatJ2k, kRgb8, in_tiles);
  for (int32_t order = 0; order < 5; ++order) {
    list->Add(("JPEG 2000 lossy tiles " + std::to_string(order)).c_str(), zepcFormatJp2, kRgb8,
              [&](Way* way) {
                in_tiles(way);
                way->jpeg2000.ratio = 8;
                way->jpeg2000.progression = order;
              });
  }
  list->Add("JPEG 2000 styles", zepcFormatJ2k, kGrey8,
            [](Way* way) { way->jpeg2000.block_style = 63; });
}

void AddJpegXr(List* list) {
  constexpr zepcFormat kFormat = zepcFormatJpegXr;
  const auto in_tiles = [](Way* way) {
    way->jpeg_xr.tile_width = 64;
    way->jpeg_xr.tile_height = 48;
  };
  list->Add("JPEG XR", kFormat, kRgb8);
  list->Add("JPEG XR 16 bits", kFormat, kRgb16);
  list->Add("JPEG XR half floats", kFormat, {zepcLayoutRgb, zepcSampleF16, 16});
  for (const int32_t overlap : {-1, 0, 1}) {
    list->Add(("JPEG XR lossy " + std::to_string(overlap)).c_str(), kFormat, kRgb8, [&](Way* way) {
      way->jpeg_xr.quality = 70;
      way->jpeg_xr.overlap = overlap;
    });
    list->Add(("JPEG XR tiles " + std::to_string(overlap)).c_str(), kFormat, kRgb8, [&](Way* way) {
      in_tiles(way);
      way->jpeg_xr.overlap = overlap;
      way->jpeg_xr.sampling = zepcSampling420;
    });
  }
  list->Add("JPEG XR bands", kFormat, kGrey8,
            [](Way* way) { way->jpeg_xr.is_frequency_order = 1; });
  list->Add("JPEG XR tiles in bands", kFormat, kRgb8, [&](Way* way) {
    in_tiles(way);
    way->jpeg_xr.is_frequency_order = 1;
  });
}

void AddDds(List* list) {
  constexpr zepcFormat kFormat = zepcFormatDds;
  const std::pair<zepcTexture, Shape> kTextures[] = {
      {zepcTextureBc1, kRgb8},  {zepcTextureBc2, kRgba8}, {zepcTextureBc3, kRgba8},
      {zepcTextureBc4, kGrey8}, {zepcTextureBc5, kRgb8},  {zepcTextureYCoCg, kRgb8}};
  for (const auto& [texture, shape] : kTextures) {
    list->Add(("DDS " + std::to_string(texture)).c_str(), kFormat, shape,
              [texture = texture](Way* way) { way->dds.texture = texture; });
  }
  list->Add("DDS BC7", kFormat, kRgba8, [](Way* way) {
    way->dds.texture = zepcTextureBc7;
    way->dds.bc7_mode = 1;
  });
  list->Add("DDS levels", kFormat, kRgb8, [](Way* way) { way->dds.has_mipmaps = 1; });
}

void AddTiff(List* list) {
  constexpr zepcFormat kFormat = zepcFormatTiff;
  list->Add("TIFF", kFormat, kRgb8);
  list->Add("TIFF plain", kFormat, kGrey16, [](Way* way) { way->tiff.is_uncompressed = 1; });
  list->Add("TIFF planes", kFormat, kRgb16, [](Way* way) { way->tiff.has_byte_planes = 1; });
}

}  // namespace

zepcEncodeOptions Way::Options() const {
  zepcEncodeOptions options = OptionsFor(format);
  options.jpeg = &jpeg;
  options.lossless_jpeg = &lossless_jpeg;
  options.jpeg2000 = &jpeg2000;
  options.jpeg_xr = &jpeg_xr;
  options.dds = &dds;
  options.tiff = &tiff;
  return options;
}

const std::vector<Way>& Ways() {
  static const std::vector<Way> ways = [] {
    List list;
    AddJpeg(&list);
    AddLosslessJpeg(&list);
    AddJpeg2000(&list);
    AddJpegXr(&list);
    AddDds(&list);
    AddTiff(&list);
    return list.Take();
  }();
  return ways;
}

Image PictureFor(const Way& way) { return Make(kWayWidth, kWayHeight, way.shape); }

Bytes FileOf(const Way& way) { return Encode(PictureFor(way), way.Options()); }

}  // namespace api_pictures
