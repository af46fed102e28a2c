// SPDX-License-Identifier: MIT
#include "jpegxr_rival.h"

#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

#include <windowsmediaphoto.h>

namespace rival {
namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::duration time) { return std::chrono::duration<double>(time).count(); }

// The time of a call of the clock.
double CostOfClock() {
  Clock::duration least = std::chrono::hours(1);
  for (int i = 0; i < 1000; ++i) {
    const auto start = Clock::now();
    least = std::min(least, Clock::now() - start);
  }
  return Seconds(least);
}

double in_highpass = 0, in_lowpass = 0;

// The library's function of the same name.
using CodeMacroblock = int (*)(void*, void*, int, int);
CodeMacroblock Next(const char* name) {
  void* const symbol = dlsym(RTLD_NEXT, name);
  if (symbol == nullptr) throw std::runtime_error(name);
  return reinterpret_cast<CodeMacroblock>(symbol);
}

int Timed(CodeMacroblock code, double* spent, void* codec, void* context, int column, int row) {
  static const double cost = CostOfClock();
  const auto start = Clock::now();
  const int result = code(codec, context, column, row);
  *spent += Seconds(Clock::now() - start) - cost;
  return result;
}

void Require(bool is_fine) {
  if (!is_fine) throw std::runtime_error("libjxr");
}

constexpr size_t kRoom = size_t{4} * kSide * kSide;

CWMIStrCodecParam Parameters(int quantizer, WMPStream* stream) {
  CWMIStrCodecParam parameters = {};
  parameters.uiDefaultQPIndex = static_cast<U8>(quantizer);
  parameters.cfColorFormat = Y_ONLY;
  parameters.bdBitDepth = BD_LONG;
  parameters.bfBitstreamFormat = SPATIAL;
  parameters.olOverlap = OL_NONE;
  parameters.cChannel = 1;
  parameters.sbSubband = SB_NO_FLEXBITS;
  parameters.bUnscaledArith = TRUE;
  parameters.pWStream = stream;
  return parameters;
}

}  // namespace

Codec::Codec(std::vector<uint8_t> picture, int quantizer)
    : picture_(std::move(picture)), stream_(kRoom), quantizer_(quantizer) {}

void Codec::Encode() {
  in_highpass = in_lowpass = 0;
  WMPStream* stream = nullptr;
  stream_.resize(kRoom);
  Require(CreateWS_Memory(&stream, stream_.data(), stream_.size()) == WMP_errSuccess);
  CWMIStrCodecParam parameters = Parameters(quantizer_, stream);
  CWMImageInfo info = {};
  info.cWidth = info.cHeight = kSide;
  info.cfColorFormat = Y_ONLY;
  info.bdBitDepth = BD_8;
  info.cBitsPerUnit = 8;
  CTXSTRCODEC codec = nullptr;
  Require(ImageStrEncInit(&info, &parameters, &codec) == ICERR_OK);
  for (size_t y = 0; y < kSide; y += 16) {
    CWMImageBufferInfo rows = {};
    rows.pv = &picture_[y * kSide];
    rows.cLine = 16;
    rows.cbStride = kSide;
    Require(ImageStrEncEncode(codec, &rows) == ICERR_OK);
  }
  Require(ImageStrEncTerm(codec) == ICERR_OK);
  size_t size = 0;
  stream->GetPos(stream, &size);
  CloseWS_Memory(&stream);
  stream_.resize(size);
  highpass_seconds_ = in_highpass;
  lowpass_seconds_ = in_lowpass;
}

void Codec::Decode() {
  in_highpass = in_lowpass = 0;
  WMPStream* stream = nullptr;
  Require(CreateWS_Memory(&stream, stream_.data(), stream_.size()) == WMP_errSuccess);
  CWMIStrCodecParam parameters = {};
  parameters.pWStream = stream;
  CWMImageInfo info = {};
  Require(ImageStrDecGetInfo(&info, &parameters) == ICERR_OK);
  stream->SetPos(stream, 0);
  info.cROIWidth = info.cThumbnailWidth = info.cWidth;
  info.cROIHeight = info.cThumbnailHeight = info.cHeight;
  parameters.cChannel = 1;
  CTXSTRCODEC codec = nullptr;
  Require(ImageStrDecInit(&info, &parameters, &codec) == ICERR_OK);
  std::vector<uint8_t> picture(picture_.size());
  CWMImageBufferInfo rows = {};
  rows.pv = picture.data();
  rows.cLine = kSide;
  rows.cbStride = kSide;
  rows.uiLastMBRow = kSide / 16;
  size_t lines = 0;
  Require(ImageStrDecDecode(codec, &rows, &lines) == ICERR_OK);
  Require(ImageStrDecTerm(codec) == ICERR_OK);
  CloseWS_Memory(&stream);
  highpass_seconds_ = in_highpass;
  lowpass_seconds_ = in_lowpass;
}

}  // namespace rival

// These replace the library's functions of the same names, and call them.
#define RIVAL_STAND_BEFORE(function, spent)                                                  \
  extern "C" __attribute__((visibility("default"))) int function(void* codec, void* context, \
                                                                 int column, int row) {      \
    static const rival::CodeMacroblock code = rival::Next(#function);                        \
    return rival::Timed(code, &rival::spent, codec, context, column, row);                   \
  }

RIVAL_STAND_BEFORE(EncodeMacroblockHighpass, in_highpass)
RIVAL_STAND_BEFORE(DecodeMacroblockHighpass, in_highpass)
RIVAL_STAND_BEFORE(EncodeMacroblockLowpass, in_lowpass)
RIVAL_STAND_BEFORE(DecodeMacroblockLowpass, in_lowpass)
