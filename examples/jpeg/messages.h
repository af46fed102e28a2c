// SPDX-License-Identifier: MIT
// What a decoder found wrong with a file that it could read all the same.
#ifndef ZEPJP_EXAMPLES_JPEG_MESSAGES_H_
#define ZEPJP_EXAMPLES_JPEG_MESSAGES_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace jpeg {

struct Message {
  size_t offset;  // of the byte in the file
  int64_t mcu;    // number of the MCU in its scan; negative outside scans
  std::string text;

  std::string ToString() const {
    const std::string place = "byte " + std::to_string(offset);
    return (mcu < 0 ? place : place + ", MCU " + std::to_string(mcu)) + ": " + text;
  }
};

// Keeps the first messages and counts all.
class Messages {
 public:
  void Add(size_t offset, std::string text) { Add(offset, -1, std::move(text)); }
  void Add(size_t offset, int64_t mcu, std::string text) {
    ++count_;
    if (kept_.size() < kMostKept) kept_.push_back({offset, mcu, std::move(text)});
  }
  bool empty() const { return count_ == 0; }
  int64_t count() const { return count_; }
  const std::vector<Message>& kept() const { return kept_; }

 private:
  static constexpr size_t kMostKept = 32;
  int64_t count_ = 0;
  std::vector<Message> kept_;
};

}  // namespace jpeg

#endif  // ZEPJP_EXAMPLES_JPEG_MESSAGES_H_
