// SPDX-License-Identifier: MIT
// The same bytes on every processor and from every compiler: digests of the files of all ways of
// coding, and of the pixels that come back. A change of the numbers means that files change.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/codecs/api/api_digests.h"
#include "tests/codecs/api/api_ways.h"

namespace {

using namespace api_pictures;

uint64_t DigestOf(const Bytes& bytes) {
  uint64_t digest = 14695981039346656037U;  // FNV-1a
  for (const uint8_t byte : bytes) digest = (digest ^ byte) * 1099511628211U;
  return digest;
}

// Triangular waves with some noise, of integers: library functions may differ in their last digits.
Image Waves(const Way& way) {
  Image image = Blank(kWayWidth, kWayHeight, way.shape);
  const auto channels = static_cast<int32_t>(ChannelsOf(way.shape.layout));
  uint32_t state = 1;
  for (int32_t y = 0; y < image.height; ++y) {
    for (int32_t x = 0; x < image.width; ++x) {
      for (int32_t c = 0; c < channels; ++c) {
        state = state * 1664525U + 1013904223U;
        const int32_t phase = ((7 + 4 * c) * x + (13 - 3 * c) * y + x * y / 64) & 1023;
        const int32_t wave = phase < 512 ? phase : 1023 - phase;  // 0 to 511
        const auto noise = static_cast<int32_t>(state >> 28);
        const int32_t value = 64 * (wave + noise);  // below 2^16
        const auto channel = static_cast<size_t>(c);
        if (way.shape.sample == zepcSampleF16) {
          const auto bits = static_cast<uint16_t>(0x3000 + (value >> 5));  // 0.125 to 0.5
          std::memcpy(image.At(x, y, channel), &bits, sizeof(bits));
        } else {
          image.Set(x, y, channel, value >> (16 - way.shape.bits));
        }
      }
    }
  }
  return image;
}

TEST(Digest, FilesAndPixelsAreTheSameEverywhere) {
  EXPECT_EQ(kDigests.size(), Ways().size());
  for (const Way& way : Ways()) {
    const Bytes file = Encode(Waves(way), way.Options());
    const Digests found = {DigestOf(file), DigestOf(DecodeToImage(file).bytes)};
    const auto expected = kDigests.find(way.name);
    const bool is_known = expected != kDigests.end();
    EXPECT_TRUE(is_known && found.file == expected->second.file &&
                found.pixels == expected->second.pixels)
        << "{\"" << way.name << "\", {" << found.file << "U, " << found.pixels << "U}},";
  }
}

}  // namespace
