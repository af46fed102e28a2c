// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "zepjp.h"

namespace {

// ZEPJP_EXPECTED_VARIANT is the variant that fits the processor features of this run.
TEST(Version, Record) {
  const char* const expected = std::getenv("ZEPJP_EXPECTED_VARIANT");
  const std::string code = expected != nullptr ? expected : "v8";
  const zepLibraryVersion* const version = zepjGetLibVersion();
  EXPECT_EQ(version, zepjGetLibVersion());
  EXPECT_EQ(version->major, ZEPJP_VERSION_MAJOR);
  EXPECT_EQ(version->minor, ZEPJP_VERSION_MINOR);
  EXPECT_EQ(version->update, ZEPJP_VERSION_UPDATE);
  EXPECT_EQ(version->revision, 36264);
  char padded[4] = {};
  std::memcpy(padded, code.data(), code.size());
  EXPECT_EQ(std::memcmp(version->cpuCode, padded, 4), 0);
  EXPECT_STREQ(version->name, code == "s8" ? "zepJP Mote (s8)" : "zepJP SSSE3 (v8)");
  EXPECT_STREQ(version->versionText, "7.1.0 (r36264)");
  EXPECT_STREQ(version->buildDate, "Jul 23 2012");
}

}  // namespace
