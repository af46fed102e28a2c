// SPDX-License-Identifier: MIT
// Conversions of the caller's pixels.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/codecs/api/api_pictures.h"

namespace {

using namespace api_pictures;

zepcStatus Convert(Image from, Image* to, zepcOpacity opacity = zepcOpacityAuto,
                   const uint16_t* background = nullptr) {
  const zepcPixels before = from.Pixels();
  const zepcPixels after = to->Pixels();
  return zepcConvert(&before, opacity, background, &after);
}

// A pixel of 8 bits in another form.
std::vector<int32_t> ConvertPixel(zepcLayout layout, const std::vector<uint8_t>& samples,
                                  const Shape& shape, zepcOpacity opacity = zepcOpacityAuto,
                                  const uint16_t* background = nullptr) {
  Image from = Blank(1, 1, {layout, zepcSampleU8, 8});
  std::memcpy(from.bytes.data(), samples.data(), samples.size());
  Image to = Blank(1, 1, shape);
  EXPECT_EQ(Convert(from, &to, opacity, background), zepcStatusOk);
  std::vector<int32_t> values;
  for (size_t c = 0; c < ChannelsOf(shape.layout); ++c) values.push_back(to.Get(0, 0, c));
  return values;
}

using Values = std::vector<int32_t>;

TEST(ApiConvert, LayoutsDepthsAndOpacity) {
  const Shape rgb = {zepcLayoutRgb, zepcSampleU8, 8};
  EXPECT_EQ(ConvertPixel(zepcLayoutRgb, {1, 2, 3}, {zepcLayoutBgra, zepcSampleU8, 8}),
            (Values{3, 2, 1, 255}));
  EXPECT_EQ(ConvertPixel(zepcLayoutRgb, {255, 0, 0}, {zepcLayoutGrey, zepcSampleU8, 8}),
            Values{76});
  EXPECT_EQ(ConvertPixel(zepcLayoutCmyk, {255, 0, 0, 51}, rgb), (Values{0, 204, 204}));
  EXPECT_EQ(ConvertPixel(zepcLayoutGrey, {128}, {zepcLayoutGrey, zepcSampleU16, 12}), Values{2056});
  EXPECT_EQ(ConvertPixel(zepcLayoutRgba, {0, 100, 255, 51}, rgb), (Values{204, 224, 255}));
  constexpr uint16_t kBlack[3] = {0, 0, 0};
  EXPECT_EQ(ConvertPixel(zepcLayoutRgba, {0, 100, 255, 51}, rgb, zepcOpacityBlend, kBlack),
            (Values{0, 20, 51}));
  EXPECT_EQ(ConvertPixel(zepcLayoutRgba, {0, 100, 255, 51}, rgb, zepcOpacityDrop),
            (Values{0, 100, 255}));
}

TEST(ApiConvert, GivesWhatDecodingGives) {
  for (const Bytes& file : Files()) {
    const Image native = DecodeToImage(file);
    auto options = Sized<zepcDecodeOptions>();
    options.layout = zepcLayoutBgr;
    options.sample = zepcSampleU16;
    const Image wanted = DecodeToImage(file, &options);
    Image converted =
        Blank(native.width, native.height, {zepcLayoutBgr, zepcSampleU16, 16}, 6);  // with gaps
    ASSERT_EQ(Convert(native, &converted), zepcStatusOk);
    EXPECT_TRUE(Same(converted, wanted));
  }
}

TEST(ApiConvert, LightIsNotMade) {
  const Image integers = Make(4, 4, {zepcLayoutRgb, zepcSampleU8, 8});
  Image floats = Blank(4, 4, {zepcLayoutRgb, zepcSampleF32, 32});
  EXPECT_EQ(Convert(integers, &floats), zepcStatusUnsupported);
  const Image transparent = Blank(4, 4, {zepcLayoutRgba, zepcSampleF32, 32});
  EXPECT_EQ(Convert(transparent, &floats), zepcStatusUnsupported);
  EXPECT_EQ(Convert(transparent, &floats, zepcOpacityDrop), zepcStatusOk);
}

TEST(ApiConvert, BadArguments) {
  Image from = Make(4, 4, {});
  Image to = Blank(4, 4, {});
  const zepcPixels good_from = from.Pixels();
  const zepcPixels good_to = to.Pixels();
  EXPECT_EQ(zepcConvert(nullptr, zepcOpacityAuto, nullptr, &good_to), zepcStatusBadArgument);
  EXPECT_EQ(zepcConvert(&good_from, zepcOpacityAuto, nullptr, nullptr), zepcStatusBadArgument);
  using Change = void (*)(zepcPixels*);
  constexpr Change kChanges[] = {[](zepcPixels* pixels) { pixels->size = 0; },
                                 [](zepcPixels* pixels) { pixels->data = nullptr; },
                                 [](zepcPixels* pixels) { pixels->width = 3; },
                                 [](zepcPixels* pixels) { pixels->height = 0; },
                                 [](zepcPixels* pixels) { pixels->stride = 11; },
                                 [](zepcPixels* pixels) { pixels->layout = zepcLayoutNative; },
                                 [](zepcPixels* pixels) { pixels->sample = zepcSampleNative; },
                                 [](zepcPixels* pixels) { pixels->bits = 9; }};
  for (const Change change : kChanges) {
    zepcPixels bad = good_from;
    change(&bad);
    EXPECT_EQ(zepcConvert(&bad, zepcOpacityAuto, nullptr, &good_to), zepcStatusBadArgument);
    bad = good_to;
    change(&bad);
    EXPECT_EQ(zepcConvert(&good_from, zepcOpacityAuto, nullptr, &bad), zepcStatusBadArgument);
  }
  EXPECT_EQ(zepcConvert(&good_from, static_cast<zepcOpacity>(3), nullptr, &good_to),
            zepcStatusBadArgument);
  EXPECT_EQ(to.bytes, Blank(4, 4, {}).bytes);
}

}  // namespace
