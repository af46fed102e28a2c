// SPDX-License-Identifier: MIT
// What a decoder found wrong with a file that it could read all the same. A decoder that also has things to
// say that cost no sample (an unusual file, not a damaged one) keeps them in a second list, `notes`.
#ifndef ZEPJP_EXAMPLES_COMMON_MESSAGES_H_
#define ZEPJP_EXAMPLES_COMMON_MESSAGES_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace common {

// Keeps the first messages and counts all.
class Messages {
 public:
  void Add(std::string text) {
    ++count_;
    if (kept_.size() < kMostKept) kept_.push_back(std::move(text));
  }
  void AddAtByte(size_t offset, const std::string& text) {
    Add("byte " + std::to_string(offset) + ": " + text);
  }
  void AddForTile(int tile, const std::string& text) {
    Add("tile " + std::to_string(tile) + ": " + text);
  }
  void Append(const Messages& others) {
    for (const std::string& text : others.kept_) Add(text);
    count_ += others.count_ - static_cast<int64_t>(others.kept_.size());
  }
  bool empty() const { return count_ == 0; }
  int64_t count() const { return count_; }
  const std::vector<std::string>& kept() const { return kept_; }

 private:
  static constexpr size_t kMostKept = 32;
  int64_t count_ = 0;
  std::vector<std::string> kept_;
};

}  // namespace common

#endif  // ZEPJP_EXAMPLES_COMMON_MESSAGES_H_
