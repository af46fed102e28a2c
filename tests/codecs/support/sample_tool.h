// SPDX-License-Identifier: MIT
// What the programs share that run a codec for tests beside other implementations:
//
//   TOOL decode|encode FROM TO [KEY=VALUE...]
//   TOOL serve
//
// serve takes such commands as lines of words from standard input, and prints "end N" after the
// output of each, where N is 0 for success: a process for each command takes longer than most
// commands.
#ifndef ZEPJP_TESTS_CODECS_SUPPORT_SAMPLE_TOOL_H_
#define ZEPJP_TESTS_CODECS_SUPPORT_SAMPLE_TOOL_H_

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "codecs/support/status.h"

namespace sample_tool {

using Bytes = std::vector<uint8_t>;
using Settings = std::map<std::string, std::string>;

inline Bytes ReadAll(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  if (!file) {
    std::fprintf(stderr, "%s cannot be read\n", name.c_str());
    std::exit(2);
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void WriteAll(const std::string& name, const uint8_t* data, size_t size) {
  std::ofstream file(name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

inline int Number(const Settings& settings, const std::string& key, int otherwise) {
  const auto found = settings.find(key);
  return found == settings.end() ? otherwise : std::atoi(found->second.c_str());
}

// "64x32,16x8" as pairs.
inline std::vector<std::pair<int, int>> Pairs(const Settings& settings, const std::string& key) {
  std::vector<std::pair<int, int>> pairs;
  const auto found = settings.find(key);
  if (found == settings.end()) return pairs;
  std::istringstream text(found->second);
  std::string item;
  while (std::getline(text, item, ',')) {
    pairs.emplace_back(std::atoi(item.c_str()), std::atoi(item.c_str() + item.find('x') + 1));
  }
  return pairs;
}

inline int Fail(const zepcodec::Status& status) {
  std::fprintf(stderr, "%s\n", status.text().c_str());
  return 1;
}

using Command = int (*)(const std::string& from, const std::string& to, const Settings& settings);

struct Commands {
  Command decode, encode;
};

// `words` are a command without the name of the program.
inline int Do(const std::vector<std::string>& words, const Commands& commands) {
  if (words.size() < 3 || (words[0] != "decode" && words[0] != "encode")) {
    std::fprintf(stderr, "decode|encode FROM TO [KEY=VALUE...]\n");
    return 2;
  }
  Settings settings;
  for (size_t i = 3; i < words.size(); ++i) {
    const std::string& text = words[i];
    const size_t equals = text.find('=');
    settings[text.substr(0, equals)] = equals == std::string::npos ? "" : text.substr(equals + 1);
  }
  const Command command = words[0] == "decode" ? commands.decode : commands.encode;
  return command(words[1], words[2], settings);
}

inline int Serve(const Commands& commands) {
  std::string line;
  while (std::getline(std::cin, line)) {
    std::istringstream text(line);
    const std::vector<std::string> words{std::istream_iterator<std::string>(text), {}};
    std::printf("end %d\n", Do(words, commands));
    std::fflush(stdout);
  }
  return 0;
}

inline int Main(int argc, char** argv, Command decode, Command encode) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  const bool serves = words.size() == 1 && words[0] == "serve";
  return serves ? Serve({decode, encode}) : Do(words, {decode, encode});
}

}  // namespace sample_tool

#endif  // ZEPJP_TESTS_CODECS_SUPPORT_SAMPLE_TOOL_H_
