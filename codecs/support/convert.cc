// SPDX-License-Identifier: MIT
// A row passes through a common form: RGB and opacity as integers from 0 to the source's white (for
// light: the target's). There it is blended, turned to grey or ink, and scaled to the target's
// white:
//   blended = (value alpha + background (white - alpha) + white / 2) / white
//   scaled = (value white' + white / 2) / white
#include "codecs/support/convert.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "zepjp.h"

namespace zepcodec {
namespace {

bool IsUnsigned(SampleType type) { return type == SampleType::kU8 || type == SampleType::kU16; }

uint32_t WhiteOf(const PixelFormat& format) { return (1U << format.bits) - 1; }

// A row in the common form.
struct Row {
  explicit Row(size_t width) : rgb(3 * width), alpha(width), rgb8(3 * width), grey8(width) {}

  std::vector<uint32_t> rgb;
  std::vector<uint32_t> alpha;
  std::vector<uint8_t> rgb8;  // for the stages
  std::vector<uint8_t> grey8;
  uint32_t white = 255;
};

template <class T>
T Load(const uint8_t* from) {
  T value;
  std::memcpy(&value, from, sizeof(T));
  return value;
}

// IEEE 754 binary16. Infinity becomes a finite number above all others.
double FloatOfHalf(uint16_t half) {
  const int exponent = half >> 10 & 31;
  const int fraction = half & 1023;
  if (exponent == 31 && fraction != 0) return std::nan("");
  const double magnitude =
      exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(fraction + 1024, exponent - 25);
  return (half & 0x8000) != 0 ? -magnitude : magnitude;
}

double LightOf(const uint8_t* sample, SampleType type) {
  constexpr double kOne16 = 1 << 13;
  constexpr double kOne32 = 1 << 24;
  switch (type) {
    case SampleType::kS16: return Load<int16_t>(sample) / kOne16;
    case SampleType::kS32: return Load<int32_t>(sample) / kOne32;
    case SampleType::kF16: return FloatOfHalf(Load<uint16_t>(sample));
    default: return static_cast<double>(Load<float>(sample));
  }
}

// With the curve of sRGB (IEC 61966-2-1), which integers have.
uint32_t CodeOfLight(double light, uint32_t white) {
  if (!(light > 0)) return 0;
  if (light >= 1) return white;
  const double curved =
      light < 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
  return static_cast<uint32_t>(std::lround(white * curved));
}

uint32_t CodeOfOpacity(double opacity, uint32_t white) {
  return static_cast<uint32_t>(
      std::lround(white * std::clamp(std::isnan(opacity) ? 1 : opacity, 0.0, 1.0)));
}

uint32_t Scaled(uint64_t value, uint32_t factor, uint32_t white) {
  return static_cast<uint32_t>((value * factor + white / 2) / white);
}

// Calls get(x, channel) for each channel.
template <class Get>
void FillRow(const PixelFormat& format, size_t width, const Get& get, Row* row) {
  const size_t red = format.is_bgr ? 2 : 0;
  const auto last = static_cast<size_t>(format.channels()) - 1;
  uint32_t* rgb = row->rgb.data();
  for (size_t x = 0; x < width; ++x, rgb += 3) {
    if (IsGrey(format.layout)) {
      rgb[0] = rgb[1] = rgb[2] = get(x, 0);
    } else {
      rgb[0] = get(x, red);
      rgb[1] = get(x, 1);
      rgb[2] = get(x, 2 - red);
    }
    row->alpha[x] = HasAlpha(format.layout) ? get(x, last) : row->white;
    if (format.layout != PixelLayout::kCmyk) continue;
    const uint32_t paper = row->white - std::min(get(x, 3), row->white);
    for (size_t c = 0; c < 3; ++c) {
      rgb[c] = Scaled(row->white - std::min(rgb[c], row->white), paper, row->white);
    }
  }
}

// `white` is the target's, for light.
void ReadRow(const ConstPixels& from, int y, uint32_t white, Row* row) {
  const uint8_t* const in = from.data + static_cast<size_t>(y) * from.stride;
  const PixelFormat& format = from.format;
  const auto width = static_cast<size_t>(from.width);
  const auto channels = static_cast<size_t>(format.channels());
  row->white = IsUnsigned(format.type) ? WhiteOf(format) : white;
  if (format.type == SampleType::kU8) {
    FillRow(
        format, width,
        [=](size_t x, size_t c) { return static_cast<uint32_t>(in[x * channels + c]); }, row);
  } else if (format.type == SampleType::kU16) {
    FillRow(
        format, width,
        [=](size_t x, size_t c) {
          return static_cast<uint32_t>(Load<uint16_t>(in + 2 * (x * channels + c)));
        },
        row);
  } else {
    const auto bytes = static_cast<size_t>(BytesOf(format.type));
    FillRow(
        format, width,
        [&](size_t x, size_t c) {
          const double light = LightOf(in + bytes * (x * channels + c), format.type);
          const bool is_opacity = HasAlpha(format.layout) && c + 1 == channels;
          return is_opacity ? CodeOfOpacity(light, white) : CodeOfLight(light, white);
        },
        row);
  }
}

void Blend(const std::array<double, 3>& background, Row* row) {
  const uint64_t white = row->white;
  std::array<uint64_t, 3> behind{};
  for (size_t c = 0; c < 3; ++c) {
    behind[c] = static_cast<uint64_t>(
        std::lround(static_cast<double>(white) * std::clamp(background[c], 0.0, 1.0)));
  }
  for (size_t i = 0; i < row->rgb.size(); ++i) {
    const uint64_t alpha = std::min<uint64_t>(row->alpha[i / 3], white);
    const uint64_t sum = row->rgb[i] * alpha + behind[i % 3] * (white - alpha);
    row->rgb[i] = static_cast<uint32_t>((sum + white / 2) / white);
  }
}

// All three channels become the luminance: with 8 bits that of the stages, else in 16 bits with
// weights that add up to 65536.
void MakeGrey(Row* row) {
  const size_t width = row->alpha.size();
  if (row->white == 255) {
    std::transform(row->rgb.begin(), row->rgb.end(), row->rgb8.begin(),
                   [](uint32_t value) { return static_cast<uint8_t>(value); });
    const auto columns = static_cast<int32_t>(width);
    zepiRGBToY_JPEG_8u_C3C1R(row->rgb8.data(), 3 * columns, row->grey8.data(), columns,
                             {columns, 1});
    for (size_t x = 0; x < width; ++x) row->rgb[3 * x] = row->grey8[x];
  } else {
    for (size_t x = 0; x < width; ++x) {
      uint32_t* const pixel = &row->rgb[3 * x];
      const uint64_t sum = uint64_t{19595} * pixel[0] + uint64_t{38470} * pixel[1] +
                           uint64_t{7471} * pixel[2] + 32768;
      pixel[0] = static_cast<uint32_t>(sum >> 16);
    }
  }
}

template <class T>
void StoreRow(const Row& row, const PixelFormat& format, uint8_t* to) {
  const uint32_t white = WhiteOf(format);
  const auto channels = static_cast<size_t>(format.channels());
  const bool is_ink = format.layout == PixelLayout::kCmyk;
  const size_t red = format.is_bgr ? 2 : 0;
  const auto put = [&](size_t channel, uint32_t value) {
    uint32_t scaled = white == row.white ? value : Scaled(value, white, row.white);
    if (is_ink) scaled = white - scaled;
    const T sample = static_cast<T>(scaled);
    std::memcpy(to + channel * sizeof(T), &sample, sizeof(T));
  };
  for (size_t x = 0; x < row.alpha.size(); ++x, to += channels * sizeof(T)) {
    const uint32_t* const rgb = &row.rgb[3 * x];
    put(IsGrey(format.layout) ? 0 : red, rgb[0]);
    if (!IsGrey(format.layout)) {
      put(1, rgb[1]);
      put(2 - red, rgb[2]);
    }
    if (is_ink) put(3, row.white);
    if (HasAlpha(format.layout)) put(channels - 1, row.alpha[x]);
  }
}

void ConvertRow(const ConstPixels& from, const OpacityUse& opacity, int y, const Pixels& to,
                Row* row) {
  ReadRow(from, y, WhiteOf(to.format), row);
  const bool loses_opacity =
      HasAlpha(from.format.layout) && (opacity.is_removed || !HasAlpha(to.format.layout));
  if (loses_opacity && !opacity.is_dropped) Blend(opacity.background, row);
  if (loses_opacity) std::fill(row->alpha.begin(), row->alpha.end(), row->white);
  if (IsGrey(to.format.layout) && !IsGrey(from.format.layout)) MakeGrey(row);
  uint8_t* const out = to.data + static_cast<size_t>(y) * to.stride;
  if (to.format.type == SampleType::kU8) {
    StoreRow<uint8_t>(*row, to.format, out);
  } else {
    StoreRow<uint16_t>(*row, to.format, out);
  }
}

bool IsSame(const PixelFormat& a, const PixelFormat& b) {
  return a.layout == b.layout && a.type == b.type && a.bits == b.bits && a.is_bgr == b.is_bgr;
}

// Samples of light: channels change places, opacity is left out or added as full.
void RearrangeRow(const PixelFormat& from, const uint8_t* in, bool keeps_opacity,
                  const PixelFormat& to, int width, uint8_t* out) {
  const auto bytes = static_cast<size_t>(BytesOf(from.type));
  const auto colors = static_cast<size_t>(ColorCount(to.layout));
  Picture one;  // of the same type, for its full opacity
  std::array<uint8_t, 4> full{};
  if (one.Resize(1, 1, PixelLayout::kGrey, to.type)) one.StoreOne(full.data());
  for (int x = 0; x < width; ++x, in += from.BytesPerPixel(), out += to.BytesPerPixel()) {
    for (size_t c = 0; c < colors; ++c) {
      const size_t source = IsGrey(from.layout) ? 0 : from.is_bgr != to.is_bgr ? 2 - c : c;
      std::memcpy(out + c * bytes, in + source * bytes, bytes);
    }
    if (!HasAlpha(to.layout)) continue;
    const uint8_t* const alpha =
        HasAlpha(from.layout) && keeps_opacity ? in + from.BytesPerPixel() - bytes : full.data();
    std::memcpy(out + colors * bytes, alpha, bytes);
  }
}

}  // namespace

PixelFormat FormatOf(const Picture& picture) {
  return {picture.layout(), picture.type(), picture.bits(), false};
}

Pixels PixelsOf(Picture* picture) {
  return {picture->Row(0), picture->Stride(), picture->width(), picture->height(),
          FormatOf(*picture)};
}

ConstPixels PixelsOf(const Picture& picture) {
  return {picture.Row(0), picture.Stride(), picture.width(), picture.height(), FormatOf(picture)};
}

Status Convert(const ConstPixels& from, const OpacityUse& opacity, const Pixels& to) {
  const size_t row_bytes = static_cast<size_t>(to.width) * to.format.BytesPerPixel();
  const bool is_copy =
      IsSame(from.format, to.format) && !(opacity.is_removed && HasAlpha(from.format.layout));
  if (!is_copy && !IsUnsigned(to.format.type) && from.format.type != to.format.type) {
    return Status::Error("the samples cannot become fixed point or floats");
  }
  if (!is_copy && !IsUnsigned(to.format.type) &&
      (ColorCount(to.format.layout) < ColorCount(from.format.layout) ||
       to.format.layout == PixelLayout::kCmyk)) {
    return Status::Error("fixed point and floats keep their colours");
  }
  try {
    Row row(is_copy ? 0 : static_cast<size_t>(from.width));
    for (int y = 0; y < to.height; ++y) {
      const uint8_t* const in = from.data + static_cast<size_t>(y) * from.stride;
      uint8_t* const out = to.data + static_cast<size_t>(y) * to.stride;
      if (is_copy) {
        std::memcpy(out, in, row_bytes);
      } else if (IsUnsigned(to.format.type)) {
        ConvertRow(from, opacity, y, to, &row);
      } else {
        RearrangeRow(from.format, in, !opacity.is_removed, to.format, to.width, out);
      }
    }
  } catch (const std::bad_alloc&) {
    return Status::NoMemory();
  }
  return Status();
}

Status Convert(const Picture& from, PixelLayout layout, int bits, const OpacityUse& opacity,
               Picture* to) {
  if (!to->Resize(from.width(), from.height(), layout, bits)) return Status::NoMemory();
  return Convert(PixelsOf(from), opacity, PixelsOf(to));
}

bool IsOpaque(const Picture& picture) {
  if (!HasAlpha(picture.layout())) return true;
  std::array<uint8_t, 4> full{};
  picture.StoreOne(full.data());
  const size_t bytes = picture.BytesPerSample();
  const size_t step = bytes * static_cast<size_t>(picture.channels());
  const uint8_t* const samples = picture.Row(0);
  for (size_t i = step - bytes; i < picture.SizeInBytes(); i += step) {
    if (std::memcmp(samples + i, full.data(), bytes) != 0) return false;
  }
  return true;
}

void Invert(Picture* picture) {
  const auto channels = static_cast<size_t>(picture->channels());
  const auto colors = static_cast<size_t>(ColorCount(picture->layout()));
  const int most = picture->MaxValue();
  for (size_t i = 0; i < picture->SampleCount(); ++i) {
    if (i % channels < colors) picture->Set(i, most - picture->Get(i));
  }
}

}  // namespace zepcodec
