// SPDX-License-Identifier: MIT
#include "tools/zepconvert/png_profile.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace zepconvert {
namespace {

// Fields of the header by their offset, which a count of tags and the tags follow.
constexpr size_t kSize = 0, kClass = 12, kColors = 16, kSignature = 36, kTagCount = 128,
                 kTags = 132;
constexpr size_t kTagBytes = 12;

size_t Word(const std::vector<uint8_t>& bytes, size_t at) {
  return size_t{bytes[at]} << 24 | size_t{bytes[at + 1]} << 16 | size_t{bytes[at + 2]} << 8 |
         size_t{bytes[at + 3]};
}

std::string Name(const std::vector<uint8_t>& bytes, size_t at) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(at),
          bytes.begin() + static_cast<std::ptrdiff_t>(at + 4)};
}

bool HasTagsInside(const std::vector<uint8_t>& profile, size_t size) {
  const size_t count = Word(profile, kTagCount);
  if (count > (size - kTags) / kTagBytes) return false;
  for (size_t at = kTags; at < kTags + count * kTagBytes; at += kTagBytes) {
    const size_t start = Word(profile, at + 4), length = Word(profile, at + 8);
    if (start > size || length > size - start) return false;
  }
  return true;
}

}  // namespace

std::string PngProfileFault(const std::vector<uint8_t>& profile, bool is_grey) {
  if (profile.size() < kTags) return "it is shorter than its header";
  const size_t size = Word(profile, kSize);
  if (size < kTags || size > profile.size()) return "it is not complete";
  if (Name(profile, kSignature) != "acsp") return "it has no signature";
  const std::string colors = Name(profile, kColors);
  if (colors != (is_grey ? "GRAY" : "RGB ")) {
    return "it is for " + colors.substr(0, colors.find_last_not_of(' ') + 1) + ", the picture is " +
           (is_grey ? "grey" : "RGB");
  }
  constexpr std::array<const char*, 4> kClasses = {"scnr", "mntr", "prtr", "spac"};
  if (std::find(kClasses.begin(), kClasses.end(), Name(profile, kClass)) == kClasses.end()) {
    return "it is of a kind that pictures do not have";
  }
  return HasTagsInside(profile, size) ? "" : "its parts lie outside it";
}

std::vector<uint8_t> MakeProfileChunk(const std::vector<uint8_t>& profile) {
  const auto size = static_cast<uLong>(Word(profile, kSize));  // without what follows it
  std::vector<uint8_t> chunk = {'i', 'c', 'c', 0, 0};          // a name, the kind of compression
  const size_t start = chunk.size();
  uLongf packed = compressBound(size);
  chunk.resize(start + packed);
  if (compress(chunk.data() + start, &packed, profile.data(), size) != Z_OK) return {};
  chunk.resize(start + packed);
  return chunk;
}

}  // namespace zepconvert
