// SPDX-License-Identifier: MIT
// The table of the report: a row for each file, and totals.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_REPORT_TABLE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_REPORT_TABLE_H_

#include <string>
#include <vector>

#include "tools/zepconvert/conversion.h"

namespace zepconvert {

// True where a file was written.
bool IsConverted(const Result& result);

// What became of the pixels: "lossless", or why they are others.
std::string FateOfPixels(const Evidence& evidence);

// Rounded down: only equal pictures have 1.
std::string SsimText(double ssim);

std::string TableOfResults(const std::vector<Result>& results);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_REPORT_TABLE_H_
