// SPDX-License-Identifier: MIT
// What the report's page has besides its contents.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_REPORT_STYLE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_REPORT_STYLE_H_

namespace zepconvert {

extern const char kReportStyle[];
// Sorts the table, and lays original and result over each other. The page is complete without it.
extern const char kReportScript[];

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_REPORT_STYLE_H_
