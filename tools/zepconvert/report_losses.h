// SPDX-License-Identifier: MIT
// Why a result does not have the pixels of its input.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_REPORT_LOSSES_H_
#define ZEPJP_TOOLS_ZEPCONVERT_REPORT_LOSSES_H_

#include <string>
#include <vector>

#include "tools/zepconvert/facts.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// What changed between the file, whose headers tell `facts`, and the picture that was encoded;
// empty: nothing. `input` is the picture as it was loaded, and may hold `encoded` itself.
std::vector<std::string> LossesBeforeCoding(const Settings& settings, Format format,
                                            const Facts& facts, const Picture& input,
                                            const Image& encoded);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_REPORT_LOSSES_H_
