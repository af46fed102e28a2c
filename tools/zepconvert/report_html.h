// SPDX-License-Identifier: MIT
// Pieces of the report's page.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_REPORT_HTML_H_
#define ZEPJP_TOOLS_ZEPCONVERT_REPORT_HTML_H_

#include <string>
#include <vector>

namespace zepconvert {

// The directory of the pictures, beside the page.
constexpr char kPictureDirectory[] = "zepconvert-report";

// Text for the page.
std::string Escape(const std::string& text);

// A path as the address of a link.
std::string Address(const std::string& path);

// A name for the page: the last part of a path, or "standard input".
std::string InputName(const std::string& path);
std::string OutputName(const std::string& path);

// "<tag>content</tag>"
std::string Element(const std::string& tag, const std::string& content);

std::string Decibels(double psnr);

// "a, b, c"
std::string Joined(const std::vector<std::string>& words);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_REPORT_HTML_H_
