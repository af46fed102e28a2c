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

// Where the upper left pixel of a stored picture of 3 x 2 pixels comes to lie in the upright one.
TEST(ApiConvert, TurnsUpright) {
  struct Case {
    int32_t orientation;
    std::vector<uint8_t> upright;  // rows of the result, one after the other
    int32_t width;
  };
  // Stored: 1 2 3 above 4 5 6.
  const Case cases[] = {{1, {1, 2, 3, 4, 5, 6}, 3}, {2, {3, 2, 1, 6, 5, 4}, 3},
                        {3, {6, 5, 4, 3, 2, 1}, 3}, {4, {4, 5, 6, 1, 2, 3}, 3},
                        {5, {1, 4, 2, 5, 3, 6}, 2}, {6, {4, 1, 5, 2, 6, 3}, 2},
                        {7, {6, 3, 5, 2, 4, 1}, 2}, {8, {3, 6, 2, 5, 1, 4}, 2}};
  for (const zepcLayout layout : {zepcLayoutGrey, zepcLayoutRgb, zepcLayoutRgba}) {
    for (const zepcSample sample : {zepcSampleU8, zepcSampleU16}) {
      const Shape shape = {layout, sample, sample == zepcSampleU8 ? 8 : 16};
      Image from = Blank(3, 2, shape);
      const size_t pixel_bytes = from.bytes.size() / 6;
      for (size_t i = 0; i < 6; ++i) from.bytes[i * pixel_bytes] = static_cast<uint8_t>(i + 1);
      for (const Case& one : cases) {
        Image to = Blank(one.width, 6 / one.width, shape);
        const zepcPixels before = from.Pixels();
        const zepcPixels after = to.Pixels();
        ASSERT_EQ(zepcTurnUpright(&before, one.orientation, &after), zepcStatusOk);
        for (size_t i = 0; i < 6; ++i) EXPECT_EQ(to.bytes[i * pixel_bytes], one.upright[i]);
      }
    }
  }
}

TEST(ApiConvert, TurningRefusesBadArguments) {
  const Shape shape = {zepcLayoutRgb, zepcSampleU8, 8};
  Image from = Blank(3, 2, shape);
  Image to = Blank(2, 3, shape);
  const Bytes untouched = to.bytes;
  const zepcPixels before = from.Pixels();
  zepcPixels after = to.Pixels();
  EXPECT_EQ(zepcTurnUpright(nullptr, 6, &after), zepcStatusBadArgument);
  EXPECT_EQ(zepcTurnUpright(&before, 6, nullptr), zepcStatusBadArgument);
  EXPECT_EQ(zepcTurnUpright(&before, 0, &after), zepcStatusBadArgument);
  EXPECT_EQ(zepcTurnUpright(&before, 9, &after), zepcStatusBadArgument);
  EXPECT_EQ(zepcTurnUpright(&before, 2, &after), zepcStatusBadArgument);  // another size
  after.layout = zepcLayoutBgr;
  EXPECT_EQ(zepcTurnUpright(&before, 6, &after), zepcStatusBadArgument);
  EXPECT_EQ(to.bytes, untouched);
}

}  // namespace
