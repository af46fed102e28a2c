// SPDX-License-Identifier: MIT
#include "tools/zepconvert/pnm_file.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "tools/zepconvert/failure.h"

namespace zepconvert {
namespace {

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
void ReadBytes(const PnmHeader& header, const uint8_t* in, int64_t most, uint8_t* out) {
  const size_t count = header.SamplesInRow();
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

constexpr uint8_t GreyOfBit(int bit) { return bit != 0 ? 0 : 255; }

// The first pixel is the highest bit of a byte.
void ReadBits(size_t count, const uint8_t* in, uint8_t* out) {
  for (size_t i = 0; i < count; ++i) out[i] = GreyOfBit(in[i / 8] >> (7 - i % 8) & 1);
}

void ReadFloats(const PnmHeader& header, const uint8_t* in, uint8_t* out) {
  for (size_t i = 0; i < header.SamplesInRow(); ++i, in += 4, out += 4) {
    uint32_t value = 0;
    for (int k = 0; k < 4; ++k) value = value << 8 | in[header.is_big_endian ? k : 3 - k];
    std::memcpy(out, &value, sizeof(value));
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
    : input_(input), header_(ReadPnmHeader(input)), at_(header_.size) {
  CheckPixels(header_.width, header_.height, max_pixels);
  if ((input.size - header_.size) / header_.LeastRowBytes() <
      static_cast<uint64_t>(header_.height)) {
    throw Failure("the file ends within the picture");
  }
}

Form PnmReader::form() const {
  const zepcLayout layout = header_.is_cmyk ? zepcLayoutCmyk : LayoutWithChannels(header_.channels);
  if (header_.coding == PnmCoding::kFloats) return {layout, zepcSampleF32, 32};
  return UnsignedForm(layout, BitsFor(header_.max_value));
}

// The last row of floats comes first.
const uint8_t* PnmReader::StoredRow(int y) const {
  const int row = header_.coding == PnmCoding::kFloats ? height() - 1 - y : y;
  return input_.data + header_.size + static_cast<size_t>(row) * header_.LeastRowBytes();
}

void PnmReader::ReadRow(int y, uint8_t* row) {
  switch (header_.coding) {
    case PnmCoding::kBytes:
      ReadBytes(header_, StoredRow(y), (1 << BitsFor(header_.max_value)) - 1, row);
      break;
    case PnmCoding::kPackedBits: ReadBits(header_.SamplesInRow(), StoredRow(y), row); break;
    case PnmCoding::kFloats: ReadFloats(header_, StoredRow(y), row); break;
    case PnmCoding::kPlainBits:
    case PnmCoding::kPlainText: ReadText(row); break;
  }
}

void PnmReader::ReadText(uint8_t* row) {
  const int64_t most = (1 << BitsFor(header_.max_value)) - 1;
  for (size_t i = 0; i < header_.SamplesInRow(); ++i) {
    SkipPnmSpace(input_, &at_);
    if (at_ >= input_.size) throw Failure("the file ends within the picture");
    // Bits need no space between them.
    const bool is_bit = header_.coding == PnmCoding::kPlainBits;
    const int64_t value = is_bit ? input_.data[at_++] - '0' : ReadPnmNumber(input_, &at_);
    if (value < 0 || value > header_.max_value) {
      throw Failure("damaged: byte " + std::to_string(at_) + ": not a sample");
    }
    if (is_bit) {
      row[i] = GreyOfBit(value != 0);
    } else if (header_.SampleBytes() == 1) {
      row[i] = static_cast<uint8_t>(Scaled(value, most, header_.max_value));
    } else {
      const auto sample = static_cast<uint16_t>(Scaled(value, most, header_.max_value));
      std::memcpy(row + 2 * i, &sample, sizeof(sample));
    }
  }
}

Picture ReadPnm(ByteView input, int64_t max_pixels) {
  PnmReader reader(input, max_pixels);
  Picture picture;
  picture.image = Image(reader.width(), reader.height(), reader.form());
  for (int y = 0; y < reader.height(); ++y) reader.ReadRow(y, picture.image.Row(y));
  return picture;
}

Dimensions ReadPnmSize(ByteView input) {
  const PnmHeader header = ReadPnmHeader(input);
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
