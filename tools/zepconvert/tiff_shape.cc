// SPDX-License-Identifier: MIT
#include "tools/zepconvert/tiff_shape.h"

#include <algorithm>
#include <cstring>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/light.h"

namespace zepconvert {
namespace {

std::string Plural(int count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// Colours of a pixel without opacity; 0: only libtiff knows how they are shown.
int ColorsOf(TiffHandle* tiff, int samples, bool is_planar) {
  const auto guess = static_cast<uint16_t>(samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
  const auto compression = tiff->Field<uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  switch (tiff->Field<uint16_t>(TIFFTAG_PHOTOMETRIC, guess)) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MASK: return 1;
    case PHOTOMETRIC_RGB: return 3;
    case PHOTOMETRIC_SEPARATED: return 4;
    case PHOTOMETRIC_YCBCR:
      if (compression != COMPRESSION_JPEG || is_planar) return 0;
      TIFFSetField(tiff->get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
      return 3;
    default: return 0;
  }
}

// The opacity that follows the colours.
bool FindOpacity(TiffHandle* tiff, bool* is_premultiplied) {
  uint16_t count = 0;
  uint16_t* kinds = nullptr;
  const int found = TIFFGetField(tiff->get(), TIFFTAG_EXTRASAMPLES, &count, &kinds);
  if (found != 1 || count == 0) return false;
  *is_premultiplied = kinds[0] == EXTRASAMPLE_ASSOCALPHA;
  return *is_premultiplied || kinds[0] == EXTRASAMPLE_UNASSALPHA;
}

void CheckSamples(TiffHandle* tiff, TiffShape* shape) {
  const auto kind = tiff->Field<uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  shape->is_signed = kind == SAMPLEFORMAT_INT;
  shape->is_float = kind == SAMPLEFORMAT_IEEEFP;
  if (kind > SAMPLEFORMAT_VOID || kind == 0) throw Failure("complex numbers cannot be read");
  const int bits = shape->bits;
  const bool fits = shape->is_float    ? bits == 16 || bits == 32 || bits == 64
                    : shape->is_signed ? bits == 8 || bits == 16 || bits == 32
                                       : bits <= 16 || bits == 32;
  if (!fits || bits < 1) {
    throw Failure((shape->is_float    ? "floats of "
                   : shape->is_signed ? "signed samples of "
                                      : "samples of ") +
                  std::to_string(bits) + " bits cannot be read");
  }
}

// The result has the samples of the file, as far as there is a form for them.
void ChooseExactForm(TiffHandle* tiff, int colors, TiffShape* shape) {
  CheckSamples(tiff, shape);
  if (shape->samples < colors) {
    throw Failure(Plural(shape->samples, "sample") + " a pixel are too few for its colours");
  }
  if (colors == 4 && tiff->Field<uint16_t>(TIFFTAG_INKSET, INKSET_CMYK) != INKSET_CMYK) {
    throw Failure("inks other than CMYK cannot be read");
  }
  const bool has_opacity =
      colors < 4 && shape->samples > colors && FindOpacity(tiff, &shape->is_premultiplied);
  shape->is_premultiplied = shape->is_premultiplied && has_opacity;
  const int channels = colors + (has_opacity ? 1 : 0);
  const zepcLayout layout = colors == 4 ? zepcLayoutCmyk : LayoutWithChannels(channels);
  shape->form = shape->is_float ? Form{layout, zepcSampleF32, 32}
                                : UnsignedForm(layout, std::clamp(shape->bits, 8, 16));
  const auto photometric = tiff->Field<uint16_t>(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  shape->is_inverted = photometric == PHOTOMETRIC_MINISWHITE && !shape->is_float;
  if (shape->samples > channels) {
    shape->notes.push_back(Plural(shape->samples - channels, "channel") +
                           " beside the colours left out");
  }
  if (shape->is_signed) shape->notes.emplace_back("signed samples were shifted: 0 became grey");
  const int most_bits = shape->is_float ? 32 : 16;
  if (shape->bits > most_bits) {
    shape->notes.push_back("samples of " + std::to_string(shape->bits) + " bits became " +
                           std::to_string(most_bits) + " bits");
  }
}

// The result is as libtiff shows the picture.
void ChooseShownForm(TiffHandle* tiff, TiffShape* shape) {
  char why[1024] = "";
  if (TIFFRGBAImageOK(tiff->get(), why) != 1) throw Failure("libtiff: " + std::string(why));
  shape->is_exact = false;
  const auto photometric = tiff->Field<uint16_t>(TIFFTAG_PHOTOMETRIC, 0);
  bool is_premultiplied = false;
  const bool has_opacity =
      photometric != PHOTOMETRIC_PALETTE && FindOpacity(tiff, &is_premultiplied);
  shape->form = UnsignedForm(has_opacity ? zepcLayoutRgba : zepcLayoutRgb, 8);
  const bool is_deep =
      shape->bits > 8 || photometric == PHOTOMETRIC_LOGL || photometric == PHOTOMETRIC_LOGLUV;
  if (is_deep) shape->notes.emplace_back("libtiff reduced the samples to 8 bits");
}

// A sample of n bits, the highest one first; those of whole bytes are in the machine's order.
uint32_t SampleAt(const uint8_t* row, size_t index, int bits) {
  switch (bits) {
    case 8: return row[index];
    case 16: return LoadSample<uint16_t>(row + 2 * index);
    case 32: return LoadSample<uint32_t>(row + 4 * index);
    default: break;
  }
  const auto width = static_cast<size_t>(bits);
  uint32_t value = 0;
  for (size_t bit = index * width; bit < (index + 1) * width; ++bit) {
    value = value << 1 | (row[bit / 8] >> (7 - bit % 8) & 1U);
  }
  return value;
}

float FloatAt(const uint8_t* row, size_t index, int bits) {
  switch (bits) {
    case 16: return FloatOfHalf(LoadSample<uint16_t>(row + 2 * index));
    case 32: return LoadSample<float>(row + 4 * index);
    default: return static_cast<float>(LoadSample<double>(row + 8 * index));
  }
}

// With the depth of the result.
uint32_t Scaled(const TiffShape& shape, uint32_t value) {
  if (shape.is_signed) value ^= uint32_t{1} << (shape.bits - 1);
  if (shape.bits > 16) return value >> (shape.bits - 16);
  if (shape.bits >= 8) return value;
  const uint32_t most = (1U << shape.bits) - 1;
  return (value * 255 + most / 2) / most;
}

void StoreInteger(const Form& form, uint32_t value, uint8_t* out) {
  if (form.sample == zepcSampleU8) {
    *out = static_cast<uint8_t>(value);
    return;
  }
  const auto sample = static_cast<uint16_t>(value);
  std::memcpy(out, &sample, sizeof(sample));
}

// A channel of the result from a row of a plane: of each `step` samples the one at `first`.
void ConvertChannel(const TiffShape& shape, const uint8_t* plane, size_t first, size_t step,
                    size_t count, bool is_inverted, uint8_t* out) {
  const size_t sample_bytes = BytesOf(shape.form.sample);
  const size_t pixel_bytes = sample_bytes * static_cast<size_t>(ChannelCount(shape.form.layout));
  if (shape.is_float) {
    for (size_t i = 0; i < count; ++i, out += pixel_bytes) {
      const float value = FloatAt(plane, first + i * step, shape.bits);
      std::memcpy(out, &value, sizeof(value));
    }
    return;
  }
  const uint32_t flip = is_inverted ? (1U << shape.form.bits) - 1 : 0;
  for (size_t i = 0; i < count; ++i, out += pixel_bytes) {
    const uint32_t value = Scaled(shape, SampleAt(plane, first + i * step, shape.bits));
    StoreInteger(shape.form, value ^ flip, out);
  }
}

// True where the stored samples are those of the result.
bool IsAsWanted(const TiffShape& shape) {
  const bool has_whole_bytes = shape.bits == 8 || shape.bits == 16;
  const bool is_float = shape.is_float && shape.bits == 32;
  return (is_float || (has_whole_bytes && !shape.is_float)) && !shape.is_planar &&
         !shape.is_signed && !shape.is_inverted && shape.samples == ChannelCount(shape.form.layout);
}

void ConvertChannels(const TiffShape& shape, const std::vector<const uint8_t*>& planes,
                     size_t count, uint8_t* out) {
  const auto channels = static_cast<size_t>(ChannelCount(shape.form.layout));
  const size_t step = shape.is_planar ? 1 : static_cast<size_t>(shape.samples);
  for (size_t c = 0; c < channels; ++c) {
    const bool is_opacity = HasAlpha(shape.form.layout) && c + 1 == channels;
    ConvertChannel(shape, planes[shape.is_planar ? c : 0], shape.is_planar ? 0 : c, step, count,
                   shape.is_inverted && !is_opacity, out + c * BytesOf(shape.form.sample));
  }
}

template <class Sample>
void UnmultiplyIntegers(uint32_t most, size_t channels, size_t pixels, uint8_t* row) {
  for (size_t i = 0; i < pixels; ++i, row += channels * sizeof(Sample)) {
    const uint32_t opacity = LoadSample<Sample>(row + (channels - 1) * sizeof(Sample));
    if (opacity == 0 || opacity == most) continue;
    for (size_t c = 0; c + 1 < channels; ++c) {
      const uint64_t color = LoadSample<Sample>(row + c * sizeof(Sample));
      const auto whole =
          static_cast<Sample>(std::min<uint64_t>((color * most + opacity / 2) / opacity, most));
      std::memcpy(row + c * sizeof(Sample), &whole, sizeof(whole));
    }
  }
}

void UnmultiplyFloats(size_t channels, size_t pixels, uint8_t* row) {
  for (size_t i = 0; i < pixels; ++i, row += channels * sizeof(float)) {
    const auto opacity = LoadSample<float>(row + (channels - 1) * sizeof(float));
    if (!(opacity > 0)) continue;
    for (size_t c = 0; c + 1 < channels; ++c) {
      const float whole = LoadSample<float>(row + c * sizeof(float)) / opacity;
      std::memcpy(row + c * sizeof(float), &whole, sizeof(whole));
    }
  }
}

}  // namespace

int64_t TiffShape::RowBytes(int64_t pixels) const {
  const int64_t in_plane = is_planar ? 1 : samples;
  return (pixels * in_plane * bits + 7) / 8;
}

TiffShape ReadTiffShape(TiffHandle* tiff) {
  TiffShape shape;
  shape.width = tiff->Field<uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
  shape.height = tiff->Field<uint32_t>(TIFFTAG_IMAGELENGTH, 0);
  shape.samples = tiff->Field<uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
  shape.bits = tiff->Field<uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
  const auto planes = tiff->Field<uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  shape.is_planar = planes == PLANARCONFIG_SEPARATE && shape.samples > 1;
  shape.is_tiled = TIFFIsTiled(tiff->get()) != 0;
  if (shape.is_tiled) {
    shape.band_width = tiff->Field<uint32_t>(TIFFTAG_TILEWIDTH, 0);
    shape.band_rows = tiff->Field<uint32_t>(TIFFTAG_TILELENGTH, 0);
  } else {
    const auto rows = tiff->Field<uint32_t>(TIFFTAG_ROWSPERSTRIP, UINT32_MAX);
    shape.band_width = shape.width;
    shape.band_rows = std::min<int64_t>(rows, shape.height);
  }
  if (shape.band_width < 1 || shape.band_rows < 1) throw Failure("the directory is damaged");
  const int colors = ColorsOf(tiff, shape.samples, shape.is_planar);
  if (colors > 0) {
    ChooseExactForm(tiff, colors, &shape);
  } else {
    ChooseShownForm(tiff, &shape);
  }
  return shape;
}

void ConvertTiffRow(const TiffShape& shape, const std::vector<const uint8_t*>& planes, size_t count,
                    uint8_t* out) {
  if (IsAsWanted(shape)) {
    std::memcpy(out, planes[0], count * static_cast<size_t>(shape.samples * shape.bits / 8));
  } else {
    ConvertChannels(shape, planes, count, out);
  }
  if (shape.is_premultiplied) Unmultiply(shape.form, count, out);
}

void Unmultiply(const Form& form, size_t pixels, uint8_t* row) {
  const auto channels = static_cast<size_t>(ChannelCount(form.layout));
  const uint32_t most = (uint32_t{1} << std::min(form.bits, 16)) - 1;
  switch (form.sample) {
    case zepcSampleU8: UnmultiplyIntegers<uint8_t>(most, channels, pixels, row); break;
    case zepcSampleU16: UnmultiplyIntegers<uint16_t>(most, channels, pixels, row); break;
    default: UnmultiplyFloats(channels, pixels, row); break;
  }
}

}  // namespace zepconvert
