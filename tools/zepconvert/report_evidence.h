// SPDX-License-Identifier: MIT
// What a report tells and shows of one conversion.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_REPORT_EVIDENCE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_REPORT_EVIDENCE_H_

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/pixels.h"
#include "tools/zepconvert/settings.h"
#include "tools/zepconvert/texture_modes.h"

namespace zepconvert {

// The pictures of a conversion: whole ones, reduced, and the part with the largest errors.
enum Shown { kOriginal, kResult, kErrors, kOriginalPart, kResultPart, kErrorsPart, kShownCount };

struct Preview {
  std::string name;  // of the file; empty: there is none
  int width = 0;
  int height = 0;
};

struct Evidence {
  // The decoded result has the pixels of the decoded input.
  bool is_lossless = false;
  std::vector<std::string> losses;  // otherwise: why not
  std::string not_measured;         // why there are no numbers; empty: there are
  // The decoded result against the picture that was encoded.
  Psnr psnr;
  double ssim = std::numeric_limits<double>::quiet_NaN();
  int psnr_bits = 8;
  bool has_inks = false;
  bool is_cut_off = false;       // light, shown and measured up to white
  std::vector<ModeShare> modes;  // of BC7 blocks
  std::array<Preview, kShownCount> previews;
  zepcRect part = {};  // the place of the parts
};

// Longer sides of the pictures up to which they are shown as they are.
constexpr int kSmallPicture = 400;

// A conversion that has just been done.
struct Conversion {
  const Settings& settings;
  const Job& job;
  ByteView input;
  ByteView output;
  const Picture& picture;  // as it was encoded; without pixels where coefficients were copied
  bool is_adjusted;        // its pixels may differ from those of the input
};

// Decodes the result, and the input where its pixels are not there any more, compares them, and
// writes the pictures. Their names begin with `stem`, which has a directory.
Evidence Examine(const Conversion& conversion, const std::string& stem);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_REPORT_EVIDENCE_H_
