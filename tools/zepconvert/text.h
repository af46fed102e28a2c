// SPDX-License-Identifier: MIT
// Text that comes from outside, for terminals and pages.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_TEXT_H_
#define ZEPJP_TOOLS_ZEPCONVERT_TEXT_H_

#include <string>
#include <vector>

namespace zepconvert {

// What cannot be printed safely as \xNN for each byte: control characters, which may move the
// cursor or change the terminal, marks that reverse the direction of text, and bytes that are not
// UTF-8.
std::string Printable(const std::string& text);

// Names of files in messages; "-" in words.
std::string ShownInput(const std::string& path);
std::string ShownOutput(const std::string& path);

// Arguments as a shell takes them.
std::string ShellLine(const std::vector<std::string>& arguments);

// With this many digits after the point.
std::string Number(double value, int digits);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_TEXT_H_
