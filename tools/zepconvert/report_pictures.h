// SPDX-License-Identifier: MIT
// The pictures of the report, and what there is to say about each.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_REPORT_PICTURES_H_
#define ZEPJP_TOOLS_ZEPCONVERT_REPORT_PICTURES_H_

#include <string>

#include "tools/zepconvert/conversion.h"

namespace zepconvert {

// `number` counts from 0. Links lead from `directory`, that of the page.
std::string SectionOfPictures(const Result& result, size_t number, const std::string& directory);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_REPORT_PICTURES_H_
