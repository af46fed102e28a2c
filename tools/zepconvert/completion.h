// SPDX-License-Identifier: MIT
// Scripts that complete command lines of the program, made from its table of options.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_COMPLETION_H_
#define ZEPJP_TOOLS_ZEPCONVERT_COMPLETION_H_

#include <string>
#include <vector>

#include "tools/zepconvert/options.h"

namespace zepconvert {

// "bash", "zsh", "fish"
std::vector<std::string> CompletedShells();

// The script for one of them.
std::string CompletionFor(const std::string& shell, const Options& options);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_COMPLETION_H_
