// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report_plot.h"

#include <algorithm>
#include <array>

#include "tools/zepconvert/report_html.h"
#include "tools/zepconvert/report_table.h"
#include "tools/zepconvert/text.h"

namespace zepconvert {
namespace {

// The stages, and the work of other libraries.
constexpr int kPngWork = kStageCount, kTiffWork = kPngWork + 1, kKindCount = kTiffWork + 1;

std::string KindName(int kind) {
  switch (kind) {
    case kPngWork: return "PNG (libpng)";
    case kTiffWork: return "TIFF (libtiff)";
    default: return StageName(static_cast<Stage>(kind));
  }
}

int KindOf(const Result& result, Stage stage) {
  const Format format = stage == kDecode   ? result.input_format
                        : stage == kEncode ? result.job.format
                                           : Format::kUnknown;
  if (format == Format::kPng) return kPngWork;
  return format == Format::kOtherTiff ? kTiffWork : stage;
}

double PerMegapixel(const Result& result, double seconds) {
  return seconds * 1e9 / (static_cast<double>(result.width) * result.height);
}

std::string Swatch(int kind) { return "<i class=\"kind-" + std::to_string(kind) + "\"></i>"; }

// A part of a bar.
std::string Part(int kind, Stage stage, double ms, double percent) {
  const std::string name =
      kind >= kStageCount ? std::string(StageName(stage)) + " " + KindName(kind) : KindName(kind);
  return "<i class=\"kind-" + std::to_string(kind) + "\" style=\"width:" + Number(percent, 3) +
         "%\" title=\"" + name + ": " + Number(ms, 2) + " ms\"></i>";
}

std::string Bar(const Result& result, double most) {
  std::string parts;
  std::string words;
  for (int i = 0; i < kStageCount; ++i) {
    const auto stage = static_cast<Stage>(i);
    const double ms = PerMegapixel(result, result.seconds[static_cast<size_t>(i)]);
    if (ms <= 0) continue;
    parts += Part(KindOf(result, stage), stage, ms, ms / most * 100);
    words += (words.empty() ? "" : ", ") + std::string(StageName(stage)) + " " + Number(ms, 2);
  }
  return "<dt>" + InputName(result.job.input) + "</dt><dd><span class=\"bar\" role=\"img\" " +
         "aria-label=\"" + words + "\">" + parts + "</span> <b>" +
         Number(PerMegapixel(result, result.TotalSeconds()), 1) + "</b></dd>\n";
}

// The stages in the order of the work, then other libraries that took part.
std::string Legend(const std::vector<Result>& results) {
  std::string html = "<ul class=\"legend\">";
  for (int kind = 0; kind < kKindCount; ++kind) {
    const bool is_used = std::any_of(results.begin(), results.end(), [&](const Result& result) {
      return KindOf(result, kDecode) == kind || KindOf(result, kEncode) == kind;
    });
    if (kind >= kStageCount && !is_used) continue;
    html += "<li>" + Swatch(kind) + Element("span", KindName(kind)) + "</li>";
  }
  return html + "</ul>\n";
}

}  // namespace

std::string PlotOfTimes(const std::vector<Result>& results) {
  double most = 1e-9;
  for (const Result& result : results) {
    if (IsConverted(result)) most = std::max(most, PerMegapixel(result, result.TotalSeconds()));
  }
  std::string bars;
  for (const Result& result : results) {
    if (IsConverted(result)) bars += Bar(result, most);
  }
  return "<h2>Time of each stage, in ms per megapixel</h2>\n" + Legend(results) +
         "<dl class=\"plot\">\n" + bars + "</dl>\n";
}

}  // namespace zepconvert
