// SPDX-License-Identifier: MIT
// Usual options for a purpose, under one name.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PRESETS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PRESETS_H_

#include <string>
#include <vector>

namespace zepconvert {

struct PresetOption {
  const char* name;   // without dashes
  const char* value;  // of a flag: "true"
  const char* reason;
};

struct Preset {
  const char* name;
  const char* purpose;
  const char* to;  // the format, unless the command line names one
  std::vector<PresetOption> options;
};

// The one of this name, which CheckPreset() knows.
const Preset& PresetOf(const std::string& name);
std::vector<std::string> PresetNames();
// "a, b or c"
std::string PresetsInWords();
// Empty, or why there is no such preset.
std::string CheckPreset(const std::string& name);
// What all of them mean.
std::string PresetsHelp();

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PRESETS_H_
