// SPDX-License-Identifier: MIT
// The table of options, for texts that are made from it.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_OPTION_FACTS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_OPTION_FACTS_H_

#include <string>
#include <vector>

#include "tools/zepconvert/options.h"

namespace zepconvert {

struct OptionFacts {
  std::vector<std::string> short_names;  // "q"
  std::vector<std::string> long_names;   // "quality"
  std::string value;                     // as in --help: "1-100"; of a flag empty
  std::string description;
  std::vector<std::string> words;  // the values, if they are words
  bool takes_list = false;         // of words, with commas between

  bool IsFlag() const { return value.empty(); }
  bool TakesFile() const { return value == "FILE"; }
  bool TakesDirectory() const { return value == "DIR"; }
  // "-q", "--quality"
  std::vector<std::string> Names() const;
};

struct OptionGroup {
  std::string name;
  std::vector<OptionFacts> options;
};

// In the order of --help.
std::vector<OptionGroup> OptionGroups(const Options& options);

std::string Joined(const std::vector<std::string>& words, const std::string& separator);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_OPTION_FACTS_H_
