// SPDX-License-Identifier: MIT
#include "dcmtk_codec.h"

#include <memory>
#include <stdexcept>

#include <dcmtk/config/osconfig.h>
//
#include <dcmtk/dcmjpeg/djcparam.h>
#include <dcmtk/dcmjpeg/djdijg16.h>
#include <dcmtk/dcmjpeg/djdijg8.h>
#include <dcmtk/dcmjpeg/djeijg16.h>
#include <dcmtk/dcmjpeg/djeijg8.h>

namespace rival {
namespace {

DJCodecParameter Parameters() {
  return DJCodecParameter(ECC_lossyRGB, EDC_never, EUC_never, EPC_default, OFFalse, OFFalse,
                          OFFalse, OFTrue);
}

void Require(const OFCondition& condition) {
  if (condition.bad()) throw std::runtime_error(condition.text());
}

}  // namespace

std::vector<uint8_t> EncodeDcmtk(DcmtkPicture* picture, int predictor) {
  const DJCodecParameter parameters = Parameters();
  const auto colors = picture->channels == 3 ? EPI_RGB : EPI_Monochrome2;
  const auto width = static_cast<Uint16>(picture->width);
  const auto height = static_cast<Uint16>(picture->height);
  const auto channels = static_cast<Uint16>(picture->channels);
  Uint8* file = nullptr;
  Uint32 size = 0;
  if (picture->bits == 8) {
    DJCompressIJG8Bit encoder(parameters, EJM_lossless, predictor, 0);
    Require(encoder.encode(width, height, colors, channels, picture->bytes.data(), file, size));
  } else {
    DJCompressIJG16Bit encoder(parameters, EJM_lossless, predictor, 0);
    Require(encoder.encode(width, height, colors, channels,
                           reinterpret_cast<Uint16*>(picture->bytes.data()), file, size));
  }
  const std::unique_ptr<Uint8[]> owner(file);
  return {file, file + size};
}

void DecodeDcmtk(std::vector<uint8_t>* file, DcmtkPicture* picture) {
  const DJCodecParameter parameters = Parameters();
  std::unique_ptr<DJDecoder> decoder;
  if (picture->bits == 8) {
    decoder = std::make_unique<DJDecompressIJG8Bit>(parameters, OFFalse);
  } else {
    decoder = std::make_unique<DJDecompressIJG16Bit>(parameters, OFFalse);
  }
  Require(decoder->init());
  Require(decoder->decode(file->data(), static_cast<Uint32>(file->size()), picture->bytes.data(),
                          static_cast<Uint32>(picture->bytes.size()), OFFalse));
}

}  // namespace rival
