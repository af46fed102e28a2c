// SPDX-License-Identifier: MIT
#include "codecs/jpeg/markers/marker_walk.h"

#include <algorithm>
#include <cstring>

#include "codecs/jpeg/markers/markers.h"

namespace zepcodec::jpeg {

size_t FindMarkerInData(const uint8_t* data, size_t size, size_t from) {
  while (from + 1 < size) {
    const void* found = std::memchr(data + from, 0xFF, size - 1 - from);
    if (found == nullptr) break;
    from = static_cast<size_t>(static_cast<const uint8_t*>(found) - data);
    const uint8_t second = data[from + 1];
    if (second != 0x00 && second != 0xFF) return from;
    from += second == 0x00 ? 2 : 1;
  }
  return size;
}

bool MarkerWalk::Next() {
  const size_t found = FindMarkerInData(data_, size_, position_);
  if (found == size_) return false;
  marker_ = data_[found + 1];
  ByteReader rest = ByteReader(data_, size_).At(found + 2);
  if (HasSegment(marker_)) {
    const size_t length = static_cast<size_t>(rest.Word());
    segment_ = rest.Take(std::min(std::max<size_t>(length, 2) - 2, rest.left()));
    if (rest.failed()) segment_.Skip(1);
  } else {
    segment_ = ByteReader();
  }
  position_ = rest.position();
  return true;
}

int CountScans(const uint8_t* data, size_t size) {
  int scans = 0;
  for (MarkerWalk walk(data, size, 0); walk.Next();) scans += walk.marker() == kSos ? 1 : 0;
  return scans;
}

}  // namespace zepcodec::jpeg
