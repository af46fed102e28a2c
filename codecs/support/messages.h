// SPDX-License-Identifier: MIT
// Messages about a file that could be decoded: damage, which costs samples, and notes about
// something unusual that costs none.
#ifndef ZEPJP_CODECS_SUPPORT_MESSAGES_H_
#define ZEPJP_CODECS_SUPPORT_MESSAGES_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zepcodec {

struct Message {
  int64_t offset;     // of the byte in the file; negative: unknown
  std::string place;  // in the picture, such as "tile 3"; may be empty
  std::string text;

  // "byte 120, MCU 7: no such code"
  std::string ToString() const {
    std::string head = offset < 0 ? "" : "byte " + std::to_string(offset);
    if (!place.empty()) head += (head.empty() ? "" : ", ") + place;
    return head.empty() ? text : head + ": " + text;
  }
};

// "tile 3"
template <class Number>
std::string Place(const char* part, Number number) {
  return std::string(part) + " " + std::to_string(number);
}

// A marker of JPEG or JPEG 2000: "FF C4".
inline std::string MarkerName(int marker) {
  const char* const digits = "0123456789ABCDEF";
  return std::string("FF ") + digits[marker >> 4 & 15] + digits[marker & 15];
}

// Keeps the first messages and counts all.
class Messages {
 public:
  void Add(std::string text) { Add({-1, {}, std::move(text)}); }
  void AddAt(size_t offset, std::string text) { AddAt(offset, {}, std::move(text)); }
  void AddAt(size_t offset, std::string place, std::string text) {
    Add({static_cast<int64_t>(offset), std::move(place), std::move(text)});
  }
  void AddIn(std::string place, std::string text) { Add({-1, std::move(place), std::move(text)}); }
  void Append(const Messages& others) {
    for (const Message& message : others.kept_) Add(message);
    count_ += others.count_ - static_cast<int64_t>(others.kept_.size());
  }
  bool empty() const { return count_ == 0; }
  int64_t count() const { return count_; }
  const std::vector<Message>& kept() const { return kept_; }
  // A line for each message, and one for those that were not kept.
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (const Message& message : kept_) lines.push_back(message.ToString());
    const int64_t more = count_ - static_cast<int64_t>(kept_.size());
    if (more > 0) lines.push_back("and " + std::to_string(more) + " more");
    return lines;
  }

 private:
  static constexpr size_t kMostKept = 32;

  void Add(Message message) {
    ++count_;
    if (kept_.size() < kMostKept) kept_.push_back(std::move(message));
  }

  int64_t count_ = 0;
  std::vector<Message> kept_;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_MESSAGES_H_
