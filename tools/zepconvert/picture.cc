// SPDX-License-Identifier: MIT
#include "tools/zepconvert/picture.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "codecs/dds/header.h"
#include "codecs/include/zepcodec.h"
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

constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// The formats that no codec of the library has.
struct OwnFormat {
  const char* extension;
  Format format;
};
constexpr OwnFormat kOwnFormats[] = {{"png", Format::kPng}, {"ppm", Format::kPpm},
                                     {"pgm", Format::kPgm}, {"pnm", Format::kPnm},
                                     {"pam", Format::kPam}, {"hdr", Format::kHdr}};

Format FormatOfCodec(zepcFormat format) {
  switch (format) {
    case zepcFormatJpeg: return Format::kJpeg;
    case zepcFormatLosslessJpeg: return Format::kLjpeg;
    case zepcFormatJp2: return Format::kJp2;
    case zepcFormatJ2k: return Format::kJ2k;
    case zepcFormatJpegXr: return Format::kJxr;
    case zepcFormatDds: return Format::kDds;
    case zepcFormatTiff: return Format::kTiff;
    default: return Format::kUnknown;
  }
}

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
  if (size >= 8 && std::memcmp(data, kPngSignature, 8) == 0) return Format::kPng;
  if (size >= 3 && data[0] == 'P' && data[1] >= '5' && data[1] <= '7' &&
      (std::isspace(data[2]) != 0 || data[2] == '#')) {
    return Format::kPnm;
  }
  return FormatOfCodec(zepcFormatOfBytes(data, size));
}

Format FormatOfName(const std::string& name) {
  std::string extension = name.substr(name.rfind('.') + 1);  // all of it where there is no dot
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const OwnFormat& own : kOwnFormats) {
    if (extension == own.extension) return own.format;
  }
  return FormatOfCodec(zepcFormatOfName(extension.c_str()));
}

std::string Extension(Format format) {
  for (const OwnFormat& own : kOwnFormats) {
    if (format == own.format) return own.extension;
  }
  for (int32_t i = 0; zepcFormatAt(i) != nullptr; ++i) {
    const zepcFormatFacts& facts = *zepcFormatAt(i);
    if (FormatOfCodec(facts.format) != format) continue;
    const std::string all = facts.extensions;
    return all.substr(0, all.find(' '));
  }
  return "pnm";
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
