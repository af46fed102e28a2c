// SPDX-License-Identifier: MIT
#include "tools/zepconvert/pnm_file.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

#include "tools/zepconvert/jpeg_parts.h"

namespace zepconvert {
namespace {

constexpr char kBadHeader[] = "the PNM header is damaged";

// A number behind white space and comments; negative where there is none.
int64_t ReadNumber(const uint8_t* data, size_t size, size_t* at) {
  while (*at < size && (std::isspace(data[*at]) != 0 || data[*at] == '#')) {
    if (data[*at] == '#') {
      while (*at < size && data[*at] != '\n') ++*at;
    } else {
      ++*at;
    }
  }
  int64_t number = -1;
  for (; *at < size && std::isdigit(data[*at]) != 0; ++*at) {
    number = std::max<int64_t>(number, 0) * 10 + (data[*at] - '0');
    if (number > INT32_MAX) return -1;
  }
  return number;
}

// A word behind white space.
std::string ReadWord(const uint8_t* data, size_t size, size_t* at) {
  while (*at < size && std::isspace(data[*at]) != 0) ++*at;
  const size_t start = *at;
  while (*at < size && std::isspace(data[*at]) == 0) ++*at;
  return {data + start, data + *at};
}

// Lines of a name and a value up to ENDHDR.
zepcodec::Status ReadPamHeader(const uint8_t* data, size_t size, PnmHeader* header) {
  size_t at = 2;
  int64_t channels = 0;
  while (at < size) {
    const std::string name = ReadWord(data, size, &at);
    if (name == "ENDHDR") break;
    if (name == "WIDTH") {
      header->width = ReadNumber(data, size, &at);
    } else if (name == "HEIGHT") {
      header->height = ReadNumber(data, size, &at);
    } else if (name == "DEPTH") {
      channels = ReadNumber(data, size, &at);
    } else if (name == "MAXVAL") {
      header->max_value = ReadNumber(data, size, &at);
    } else if (name == "TUPLTYPE") {  // RGB and the like, which the number of channels tells too
      header->is_cmyk = ReadWord(data, size, &at) == "CMYK";
    } else {  // comments
      while (at < size && data[at] != '\n') ++at;
    }
  }
  if (channels < 1 || channels > 4) {
    return zepcodec::Status::Error("a PAM file of " + std::to_string(channels) +
                                   " channels; 1 to 4 can be read");
  }
  header->channels = static_cast<int>(channels);
  header->is_cmyk = header->is_cmyk && channels == 4;
  header->size = at + 1;
  return zepcodec::Status();
}

int BitsOf(int64_t max_value) {
  int bits = 1;
  while (max_value >> bits != 0) ++bits;
  return bits;
}

// Samples of one or two bytes, the high one first.
int64_t LoadSample(const uint8_t* in, size_t sample_size) {
  return sample_size == 2 ? in[0] << 8 | in[1] : in[0];
}

zepcodec::PixelLayout LayoutOf(const PnmHeader& header) {
  return header.is_cmyk ? zepcodec::PixelLayout::kCmyk
                        : zepcodec::LayoutWithChannels(header.channels);
}

zepcodec::Status ReadImage(const PnmHeader& header, const uint8_t* in, zepcodec::Picture* image) {
  if (!image->Resize(static_cast<int>(header.width), static_cast<int>(header.height),
                     LayoutOf(header))) {
    return zepcodec::Status::NoMemory();
  }
  const size_t count = image->SizeInBytes();
  if (header.max_value == 255) {
    std::memcpy(image->Row(0), in, count);
    return zepcodec::Status();
  }
  for (size_t i = 0; i < count; ++i) {
    const int64_t scaled = (in[i] * 255 + header.max_value / 2) / header.max_value;
    image->Row(0)[i] = static_cast<uint8_t>(std::min<int64_t>(scaled, 255));
  }
  return zepcodec::Status();
}

zepcodec::Status ReadDeep(const PnmHeader& header, const uint8_t* in, zepcodec::Picture* deep) {
  int bits = BitsOf(header.max_value);
  if (header.max_value != (1 << bits) - 1) bits = 16;
  if (!deep->Resize(static_cast<int>(header.width), static_cast<int>(header.height),
                    LayoutOf(header), bits)) {
    return zepcodec::Status::NoMemory();
  }
  const int64_t most = deep->MaxValue();
  const size_t sample_size = header.max_value > 255 ? 2 : 1;
  const size_t count = deep->SampleCount();
  for (size_t i = 0; i < count; ++i, in += sample_size) {
    const int64_t value = std::min(LoadSample(in, sample_size), header.max_value);
    const int64_t scaled =
        most == header.max_value ? value : (value * most + header.max_value / 2) / header.max_value;
    deep->Set(i, static_cast<int>(scaled));
  }
  return zepcodec::Status();
}

std::string MakeHeader(PnmKind kind, int width, int height, int channels, int max_value,
                       bool is_cmyk) {
  const std::string size = std::to_string(width) + " " + std::to_string(height);
  const std::string most = std::to_string(max_value);
  if (kind != PnmKind::kPam) {
    const bool is_ppm = kind == PnmKind::kPpm || channels == 3;
    return std::string(is_ppm ? "P6" : "P5").append("\n" + size + "\n" + most + "\n");
  }
  constexpr const char* kTypes[] = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
  return "P7\nWIDTH " + std::to_string(width) + "\nHEIGHT " + std::to_string(height) + "\nDEPTH " +
         std::to_string(channels) + "\nMAXVAL " + most + "\nTUPLTYPE " +
         (is_cmyk ? "CMYK" : kTypes[channels - 1]) + "\nENDHDR\n";
}

bool AppendText(const std::string& text, zepcodec::ByteBuffer* file) {
  return file->Append(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

zepcodec::Status WriteImage(const zepcodec::Picture& image, PnmKind kind,
                            zepcodec::ByteBuffer* file) {
  const size_t count = image.SizeInBytes();
  const std::string header = MakeHeader(kind, image.width(), image.height(), image.channels(), 255,
                                        image.layout() == zepcodec::PixelLayout::kCmyk);
  const bool widen = kind == PnmKind::kPpm && image.channels() == 1;
  if (!file->Resize(0) || !file->MakeRoom(header.size() + count * (widen ? 3 : 1)) ||
      !AppendText(header, file)) {
    return zepcodec::Status::NoMemory();
  }
  if (!widen)
    return file->Append(image.Row(0), count) ? zepcodec::Status() : zepcodec::Status::NoMemory();
  const size_t start = file->size();
  if (!file->Resize(start + 3 * count)) return zepcodec::Status::NoMemory();
  uint8_t* out = file->data() + start;
  for (size_t i = 0; i < count; ++i, out += 3) std::memset(out, image.Row(0)[i], 3);
  return zepcodec::Status();
}

zepcodec::Status WriteDeep(const zepcodec::Picture& picture, PnmKind kind,
                           zepcodec::ByteBuffer* file) {
  const std::string header = MakeHeader(kind, picture.width(), picture.height(), picture.channels(),
                                        picture.MaxValue(), false);
  const int copies = kind == PnmKind::kPpm && picture.channels() == 1 ? 3 : 1;
  const size_t size = picture.SizeInBytes() * static_cast<size_t>(copies);
  if (!file->Resize(0) || !AppendText(header, file) || !file->Resize(header.size() + size)) {
    return zepcodec::Status::NoMemory();
  }
  uint8_t* out = file->data() + header.size();
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    const int value = picture.Get(i);
    for (int copy = 0; copy < copies; ++copy) {
      if (picture.bits() > 8) *out++ = static_cast<uint8_t>(value >> 8);
      *out++ = static_cast<uint8_t>(value & 255);
    }
  }
  return zepcodec::Status();
}

}  // namespace

zepcodec::Status ReadPnmHeader(const uint8_t* data, size_t size, PnmHeader* header) {
  if (size > 1 && data[1] == '7') {
    if (zepcodec::Status status = ReadPamHeader(data, size, header); !status.ok()) return status;
  } else {
    header->channels = size > 1 && data[1] == '6' ? 3 : 1;
    size_t at = 2;
    header->width = ReadNumber(data, size, &at);
    header->height = ReadNumber(data, size, &at);
    header->max_value = ReadNumber(data, size, &at);
    header->size = at + 1;
  }
  if (header->width < 1 || header->height < 1 || header->max_value < 1 ||
      header->max_value > 65535 || header->size > size ||
      std::isspace(data[header->size - 1]) == 0) {
    return zepcodec::Status::Error(kBadHeader);
  }
  return zepcodec::Status();
}

zepcodec::Status ReadPnm(const uint8_t* data, size_t size, int64_t max_pixels, Picture* picture) {
  PnmHeader header;
  if (zepcodec::Status status = ReadPnmHeader(data, size, &header); !status.ok()) return status;
  zepcodec::Status status = CheckPixels(header.width, header.height, max_pixels);
  if (!status.ok()) return status;
  const size_t sample_size = header.max_value > 255 ? 2 : 1;
  const size_t count = static_cast<size_t>(header.width * header.height * header.channels);
  if ((size - header.size) / sample_size < count) {
    return zepcodec::Status::Error("the file ends within the picture");
  }
  const uint8_t* in = data + header.size;
  const bool is_power = (header.max_value & (header.max_value + 1)) == 0;
  const bool is_image =
      header.max_value == 255 || header.max_value == 1 || (header.max_value < 255 && !is_power);
  if (is_image) return ReadImage(header, in, &picture->image);
  status = ReadDeep(header, in, &picture->image);
  return status.ok() ? DeepInksToRgb(picture) : status;
}

zepcodec::Status WritePnm(const zepcodec::Picture& image, PnmKind kind,
                          zepcodec::ByteBuffer* file) {
  return image.bits() == 8 ? WriteImage(image, kind, file) : WriteDeep(image, kind, file);
}

}  // namespace zepconvert
