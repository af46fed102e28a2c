// SPDX-License-Identifier: MIT
// Any bytes as a TIFF file: the result is an error or a picture that is not larger than the file
// allows.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "codecs/tiff/codec.h"
#include "parts.h"

namespace tiff = zepcodec::tiff;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A copy of the exact size lets the sanitizer detect reads beyond the end.
  const std::vector<uint8_t> file(data, data + size);
  tiff::DecodeOptions options;
  options.max_pixels = 1 << 16;  // larger pictures cost time and find nothing new
  zepcodec::Picture picture;
  tiff::FileInfo info;
  const zepcodec::Status status = tiff::Decode(file.data(), file.size(), options, &picture, &info);
  if (status.ok() != status.text().empty()) std::abort();
  if (!status.ok()) return 0;
  if (!tiff::IsTiff(file.data(), file.size())) std::abort();
  const auto bytes = static_cast<int64_t>(picture.SizeInBytes());
  if (bytes >
      std::max(tiff::kAlwaysAcceptedBytes, tiff::kMostExpansion * static_cast<int64_t>(size))) {
    std::abort();
  }
  fuzz::RequireParts(size, picture, options, [&](const auto& part, zepcodec::Picture* to) {
    tiff::FileInfo found;
    return tiff::Decode(file.data(), file.size(), part, to, &found);
  });
  // A decoded picture can be encoded, and decodes to the same samples again.
  tiff::EncodeOptions encode_options;
  encode_options.has_byte_planes = picture.bits() == 16 && size % 2 != 0;
  zepcodec::ByteBuffer again;
  zepcodec::PictureRows rows(picture);
  if (!tiff::Encode(&rows, encode_options, &again).ok()) std::abort();
  zepcodec::Picture back;
  if (!tiff::Decode(again.data(), again.size(), options, &back, &info).ok()) std::abort();
  if (!info.messages.empty() ||
      std::memcmp(picture.Row(0), back.Row(0), picture.SizeInBytes()) != 0) {
    std::abort();
  }
  return 0;
}
