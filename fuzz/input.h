// SPDX-License-Identifier: MIT
// Splits a fuzzer's bytes into values.
#ifndef ZEPJP_FUZZ_INPUT_H_
#define ZEPJP_FUZZ_INPUT_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace fuzz {

class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  uint8_t Byte() { return size_ == 0 ? uint8_t{0} : (--size_, *data_++); }

  // The next bytes, followed by zeros after the end.
  void Fill(void* to, size_t count) {
    auto* bytes = static_cast<uint8_t*>(to);
    const size_t have = std::min(count, size_);
    std::copy_n(data_, have, bytes);
    std::fill(bytes + have, bytes + count, uint8_t{0});
    data_ += have;
    size_ -= have;
  }

  // All remaining bytes, in memory of exactly their size.
  std::vector<uint8_t> Rest() {
    std::vector<uint8_t> rest(data_, data_ + size_);
    size_ = 0;
    return rest;
  }

 private:
  const uint8_t* data_;
  size_t size_;
};

// The lists of a DHT segment.
struct Lists {
  explicit Lists(Input* input) : symbols(256) {
    input->Fill(counts, sizeof(counts));
    input->Fill(symbols.data(), 64);
    for (size_t i = 64; i < symbols.size(); ++i) symbols[i] = static_cast<uint8_t>(i * 37);
  }
  uint8_t counts[16];
  std::vector<uint8_t> symbols;
};

template <class T>
void MustEqual(const T& a, const T& b) {
  if (std::memcmp(&a, &b, sizeof(T)) != 0) std::abort();
}

}  // namespace fuzz

#endif  // ZEPJP_FUZZ_INPUT_H_
