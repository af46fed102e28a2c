// SPDX-License-Identifier: MIT
#include "tools/zepconvert/pnm_file.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

#include "tools/zepconvert/failure.h"

namespace zepconvert {
namespace {

struct Header {
  int channels = 0;      // 1 to 4; 2 and 4 with opacity
  bool is_cmyk = false;  // four inks, 0 none
  int64_t width = 0;
  int64_t height = 0;
  int64_t max_value = 0;  // 1 to 65535; samples above 255 take two bytes
  size_t size = 0;        // of the header

  size_t SampleBytes() const { return max_value > 255 ? 2 : 1; }
};

// A number after white space and comments; negative where there is none.
int64_t ReadNumber(ByteView file, size_t* at) {
  while (*at < file.size && (std::isspace(file.data[*at]) != 0 || file.data[*at] == '#')) {
    if (file.data[*at] == '#') {
      while (*at < file.size && file.data[*at] != '\n') ++*at;
    } else {
      ++*at;
    }
  }
  int64_t number = -1;
  for (; *at < file.size && std::isdigit(file.data[*at]) != 0; ++*at) {
    number = std::max<int64_t>(number, 0) * 10 + (file.data[*at] - '0');
    if (number > INT32_MAX) return -1;
  }
  return number;
}

// A word after white space.
std::string ReadWord(ByteView file, size_t* at) {
  while (*at < file.size && std::isspace(file.data[*at]) != 0) ++*at;
  const size_t start = *at;
  while (*at < file.size && std::isspace(file.data[*at]) == 0) ++*at;
  return {file.data + start, file.data + *at};
}

// Lines of a name and a value up to ENDHDR.
void ReadPamHeader(ByteView file, Header* header) {
  size_t at = 2;
  int64_t channels = 0;
  while (at < file.size) {
    const std::string name = ReadWord(file, &at);
    if (name == "ENDHDR") break;
    if (name == "WIDTH") {
      header->width = ReadNumber(file, &at);
    } else if (name == "HEIGHT") {
      header->height = ReadNumber(file, &at);
    } else if (name == "DEPTH") {
      channels = ReadNumber(file, &at);
    } else if (name == "MAXVAL") {
      header->max_value = ReadNumber(file, &at);
    } else if (name == "TUPLTYPE") {  // RGB and the like, which the number of channels tells too
      header->is_cmyk = ReadWord(file, &at) == "CMYK";
    } else {  // comments
      while (at < file.size && file.data[at] != '\n') ++at;
    }
  }
  if (channels < 1 || channels > 4) {
    throw Failure("a PAM file of " + std::to_string(channels) + " channels; 1 to 4 can be read");
  }
  header->channels = static_cast<int>(channels);
  header->is_cmyk = header->is_cmyk && channels == 4;
  header->size = at + 1;
}

Header ReadHeader(ByteView file) {
  Header header;
  if (file.size > 1 && file.data[1] == '7') {
    ReadPamHeader(file, &header);
  } else {
    header.channels = file.size > 1 && file.data[1] == '6' ? 3 : 1;
    size_t at = 2;
    header.width = ReadNumber(file, &at);
    header.height = ReadNumber(file, &at);
    header.max_value = ReadNumber(file, &at);
    header.size = at + 1;
  }
  if (header.width < 1 || header.height < 1 || header.max_value < 1 || header.max_value > 65535 ||
      header.size > file.size || std::isspace(file.data[header.size - 1]) == 0) {
    throw Failure("the PNM header is damaged");
  }
  return header;
}

// The depth of samples up to this value.
int BitsFor(int64_t max_value) {
  int bits = 1;
  while (max_value >> bits != 0) ++bits;
  const bool is_whole = max_value == (1 << bits) - 1 && bits > 1;
  return is_whole ? bits : max_value > 255 ? 16 : 8;
}

int64_t Scaled(int64_t value, int64_t most, int64_t max_value) {
  value = std::min(value, max_value);
  return most == max_value ? value : (value * most + max_value / 2) / max_value;
}

// Samples of two bytes come with the high one first.
void ReadRow(const Header& header, const uint8_t* in, int64_t most, size_t count, uint8_t* out) {
  if (header.max_value == 255) {
    std::memcpy(out, in, count);
    return;
  }
  for (size_t i = 0; i < count; ++i) {
    if (header.SampleBytes() == 1) {
      out[i] = static_cast<uint8_t>(Scaled(in[i], most, header.max_value));
    } else {
      const auto sample =
          static_cast<uint16_t>(Scaled(in[2 * i] << 8 | in[2 * i + 1], most, header.max_value));
      std::memcpy(out + 2 * i, &sample, sizeof(sample));
    }
  }
}

std::string MakeHeader(const Image& image, Format format) {
  const zepcPixels& pixels = image.pixels();
  const std::string width = std::to_string(pixels.width);
  const std::string height = std::to_string(pixels.height);
  const std::string most = std::to_string((1 << pixels.bits) - 1);
  if (format != Format::kPam) {
    const bool is_ppm = format == Format::kPpm || image.channels() == 3;
    return std::string(is_ppm ? "P6" : "P5")
        .append("\n" + width + " " + height + "\n" + most + "\n");
  }
  constexpr const char* kTypes[] = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
  return "P7\nWIDTH " + width + "\nHEIGHT " + height + "\nDEPTH " +
         std::to_string(image.channels()) + "\nMAXVAL " + most + "\nTUPLTYPE " +
         (pixels.layout == zepcLayoutCmyk ? "CMYK" : kTypes[image.channels() - 1]) + "\nENDHDR\n";
}

// Each sample `copies` times.
void WriteRow(const uint8_t* in, size_t count, size_t sample_bytes, int copies, uint8_t* out) {
  if (sample_bytes == 1 && copies == 1) {
    std::memcpy(out, in, count);
    return;
  }
  for (size_t i = 0; i < count; ++i) {
    uint16_t sample = in[i * sample_bytes];
    if (sample_bytes == 2) std::memcpy(&sample, in + 2 * i, sizeof(sample));
    for (int copy = 0; copy < copies; ++copy) {
      if (sample_bytes == 2) *out++ = static_cast<uint8_t>(sample >> 8);
      *out++ = static_cast<uint8_t>(sample & 255);
    }
  }
}

}  // namespace

Picture ReadPnm(ByteView input, int64_t max_pixels) {
  const Header header = ReadHeader(input);
  CheckPixels(header.width, header.height, max_pixels);
  const auto samples = static_cast<size_t>(header.width * header.height * header.channels);
  if ((input.size - header.size) / header.SampleBytes() < samples) {
    throw Failure("the file ends within the picture");
  }
  const zepcLayout layout = header.is_cmyk ? zepcLayoutCmyk : LayoutWithChannels(header.channels);
  const int bits = BitsFor(header.max_value);
  Picture picture;
  picture.image = Image(static_cast<int>(header.width), static_cast<int>(header.height),
                        UnsignedForm(layout, bits));
  const size_t in_row = picture.image.SamplesInRow();
  const uint8_t* in = input.data + header.size;
  for (int y = 0; y < picture.image.height(); ++y, in += in_row * header.SampleBytes()) {
    ReadRow(header, in, (1 << bits) - 1, in_row, picture.image.Row(y));
  }
  return picture;
}

Dimensions ReadPnmSize(ByteView input) {
  const Header header = ReadHeader(input);
  return {header.width, header.height, header.channels, static_cast<int>(header.SampleBytes())};
}

Bytes WritePnm(const Image& image, Format format) {
  const std::string header = MakeHeader(image, format);
  const int copies = format == Format::kPpm && image.channels() == 1 ? 3 : 1;
  const size_t sample_bytes = BytesOf(image.form().sample);
  const size_t row_bytes = image.SamplesInRow() * sample_bytes * static_cast<size_t>(copies);
  Bytes file(header.begin(), header.end());
  file.resize(header.size() + row_bytes * static_cast<size_t>(image.height()));
  uint8_t* out = file.data() + header.size();
  for (int y = 0; y < image.height(); ++y, out += row_bytes) {
    WriteRow(image.Row(y), image.SamplesInRow(), sample_bytes, copies, out);
  }
  return file;
}

}  // namespace zepconvert
