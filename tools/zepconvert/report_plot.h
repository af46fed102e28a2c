// SPDX-License-Identifier: MIT
// The plot of the report: the time of each stage.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_REPORT_PLOT_H_
#define ZEPJP_TOOLS_ZEPCONVERT_REPORT_PLOT_H_

#include <string>
#include <vector>

#include "tools/zepconvert/conversion.h"

namespace zepconvert {

// Bars of milliseconds per megapixel, so that pictures of different size can be compared.
std::string PlotOfTimes(const std::vector<Result>& results);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_REPORT_PLOT_H_
