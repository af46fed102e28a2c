// SPDX-License-Identifier: MIT
#include "codecs/dds/codec.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "codecs/dds/mipmaps.h"
#include "codecs/dds/ycocg.h"
#include "codecs/support/parallel.h"
#include "zepjp.h"

namespace zepcodec::dds {
namespace {

// The layout that the functions of BC5 use.
constexpr size_t kRg = 2;

Status StatusOf(zepStatus status) {
  return status == zepStatusOk ? Status() : Status::Error(zepStatusName(status));
}

// Pixels of three bytes in another form, which takes `bytes` a pixel; empty: no memory.
template <class Convert>
ByteBuffer Converted(const Picture& image, size_t bytes, Convert convert) {
  ByteBuffer out;
  const size_t pixels = image.SizeInBytes() / 3;
  if (out.Resize(pixels * bytes)) convert(image.Row(0), pixels, out.data());
  return out;
}

// Pixels whose alpha is one of the sixteen values that BC2 has, v * 17: the nearest. Empty: no
// memory.
ByteBuffer WithAlphaOfBc2(const Picture& image) {
  ByteBuffer pixels;
  if (!pixels.Resize(image.SizeInBytes())) return pixels;
  std::memcpy(pixels.data(), image.Row(0), image.SizeInBytes());
  for (size_t i = 3; i < pixels.size(); i += 4) {
    pixels.data()[i] = static_cast<uint8_t>((pixels.data()[i] + 8) / 17 * 17);
  }
  return pixels;
}

Status EncodeBc2(const Picture& image, uint8_t* blocks) {
  const ByteBuffer pixels = WithAlphaOfBc2(image);
  if (pixels.size() == 0) return Status::NoMemory();
  return StatusOf(zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(
      pixels.data(), static_cast<int32_t>(image.Stride()), {image.width(), image.height()},
      blocks));
}

// The stage gives 16 v for the alpha v, so that nothing would be opaque; other programs show 17 v.
void WidenAlphaOfBc2(Picture* image) {
  uint8_t* const pixels = image->Row(0);
  for (size_t i = 3; i < image->SizeInBytes(); i += 4) {
    pixels[i] = static_cast<uint8_t>(pixels[i] | pixels[i] >> 4);
  }
}

// Bands of rows are shared out among threads.
Status EncodeBc7(const Picture& image, const EncodeOptions& options, uint8_t* blocks) {
  constexpr int kBand = 16;
  const auto step = static_cast<int32_t>(image.Stride());
  const size_t row_bytes = (static_cast<size_t>(image.width()) + 3) / 4 * 16;
  const auto bands = (static_cast<size_t>(image.height()) + kBand - 1) / kBand;
  return RunParallel(
      ThreadCount(options.threads), bands,
      [&] {
        return [&](size_t band) {
          const int top = static_cast<int>(band) * kBand;
          const zepiSize size = {image.width(), std::min(kBand, image.height() - top)};
          zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(image.Row(top), step, size,
                                                      blocks + band * (kBand / 4) * row_bytes,
                                                      options.bc7_mode);
        };
      },
      options.progress);
}

Status EncodeLevel(const Picture& image, const EncodeOptions& options, uint8_t* blocks) {
  const zepiSize size = {image.width(), image.height()};
  const auto step = static_cast<int32_t>(image.Stride());
  if (options.is_ycocg) {
    const ByteBuffer ycocg = Converted(image, 3, RgbToYCoCg);
    if (ycocg.size() == 0) return Status::NoMemory();
    return StatusOf(
        zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(ycocg.data(), step, size, blocks));
  }
  switch (options.format) {
    case BlockFormat::kBc1:
      return StatusOf(
          zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(image.Row(0), step, size, blocks));
    case BlockFormat::kBc2: return EncodeBc2(image, blocks);
    case BlockFormat::kBc3:
      return StatusOf(
          zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(image.Row(0), step, size, blocks));
    case BlockFormat::kBc4:
      return StatusOf(zepiTextureEncodeBlock_BC4_8u_C1R(image.Row(0), step, size, blocks));
    case BlockFormat::kBc7: return EncodeBc7(image, options, blocks);
    default: break;
  }
  const ByteBuffer rg = Converted(image, kRg, [](const uint8_t* in, size_t pixels, uint8_t* out) {
    for (size_t i = 0; i < pixels; ++i) {
      out[kRg * i] = in[3 * i];
      out[kRg * i + 1] = in[3 * i + 1];
    }
  });
  if (rg.size() == 0) return Status::NoMemory();
  return StatusOf(zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R(
      rg.data(), static_cast<int32_t>(kRg) * size.width, size, blocks));
}

Status DecodeRgba(BlockFormat format, const uint8_t* blocks, uint8_t* pixels, zepiSize size) {
  const auto decode = format == BlockFormat::kBc7   ? zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R
                      : format == BlockFormat::kBc1 ? zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R
                      : format == BlockFormat::kBc2 ? zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R
                                                    : zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R;
  return StatusOf(decode(blocks, pixels, 4 * size.width, size));
}

Status DecodeHalves(BlockFormat format, const uint8_t* blocks, Picture* image) {
  const auto decode = format == BlockFormat::kBc6hSigned
                          ? zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R
                          : zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R;
  return StatusOf(decode(blocks, reinterpret_cast<uint16_t*>(image->Row(0)), 6 * image->width(),
                         {image->width(), image->height()}));
}

Status DecodeLevel(const Header& header, const uint8_t* blocks, Picture* image) {
  if (HasHalves(header.format)) return DecodeHalves(header.format, blocks, image);
  const zepiSize size = {image->width(), image->height()};
  const size_t pixels = static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
  if (header.format == BlockFormat::kBc4) {
    return StatusOf(zepiTextureDecodeBlock_BC4_8u_C1R(blocks, image->Row(0), size.width, size));
  }
  if (image->layout() == PixelLayout::kRgba) {
    Status status = DecodeRgba(header.format, blocks, image->Row(0), size);
    if (header.format == BlockFormat::kBc2) WidenAlphaOfBc2(image);
    return status;
  }
  ByteBuffer decoded;
  if (!decoded.Resize(pixels * (header.is_ycocg ? 4 : kRg))) return Status::NoMemory();
  if (header.is_ycocg) {
    Status status = DecodeRgba(header.format, blocks, decoded.data(), size);
    YCoCgToRgb(decoded.data(), pixels, image->Row(0));
    return status;
  }
  Status status = StatusOf(zepiTextureDecodeBlockToRG_BC5_8u_C1C2R(
      blocks, decoded.data(), static_cast<int32_t>(kRg) * size.width, size));
  const uint8_t* in = decoded.data();
  uint8_t* out = image->Row(0);
  for (size_t i = 0; i < pixels; ++i, in += kRg, out += 3) {
    out[0] = in[0];
    out[1] = in[1];
    out[2] = 0;
  }
  return status;
}

// Where a level's blocks are, if the file has it whole.
Status FindLevel(const uint8_t* data, size_t size, int64_t max_pixels, int level, Header* header,
                 Level* place) {
  if (Status status = ParseHeader(data, size, header); !status.ok()) return status;
  if (level < 0 || level >= header->levels) {
    return Status::BadOption("there is no level " + std::to_string(level));
  }
  *place = LevelsOf(*header)[static_cast<size_t>(level)];
  if (place->width > max_pixels / place->height) {
    return Status::TooLarge(std::to_string(place->width) + " x " + std::to_string(place->height) +
                            " pixels are more than the limit of " + std::to_string(max_pixels));
  }
  return Status();
}

}  // namespace

Status Encode(const Picture& image, const EncodeOptions& options, ByteBuffer* file) {
  if (image.width() < 1 || image.height() < 1 || image.width() > kMostPixelsOnASide ||
      image.height() > kMostPixelsOnASide) {
    return Status::Error("a side must have 1 to 2^28 pixels");
  }
  if (options.is_ycocg && options.format != BlockFormat::kBc3) {
    return Status::Error("Y Co Cg goes with BC3 only");
  }
  if (HasHalves(options.format)) return Status::Error("there is no encoder for BC6H");
  if (options.bc7_mode < -2 || options.bc7_mode > 7) {
    return Status::Error("BC7 has modes 0 to 7");
  }
  if (image.layout() != LayoutOf(options.format, options.is_ycocg)) {
    return Status::Error("the picture has another layout than the format wants");
  }
  Header header;
  header.format = options.format;
  header.is_ycocg = options.is_ycocg;
  header.width = image.width();
  header.height = image.height();
  header.levels = options.has_mipmaps ? FullLevelCount(image.width(), image.height()) : 1;
  if (!file->Resize(0)) return Status::NoMemory();
  if (Status status = AppendHeader(header, options.style, file); !status.ok()) return status;
  header.data_offset = file->size();
  const std::vector<Level> levels = LevelsOf(header);
  const uint64_t size = levels.back().offset + levels.back().size;
  if (size > SIZE_MAX || !file->Resize(static_cast<size_t>(size))) {
    return Status::NoMemory();
  }
  Picture smaller;
  for (size_t i = 0; i < levels.size(); ++i) {
    if (i > 0) {
      Picture half;
      if (Status status = Halve(i == 1 ? image : smaller, &half); !status.ok()) return status;
      smaller = std::move(half);
    }
    const double begin = static_cast<double>(levels[i].offset) / static_cast<double>(size);
    const double end =
        static_cast<double>(levels[i].offset + levels[i].size) / static_cast<double>(size);
    if (options.progress != nullptr) options.progress->SetPart(begin, end);
    if (Stops(options.progress, 0, 1)) return Status::Cancelled();
    Status status = EncodeLevel(i == 0 ? image : smaller, options, file->data() + levels[i].offset);
    if (!status.ok()) return status;
  }
  return Status();
}

Status Decode(const uint8_t* data, size_t size, int64_t max_pixels, int level, Picture* image,
              Header* header) {
  Level place = {};
  Status status = FindLevel(data, size, max_pixels, level, header, &place);
  if (!status.ok()) return status;
  const SampleType type = HasHalves(header->format) ? SampleType::kF16 : SampleType::kU8;
  const PixelLayout layout = LayoutOf(header->format, header->is_ycocg);
  if (!image->Resize(place.width, place.height, layout, type)) return Status::NoMemory();
  return DecodeLevel(*header, data + place.offset, image);
}

}  // namespace zepcodec::dds
