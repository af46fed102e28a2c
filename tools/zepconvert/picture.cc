// SPDX-License-Identifier: MIT
#include "tools/zepconvert/picture.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "codecs/dds/header.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpeg2000/decoder.h"
#include "codecs/jpegxr/decoder.h"
#include "codecs/tiff/codec.h"
#include "tools/zepconvert/pnm_file.h"

namespace jpeg = zepcodec::jpeg;
namespace jpeg2000 = zepcodec::jpeg2000;
namespace jpegxr = zepcodec::jpegxr;
namespace dds = zepcodec::dds;
namespace tiff = zepcodec::tiff;
namespace ljpeg = zepcodec::jpeg::lossless;

namespace zepconvert {
namespace {

constexpr uint8_t kJp2Signature[12] = {0, 0, 0, 12, 'j', 'P', ' ', ' ', '\r', '\n', 0x87, '\n'};
constexpr uint8_t kJxrSignature[3] = {'I', 'I', 0xBC};
constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

int64_t BigEndian32(const uint8_t* bytes) {
  return int64_t{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

void Append(const zepcodec::Messages& messages, std::vector<std::string>* texts) {
  const std::vector<std::string> lines = messages.Lines();
  texts->insert(texts->end(), lines.begin(), lines.end());
}

int BytesOfBits(int bits) { return bits > 8 ? 2 : 1; }

}  // namespace

void Picture::TakeWarnings(const zepcodec::Messages& messages) { Append(messages, &warnings); }

void Picture::TakeNotes(const zepcodec::Messages& messages) { Append(messages, &notes); }

Format FormatOfBytes(const uint8_t* data, size_t size) {
  if (size >= 3 && data[0] == 0xFF && data[1] == 0xD8 && data[2] == 0xFF) {
    return ljpeg::IsLosslessJpeg(data, size) ? Format::kLjpeg : Format::kJpeg;
  }
  if (size >= 8 && std::memcmp(data, kPngSignature, 8) == 0) return Format::kPng;
  if (size >= 3 && data[0] == 'P' && data[1] >= '5' && data[1] <= '7' &&
      (std::isspace(data[2]) != 0 || data[2] == '#')) {
    return Format::kPnm;
  }
  if (size >= 4 && std::memcmp(data, "DDS ", 4) == 0) return Format::kDds;
  if (size >= 12 && std::memcmp(data, kJp2Signature, 12) == 0) return Format::kJp2;
  if (size >= 4 && data[0] == 0xFF && data[1] == 0x4F && data[2] == 0xFF && data[3] == 0x51) {
    return Format::kJ2k;
  }
  if (size >= 4 && std::memcmp(data, kJxrSignature, 3) == 0 && data[3] <= 1) return Format::kJxr;
  if (tiff::IsTiff(data, size)) return Format::kTiff;
  return Format::kUnknown;
}

Format FormatOfName(const std::string& name) {
  std::string extension = name.substr(name.rfind('.') + 1);  // all of it where there is no dot
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (extension == "jpg" || extension == "jpeg" || extension == "jpe") return Format::kJpeg;
  if (extension == "ljpg" || extension == "ljpeg") return Format::kLjpeg;
  if (extension == "png") return Format::kPng;
  if (extension == "ppm") return Format::kPpm;
  if (extension == "pgm") return Format::kPgm;
  if (extension == "pnm") return Format::kPnm;
  if (extension == "pam") return Format::kPam;
  if (extension == "tif" || extension == "tiff") return Format::kTiff;
  if (extension == "dds") return Format::kDds;
  if (extension == "jp2") return Format::kJp2;
  if (extension == "j2k" || extension == "j2c" || extension == "jpc") return Format::kJ2k;
  if (extension == "hdr") return Format::kHdr;
  if (extension == "jxr" || extension == "wdp") return Format::kJxr;
  return Format::kUnknown;
}

const char* Extension(Format format) {
  switch (format) {
    case Format::kJpeg: return "jpg";
    case Format::kLjpeg: return "ljpg";
    case Format::kPng: return "png";
    case Format::kPpm: return "ppm";
    case Format::kPgm: return "pgm";
    case Format::kPam: return "pam";
    case Format::kTiff: return "tif";
    case Format::kDds: return "dds";
    case Format::kJp2: return "jp2";
    case Format::kJ2k: return "j2k";
    case Format::kJxr: return "jxr";
    case Format::kHdr: return "hdr";
    default: return "pnm";
  }
}

Dimensions ReadDimensions(const uint8_t* data, size_t size) {
  switch (FormatOfBytes(data, size)) {
    case Format::kJpeg: {
      jpeg::FileInfo info;
      if (!jpeg::ReadFileInfo(data, size, &info).ok()) return {};
      return {info.frame.width, info.frame.height, static_cast<int>(info.frame.components.size()),
              BytesOfBits(info.frame.precision)};
    }
    case Format::kLjpeg: {
      ljpeg::FileInfo info;
      if (!ljpeg::ReadFileInfo(data, size, &info).ok()) return {};
      return {info.width, info.height, info.components, BytesOfBits(info.bits)};
    }
    case Format::kTiff: {
      tiff::FileInfo info;
      if (!tiff::ReadFileInfo(data, size, &info).ok()) return {};
      return {info.width, info.height, info.channels, BytesOfBits(info.bits)};
    }
    case Format::kPng:
      if (size < 25) return {};
      return {BigEndian32(data + 16), BigEndian32(data + 20), 4, BytesOfBits(data[24])};
    case Format::kPnm: {
      PnmHeader header;
      if (!ReadPnmHeader(data, size, &header).ok()) return {};
      return {header.width, header.height, header.channels, header.max_value > 255 ? 2 : 1};
    }
    case Format::kDds: {
      dds::Header header;
      if (!dds::ParseHeader(data, size, &header).ok()) return {};
      return {header.width, header.height, 4, dds::HasHalves(header.format) ? 2 : 1};
    }
    case Format::kJp2:
    case Format::kJ2k: {
      jpeg2000::FileInfo info;
      if (!jpeg2000::ReadFileInfo(data, size, &info).ok()) return {};
      return {int64_t{info.size.x1} - info.size.x0, int64_t{info.size.y1} - info.size.y0,
              static_cast<int>(info.size.components.size()), 1};
    }
    case Format::kJxr: {
      jpegxr::FileInfo info;
      if (!jpegxr::ReadFileInfo(data, size, &info).ok()) return {};
      const int colors = info.frame.is_rgb ? 3 : 1;
      return {info.frame.width, info.frame.height, colors + (info.frame.has_alpha ? 1 : 0),
              zepcodec::BytesOf(info.frame.type)};
    }
    default: return {};
  }
}

bool CanBeDeep(Format format) {
  switch (format) {
    case Format::kLjpeg:
    case Format::kPng:
    case Format::kPpm:
    case Format::kPgm:
    case Format::kPnm:
    case Format::kPam:
    case Format::kTiff: return true;
    default: return false;
  }
}

zepcodec::Status CheckPixels(int64_t width, int64_t height, int64_t max_pixels) {
  const std::string claim = std::to_string(width) + " x " + std::to_string(height) + " pixels";
  if (width < 1 || height < 1) return zepcodec::Status::Error("the picture has " + claim);
  constexpr int64_t kMostOnASide = int64_t{1} << 28;  // so that rows have less than 2^31 bytes
  if (width <= max_pixels / height && std::max(width, height) <= kMostOnASide) {
    return zepcodec::Status();
  }
  return zepcodec::Status::Error("the header announces " + claim + ", more than the limit of " +
                                 std::to_string(max_pixels) + " (--max-megapixels)");
}

}  // namespace zepconvert
