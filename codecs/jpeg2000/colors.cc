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

// The place of a sample in a component's part: that of the picture, scaled and moved.
int64_t Scaled(int64_t place, int64_t length, int64_t whole) { return place * length / whole; }

}  // namespace

Status PictureMaker::Prepare(const Image& form, Messages* notes) {
  if (Status status = CheckColors(form, notes); !status.ok()) return status;
  const Shown shown = ChooseShown(form, notes);
  if (form.color == ColorSpace::kLab && ColorCount(shown.layout) < 3) {
    return Status::Error("a picture in CIELab with fewer than three components");
  }
  shown_ = shown.components;
  layout_ = shown.layout;
  color_ = form.color;
  is_premultiplied_ = form.is_premultiplied;
  for (const size_t i : shown_) {
    const Component& component = form.components[i];
    if (component.WholeWidth() < 1 || component.WholeHeight() < 1) {
      return Status::Error("a component without samples");
    }
    width_ = std::max(width_, component.WholeWidth());
    height_ = std::max(height_, component.WholeHeight());
    bits_ = std::max(bits_, component.bits);
  }
  const uint32_t white = (1U << bits_) - 1;
  for (const size_t i : shown_) {
    const uint32_t most = (1U << form.components[i].bits) - 1;
    std::vector<uint16_t> codes(most == white ? 0 : most + 1);
    for (size_t code = 0; code < codes.size(); ++code) {
      codes[code] = static_cast<uint16_t>((uint64_t{code} * white + most / 2) / most);
    }
    codes_.push_back(std::move(codes));
  }
  if (color_ == ColorSpace::kLab) {
    const auto bits = [&](size_t i) { return form.components[shown_[i]].bits; };
    lab_.emplace(form.lab, std::array<int, 3>{bits(0), bits(1), bits(2)}, static_cast<int>(white));
  }
  return Status();
}

// A look-up table converts codes of other depths. Samples of coarser components are repeated.
template <class T>
void PictureMaker::FillChannel(const Component& component, size_t channel, const Region& region,
                               Picture* picture) const {
  const std::vector<uint16_t>& codes = codes_[channel];
  const int32_t lowest = LowestValue(component);
  const int32_t most = (1 << component.bits) - 1;
  const auto width = static_cast<size_t>(region.width);
  std::vector<size_t> columns;
  if (component.WholeWidth() != width_) {
    for (int64_t x = region.x; x < int64_t{region.x} + region.width; ++x) {
      columns.push_back(
          static_cast<size_t>(Scaled(x, component.WholeWidth(), width_) - component.part.left));
    }
  }
  std::vector<T> values(static_cast<size_t>(component.width));
  const auto channels = static_cast<size_t>(picture->channels());
  for (int y = 0; y < region.height; ++y) {
    const int64_t row =
        Scaled(int64_t{region.y} + y, component.WholeHeight(), height_) - component.part.top;
    const int32_t* const in = component.Row(static_cast<int>(row));
    std::transform(in, in + values.size(), values.begin(), [=](int32_t sample) {
      return static_cast<T>(std::clamp(sample - lowest, 0, most));
    });
    for (T& value : values) {
      if (!codes.empty()) value = static_cast<T>(codes[value]);
    }
    const T* const from = values.data() + (columns.empty() ? region.x - component.part.left : 0);
    T* const out = reinterpret_cast<T*>(picture->Row(y)) + channel;
    for (size_t x = 0; x < width; ++x) out[x * channels] = from[columns.empty() ? x : columns[x]];
  }
}

void PictureMaker::FillFromLab(const Image& image, const Region& region, Picture* picture) const {
  size_t at = 0;
  for (int y = 0; y < region.height; ++y) {
    for (int x = 0; x < region.width; ++x) {
      std::array<int32_t, 3> lab{};
      for (size_t c = 0; c < 3; ++c) {
        const Component& one = image.components[shown_[c]];
        const int64_t row = Scaled(int64_t{region.y} + y, one.WholeHeight(), height_);
        const int64_t column = Scaled(int64_t{region.x} + x, one.WholeWidth(), width_);
        lab[c] = one.Row(static_cast<int>(row - one.part.top))[column - one.part.left] -
                 LowestValue(one);
      }
      const std::array<int, 3> rgb = lab_->Convert(lab);
      for (size_t c = 0; c < 3; ++c) picture->Set(at + c, rgb[c]);
      at += static_cast<size_t>(picture->channels());
    }
  }
}

void PictureMaker::ConvertColors(const Image& image, const Region& region, Picture* picture) const {
  const bool has_three = picture->channels() >= 3;
  const bool is_cmyk = picture->layout() == PixelLayout::kCmyk;
  switch (color_) {
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
    case ColorSpace::kLab: FillFromLab(image, region, picture); break;
    default: break;
  }
  if (is_premultiplied_ && HasAlpha(picture->layout())) DivideByAlpha(picture);
}

Status PictureMaker::Make(const Image& image, const Region& region, Picture* picture) const {
  if (!picture->Resize(region.width, region.height, layout_, bits_)) return Status::NoMemory();
  for (size_t c = 0; c < shown_.size(); ++c) {
    const Component& component = image.components[shown_[c]];
    if (picture->type() == SampleType::kU8) {
      FillChannel<uint8_t>(component, c, region, picture);
    } else {
      FillChannel<uint16_t>(component, c, region, picture);
    }
  }
  ConvertColors(image, region, picture);
  return Status();
}

Region NeededOf(const Region& region, int width, int height, int component_width,
                int component_height) {
  if (component_width < 1 || component_height < 1) return {};
  const auto left = static_cast<int>(Scaled(region.x, component_width, width));
  const auto top = static_cast<int>(Scaled(region.y, component_height, height));
  const int64_t last_x = int64_t{region.x} + region.width - 1;
  const int64_t last_y = int64_t{region.y} + region.height - 1;
  return {left, top, static_cast<int>(Scaled(last_x, component_width, width)) + 1 - left,
          static_cast<int>(Scaled(last_y, component_height, height)) + 1 - top};
}

Status ToPicture(const Image& image, Messages* notes, Picture* picture) {
  PictureMaker maker;
  Status status = maker.Prepare(image, notes);
  if (!status.ok()) return status;
  status = maker.Make(image, {0, 0, maker.width(), maker.height()}, picture);
  if (status.ok()) picture->metadata() = image.metadata;
  return status;
}

Status FromForm(const Picture& form, Image* image) {
  if (form.type() != SampleType::kU8 && form.type() != SampleType::kU16) {
    return Status::Unsupported("JPEG 2000 files hold unsigned integers here, no other samples");
  }
  image->x1 = form.width();
  image->y1 = form.height();
  image->color = form.layout() == PixelLayout::kCmyk ? ColorSpace::kCmyk
                 : IsGrey(form.layout())             ? ColorSpace::kGrey
                                                     : ColorSpace::kRgb;
  image->metadata = form.metadata();
  if (HasAlpha(form.layout())) image->alpha = form.channels() - 1;
  Component component;
  component.width = form.width();
  component.height = form.height();
  component.bits = form.bits();
  image->components.assign(static_cast<size_t>(form.channels()), component);
  return Status();
}

Status FromPicture(const Picture& picture, Image* image) {
  if (Status status = FromForm(picture, image); !status.ok()) return status;
  const auto channels = static_cast<size_t>(picture.channels());
  for (size_t c = 0; c < channels; ++c) {
    PlainVector<int32_t>& samples = image->components[c].samples;
    samples.resize(picture.SampleCount() / channels);
    size_t at = c;
    for (int32_t& sample : samples) {
      sample = picture.Get(at);
      at += channels;
    }
  }
  return Status();
}

}  // namespace zepcodec::jpeg2000
