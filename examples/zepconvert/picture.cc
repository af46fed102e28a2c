// SPDX-License-Identifier: MIT
#include "zepconvert/picture.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "jpeg/decoder.h"
#include "zepconvert/pnm_file.h"
#include "zepjp.h"

namespace zepconvert {
namespace {

constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

int64_t BigEndian32(const uint8_t* bytes) {
  return int64_t{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

}  // namespace

Format FormatOfBytes(const uint8_t* data, size_t size) {
  if (size >= 3 && data[0] == 0xFF && data[1] == 0xD8 && data[2] == 0xFF) return Format::kJpeg;
  if (size >= 8 && std::memcmp(data, kPngSignature, 8) == 0) return Format::kPng;
  if (size >= 3 && data[0] == 'P' && (data[1] == '5' || data[1] == '6') &&
      (std::isspace(data[2]) != 0 || data[2] == '#')) {
    return Format::kPnm;
  }
  return Format::kUnknown;
}

Format FormatOfName(const std::string& name) {
  std::string extension = name.substr(name.rfind('.') + 1);  // all of it where there is no dot
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (extension == "jpg" || extension == "jpeg" || extension == "jpe") return Format::kJpeg;
  if (extension == "png") return Format::kPng;
  if (extension == "ppm") return Format::kPpm;
  if (extension == "pgm") return Format::kPgm;
  if (extension == "pnm") return Format::kPnm;
  return Format::kUnknown;
}

const char* Extension(Format format) {
  switch (format) {
    case Format::kJpeg: return "jpg";
    case Format::kPng: return "png";
    case Format::kPpm: return "ppm";
    case Format::kPgm: return "pgm";
    default: return "pnm";
  }
}

Dimensions ReadDimensions(const uint8_t* data, size_t size) {
  switch (FormatOfBytes(data, size)) {
    case Format::kJpeg: {
      jpeg::FileInfo info;
      if (!jpeg::ReadFileInfo(data, size, &info).ok()) return {};
      return {info.frame.width, info.frame.height};
    }
    case Format::kPng:
      if (size < 24) return {};
      return {BigEndian32(data + 16), BigEndian32(data + 20)};
    case Format::kPnm: {
      PnmHeader header;
      if (!ReadPnmHeader(data, size, &header).ok()) return {};
      return {header.width, header.height};
    }
    default: return {};
  }
}

jpeg::Status CmykToRgb(const jpeg::Image& cmyk, jpeg::Image* rgb) {
  if (!rgb->Resize(cmyk.width(), cmyk.height(), jpeg::PixelLayout::kRgb)) {
    return jpeg::Status::NoMemory();
  }
  for (int y = 0; y < cmyk.height(); ++y) {
    const uint8_t* in = cmyk.Row(y);
    uint8_t* out = rgb->Row(y);
    for (int x = 0; x < cmyk.width(); ++x, in += 4, out += 3) {
      for (int c = 0; c < 3; ++c) {
        out[c] = static_cast<uint8_t>(((255 - in[c]) * (255 - in[3]) + 127) / 255);
      }
    }
  }
  return jpeg::Status();
}

jpeg::Status ToGrey(const jpeg::Image& image, jpeg::Image* grey) {
  if (image.layout() == jpeg::PixelLayout::kCmyk) {
    jpeg::Image rgb;
    if (jpeg::Status status = CmykToRgb(image, &rgb); !status.ok()) return status;
    return ToGrey(rgb, grey);
  }
  if (!grey->Resize(image.width(), image.height(), jpeg::PixelLayout::kGrey)) {
    return jpeg::Status::NoMemory();
  }
  if (image.layout() == jpeg::PixelLayout::kGrey) {
    std::memcpy(grey->Row(0), image.Row(0), image.SizeInBytes());
    return jpeg::Status();
  }
  zepiRGBToY_JPEG_8u_C3C1R(image.Row(0), static_cast<int32_t>(image.Step()), grey->Row(0),
                           static_cast<int32_t>(grey->Step()), {image.width(), image.height()});
  return jpeg::Status();
}

jpeg::Status CheckPixels(int64_t width, int64_t height, int64_t max_pixels) {
  const std::string claim = std::to_string(width) + " x " + std::to_string(height) + " pixels";
  if (width < 1 || height < 1) return jpeg::Status::Error("the picture has " + claim);
  constexpr int64_t kMostOnASide = int64_t{1} << 28;  // so that rows have less than 2^31 bytes
  if (width <= max_pixels / height && std::max(width, height) <= kMostOnASide) {
    return jpeg::Status();
  }
  return jpeg::Status::Error("the header announces " + claim + ", more than the limit of " +
                             std::to_string(max_pixels) + " (--max-megapixels)");
}

}  // namespace zepconvert
