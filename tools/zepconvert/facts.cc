// SPDX-License-Identifier: MIT
#include "tools/zepconvert/facts.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "tools/zepconvert/foreign_formats.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/png_file.h"
#include "tools/zepconvert/pnm_file.h"
#include "tools/zepconvert/summary.h"
#include "tools/zepconvert/text.h"
#ifdef ZEPCONVERT_HAS_TIFF
#  include "tools/zepconvert/tiff_file.h"
#endif

namespace zepconvert {
namespace {

Facts FactsOfLibraryFile(const Settings& settings, ByteView input) {
  const zepcInfo info = ProbeLibraryFile(settings, input);
  Facts facts;
  facts.width = info.width;
  facts.height = info.height;
  facts.form = {info.layout, info.sample, info.bits};
  facts.is_lossless = info.is_lossless != 0;
  facts.is_progressive = info.is_progressive != 0;
  const bool is_jpeg = IsSameKind(static_cast<Format>(info.format), Format::kJpeg);
  (is_jpeg ? facts.scans : facts.layers) = info.layers;
  facts.levels = info.levels;
  facts.tiles_across = info.tiles_across;
  facts.tiles_down = info.tiles_down;
  facts.pictures = info.pictures;
  facts.metadata = ReadHead(settings, input).metadata;
  return facts;
}

// Of a file that the tool reads itself.
template <class Reader>
Facts FactsOfReader(const Reader& reader) {
  Facts facts;
  facts.width = reader.width();
  facts.height = reader.height();
  facts.form = reader.form();
  return facts;
}

Facts FactsOfPng(const Settings& settings, ByteView input) {
  PngReader reader(input, settings.max_pixels);
  Picture head;
  reader.TakeMetadata(&head);
  Facts facts = FactsOfReader(reader);
  facts.is_progressive = reader.passes() > 1;
  facts.metadata = std::move(head.metadata);
  return facts;
}

#ifdef ZEPCONVERT_HAS_TIFF
Facts FactsOfTiff(const Settings& settings, ByteView input) {
  TiffReader reader(input, settings.max_pixels);
  Picture head;
  reader.TakeHead(&head);
  Facts facts = FactsOfReader(reader);
  facts.is_lossless = reader.is_lossless();
  facts.pictures = reader.pictures();
  facts.metadata = std::move(head.metadata);
  return facts;
}
#endif

Facts FactsOfKind(const Settings& settings, Format format, ByteView input) {
  if (IsOfLibrary(format)) return FactsOfLibraryFile(settings, input);
#ifdef ZEPCONVERT_HAS_TIFF
  if (format == Format::kOtherTiff) return FactsOfTiff(settings, input);
#endif
  return format == Format::kPng ? FactsOfPng(settings, input)
                                : FactsOfReader(PnmReader(input, settings.max_pixels));
}

const char* ColorsOf(zepcLayout layout) {
  switch (layout) {
    case zepcLayoutGrey: return "grey";
    case zepcLayoutGreyAlpha: return "grey with opacity";
    case zepcLayoutRgba: return "RGB with opacity";
    case zepcLayoutCmyk: return "CMYK";
    default: return "RGB";
  }
}

const char* SamplesOf(zepcSample sample) {
  switch (sample) {
    case zepcSampleS16:
    case zepcSampleS32: return "fixed point";
    case zepcSampleF16:
    case zepcSampleF32: return "floating point";
    default: return "unsigned";
  }
}

std::string Resolution(const Metadata& metadata) {
  if (metadata.resolution_unit == zepcResolutionNone) return "";
  const std::string both =
      Number(metadata.resolution_x, 0) + " x " + Number(metadata.resolution_y, 0);
  switch (metadata.resolution_unit) {
    case zepcResolutionInch: return both + " pixels an inch";
    case zepcResolutionCm: return both + " pixels a cm";
    default: return "pixels of shape " + both;
  }
}

// "3 tiles"; nothing for a number that every file has.
std::string Count(int number, int usual, const char* what) {
  return number == usual ? "" : std::to_string(number) + " " + what;
}

// The bytes that end a file of this format, or come shortly before its end; empty: none.
std::string EndMark(Format format) {
  switch (format) {
    case Format::kPng: return "IEND";
    case Format::kJpeg:
    case Format::kLosslessJpeg:
    case Format::kJp2:
    case Format::kJ2k: return "\xFF\xD9";
    default: return "";
  }
}

// A file that was cut off has no end mark.
std::string DamageAtEnd(Format format, ByteView input) {
  constexpr size_t kMostAfter = size_t{1} << 20;  // metadata may follow
  const std::string mark = EndMark(format);
  const uint8_t* const end = input.data + input.size;
  const uint8_t* const from = end - std::min(input.size, kMostAfter);
  const bool has_end = std::search(from, end, mark.begin(), mark.end(), [](uint8_t a, char b) {
                         return a == static_cast<uint8_t>(b);
                       }) != end;
  return has_end || mark.empty() ? "" : "the end of the picture is missing";
}

}  // namespace

Facts FactsOf(const Settings& settings, ByteView input) {
  const Format format = FormatOfBytes(input.data, input.size);
  RefuseForeignFile(format, input);
  Facts facts = FactsOfKind(settings, ReadingFormat(input.data, input.size), input);
  facts.format = format;
  facts.bytes = input.size;
  facts.damage = DamageAtEnd(format, input);
  return facts;
}

std::string Sentence(const Facts& facts) {
  const Metadata& metadata = facts.metadata;
  std::string text = NameOf(facts.format);
  const auto add = [&](const std::string& part) {
    if (!part.empty()) text += ", " + part;
  };
  add(facts.is_progressive ? "progressive" : "");
  add(std::to_string(facts.width) + " x " + std::to_string(facts.height));
  add(ColorsOf(facts.form.layout));
  add(std::to_string(facts.form.bits) + " bits");
  add(IsLight(facts.form.sample) ? SamplesOf(facts.form.sample) : "");
  add(Size(facts.bytes));
  add(facts.is_lossless ? "lossless" : "");
  add(Count(facts.scans, 1, "scans"));
  add(Count(facts.layers, 1, "layers"));
  add(Count(facts.tiles_across * facts.tiles_down, 1, "tiles"));
  add(Count(facts.pictures, 1, "pictures"));
  add(metadata.exif.empty() ? "" : "EXIF");
  add(metadata.icc.empty() ? "" : "ICC profile");
  add(metadata.xmp.empty() ? "" : "XMP");
  add(metadata.orientation > 1 ? "orientation " + std::to_string(metadata.orientation) : "");
  add(Resolution(metadata));
  return text;
}

nlohmann::ordered_json Json(const Facts& facts) {
  const Metadata& metadata = facts.metadata;
  nlohmann::ordered_json json = {{"format", NameOf(facts.format)},
                                 {"bytes", facts.bytes},
                                 {"width", facts.width},
                                 {"height", facts.height},
                                 {"colors", ColorsOf(facts.form.layout)},
                                 {"channels", ChannelCount(facts.form.layout)},
                                 {"bits", facts.form.bits},
                                 {"samples", SamplesOf(facts.form.sample)},
                                 {"lossless", facts.is_lossless},
                                 {"progressive", facts.is_progressive},
                                 {"scans", facts.scans},
                                 {"layers", facts.layers},
                                 {"levels", facts.levels},
                                 {"tiles", {facts.tiles_across, facts.tiles_down}},
                                 {"pictures", facts.pictures},
                                 {"exif_bytes", metadata.exif.size()},
                                 {"icc_bytes", metadata.icc.size()},
                                 {"xmp_bytes", metadata.xmp.size()},
                                 {"orientation", metadata.orientation}};
  constexpr const char* kUnits[] = {"none", "shape", "inch", "cm"};
  json["resolution"] = {{"x", metadata.resolution_x},
                        {"y", metadata.resolution_y},
                        {"unit", kUnits[metadata.resolution_unit]}};
  return json;
}

}  // namespace zepconvert
