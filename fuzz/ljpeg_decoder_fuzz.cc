// SPDX-License-Identifier: MIT
// Any bytes as a lossless JPEG file: the result is an error or a picture whose samples have no more
// bits than it says, on one and on two threads.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "codecs/jpeg/lossless/codec.h"

namespace ljpeg = zepcodec::jpeg::lossless;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A copy of the exact size lets the sanitizer detect reads beyond the end.
  const std::vector<uint8_t> file(data, data + size);
  ljpeg::DecodeOptions options;
  options.max_pixels = 1 << 16;  // larger pictures cost time and find nothing new
  zepcodec::Picture picture;
  ljpeg::FileInfo info;
  const zepcodec::Status status = ljpeg::Decode(file.data(), file.size(), options, &picture, &info);
  if (status.ok() != status.text().empty()) std::abort();
  if (!status.ok()) return 0;
  if (!ljpeg::IsLosslessJpeg(file.data(), file.size()) && info.messages.empty()) std::abort();
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    if (picture.Get(i) > picture.MaxValue()) std::abort();
  }
  options.threads = 2;
  options.part_bytes = 5000;  // so that small pictures have several parts
  zepcodec::Picture on_threads;
  ljpeg::FileInfo info_on_threads;
  if (!ljpeg::Decode(file.data(), file.size(), options, &on_threads, &info_on_threads).ok() ||
      info_on_threads.messages.count() != info.messages.count()) {
    std::abort();
  }
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    if (picture.Get(i) != on_threads.Get(i)) std::abort();
  }
  // A decoded picture can be encoded, and decodes to the same samples again.
  ljpeg::EncodeOptions encode_options;
  encode_options.predictor = 1 + static_cast<int>(size % 7);
  zepcodec::ByteBuffer again;
  if (!ljpeg::Encode(picture, encode_options, &again).ok()) std::abort();
  zepcodec::Picture back;
  if (!ljpeg::Decode(again.data(), again.size(), options, &back, &info).ok()) std::abort();
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    if (picture.Get(i) != back.Get(i)) std::abort();
  }
  return 0;
}
