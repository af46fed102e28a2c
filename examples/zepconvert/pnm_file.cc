// SPDX-License-Identifier: MIT
#include "zepconvert/pnm_file.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

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

}  // namespace

common::Status ReadPnmHeader(const uint8_t* data, size_t size, PnmHeader* header) {
  header->channels = size > 1 && data[1] == '6' ? 3 : 1;
  size_t at = 2;
  header->width = ReadNumber(data, size, &at);
  header->height = ReadNumber(data, size, &at);
  header->max_value = ReadNumber(data, size, &at);
  if (header->width < 1 || header->height < 1 || header->max_value < 1 ||
      header->max_value > 65535 || at >= size || std::isspace(data[at]) == 0) {
    return common::Status::Error(kBadHeader);
  }
  header->size = at + 1;
  return common::Status();
}

common::Status ReadPnm(const uint8_t* data, size_t size, int64_t max_pixels, Picture* picture) {
  PnmHeader header;
  if (common::Status status = ReadPnmHeader(data, size, &header); !status.ok()) return status;
  common::Status status = CheckPixels(header.width, header.height, max_pixels);
  if (!status.ok()) return status;
  const size_t sample_size = header.max_value > 255 ? 2 : 1;
  const size_t count = static_cast<size_t>(header.width * header.height * header.channels);
  if ((size - header.size) / sample_size < count) {
    return common::Status::Error("the file ends within the picture");
  }
  const auto layout = header.channels == 3 ? common::PixelLayout::kRgb : common::PixelLayout::kGrey;
  common::Image& image = picture->image;
  if (!image.Resize(static_cast<int>(header.width), static_cast<int>(header.height), layout)) {
    return common::Status::NoMemory();
  }
  const uint8_t* in = data + header.size;
  if (header.max_value == 255) {
    std::memcpy(image.Row(0), in, count);
    return common::Status();
  }
  for (size_t i = 0; i < count; ++i, in += sample_size) {
    const int64_t value = sample_size == 2 ? in[0] << 8 | in[1] : in[0];
    const int64_t scaled = (value * 255 + header.max_value / 2) / header.max_value;
    image.Row(0)[i] = static_cast<uint8_t>(std::min<int64_t>(scaled, 255));
  }
  return common::Status();
}

common::Status WritePnm(const common::Image& image, bool as_ppm, common::ByteBuffer* file) {
  const bool widen = as_ppm && image.channels() == 1;
  const std::string header = std::string(as_ppm || image.channels() == 3 ? "P6" : "P5") + "\n" +
                             std::to_string(image.width()) + " " + std::to_string(image.height()) +
                             "\n255\n";
  const size_t count = image.SizeInBytes();
  if (!file->Resize(0) || !file->MakeRoom(header.size() + count * (widen ? 3 : 1)) ||
      !file->Append(reinterpret_cast<const uint8_t*>(header.data()), header.size())) {
    return common::Status::NoMemory();
  }
  if (!widen)
    return file->Append(image.Row(0), count) ? common::Status() : common::Status::NoMemory();
  const size_t start = file->size();
  if (!file->Resize(start + 3 * count)) return common::Status::NoMemory();
  uint8_t* out = file->data() + start;
  for (size_t i = 0; i < count; ++i, out += 3) std::memset(out, image.Row(0)[i], 3);
  return common::Status();
}

}  // namespace zepconvert
