// SPDX-License-Identifier: MIT
// What the user asks for, read from the command line.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_COMMAND_LINE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_COMMAND_LINE_H_

#include <optional>
#include <string>
#include <vector>

#include "tools/zepconvert/format.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

enum class Task { kConvert, kProbe, kVerify };

struct Command {
  Task task = Task::kConvert;
  bool prints_json = false;
  Settings settings;
  // Inputs; files and directories.
  std::vector<std::string> inputs;
  bool is_recursive = false;
  // Of conversions: the format of the results.
  Format to = Format::kUnknown;
  std::string output;   // of a single input; empty: the inputs' names, with `ending`
  std::string ending;   // such as ".jpg"
  std::string out_dir;  // empty: beside the inputs
};

// Empty after --help, --help-presets and --version, which print their text. Fails on a wrong
// command line.
std::optional<Command> ReadCommandLine(int argc, char** argv);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_COMMAND_LINE_H_
