// SPDX-License-Identifier: MIT
#include "tools/zepconvert/presets.h"

#include <algorithm>

namespace zepconvert {
namespace {

const std::vector<Preset>& Presets() {
  static const std::vector<Preset> presets = {
      {"web",
       "photographs for pages: small files that appear early",
       "jpg",
       {{"quality", "80", "losses that few people see"},
        {"progressive", "true", "a coarse picture appears first, and the file gets smaller"},
        {"auto-orient", "true", "programs that ignore the orientation show it right too"},
        {"metadata", "profile", "the colours stay right, the place of a photograph is not told"}}},
      {"archive",
       "pictures to keep: every bit and all metadata, in an open standard",
       "jp2",
       {{"lossless", "true", "the same samples come back"},
        {"metadata", "all", "EXIF data, colour profile and XMP stay"}}},
      {"gpu-texture",
       "textures for graphics processors: fixed size, good quality",
       "dds",
       {{"format", "bc7", "the best quality of 8 bits a pixel"},
        {"mipmaps", "true", "smaller levels for objects that are far away"},
        {"dds-header", "dx10", "names the format as current programs expect it"}}}};
  return presets;
}

std::string Written(const PresetOption& option) {
  const std::string name = std::string("--") + option.name;
  return std::string(option.value) == "true" ? name : name + " " + option.value;
}

}  // namespace

const Preset& PresetOf(const std::string& name) {
  return *std::find_if(Presets().begin(), Presets().end(),
                       [&](const Preset& preset) { return preset.name == name; });
}

std::vector<std::string> PresetNames() {
  std::vector<std::string> names;
  for (const Preset& preset : Presets()) names.emplace_back(preset.name);
  return names;
}

std::string PresetsInWords() {
  const std::vector<std::string> names = PresetNames();
  std::string list;
  for (const std::string& name : names) {
    if (!list.empty()) list += &name == &names.back() ? " or " : ", ";
    list += name;
  }
  return list;
}

std::string CheckPreset(const std::string& name) {
  const bool is_known = std::any_of(Presets().begin(), Presets().end(),
                                    [&](const Preset& preset) { return preset.name == name; });
  return is_known ? "" : name + " is none of " + PresetsInWords();
}

std::string PresetsHelp() {
  std::string text =
      "A preset stands for the options below it. Options on the command line go before it, and\n"
      "those that the format of the result does not know are left out.\n";
  for (const Preset& preset : Presets()) {
    text += std::string("\n") + preset.name + ": " + preset.purpose + "\n";
    std::vector<PresetOption> options = {{"to", preset.to, "unless a result is named"}};
    options.insert(options.end(), preset.options.begin(), preset.options.end());
    for (const PresetOption& option : options) {
      std::string line = "  " + Written(option);
      line.resize(std::max<size_t>(line.size() + 1, 24), ' ');
      text += line + option.reason + "\n";
    }
  }
  return text;
}

}  // namespace zepconvert
