// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/colors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zepcodec::jpeg2000 {
namespace {

int32_t LowestValue(const Component& component) {
  return component.is_signed ? -(1 << (component.bits - 1)) : 0;
}

// Fills one channel at the size of the finest component; samples of coarser components are
// repeated. A look-up table converts codes of any depth to that of the picture.
template <class T>
void FillChannel(const Component& component, size_t channel, Picture* picture) {
  const uint32_t most = (1U << component.bits) - 1;
  const auto white = static_cast<uint32_t>(picture->MaxValue());
  std::vector<T> codes(most + 1);
  for (uint32_t i = 0; i <= most; ++i) {
    codes[i] = static_cast<T>((uint64_t{i} * white + most / 2) / most);
  }
  const int32_t lowest = LowestValue(component);
  const auto width = static_cast<size_t>(picture->width());
  std::vector<int> columns(width);
  for (size_t x = 0; x < width; ++x) {
    columns[x] = static_cast<int>(x * static_cast<size_t>(component.width) / width);
  }
  const auto channels = static_cast<size_t>(picture->channels());
  for (int y = 0; y < picture->height(); ++y) {
    const int64_t row = int64_t{y} * component.height / picture->height();
    const int32_t* const in = component.Row(static_cast<int>(row));
    T* out = reinterpret_cast<T*>(picture->Row(y)) + channel;
    for (const int x : columns) {
      *out = codes[static_cast<size_t>(std::clamp(in[x] - lowest, 0, static_cast<int32_t>(most)))];
      out += channels;
    }
  }
}

// CIE 15: the inverse of the cube root, which has a linear part near black.
double LabInverse(double t) {
  constexpr double kKnee = 6.0 / 29;
  return t > kKnee ? t * t * t : 3 * kKnee * kKnee * (t - 4.0 / 29);
}

// L*a*b* to sRGB; colours outside its gamut are clipped.
class LabToRgb {
 public:
  // A sample is a code from 0 to 2^bits - 1, and its value (code - offset) * range / (2^bits - 1).
  LabToRgb(const LabRange& range, const std::array<int, 3>& bits, int white) {
    for (size_t i = 0; i < 3; ++i) {
      axes_[i] = {range.range[i] / ((1 << bits[i]) - 1), range.OffsetOf(i, bits[i])};
    }
    // From XYZ to linear sRGB: relative to D65, or to D50 with Bradford adaptation.
    if (range.is_d65) {
      white_ = {0.95047, 1, 1.08883};
      matrix_ = {{{3.2404542, -1.5371385, -0.4985314},
                  {-0.9692660, 1.8760108, 0.0415560},
                  {0.0556434, -0.2040259, 1.0572252}}};
    } else {
      white_ = {0.96422, 1, 0.82521};
      matrix_ = {{{3.1338561, -1.6168667, -0.4906146},
                  {-0.9787684, 1.9161415, 0.0334540},
                  {0.0719453, -0.2289914, 1.4052427}}};
    }
    for (size_t i = 0; i <= kCurveSteps; ++i) {
      const double light = static_cast<double>(i) / kCurveSteps;
      const double curved =
          light < 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
      curve_.push_back(static_cast<int>(std::lround(std::clamp(white * curved, 0.0, 1.0 * white))));
    }
  }

  // Codes, counted from the lowest possible sample.
  std::array<int, 3> Convert(const std::array<int32_t, 3>& lab) const {
    const double y = (axes_[0].At(lab[0]) + 16) / 116;
    const double x = y + axes_[1].At(lab[1]) / 500;
    const double z = y - axes_[2].At(lab[2]) / 200;
    const double xyz[3] = {white_[0] * LabInverse(x), white_[1] * LabInverse(y),
                           white_[2] * LabInverse(z)};
    std::array<int, 3> rgb{};
    for (size_t c = 0; c < 3; ++c) {
      rgb[c] = Curved(matrix_[c][0] * xyz[0] + matrix_[c][1] * xyz[1] + matrix_[c][2] * xyz[2]);
    }
    return rgb;
  }

 private:
  static constexpr size_t kCurveSteps = 1 << 14;

  struct Axis {
    double scale;
    double offset;
    double At(int32_t code) const { return (code - offset) * scale; }
  };
  int Curved(double light) const {
    return curve_[static_cast<size_t>(std::lround(std::clamp(light, 0.0, 1.0) * kCurveSteps))];
  }

  std::array<Axis, 3> axes_;
  std::array<double, 3> white_;
  std::array<std::array<double, 3>, 3> matrix_;
  std::vector<int> curve_;
};

void FillFromLab(const Image& image, Picture* picture) {
  const std::array<const Component*, 3> parts = {&image.components[0], &image.components[1],
                                                 &image.components[2]};
  const LabToRgb to_rgb(image.lab, {parts[0]->bits, parts[1]->bits, parts[2]->bits},
                        picture->MaxValue());
  size_t at = 0;
  for (int y = 0; y < picture->height(); ++y) {
    for (int64_t x = 0; x < picture->width(); ++x) {
      std::array<int32_t, 3> lab{};
      for (size_t c = 0; c < 3; ++c) {
        const int64_t row = int64_t{y} * parts[c]->height / picture->height();
        lab[c] = parts[c]->Row(static_cast<int>(row))[x * parts[c]->width / picture->width()] -
                 LowestValue(*parts[c]);
      }
      const std::array<int, 3> rgb = to_rgb.Convert(lab);
      for (size_t c = 0; c < 3; ++c) picture->Set(at + c, rgb[c]);
      at += static_cast<size_t>(picture->channels());
    }
  }
}

// Calls change(pixel) for each pixel; it may change the samples.
template <class Change>
void ForPixels(Picture* picture, const Change& change) {
  const auto channels = static_cast<size_t>(picture->channels());
  std::array<int, 4> pixel{};
  for (size_t at = 0; at < picture->SampleCount(); at += channels) {
    for (size_t c = 0; c < channels; ++c) pixel[c] = picture->Get(at + c);
    change(&pixel);
    for (size_t c = 0; c < channels; ++c) picture->Set(at + c, pixel[c]);
  }
}

// Full-range YCbCr of ITU-R BT.601, which sYCC and e-sYCC use.
void YccToRgb(Picture* picture) {
  const int most = picture->MaxValue();
  const int middle = (most + 1) / 2;
  const auto rounded = [most](double value) {
    return static_cast<int>(std::lround(std::clamp(value, 0.0, 1.0 * most)));
  };
  ForPixels(picture, [=](std::array<int, 4>* pixel) {
    const double y = (*pixel)[0];
    const double cb = (*pixel)[1] - middle;
    const double cr = (*pixel)[2] - middle;
    (*pixel)[0] = rounded(y + 1.402 * cr);
    (*pixel)[1] = rounded(y - 0.344136 * cb - 0.714136 * cr);
    (*pixel)[2] = rounded(y + 1.772 * cb);
  });
}

// Inverts the first three channels, or grey.
void InvertColors(Picture* picture) {
  const int most = picture->MaxValue();
  const auto colors = static_cast<size_t>(std::min(ColorCount(picture->layout()), 3));
  ForPixels(picture, [=](std::array<int, 4>* pixel) {
    for (size_t c = 0; c < colors; ++c) (*pixel)[c] = most - (*pixel)[c];
  });
}

void DivideByAlpha(Picture* picture) {
  const int64_t most = picture->MaxValue();
  const auto colors = static_cast<size_t>(ColorCount(picture->layout()));
  ForPixels(picture, [=](std::array<int, 4>* pixel) {
    const int64_t alpha = (*pixel)[colors];
    for (size_t c = 0; c < colors && alpha > 0; ++c) {
      const int64_t value = ((*pixel)[c] * most + alpha / 2) / alpha;
      (*pixel)[c] = static_cast<int>(std::min(most, value));
    }
  });
}

size_t ColorCountOf(const Image& image, size_t components) {
  switch (image.color) {
    case ColorSpace::kGrey:
    case ColorSpace::kInvertedGrey: return 1;
    case ColorSpace::kCmyk:
    case ColorSpace::kYcck: return components >= 4 ? 4 : components >= 3 ? 3 : 1;
    default: return components >= 3 ? 3 : 1;
  }
}

// The components that are shown, opacity last.
struct Shown {
  std::vector<size_t> components;
  PixelLayout layout;
};

Shown ChooseShown(const Image& image, Messages* notes) {
  const size_t count = image.components.size();
  const bool has_alpha = image.alpha >= 0 && count > 1;
  const size_t opaque = count - (has_alpha ? 1 : 0);
  const size_t colors = ColorCountOf(image, opaque);
  Shown shown;
  for (size_t i = 0; shown.components.size() < colors; ++i) {
    if (!has_alpha || static_cast<int>(i) != image.alpha) shown.components.push_back(i);
  }
  if (opaque > colors) {
    notes->Add("left out beside the colours: " + std::to_string(opaque - colors) +
               (opaque - colors == 1 ? " component" : " components"));
  }
  if (colors == 4) {
    if (has_alpha) notes->Add("opacity has no place beside four inks and was left out");
    shown.layout = PixelLayout::kCmyk;
    return shown;
  }
  if (has_alpha) shown.components.push_back(static_cast<size_t>(image.alpha));
  shown.layout = LayoutWithChannels(static_cast<int>(shown.components.size()));
  return shown;
}

// Colour spaces with another kind of luminance would look wrong as RGB, so they are refused.
Status CheckColors(const Image& image, Messages* notes) {
  constexpr int kLuminanceSpaces[] = {1, 4, 9, 19, 22, 23};
  if (image.color == ColorSpace::kLab && image.components.size() < 3) {
    return Status::Error("a picture in CIELab with fewer than three components");
  }
  if (image.unknown_color < 0) return Status();
  const std::string number = "the JP2 colour space " + std::to_string(image.unknown_color);
  if (std::find(std::begin(kLuminanceSpaces), std::end(kLuminanceSpaces), image.unknown_color) !=
      std::end(kLuminanceSpaces)) {
    return Status::Unsupported(number + " cannot be converted");
  }
  notes->Add(number + " is not known; the samples were taken as " +
             (image.components.size() < 3 ? "grey" : "RGB"));
  return Status();
}

void ConvertColors(const Image& image, Picture* picture) {
  const bool has_three = picture->channels() >= 3;
  const bool is_cmyk = picture->layout() == PixelLayout::kCmyk;
  switch (image.color) {
    case ColorSpace::kInvertedGrey:
    case ColorSpace::kCmy: InvertColors(picture); break;
    case ColorSpace::kYcc:
      if (has_three) YccToRgb(picture);
      break;
    case ColorSpace::kCmyk:
      if (!is_cmyk) InvertColors(picture);  // three inks
      break;
    case ColorSpace::kYcck:
      if (has_three) YccToRgb(picture);
      if (is_cmyk) InvertColors(picture);
      break;
    case ColorSpace::kLab: FillFromLab(image, picture); break;
    default: break;
  }
  if (image.is_premultiplied && HasAlpha(picture->layout())) DivideByAlpha(picture);
}

}  // namespace

void SizeOfPicture(const Image& image, int* width, int* height) {
  Messages ignored;
  *width = *height = 0;
  for (const size_t i : ChooseShown(image, &ignored).components) {
    *width = std::max(*width, image.components[i].width);
    *height = std::max(*height, image.components[i].height);
  }
}

Status ToPicture(const Image& image, Messages* notes, Picture* picture) {
  if (Status status = CheckColors(image, notes); !status.ok()) return status;
  const Shown shown = ChooseShown(image, notes);
  int width = 0;
  int height = 0;
  int bits = 1;
  for (const size_t i : shown.components) {
    const Component& component = image.components[i];
    if (component.width < 1 || component.height < 1) {
      return Status::Error("a component without samples");
    }
    width = std::max(width, component.width);
    height = std::max(height, component.height);
    bits = std::max(bits, component.bits);
  }
  if (!picture->Resize(width, height, shown.layout, bits)) return Status::NoMemory();
  for (size_t c = 0; c < shown.components.size(); ++c) {
    const auto fill =
        picture->type() == SampleType::kU8 ? FillChannel<uint8_t> : FillChannel<uint16_t>;
    fill(image.components[shown.components[c]], c, picture);
  }
  ConvertColors(image, picture);
  picture->metadata() = image.metadata;
  return Status();
}

Status FromPicture(const Picture& picture, Image* image) {
  if (picture.type() != SampleType::kU8 && picture.type() != SampleType::kU16) {
    return Status::Unsupported("JPEG 2000 files hold unsigned integers here, no other samples");
  }
  image->x1 = picture.width();
  image->y1 = picture.height();
  image->color = picture.layout() == PixelLayout::kCmyk ? ColorSpace::kCmyk
                 : IsGrey(picture.layout())             ? ColorSpace::kGrey
                                                        : ColorSpace::kRgb;
  image->metadata = picture.metadata();
  if (HasAlpha(picture.layout())) image->alpha = picture.channels() - 1;
  const auto channels = static_cast<size_t>(picture.channels());
  for (size_t c = 0; c < channels; ++c) {
    Component component;
    component.width = picture.width();
    component.height = picture.height();
    component.bits = picture.bits();
    component.samples.resize(picture.SampleCount() / channels);
    size_t at = c;
    for (int32_t& sample : component.samples) {
      sample = picture.Get(at);
      at += channels;
    }
    image->components.push_back(std::move(component));
  }
  return Status();
}

}  // namespace zepcodec::jpeg2000
