// SPDX-License-Identifier: MIT
#include "codecs/dds/header.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <string>

#include "codecs/support/byte_reader.h"

namespace zepcodec::dds {
namespace {

constexpr uint32_t FourCc(const char (&name)[5]) {
  uint32_t code = 0;
  for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<uint8_t>(name[i]);
  return code;
}

// Fields by their offset in the file. The header's size counts from its own first field.
constexpr size_t kHeaderSize = 4, kFlags = 8, kHeight = 12, kWidth = 16, kLinearSize = 20;
constexpr size_t kDepth = 24, kLevelCount = 28, kReserved = 32, kPixelFormatSize = 76,
                 kPixelFormatFlags = 80;
constexpr size_t kFourCcField = 84, kBitCount = 88, kMasks = 92, kCaps = 108, kCaps2 = 112,
                 kPlainHeaderEnd = 128;
constexpr size_t kDxgiFormat = 128, kDimension = 132, kMiscFlags = 136, kArraySize = 140;
constexpr size_t kOpacityMode = 144, kDx10HeaderEnd = 148;

constexpr uint32_t kMagic = FourCc("DDS ");
constexpr uint32_t kHasCapsAndSizeAndFormat = 0x1 | 0x2 | 0x4 | 0x1000;
constexpr uint32_t kHasLevelCount = 0x20000, kHasLinearSize = 0x80000;
constexpr uint32_t kHasOpacityBits = 0x1, kIsOpacity = 0x2, kHasFourCc = 0x4, kIsRgb = 0x40,
                   kIsGrey = 0x20000;
constexpr uint32_t kIsTexture = 0x1000, kIsComplex = 0x8, kHasMipmaps = 0x400000;
constexpr uint32_t kIsCube = 0x200, kFaces = 0xFC00, kIsVolume = 0x200000;
constexpr uint32_t kTexture2d = 3, kTexture3d = 4, kDx10Cube = 0x4;
constexpr uint32_t kOpacityModes = 7, kPremultiplied = 2;
constexpr uint32_t kMark[2] = {FourCc("ZEPJ"), FourCc("YCOC")};

struct Name {
  uint32_t four_cc;
  BlockFormat format;
};
constexpr std::array<Name, 11> kNames = {{{FourCc("DXT1"), BlockFormat::kBc1},
                                          {FourCc("DXT3"), BlockFormat::kBc2},
                                          {FourCc("DXT5"), BlockFormat::kBc3},
                                          {FourCc("ATI1"), BlockFormat::kBc4},
                                          {FourCc("ATI2"), BlockFormat::kBc5},
                                          {FourCc("BC4U"), BlockFormat::kBc4},
                                          {FourCc("BC5U"), BlockFormat::kBc5},
                                          {FourCc("DXT2"), BlockFormat::kBc2},
                                          {FourCc("DXT4"), BlockFormat::kBc3},
                                          {FourCc("BC4S"), BlockFormat::kBc4Signed},
                                          {FourCc("BC5S"), BlockFormat::kBc5Signed}}};

// Numbers of the extended header: three for each format, untyped, linear (in BC4 and BC5: unsigned)
// and sRGB (in BC4 and BC5: signed). Those of BC6H (untyped, unsigned, signed) and BC7 follow
// later.
constexpr uint32_t kFirstDxgi = 70, kDxgiCount = 15;
constexpr uint32_t kDxgiBc6h = 94, kDxgiBc6hSigned = 96, kDxgiBc7 = 97, kLastDxgi = 99;

// The field at an offset of the file; 0 where the file ends before it.
uint32_t Field(const ByteReader& file, size_t offset) { return file.At(offset).Long(); }

std::string NameOf(uint32_t four_cc) {
  std::string name;
  for (int i = 0; i < 4; ++i) {
    const auto c = static_cast<unsigned char>(four_cc >> (8 * i));
    name += std::isprint(c) != 0 ? static_cast<char>(c) : '?';
  }
  return name;
}

// Some programs write 0 where others write 1, for depth, levels and elements of an array alike.
int64_t Count(const ByteReader& file, size_t offset) {
  return std::max(int64_t{Field(file, offset)}, int64_t{1});
}

Status ParseFourCc(uint32_t four_cc, Header* header) {
  if (FindNumberedPixels(four_cc, &header->pixels)) {
    header->format = BlockFormat::kPixels;
    return Status();
  }
  const auto* found = std::find_if(kNames.begin(), kNames.end(),
                                   [&](const Name& name) { return name.four_cc == four_cc; });
  if (found == kNames.end()) {
    return Status::Error("the pixel format " + NameOf(four_cc) + " is not supported");
  }
  header->format = found->format;
  header->is_premultiplied = four_cc == FourCc("DXT2") || four_cc == FourCc("DXT4");
  return Status();
}

Status ParseMasks(const ByteReader& file, Header* header) {
  const uint32_t flags = Field(file, kPixelFormatFlags);
  if ((flags & (kIsRgb | kIsGrey | kIsOpacity)) == 0) {
    return Status::Error("pixels of this kind (flags " + std::to_string(flags) +
                         ") are not supported");
  }
  Masks masks{};
  const bool has_colors = (flags & (kIsRgb | kIsGrey)) != 0;
  const size_t colors = (flags & kIsRgb) != 0 ? 3 : 1;
  for (size_t i = 0; i < colors && has_colors; ++i) masks[i] = Field(file, kMasks + 4 * i);
  if ((flags & (kHasOpacityBits | kIsOpacity)) != 0) masks[3] = Field(file, kMasks + 12);
  const uint32_t bits = Field(file, kBitCount);
  header->format = BlockFormat::kPixels;
  if (MakeMaskedFormat(bits, masks, &header->pixels)) return Status();
  return Status::Error("pixels of " + std::to_string(bits) +
                       " bits with such masks are not supported");
}

Status ParseDxgi(uint32_t number, Header* header) {
  const std::string name = "the pixel format " + std::to_string(number);
  if (number >= kDxgiBc6h && number <= kLastDxgi) {
    header->format = number >= kDxgiBc7          ? BlockFormat::kBc7
                     : number == kDxgiBc6hSigned ? BlockFormat::kBc6hSigned
                                                 : BlockFormat::kBc6hUnsigned;
    return Status();
  }
  if (FindDxgiPixels(number, &header->pixels)) {
    header->format = BlockFormat::kPixels;
    return Status();
  }
  if (number < kFirstDxgi || number >= kFirstDxgi + kDxgiCount) {
    return Status::Error(name + " of the extended header is not supported");
  }
  header->format = static_cast<BlockFormat>((number - kFirstDxgi) / 3);
  if (header->format >= BlockFormat::kBc4 && (number - kFirstDxgi) % 3 == 2) {
    header->format =
        header->format == BlockFormat::kBc4 ? BlockFormat::kBc4Signed : BlockFormat::kBc5Signed;
  }
  return Status();
}

uint32_t DxgiNumber(BlockFormat format) {
  switch (format) {
    case BlockFormat::kBc6hUnsigned: return kDxgiBc6h + 1;
    case BlockFormat::kBc6hSigned: return kDxgiBc6hSigned;
    case BlockFormat::kBc7: return kDxgiBc7 + 1;
    default: return kFirstDxgi + 1 + 3 * static_cast<uint32_t>(format);
  }
}

Status ParseFormat(const ByteReader& file, Header* header) {
  header->data_offset = kPlainHeaderEnd;
  if ((Field(file, kPixelFormatFlags) & kHasFourCc) == 0) return ParseMasks(file, header);
  const uint32_t four_cc = Field(file, kFourCcField);
  if (four_cc != FourCc("DX10")) return ParseFourCc(four_cc, header);
  if (file.left() < kDx10HeaderEnd) return Status::Error("the file ends within its header");
  header->data_offset = kDx10HeaderEnd;
  const uint32_t dimension = Field(file, kDimension);
  if (dimension != kTexture2d && dimension != kTexture3d) {
    return Status::Error("textures of one dimension are not supported");
  }
  header->pictures = dimension == kTexture3d ? 1 : Count(file, kArraySize);
  header->depth = dimension == kTexture3d ? Count(file, kDepth) : 1;
  if ((Field(file, kMiscFlags) & kDx10Cube) != 0) header->pictures *= 6;
  header->is_premultiplied = (Field(file, kOpacityMode) & kOpacityModes) == kPremultiplied;
  return ParseDxgi(Field(file, kDxgiFormat), header);
}

Status ParseSize(const ByteReader& file, Header* header) {
  const uint32_t width = Field(file, kWidth);
  const uint32_t height = Field(file, kHeight);
  if (width < 1 || height < 1 || width > kMostPixelsOnASide || height > kMostPixelsOnASide) {
    return Status::Error("the header announces " + std::to_string(width) + " x " +
                         std::to_string(height) + " pixels");
  }
  header->width = static_cast<int>(width);
  header->height = static_cast<int>(height);
  const bool has_levels =
      (Field(file, kFlags) & kHasLevelCount) != 0 || (Field(file, kCaps) & kHasMipmaps) != 0;
  const uint32_t levels = has_levels ? std::max(Field(file, kLevelCount), 1u) : 1;
  const auto depth = static_cast<int>(std::min<int64_t>(header->depth, kMostPixelsOnASide));
  const int most = FullLevelCount(std::max(header->width, depth), header->height);
  if (levels > static_cast<uint32_t>(most)) {
    return Status::Error("the header announces " + std::to_string(levels) + " levels, of " +
                         std::to_string(most) + " at most");
  }
  header->levels = static_cast<int>(levels);
  return Status();
}

uint64_t SliceBytes(const Header& header, int width, int height) {
  const auto wide = static_cast<uint64_t>(width), high = static_cast<uint64_t>(height);
  if (header.format == BlockFormat::kPixels) {
    return wide * high * static_cast<uint64_t>(header.pixels.bytes);
  }
  return (wide + 3) / 4 * ((high + 3) / 4) * BlockSize(header.format);
}

int64_t DepthOf(const Header& header, int level) {
  return std::max<int64_t>(header.depth >> level, 1);
}

Status CheckFileSize(const Header& header, size_t size) {
  const auto left = static_cast<int64_t>(size - header.data_offset);
  auto picture = static_cast<int64_t>(SliceBytes(header, header.width, header.height));
  int64_t pictures = header.PictureCount();
  if (left / picture >= header.depth) {  // so the sizes of all levels are no large numbers
    const Level last = LevelsOf(header).back();
    const auto slices = static_cast<uint64_t>(DepthOf(header, header.levels - 1));
    picture = static_cast<int64_t>(last.offset + slices * last.size - header.data_offset);
    pictures = header.pictures;
    if (left / picture >= pictures) return Status();
  }
  return Status::Error("the header announces " + std::to_string(pictures) + " x " +
                       std::to_string(picture) + " bytes of pixels, the file holds " +
                       std::to_string(left));
}

}  // namespace

int FullLevelCount(int width, int height) {
  int count = 1;
  for (int longer = std::max(width, height); longer > 1; longer /= 2) ++count;
  return count;
}

std::vector<Level> LevelsOf(const Header& header) {
  std::vector<Level> levels;
  uint64_t offset = header.data_offset;
  for (int i = 0; i < header.levels; ++i) {
    const int width = std::max(header.width >> i, 1);
    const int height = std::max(header.height >> i, 1);
    levels.push_back({width, height, offset, SliceBytes(header, width, height)});
    offset += levels.back().size * static_cast<uint64_t>(DepthOf(header, i));
  }
  return levels;
}

Status ParseHeader(const uint8_t* data, size_t size, Header* header) {
  *header = Header();
  const ByteReader file(data, size, ByteOrder::kLittle);
  if (Field(file, 0) != kMagic) return Status::Error("not a DDS file");
  if (size < kPlainHeaderEnd) return Status::Error("the file ends within its header");
  if (Field(file, kHeaderSize) != 124 || Field(file, kPixelFormatSize) != 32) {
    return Status::Error("the header is damaged");
  }
  const uint32_t caps2 = Field(file, kCaps2);
  if ((caps2 & kIsVolume) != 0) header->depth = Count(file, kDepth);
  if ((caps2 & kIsCube) != 0) {
    header->pictures = std::max(__builtin_popcount(caps2 & kFaces), 1);
  }
  if (Status status = ParseFormat(file, header); !status.ok()) return status;
  if (Status status = ParseSize(file, header); !status.ok()) return status;
  header->is_ycocg = header->format == BlockFormat::kBc3 && Field(file, kReserved) == kMark[0] &&
                     Field(file, kReserved + 4) == kMark[1];
  return CheckFileSize(*header, size);
}

Status AppendHeader(const Header& header, HeaderStyle style, ByteBuffer* file) {
  std::array<uint8_t, kDx10HeaderEnd> bytes{};
  const auto set = [&](size_t offset, uint32_t value) {
    StoreNumber(ByteOrder::kLittle, value, 4, bytes.data() + offset);
  };
  const bool has_mipmaps = header.levels > 1;
  Header first = header;
  first.levels = 1;
  set(0, kMagic);
  set(kHeaderSize, 124);
  set(kFlags, kHasCapsAndSizeAndFormat | kHasLinearSize | (has_mipmaps ? kHasLevelCount : 0));
  set(kHeight, static_cast<uint32_t>(header.height));
  set(kWidth, static_cast<uint32_t>(header.width));
  // Saturated: readers compute the size themselves.
  set(kLinearSize, static_cast<uint32_t>(std::min<uint64_t>(LevelsOf(first)[0].size, UINT32_MAX)));
  set(kLevelCount, static_cast<uint32_t>(header.levels));
  if (header.is_ycocg) {
    set(kReserved, kMark[0]);
    set(kReserved + 4, kMark[1]);
  }
  set(kPixelFormatSize, 32);
  set(kPixelFormatFlags, kHasFourCc);
  set(kCaps, kIsTexture | (has_mipmaps ? kIsComplex | kHasMipmaps : 0));
  const auto format = static_cast<size_t>(header.format);
  if (style == HeaderStyle::kDx10 || header.format > BlockFormat::kBc5) {
    set(kFourCcField, FourCc("DX10"));
    set(kDxgiFormat, DxgiNumber(header.format));
    set(kDimension, kTexture2d);
    set(kArraySize, 1);
    return file->Append(bytes.data(), kDx10HeaderEnd) ? Status() : Status::NoMemory();
  }
  const bool is_later_name =
      style == HeaderStyle::kUnsignedFourCc && header.format >= BlockFormat::kBc4;
  set(kFourCcField, kNames[format + (is_later_name ? 2 : 0)].four_cc);
  return file->Append(bytes.data(), kPlainHeaderEnd) ? Status() : Status::NoMemory();
}

}  // namespace zepcodec::dds
