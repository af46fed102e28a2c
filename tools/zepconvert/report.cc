// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <system_error>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/report_html.h"
#include "tools/zepconvert/report_pictures.h"
#include "tools/zepconvert/report_plot.h"
#include "tools/zepconvert/report_style.h"
#include "tools/zepconvert/report_table.h"
#include "tools/zepconvert/text.h"
#include "zepcodec.h"

namespace zepconvert {
namespace {

namespace fs = std::filesystem;

// By this a page is known to be a report.
constexpr char kMark[] = R"(<meta name="generator" content="zepconvert">)";

fs::path PagePath(const fs::path& directory) { return directory / "index.html"; }

// Of a regular file; empty where there is none.
std::string TextOf(const fs::path& path) {
  if (!IsRegularFile(path.string())) return "";
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool IsReport(const std::string& page) {
  constexpr size_t kHead = 1024;
  return page.substr(0, kHead).find(kMark) != std::string::npos;
}

// The names of the pictures in the report that the directory holds.
std::set<std::string> PicturesOfReport(const fs::path& directory) {
  std::set<std::string> names;
  const std::string page = TextOf(PagePath(directory));
  if (!IsReport(page)) return names;
  const std::regex picture(std::string("src=\"") + kPictureDirectory +
                           "/([0-9]+-(original|result|errors)(-part)?\\.(png|jpg))\"");
  for (std::sregex_iterator found(page.begin(), page.end(), picture), end; found != end; ++found) {
    names.insert((*found)[1]);
  }
  return names;
}

void RemovePictures(const fs::path& directory, std::set<std::string> names,
                    const std::vector<Result>& results) {
  for (const Result& result : results) {
    for (const Preview& preview : result.evidence.previews) names.erase(preview.name);
  }
  for (const std::string& name : names) {
    const fs::path path = directory / kPictureDirectory / name;
    std::error_code none;
    if (fs::is_regular_file(fs::symlink_status(path, none))) fs::remove(path, none);
  }
}

std::string Processor() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    const size_t colon = line.find(": ");
    if (line.rfind("model name", 0) == 0 && colon != std::string::npos) {
      return line.substr(colon + 2);
    }
  }
  return "unknown";
}

std::string Date() {
  const std::time_t now = std::time(nullptr);
  std::tm parts = {};
  char text[64];
  if (localtime_r(&now, &parts) == nullptr) return "unknown";
  return {text, std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S %z", &parts)};
}

std::string Facts(const RunFacts& facts) {
  const auto fact = [](const std::string& name, const std::string& value) {
    return Element("dt", name) + Element("dd", Escape(value)) + "\n";
  };
  return "<dl class=\"facts\">\n" + fact("command", facts.command_line) +
         fact("version", std::string("zepconvert ") + zepcVersion()) +
         fact("processor", Processor()) +
         fact("at the same time", "jobs: " + std::to_string(facts.jobs) +
                                      ", threads for each: " + std::to_string(facts.threads)) +
         fact("date", Date()) + fact("time", Number(facts.seconds, 2) + " s, with the report") +
         "</dl>\n";
}

constexpr char kExplanation[] =
    "<p>Loss: &ldquo;lossless&rdquo; results have all pixels of the decoded input. PSNR and SSIM "
    "compare the picture that was encoded with the result, decoded again by zepconvert. PSNR is "
    "over all samples, SSIM of the luma in windows of 8 x 8 pixels.</p>\n";

}  // namespace

void PrepareReport(const Settings& settings) {
  const fs::path directory = settings.report_directory;
  const fs::path page = PagePath(directory);
  std::error_code error;
  const bool exists = fs::symlink_status(page, error).type() != fs::file_type::not_found;
  if (exists && settings.if_exists != IfExists::kReplace && !IsReport(TextOf(page))) {
    throw Failure(page.string() + " exists and is no report of zepconvert (--force replaces it)");
  }
  fs::create_directories(directory / kPictureDirectory, error);
  if (error) throw Failure((directory / kPictureDirectory).string() + ": " + error.message());
}

std::string ReportStem(const std::string& directory, size_t number) {
  return (fs::path(directory) / kPictureDirectory / (std::to_string(number + 1) + "-")).string();
}

void WriteReport(const std::string& directory, const std::vector<Result>& results,
                 const RunFacts& facts) {
  std::string html = std::string(
                         "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n"
                         "<meta charset=\"utf-8\">\n") +
                     kMark +
                     "\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                     "<title>zepconvert report</title>\n<style>" +
                     kReportStyle + "</style>\n</head>\n<body>\n<h1>zepconvert report</h1>\n" +
                     Facts(facts) + TableOfResults(results) + kExplanation;
  std::string pictures;
  for (size_t i = 0; i < results.size(); ++i) {
    if (IsConverted(results[i])) pictures += SectionOfPictures(results[i], i, directory);
  }
  if (!pictures.empty()) html += PlotOfTimes(results) + "<h2>Pictures</h2>\n" + pictures;
  html += std::string("<script>") + kReportScript + "</script>\n</body>\n</html>\n";
  const std::set<std::string> earlier = PicturesOfReport(directory);
  WriteFile(PagePath(directory).string(), Bytes(html.begin(), html.end()), "", true);
  RemovePictures(directory, earlier, results);
}

}  // namespace zepconvert
