// SPDX-License-Identifier: MIT
#include "tools/zepconvert/manual.h"

#include <cctype>

#include "tools/zepconvert/option_facts.h"
#include "tools/zepconvert/presets.h"
#include "tools/zepconvert/usage.h"
#include "zepcodec.h"

namespace zepconvert {
namespace {

// Text that roff prints as it is.
std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    const bool starts_line = escaped.empty() || escaped.back() == '\n';
    if (starts_line && (c == '.' || c == '\'')) escaped += "\\&";
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string Bold(const std::string& text) { return "\\fB" + Escaped(text) + "\\fR"; }
std::string Italic(const std::string& text) { return "\\fI" + Escaped(text) + "\\fR"; }

std::string Section(const std::string& name) { return ".SH " + name + "\n"; }

std::string Sentence(std::string text) {
  text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
  return Escaped(text + ".") + "\n";
}

std::string Describe(const OptionFacts& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.Names()) names.push_back(Bold(name));
  std::string text = ".TP\n" + Joined(names, ", ");
  if (!option.IsFlag()) text += " " + Italic(option.value);
  return text + "\n" + Sentence(option.description);
}

// Lines without filling.
std::string Verbatim(const std::string& lines) {
  return ".PP\n.nf\n.RS 4\n" + Escaped(lines) + ".RE\n.fi\n";
}

}  // namespace

std::string ManualPage(const Options& options) {
  std::string page = std::string(".TH ZEPCONVERT 1 \"\" \"zepconvert ") + zepcVersion() + "\"\n";
  page += Section("NAME") +
          "zepconvert \\- convert pictures between the JPEG standards, PNG, TIFF, "
          "PNM and DDS\n";
  page += Section("SYNOPSIS");
  for (const char* usage : kUsages) page += Bold("zepconvert") + " " + Escaped(usage) + "\n.br\n";
  page += Section("DESCRIPTION") + Escaped(kPurpose) + "\n";
  page += Escaped(
      "The names of files tell the formats of results, their first bytes those of inputs. The "
      "name - is standard input or output.\n");
  page += Section("OPTIONS");
  for (const OptionGroup& group : OptionGroups(options)) {
    page += ".SS " + Escaped(group.name) + "\n";
    for (const OptionFacts& option : group.options) page += Describe(option);
  }
  page += Section("PRESETS") + Verbatim(PresetsHelp());
  page += Section("EXAMPLES");
  std::string examples;
  for (const char* example : kExamples) examples += std::string(example) + "\n";
  page += Verbatim(examples);
  page += Section("EXIT STATUS") + Sentence(kExitCodes);
  return page;
}

}  // namespace zepconvert
