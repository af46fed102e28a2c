// SPDX-License-Identifier: MIT
// Global objects of a program may call the library: its kernels are chosen before their
// constructors run.
#include <gtest/gtest.h>

#include "zepjp.h"

namespace {

struct Early {
  Early() {
    const uint8_t white[] = {255, 255, 255};
    status = zepiRGBToY_JPEG_8u_C3C1R(white, 3, &luminance, 1, {1, 1});
  }
  zepStatus status;
  uint8_t luminance = 0;
};

const Early early;

TEST(EarlyUse, WorksBeforeMain) {
  EXPECT_EQ(early.status, zepStatusOk);
  EXPECT_EQ(early.luminance, 255);
}

}  // namespace
