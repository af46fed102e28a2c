// SPDX-License-Identifier: MIT
#include "libjxr_codec.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#define __ANSI__
#define DISABLE_PERF_MEASUREMENT
#include <windowsmediaphoto.h>
#undef min
#undef max

namespace rival {
namespace {

void Require(bool good, const char* what) {
  if (!good) throw std::runtime_error(std::string("libjxr: ") + what);
}

// Rows of whole macroblocks, at the alignment that is fastest for it.
class Rows {
 public:
  Rows(int width, int height)
      : stride_((static_cast<size_t>(width) * 3 + 47 + 127) / 128 * 128),
        bytes_(stride_ * ((static_cast<size_t>(height) + 15) / 16 * 16) + 128) {}
  uint8_t* Row(size_t y) {
    const auto start = reinterpret_cast<uintptr_t>(bytes_.data());
    return bytes_.data() + (128 - start % 128) % 128 + y * stride_;
  }
  size_t stride() const { return stride_; }

 private:
  size_t stride_;
  std::vector<uint8_t> bytes_;
};

CWMImageInfo MakeInfo(int width, int height) {
  CWMImageInfo info;
  std::memset(&info, 0, sizeof(info));
  info.cWidth = static_cast<size_t>(width);
  info.cHeight = static_cast<size_t>(height);
  info.cfColorFormat = CF_RGB;
  info.bdBitDepth = BD_8;
  info.cBitsPerUnit = 24;
  info.bRGB = 1;
  return info;
}

CWMImageBufferInfo MakeBuffer(uint8_t* rows, size_t lines, size_t stride) {
  CWMImageBufferInfo buffer;
  std::memset(&buffer, 0, sizeof(buffer));
  buffer.pv = rows;
  buffer.cLine = lines;
  buffer.cbStride = stride;
  return buffer;
}

}  // namespace

std::vector<uint8_t> EncodeJxr(const uint8_t* rgb, int width, int height,
                               const JxrOptions& options) {
  const auto row_bytes = static_cast<size_t>(width) * 3;
  Rows rows(width, height);
  for (size_t y = 0; y < static_cast<size_t>(height); ++y) {
    std::memcpy(rows.Row(y), rgb + y * row_bytes, row_bytes);
  }
  std::vector<uint8_t> bytes(row_bytes * static_cast<size_t>(height) * 2 + 4096);
  WMPStream* stream = nullptr;
  Require(CreateWS_Memory(&stream, bytes.data(), bytes.size()) >= 0, "no stream");
  CWMImageInfo info = MakeInfo(width, height);
  auto parameters = std::make_unique<CWMIStrCodecParam>();
  std::memset(parameters.get(), 0, sizeof(*parameters));
  parameters->uiDefaultQPIndex = static_cast<U8>(options.quantizer);
  parameters->cfColorFormat = options.halves_chroma ? YUV_420 : YUV_444;
  parameters->bdBitDepth = BD_LONG;
  parameters->olOverlap = static_cast<OVERLAP>(options.overlap);
  parameters->bfBitstreamFormat = SPATIAL;
  parameters->cChannel = 3;
  parameters->sbSubband = SB_ALL;
  parameters->pWStream = stream;
  CTXSTRCODEC codec;
  Require(ImageStrEncInit(&info, parameters.get(), &codec) == ICERR_OK, "no encoder");
  for (size_t y = 0; y < static_cast<size_t>(height); y += 16) {
    const size_t left = static_cast<size_t>(height) - y;
    const CWMImageBufferInfo buffer = MakeBuffer(rows.Row(y), left < 16 ? left : 16, rows.stride());
    Require(ImageStrEncEncode(codec, &buffer) == ICERR_OK, "a row cannot be encoded");
  }
  Require(ImageStrEncTerm(codec) == ICERR_OK, "no end");
  size_t size = 0;
  stream->GetPos(stream, &size);
  stream->Close(&stream);
  bytes.resize(size);
  return bytes;
}

std::vector<uint8_t> DecodeJxr(std::vector<uint8_t>* codestream, int width, int height) {
  WMPStream* stream = nullptr;
  Require(CreateWS_Memory(&stream, codestream->data(), codestream->size()) >= 0, "no stream");
  auto parameters = std::make_unique<CWMIStrCodecParam>();
  std::memset(parameters.get(), 0, sizeof(*parameters));
  parameters->pWStream = stream;
  parameters->sbSubband = SB_ALL;
  CWMImageInfo info;
  std::memset(&info, 0, sizeof(info));
  Require(ImageStrDecGetInfo(&info, parameters.get()) == ICERR_OK, "no header");
  info = MakeInfo(width, height);
  info.cThumbnailWidth = info.cROIWidth = info.cWidth;
  info.cThumbnailHeight = info.cROIHeight = info.cHeight;
  CTXSTRCODEC codec;
  Require(ImageStrDecInit(&info, parameters.get(), &codec) == ICERR_OK, "no decoder");
  Rows rows(width, height);
  CWMImageBufferInfo buffer = MakeBuffer(rows.Row(0), static_cast<size_t>(height), rows.stride());
  buffer.uiLastMBRow = static_cast<unsigned>((height + 15) / 16);
  size_t lines = 0;
  Require(ImageStrDecDecode(codec, &buffer, &lines) == ICERR_OK, "it cannot be decoded");
  Require(ImageStrDecTerm(codec) == ICERR_OK, "no end");
  stream->Close(&stream);
  const auto row_bytes = static_cast<size_t>(width) * 3;
  std::vector<uint8_t> rgb(row_bytes * static_cast<size_t>(height));
  for (size_t y = 0; y < static_cast<size_t>(height); ++y) {
    std::memcpy(rgb.data() + y * row_bytes, rows.Row(y), row_bytes);
  }
  return rgb;
}

}  // namespace rival
