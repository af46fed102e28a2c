// SPDX-License-Identifier: MIT
// The samples that an encoder takes: those of components, or of a picture's pixels.
#ifndef ZEPJP_CODECS_JPEG2000_SAMPLE_SOURCE_H_
#define ZEPJP_CODECS_JPEG2000_SAMPLE_SOURCE_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg2000/image.h"
#include "codecs/support/picture.h"

namespace zepcodec::jpeg2000 {

class SampleSource {
 public:
  virtual ~SampleSource() = default;
  // `count` samples of a component from the column `x` of its row `y` on. Several threads may call
  // this.
  virtual void Read(size_t component, int64_t x, int64_t y, int64_t count, int32_t* to) const = 0;
};

class ImageSamples : public SampleSource {
 public:
  explicit ImageSamples(const Image& image) : image_(image) {}
  void Read(size_t component, int64_t x, int64_t y, int64_t count, int32_t* to) const override;

 private:
  const Image& image_;
};

// The rows of a picture from `top` on.
class PictureSamples : public SampleSource {
 public:
  PictureSamples(const Picture& rows, int top) : rows_(rows), top_(top) {}
  void Read(size_t component, int64_t x, int64_t y, int64_t count, int32_t* to) const override;

 private:
  const Picture& rows_;
  int top_;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_SAMPLE_SOURCE_H_
