// SPDX-License-Identifier: MIT
#include "tools/zepconvert/console.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/zepconvert/text.h"

namespace zepconvert {
namespace {

constexpr double kRounding = 1e-6;  // of sums of parts

}  // namespace

Console::Console(size_t steps, bool quiet)
    : steps_(steps), can_draw_(!quiet && isatty(STDERR_FILENO) != 0) {
  if (steps > 1) Draw();
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

void Console::Advance(double part) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const int before = Percent();
  done_ += part;
  const bool is_long = steps_ > 1 || done_ < 1;
  if (is_long && Percent() != before) Draw();
}

int Console::Percent() const {
  return static_cast<int>(100 * (done_ + kRounding) / static_cast<double>(steps_));
}

void Console::Draw() {
  if (!can_draw_) return;
  has_bar_ = true;
  constexpr size_t kWidth = 40;
  const size_t filled = std::min(static_cast<size_t>(Percent()) * kWidth / 100, kWidth);
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  if (steps_ > 1) {
    std::fprintf(stderr, "\r[%s] %.0f of %zu", bar.c_str(), std::floor(done_ + kRounding), steps_);
  } else {
    std::fprintf(stderr, "\r[%s] %d %%", bar.c_str(), Percent());
  }
}

void Console::Clear() { std::fprintf(stderr, "\r\x1B[K"); }

}  // namespace zepconvert
