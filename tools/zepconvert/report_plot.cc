// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report_plot.h"

#include <algorithm>
#include <array>

#include "tools/zepconvert/report_html.h"
#include "tools/zepconvert/report_table.h"
#include "tools/zepconvert/text.h"

namespace zepconvert {
namespace {

// The stages, and the work of libpng, which is not the library's.
constexpr int kPngWork = kStageCount;
constexpr int kKinds = kStageCount + 1;

std::string KindName(int kind) {
  return kind == kPngWork ? "PNG (libpng)" : StageName(static_cast<Stage>(kind));
}

int KindOf(const Result& result, Stage stage) {
  const bool is_png = (stage == kDecode && result.input_format == Format::kPng) ||
                      (stage == kEncode && result.job.format == Format::kPng);
  return is_png ? kPngWork : stage;
}

double PerMegapixel(const Result& result, double seconds) {
  return seconds * 1e9 / (static_cast<double>(result.width) * result.height);
}

std::string Swatch(int kind) { return "<i class=\"kind-" + std::to_string(kind) + "\"></i>"; }

// A part of a bar.
std::string Part(int kind, Stage stage, double ms, double percent) {
  const std::string name =
      kind == kPngWork ? std::string(StageName(stage)) + " " + KindName(kind) : KindName(kind);
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

std::string Legend() {
  // The kinds are in the order of the work, that of libpng at the end.
  std::string html = "<ul class=\"legend\">";
  for (int kind = 0; kind < kKinds; ++kind) {
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
  return "<h2>Time of each stage, in ms per megapixel</h2>\n" + Legend() + "<dl class=\"plot\">\n" +
         bars + "</dl>\n";
}

}  // namespace zepconvert
