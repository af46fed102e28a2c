// SPDX-License-Identifier: MIT
// The manual page of the program, made from its table of options.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_MANUAL_H_
#define ZEPJP_TOOLS_ZEPCONVERT_MANUAL_H_

#include <string>

#include "tools/zepconvert/options.h"

namespace zepconvert {

// For man(1), in the language of roff.
std::string ManualPage(const Options& options);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_MANUAL_H_
