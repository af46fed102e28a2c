// SPDX-License-Identifier: MIT
// What the headers of a file tell.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_FACTS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_FACTS_H_

#include <cstddef>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

struct Facts {
  Format format = Format::kUnknown;
  size_t bytes = 0;
  int width = 0;
  int height = 0;
  Form form;
  bool is_lossless = true;  // as far as the headers tell
  bool is_progressive = false;
  int scans = 1;   // of progressive JPEG
  int layers = 1;  // of JPEG 2000
  int levels = 0;  // smaller versions
  int tiles_across = 1;
  int tiles_down = 1;
  int pictures = 1;
  Metadata metadata;
  std::string damage;  // that can be seen without decoding
};

// Fails where the file is no picture.
Facts FactsOf(const Settings& settings, ByteView input);

// "JPEG, 640 x 480, RGB, 8 bits, 61.2 kB, EXIF"
std::string Sentence(const Facts& facts);
nlohmann::ordered_json Json(const Facts& facts);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_FACTS_H_
