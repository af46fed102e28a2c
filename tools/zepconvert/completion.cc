// SPDX-License-Identifier: MIT
#include "tools/zepconvert/completion.h"

#include "tools/zepconvert/option_facts.h"

namespace zepconvert {
namespace {

std::vector<OptionFacts> AllOptions(const Options& options) {
  std::vector<OptionFacts> all;
  for (const OptionGroup& group : OptionGroups(options)) {
    all.insert(all.end(), group.options.begin(), group.options.end());
  }
  return all;
}

// In single quotes, for any shell.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    quoted += c == '\'' ? "'\\''" : std::string(1, c);
  }
  return quoted + "'";
}

// bash: a function that fills COMPREPLY. bash splits --name=value at the sign.
class Bash {
 public:
  static std::string Script(const std::vector<OptionFacts>& options) {
    std::string names, cases;
    for (const OptionFacts& option : options) {
      names += " " + Joined(option.Names(), " ");
      if (!option.IsFlag()) {
        cases += "    " + Joined(option.Names(), "|") + ") " + Reply(option) + " return ;;\n";
      }
    }
    return "# bash completion for zepconvert\n"
           "_zepconvert() {\n"
           "  local current=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "  if [[ $current == = ]]; then current=\n"
           "  elif [[ $option == = ]]; then option=${COMP_WORDS[COMP_CWORD - 2]}; fi\n"
           "  COMPREPLY=()\n"
           "  case $option in\n" +
           cases +
           "  esac\n"
           "  if [[ $current == -* ]]; then\n"
           "    mapfile -t COMPREPLY < <(compgen -W '" +
           names.substr(1) +
           "' -- \"$current\")\n"
           "    return\n"
           "  fi\n"
           "  compopt -o filenames\n"
           "  mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
           "}\n"
           "complete -F _zepconvert zepconvert\n";
  }

 private:
  static std::string Reply(const OptionFacts& option) {
    const auto fill = [](const std::string& arguments, const char* word = "$current") {
      return "mapfile -t COMPREPLY < <(compgen " + arguments + " -- \"" + word + "\");";
    };
    if (option.TakesFile()) return "compopt -o filenames; " + fill("-f");
    if (option.TakesDirectory()) return "compopt -o filenames; " + fill("-d");
    if (option.words.empty()) return "";
    const std::string words = "-W '" + Joined(option.words, " ") + "'";
    if (!option.takes_list) return fill(words);
    return "compopt -o nospace; " +
           fill("-P \"${current%\"${current##*,}\"}\" " + words, "${current##*,}");
  }
};

// zsh: arguments of _arguments.
class Zsh {
 public:
  static std::string Script(const std::vector<OptionFacts>& options) {
    std::string lines;
    for (const OptionFacts& option : options) {
      const std::string all = Joined(option.Names(), " ");
      for (const std::string& name : option.Names()) {
        const bool is_long = name[1] == '-';
        const std::string takes_value = option.IsFlag() ? "" : is_long ? "=" : "+";
        lines += "  " +
                 Quoted("(" + all + ")" + name + takes_value + "[" + Escaped(option.description) +
                        "]" + Value(option)) +
                 " \\\n";
      }
    }
    return "#compdef zepconvert\n_arguments -s -S \\\n" + lines + "  '*:file:_files'\n";
  }

 private:
  static std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
      if (c == '[' || c == ']' || c == ':' || c == '\\') escaped += '\\';
      escaped += c;
    }
    return escaped;
  }
  static std::string Value(const OptionFacts& option) {
    if (option.IsFlag()) return "";
    const std::string value = ":" + Escaped(option.value) + ":";
    if (option.TakesFile()) return value + "_files";
    if (option.TakesDirectory()) return value + "_files -/";
    const std::string words = Joined(option.words, " ");
    if (option.takes_list) return value + "_values -s , value " + words;
    return words.empty() ? value + " " : value + "(" + words + ")";
  }
};

// fish: a call of `complete` for each option.
class Fish {
 public:
  static std::string Script(const std::vector<OptionFacts>& options) {
    std::string lines = "# fish completion for zepconvert\n";
    for (const OptionFacts& option : options) {
      lines += "complete -c zepconvert";
      for (const std::string& name : option.short_names) lines += " -s " + name;
      for (const std::string& name : option.long_names) lines += " -l " + name;
      lines += Value(option) + " -d " + Quoted(option.description) + "\n";
    }
    return lines;
  }

 private:
  static std::string Value(const OptionFacts& option) {
    if (option.IsFlag()) return "";
    if (option.TakesFile()) return " -r -F";
    if (option.TakesDirectory()) return " -x -a '(__fish_complete_directories)'";
    if (option.words.empty()) return " -x";
    const std::string words = Joined(option.words, " ");
    return option.takes_list ? " -x -a '(__fish_append , " + words + ")'"
                             : " -x -a '" + words + "'";
  }
};

struct Shell {
  const char* name;
  std::string (*script)(const std::vector<OptionFacts>& options);
};
constexpr Shell kShells[] = {{"bash", Bash::Script}, {"zsh", Zsh::Script}, {"fish", Fish::Script}};

}  // namespace

std::vector<std::string> CompletedShells() {
  std::vector<std::string> names;
  for (const Shell& shell : kShells) names.emplace_back(shell.name);
  return names;
}

std::string CompletionFor(const std::string& name, const Options& options) {
  for (const Shell& shell : kShells) {
    if (shell.name == name) return shell.script(AllOptions(options));
  }
  return "";
}

}  // namespace zepconvert
