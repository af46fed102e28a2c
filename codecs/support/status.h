// SPDX-License-Identifier: MIT
// The outcome of a step: fine, or what kind of failure it is and a sentence for people.
#ifndef ZEPJP_CODECS_SUPPORT_STATUS_H_
#define ZEPJP_CODECS_SUPPORT_STATUS_H_

#include <string>
#include <utility>

namespace zepcodec {

class [[nodiscard]] Status {
 public:
  enum class Kind {
    kOk,
    kError,
    kBadOption,
    kUnsupported,
    kTooLarge,
    kNoMemory,
    kCancelled,
    kWriteFailed
  };

  Status() = default;
  // A bad file or, of an encoder, a bad option.
  static Status Error(std::string text) { return Status(Kind::kError, std::move(text)); }
  // An option that is wrong for every file and picture.
  static Status BadOption(std::string text) { return Status(Kind::kBadOption, std::move(text)); }
  // A good file, but nothing that this library reads; a picture that a format cannot hold.
  static Status Unsupported(std::string text) {
    return Status(Kind::kUnsupported, std::move(text));
  }
  static Status TooLarge(std::string text) { return Status(Kind::kTooLarge, std::move(text)); }
  // Takes no memory for a text.
  static Status NoMemory() { return Status(Kind::kNoMemory, {}); }
  static Status Cancelled() { return Status(Kind::kCancelled, {}); }
  static Status WriteFailed() { return Status(Kind::kWriteFailed, {}); }

  bool ok() const { return kind_ == Kind::kOk; }
  Kind kind() const { return kind_; }
  std::string text() const {
    if (kind_ == Kind::kNoMemory) return "not enough memory";
    if (kind_ == Kind::kCancelled) return "cancelled";
    if (kind_ == Kind::kWriteFailed) return "the write callback failed";
    return text_;
  }

 private:
  Status(Kind kind, std::string text) : kind_(kind), text_(std::move(text)) {}

  Kind kind_ = Kind::kOk;
  std::string text_;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_STATUS_H_
