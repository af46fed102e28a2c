// SPDX-License-Identifier: MIT
// A page that shows what was converted.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_REPORT_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_REPORT_H_

#include <string>
#include <vector>

#include "jpeg/status.h"
#include "zepconvert/conversion.h"

namespace zepconvert {

// Writes index.html into the directory, which is made if need be, and the pictures beside it. The
// page needs nothing else: no network, no script.
jpeg::Status WriteReport(const std::string& directory, const std::vector<Result>& results);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_REPORT_H_
