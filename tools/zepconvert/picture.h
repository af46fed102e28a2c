// SPDX-License-Identifier: MIT
// A picture in memory with its metadata and messages.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PICTURE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PICTURE_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/zepconvert/bytes.h"
#include "zepcodec.hpp"

namespace zepconvert {

int ChannelCount(zepcLayout layout);
bool HasAlpha(zepcLayout layout);
bool IsGrey(zepcLayout layout);
// Of 1 to 4 channels: grey, grey with opacity, RGB, RGB with opacity.
zepcLayout LayoutWithChannels(int channels);

// Fixed point and floats, which are linear light; other samples are unsigned.
bool IsLight(zepcSample sample);
size_t BytesOf(zepcSample sample);

// The channels and samples of a picture.
struct Form {
  zepcLayout layout = zepcLayoutRgb;
  zepcSample sample = zepcSampleU8;
  int bits = 8;
};
Form UnsignedForm(zepcLayout layout, int bits);
bool operator==(const Form& a, const Form& b);

// Pixels: the library's, or memory of its own. Never blue first.
class Image {
 public:
  Image() = default;
  // The samples have no values yet.
  Image(int width, int height, const Form& form);
  explicit Image(zepc::Picture decoded);
  Image(Image&&) = default;
  Image& operator=(Image&&) = default;

  const zepcPixels& pixels() const { return pixels_; }
  int width() const { return pixels_.width; }
  int height() const { return pixels_.height; }
  int channels() const { return ChannelCount(pixels_.layout); }
  Form form() const { return {pixels_.layout, pixels_.sample, pixels_.bits}; }
  size_t SamplesInRow() const { return static_cast<size_t>(width() * int64_t{channels()}); }
  // Leaves a part, which lies inside. Its memory stays that of the whole.
  void CutTo(const zepcRect& part);
  uint8_t* Row(int y) { return static_cast<uint8_t*>(pixels_.data) + Offset(y); }
  const uint8_t* Row(int y) const { return static_cast<const uint8_t*>(pixels_.data) + Offset(y); }

 private:
  size_t Offset(int y) const { return static_cast<size_t>(y) * pixels_.stride; }

  zepc::Picture decoded_{nullptr};
  Bytes own_;
  zepcPixels pixels_ = {};
};

// True where there is no opacity, or it is full everywhere.
bool IsOpaque(const Image& image);

// The image in this form; opacity that has no place is blended over white.
Image Converted(const Image& image, const Form& form, zepcOpacity opacity = zepcOpacityAuto);

// Gets the finished part of the work, from 0 to 1.
using OnProgress = std::function<void(double done)>;

// What zepcMetadata points to.
struct Metadata {
  Metadata() = default;
  explicit Metadata(const zepcMetadata& from);
  // Valid as long as this object is unchanged.
  zepcMetadata View() const;

  std::vector<uint8_t> exif;
  std::vector<uint8_t> icc;
  std::vector<uint8_t> xmp;
  std::vector<uint8_t> jpeg_segments;
  int orientation = 0;
  zepcResolutionUnit resolution_unit = zepcResolutionNone;
  double resolution_x = 0;
  double resolution_y = 0;
};

struct Picture {
  Image image;
  Metadata metadata;
  std::vector<std::string> notes;     // for the user to know; the exit code stays 0
  std::vector<std::string> warnings;  // damage in the file: the exit code becomes 4
};

// Turns the pixels as the orientation says, which becomes 1.
void MakeUpright(Picture* picture);

// What a file's header tells of its picture.
struct Dimensions {
  int64_t width = 0;
  int64_t height = 0;
  int channels = 4;
  int sample_bytes = 1;
  int64_t more_memory = 0;  // that decoding takes beside the picture
};

// Refuses a picture beyond the limit before memory is taken.
void CheckPixels(int64_t width, int64_t height, int64_t max_pixels);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PICTURE_H_
