// SPDX-License-Identifier: MIT
// A page about the converted files: index.html in a directory, and its pictures in a directory
// below. The page needs nothing else.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_REPORT_H_
#define ZEPJP_TOOLS_ZEPCONVERT_REPORT_H_

#include <string>
#include <vector>

#include "tools/zepconvert/conversion.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// Makes the directories where there are none. Fails where another page than a report would be
// replaced, unless the settings allow that.
void PrepareReport(const Settings& settings);

// How the names of the pictures of the result with this number begin.
std::string ReportStem(const std::string& directory, size_t number);

// What the page tells of the whole run.
struct RunFacts {
  std::string command_line;
  int jobs = 1;     // files at the same time
  int threads = 1;  // for each
  double seconds = 0;
};

// Writes the page, and removes the pictures that only an earlier report had.
void WriteReport(const std::string& directory, const std::vector<Result>& results,
                 const RunFacts& facts);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_REPORT_H_
