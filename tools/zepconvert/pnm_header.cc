// SPDX-License-Identifier: MIT
#include "tools/zepconvert/pnm_header.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

#include "tools/zepconvert/failure.h"

namespace zepconvert {
namespace {

// A word after white space.
std::string ReadWord(ByteView file, size_t* at) {
  while (*at < file.size && std::isspace(file.data[*at]) != 0) ++*at;
  const size_t start = *at;
  while (*at < file.size && std::isspace(file.data[*at]) == 0) ++*at;
  return {file.data + start, file.data + *at};
}

// Lines of a name and a value up to ENDHDR.
void ReadPamHeader(ByteView file, size_t* at, PnmHeader* header) {
  int64_t channels = 0;
  while (*at < file.size) {
    const std::string name = ReadWord(file, at);
    if (name == "ENDHDR") break;
    if (name == "WIDTH") {
      header->width = ReadPnmNumber(file, at);
    } else if (name == "HEIGHT") {
      header->height = ReadPnmNumber(file, at);
    } else if (name == "DEPTH") {
      channels = ReadPnmNumber(file, at);
    } else if (name == "MAXVAL") {
      header->max_value = ReadPnmNumber(file, at);
    } else if (name == "TUPLTYPE") {  // RGB and the like, which the number of channels tells too
      header->is_cmyk = ReadWord(file, at) == "CMYK";
    } else {  // comments
      while (*at < file.size && file.data[*at] != '\n') ++*at;
    }
  }
  if (channels < 1 || channels > 4) {
    throw Failure("a PAM file of " + std::to_string(channels) + " channels; 1 to 4 can be read");
  }
  header->channels = static_cast<int>(channels);
  header->is_cmyk = header->is_cmyk && channels == 4;
}

// The sign of the scale tells the order of bytes. Its amount is a unit of light, which no other
// format has.
void ReadScale(ByteView file, size_t* at, PnmHeader* header) {
  const std::string scale = ReadWord(file, at);
  if (scale.find_first_of("123456789") == std::string::npos) throw Failure("the scale is damaged");
  header->is_big_endian = scale[0] != '-';
  header->max_value = 1;
}

PnmCoding CodingOf(uint8_t kind) {
  switch (kind) {
    case '1': return PnmCoding::kPlainBits;
    case '2':
    case '3': return PnmCoding::kPlainText;
    case '4': return PnmCoding::kPackedBits;
    case 'F':
    case 'f': return PnmCoding::kFloats;
    default: return PnmCoding::kBytes;
  }
}

}  // namespace

size_t PnmHeader::SampleBytes() const {
  if (coding == PnmCoding::kFloats) return 4;
  return max_value > 255 ? 2 : 1;
}

size_t PnmHeader::SamplesInRow() const {
  return static_cast<size_t>(width) * static_cast<size_t>(channels);
}

size_t PnmHeader::LeastRowBytes() const {
  switch (coding) {
    case PnmCoding::kPackedBits: return (SamplesInRow() + 7) / 8;
    case PnmCoding::kPlainBits: return SamplesInRow();
    case PnmCoding::kPlainText: return 2 * SamplesInRow() - 1;
    default: return SamplesInRow() * SampleBytes();
  }
}

bool IsPnm(const uint8_t* data, size_t size) {
  return size >= 3 && data[0] == 'P' && data[1] != '\0' &&
         std::strchr("1234567Ff", data[1]) != nullptr &&
         (std::isspace(data[2]) != 0 || data[2] == '#');
}

void SkipPnmSpace(ByteView file, size_t* at) {
  for (; *at < file.size && (std::isspace(file.data[*at]) != 0 || file.data[*at] == '#'); ++*at) {
    if (file.data[*at] != '#') continue;
    while (*at + 1 < file.size && file.data[*at] != '\n') ++*at;
  }
}

int64_t ReadPnmNumber(ByteView file, size_t* at) {
  SkipPnmSpace(file, at);
  int64_t number = -1;
  for (; *at < file.size && std::isdigit(file.data[*at]) != 0; ++*at) {
    number = std::max<int64_t>(number, 0) * 10 + (file.data[*at] - '0');
    if (number > INT32_MAX) return -1;
  }
  return number;
}

PnmHeader ReadPnmHeader(ByteView file) {
  PnmHeader header;
  const uint8_t kind = file.size > 1 ? file.data[1] : 0;
  header.coding = CodingOf(kind);
  size_t at = 2;
  if (kind == '7') {
    ReadPamHeader(file, &at, &header);
  } else {
    header.channels = kind == '3' || kind == '6' || kind == 'F' ? 3 : 1;
    header.width = ReadPnmNumber(file, &at);
    header.height = ReadPnmNumber(file, &at);
    const bool has_bits =
        header.coding == PnmCoding::kPlainBits || header.coding == PnmCoding::kPackedBits;
    if (header.coding == PnmCoding::kFloats) {
      ReadScale(file, &at, &header);
    } else {
      header.max_value = has_bits ? 1 : ReadPnmNumber(file, &at);
    }
  }
  header.size = at + 1;
  if (header.width < 1 || header.height < 1 || header.max_value < 1 || header.max_value > 65535 ||
      header.size > file.size || std::isspace(file.data[at]) == 0) {
    throw Failure("the PNM header is damaged");
  }
  return header;
}

}  // namespace zepconvert
