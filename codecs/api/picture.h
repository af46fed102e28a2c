// SPDX-License-Identifier: MIT
// What the opaque handle of a picture holds.
#ifndef ZEPJP_CODECS_API_PICTURE_H_
#define ZEPJP_CODECS_API_PICTURE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "codecs/include/zepcodec.h"
#include "codecs/support/picture.h"

struct zepcPicture {
  struct Note {
    bool is_damage;
    int64_t offset;
    std::string text;
  };
  zepcodec::Picture pixels;  // of width 0 where there are none
  bool is_bgr = false;
  zepcodec::Metadata metadata;
  std::vector<Note> notes;  // damage first
};

#endif  // ZEPJP_CODECS_API_PICTURE_H_
