// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report_table.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "tools/zepconvert/report_html.h"
#include "tools/zepconvert/summary.h"
#include "tools/zepconvert/text.h"

namespace zepconvert {
namespace {

constexpr std::array<const char*, 13> kColumns = {
    "file",           "from", "to",   "pixels", "original", "result",  "ratio",
    "bits per pixel", "loss", "PSNR", "SSIM",   "time, ms", "Mpixel/s"};

// A cell that is sorted by `value`.
std::string Cell(const std::string& value, const std::string& content) {
  return Element("td data-value=\"" + value + "\"", content);
}

std::string Cell(double value, const std::string& content) {
  if (std::isnan(value)) return Cell("", "&ndash;");
  return Cell(std::isinf(value) ? "Infinity" : Number(value, 9), content);
}

std::string SizeCell(size_t bytes) { return Cell(static_cast<double>(bytes), Size(bytes)); }

// Ratio and bits per pixel.
std::string CellsOfSizes(double pixels, size_t before, size_t after) {
  const double ratio = static_cast<double>(before) / static_cast<double>(after);
  const double bits = static_cast<double>(after) * 8 / pixels;
  return SizeCell(before) + SizeCell(after) + Cell(ratio, Number(ratio, 2)) +
         Cell(bits, Number(bits, 2));
}

std::string CellsOfTime(double pixels, double seconds) {
  const double speed = pixels / std::max(seconds, 1e-9) / 1e6;
  return Cell(seconds, Number(seconds * 1000, 1)) + Cell(speed, Number(speed, 1));
}

double PixelsOf(const Result& result) { return static_cast<double>(result.width) * result.height; }

// Why there is no result; empty: there is one.
std::string ReasonForNone(const Result& result) {
  if (!result.started) return "not begun";
  if (!result.error.empty()) return result.error;
  return result.job.is_left_out ? "left out, the result exists" : "";
}

std::string Row(const Result& result, size_t number) {
  const std::string name = InputName(result.job.input);
  const std::string reason = ReasonForNone(result);
  if (!reason.empty()) {
    return "<tr class=\"bad\"><th scope=\"row\">" + name + "</th><td colspan=\"" +
           std::to_string(kColumns.size() - 1) + "\">" + Escape(reason) + "</td></tr>\n";
  }
  const Evidence& evidence = result.evidence;
  const std::string from = NameOf(result.input_format), to = NameOf(result.job.format);
  const bool is_measured = evidence.not_measured.empty();
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  const double pixels = PixelsOf(result);
  return "<tr><th scope=\"row\" data-value=\"" + name + "\"><a href=\"#picture-" +
         std::to_string(number + 1) + "\">" + name + "</a></th>" + Cell(from, from) + Cell(to, to) +
         Cell(pixels, std::to_string(result.width) + " x " + std::to_string(result.height)) +
         CellsOfSizes(pixels, result.input_bytes, result.output_bytes) +
         Cell(FateOfPixels(evidence), FateOfPixels(evidence)) +
         Cell(is_measured ? evidence.psnr.all : kNone, Decibels(evidence.psnr.all)) +
         Cell(evidence.ssim, SsimText(evidence.ssim)) + CellsOfTime(pixels, result.TotalSeconds()) +
         "</tr>\n";
}

std::string Totals(const std::vector<Result>& results) {
  size_t files = 0, before = 0, after = 0;
  double pixels = 0, seconds = 0;
  constexpr double kMost = std::numeric_limits<double>::infinity();
  double psnr = kMost, ssim = kMost;
  for (const Result& result : results) {
    if (!IsConverted(result)) continue;
    ++files;
    before += result.input_bytes;
    after += result.output_bytes;
    pixels += PixelsOf(result);
    seconds += result.TotalSeconds();
    if (result.evidence.not_measured.empty()) psnr = std::min(psnr, result.evidence.psnr.all);
    if (!std::isnan(result.evidence.ssim)) ssim = std::min(ssim, result.evidence.ssim);
  }
  if (files == 0) return "";
  return "<tfoot><tr><th scope=\"row\">" + std::to_string(files) +
         (files == 1 ? " file" : " files") + "</th><td></td><td></td>" +
         Cell(pixels, Number(pixels / 1e6, 1) + " M") + CellsOfSizes(pixels, before, after) +
         "<td></td>" +
         Element("td", psnr == kMost ? "" : "<small>lowest</small>" + Decibels(psnr)) +
         Element("td", ssim == kMost ? "" : "<small>lowest</small>" + SsimText(ssim)) +
         CellsOfTime(pixels, seconds) + "</tr></tfoot>\n";
}

}  // namespace

bool IsConverted(const Result& result) { return ReasonForNone(result).empty(); }

std::string FateOfPixels(const Evidence& evidence) {
  std::vector<std::string> words = evidence.losses;
  if (!evidence.not_measured.empty()) words.emplace_back("not compared");
  return evidence.is_lossless ? "lossless" : Joined(words);
}

std::string SsimText(double ssim) { return Number(std::floor(ssim * 1e4) / 1e4, 4); }

std::string TableOfResults(const std::vector<Result>& results) {
  std::string html =
      "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"Results\">\n"
      "<table class=\"sortable\">\n<thead><tr>";
  for (const char* const column : kColumns) html += Element("th scope=\"col\"", column);
  html += "</tr></thead>\n<tbody>\n";
  for (size_t i = 0; i < results.size(); ++i) html += Row(results[i], i);
  return html + "</tbody>\n" + Totals(results) + "</table>\n</div>\n";
}

}  // namespace zepconvert
