// SPDX-License-Identifier: MIT
// The table of formats, and how files and their names are recognized.
#include <gtest/gtest.h>

#include <cctype>
#include <sstream>
#include <string>

#include "tests/codecs/api/api_pictures.h"

namespace {

using api_pictures::Bytes;
using api_pictures::Files;
using api_pictures::Formats;

TEST(ApiFormats, EveryEntryIsComplete) {
  std::vector<zepcFormat> seen;
  int32_t count = 0;
  for (; zepcFormatAt(count) != nullptr; ++count) {
    const zepcFormatFacts& facts = *zepcFormatAt(count);
    for (const char* const text :
         {facts.name, facts.extensions, facts.media_type, facts.reads, facts.writes}) {
      ASSERT_NE(text, nullptr);
      EXPECT_STRNE(text, "");
    }
    for (const int32_t keeps :
         {facts.keeps_exif, facts.keeps_icc, facts.keeps_xmp, facts.keeps_resolution}) {
      EXPECT_TRUE(keeps == 0 || keeps == 1);
    }
    seen.push_back(facts.format);
  }
  EXPECT_EQ(zepcFormatAt(count + 1), nullptr);
  EXPECT_EQ(zepcFormatAt(-1), nullptr);
  EXPECT_EQ(zepcFormatAt(INT32_MIN), nullptr);
  EXPECT_EQ(zepcFormatAt(INT32_MAX), nullptr);
  std::sort(seen.begin(), seen.end());
  EXPECT_EQ(seen, Formats());
}

TEST(ApiFormats, DepthsAndChannelsAreWhatFilesHold) {
  for (int32_t i = 0; zepcFormatAt(i) != nullptr; ++i) {
    const zepcFormatFacts& facts = *zepcFormatAt(i);
    SCOPED_TRACE(facts.name);
    const zepcEncodeOptions options = api_pictures::OptionsFor(facts.format);
    for (int32_t bits = 1; bits <= 16; ++bits) {
      const zepcSample sample = bits > 8 ? zepcSampleU16 : zepcSampleU8;
      Bytes file;
      const zepcStatus status = api_pictures::TryEncode(
          api_pictures::Make(16, 16, {zepcLayoutGrey, sample, bits}), options, &file);
      const bool is_held = status == zepcStatusOk && api_pictures::Probe(file).bits == bits;
      EXPECT_EQ(is_held, (facts.depths >> (bits - 1) & 1) != 0) << bits;
    }
    EXPECT_EQ(facts.depths >> 16, 0U);
    for (const auto& [layout, holds] : {std::pair(zepcLayoutRgba, facts.holds_opacity),
                                        std::pair(zepcLayoutCmyk, facts.holds_cmyk)}) {
      Bytes file;
      const zepcStatus status = api_pictures::TryEncode(
          api_pictures::Make(16, 16, {layout, zepcSampleU8, 8}), options, &file);
      EXPECT_EQ(status, holds != 0 ? zepcStatusOk : zepcStatusUnsupported);
    }
  }
}

TEST(ApiFormats, VersionIsThreeNumbers) {
  int major = -1, minor = -1, patch = -1;
  char rest = 0;
  std::istringstream text(zepcVersion());
  char dot1 = 0, dot2 = 0;
  text >> major >> dot1 >> minor >> dot2 >> patch;
  EXPECT_GE(patch, 0) << zepcVersion();
  EXPECT_TRUE(dot1 == '.' && dot2 == '.' && major > 0 && minor >= 0);
  EXPECT_FALSE(text >> rest);
}

TEST(ApiFormats, ExtensionsStandForTheirFormat) {
  std::vector<std::string> all;
  for (int32_t i = 0; zepcFormatAt(i) != nullptr; ++i) {
    const zepcFormatFacts& facts = *zepcFormatAt(i);
    std::istringstream words(facts.extensions);
    for (std::string word; words >> word;) {
      all.push_back(word);
      std::string capitals = word;
      for (char& letter : capitals) letter = static_cast<char>(std::toupper(letter));
      EXPECT_EQ(capitals == word, false);
      for (const std::string& name : {word, capitals, "." + word, "a." + word, "a.b." + capitals,
                                      "/some.dir/file." + word, "c:\\x\\Photo." + capitals}) {
        EXPECT_EQ(zepcFormatOfName(name.c_str()), facts.format) << name;
      }
      for (const std::string& name :
           {word + "x", "x" + word, word + ".", word + ".bak", word + " ", "a." + word + "/file"}) {
        EXPECT_NE(zepcFormatOfName(name.c_str()), facts.format) << name;
      }
    }
  }
  std::sort(all.begin(), all.end());
  EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end()) << "an extension of two formats";
}

TEST(ApiFormats, OtherNamesStandForNone) {
  for (const char* const name :
       {"", ".", "..", "png", "a.png", "jpg jpeg", "jpg ", " jpg", "jpg\n"}) {
    EXPECT_EQ(zepcFormatOfName(name), zepcFormatUnknown) << name;
  }
  EXPECT_EQ(zepcFormatOfName(nullptr), zepcFormatUnknown);
}

TEST(ApiFormats, FilesAreRecognized) {
  for (size_t i = 0; i < Files().size(); ++i) {
    const Bytes& file = Files()[i];
    EXPECT_EQ(zepcFormatOfBytes(file.data(), file.size()), Formats()[i]);
    EXPECT_EQ(api_pictures::Probe(file).format, Formats()[i]);
  }
}

// The starts of files, in memory of exactly their size: another format never comes out of them, but
// for lossless JPEG, whose frame header is needed.
TEST(ApiFormats, StartsOfFilesAreTheFormatOrNone) {
  for (size_t i = 0; i < Files().size(); ++i) {
    bool is_known = false;
    for (size_t size = 0; size < 64; ++size) {
      const Bytes start(Files()[i].begin(), Files()[i].begin() + static_cast<ptrdiff_t>(size));
      const zepcFormat format = zepcFormatOfBytes(start.data(), start.size());
      if (format == zepcFormatUnknown) {
        EXPECT_FALSE(is_known) << size;
        continue;
      }
      is_known = true;
      const bool is_jpeg = Formats()[i] == zepcFormatLosslessJpeg && format == zepcFormatJpeg;
      EXPECT_TRUE(format == Formats()[i] || is_jpeg) << size;
    }
    EXPECT_TRUE(is_known);
  }
}

TEST(ApiFormats, JunkIsUnknown) {
  EXPECT_EQ(zepcFormatOfBytes(nullptr, 0), zepcFormatUnknown);
  EXPECT_EQ(zepcFormatOfBytes(nullptr, 100), zepcFormatUnknown);
  EXPECT_EQ(zepcFormatOfBytes("", 0), zepcFormatUnknown);
  for (const std::string& junk :
       {std::string("\x89PNG\r\n\x1a\n"), std::string("GIF89a"), std::string(100, '\0'),
        std::string(100, '\xFF'), std::string("BM"), std::string("RIFF....WEBP")}) {
    EXPECT_EQ(zepcFormatOfBytes(junk.data(), junk.size()), zepcFormatUnknown) << junk;
    auto info = api_pictures::Sized<zepcInfo>();
    info.width = 77;
    EXPECT_EQ(zepcProbe(junk.data(), junk.size(), nullptr, &info), zepcStatusUnknownFormat);
    EXPECT_EQ(info.width, 77);
    zepcPicture* picture = nullptr;
    EXPECT_EQ(zepcDecode(junk.data(), junk.size(), nullptr, &picture), zepcStatusUnknownFormat);
    EXPECT_EQ(picture, nullptr);
    EXPECT_STRNE(zepcLastError(), "");
  }
}

}  // namespace
