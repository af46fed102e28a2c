// SPDX-License-Identifier: MIT
#include "codecs/jpeg/strip_maker.h"

#include <algorithm>
#include <cstring>

#include "zepjp.h"

namespace zepcodec::jpeg {
namespace {

constexpr int RoundUpToEven(int value) { return value + (value & 1); }

}  // namespace

bool StripMaker::Init() {
  const size_t step = static_cast<size_t>(geometry_.step);
  const size_t rows = static_cast<size_t>(geometry_.McuHeight());
  planes_.resize(geometry_.components.size());
  for (size_t i = 0; i < planes_.size(); ++i) {
    const size_t plane_rows = static_cast<size_t>(geometry_.components[i].v) * 8;
    if (!planes_[i].Resize(step * plane_rows)) return false;
  }
  const bool is_cmyk = form_.layout() == PixelLayout::kCmyk;
  for (ByteBuffer& plane : chroma_) {
    if (is_cmyk && HalvesWidth() && !plane.Resize(step * rows)) return false;
  }
  const size_t width = static_cast<size_t>(RoundUpToEven(form_.width()));
  return padded_.Resize(width * static_cast<size_t>(form_.channels()) * rows);
}

void StripMaker::FetchNext(int mcu_row, int first_mcu, int mcus) const {
  const int top = (mcu_row + 1) * geometry_.McuHeight();
  const int bottom = std::min(top + geometry_.McuHeight(), top_ + rows_->height());
  const size_t mcu_bytes = static_cast<size_t>(geometry_.max_h * 8 * form_.channels());
  const size_t begin = static_cast<size_t>(first_mcu) * mcu_bytes;
  const size_t end = std::min(begin + static_cast<size_t>(mcus) * mcu_bytes, form_.Stride());
  constexpr size_t kCacheLine = 64;
  for (int y = top; y < bottom; ++y) {
    const uint8_t* row = Row(y);
    for (size_t i = begin; i < end; i += kCacheLine) __builtin_prefetch(row + i, 0, 2);
  }
}

void StripMaker::Make(int mcu_row) {
  const int first = mcu_row * geometry_.McuHeight();
  const int height = std::min(geometry_.McuHeight(), form_.height() - first);
  if (form_.layout() == PixelLayout::kCmyk) {
    ConvertCmyk(first, height);
  } else {
    Convert(first, height);
  }
  for (size_t i = 0; i < planes_.size(); ++i) FillBlocks(i, mcu_row);
}

void StripMaker::Convert(int first, int height) {
  const int channels = form_.channels();
  int32_t form_step = static_cast<int32_t>(form_.Stride());
  const uint8_t* pixels = Row(first);
  zepiSize size = {form_.width(), height};
  if (channels == 1) {
    for (int y = 0; y < height; ++y) {
      std::memcpy(planes_[0].data() + y * geometry_.step, Row(first + y), form_.Stride());
    }
    return;
  }
  if ((HalvesWidth() && size.width % 2 != 0) || (HalvesHeight() && height % 2 != 0)) {
    pixels = Padded(first, height, false);
    size = {RoundUpToEven(size.width), HalvesHeight() ? RoundUpToEven(height) : height};
    form_step = size.width * channels;
  }
  uint8_t* const planes[3] = {planes_[0].data(), planes_[1].data(), planes_[2].data()};
  const auto convert = sampling_ == Sampling::k444   ? zepiRGBToYCbCr_JPEG_8u_C3P3R
                       : sampling_ == Sampling::k422 ? zepiRGBToYCbCr422_JPEG_8u_C3P3R
                                                     : zepiRGBToYCbCr411_JPEG_8u_C3P3R;
  convert(pixels, form_step, planes, geometry_.step, size);
}

// Adobe's programs store 255 minus the amount of ink, and the conversion starts from that.
void StripMaker::ConvertCmyk(int first, int height) {
  const int step = geometry_.step;
  const uint8_t* pixels = Padded(first, height, true);
  const zepiSize size = {RoundUpToEven(form_.width()), RoundUpToEven(height)};
  uint8_t* const chroma[2] = {(HalvesWidth() ? chroma_[0] : planes_[1]).data(),
                              (HalvesWidth() ? chroma_[1] : planes_[2]).data()};
  uint8_t* const planes[4] = {planes_[0].data(), chroma[0], chroma[1], planes_[3].data()};
  zepiCMYKToYCCK_JPEG_8u_C4P4R(pixels, size.width * 4, planes, step, size);
  if (!HalvesWidth()) return;
  const auto reduce =
      HalvesHeight() ? zepiSampleDownH2V2_JPEG_8u_C1R : zepiSampleDownH2V1_JPEG_8u_C1R;
  const zepiSize reduced = {size.width / 2, HalvesHeight() ? size.height / 2 : size.height};
  for (size_t i = 0; i < 2; ++i) {
    reduce(chroma[i], step, size, planes_[1 + i].data(), step, reduced);
  }
}

// The rows with a last column and row repeated where their number is odd.
const uint8_t* StripMaker::Padded(int first, int height, bool invert) {
  const size_t channels = static_cast<size_t>(form_.channels());
  const size_t step = static_cast<size_t>(RoundUpToEven(form_.width())) * channels;
  for (int y = 0; y < RoundUpToEven(height); ++y) {
    const uint8_t* pixels = Row(first + std::min(y, height - 1));
    uint8_t* out = padded_.data() + static_cast<size_t>(y) * step;
    std::memcpy(out, pixels, form_.Stride());
    std::memcpy(out + step - channels, pixels + form_.Stride() - channels, channels);
    if (!invert) continue;
    for (size_t i = 0; i < step; ++i) out[i] = static_cast<uint8_t>(255 - out[i]);
  }
  return padded_.data();
}

void StripMaker::FillBlocks(size_t component, int mcu_row) {
  const ComponentGeometry& place = geometry_.components[component];
  const size_t step = static_cast<size_t>(geometry_.step);
  const size_t width = static_cast<size_t>(place.width);
  const size_t block_width = static_cast<size_t>(place.blocks_per_row) * 8;
  const int first = mcu_row * place.v * 8;
  const int height = std::min(place.v * 8, place.height - first);
  const int block_height = (height + 7) / 8 * 8;
  uint8_t* samples = planes_[component].data();
  for (int y = 0; y < height; ++y) {
    uint8_t* row = samples + static_cast<size_t>(y) * step;
    std::memset(row + width, row[width - 1], block_width - width);
  }
  const uint8_t* last = samples + static_cast<size_t>(height - 1) * step;
  for (int y = height; y < block_height; ++y) {
    std::memcpy(samples + static_cast<size_t>(y) * step, last, block_width);
  }
}

}  // namespace zepcodec::jpeg
