// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report_html.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "tools/zepconvert/text.h"

namespace zepconvert {

std::string Escape(const std::string& text) {
  std::string out;
  for (const char c : Printable(text)) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string Address(const std::string& path) {
  // A colon in the first part would end the name of a protocol.
  std::string out = path.empty() || path[0] == '/' ? "" : "./";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80 && (std::isalnum(byte) != 0 || std::strchr("/-._~", c) != nullptr)) {
      out += c;
    } else {
      char code[8];
      std::snprintf(code, sizeof(code), "%%%02X", static_cast<unsigned>(byte));
      out += code;
    }
  }
  return out;
}

std::string InputName(const std::string& path) {
  return Escape(std::filesystem::path(ShownInput(path)).filename().string());
}

std::string OutputName(const std::string& path) {
  return Escape(std::filesystem::path(ShownOutput(path)).filename().string());
}

std::string Element(const std::string& tag, const std::string& content) {
  return "<" + tag + ">" + content + "</" + tag.substr(0, tag.find(' ')) + ">";
}

std::string Decibels(double psnr) {
  return std::isinf(psnr) ? "identical" : Number(psnr, 2) + " dB";
}

std::string Joined(const std::vector<std::string>& words) {
  std::string list;
  for (const std::string& word : words) list += (list.empty() ? "" : ", ") + word;
  return list;
}

}  // namespace zepconvert
