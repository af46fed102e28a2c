// SPDX-License-Identifier: MIT
#include "tools/zepconvert/option_facts.h"

namespace zepconvert {
namespace {

OptionFacts FactsOf(const Options& options, const CLI::Option* option) {
  OptionFacts facts;
  facts.short_names = option->get_snames();
  facts.long_names = option->get_lnames();
  facts.value = option->get_option_text();
  facts.description = option->get_description();
  facts.words = options.WordsOf(option);
  facts.takes_list = option->get_delimiter() != '\0';
  return facts;
}

}  // namespace

std::vector<std::string> OptionFacts::Names() const {
  std::vector<std::string> names;
  for (const std::string& name : short_names) names.push_back("-" + name);
  for (const std::string& name : long_names) names.push_back("--" + name);
  return names;
}

std::vector<OptionGroup> OptionGroups(const Options& options) {
  std::vector<OptionGroup> groups;
  for (const std::string& name : options.app().get_groups()) {
    OptionGroup group = {name, {}};
    for (const CLI::Option* option : options.app().get_options()) {
      const bool belongs = option->get_group() == name && !option->get_positional();
      if (belongs) group.options.push_back(FactsOf(options, option));
    }
    if (!group.options.empty()) groups.push_back(std::move(group));
  }
  return groups;
}

std::string Joined(const std::vector<std::string>& words, const std::string& separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

}  // namespace zepconvert
