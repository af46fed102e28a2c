// SPDX-License-Identifier: MIT
#include "tools/zepconvert/console.h"

#include <unistd.h>

#include <cstdio>

#include "tools/zepconvert/text.h"

namespace zepconvert {

Console::Console(size_t steps, bool quiet)
    : steps_(steps), has_bar_(!quiet && steps > 1 && isatty(STDERR_FILENO) != 0) {
  if (has_bar_) Draw();
}

Console::~Console() {
  if (has_bar_) Clear();
}

void Console::Say(const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (has_bar_) Clear();
  std::fprintf(stderr, "zepconvert: %s\n", Printable(text).c_str());
  if (has_bar_) Draw();
}

void Console::Step() {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++done_;
  if (has_bar_) Draw();
}

void Console::Draw() {
  constexpr size_t kWidth = 40;
  const size_t filled = done_ * kWidth / steps_;
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  std::fprintf(stderr, "\r[%s] %zu of %zu", bar.c_str(), done_, steps_);
}

void Console::Clear() { std::fprintf(stderr, "\r\x1B[K"); }

}  // namespace zepconvert
