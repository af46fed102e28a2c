// SPDX-License-Identifier: MIT
// Encoding and decoding in one line, and surgery on files, for the tests of the JPEG example.
#ifndef ZEPJP_TESTS_CODECS_JPEG_JPEG_FILES_H_
#define ZEPJP_TESTS_CODECS_JPEG_JPEG_FILES_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/encoder.h"
#include "codecs/jpeg/markers/markers.h"
#include "tests/codecs/support/pictures.h"

namespace jpeg_files {

using pictures::Bytes;

inline Bytes Encode(const zepcodec::Picture& image,
                    const zepcodec::jpeg::EncodeOptions& options = {}) {
  zepcodec::ByteBuffer file;
  const zepcodec::Status status = zepcodec::jpeg::Encode(image, options, &file);
  EXPECT_TRUE(status.ok()) << status.text();
  return pictures::ToBytes(file);
}

struct Decoded {
  zepcodec::Status status;
  zepcodec::Picture image;
  zepcodec::jpeg::FileInfo info;

  std::string AllMessages() const {
    std::string all;
    for (const zepcodec::Message& message : info.messages.kept()) all += message.ToString() + "\n";
    return all;
  }
};

inline Decoded Decode(const Bytes& file, int scale = 1) {
  Decoded result;
  zepcodec::jpeg::DecodeOptions options;
  options.scale = scale;
  result.status =
      zepcodec::jpeg::Decode(file.data(), file.size(), options, &result.image, &result.info);
  return result;
}

// A file that must be without fault.
inline zepcodec::Picture DecodeGood(const Bytes& file, int scale = 1) {
  Decoded result = Decode(file, scale);
  EXPECT_TRUE(result.status.ok()) << result.status.text();
  EXPECT_EQ(result.AllMessages(), "");
  return std::move(result.image);
}

// The offset of the first marker of a kind behind `from`, in a file whose segments do not contain
// the same two bytes.
inline size_t FindMarker(const Bytes& file, int marker, size_t from = 0) {
  for (size_t i = from; i + 1 < file.size(); ++i) {
    if (file[i] == 0xFF && file[i + 1] == marker) return i;
  }
  ADD_FAILURE() << "no marker " << marker;
  return 0;
}

// The segment at an offset with its marker: how many bytes it takes.
inline size_t SegmentSize(const Bytes& file, size_t at) {
  return 2 + static_cast<size_t>(file[at + 2] << 8 | file[at + 3]);
}

inline Bytes Without(const Bytes& file, size_t at, size_t count) {
  Bytes result(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(at));
  result.insert(result.end(), file.begin() + static_cast<std::ptrdiff_t>(at + count), file.end());
  return result;
}

inline Bytes With(const Bytes& file, size_t at, const Bytes& more) {
  Bytes result = file;
  result.insert(result.begin() + static_cast<std::ptrdiff_t>(at), more.begin(), more.end());
  return result;
}

// The offsets of all restart markers of a file without damage.
inline std::vector<size_t> RestartMarkers(const Bytes& file) {
  std::vector<size_t> found;
  bool in_scan = false;
  for (size_t i = 0; i + 1 < file.size(); ++i) {
    if (file[i] != 0xFF || file[i + 1] == 0 || file[i + 1] == 0xFF) continue;
    const bool is_restart = zepcodec::jpeg::IsRestart(file[i + 1]);
    if (in_scan && is_restart) found.push_back(i);
    if (!is_restart) in_scan = file[i + 1] == zepcodec::jpeg::kSos;
  }
  return found;
}

// The share of 8 x 8 squares of pixels that are not as in the whole picture.
inline double LossOf(const zepcodec::Picture& whole, const zepcodec::Picture& image) {
  if (whole.SizeInBytes() != image.SizeInBytes()) return 1;
  const auto channels = static_cast<size_t>(whole.channels());
  int lost = 0, all = 0;
  for (int top = 0; top < whole.height(); top += 8) {
    for (int left = 0; left < whole.width(); left += 8, ++all) {
      const size_t from = static_cast<size_t>(left) * channels;
      const size_t size = static_cast<size_t>(std::min(8, whole.width() - left)) * channels;
      bool same = true;
      for (int y = top; y < std::min(top + 8, whole.height()); ++y) {
        same = same && std::memcmp(whole.Row(y) + from, image.Row(y) + from, size) == 0;
      }
      lost += same ? 0 : 1;
    }
  }
  return static_cast<double>(lost) / all;
}

}  // namespace jpeg_files

#endif  // ZEPJP_TESTS_CODECS_JPEG_JPEG_FILES_H_
