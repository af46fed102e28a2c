// SPDX-License-Identifier: MIT
// Tells what files are and whether they are whole.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_INSPECTION_H_
#define ZEPJP_TOOLS_ZEPCONVERT_INSPECTION_H_

#include <atomic>
#include <string>
#include <vector>

#include "tools/zepconvert/command_line.h"

namespace zepconvert {

struct Inspection {
  std::string path;
  std::string error;  // the file is no picture, or cannot be read
  std::vector<std::string> damage;
  bool was_begun = false;
};

// Writes the findings to standard output, in the order of the files: of Task::kProbe from the
// headers, of Task::kVerify after decoding, for which no picture need fit into memory.
std::vector<Inspection> InspectFiles(const Command& command, const std::atomic<bool>& stop);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_INSPECTION_H_
