// SPDX-License-Identifier: MIT
#include "codecs/dds/blocks.h"

#include <algorithm>
#include <cstring>

#include "codecs/dds/codec.h"
#include "codecs/dds/signed_blocks.h"
#include "codecs/dds/ycocg.h"
#include "codecs/support/convert.h"
#include "zepjp.h"

namespace zepcodec::dds {
namespace {

// The layout that the functions of BC5 use.
constexpr size_t kRg = 2;
constexpr int kBand = 16;  // rows of pixels that are converted at once

Status StatusOf(zepStatus status) {
  return status == zepStatusOk ? Status() : Status::Error(zepStatusName(status));
}

// Channels of the stage's pixels; 0: the stage takes the picture's own.
size_t ScratchChannels(const Coding& coding, bool encodes) {
  if (coding.is_ycocg) return encodes ? 3 : 4;
  if (coding.format == BlockFormat::kBc5 || coding.format == BlockFormat::kBc5Signed) return kRg;
  return encodes && coding.format == BlockFormat::kBc2 ? 4 : 0;
}

// Calls change(pixel) for each pixel of four bytes, a number whose top byte is alpha. Compilers do
// this in vectors, unlike changes of every fourth byte.
template <class Change>
void ChangePixels(const uint8_t* in, size_t pixels, const Change& change, uint8_t* out) {
  for (size_t i = 0; i < 4 * pixels; i += 4) {
    uint32_t pixel;
    std::memcpy(&pixel, in + i, 4);
    pixel = change(pixel);
    std::memcpy(out + i, &pixel, 4);
  }
}

// Makes alpha the nearest of the sixteen values that BC2 has, v * 17:
// v = (alpha + 8) / 17 = (15 alpha + 135) / 256.
void RoundAlphaOfBc2(const uint8_t* rgba, size_t pixels, uint8_t* out) {
  const auto round = [](uint32_t pixel) {
    const uint32_t v = (15 * (pixel >> 24) + 135) >> 8;
    return (pixel & 0xFFFFFF) | (17 * v) << 24;
  };
  ChangePixels(rgba, pixels, round, out);
}

// The stage gives 16 v for the alpha v, so that nothing would be opaque; other programs show 17 v.
void WidenAlphaOfBc2(uint8_t* rgba, size_t pixels) {
  const auto widen = [](uint32_t pixel) { return pixel | (pixel >> 4 & 0x0F000000); };
  ChangePixels(rgba, pixels, widen, rgba);
}

Status EncodeStage(const Coding& coding, const uint8_t* pixels, zepiSize size, size_t channels,
                   uint8_t* blocks) {
  const int32_t step = size.width * static_cast<int32_t>(channels);
  if (coding.is_ycocg) {
    return StatusOf(zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(pixels, step, size, blocks));
  }
  switch (coding.format) {
    case BlockFormat::kBc1:
      return StatusOf(zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(pixels, step, size, blocks));
    case BlockFormat::kBc2:
      return StatusOf(zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(pixels, step, size, blocks));
    case BlockFormat::kBc3:
      return StatusOf(zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(pixels, step, size, blocks));
    case BlockFormat::kBc4:
      return StatusOf(zepiTextureEncodeBlock_BC4_8u_C1R(pixels, step, size, blocks));
    case BlockFormat::kBc5:
      return StatusOf(zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R(pixels, step, size, blocks));
    case BlockFormat::kBc7:
      return StatusOf(
          zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(pixels, step, size, blocks, coding.bc7_mode));
    default: return Status::Error("there is no encoder for this format");
  }
}

}  // namespace

Coding CodingOf(const Header& header) {
  const PixelFormat result = ResultOf(header);
  Coding coding;
  coding.format = header.format;
  coding.is_ycocg = header.is_ycocg;
  coding.pixels = header.pixels;
  coding.is_premultiplied = header.is_premultiplied && result.layout == PixelLayout::kRgba &&
                            (result.type == SampleType::kU8 || result.type == SampleType::kU16);
  return coding;
}

Status BlockEncoder::Encode(const Picture& rows, uint8_t* blocks) {
  const PixelLayout layout = LayoutOf(coding_.format, coding_.is_ycocg);
  if (rows.layout() == layout && rows.bits() == 8) return EncodeLayout(rows, blocks);
  Status status = Convert(rows, layout, 8, {}, &converted_);
  return status.ok() ? EncodeLayout(converted_, blocks) : status;
}

Status BlockEncoder::EncodeLayout(const Picture& rows, uint8_t* blocks) {
  const zepiSize size = {rows.width(), rows.height()};
  const size_t channels = ScratchChannels(coding_, true);
  if (channels == 0) {
    return EncodeStage(coding_, rows.Row(0), size, static_cast<size_t>(rows.channels()), blocks);
  }
  const size_t pixels = rows.SampleCount() / static_cast<size_t>(rows.channels());
  if (!scratch_.Resize(channels * pixels)) return Status::NoMemory();
  FillScratch(rows);
  return EncodeStage(coding_, scratch_.data(), size, channels, blocks);
}

void BlockEncoder::FillScratch(const Picture& rows) {
  const uint8_t* in = rows.Row(0);
  uint8_t* out = scratch_.data();
  const size_t pixels = rows.SampleCount() / static_cast<size_t>(rows.channels());
  if (coding_.is_ycocg) {
    RgbToYCoCg(in, pixels, out);
  } else if (coding_.format == BlockFormat::kBc5) {
    for (size_t i = 0; i < pixels; ++i, in += 3, out += kRg) {
      out[0] = in[0];
      out[1] = in[1];
    }
  } else {
    RoundAlphaOfBc2(in, pixels, out);
  }
}

size_t BlockDecoder::MemoryOf(const Coding& coding, int width) {
  constexpr size_t kMostBytes = 6;  // of a pixel
  const size_t rows = 4 * kMostBytes + kBand * ScratchChannels(coding, false);
  return (static_cast<size_t>(width) + 3) * rows;
}

Status BlockDecoder::Decode(const BlockRows& blocks, int left, int top, int y, int count,
                            Picture* image) {
  Status status;
  if (coding_.format == BlockFormat::kPixels) {
    ReadPixels(blocks, left, top, y, count, image);
  } else {
    status = DecodeBlocks(blocks, left, top, y, count, image);
  }
  if (coding_.is_premultiplied && status.ok()) DivideByOpacity(image, y, count);
  return status;
}

void BlockDecoder::ReadPixels(const BlockRows& rows, int left, int top, int y, int count,
                              Picture* image) const {
  const size_t row_bytes = rows.row_bytes / 4;
  const uint8_t* from = rows.first + static_cast<size_t>(top) * row_bytes +
                        static_cast<size_t>(left) * static_cast<size_t>(coding_.pixels.bytes);
  for (int i = 0; i < count; ++i) {
    reader_.Read(from + static_cast<size_t>(i) * row_bytes, static_cast<size_t>(image->width()),
                 image->Row(y + i));
  }
}

Status BlockDecoder::DecodeBlocks(const BlockRows& blocks, int left, int top, int y, int count,
                                  Picture* image) {
  const int width = left + image->width();
  const bool has_whole_rows = BlockRowBytes(coding_.format, width) == blocks.row_bytes;
  if (left == 0 && top == 0 && has_whole_rows) {
    return DecodeBands(blocks, y, count, image);
  }
  const size_t pixel = image->BytesPerSample() * static_cast<size_t>(image->channels());
  const size_t row_bytes = pixel * static_cast<size_t>(width);
  if (!row_.Resize(4 * row_bytes)) return Status::NoMemory();
  const uint8_t* from = blocks.first;
  for (const int end = y + count; y < end; from += blocks.row_bytes, top = 0) {
    const int bottom = std::min(4, top + end - y);
    Status status = DecodePixels(from, width, bottom, row_.data());
    if (!status.ok()) return status;
    for (; top < bottom; ++top, ++y) {
      std::memcpy(
          image->Row(y),
          row_.data() + static_cast<size_t>(top) * row_bytes + static_cast<size_t>(left) * pixel,
          image->Stride());
    }
  }
  return Status();
}

// Pixels that are changed after the stage stay in the cache until then.
Status BlockDecoder::DecodeBands(const BlockRows& blocks, int y, int count, Picture* image) {
  const bool is_final = ScratchChannels(coding_, false) == 0 && coding_.format != BlockFormat::kBc2;
  const int band = is_final ? count : kBand;
  Status status;
  for (int row = 0; row < count && status.ok(); row += band) {
    status = DecodePixels(blocks.first + static_cast<size_t>(row / 4) * blocks.row_bytes,
                          image->width(), std::min(band, count - row), image->Row(y + row));
  }
  return status;
}

Status BlockDecoder::DecodePixels(const uint8_t* blocks, int width, int height, uint8_t* pixels) {
  const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
  const size_t channels = ScratchChannels(coding_, false);
  if (channels == 0) {
    Status status = DecodeStage(blocks, width, height, pixels);
    if (coding_.format == BlockFormat::kBc2) WidenAlphaOfBc2(pixels, count);
    return status;
  }
  if (!scratch_.Resize(channels * count)) return Status::NoMemory();
  Status status = DecodeStage(blocks, width, height, scratch_.data());
  const uint8_t* in = scratch_.data();
  if (coding_.is_ycocg) {
    YCoCgToRgb(in, count, pixels);
    return status;
  }
  for (size_t i = 0; i < count; ++i, in += kRg, pixels += 3) {
    pixels[0] = in[0];
    pixels[1] = in[1];
    pixels[2] = 0;
  }
  return status;
}

Status BlockDecoder::DecodeStage(const uint8_t* blocks, int width, int height,
                                 uint8_t* pixels) const {
  const zepiSize size = {width, height};
  auto* const halves = reinterpret_cast<uint16_t*>(pixels);
  switch (coding_.format) {
    case BlockFormat::kBc1:
      return StatusOf(zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(blocks, pixels, 4 * width, size));
    case BlockFormat::kBc2:
      return StatusOf(zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(blocks, pixels, 4 * width, size));
    case BlockFormat::kBc3:
      return StatusOf(zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(blocks, pixels, 4 * width, size));
    case BlockFormat::kBc4Signed: DecodeSignedBlocks(blocks, 1, width, height, pixels); break;
    case BlockFormat::kBc5Signed: DecodeSignedBlocks(blocks, 2, width, height, pixels); break;
    case BlockFormat::kPixels: break;
    case BlockFormat::kBc4:
      return StatusOf(zepiTextureDecodeBlock_BC4_8u_C1R(blocks, pixels, width, size));
    case BlockFormat::kBc5:
      return StatusOf(zepiTextureDecodeBlockToRG_BC5_8u_C1C2R(
          blocks, pixels, static_cast<int32_t>(kRg) * width, size));
    case BlockFormat::kBc7:
      return StatusOf(zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(blocks, pixels, 4 * width, size));
    case BlockFormat::kBc6hUnsigned:
      return StatusOf(
          zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R(blocks, halves, 6 * width, size));
    case BlockFormat::kBc6hSigned:
      return StatusOf(
          zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R(blocks, halves, 6 * width, size));
  }
  return Status();
}

}  // namespace zepcodec::dds
