// SPDX-License-Identifier: MIT
/**
 * @file
 * zepcodec.h for C++17: objects that free what they own, and exceptions instead of statuses.
 *
 * @code
 *   const zepc::Picture picture = zepc::Decode(file.data(), file.size());
 *   const zepc::File jpeg = zepc::Encode(picture.pixels(), zepcFormatJpeg);
 * @endcode
 *
 * Everything is inline, so it needs no library of its own. It adds no features to zepcodec.h.
 */
#ifndef ZEPCODEC_HPP_
#define ZEPCODEC_HPP_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "zepcodec.h"

namespace zepc {

/** Thrown for a negative status; what() is the sentence of zepcLastError(). */
class Error : public std::runtime_error {
 public:
  explicit Error(zepcStatus status) : std::runtime_error(zepcLastError()), status_(status) {}
  zepcStatus status() const { return status_; }

 private:
  zepcStatus status_;
};

/** Throws an Error if the status is negative, else returns it. */
inline zepcStatus Check(zepcStatus status) {
  if (status < 0) throw Error(status);
  return status;
}

/** Makes a struct of zepcodec.h with its size set and all other members 0, the defaults. */
template <class Struct>
Struct Make() {
  Struct made{};
  made.size = sizeof(Struct);
  return made;
}

/** The bytes of a file, which it owns. */
class File {
 public:
  File() = default;
  /** Takes ownership of bytes that a function of zepcodec.h returned. */
  File(void* data, size_t size) : data_(static_cast<uint8_t*>(data)), size_(size) {}

  const uint8_t* data() const { return data_.get(); }
  size_t size() const { return size_; }
  const uint8_t* begin() const { return data(); }
  const uint8_t* end() const { return data() + size(); }

 private:
  struct Free {
    void operator()(uint8_t* data) const { zepcFree(data); }
  };
  std::unique_ptr<uint8_t, Free> data_;
  size_t size_ = 0;
};

/** A message, with a copy of its text. */
struct Message {
  bool is_damage;
  int64_t offset;
  std::string text;
};

/** A decoded picture with its metadata and messages, which it owns. */
class Picture {
 public:
  /** Takes ownership of a picture that a function of zepcodec.h returned. */
  explicit Picture(zepcPicture* picture) : picture_(picture) {}

  zepcPixels pixels() const {
    auto pixels = Make<zepcPixels>();
    Check(zepcPicturePixels(get(), &pixels));
    return pixels;
  }
  zepcMetadata metadata() const {
    auto metadata = Make<zepcMetadata>();
    Check(zepcPictureMetadata(get(), &metadata));
    return metadata;
  }
  std::vector<Message> messages() const {
    std::vector<Message> messages;
    auto message = Make<zepcMessage>();
    for (int32_t i = 0; zepcPictureMessage(get(), i, &message) == zepcStatusOk; ++i) {
      messages.push_back({message.is_damage != 0, message.offset, message.text});
    }
    return messages;
  }
  const zepcPicture* get() const { return picture_.get(); }

 private:
  struct Free {
    void operator()(zepcPicture* picture) const { zepcPictureFree(picture); }
  };
  std::unique_ptr<zepcPicture, Free> picture_;
};

/** Reads the headers of a file. */
inline zepcInfo Probe(const void* data, size_t size,
                      const zepcDecodeOptions& options = Make<zepcDecodeOptions>()) {
  auto info = Make<zepcInfo>();
  Check(zepcProbe(data, size, &options, &info));
  return info;
}

/** Reads the metadata of a file; the picture has no pixels. */
inline Picture ReadMetadata(const void* data, size_t size,
                            const zepcDecodeOptions& options = Make<zepcDecodeOptions>()) {
  zepcPicture* picture = nullptr;
  Check(zepcReadMetadata(data, size, &options, &picture));
  return Picture(picture);
}

/** Decodes a file. */
inline Picture Decode(const void* data, size_t size,
                      const zepcDecodeOptions& options = Make<zepcDecodeOptions>()) {
  zepcPicture* picture = nullptr;
  Check(zepcDecode(data, size, &options, &picture));
  return Picture(picture);
}

/** Converts pixels into a buffer of the same size. */
inline void Convert(const zepcPixels& from, const zepcPixels& to,
                    zepcOpacity opacity = zepcOpacityAuto) {
  Check(zepcConvert(&from, opacity, nullptr, &to));
}

/** Turns pixels of a picture with this EXIF orientation upright, into a buffer of that size. */
inline void TurnUpright(const zepcPixels& from, int32_t orientation, const zepcPixels& to) {
  Check(zepcTurnUpright(&from, orientation, &to));
}

/** Encodes pixels to a file. */
inline File Encode(const zepcPixels& pixels, const zepcEncodeOptions& options) {
  void* data = nullptr;
  size_t size = 0;
  Check(zepcEncode(&pixels, &options, &data, &size));
  return File(data, size);
}

/** Encodes pixels with the default options of a format. */
inline File Encode(const zepcPixels& pixels, zepcFormat format) {
  auto options = Make<zepcEncodeOptions>();
  options.format = format;
  return Encode(pixels, options);
}

/** Rewrites a JPEG file without changing its coefficients. */
inline File TranscodeJpeg(const void* data, size_t size, const zepcTranscodeOptions& options) {
  void* made = nullptr;
  size_t made_size = 0;
  Check(zepcJpegTranscode(data, size, &options, &made, &made_size));
  return File(made, made_size);
}

/** The coefficients of a JPEG picture, which it owns. */
class Coefficients {
 public:
  /** Takes ownership of coefficients that a function of zepcodec.h returned. */
  explicit Coefficients(zepcCoefficients* coefficients) : coefficients_(coefficients) {}

  static Coefficients Read(const void* data, size_t size,
                           const zepcDecodeOptions& options = Make<zepcDecodeOptions>()) {
    zepcCoefficients* coefficients = nullptr;
    Check(zepcJpegReadCoefficients(data, size, &options, &coefficients));
    return Coefficients(coefficients);
  }
  File Write(const zepcJpegOptions& options = Make<zepcJpegOptions>()) const {
    void* data = nullptr;
    size_t size = 0;
    Check(zepcJpegWriteCoefficients(coefficients_.get(), &options, nullptr, &data, &size));
    return File(data, size);
  }
  zepcCoefficientsInfo info() const {
    auto info = Make<zepcCoefficientsInfo>();
    Check(zepcJpegCoefficientsInfo(coefficients_.get(), &info));
    return info;
  }
  zepcComponent component(int32_t index) {
    auto component = Make<zepcComponent>();
    Check(zepcJpegComponent(coefficients_.get(), index, &component));
    return component;
  }

 private:
  struct Free {
    void operator()(zepcCoefficients* coefficients) const {
      zepcJpegFreeCoefficients(coefficients);
    }
  };
  std::unique_ptr<zepcCoefficients, Free> coefficients_;
};

}  // namespace zepc

#endif  // ZEPCODEC_HPP_
