// SPDX-License-Identifier: MIT
// What became of the files, in words.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_SUMMARY_H_
#define ZEPJP_TOOLS_ZEPCONVERT_SUMMARY_H_

#include <cstddef>
#include <string>
#include <vector>

#include "tools/zepconvert/conversion.h"

namespace zepconvert {

// "12.3 MB"
std::string Size(size_t bytes);

// "a.jpg -> a.png: 640 x 480, 61.2 kB -> 412.9 kB, 12 ms"
std::string LineAbout(const Result& result);

// A line on standard error about all of them.
void PrintSummary(const std::vector<Result>& results, double seconds);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_SUMMARY_H_
