// SPDX-License-Identifier: MIT
// Damaged files: a clear error, or a picture with messages; never a crash, and no more memory than the file
// can account for.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "harness/random.h"
#include "tests/codecs/jpegxr/jpegxr_files.h"

namespace jpegxr = zepcodec::jpegxr;

namespace {

using Bytes = std::vector<uint8_t>;
using jpegxr_files::CodestreamOf;

struct Outcome {
  zepcodec::Status status;
  zepcodec::Picture image;
  jpegxr::FileInfo info;
};

// In memory of exactly the file's size, so that the sanitizer sees what lies behind it.
Outcome Decode(const Bytes& file, int64_t max_pixels = 1 << 22) {
  Bytes exact(file.begin(), file.end());
  exact.shrink_to_fit();
  jpegxr::DecodeOptions options;
  options.max_pixels = max_pixels;
  options.threads = 1 + static_cast<int>(file.size() % 2);  // in strips, or as a whole
  Outcome outcome;
  outcome.status =
      jpegxr::Decode(exact.data(), exact.size(), options, &outcome.image, &outcome.info);
  EXPECT_EQ(outcome.status.ok(), outcome.status.text().empty());
  return outcome;
}

TEST(JpegXrDamage, CutAnywhere) {
  for (const Bytes& file : jpegxr_files::AllKinds()) {
    const Outcome whole = Decode(file);
    ASSERT_TRUE(whole.status.ok()) << whole.status.text();
    for (size_t size = 0; size < file.size();
         size += size < 200 && harness::Exhaustive() ? 1 : 37) {
      const Outcome outcome =
          Decode(Bytes(file.begin(), file.begin() + static_cast<ptrdiff_t>(size)));
      if (outcome.status.ok()) {
        EXPECT_FALSE(outcome.info.messages.empty()) << size << " of " << file.size();
        EXPECT_EQ(outcome.image.SizeInBytes(), whole.image.SizeInBytes());
      }
    }
  }
}

// What was decoded before the end stays.
TEST(JpegXrDamage, FirstRowsSurviveACut) {
  const zepcodec::Picture image = jpegxr_files::MakeImage(64, 256, 1, zepcodec::SampleType::kU8, 1);
  jpegxr::EncodeOptions options;
  Bytes file = jpegxr_files::Encode(image, options);
  file.resize(file.size() / 2);
  const Outcome outcome = Decode(file);
  ASSERT_TRUE(outcome.status.ok()) << outcome.status.text();
  EXPECT_GE(outcome.info.messages.count(), 1);
  EXPECT_EQ(std::memcmp(outcome.image.Row(0), image.Row(0), 64 * 64), 0);
}

TEST(JpegXrDamage, HeaderBytesChanged) {
  for (const Bytes& file : jpegxr_files::AllKinds()) {
    const size_t end = std::min(file.size(), CodestreamOf(file) + 60);
    // Emulators and sanitizers take a sample.
    for (size_t i = 0; i < end; i += harness::Exhaustive() ? 1 : 5) {
      for (const int value : {0, 1, 0x55, 0x80, 0xFF, file[i] ^ 1, file[i] ^ 0x10}) {
        Bytes changed = file;
        changed[i] = static_cast<uint8_t>(value);
        Decode(changed);
      }
    }
  }
}

TEST(JpegXrDamage, AnyBytesChanged) {
  std::mt19937 random(1);
  for (const Bytes& file : jpegxr_files::AllKinds()) {
    const size_t start = CodestreamOf(file);
    for (int round = 0; round < (harness::Exhaustive() ? 300 : 40); ++round) {
      Bytes changed = file;
      for (uint32_t i = 0; i <= random() % 8; ++i) {
        changed[start + random() % (file.size() - start)] = static_cast<uint8_t>(random());
      }
      Decode(changed);
    }
  }
}

TEST(JpegXrDamage, NoiseForCoefficients) {
  std::mt19937 random(2);
  for (const Bytes& file : jpegxr_files::AllKinds()) {
    const size_t start = CodestreamOf(file) + 60;
    for (const uint32_t mask : {0xFFU, 0x11U, 0x00U}) {
      Bytes changed = file;
      for (size_t i = start; i < changed.size(); ++i)
        changed[i] = static_cast<uint8_t>(random() & mask);
      Decode(changed);
    }
  }
}

TEST(JpegXrDamage, NoFileAtAll) {
  EXPECT_FALSE(Decode({}).status.ok());
  EXPECT_FALSE(Decode(Bytes(100, 0)).status.ok());
  EXPECT_FALSE(Decode({'I', 'I', 0xBC, 1, 8, 0, 0, 0}).status.ok());
  EXPECT_FALSE(Decode({'I', 'I', 0xBC, 1, 0xF0, 0xFF, 0xFF, 0xFF}).status.ok());
  EXPECT_FALSE(Decode({'W', 'M', 'P', 'H', 'O', 'T', 'O', 0}).status.ok());
}

// Overlap filters of sub-version 0 never met hard tiles, and there are no others but those of 1.
TEST(JpegXrDamage, UnknownFiltersAreRefused) {
  const zepcodec::Picture image = jpegxr_files::MakeImage(64, 64, 1, zepcodec::SampleType::kU8, 1);
  Bytes file = jpegxr_files::Encode(image, jpegxr::EncodeOptions());
  uint8_t& versions = file[CodestreamOf(file) + 8];
  for (int sub_version = 0; sub_version < 16; ++sub_version) {
    versions = static_cast<uint8_t>(0x10 | sub_version);
    const bool is_known = sub_version == 0 || sub_version == 1 || sub_version == 9;
    const std::string error = Decode(file).status.text();
    EXPECT_EQ(error.empty(), is_known) << sub_version;
    // The flags are checked when all of them are read.
    const std::string place = "byte " + std::to_string(CodestreamOf(file) + 12) + ": ";
    if (!is_known) {
      EXPECT_EQ(error.find(place), 0U) << error;
    }
  }
}

TEST(JpegXrDamage, LargeClaimsAreRefused) {
  const zepcodec::Picture image = jpegxr_files::MakeImage(64, 64, 1, zepcodec::SampleType::kU8, 1);
  Bytes file = jpegxr_files::Encode(image, jpegxr::EncodeOptions());
  EXPECT_FALSE(Decode(file, 64 * 64 - 1).status.ok());
  EXPECT_TRUE(Decode(file, 64 * 64).status.ok());
  // Width and height stand behind the signature and four bytes of flags.
  const size_t size = CodestreamOf(file) + 8 + 4;
  for (const size_t at : {size, size + 4}) file[at + 1] = 0xFF;
  const Outcome outcome = Decode(file, INT64_MAX);
  EXPECT_FALSE(outcome.status.ok());
  EXPECT_NE(outcome.status.text().find("pixels"), std::string::npos) << outcome.status.text();
}

}  // namespace
