// SPDX-License-Identifier: MIT
#include "tools/zepconvert/pnm_file.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

#include "tools/zepconvert/failure.h"

namespace zepconvert {
namespace {

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
void ReadPamHeader(ByteView file, PnmHeader* header) {
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

PnmHeader ReadHeader(ByteView file) {
  PnmHeader header;
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
void ReadRow(const PnmHeader& header, const uint8_t* in, int64_t most, size_t count, uint8_t* out) {
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

std::string MakeHeader(const zepcPixels& shape, Format format) {
  const int channels = ChannelCount(shape.layout);
  const std::string width = std::to_string(shape.width);
  const std::string height = std::to_string(shape.height);
  const std::string most = std::to_string((1 << shape.bits) - 1);
  if (format != Format::kPam) {
    const bool is_ppm = format == Format::kPpm || channels == 3;
    return std::string(is_ppm ? "P6" : "P5")
        .append("\n" + width + " " + height + "\n" + most + "\n");
  }
  constexpr const char* kTypes[] = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
  return "P7\nWIDTH " + width + "\nHEIGHT " + height + "\nDEPTH " + std::to_string(channels) +
         "\nMAXVAL " + most + "\nTUPLTYPE " +
         (shape.layout == zepcLayoutCmyk ? "CMYK" : kTypes[channels - 1]) + "\nENDHDR\n";
}

}  // namespace

PnmReader::PnmReader(ByteView input, int64_t max_pixels)
    : input_(input), header_(ReadHeader(input)) {
  CheckPixels(header_.width, header_.height, max_pixels);
  const int64_t samples = header_.width * header_.height * header_.channels;
  if (static_cast<int64_t>((input.size - header_.size) / header_.SampleBytes()) < samples) {
    throw Failure("the file ends within the picture");
  }
}

Form PnmReader::form() const {
  return UnsignedForm(header_.is_cmyk ? zepcLayoutCmyk : LayoutWithChannels(header_.channels),
                      BitsFor(header_.max_value));
}

void PnmReader::ReadRow(int y, uint8_t* row) const {
  const size_t samples = static_cast<size_t>(header_.width) * static_cast<size_t>(header_.channels);
  const uint8_t* const in =
      input_.data + header_.size + static_cast<size_t>(y) * samples * header_.SampleBytes();
  zepconvert::ReadRow(header_, in, (1 << BitsFor(header_.max_value)) - 1, samples, row);
}

Picture ReadPnm(ByteView input, int64_t max_pixels) {
  const PnmReader reader(input, max_pixels);
  Picture picture;
  picture.image = Image(reader.width(), reader.height(), reader.form());
  for (int y = 0; y < reader.height(); ++y) reader.ReadRow(y, picture.image.Row(y));
  return picture;
}

Dimensions ReadPnmSize(ByteView input) {
  const PnmHeader header = ReadHeader(input);
  return {header.width, header.height, header.channels, static_cast<int>(header.SampleBytes())};
}

PnmWriter::PnmWriter(const zepcPixels& shape, Format format)
    : header_(MakeHeader(shape, format)),
      samples_(static_cast<size_t>(shape.width) * static_cast<size_t>(ChannelCount(shape.layout))),
      sample_bytes_(BytesOf(shape.sample)),
      copies_(format == Format::kPpm && ChannelCount(shape.layout) == 1 ? 3 : 1) {}

void PnmWriter::WriteRow(const uint8_t* row, uint8_t* out) const {
  if (sample_bytes_ == 1 && copies_ == 1) {
    std::memcpy(out, row, samples_);
    return;
  }
  for (size_t i = 0; i < samples_; ++i) {
    uint16_t sample = row[i * sample_bytes_];
    if (sample_bytes_ == 2) std::memcpy(&sample, row + 2 * i, sizeof(sample));
    for (int copy = 0; copy < copies_; ++copy) {
      if (sample_bytes_ == 2) *out++ = static_cast<uint8_t>(sample >> 8);
      *out++ = static_cast<uint8_t>(sample & 255);
    }
  }
}

Bytes WritePnm(const Image& image, Format format) {
  const PnmWriter writer(image.pixels(), format);
  Bytes file(writer.header().begin(), writer.header().end());
  file.resize(writer.header().size() + writer.row_bytes() * static_cast<size_t>(image.height()));
  uint8_t* out = file.data() + writer.header().size();
  for (int y = 0; y < image.height(); ++y, out += writer.row_bytes()) {
    writer.WriteRow(image.Row(y), out);
  }
  return file;
}

}  // namespace zepconvert
