// SPDX-License-Identifier: MIT
#include "tools/zepconvert/foreign_formats.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "tools/zepconvert/failure.h"

namespace zepconvert {
namespace {

using namespace std::string_view_literals;

constexpr char kReadable[] =
    "zepconvert reads JPEG, JPEG 2000, JPEG XR, PNG, TIFF, PNM, PFM, PAM and DDS";

struct Signature {
  size_t offset;
  std::string_view bytes;
  const char* name;
};
// The first match counts.
constexpr Signature kSignatures[] = {
    {0, "GIF8"sv, "a GIF picture"},
    {8, "WEBP"sv, "a WebP picture"},
    {8, "AVI "sv, "an AVI video"},
    {8, "WAVE"sv, "a WAV recording"},
    {4, "ftypavif"sv, "an AVIF picture"},
    {4, "ftypavis"sv, "an AVIF picture"},
    {4, "ftyphei"sv, "an HEIC picture"},
    {4, "ftyphev"sv, "an HEIC picture"},
    {4, "ftypmif1"sv, "an HEIF picture"},
    {4, "ftypmsf1"sv, "an HEIF picture"},
    {4, "ftypcrx "sv, "a raw photograph (CR3)"},
    {4, "ftypqt  "sv, "a QuickTime video"},
    {4, "ftyp"sv, "an MP4 video"},
    {4, "moov"sv, "a QuickTime video"},
    {4, "mdat"sv, "a QuickTime video"},
    {0, "\xFF\x0A"sv, "a JPEG XL picture"},
    {0, "\0\0\0\x0CJXL \r\n\x87\n"sv, "a JPEG XL picture"},
    {0, "\xFF\xD8\xFF\xF7"sv, "a JPEG-LS picture"},
    {0, "8BPS"sv, "a Photoshop picture (PSD)"},
    {0, "\0\0\1\0"sv, "an icon (ICO)"},
    {0, "\0\0\2\0"sv, "a cursor (CUR)"},
    {0, "%PDF-"sv, "a PDF document"},
    {0, "%!PS"sv, "a PostScript document"},
    {0, "\x76\x2F\x31\x01"sv, "an OpenEXR picture"},
    {0, "qoif"sv, "a QOI picture"},
    {0, "\xABKTX 11\xBB"sv, "a KTX texture"},
    {0, "\xABKTX 20\xBB"sv, "a KTX2 texture"},
    {0, "\x13\xAB\xA1\x5C"sv, "an ASTC texture"},
    {0, "SIMPLE  ="sv, "a FITS picture"},
    {128, "DICM"sv, "a DICOM file"},
    {0, "#?RADIANCE"sv, "a Radiance picture, which zepconvert only writes"},
    {0, "#?RGBE"sv, "a Radiance picture, which zepconvert only writes"},
    {0, "FUJIFILMCCD-RAW"sv, "a raw photograph (RAF)"},
    {0, "IIRO"sv, "a raw photograph (ORF)"},
    {0, "IIRS"sv, "a raw photograph (ORF)"},
    {0, "IIU\0"sv, "a raw photograph (RW2)"},
    {0, "\xD7\xCD\xC6\x9A"sv, "a Windows metafile"},
    {0, "gimp xcf"sv, "a GIMP picture (XCF)"},
    {0, "AT&TFORM"sv, "a DjVu document"},
    {0, "\x1F\x8B"sv, "a file packed by gzip"},
    {0, "BZh"sv, "a file packed by bzip2"},
    {0,
     "\xFD"
     "7zXZ"sv,
     "a file packed by xz"},
    {0, "\x28\xB5\x2F\xFD"sv, "a file packed by zstd"},
    {0, "PK\3\4"sv, "a ZIP archive"},
    {0, "PK\5\6"sv, "a ZIP archive"},
    {0, "7z\xBC\xAF\x27\x1C"sv, "a 7-Zip archive"},
    {0, "Rar!\x1A\7"sv, "a RAR archive"},
    {257, "ustar"sv, "a tar archive"},
    {0, "\x1A\x45\xDF\xA3"sv, "a Matroska or WebM video"},
    {0, "ID3"sv, "an MP3 recording"},
    {0, "OggS"sv, "an Ogg recording or video"},
    {0,
     "\x7F"
     "ELF"sv,
     "a program"},
};

bool HasAt(ByteView input, size_t offset, std::string_view bytes) {
  return input.size >= offset + bytes.size() &&
         std::memcmp(input.data + offset, bytes.data(), bytes.size()) == 0;
}

uint32_t Little(ByteView input, size_t offset, size_t count) {
  uint32_t value = 0;
  for (size_t i = 0; i < count; ++i) value |= uint32_t{input.data[offset + i]} << (8 * i);
  return value;
}

// Two letters are too short for a signature, so the size of the second header is part of it.
bool IsBmp(ByteView input) {
  if (!HasAt(input, 0, "BM") || input.size < 18) return false;
  const uint32_t header = Little(input, 14, 4);
  return header >= 12 && header <= 124;
}

// Some kilobytes without control characters other than white space.
bool IsText(ByteView input) {
  constexpr size_t kEnough = 4096;
  return std::all_of(input.data, input.data + std::min(input.size, kEnough), [](uint8_t c) {
    return c >= 0x20 ? c != 0x7F : c == '\n' || c == '\r' || c == '\t' || c == '\f';
  });
}

// The file with small letters, without a byte order mark and white space at its start.
std::string Lowered(ByteView input) {
  constexpr size_t kEnough = 4096;
  size_t at = HasAt(input, 0, "\xEF\xBB\xBF") ? 3 : 0;
  while (at < input.size && std::isspace(input.data[at]) != 0) ++at;
  std::string text(input.data + at, input.data + std::min(input.size, at + kEnough));
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

const char* NameOfText(ByteView input) {
  const std::string text = Lowered(input);
  const auto begins = [&](std::string_view start) {
    return text.compare(0, start.size(), start) == 0;
  };
  const bool has_svg = text.find("<svg") != std::string::npos;
  if (begins("<svg") || (begins("<?xml") && has_svg) || (begins("<!--") && has_svg) ||
      begins("<!doctype svg")) {
    return "an SVG drawing";
  }
  if (begins("<!doctype html") || begins("<html") || begins("<head")) return "a web page (HTML)";
  if (begins("<?xml")) return "an XML file";
  return IsText(input) ? "a text file" : nullptr;
}

const char* NameOf(ByteView input) {
  for (const Signature& signature : kSignatures) {
    if (HasAt(input, signature.offset, signature.bytes)) return signature.name;
  }
  return IsBmp(input) ? "a BMP picture" : NameOfText(input);
}

// The first directory of a TIFF file.
class Directory {
 public:
  explicit Directory(ByteView file) : file_(file), is_little_(HasAt(file, 0, "II")) {
    at_ = Number(4, 4);
    count_ = Number(at_, 2);
  }

  bool Has(uint32_t tag) const { return Find(tag) != 0; }
  // Of a field of one number.
  uint32_t ValueOf(uint32_t tag) const {
    const size_t field = Find(tag);
    constexpr uint32_t kShort = 3;
    return field == 0 ? 0 : Number(field + 8, Number(field + 2, 2) == kShort ? 2 : 4);
  }
  bool TextBegins(uint32_t tag, std::string_view start) const {
    const size_t field = Find(tag);
    return field != 0 && HasAt(file_, Number(field + 8, 4), start);
  }

 private:
  // 0 beyond the end.
  uint32_t Number(size_t offset, size_t count) const {
    if (offset > file_.size || file_.size - offset < count) return 0;
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i) {
      value = value << 8 | file_.data[offset + (is_little_ ? count - 1 - i : i)];
    }
    return value;
  }
  // Its place; 0: there is none.
  size_t Find(uint32_t tag) const {
    constexpr size_t kFieldBytes = 12;
    for (size_t i = 0; i < count_; ++i) {
      const size_t field = at_ + 2 + i * kFieldBytes;
      if (Number(field, 2) == tag) return field;
    }
    return 0;
  }

  ByteView file_;
  bool is_little_;
  size_t at_;
  size_t count_;
};

std::string WhyNotRead(ByteView input) {
  if (input.size == 0) return "the file is empty";
  const char* const name = NameOf(input);
  return std::string(name == nullptr ? "an unknown kind of file" : name) + "; " + kReadable;
}

// Empty: the TIFF file is no raw photograph.
std::string RawPhotographName(ByteView tiff) {
  constexpr uint32_t kNewSubfileType = 254, kMake = 271, kSubDirectories = 330, kDngVersion = 50706;
  if (HasAt(tiff, 8, "CR\2")) return "CR2";
  if (!HasAt(tiff, 0, "II*\0"sv) && !HasAt(tiff, 0, "MM\0*"sv)) return "";  // BigTIFF
  const Directory directory(tiff);
  if (directory.Has(kDngVersion)) return "DNG";
  const bool is_preview = (directory.ValueOf(kNewSubfileType) & 1) != 0;
  if (!is_preview || !directory.Has(kSubDirectories)) return "";
  if (directory.TextBegins(kMake, "NIKON")) return "NEF";
  return directory.TextBegins(kMake, "SONY") ? "ARW" : "";
}

}  // namespace

void RefuseForeignFile(Format format, ByteView input) {
  if (format == Format::kUnknown) throw Failure(WhyNotRead(input));
  if (!IsSameKind(format, Format::kTiff)) return;
  const std::string name = RawPhotographName(input);
  if (!name.empty()) throw Failure("a raw photograph (" + name + "), which needs a raw developer");
}

}  // namespace zepconvert
