// SPDX-License-Identifier: MIT
// The table of formats, and what can be asked of it.
#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <string>
#include <utility>

#include "codecs/api/codec.h"
#include "codecs/api/error.h"

namespace zepcodec::api {
namespace {

// Lossless JPEG comes before JPEG, which would recognize it too.
constexpr std::array<const Codec*, 7> kCodecs = {&kLosslessJpegCodec, &kJpegCodec,   &kJp2Codec,
                                                 &kJ2kCodec,          &kJpegXrCodec, &kDdsCodec,
                                                 &kTiffCodec};

// Whether the word is one of the format's, capitals or not.
bool HasExtension(const zepcFormatFacts& facts, const char* extension, size_t length) {
  for (const char* word = facts.extensions; word != nullptr;) {
    const char* const space = std::strchr(word, ' ');
    const size_t size = space == nullptr ? std::strlen(word) : static_cast<size_t>(space - word);
    bool is_same = size == length;
    for (size_t i = 0; is_same && i < length; ++i) {
      is_same = std::tolower(static_cast<unsigned char>(extension[i])) == word[i];
    }
    if (is_same) return true;
    word = space == nullptr ? nullptr : space + 1;
  }
  return false;
}

}  // namespace

const Codec* CodecOfExtension(const char* extension) {
  for (const Codec* codec : kCodecs) {
    if (HasExtension(codec->facts, extension, std::strlen(extension))) return codec;
  }
  return nullptr;
}

const Codec* CodecAt(size_t index) { return index < kCodecs.size() ? kCodecs[index] : nullptr; }

const Codec* CodecOf(zepcFormat format) {
  for (const Codec* codec : kCodecs) {
    if (codec->facts.format == format) return codec;
  }
  return nullptr;
}

const Codec* CodecOfFile(const File& file) {
  for (const Codec* codec : kCodecs) {
    if (codec->recognizes(file)) return codec;
  }
  return nullptr;
}

void FillMetadata(Metadata metadata, Findings* info) {
  info->orientation = metadata.orientation;
  info->has_exif = metadata.exif.empty() ? 0 : 1;
  info->has_icc = metadata.icc_profile.empty() ? 0 : 1;
  info->has_xmp = metadata.xmp.empty() ? 0 : 1;
  info->metadata = std::move(metadata);
}

int64_t MemoryOf(const Metadata& metadata) {
  constexpr int64_t kCopies = 3;  // as read, taken apart, and joined again
  const size_t bytes = metadata.exif.size() + metadata.icc_profile.size() + metadata.xmp.size();
  return kCopies * static_cast<int64_t>(bytes);
}

int64_t PictureBytes(int64_t width, int64_t height, int64_t bytes_per_pixel) {
  const int64_t most = INT64_MAX / 4;  // so that such numbers can be added
  if (width > most / height) return most;
  return std::min(width * height, most / bytes_per_pixel) * bytes_per_pixel;
}

Status CheckRange(const char* name, int64_t value, int64_t low, int64_t high) {
  if (value >= low && value <= high) return Status();
  return Status::BadOption(std::string(name) + " must lie in " + std::to_string(low) + " to " +
                           std::to_string(high) + ", not " + std::to_string(value));
}

}  // namespace zepcodec::api

using zepcodec::api::Codec;

const char* zepcVersion(void) { return ZEPC_VERSION; }

const zepcFormatFacts* zepcFormatAt(int32_t index) {
  const Codec* const codec =
      index < 0 ? nullptr : zepcodec::api::CodecAt(static_cast<size_t>(index));
  return codec == nullptr ? nullptr : &codec->facts;
}

zepcFormat zepcFormatOfBytes(const void* data, size_t size) {
  if (data == nullptr) return zepcFormatUnknown;
  const Codec* const codec = zepcodec::api::CodecOfFile({static_cast<const uint8_t*>(data), size});
  return codec == nullptr ? zepcFormatUnknown : codec->facts.format;
}

zepcFormat zepcFormatOfName(const char* name) {
  if (name == nullptr) return zepcFormatUnknown;
  const char* const dot = std::strrchr(name, '.');
  const char* const extension = dot == nullptr ? name : dot + 1;
  const Codec* const codec = zepcodec::api::CodecOfExtension(extension);
  return codec == nullptr ? zepcFormatUnknown : codec->facts.format;
}
