// SPDX-License-Identifier: MIT
#include "tools/zepconvert/summary.h"

#include <cstdint>
#include <cstdio>

#include "tools/zepconvert/text.h"

namespace zepconvert {
namespace {

std::string Seconds(double seconds) {
  return seconds < 1 ? Number(seconds * 1000, 0) + " ms" : Number(seconds, 1) + " s";
}

std::string Files(int count) { return std::to_string(count) + (count == 1 ? " file" : " files"); }

}  // namespace

std::string Size(size_t bytes) {
  const auto size = static_cast<double>(bytes);
  if (size < 1e3) return std::to_string(bytes) + " bytes";
  if (size < 1e6) return Number(size / 1e3, 1) + " kB";
  return size < 1e9 ? Number(size / 1e6, 1) + " MB" : Number(size / 1e9, 2) + " GB";
}

std::string LineAbout(const Result& result) {
  const std::string names = ShownInput(result.job.input) + " -> " + ShownOutput(result.job.output);
  if (result.job.is_left_out) return names + ": left out, it exists";
  return names + ": " + std::to_string(result.width) + " x " + std::to_string(result.height) +
         ", " + Size(result.input_bytes) + " -> " + Size(result.output_bytes) + ", " +
         Seconds(result.TotalSeconds());
}

void PrintSummary(const std::vector<Result>& results, double seconds) {
  int converted = 0;
  int damaged = 0;
  int failed = 0;
  int left_out = 0;
  int not_started = 0;
  size_t before = 0;
  size_t after = 0;
  for (const Result& result : results) {
    if (!result.started) {
      ++not_started;
    } else if (!result.ok()) {
      ++failed;
    } else if (result.job.is_left_out) {
      ++left_out;
    } else {
      ++converted;
      damaged += result.warnings.empty() ? 0 : 1;
      before += result.input_bytes;
      after += result.output_bytes;
    }
  }
  std::string text = Files(converted) + " converted";
  if (converted > 0) text += " in " + Seconds(seconds) + ", " + Size(before) + " -> " + Size(after);
  if (damaged > 0) text += ", " + std::to_string(damaged) + " of them damaged";
  if (left_out > 0) text += ", " + std::to_string(left_out) + " left out (existing)";
  if (failed > 0) text += ", " + std::to_string(failed) + " failed";
  if (not_started > 0) text += ", " + std::to_string(not_started) + " not begun";
  std::fprintf(stderr, "zepconvert: %s\n", text.c_str());
}

}  // namespace zepconvert
