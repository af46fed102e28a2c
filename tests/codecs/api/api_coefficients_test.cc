// SPDX-License-Identifier: MIT
// Coefficients that are read, made, changed and written.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/codecs/api/api_pictures.h"

namespace {

using namespace api_pictures;

zepcComponent ComponentOf(zepcCoefficients* coefficients, int32_t index) {
  auto component = Sized<zepcComponent>();
  EXPECT_EQ(zepcJpegComponent(coefficients, index, &component), zepcStatusOk);
  return component;
}

zepcStatus TryWrite(const Coefficients& from, const zepcJpegOptions* options, Bytes* file) {
  void* made = nullptr;
  size_t size = 9;
  const zepcStatus status = zepcJpegWriteCoefficients(from.get(), options, nullptr, &made, &size);
  if (status == zepcStatusOk) {
    const auto* const bytes = static_cast<const uint8_t*>(made);
    file->assign(bytes, bytes + size);
  } else {
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(size, 9U);
    EXPECT_STRNE(zepcLastError(), "");
  }
  zepcFree(made);
  return status;
}

Coefficients Read(const Bytes& file) {
  zepcCoefficients* read = nullptr;
  EXPECT_EQ(zepcJpegReadCoefficients(file.data(), file.size(), nullptr, &read), zepcStatusOk)
      << zepcLastError();
  return Coefficients(read);
}

struct Request {
  zepcCoefficientsInfo info = Sized<zepcCoefficientsInfo>();
  zepcComponent components[4];

  explicit Request(int32_t count = 3, int32_t bits = 8) {
    info.width = 37;
    info.height = 21;
    info.bits = bits;
    info.components = count;
    for (zepcComponent& component : components) {
      component = Sized<zepcComponent>();
      component.h = component.v = 1;
      for (size_t i = 0; i < 64; ++i) component.steps[i] = static_cast<uint16_t>(i / 2 + 1);
    }
  }

  zepcStatus TryMake(zepcCoefficients** made) const {
    return zepcJpegMakeCoefficients(&info, components, made);
  }
  Coefficients Make() const {
    zepcCoefficients* made = nullptr;
    EXPECT_EQ(TryMake(&made), zepcStatusOk) << zepcLastError();
    return Coefficients(made);
  }
};

// Values in the blocks that the picture covers; blocks that only fill up MCUs need not be kept
// where a scan has one component.
void Fill(zepcCoefficients* coefficients, int32_t count, int32_t most) {
  uint32_t chance = 9;
  for (int32_t c = 0; c < count; ++c) {
    const zepcComponent component = ComponentOf(coefficients, c);
    const ptrdiff_t values = ptrdiff_t{64} * component.blocks_across * component.blocks_down;
    for (ptrdiff_t i = 0; i < values; ++i) {
      chance = chance * 1664525 + 1013904223;
      const auto value = static_cast<int32_t>(chance >> 8) % (2 * most + 1) - most;
      component.blocks[i] = static_cast<int16_t>((chance & 7) == 0 || i % 64 == 0 ? value : 0);
    }
  }
}

void ExpectSame(zepcCoefficients* a, zepcCoefficients* b, int32_t count) {
  for (int32_t c = 0; c < count; ++c) {
    const zepcComponent one = ComponentOf(a, c), two = ComponentOf(b, c);
    EXPECT_TRUE(one.h == two.h && one.v == two.v);
    EXPECT_TRUE(std::equal(std::begin(one.steps), std::end(one.steps), std::begin(two.steps)));
    ASSERT_EQ(one.blocks_across, two.blocks_across);
    ASSERT_EQ(one.blocks_down, two.blocks_down);
    const ptrdiff_t values = ptrdiff_t{64} * one.blocks_across * one.blocks_down;
    EXPECT_TRUE(std::equal(one.blocks, one.blocks + values, two.blocks)) << c;
  }
}

TEST(ApiCoefficients, MadeWrittenAndReadAgain) {
  for (const int32_t bits : {8, 12}) {
    for (const int32_t count : {1, 3, 4}) {
      for (int32_t way = 0; way < 4; ++way) {
        SCOPED_TRACE(std::to_string(bits) + " bits, components " + std::to_string(count) +
                     ", way " + std::to_string(way));
        Request request(count, bits);
        request.info.width = 48;  // whole MCUs
        request.info.height = 32;
        if (count > 1 && way % 2 == 0) request.components[0].h = 2;
        if (count > 1 && way == 2) request.components[0].v = 2;
        const Coefficients made = request.Make();
        Fill(made.get(), count, bits == 8 ? 1023 : 16383);
        auto options = Sized<zepcJpegOptions>();
        options.is_progressive = way & 1;
        options.optimizes = way >> 1;
        options.restart_interval = way;
        Bytes file;
        ASSERT_EQ(TryWrite(made, &options, &file), zepcStatusOk) << zepcLastError();
        const Coefficients read = Read(file);
        auto info = Sized<zepcCoefficientsInfo>();
        ASSERT_EQ(zepcJpegCoefficientsInfo(read.get(), &info), zepcStatusOk);
        EXPECT_TRUE(info.width == 48 && info.height == 32);
        EXPECT_TRUE(info.bits == bits && info.components == count);
        ExpectSame(made.get(), read.get(), count);
      }
    }
  }
}

TEST(ApiCoefficients, OddSizesWithFactorsOfTheirOwn) {
  for (const int32_t h : {1, 2, 3, 4}) {
    for (const int32_t v : {1, 2}) {
      Request request;
      request.components[0].h = h;
      request.components[0].v = v;
      const Coefficients made = request.Make();
      const zepcComponent first = ComponentOf(made.get(), 0), second = ComponentOf(made.get(), 1);
      EXPECT_GE(first.blocks_across * 8, 37);
      EXPECT_GE(first.blocks_down * 8, 21);
      EXPECT_GE(second.blocks_across * 8 * h, 37);
      for (int32_t c = 0; c < 3; ++c) {
        const zepcComponent component = ComponentOf(made.get(), c);
        const ptrdiff_t values = ptrdiff_t{64} * component.blocks_across * component.blocks_down;
        EXPECT_TRUE(std::all_of(component.blocks, component.blocks + values,
                                [](int16_t value) { return value == 0; }));
      }
      Bytes file;
      ASSERT_EQ(TryWrite(made, nullptr, &file), zepcStatusOk) << zepcLastError();
      const Image grey = DecodeToImage(file);
      EXPECT_TRUE(grey.width == 37 && grey.height == 21);
      EXPECT_EQ(grey.Get(36, 20, 0), 128);
    }
  }
}

// A value that is changed is written.
TEST(ApiCoefficients, ChangedValuesAreWritten) {
  const Coefficients read = Read(Files()[0]);
  ComponentOf(read.get(), 0).blocks[5] = -77;
  Bytes file;
  ASSERT_EQ(TryWrite(read, nullptr, &file), zepcStatusOk);
  EXPECT_EQ(ComponentOf(Read(file).get(), 0).blocks[5], -77);
}

// The largest values that files can hold come back, those beyond are refused.
TEST(ApiCoefficients, LimitsOfValues) {
  for (const int32_t bits : {8, 12}) {
    const int32_t most = bits == 8 ? 1023 : 16383;
    for (const int32_t place : {0, 1, 63}) {
      for (const int32_t value : {most, -most, most + 1, -most - 1, -most - 2, 32767, -32768}) {
        for (const int32_t way : {0, 1, 2}) {
          const Coefficients made = Request(1, bits).Make();
          ComponentOf(made.get(), 0).blocks[place] = static_cast<int16_t>(value);
          auto options = Sized<zepcJpegOptions>();
          options.is_progressive = way == 1;
          options.optimizes = way == 2;
          Bytes file;
          const zepcStatus status = TryWrite(made, &options, &file);
          const bool is_within = value >= -most && value <= most;
          if (is_within || status == zepcStatusOk) {
            ASSERT_EQ(status, zepcStatusOk) << value << ": " << zepcLastError();
            EXPECT_EQ(ComponentOf(Read(file).get(), 0).blocks[place], value)
                << bits << " bits, place " << place << ", way " << way;
          } else {
            EXPECT_EQ(status, zepcStatusUnsupported) << value;
          }
        }
      }
    }
  }
}

TEST(ApiCoefficients, BadRequestsAreRefused) {
  const auto refuses = [](const Request& request) {
    zepcCoefficients* made = nullptr;
    EXPECT_EQ(request.TryMake(&made), zepcStatusBadArgument);
    EXPECT_EQ(made, nullptr);
    EXPECT_STRNE(zepcLastError(), "");
  };
  for (int32_t i = 0; i < 17; ++i) {
    SCOPED_TRACE(i);
    Request request;
    switch (i) {
      case 0: request.info.size = 0; break;
      case 1: request.info.width = 0; break;
      case 2: request.info.width = 65536; break;
      case 3: request.info.height = -1; break;
      case 4: request.info.bits = 10; break;
      case 5: request.info.bits = 0; break;
      case 6: request.info.components = 0; break;
      case 7: request.info.components = 5; break;
      case 15: request.info.components = 2; break;  // no file of two can be read
      case 8: request.components[0].size = 0; break;
      case 9: request.components[1].h = 0; break;
      case 10: request.components[2].h = 5; break;
      case 11: request.components[1].v = -1; break;
      case 12: request.components[1].steps[63] = 0; break;
      case 13: request.components[0].h = request.components[0].v = 3; break;  // 11 blocks
      case 14: request.components[2].size = sizeof(size_t); break;            // no factors
      default: request.info.height = 70000; break;
    }
    refuses(request);
  }
  const Request request;
  zepcCoefficients* made = nullptr;
  EXPECT_EQ(zepcJpegMakeCoefficients(nullptr, request.components, &made), zepcStatusBadArgument);
  EXPECT_EQ(zepcJpegMakeCoefficients(&request.info, nullptr, &made), zepcStatusBadArgument);
  EXPECT_EQ(zepcJpegMakeCoefficients(&request.info, request.components, nullptr),
            zepcStatusBadArgument);
}

TEST(ApiCoefficients, BadArgumentsOfTheOthers) {
  const Coefficients made = Request().Make();
  auto component = Sized<zepcComponent>();
  auto info = Sized<zepcCoefficientsInfo>();
  for (const int32_t index : {-1, 3, INT32_MAX}) {
    EXPECT_EQ(zepcJpegComponent(made.get(), index, &component), zepcStatusBadArgument);
  }
  EXPECT_EQ(component.blocks, nullptr);
  EXPECT_EQ(zepcJpegComponent(nullptr, 0, &component), zepcStatusBadArgument);
  EXPECT_EQ(zepcJpegComponent(made.get(), 0, nullptr), zepcStatusBadArgument);
  EXPECT_EQ(zepcJpegCoefficientsInfo(nullptr, &info), zepcStatusBadArgument);
  EXPECT_EQ(zepcJpegCoefficientsInfo(made.get(), nullptr), zepcStatusBadArgument);
  info.size = component.size = 0;
  EXPECT_EQ(zepcJpegCoefficientsInfo(made.get(), &info), zepcStatusBadArgument);
  EXPECT_EQ(zepcJpegComponent(made.get(), 0, &component), zepcStatusBadArgument);
  for (int32_t i = 0; i < 4; ++i) {
    auto options = Sized<zepcJpegOptions>();
    if (i == 0) options.size = 1;
    if (i == 1) options.restart_interval = -1;
    if (i == 2) options.scan_script = "0: 0-63, 0, 0;";  // two components are left out
    if (i == 3) options.scan_script = "x";
    Bytes file;
    EXPECT_EQ(TryWrite(made, &options, &file), zepcStatusBadArgument) << i;
  }
  zepcCoefficients* read = nullptr;
  const Bytes& file = Files()[0];
  EXPECT_EQ(zepcJpegReadCoefficients(nullptr, 9, nullptr, &read), zepcStatusBadArgument);
  EXPECT_EQ(zepcJpegReadCoefficients(file.data(), 9, nullptr, nullptr), zepcStatusBadArgument);
  auto options = Sized<zepcDecodeOptions>();
  options.max_memory = 100;
  EXPECT_EQ(zepcJpegReadCoefficients(file.data(), file.size(), &options, &read),
            zepcStatusTooLarge);
  options.max_memory = 0;
  options.max_pixels = 100;
  EXPECT_EQ(zepcJpegReadCoefficients(file.data(), file.size(), &options, &read),
            zepcStatusTooLarge);
  options.max_pixels = -1;
  EXPECT_EQ(zepcJpegReadCoefficients(file.data(), file.size(), &options, &read),
            zepcStatusBadArgument);
  for (size_t i = 1; i < Files().size(); ++i) {
    EXPECT_EQ(zepcJpegReadCoefficients(Files()[i].data(), Files()[i].size(), nullptr, &read),
              zepcStatusUnsupported);
  }
  EXPECT_EQ(read, nullptr);
}

}  // namespace
