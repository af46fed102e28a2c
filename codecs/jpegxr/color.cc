// SPDX-License-Identifier: MIT
// Samples become components in three steps, and back in the reverse order:
//
//   integers   samples of wide types lose `shift` low bits; floats become integers (float_code.h);
//              lossy coding of 8 and 16 bits multiplies by 8, so that rounding in the transforms
//              does not count
//   colours    v = b - r; t = r + ceil(v / 2) - g; y = g + floor(t / 2) - offset; u = -t. All steps
//              are undone exactly; `offset` moves the middle of the range to 0
//   chroma     halved by the filter (1 4 6 4 1) / 16 across and, for 4:2:0, down; doubled by means
//              of neighbours
//
// Sums wrap at 32 bits: lossless coding of 32-bit samples has no room to spare, and damaged files
// may contain anything. rgb_rows.h is the fast path for 8-bit RGB.
#include "codecs/jpegxr/color.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "codecs/jpegxr/float_code.h"
#include "codecs/jpegxr/packed_pixels.h"
#include "codecs/jpegxr/rgb_rows.h"
#include "codecs/jpegxr/wrapping.h"

namespace zepcodec::jpegxr {
namespace {

using W = Wrapping;
constexpr int kScaledShift = 3;

int ShiftOf(const PlaneHeader& header) { return header.is_scaled ? kScaledShift : 0; }

// The middle of the range of samples, after scaling: it is coded as 0.
int32_t Middle(const FrameHeader& frame, const PlaneHeader& header) {
  switch (frame.packing) {
    case Packing::k555: return 16;
    case Packing::k565: return 32;
    case Packing::k101010: return 512;
    default: break;
  }
  if (frame.type == SampleType::kU8) return 128;
  return frame.type == SampleType::kU16 ? 32768 >> header.shift : 0;
}

int32_t Offset(const FrameHeader& frame, const PlaneHeader& header) {
  return Middle(frame, header) << ShiftOf(header);
}

// The rounding term of the final shift. Opacity inside a picture's codestream rounds halves up.
int32_t Rounding(const FrameHeader& frame, const PlaneHeader& header, bool is_opacity) {
  if (!header.is_scaled) return 0;
  const bool is_wide = frame.type == SampleType::kU16 && frame.packing == Packing::kNone;
  return is_wide || is_opacity ? 4 : 3;
}

// Reads and writes samples of each type, at any alignment.
template <class T>
struct Samples {
  static T Load(const uint8_t* from) {
    T value;
    std::memcpy(&value, from, sizeof(T));
    return value;
  }
  static void Store(T value, uint8_t* to) { std::memcpy(to, &value, sizeof(T)); }
  static int32_t Decode(const uint8_t* from, const PlaneHeader& header) {
    const T value = Load(from);
    if constexpr (std::is_floating_point_v<T>) {
      return CodeOfFloat(value, header.shift, header.exponent_bias);
    } else if constexpr (sizeof(T) == 1) {
      return value;
    } else {
      return static_cast<int32_t>(value) >> header.shift;
    }
  }
  static void Encode(int32_t code, const PlaneHeader& header, uint8_t* to) {
    if constexpr (std::is_floating_point_v<T>) {
      Store(FloatOfCode(code, header.shift, header.exponent_bias), to);
    } else if constexpr (sizeof(T) == 4) {
      Store((W(code) << header.shift).value, to);
    } else {
      const int64_t value = sizeof(T) == 1 ? code : int64_t{code} * (1 << header.shift);
      constexpr int64_t kLow = std::numeric_limits<T>::min(), kHigh = std::numeric_limits<T>::max();
      Store(static_cast<T>(std::clamp(value, kLow, kHigh)), to);
    }
  }
};

template <>
void Samples<uint8_t>::Encode(int32_t code, const PlaneHeader&, uint8_t* to) {
  *to = static_cast<uint8_t>(std::clamp(code, 0, 255));
}

// A half float is coded as its 16 bits, read as sign and magnitude.
struct Half {
  uint16_t bits;
};

template <>
int32_t Samples<Half>::Decode(const uint8_t* from, const PlaneHeader&) {
  const uint16_t bits = Load(from).bits;
  const int32_t magnitude = bits & 0x7FFF;
  return bits >> 15 != 0 ? -magnitude : magnitude;
}

template <>
void Samples<Half>::Encode(int32_t code, const PlaneHeader&, uint8_t* to) {
  const int32_t magnitude = std::min(code < 0 ? -std::max(code, -0x7FFF) : code, 0x7FFF);
  Store({static_cast<uint16_t>(magnitude | (code < 0 ? 0x8000 : 0))}, to);
}

template <class T>
struct Rows {
  T* y;
  T* u;
  T* v;
};

// A row of pixels that lie `stride` bytes apart.
template <class T>
void SplitRow(const uint8_t* from, size_t stride, size_t width, const PlaneHeader& header,
              int32_t offset, const Rows<int32_t>& rows) {
  const int shift = ShiftOf(header);
  for (size_t x = 0; x < width; ++x, from += stride) {
    const W r = W(Samples<T>::Decode(from, header)) << shift;
    if (header.color == ColorFormat::kGrey) {
      rows.y[x] = (r - offset).value;
      continue;
    }
    const W g = W(Samples<T>::Decode(from + sizeof(T), header)) << shift;
    const W b = W(Samples<T>::Decode(from + 2 * sizeof(T), header)) << shift;
    const W v = b - r;
    const W t = r + ((v + 1) >> 1) - g;
    rows.y[x] = (g + (t >> 1) - offset).value;
    rows.u[x] = (-t).value;
    rows.v[x] = v.value;
  }
}

struct Rgb {
  int32_t r, g, b;
};

Rgb JoinPixel(const Rows<const int32_t>& rows, size_t x, int32_t offset, int shift) {
  const W t = -W(rows.u[x]);
  const W v = rows.v[x];
  const W g = W(rows.y[x]) + offset - (t >> 1);
  const W r = t + g - ((v + 1) >> 1);
  const W b = v + r;
  return {(r >> shift).value, (g >> shift).value, (b >> shift).value};
}

template <class T>
void JoinRow(const Rows<const int32_t>& rows, size_t width, const PlaneHeader& header,
             int32_t offset, size_t stride, uint8_t* to) {
  const int shift = ShiftOf(header);
  for (size_t x = 0; x < width; ++x, to += stride) {
    if (header.color == ColorFormat::kGrey) {
      Samples<T>::Encode(((W(rows.y[x]) + offset) >> shift).value, header, to);
      continue;
    }
    const Rgb pixel = JoinPixel(rows, x, offset, shift);
    Samples<T>::Encode(pixel.r, header, to);
    Samples<T>::Encode(pixel.g, header, to + sizeof(T));
    Samples<T>::Encode(pixel.b, header, to + 2 * sizeof(T));
  }
}

template <class T>
void JoinPackedRow(const Rows<const int32_t>& rows, size_t width, const PlaneHeader& header,
                   int32_t offset, size_t stride, uint8_t* to) {
  for (size_t x = 0; x < width; ++x, to += stride) {
    const Rgb pixel = JoinPixel(rows, x, offset, ShiftOf(header));
    T::Store({pixel.r, pixel.g, pixel.b}, to);
  }
}

bool IsRgb8(const FrameHeader& frame, const PlaneHeader& header, size_t stride) {
  return frame.type == SampleType::kU8 && frame.packing == Packing::kNone &&
         header.color != ColorFormat::kGrey && stride == 3;
}

using SplitFunction = decltype(&SplitRow<uint8_t>);
using JoinFunction = decltype(&JoinRow<uint8_t>);
constexpr SplitFunction kSplit[] = {SplitRow<uint8_t>, SplitRow<uint16_t>, SplitRow<int16_t>,
                                    SplitRow<int32_t>, SplitRow<Half>,     SplitRow<float>};
constexpr JoinFunction kJoin[] = {JoinRow<uint8_t>, JoinRow<uint16_t>, JoinRow<int16_t>,
                                  JoinRow<int32_t>, JoinRow<Half>,     JoinRow<float>};

template <class T>
JoinFunction JoinWords(const FrameHeader& frame) {
  return frame.is_bgr ? JoinPackedRow<T> : JoinPackedRow<Reversed<T>>;
}

JoinFunction JoinOf(const FrameHeader& frame) {
  switch (frame.packing) {
    case Packing::k555: return JoinWords<Rgb555>(frame);
    case Packing::k565: return JoinWords<Rgb565>(frame);
    case Packing::k101010: return JoinWords<Rgb101010>(frame);
    case Packing::kRgbe: return JoinPackedRow<Rgbe>;
    default: return kJoin[static_cast<int>(frame.type)];
  }
}

void RepeatLast(int32_t* row, size_t width, size_t whole) {
  std::fill(row + width, row + whole, row[width - 1]);
}

// The filter (1 4 6 4 1) / 16 around every second value; positions outside are mirrored.
int32_t Weighed(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) {
  return static_cast<int32_t>((int64_t{b} * 4 + int64_t{d} * 4 + int64_t{c} * 6 + a + e + 8) >> 4);
}

size_t Mirrored(ptrdiff_t i, size_t size) {
  const auto last = static_cast<ptrdiff_t>(size) - 1;
  if (i < 0) i = -i;
  if (i > last) i = 2 * last - i;
  return static_cast<size_t>(std::clamp<ptrdiff_t>(i, 0, last));
}

void HalveRow(const int32_t* from, size_t width, int32_t* to) {
  for (size_t x = 0; x < width; x += 2) {
    const auto i = static_cast<ptrdiff_t>(x);
    to[x / 2] = x >= 2 && x + 2 < width
                    ? Weighed(from[x - 2], from[x - 1], from[x], from[x + 1], from[x + 2])
                    : Weighed(from[Mirrored(i - 2, width)], from[Mirrored(i - 1, width)], from[x],
                              from[Mirrored(i + 1, width)], from[Mirrored(i + 2, width)]);
  }
}

int32_t MeanUp(int32_t a, int32_t b) { return (W(a) + b + 1).value >> 1; }

// A row at twice the resolution: each value in between is the mean of its neighbours.
void DoubleRow(const int32_t* from, size_t count, int32_t* to) {
  for (size_t x = 0; x + 1 < count; ++x) {
    to[2 * x] = from[x];
    to[2 * x + 1] = MeanUp(from[x], from[x + 1]);
  }
  to[2 * count - 2] = to[2 * count - 1] = from[count - 1];
}

// A row between two others.
const int32_t* MeanRow(const int32_t* row, const int32_t* next, size_t count, int32_t* mean) {
  for (size_t x = 0; x < count; ++x) mean[x] = MeanUp(row[x], next[x]);
  return mean;
}

}  // namespace

PixelReader::PixelReader(const FrameHeader& frame, size_t kept_mb_rows, CodedPlane* plane)
    : frame_(frame), plane_(plane) {
  const Window luma = plane->components[0].values.All();
  if (IsSubsampled(plane->header.color)) {
    for (auto& row : chroma_) row.resize(luma.width);
  }
  if (plane->header.color != ColorFormat::k420) return;
  for (Plane& narrow : narrow_) narrow.Resize(luma.width / 2, luma.height, 16 * kept_mb_rows);
}

Window PixelReader::NarrowChroma(size_t component) {
  return plane_->header.color == ColorFormat::k420 ? narrow_[component - 1].All()
                                                   : plane_->components[component].values.All();
}

void PixelReader::ReadRow(size_t y, const uint8_t* pixels, const Picture& form) {
  const PlaneHeader& header = plane_->header;
  const bool is_small = IsSubsampled(header.color);
  const Window luma = plane_->components[0].values.All();
  const auto width = static_cast<size_t>(form.width());
  Rows<int32_t> rows = {luma.Row(y), nullptr, nullptr};
  if (header.Components() == 3) {
    rows.u = is_small ? chroma_[0].data() : plane_->components[1].values.All().Row(y);
    rows.v = is_small ? chroma_[1].data() : plane_->components[2].values.All().Row(y);
  }
  const auto stride = static_cast<size_t>(form.channels() * BytesOf(form.type()));
  const int32_t offset = Offset(frame_, header);
  if (IsRgb8(frame_, header, stride)) {
    SplitRgbRow(pixels, width, ShiftOf(header), offset, {rows.y, rows.u, rows.v});
  } else {
    kSplit[static_cast<int>(frame_.type)](pixels, stride, width, header, offset, rows);
  }
  RepeatLast(rows.y, width, luma.width);
  if (header.Components() == 1) return;
  RepeatLast(rows.u, width, luma.width);
  RepeatLast(rows.v, width, luma.width);
  if (!is_small) return;
  HalveRow(rows.u, luma.width, NarrowChroma(1).Row(y));
  HalveRow(rows.v, luma.width, NarrowChroma(2).Row(y));
}

void PixelReader::HalveDown(size_t y) {
  for (size_t c = 1; c < 3; ++c) {
    const Window narrow = NarrowChroma(c);
    const int32_t* rows[5];
    for (ptrdiff_t k = 0; k < 5; ++k) {
      rows[k] = narrow.Row(Mirrored(static_cast<ptrdiff_t>(2 * y) + k - 2, narrow.height));
    }
    int32_t* const out = plane_->components[c].values.All().Row(y);
    for (size_t x = 0; x < narrow.width; ++x) {
      out[x] = Weighed(rows[0][x], rows[1][x], rows[2][x], rows[3][x], rows[4][x]);
    }
  }
}

void PixelReader::ReadMbRow(size_t mb_row, const Picture& rows) {
  for (int y = 0; y < 16; ++y) {
    ReadRow(16 * mb_row + static_cast<size_t>(y), rows.Row(std::min(y, rows.height() - 1)), rows);
  }
  if (plane_->header.color != ColorFormat::k420) return;
  // The filter of the last row needs rows of the next row of macroblocks.
  const bool is_last = mb_row + 1 == frame_.MbHeight();
  const size_t end = 8 * (mb_row + 1) - (is_last ? 0 : 1);
  for (; halved_ < end; ++halved_) HalveDown(halved_);
}

PixelWriter::PixelWriter(const FrameHeader& frame, int channel, const Region& region,
                         CodedPlane* plane)
    : frame_(frame),
      channel_(channel),
      plane_(plane),
      left_(static_cast<size_t>(region.x) + frame.extra_left),
      top_(static_cast<size_t>(region.y) + frame.extra_top) {
  if (!IsSubsampled(plane->header.color)) return;
  const size_t width = plane->components[0].values.width();
  narrow_.resize(width);
  for (auto& row : wide_) row.resize(width + 16);
}

// A chroma component at full resolution, from the region's left border on.
const int32_t* PixelWriter::ChromaRow(size_t component, size_t y) {
  const Window all = plane_->components[component].values.All();
  const ColorFormat color = plane_->header.color;
  if (!IsSubsampled(color)) return all.Row(y) + left_;
  const size_t first = left_ / 2;
  const size_t count = all.width - first;
  const size_t row = color == ColorFormat::k420 ? y / 2 : y;
  const bool is_between = color == ColorFormat::k420 && y % 2 != 0 && row + 1 < all.height;
  const int32_t* from = all.Row(row) + first;
  if (is_between) from = MeanRow(from, all.Row(row + 1) + first, count, narrow_.data());
  int32_t* const wide = wide_[component - 1].data();
  DoubleRow(from, count, wide);
  return wide + left_ % 2;
}

void PixelWriter::WriteRow(int y, uint8_t* pixels, const Picture& form) {
  const PlaneHeader& header = plane_->header;
  const auto stride = static_cast<size_t>(form.channels() * BytesOf(form.type()));
  const bool is_opacity = frame_.has_alpha && channel_ > 0;
  const int32_t offset = Offset(frame_, header) + Rounding(frame_, header, is_opacity);
  const size_t row = top_ + static_cast<size_t>(y);
  Rows<const int32_t> rows = {plane_->components[0].values.All().Row(row) + left_, nullptr,
                              nullptr};
  if (header.Components() == 3) {
    rows.u = ChromaRow(1, row);
    rows.v = ChromaRow(2, row);
  }
  const auto width = static_cast<size_t>(form.width());
  pixels += channel_ * BytesOf(form.type());
  if (IsRgb8(frame_, header, stride)) {
    JoinRgbRow({rows.y, rows.u, rows.v}, width, ShiftOf(header), offset, pixels);
  } else {
    JoinOf(frame_)(rows, width, header, offset, stride, pixels);
  }
}

}  // namespace zepcodec::jpegxr
