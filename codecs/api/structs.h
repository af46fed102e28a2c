// SPDX-License-Identifier: MIT
// Structs that grow from version to version, each with its size in front.
#ifndef ZEPJP_CODECS_API_STRUCTS_H_
#define ZEPJP_CODECS_API_STRUCTS_H_

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace zepcodec::api {

// Whether the caller has set the size.
template <class Struct>
bool HasSize(const Struct* given) {
  return given->size >= sizeof(size_t);
}

// The caller's struct with all members of today: what it does not have is 0. Null gives all zeros.
template <class Struct>
Struct Complete(const Struct* given) {
  Struct whole{};
  if (given != nullptr) std::memcpy(&whole, given, std::min(given->size, sizeof(Struct)));
  whole.size = sizeof(Struct);
  return whole;
}

// Fills what the caller's struct has.
template <class Struct>
void Fill(Struct whole, Struct* given) {
  whole.size = given->size;
  std::memcpy(given, &whole, std::min(given->size, sizeof(Struct)));
}

}  // namespace zepcodec::api

#endif  // ZEPJP_CODECS_API_STRUCTS_H_
