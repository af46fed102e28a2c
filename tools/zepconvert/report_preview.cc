// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report_preview.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace zepconvert {
namespace {

// Where the areas of `count` pixels begin, of `size` in all, and the end of the last one.
std::vector<int> Borders(int count, int size) {
  std::vector<int> borders;
  for (int64_t i = 0; i <= count; ++i) borders.push_back(static_cast<int>(i * size / count));
  return borders;
}

// The mean over the area of each pixel of one row of the reduced picture.
template <class Sum>
class AreaRow {
 public:
  AreaRow(const Image& image, int width)
      : image_(image),
        borders_(Borders(width, image.width())),
        channels_(static_cast<size_t>(image.channels())),
        has_alpha_(HasAlpha(image.form().layout)),
        sums_(image.SamplesInRow()) {}

  void Read(int top, int bottom, uint8_t* out) {
    std::fill(sums_.begin(), sums_.end(), 0);
    for (int y = top; y < bottom; ++y) Add(image_.Row(y));
    for (size_t x = 0; x + 1 < borders_.size(); ++x) {
      Average(borders_[x], borders_[x + 1], bottom - top, out + x * channels_);
    }
  }

 private:
  void Add(const uint8_t* row) {
    if (!has_alpha_) {
      for (size_t i = 0; i < sums_.size(); ++i) sums_[i] += row[i];
      return;
    }
    for (size_t i = 0; i < sums_.size(); i += channels_) {
      const Sum alpha = row[i + channels_ - 1];
      for (size_t c = 0; c + 1 < channels_; ++c) sums_[i + c] += row[i + c] * alpha;
      sums_[i + channels_ - 1] += alpha;
    }
  }
  void Average(int left, int right, int rows, uint8_t* out) const {
    const size_t begin = static_cast<size_t>(left) * channels_;
    const size_t end = static_cast<size_t>(right) * channels_;
    uint64_t totals[4] = {};
    for (size_t i = begin; i < end; i += channels_) {
      for (size_t c = 0; c < channels_; ++c) totals[c] += sums_[i + c];
    }
    // The weights of colours are their opacities.
    const double mean = 1 / (static_cast<double>(right - left) * rows);
    const auto alpha = static_cast<double>(totals[channels_ - 1]);
    const double color_mean = !has_alpha_ ? mean : alpha == 0 ? 0 : 1 / alpha;
    for (size_t c = 0; c < channels_; ++c) {
      const double factor = has_alpha_ && c + 1 == channels_ ? mean : color_mean;
      out[c] = static_cast<uint8_t>(static_cast<double>(totals[c]) * factor + 0.5);
    }
  }

  const Image& image_;
  const std::vector<int> borders_;
  const size_t channels_;
  const bool has_alpha_;
  std::vector<Sum> sums_;  // of columns; colours are multiplied by opacity
};

template <size_t kChannels>
void ReadErrors(const uint8_t* a, const uint8_t* b, int width, uint8_t* out) {
  for (size_t x = 0; x < static_cast<size_t>(width); ++x) {
    int most = 0;
    for (size_t c = 0; c < kChannels; ++c) {
      most = std::max(most, std::abs(a[x * kChannels + c] - b[x * kChannels + c]));
    }
    out[x] = static_cast<uint8_t>(most);
  }
}

// Squared errors in cells of the picture, summed up from the left and the top.
class ErrorSums {
 public:
  static constexpr int kCell = 32;

  explicit ErrorSums(const Image& errors)
      : across_((errors.width() + kCell - 1) / kCell),
        down_((errors.height() + kCell - 1) / kCell),
        sums_(static_cast<size_t>(across_ + 1) * static_cast<size_t>(down_ + 1)) {
    for (int y = 0; y < errors.height(); ++y) {
      const uint8_t* const row = errors.Row(y);
      for (int cell = 0; cell < across_; ++cell) {
        uint32_t sum = 0;
        const int end = std::min((cell + 1) * kCell, errors.width());
        for (int x = cell * kCell; x < end; ++x) sum += uint32_t{row[x]} * row[x];
        At(cell + 1, y / kCell + 1) += sum;
      }
    }
    for (int y = 1; y <= down_; ++y) {
      for (int x = 1; x <= across_; ++x) At(x, y) += At(x - 1, y) + At(x, y - 1) - At(x - 1, y - 1);
    }
  }

  int across() const { return across_; }
  int down() const { return down_; }
  uint64_t SumOf(int left, int top, int right, int bottom) {
    return At(right, bottom) - At(left, bottom) - At(right, top) + At(left, top);
  }

 private:
  uint64_t& At(int x, int y) {
    return sums_[static_cast<size_t>(y) * static_cast<size_t>(across_ + 1) +
                 static_cast<size_t>(x)];
  }

  int across_;
  int down_;
  std::vector<uint64_t> sums_;
};

template <class Sum>
Image ReducedBy(const Image& image, int side) {
  const zepcRect size = ReducedSize(image.width(), image.height(), side);
  Image reduced(size.width, size.height, image.form());
  AreaRow<Sum> row(image, size.width);
  const std::vector<int> borders = Borders(size.height, image.height());
  for (size_t y = 0; y + 1 < borders.size(); ++y) {
    row.Read(borders[y], borders[y + 1], reduced.Row(static_cast<int>(y)));
  }
  return reduced;
}

}  // namespace

zepcRect ReducedSize(int width, int height, int side) {
  const int longer = std::max(width, height);
  if (longer <= side) return {0, 0, width, height};
  const auto reduced = [&](int length) {
    return static_cast<int>(std::max<int64_t>(1, (int64_t{length} * side + longer / 2) / longer));
  };
  return {0, 0, reduced(width), reduced(height)};
}

Image Reduced(const Image& image, int side) {
  const bool has_alpha = HasAlpha(image.form().layout);
  return has_alpha ? ReducedBy<uint64_t>(image, side) : ReducedBy<uint32_t>(image, side);
}

Image ErrorPicture(const Image& a, const Image& b) {
  Image errors(a.width(), a.height(), UnsignedForm(zepcLayoutGrey, 8));
  constexpr decltype(&ReadErrors<1>) kReaders[] = {ReadErrors<1>, ReadErrors<2>, ReadErrors<3>,
                                                   ReadErrors<4>};
  const auto read = kReaders[a.channels() - 1];
  for (int y = 0; y < a.height(); ++y) read(a.Row(y), b.Row(y), a.width(), errors.Row(y));
  return errors;
}

Image ReducedErrors(const Image& errors, int side) {
  const zepcRect size = ReducedSize(errors.width(), errors.height(), side);
  Image reduced(size.width, size.height, errors.form());
  std::vector<uint8_t> columns(static_cast<size_t>(errors.width()));
  const std::vector<int> across = Borders(size.width, errors.width());
  const std::vector<int> down = Borders(size.height, errors.height());
  for (size_t y = 0; y + 1 < down.size(); ++y) {
    std::fill(columns.begin(), columns.end(), uint8_t{0});
    for (int from = down[y]; from < down[y + 1]; ++from) {
      const uint8_t* const row = errors.Row(from);
      for (size_t x = 0; x < columns.size(); ++x) columns[x] = std::max(columns[x], row[x]);
    }
    uint8_t* const out = reduced.Row(static_cast<int>(y));
    for (size_t x = 0; x + 1 < across.size(); ++x) {
      out[x] = *std::max_element(columns.data() + across[x], columns.data() + across[x + 1]);
    }
  }
  return reduced;
}

zepcRect WorstPart(const Image& errors, int width, int height) {
  ErrorSums sums(errors);
  const int across = std::min((width + ErrorSums::kCell - 1) / ErrorSums::kCell, sums.across());
  const int down = std::min((height + ErrorSums::kCell - 1) / ErrorSums::kCell, sums.down());
  uint64_t most = 0;
  zepcRect worst = {0, 0, std::min(width, errors.width()), std::min(height, errors.height())};
  for (int y = 0; y + down <= sums.down(); ++y) {
    for (int x = 0; x + across <= sums.across(); ++x) {
      const uint64_t sum = sums.SumOf(x, y, x + across, y + down);
      if (sum <= most) continue;
      most = sum;
      worst.x = std::min(x * ErrorSums::kCell, errors.width() - worst.width);
      worst.y = std::min(y * ErrorSums::kCell, errors.height() - worst.height);
    }
  }
  return worst;
}

Image PartOf(const Image& image, const zepcRect& part) {
  Image copy(part.width, part.height, image.form());
  const auto channels = static_cast<size_t>(image.channels());
  for (int y = 0; y < part.height; ++y) {
    std::memcpy(copy.Row(y), image.Row(part.y + y) + static_cast<size_t>(part.x) * channels,
                copy.SamplesInRow());
  }
  return copy;
}

Image ErrorsInColors(const Image& a, const Image& b) {
  const Form rgb = UnsignedForm(zepcLayoutRgb, 8);
  Image errors = Converted(a, rgb);
  const Image other = Converted(b, rgb);
  for (int y = 0; y < errors.height(); ++y) {
    uint8_t* const out = errors.Row(y);
    const uint8_t* const in = other.Row(y);
    for (size_t i = 0; i < errors.SamplesInRow(); ++i) {
      out[i] = static_cast<uint8_t>(std::abs(out[i] - in[i]));
    }
  }
  return errors;
}

}  // namespace zepconvert
