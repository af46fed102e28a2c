// SPDX-License-Identifier: MIT
// A program opens the library, lets it start threads, and closes it. The threads still run after
// dlclose(), so their code must stay in memory.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include "zepjp.h"

namespace {

TEST(Unload, ThreadsKeepTheirCode) {
  ASSERT_EQ(setenv("OMP_NUM_THREADS", "3", 1), 0);
  void* const library = dlopen(ZEPJP_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto to_grey = reinterpret_cast<decltype(&zepiRGBToY_JPEG_8u_C3C1R)>(
      dlsym(library, "zepiRGBToY_JPEG_8u_C3C1R"));
  ASSERT_NE(to_grey, nullptr);
  std::vector<uint8_t> rgb(700 * 300 * 3, 9), grey(700 * 300);
  EXPECT_EQ(to_grey(rgb.data(), 2100, grey.data(), 700, {700, 300}), zepStatusOk);
  EXPECT_EQ(grey.back(), 9);
  EXPECT_EQ(dlclose(library), 0);
  std::this_thread::sleep_for(
      std::chrono::milliseconds(200));  // the threads wake up and wait again
}

}  // namespace
