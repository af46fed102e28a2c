// SPDX-License-Identifier: MIT
// A page that shows what was converted.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_REPORT_H_
#define ZEPJP_TOOLS_ZEPCONVERT_REPORT_H_

#include <string>
#include <vector>

#include "tools/zepconvert/conversion.h"

namespace zepconvert {

// Makes the directory where there is none.
void PrepareReport(const std::string& directory);

// The file in it for the errors of the result with this number.
std::string ErrorPicturePath(const std::string& directory, size_t number);

// Writes index.html into the directory and the pictures beside it. The page needs nothing else: no
// network, no script.
void WriteReport(const std::string& directory, const std::vector<Result>& results);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_REPORT_H_
