// SPDX-License-Identifier: MIT
// The outcome of a step: fine, or a sentence for people that says what went wrong.
#ifndef ZEPJP_CODECS_SUPPORT_STATUS_H_
#define ZEPJP_CODECS_SUPPORT_STATUS_H_

#include <string>
#include <utility>

namespace zepcodec {

class [[nodiscard]] Status {
 public:
  Status() = default;
  static Status Error(std::string text) {
    Status status;
    status.failed_ = true;
    status.text_ = std::move(text);
    return status;
  }
  static Status NoMemory() { return Error("not enough memory"); }
  bool ok() const { return !failed_; }
  const std::string& text() const { return text_; }

 private:
  bool failed_ = false;
  std::string text_;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_STATUS_H_
