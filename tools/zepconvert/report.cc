// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/png_file.h"
#include "tools/zepconvert/text.h"

namespace zepconvert {
namespace {

namespace fs = std::filesystem;

// Colours that people with colour blindness can tell apart.
constexpr std::array<const char*, kStageCount> kColors = {"#4d4d4d", "#0072b2", "#999999",
                                                          "#e69f00", "#cccccc"};

constexpr char kHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>zepconvert report</title>
<style>
body { font-family: sans-serif; margin: 2em auto; max-width: 75em; padding: 0 1em; }
table { border-collapse: collapse; }
th, td { padding: 0.2em 0.8em; text-align: right; border-bottom: 1px solid #ddd; }
th:first-child, td:first-child { text-align: left; }
.pair { display: flex; gap: 1em; margin: 1em 0 2em; }
.pair figure { flex: 1; margin: 0; min-width: 0; }
.pair img { width: 100%; image-rendering: auto; background: #eee; }
.bad { color: #a00; }
svg text { font-size: 12px; font-family: sans-serif; }
</style>
</head>
<body>
<h1>zepconvert report</h1>
)";

std::string Escape(const std::string& text) {
  std::string out;
  for (const char c : Printable(text)) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string Kilobytes(size_t bytes) { return Number(static_cast<double>(bytes) / 1000, 1); }

std::string Decibels(double psnr) {
  return std::isinf(psnr) ? "identical" : Number(psnr, 2) + " dB";
}

std::string Quality(const Result& result) {
  return result.lossless ? "lossless" : Decibels(result.psnr.all);
}

// "R 40.12 dB, G ..." for more channels than one.
std::string QualityOfChannels(const Result& result) {
  const std::vector<double>& channels = result.psnr.channels;
  constexpr std::array<const char*, 5> kNames = {"", "", "YA", "RGB", "RGBA"};
  if (result.lossless || channels.size() < 2) return Quality(result);
  std::string text = Quality(result) + ":";
  for (size_t i = 0; i < channels.size(); ++i) {
    text +=
        std::string(i == 0 ? " " : ", ") + kNames[channels.size()][i] + " " + Decibels(channels[i]);
  }
  return text;
}

std::string Table(const std::vector<Result>& results) {
  std::string html =
      "<table>\n<tr><th>file</th><th>pixels</th><th>original kB</th><th>result kB</th>"
      "<th>PSNR</th><th>ms</th><th>Mpixel/s</th></tr>\n";
  for (const Result& result : results) {
    html += "<tr><td>" + Escape(fs::path(result.job.input).filename().string()) + "</td>";
    if (!result.ok()) {
      html += "<td colspan=\"6\" class=\"bad\">" + Escape(result.error) + "</td></tr>\n";
      continue;
    }
    const double pixels = static_cast<double>(result.width) * result.height;
    const double seconds = result.TotalSeconds();
    html += "<td>" + std::to_string(result.width) + " x " + std::to_string(result.height) +
            "</td><td>" + Kilobytes(result.input_bytes) + "</td><td>" +
            Kilobytes(result.output_bytes) + "</td><td>" + Quality(result) + "</td><td>" +
            Number(seconds * 1000, 1) + "</td><td>" + Number(pixels / seconds / 1e6, 1) +
            "</td></tr>\n";
  }
  return html + "</table>\n";
}

std::string Rectangle(double x, double y, double width, double height, Stage stage, double ms) {
  return "<rect x=\"" + Number(x, 1) + "\" y=\"" + Number(y, 1) + "\" width=\"" + Number(width, 1) +
         "\" height=\"" + Number(height, 1) + "\" fill=\"" + kColors[stage] + "\"><title>" +
         StageName(stage) + (ms < 0 ? "" : ": " + Number(ms, 2) + " ms") + "</title></rect>\n";
}

std::string Text(double x, double y, const char* anchor, const std::string& text) {
  return "<text x=\"" + Number(x, 1) + "\" y=\"" + Number(y, 1) + "\" text-anchor=\"" + anchor +
         "\">" + Escape(text) + "</text>\n";
}

// A name for the plot, where there is little room: its first characters, each of which is one to
// four bytes.
std::string Shortened(const std::string& name) {
  constexpr int kMost = 34;
  int characters = 0;
  for (size_t i = 0; i < name.size(); ++i) {
    if ((static_cast<unsigned char>(name[i]) & 0xC0) == 0x80) continue;
    if (++characters > kMost) return name.substr(0, i) + "...";
  }
  return name;
}

// Bars of milliseconds a megapixel, so that pictures of different size can be compared.
std::string Plot(const std::vector<const Result*>& results) {
  constexpr double kLeft = 230;
  constexpr double kWidth = 700;
  constexpr double kBar = 20;
  const auto per_megapixel = [](const Result& result, double seconds) {
    return seconds * 1e9 / (static_cast<double>(result.width) * result.height);
  };
  double most = 1e-9;
  for (const Result* result : results) {
    most = std::max(most, per_megapixel(*result, result->TotalSeconds()));
  }
  double y = 10;
  std::string svg;
  for (const Result* result : results) {
    const std::string name = Printable(fs::path(result->job.input).filename().string());
    svg += Text(kLeft - 8, y + 14, "end", Shortened(name));
    double x = kLeft;
    for (int i = 0; i < kStageCount; ++i) {
      const double ms = per_megapixel(*result, result->seconds[static_cast<size_t>(i)]);
      const double width = ms / most * kWidth;
      if (ms > 0) svg += Rectangle(x, y, width, kBar - 4, static_cast<Stage>(i), ms);
      x += width;
    }
    svg += Text(x + 6, y + 14, "start", Number((x - kLeft) / kWidth * most, 1));
    y += kBar;
  }
  y += 14;
  for (int i = 0; i < kStageCount; ++i) {
    const double x = kLeft + 100 * i;
    svg += Rectangle(x, y, 12, 12, static_cast<Stage>(i), -1) +
           Text(x + 18, y + 11, "start", StageName(static_cast<Stage>(i)));
  }
  y += 30;
  return "<h2>Time of each stage, in ms a megapixel</h2>\n<svg viewBox=\"0 0 1000 " + Number(y, 0) +
         "\" width=\"100%\" role=\"img\" aria-label=\"Time of each stage\">\n" + svg + "</svg>\n";
}

// Puts a picture beside the page: as it is where browsers show its format, else as PNG. Returns its
// name there.
std::string PlacePicture(const std::string& path, const fs::path& directory,
                         const std::string& stem) {
  const FileBytes bytes = ReadFile(path, ReadLimits());
  const Format format = FormatOfBytes(bytes.data(), bytes.size());
  const std::string name = stem + (format == Format::kJpeg ? ".jpg" : ".png");
  const std::string target = (directory / name).string();
  if (format == Format::kJpeg || format == Format::kPng) {
    WriteFile(target, bytes, path, true);
  } else {
    const Picture picture = LoadPicture(bytes);
    const zepcLayout layout = picture.image.form().layout;
    WriteFile(target,
              layout == zepcLayoutCmyk
                  ? WritePng(Converted(picture.image, UnsignedForm(zepcLayoutRgb, 8)), Metadata())
                  : WritePng(picture.image, picture.metadata),
              path, true);
  }
  return name;
}

std::string TableOfModes(const std::vector<ModeShare>& modes) {
  std::string html = "<table>\n<tr><th>BC7 mode</th><th>blocks</th><th>PSNR</th></tr>\n";
  for (const ModeShare& mode : modes) {
    html += "<tr><td>" + std::to_string(mode.mode) + "</td><td>" + Number(mode.share * 100, 1) +
            " %</td><td>" + Decibels(mode.psnr) + "</td></tr>\n";
  }
  return html + "</table>\n";
}

std::string Figure(const std::string& file, const std::string& caption) {
  return "<figure><a href=\"" + file + "\"><img src=\"" + file + "\" alt=\"" + Escape(caption) +
         "\" loading=\"lazy\"></a><figcaption>" + Escape(caption) + "</figcaption></figure>\n";
}

// Why the pictures cannot be shown; empty where they can.
std::string ReasonNotToShow(const Result& result) {
  if (result.job.format == Format::kHdr) {
    return "half floats, which browsers do not show";
  }
  // A pipe cannot be read again.
  const bool are_files = IsRegularFile(result.job.input) && IsRegularFile(result.job.output);
  return are_files ? "" : "not a regular file, not shown";
}

std::string Pictures(const Result& result, size_t number, const std::string& directory) {
  const std::string title =
      "<h3>" + Escape(fs::path(result.job.input).filename().string()) + "</h3>\n";
  const std::string reason = ReasonNotToShow(result);
  if (!reason.empty()) return title + "<p>" + reason + "</p>\n";
  const std::string stem = std::to_string(number + 1);
  const std::string original = PlacePicture(result.job.input, directory, stem + "-original");
  const std::string converted = PlacePicture(result.job.output, directory, stem + "-result");
  std::string html = title;
  for (const std::string& warning : result.warnings) {
    html += "<p class=\"bad\">damaged: " + Escape(warning) + "</p>\n";
  }
  for (const std::string& note : result.notes) html += "<p>note: " + Escape(note) + "</p>\n";
  html += "<div class=\"pair\">\n" +
          Figure(original, "original, " + Kilobytes(result.input_bytes) + " kB") +
          Figure(converted,
                 "result, " + Kilobytes(result.output_bytes) + " kB, " + QualityOfChannels(result));
  if (!result.lossless) {
    html += Figure(fs::path(ErrorPicturePath(directory, number)).filename().string(),
                   "errors, times " + std::to_string(kErrorScale));
  }
  html += "</div>\n";
  return result.modes.empty() ? html : html + TableOfModes(result.modes);
}

}  // namespace

void PrepareReport(const std::string& directory) {
  std::error_code error;
  fs::create_directories(directory, error);
  if (error) throw Failure(directory + ": " + error.message());
}

std::string ErrorPicturePath(const std::string& directory, size_t number) {
  return (fs::path(directory) / (std::to_string(number + 1) + "-errors.png")).string();
}

void WriteReport(const std::string& directory, const std::vector<Result>& results) {
  std::vector<const Result*> good;
  for (const Result& result : results) {
    if (result.ok()) good.push_back(&result);
  }
  std::string html = kHead + Table(results);
  if (!good.empty()) html += Plot(good) + "<h2>Pictures</h2>\n";
  for (const Result* result : good) {
    html += Pictures(*result, static_cast<size_t>(result - results.data()), directory);
  }
  html += "</body>\n</html>\n";
  WriteFile((fs::path(directory) / "index.html").string(), Bytes(html.begin(), html.end()), "",
            true);
}

}  // namespace zepconvert
