// SPDX-License-Identifier: MIT
#include "tools/zepconvert/text.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "tools/zepconvert/settings.h"

namespace zepconvert {
namespace {

struct Character {
  uint32_t code = 0;
  size_t bytes = 0;  // 0: not UTF-8
};

// The character at `at`, by the definition of UTF-8: no longer form than needed, no surrogates.
Character Decode(const std::string& text, size_t at) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t first = byte(at);
  if (first < 0x80) return {first, 1};
  const size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() - at < bytes) return {};
  uint32_t code = first & (0x7FU >> bytes);
  for (size_t i = 1; i < bytes; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) return {};
    code = code << 6 | (byte(at + i) & 0x3FU);
  }
  constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  if (code < kLeast[bytes] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return {};
  return {code, bytes};
}

bool IsSafe(const Character& character) {
  const uint32_t code = character.code;
  const bool is_control = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool ends_line = code == 0x2028 || code == 0x2029;
  const bool turns_text = code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
                          (code >= 0x2066 && code <= 0x2069);
  return character.bytes > 0 && !is_control && !ends_line && !turns_text;
}

}  // namespace

std::string Printable(const std::string& text) {
  std::string printable;
  for (size_t at = 0; at < text.size();) {
    const Character character = Decode(text, at);
    const size_t bytes = character.bytes > 0 ? character.bytes : 1;
    if (IsSafe(character)) {
      printable.append(text, at, bytes);
    } else {
      for (size_t i = at; i < at + bytes; ++i) {
        char hex[8];
        std::snprintf(hex, sizeof(hex), "\\x%02X", static_cast<unsigned>(text[i]) & 255U);
        printable += hex;
      }
    }
    at += bytes;
  }
  return printable;
}

std::string ShownInput(const std::string& path) {
  return path == kStandardStream ? "standard input" : path;
}

std::string ShownOutput(const std::string& path) {
  return path == kStandardStream ? "standard output" : path;
}

std::string ShellLine(const std::vector<std::string>& arguments) {
  constexpr char kPlain[] =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./+,:=@%";
  std::string line;
  for (const std::string& argument : arguments) {
    if (!line.empty()) line += ' ';
    if (!argument.empty() && argument.find_first_not_of(kPlain) == std::string::npos) {
      line += argument;
      continue;
    }
    line += '\'';
    for (const char c : argument) line += c == '\'' ? "'\\''" : std::string(1, c);
    line += '\'';
  }
  return line;
}

std::string Number(double value, int digits) {
  char text[64];
  std::snprintf(text, sizeof(text), "%.*f", digits, value);
  return text;
}

}  // namespace zepconvert
