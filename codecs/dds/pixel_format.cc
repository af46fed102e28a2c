// SPDX-License-Identifier: MIT
#include "codecs/dds/pixel_format.h"

#include <algorithm>
#include <cstring>

#include "codecs/support/byte_order.h"

namespace zepcodec::dds {
namespace {

struct MaskedPixels {
  uint32_t number;
  uint32_t bits;
  Masks masks;
};
// Numbers of the extended header: untyped, unsigned, sRGB and whole numbers of the same bits.
constexpr Masks kRgba8 = {0xFF, 0xFF00, 0xFF0000, 0xFF000000};
constexpr Masks kBgra8 = {0xFF0000, 0xFF00, 0xFF, 0xFF000000};
constexpr Masks kBgrx8 = {0xFF0000, 0xFF00, 0xFF, 0};
constexpr Masks kRgb10 = {0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000};
constexpr Masks kRg16 = {0xFFFF, 0xFFFF0000, 0, 0};
constexpr Masks kRg8 = {0xFF, 0xFF00, 0, 0};
constexpr Masks kR16 = {0xFFFF, 0, 0, 0};
constexpr Masks kR8 = {0xFF, 0, 0, 0};
constexpr MaskedPixels kMasked[] = {{23, 32, kRgb10},
                                    {24, 32, kRgb10},
                                    {25, 32, kRgb10},
                                    {27, 32, kRgba8},
                                    {28, 32, kRgba8},
                                    {29, 32, kRgba8},
                                    {30, 32, kRgba8},
                                    {33, 32, kRg16},
                                    {35, 32, kRg16},
                                    {36, 32, kRg16},
                                    {48, 16, kRg8},
                                    {49, 16, kRg8},
                                    {50, 16, kRg8},
                                    {53, 16, kR16},
                                    {55, 16, kR16},
                                    {56, 16, kR16},
                                    {57, 16, kR16},
                                    {60, 8, kR8},
                                    {61, 8, kR8},
                                    {62, 8, kR8},
                                    {65, 8, kR8},
                                    {87, 32, kBgra8},
                                    {88, 32, kBgrx8},
                                    {90, 32, kBgra8},
                                    {91, 32, kBgra8},
                                    {92, 32, kBgrx8},
                                    {93, 32, kBgrx8},
                                    {85, 16, {0xF800, 0x7E0, 0x1F, 0}},
                                    {86, 16, {0x7C00, 0x3E0, 0x1F, 0x8000}},
                                    {115, 16, {0xF00, 0xF0, 0xF, 0xF000}}};

struct WholePixels {
  uint32_t number;
  int channels;
  SampleType type;
};
constexpr WholePixels kWhole[] = {
    {2, 4, SampleType::kF32},  {6, 3, SampleType::kF32},  {10, 4, SampleType::kF16},
    {11, 4, SampleType::kU16}, {12, 4, SampleType::kU16}, {16, 2, SampleType::kF32},
    {34, 2, SampleType::kF16}, {41, 1, SampleType::kF32}, {54, 1, SampleType::kF16}};
constexpr WholePixels kNumbered[] = {{36, 4, SampleType::kU16},  {111, 1, SampleType::kF16},
                                     {112, 2, SampleType::kF16}, {113, 4, SampleType::kF16},
                                     {114, 1, SampleType::kF32}, {115, 2, SampleType::kF32},
                                     {116, 4, SampleType::kF32}};

PixelFormat FormatOf(const WholePixels& whole) {
  PixelFormat format;
  format.bytes = whole.channels * BytesOf(whole.type);
  // Red and green become RGB.
  format.layout = LayoutWithChannels(whole.channels == 2 ? 3 : whole.channels);
  format.type = whole.type;
  format.bits = 8 * BytesOf(whole.type);
  return format;
}

template <class Entry, size_t kCount>
const Entry* Find(const Entry (&entries)[kCount], uint32_t number) {
  const Entry* const end = entries + kCount;
  const Entry* const found =
      std::find_if(entries, end, [&](const Entry& entry) { return entry.number == number; });
  return found == end ? nullptr : found;
}

int ShiftOf(uint32_t mask) { return mask == 0 ? 0 : __builtin_ctz(mask); }

// A little-endian sample in the machine's order.
void CopySample(const uint8_t* from, size_t bytes, uint8_t* to) {
  const auto number = static_cast<uint32_t>(LoadNumber(ByteOrder::kLittle, from, bytes));
  if (bytes == 4) {
    std::memcpy(to, &number, 4);
  } else {
    const auto half = static_cast<uint16_t>(number);
    std::memcpy(to, &half, 2);
  }
}

template <class Sample>
void DivideRow(int width, uint32_t most, uint8_t* row) {
  for (int x = 0; x < width; ++x, row += 4 * sizeof(Sample)) {
    std::array<Sample, 4> pixel;
    std::memcpy(pixel.data(), row, sizeof(pixel));
    const uint32_t opacity = pixel[3];
    if (opacity == 0 || opacity == most) continue;
    for (size_t c = 0; c < 3; ++c) {
      const uint64_t whole = (uint64_t{pixel[c]} * most + opacity / 2) / opacity;
      pixel[c] = static_cast<Sample>(std::min<uint64_t>(whole, most));
    }
    std::memcpy(row, pixel.data(), sizeof(pixel));
  }
}

}  // namespace

bool MakeMaskedFormat(uint32_t bits_of_pixel, const Masks& masks, PixelFormat* format) {
  if (bits_of_pixel % 8 != 0 || bits_of_pixel < 8 || bits_of_pixel > 32) return false;
  *format = PixelFormat();
  format->bytes = static_cast<int>(bits_of_pixel / 8);
  format->masks = masks;
  const bool is_opacity_alone = masks[0] == 0 && masks[1] == 0 && masks[2] == 0;
  if (is_opacity_alone) format->masks = {masks[3], 0, 0, 0};
  if (format->masks[0] == 0 && format->masks[1] == 0 && format->masks[2] == 0) return false;
  const bool is_grey = format->masks[1] == 0 && format->masks[2] == 0;
  const bool has_opacity = format->masks[3] != 0;
  format->layout = LayoutWithChannels((is_grey ? 1 : 3) + (has_opacity ? 1 : 0));
  for (const uint32_t mask : format->masks) {
    format->bits = std::max(format->bits, std::min(16, __builtin_popcount(mask)));
  }
  format->type = UnsignedOf(format->bits);
  return true;
}

bool FindDxgiPixels(uint32_t number, PixelFormat* format) {
  if (const MaskedPixels* masked = Find(kMasked, number); masked != nullptr) {
    return MakeMaskedFormat(masked->bits, masked->masks, format);
  }
  const WholePixels* const whole = Find(kWhole, number);
  if (whole != nullptr) *format = FormatOf(*whole);
  return whole != nullptr;
}

bool FindNumberedPixels(uint32_t number, PixelFormat* format) {
  const WholePixels* const whole = Find(kNumbered, number);
  if (whole != nullptr) *format = FormatOf(*whole);
  return whole != nullptr;
}

PixelReader::PixelReader(const PixelFormat& format) : format_(format), channels_{}, bytes_{} {
  const auto count = static_cast<size_t>(ChannelCount(format.layout));
  for (size_t i = 0; i < count; ++i) {
    const bool is_opacity = HasAlpha(format.layout) && i + 1 == count;
    const uint32_t mask = format.masks[is_opacity ? 3 : i];
    channels_[i].shift = ShiftOf(mask);
    channels_[i].most = mask >> channels_[i].shift;
    for (uint32_t value = 0; value < 256; ++value) {
      bytes_[i][value] = static_cast<uint8_t>(Scaled(i, value));
    }
  }
}

uint32_t PixelReader::Scaled(size_t channel, uint32_t value) const {
  const uint64_t most = channels_[channel].most;
  const uint64_t wanted = (uint64_t{1} << format_.bits) - 1;
  if (most == 0) return 0;
  return static_cast<uint32_t>((std::min<uint64_t>(value, most) * wanted + most / 2) / most);
}

void PixelReader::Read(const uint8_t* stored, size_t pixels, uint8_t* samples) const {
  if (format_.masks == Masks{}) {
    ReadWhole(stored, pixels, samples);
  } else if (format_.type == SampleType::kU8) {
    ReadMasked<uint8_t>(stored, pixels, samples);
  } else {
    ReadMasked<uint16_t>(stored, pixels, samples);
  }
}

template <class Sample>
void PixelReader::ReadMasked(const uint8_t* stored, size_t pixels, uint8_t* samples) const {
  const auto count = static_cast<size_t>(ChannelCount(format_.layout));
  for (size_t i = 0; i < pixels; ++i) {
    uint32_t pixel = 0;
    for (int byte = 0; byte < format_.bytes; ++byte) pixel |= uint32_t{*stored++} << (8 * byte);
    for (size_t c = 0; c < count; ++c, samples += sizeof(Sample)) {
      const uint32_t value = pixel >> channels_[c].shift & channels_[c].most;
      if constexpr (sizeof(Sample) == 1) {
        *samples = bytes_[c][value & 255];
      } else {
        const auto sample = static_cast<Sample>(Scaled(c, value));
        std::memcpy(samples, &sample, sizeof(sample));
      }
    }
  }
}

void PixelReader::ReadWhole(const uint8_t* stored, size_t pixels, uint8_t* samples) const {
  const auto sample_bytes = static_cast<size_t>(BytesOf(format_.type));
  const auto pixel_bytes = static_cast<size_t>(ChannelCount(format_.layout)) * sample_bytes;
  const auto stored_bytes = static_cast<size_t>(format_.bytes);
  for (size_t i = 0; i < pixels; ++i, samples += pixel_bytes) {
    for (size_t at = 0; at < pixel_bytes; at += sample_bytes, stored += sample_bytes) {
      if (at >= stored_bytes) {
        std::memset(samples + at, 0, pixel_bytes - at);
        break;
      }
      CopySample(stored, sample_bytes, samples + at);
    }
  }
}

void DivideByOpacity(Picture* image, int first_row, int rows) {
  const auto most = static_cast<uint32_t>(image->MaxValue());
  for (int y = first_row; y < first_row + rows; ++y) {
    if (image->type() == SampleType::kU8) {
      DivideRow<uint8_t>(image->width(), most, image->Row(y));
    } else {
      DivideRow<uint16_t>(image->width(), most, image->Row(y));
    }
  }
}

}  // namespace zepcodec::dds
