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
// Terminals are slow, and nobody reads faster.
constexpr double kSecondsBetweenBars = 0.1;
// Before, a single picture gets no bar, and a rate would not mean much.
constexpr double kLongSeconds = 1;

// "45 s", "3 min", "2 h 5 min"
std::string Duration(double seconds) {
  const auto whole = static_cast<int64_t>(std::ceil(seconds));
  if (whole < 90) return std::to_string(whole) + " s";
  const int64_t minutes = (whole + 30) / 60;
  if (minutes < 60) return std::to_string(minutes) + " min";
  return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min";
}

}  // namespace

Console::Console(size_t steps, bool quiet)
    : steps_(steps), can_draw_(!quiet && isatty(STDERR_FILENO) != 0) {
  if (steps > 1) Draw(0);
}

Console::~Console() {
  if (has_bar_) Clear();
}

void Console::Say(const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (has_bar_) Clear();
  std::fprintf(stderr, "zepconvert: %s\n", Printable(text).c_str());
  if (has_bar_) Draw(SecondsSoFar());
}

void Console::Advance(double part) {
  const std::lock_guard<std::mutex> lock(mutex_);
  done_ += part;
  const double seconds = SecondsSoFar();
  if (IsDue(seconds)) Draw(seconds);
}

bool Console::IsDue(double seconds) {
  if (steps_ == 1 && seconds < kLongSeconds) return false;
  const bool is_last = done_ + kRounding >= static_cast<double>(steps_);
  return is_last ? has_bar_ : !has_bar_ || seconds - drawn_at_ >= kSecondsBetweenBars;
}

std::string Console::Progress(double seconds) const {
  const double part = (done_ + kRounding) / static_cast<double>(steps_);
  std::string text =
      steps_ > 1 ? Number(std::floor(done_ + kRounding), 0) + " of " + std::to_string(steps_)
                 : Number(std::floor(100 * part), 0) + " %";
  if (seconds < kLongSeconds || done_ < kRounding) return text;
  if (steps_ > 1)
    text += ", " + Number(done_ / seconds, done_ < 10 * seconds ? 1 : 0) + " a second";
  if (part < 1) text += ", " + Duration(seconds / part - seconds) + " left";
  return text;
}

void Console::Draw(double seconds) {
  if (!can_draw_) return;
  has_bar_ = true;
  drawn_at_ = seconds;
  constexpr size_t kWidth = 32;
  const double part = (done_ + kRounding) / static_cast<double>(steps_);
  const size_t filled = std::min(static_cast<size_t>(part * kWidth), kWidth);
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  // The code after the text clears the rest of a longer line before.
  std::fprintf(stderr, "\r[%s] %s\x1B[K", bar.c_str(), Progress(seconds).c_str());
}

void Console::Clear() { std::fprintf(stderr, "\r\x1B[K"); }

double Console::SecondsSoFar() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

}  // namespace zepconvert
