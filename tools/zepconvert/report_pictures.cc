// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report_pictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <system_error>

#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/report_html.h"
#include "tools/zepconvert/report_table.h"
#include "tools/zepconvert/summary.h"
#include "tools/zepconvert/text.h"

namespace zepconvert {
namespace {

namespace fs = std::filesystem;

// The text, as a link where the file is a regular one.
std::string LinkTo(const std::string& path, const std::string& text, const std::string& directory) {
  if (!IsRegularFile(path)) return text;
  std::error_code error;
  const fs::path from = fs::canonical(directory, error);
  const fs::path to = error ? fs::path() : fs::absolute(path, error).lexically_normal();
  if (error) return text;
  return Element("a href=\"" + Address(to.lexically_relative(from).string()) + "\"", text);
}

// "R 40.12 dB, G ..." for more channels than one.
std::string PsnrOfChannels(const Evidence& evidence) {
  const std::vector<double>& channels = evidence.psnr.channels;
  const bool has_inks = channels.size() == 4 && evidence.has_inks;
  constexpr std::array<const char*, 5> kNames = {"", "", "YA", "RGB", "RGBA"};
  const char* const names = has_inks ? "CMYK" : kNames[channels.size()];
  std::string text = "PSNR " + Decibels(evidence.psnr.all);
  if (channels.size() < 2 || std::isinf(evidence.psnr.all)) return text;
  for (size_t i = 0; i < channels.size(); ++i) {
    text += std::string(i == 0 ? ": " : ", ") + names[i] + " " + Decibels(channels[i]);
  }
  return text;
}

std::string Measured(const Evidence& evidence) {
  std::string text = FateOfPixels(evidence);
  if (!evidence.not_measured.empty()) {
    text += ": " + evidence.not_measured;
  } else if (!evidence.is_lossless) {
    text += "; " + PsnrOfChannels(evidence);
    if (evidence.psnr_bits != 8) text += ", of " + std::to_string(evidence.psnr_bits) + " bits";
    if (!std::isnan(evidence.ssim)) text += "; SSIM " + SsimText(evidence.ssim);
  }
  return evidence.is_cut_off ? text + "; light is cut off at white here" : text;
}

std::string TableOfModes(const std::vector<ModeShare>& modes) {
  std::string html =
      "<table>\n<thead><tr><th>BC7 mode</th><th>blocks</th><th>PSNR</th></tr></thead>\n<tbody>\n";
  for (const ModeShare& mode : modes) {
    html += "<tr><td>" + std::to_string(mode.mode) + "</td><td>" + Number(mode.share * 100, 1) +
            " %</td><td>" + Decibels(mode.psnr) + "</td></tr>\n";
  }
  return html + "</tbody></table>\n";
}

std::string Figure(const Preview& preview, const char* kind, const std::string& caption) {
  if (preview.name.empty()) return "";
  // Very long pictures get margins.
  const double ratio = std::clamp(static_cast<double>(preview.width) / preview.height, 0.5, 4.0);
  return std::string("<figure class=\"") + kind +
         "\"><div class=\"frame\" style=\"aspect-ratio:" + Number(ratio, 4) + "\"><img src=\"" +
         kPictureDirectory + "/" + preview.name + "\" width=\"" + std::to_string(preview.width) +
         "\" height=\"" + std::to_string(preview.height) + "\" alt=\"" + caption +
         "\" loading=\"lazy\"></div><figcaption>" + caption + "</figcaption></figure>\n";
}

// Original, result and errors beside each other. The script lays them over each other.
std::string View(const Evidence& evidence, Shown first, const std::string& more_classes) {
  const auto preview = [&](int i) { return evidence.previews[static_cast<size_t>(first + i)]; };
  const bool is_alone = preview(1).name.empty();
  const std::string original =
      is_alone && evidence.is_lossless ? "original and result" : "original";
  const std::string figures = Figure(preview(0), "original", original) +
                              Figure(preview(1), "result", "result") +
                              Figure(preview(2), "errors", "errors, times 8");
  return figures.empty() ? "" : "<div class=\"view" + more_classes + "\">\n" + figures + "</div>\n";
}

std::string Views(const Evidence& evidence) {
  const Preview& whole = evidence.previews[kOriginal];
  const bool is_small = std::max(whole.width, whole.height) <= kSmallPicture;
  std::string html = View(evidence, kOriginal, is_small ? " exact" : "");
  if (evidence.previews[kOriginalPart].name.empty()) return html;
  const zepcRect& part = evidence.part;
  return html + "<h4>The largest errors, in full resolution: " + std::to_string(part.width) +
         " x " + std::to_string(part.height) + " pixels from x = " + std::to_string(part.x) +
         ", y = " + std::to_string(part.y) + "</h4>\n" + View(evidence, kOriginalPart, " exact");
}

}  // namespace

std::string SectionOfPictures(const Result& result, size_t number, const std::string& directory) {
  const Evidence& evidence = result.evidence;
  const std::string name = InputName(result.job.input);
  std::string html =
      "<section id=\"picture-" + std::to_string(number + 1) + "\">\n<h3>" + name + "</h3>\n<p>" +
      LinkTo(result.job.input, name + ", " + Size(result.input_bytes), directory) + " &rarr; " +
      LinkTo(result.job.output, OutputName(result.job.output) + ", " + Size(result.output_bytes),
             directory) +
      "; " + Measured(evidence) + "</p>\n";
  for (const std::string& warning : result.warnings) {
    html += "<p class=\"bad\">damaged: " + Escape(warning) + "</p>\n";
  }
  for (const std::string& note : result.notes) html += "<p>note: " + Escape(note) + "</p>\n";
  html += Views(evidence);
  if (!evidence.modes.empty()) html += TableOfModes(evidence.modes);
  return html + "</section>\n";
}

}  // namespace zepconvert
