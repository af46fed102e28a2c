// SPDX-License-Identifier: MIT
// zepconvert: converts pictures between JPEG, JPEG 2000, JPEG XR, PNG, TIFF, PNM and DDS. See docs/zepconvert.md.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "codecs/jpeg2000/codestream.h"
#include "tools/zepconvert/batch.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/process.h"
#include "tools/zepconvert/report.h"
#include "tools/zepconvert/settings.h"
#include "tools/zepconvert/text.h"
#include "zepjp.h"

namespace jpeg = zepcodec::jpeg;
namespace jpeg2000 = zepcodec::jpeg2000;
namespace dds = zepcodec::dds;
namespace tiff = zepcodec::tiff;

namespace {

namespace fs = std::filesystem;
using zepconvert::Format;
using zepconvert::FormatOfName;
using zepconvert::Job;
using zepconvert::Result;
using zepconvert::Settings;

enum ExitCode {
  kDone = 0,
  kSomeFailed = 1,
  kUsage = 2,
  kInterrupted = 3,
  kSomeDamaged = 4,  // all were written, but not all were whole
};

std::atomic<bool> stop_requested{false};

struct Arguments {
  Settings settings;
  std::vector<std::string> files;
  std::string sampling = "420";
  std::string texture_format;
  std::string script_file;
  std::string crop;
  std::string dds_header = "fourcc";
  std::string tiff_compression = "packbits";
  bool is_fast = false;
  bool is_thorough = false;
  std::string tiles;
  std::vector<std::string> block_styles;
  std::string to;
  std::string out_dir;
  double max_megapixels = 268.4;
  int64_t megabytes = 1024;
  bool no_metadata = false;
};

struct TextureFormat {
  dds::BlockFormat format;
  bool is_ycocg;
};
const std::map<std::string, TextureFormat> kTextureFormats = {
    {"bc1", {dds::BlockFormat::kBc1, false}}, {"bc2", {dds::BlockFormat::kBc2, false}},
    {"bc3", {dds::BlockFormat::kBc3, false}}, {"bc4", {dds::BlockFormat::kBc4, false}},
    {"bc5", {dds::BlockFormat::kBc5, false}}, {"bc7", {dds::BlockFormat::kBc7, false}},
    {"ycocg", {dds::BlockFormat::kBc3, true}}};
const std::map<std::string, dds::HeaderStyle> kHeaderStyles = {
    {"fourcc", dds::HeaderStyle::kFourCc},
    {"unsigned", dds::HeaderStyle::kUnsignedFourCc},
    {"dx10", dds::HeaderStyle::kDx10}};

const std::map<std::string, tiff::Compression> kTiffCompressions = {
    {"none", tiff::Compression::kNone}, {"packbits", tiff::Compression::kPackBits}};

const std::map<std::string, int> kBlockStyles = {
    {"bypass", jpeg2000::kBypass},           {"reset", jpeg2000::kReset},
    {"terminate", jpeg2000::kTerminateAll},  {"causal", jpeg2000::kCausal},
    {"predictable", jpeg2000::kPredictable}, {"symbols", jpeg2000::kSegmentationSymbols}};

template <class Value>
std::vector<std::string> Keys(const std::map<std::string, Value>& values) {
  std::vector<std::string> keys(values.size());
  std::transform(values.begin(), values.end(), keys.begin(),
                 [](const auto& pair) { return pair.first; });
  return keys;
}

void SetTexture(const Arguments& arguments, Settings* settings) {
  settings->texture.style = kHeaderStyles.at(arguments.dds_header);
  settings->has_texture_format = !arguments.texture_format.empty();
  if (!settings->has_texture_format) return;
  const TextureFormat& wanted = kTextureFormats.at(arguments.texture_format);
  settings->texture.format = wanted.format;
  settings->texture.is_ycocg = wanted.is_ycocg;
  if (arguments.is_fast) settings->texture.bc7_mode = 6;
  if (arguments.is_thorough) settings->texture.bc7_mode = -2;
}

// "512x256"; the sizes of tiles in JPEG XR files.
bool ParseTiles(const std::string& text, int* width, int* height) {
  char rest = 0;
  if (std::sscanf(text.c_str(), "%5dx%5d%c", width, height, &rest) != 2) return false;
  return *width > 0 && *width % 16 == 0 && *height > 0 && *height % 16 == 0;
}

std::string CheckTiles(const std::string& text) {
  int width = 0;
  int height = 0;
  return ParseTiles(text, &width, &height) ? "" : text + " is not a size in multiples of 16";
}

// "640x480+16+32"
bool ParseCrop(const std::string& text, jpeg::Crop* crop) {
  char rest = 0;
  return std::sscanf(text.c_str(), "%6dx%6d+%6d+%6d%c", &crop->width, &crop->height, &crop->left,
                     &crop->top, &rest) == 4 &&
         crop->width > 0 && crop->height > 0 && crop->left >= 0 && crop->top >= 0;
}

std::string CheckCrop(const std::string& text) {
  jpeg::Crop crop;
  return ParseCrop(text, &crop) ? "" : text + " is not of the form 640x480+16+32";
}

// A text where the script makes no sense.
std::string ReadScript(const std::string& name, jpeg::Script* script) {
  zepcodec::ByteBuffer file;
  zepcodec::Status status = zepconvert::ReadFile(name, zepconvert::ReadLimits(), &file);
  if (status.ok()) {
    status = jpeg::ParseScript(std::string(reinterpret_cast<const char*>(file.data()), file.size()),
                               script);
  }
  return status.ok() ? "" : name + ": " + status.text();
}

// Accepts numbers from `least` to `most`. nan is refused: it compares false with both.
CLI::Validator Between(double least, double most) {
  const auto check = [least, most](const std::string& text) {
    double value = 0;
    const bool fits = CLI::detail::lexical_cast(text, value) && value >= least && value <= most;
    std::ostringstream error;
    if (!fits) error << text << " is not between " << least << " and " << most;
    return error.str();
  };
  return CLI::Validator(check, "");
}

void DefineScanOptions(CLI::App* app, Arguments* arguments) {
  Settings& settings = arguments->settings;
  app->add_option("--depth", settings.depth,
                  "bits of a sample in JPEG files with lossy coding: 8, or 12 (8)")
      ->check(CLI::IsMember(std::vector<int>{8, 12}).description(""));
  auto* const progressive = app->add_flag("--progressive", settings.progressive,
                                          "write JPEG files in scans, coarse to fine");
  app->add_option("--script", arguments->script_file,
                  "write JPEG files in the scans that this file lists, as in 0,1,2: 0-0, 0, 1;")
      ->check(CLI::ExistingFile.description(""))
      ->excludes(progressive);
  app->add_flag("--optimize", settings.optimizes, "write JPEG files with the best Huffman tables");
  auto* const transcode =
      app->add_flag("--transcode", settings.transcodes,
                    "write JPEG files anew without a change of their coefficients");
  app->add_option("--crop", arguments->crop,
                  "with --transcode, a part: WIDTHxHEIGHT+LEFT+TOP, where left and top are rounded "
                  "down to whole MCUs")
      ->check(CheckCrop)
      ->needs(transcode);
  app->add_option("--scans", settings.scans_directory,
                  "write a PNG file for each scan of progressive JPEG inputs to this directory");
}

void DefineOptions(CLI::App* app, Arguments* arguments) {
  Settings& settings = arguments->settings;
  app->add_option("files", arguments->files, "IN OUT, or any number of inputs with --to")
      ->required();
  auto* const quality =
      app->add_option("-q,--quality", settings.quality,
                      "quality of JPEG files (90), and of JPEG XR files that may lose something")
          ->check(CLI::Range(1, 100));
  app->add_option("--sampling", arguments->sampling,
                  "resolution of colours: 444, 422 or 420 (JPEG files 420, JPEG XR files 444)")
      ->check(CLI::IsMember(std::vector<std::string>{"444", "422", "420"}).description(""));
  app->add_flag("--grey,--gray", settings.grey, "convert to grey");
  app->add_option(
         "--restart", settings.restart_interval,
         "restart interval of JPEG files in MCUs, of lossless ones in rows, 0 for none (0)")
      ->check(CLI::Range(0, 65535));
  app->add_flag("--precise-dct", settings.precise_dct,
                "write JPEG files with the transform that rounds once at qualities up to 40 too");
  DefineScanOptions(app, arguments);
  app->add_option(
         "--format", arguments->texture_format,
         "blocks of DDS files: bc1, bc2, bc3, bc4 (grey), bc5 (red and green), bc7 or ycocg "
         "(bc3 where something is transparent, else bc1)")
      ->check(CLI::IsMember(Keys(kTextureFormats)).description(""));
  auto* const mode = app->add_option("--mode", settings.texture.bc7_mode,
                                     "all blocks of BC7 files in one mode, 0 to 7")
                         ->check(CLI::Range(0, 7));
  auto* const fast =
      app->add_flag("--fast", arguments->is_fast, "write BC7 files quickly: mode 6 alone")
          ->excludes(mode);
  app->add_flag("--thorough", arguments->is_thorough,
                "write BC7 files after a long search: half a dB more")
      ->excludes(mode)
      ->excludes(fast);
  app->add_flag("--mipmaps", settings.texture.has_mipmaps,
                "write DDS files with all levels down to one pixel");
  app->add_option("--dds-header", arguments->dds_header,
                  "how DDS files name their format: fourcc, unsigned (BC4U, BC5U) or dx10 (fourcc)")
      ->check(CLI::IsMember(Keys(kHeaderStyles)).description(""));
  auto* const lossless =
      app->add_flag("--lossless", settings.is_lossless,
                    "write lossless JPEG files; JPEG 2000 and JPEG XR files are so by default")
          ->excludes(quality);
  app->add_option("--predictor", settings.predictor,
                  "of lossless JPEG files: 1 left, 2 above, 3 above left, 4 to 7 mixtures (1)")
      ->check(CLI::Range(1, 7));
  app->add_option("--point-transform", settings.point_transform,
                  "bits that lossless JPEG files leave out of each sample (0)")
      ->check(CLI::Range(0, 15));
  app->add_option("--compression", arguments->tiff_compression,
                  "of TIFF files: none or packbits (packbits)")
      ->check(CLI::IsMember(Keys(kTiffCompressions)).description(""));
  app->add_flag("--byte-planes", settings.has_byte_planes,
                "write 16-bit TIFF files as planes of bytes, which only this program reads");
  app->add_option("--overlap", settings.overlap,
                  "filters across blocks of JPEG XR files: 0 none, 1 the first stage, 2 both (1)")
      ->check(CLI::Range(0, 2));
  app->add_option("--tiles", arguments->tiles,
                  "tiles of JPEG XR files, as 512x256: multiples of 16 (one tile)")
      ->check(CheckTiles);
  auto* const ratio = app->add_option("--ratio", settings.ratio,
                                      "write JPEG 2000 files so many times smaller than the pixels")
                          ->check(Between(1, 100000))
                          ->excludes(lossless);
  app->add_option("--psnr", settings.psnr, "write JPEG 2000 files of this PSNR in dB")
      ->check(Between(10, 80))
      ->excludes(lossless)
      ->excludes(ratio);
  app->add_option("--style", arguments->block_styles,
                  "code-blocks of JPEG 2000 files: any of bypass, reset, terminate, causal, "
                  "predictable, symbols, with commas between")
      ->delimiter(',')
      ->check(CLI::IsMember(Keys(kBlockStyles)).description(""));
  app->add_option("--scale", settings.scale,
                  "reduce JPEG and JPEG 2000 inputs to 1/2, 1/4 or 1/8: 1, 2, 4, 8")
      ->check(CLI::IsMember(std::vector<int>{1, 2, 4, 8}).description(""));
  app->add_option(
      "--to", arguments->to,
      "convert all files to jpg, ljpg, jp2, j2k, jxr, png, tif, ppm, pgm, pnm, pam, dds or hdr");
  app->add_option("--out-dir", arguments->out_dir, "where results of --to go (beside the inputs)");
  app->add_option("--report", settings.report_directory,
                  "write a page with pictures, sizes, PSNR and times to this directory");
  app->add_option("-j,--jobs", settings.jobs, "files at the same time (all cores)")
      ->check(CLI::Range(1, 1024));
  app->add_option("--memory", arguments->megabytes,
                  "files at the same time wait for each other beyond so many megabytes (1024)")
      ->check(CLI::Range(1, 1 << 20));
  app->add_option("--max-megapixels", arguments->max_megapixels, "refuse larger pictures (268.4)")
      ->check(Between(0.000001, 4294.9));
  app->add_flag("--no-metadata", arguments->no_metadata,
                "leave out EXIF data, colour profiles and comments");
  app->add_flag("--quiet", settings.quiet, "errors and damage only");
  app->set_version_flag("--version", std::string("zepconvert ") + zepjGetLibVersion()->versionText);
}

// The output's name for --to; the error is empty where it is fine.
Job MakeJob(const Arguments& arguments, const std::string& input) {
  const fs::path path(input);
  fs::path output = arguments.out_dir.empty() ? path.parent_path() : fs::path(arguments.out_dir);
  output /= path.stem();
  output += std::string(".") + zepconvert::Extension(FormatOfName(arguments.to));
  return {input, output.string()};
}

// What to do; a text where the arguments make no sense together.
std::string MakeJobs(const Arguments& arguments, std::vector<Job>* jobs) {
  if (arguments.to.empty()) {
    if (!arguments.out_dir.empty()) return "--out-dir goes with --to";
    if (arguments.files.size() != 2) return "give an input and an output, or --to FORMAT";
    if (FormatOfName(arguments.files[1]) == Format::kUnknown) {
      return arguments.files[1] +
             ": the name must end in .jpg, .ljpg, .jp2, .j2k, .jxr, .png, .tif, .ppm, .pgm, .pnm, "
             ".pam, .dds or .hdr";
    }
    jobs->push_back({arguments.files[0], arguments.files[1]});
    return "";
  }
  if (FormatOfName("." + arguments.to) == Format::kUnknown) {
    return "--to " + arguments.to +
           ": must be jpg, ljpg, jp2, j2k, jxr, png, tif, ppm, pgm, pnm, pam, dds or hdr";
  }
  std::map<std::string, std::string> inputs;  // by the file that they become
  for (const std::string& input : arguments.files) {
    jobs->push_back(MakeJob(arguments, input));
    const auto [other, is_new] =
        inputs.emplace(zepconvert::OutputIdentity(jobs->back().output), input);
    if (!is_new) {
      return other->second + " and " + input + " would both become " + jobs->back().output;
    }
  }
  return "";
}

int Judge(const std::vector<Result>& results) {
  const auto any = [&](auto predicate) {
    return std::any_of(results.begin(), results.end(), predicate);
  };
  if (any([](const Result& result) { return !result.started; })) return kInterrupted;
  if (any([](const Result& result) { return !result.status.ok(); })) return kSomeFailed;
  if (any([](const Result& result) { return !result.warnings.empty(); })) return kSomeDamaged;
  return kDone;
}

int Fail(ExitCode code, const std::string& text) {
  std::fprintf(stderr, "zepconvert: %s\n", zepconvert::Printable(text).c_str());
  return code;
}

int Run(const Arguments& arguments) {
  std::vector<Job> jobs;
  const std::string error = MakeJobs(arguments, &jobs);
  if (!error.empty()) return Fail(kUsage, error);
  if (!arguments.out_dir.empty()) {
    std::error_code failed;
    fs::create_directories(arguments.out_dir, failed);
    if (failed) return Fail(kSomeFailed, arguments.out_dir + ": " + failed.message());
  }
  const std::string& report = arguments.settings.report_directory;
  if (!report.empty()) {
    const zepcodec::Status status = zepconvert::PrepareReport(report);
    if (!status.ok()) return Fail(kSomeFailed, status.text());
  }
  zepconvert::HandleSignals(&stop_requested);
  const std::vector<Result> results =
      zepconvert::ConvertAll(arguments.settings, jobs, stop_requested);
  const int code = Judge(results);
  if (code == kInterrupted) return Fail(kInterrupted, "interrupted");
  if (report.empty()) return code;
  const zepcodec::Status status = zepconvert::WriteReport(report, results);
  return status.ok() ? code : Fail(kSomeFailed, status.text());
}

// What follows from the options together; a text where they make no sense.
std::string FinishSettings(const CLI::App& app, Arguments* arguments) {
  Settings& settings = arguments->settings;
  settings.sampling = arguments->sampling == "444"   ? jpeg::Sampling::k444
                      : arguments->sampling == "422" ? jpeg::Sampling::k422
                                                     : jpeg::Sampling::k420;
  settings.has_quality = app.count("--quality") > 0;
  settings.has_sampling = app.count("--sampling") > 0;
  ParseTiles(arguments->tiles, &settings.tile_width, &settings.tile_height);
  SetTexture(*arguments, &settings);
  settings.tiff_compression = kTiffCompressions.at(arguments->tiff_compression);
  for (const std::string& style : arguments->block_styles) {
    settings.block_style |= kBlockStyles.at(style);
  }
  settings.keep_metadata = !arguments->no_metadata;
  settings.max_pixels = static_cast<int64_t>(arguments->max_megapixels * 1e6);
  settings.memory = arguments->megabytes << 20;
  settings.has_crop = ParseCrop(arguments->crop, &settings.crop);
  return arguments->script_file.empty() ? "" : ReadScript(arguments->script_file, &settings.script);
}

int ParseAndRun(int argc, char** argv) {
  Arguments arguments;
  CLI::App app(
      "Converts pictures between JPEG (baseline, progressive, lossless), JPEG 2000, JPEG XR, PNG, "
      "TIFF, binary PGM, PPM and PAM, and DDS files.",
      "zepconvert");
  app.footer(
      "Exit codes: 0 done, 1 some file failed, 2 wrong usage, 3 interrupted, 4 all were "
      "written but some input was damaged.");
  try {
    DefineOptions(&app, &arguments);
    app.parse(argc, argv);
    const std::string error = FinishSettings(app, &arguments);
    if (!error.empty()) return Fail(kUsage, error);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error) == 0 ? kDone : kUsage;
    return Fail(kUsage, std::string(error.what()) + " (--help tells more)");
  }
  return Run(arguments);
}

}  // namespace

int main(int argc, char** argv) {
  if (!zepconvert::ReserveStandardDescriptors()) return kSomeFailed;
  try {
    return ParseAndRun(argc, argv);
  } catch (const std::exception& error) {
    return Fail(kSomeFailed, error.what());
  }
}
