// SPDX-License-Identifier: MIT
#include "tools/zepconvert/format.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <vector>

#include "tools/zepconvert/pnm_header.h"
#include "zepcodec.hpp"

namespace zepconvert {
namespace {

constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

struct OwnFormat {
  const char* name;
  const char* extension;
  Format format;
  Capacity capacity;
};
constexpr uint32_t kEightOrSixteen = 1U << 7 | 1U << 15;
constexpr uint32_t kTwoToSixteen = 0xFFFE;
constexpr Capacity kPlain = {kTwoToSixteen, false, false, false, false, false, false, false};
constexpr OwnFormat kOwnFormats[] = {
    {"PNG", "png", Format::kPng, {kEightOrSixteen, true, false, true, true, true, true, false}},
    {"PPM", "ppm", Format::kPpm, kPlain},
    {"PGM", "pgm", Format::kPgm, kPlain},
    {"PNM", "pnm", Format::kPnm, kPlain},
    {"PAM", "pam", Format::kPam, {kTwoToSixteen, true, true, false, false, false, false, false}},
    {"Radiance", "hdr", Format::kHdr, {0, false, false, false, false, false, false, false}}};

const zepcFormatFacts* FactsOf(Format format) {
  int32_t index = 0;
  const zepcFormatFacts* facts = zepcFormatAt(index);
  while (facts != nullptr && static_cast<Format>(facts->format) != format) {
    facts = zepcFormatAt(++index);
  }
  return facts;
}

// One format for all that people call by the same name.
Format KindOf(Format format) {
  switch (format) {
    case Format::kLosslessJpeg: return Format::kJpeg;
    case Format::kOtherTiff: return Format::kTiff;
    case Format::kJ2k: return Format::kJp2;
    case Format::kPpm:
    case Format::kPgm:
    case Format::kPam: return Format::kPnm;
    default: return format;
  }
}

}  // namespace

bool IsSameKind(Format a, Format b) { return KindOf(a) == KindOf(b); }

Capacity CapacityOf(Format format) {
  for (const OwnFormat& own : kOwnFormats) {
    if (own.format == format) return own.capacity;
  }
  const zepcFormatFacts* const facts = FactsOf(format);
  if (facts == nullptr) return {};
  const bool is_jpeg = format == Format::kJpeg || format == Format::kLosslessJpeg;
  return {facts->depths,
          facts->holds_opacity != 0,
          facts->holds_cmyk != 0,
          facts->keeps_exif != 0,
          facts->keeps_icc != 0,
          facts->keeps_xmp != 0,
          facts->keeps_resolution != 0,
          is_jpeg};
}

Format FormatOfBytes(const uint8_t* data, size_t size) {
  if (size >= 8 && std::memcmp(data, kPngSignature, 8) == 0) return Format::kPng;
  if (IsPnm(data, size)) return Format::kPnm;
  return static_cast<Format>(zepcFormatOfBytes(data, size));
}

Format ReadingFormat(const uint8_t* data, size_t size) {
  const Format format = FormatOfBytes(data, size);
#ifdef ZEPCONVERT_HAS_TIFF
  if (format != Format::kTiff) return format;
  auto options = zepc::Make<zepcDecodeOptions>();
  options.max_pixels = INT64_MAX;
  auto info = zepc::Make<zepcInfo>();
  if (zepcProbe(data, size, &options, &info) != zepcStatusOk) return Format::kOtherTiff;
#endif
  return format;
}

Format FormatOfName(const std::string& name) {
  std::string extension = name.substr(name.rfind('.') + 1);  // all of it where there is no dot
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const OwnFormat& own : kOwnFormats) {
    if (extension == own.extension) return own.format;
  }
  return static_cast<Format>(zepcFormatOfName(extension.c_str()));
}

std::string NameOf(Format format) {
  if (format == Format::kOtherTiff) return NameOf(Format::kTiff);
  for (const OwnFormat& own : kOwnFormats) {
    if (format == own.format) return own.name;
  }
  const zepcFormatFacts* const facts = FactsOf(format);
  return facts == nullptr ? "" : facts->name;
}

std::string Extension(Format format) {
  for (const OwnFormat& own : kOwnFormats) {
    if (format == own.format) return own.extension;
  }
  const zepcFormatFacts* const facts = FactsOf(format);
  const std::string all = facts == nullptr ? "" : facts->extensions;
  return all.substr(0, all.find(' '));
}

std::vector<std::string> Extensions() {
  std::vector<std::string> names;
  for (int32_t i = 0; zepcFormatAt(i) != nullptr; ++i) {
    names.push_back(Extension(static_cast<Format>(zepcFormatAt(i)->format)));
  }
  for (const OwnFormat& own : kOwnFormats) names.emplace_back(own.extension);
  return names;
}

std::string KnownExtensions(const std::string& separator, const std::string& last_separator,
                            const std::string& mark) {
  const std::vector<std::string> names = Extensions();
  std::string list;
  for (const std::string& name : names) {
    if (!list.empty()) list += &name == &names.back() ? last_separator : separator;
    list += mark + name;
  }
  return list;
}

}  // namespace zepconvert
