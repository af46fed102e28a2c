// SPDX-License-Identifier: MIT
// zepconvert: converts pictures between JPEG, JPEG 2000, JPEG XR, PNG, TIFF, PNM and DDS. See
// docs/zepconvert.md.
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

#include "tools/zepconvert/batch.h"
#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/process.h"
#include "tools/zepconvert/report.h"
#include "tools/zepconvert/settings.h"
#include "tools/zepconvert/text.h"

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

// As they are written on the command line.
struct Arguments {
  Settings settings;
  std::vector<std::string> files;
  int32_t quality = 0;  // 0: not given
  std::string sampling;
  int32_t restart = 0;
  std::string texture;
  int32_t bc7_mode = -1;
  bool is_fast = false;
  bool is_thorough = false;
  std::string dds_header = "fourcc";
  std::string script_file;
  std::string crop;
  std::string region;
  std::string tiff_compression = "packbits";
  int32_t overlap = 1;
  std::string tiles;
  std::vector<std::string> block_styles;
  int scale = 1;
  std::string to;
  std::string out_dir;
  double max_megapixels = 268.4;
  int64_t megabytes = 1024;
  bool has_mipmaps = false;
  bool has_byte_planes = false;
  bool is_progressive = false;
  bool optimizes = false;
  bool no_metadata = false;
};

const std::map<std::string, zepcSampling> kSamplings = {{"", zepcSamplingAuto},
                                                        {"444", zepcSampling444},
                                                        {"422", zepcSampling422},
                                                        {"420", zepcSampling420}};
const std::map<std::string, zepcTexture> kTextures = {
    {"bc1", zepcTextureBc1},    {"bc2", zepcTextureBc2}, {"bc3", zepcTextureBc3},
    {"bc4", zepcTextureBc4},    {"bc5", zepcTextureBc5}, {"bc7", zepcTextureBc7},
    {"ycocg", zepcTextureYCoCg}};
const std::map<std::string, int32_t> kDdsHeaders = {{"fourcc", 0}, {"unsigned", 1}, {"dx10", 2}};
const std::map<std::string, int32_t> kTiffCompressions = {{"none", 1}, {"packbits", 0}};
const std::map<std::string, zepcBlockStyle> kBlockStyles = {
    {"bypass", zepcBlockBypass},           {"reset", zepcBlockReset},
    {"terminate", zepcBlockTerminate},     {"causal", zepcBlockCausal},
    {"predictable", zepcBlockPredictable}, {"symbols", zepcBlockSymbols}};

template <class Value>
std::vector<std::string> Keys(const std::map<std::string, Value>& values) {
  std::vector<std::string> keys(values.size());
  std::transform(values.begin(), values.end(), keys.begin(),
                 [](const auto& pair) { return pair.first; });
  return keys;
}

// "512x256"; the sizes of tiles in JPEG XR files.
bool ParseTiles(const std::string& text, int32_t* width, int32_t* height) {
  char rest = 0;
  if (std::sscanf(text.c_str(), "%5dx%5d%c", width, height, &rest) != 2) return false;
  return *width > 0 && *width % 16 == 0 && *height > 0 && *height % 16 == 0;
}

std::string CheckTiles(const std::string& text) {
  int32_t width = 0;
  int32_t height = 0;
  return ParseTiles(text, &width, &height) ? "" : text + " is not a size in multiples of 16";
}

// "640x480+16+32"
bool ParseCrop(const std::string& text, zepcRect* crop) {
  char rest = 0;
  return std::sscanf(text.c_str(), "%6dx%6d+%6d+%6d%c", &crop->width, &crop->height, &crop->x,
                     &crop->y, &rest) == 4 &&
         crop->width > 0 && crop->height > 0 && crop->x >= 0 && crop->y >= 0;
}

std::string CheckCrop(const std::string& text) {
  zepcRect crop;
  return ParseCrop(text, &crop) ? "" : text + " is not of the form 640x480+16+32";
}

// Fails where the script makes no sense.
void ReadScript(const std::string& name, Settings* settings) {
  try {
    const auto file = zepconvert::ReadFile(name, zepconvert::ReadLimits());
    settings->scan_script = std::string(file.data(), file.data() + file.size());
    CheckScanScript(*settings);
  } catch (const std::exception& error) {
    throw zepconvert::Failure(name + ": " + error.what());
  }
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

CLI::Validator OneOf(const std::vector<std::string>& words) {
  return CLI::IsMember(words).description("");
}

void DefineJpegOptions(CLI::App* app, Arguments* arguments) {
  Settings& settings = arguments->settings;
  app->add_option("--sampling", arguments->sampling,
                  "resolution of colours: 444, 422 or 420 (JPEG files 420, JPEG XR files 444)")
      ->check(OneOf({"444", "422", "420"}));
  app->add_option(
         "--restart", arguments->restart,
         "restart interval of JPEG files in MCUs, of lossless ones in rows, 0 for none (0)")
      ->check(CLI::Range(0, 65535));
  app->add_option("--depth", settings.jpeg_depth,
                  "bits of a sample in JPEG files with lossy coding: 8, or 12 (8)")
      ->check(CLI::IsMember(std::vector<int>{8, 12}).description(""));
  auto* const progressive = app->add_flag("--progressive", arguments->is_progressive,
                                          "write JPEG files in scans, coarse to fine");
  app->add_option("--script", arguments->script_file,
                  "write JPEG files in the scans that this file lists, as in 0,1,2: 0-0, 0, 1;")
      ->check(CLI::ExistingFile.description(""))
      ->excludes(progressive);
  app->add_flag("--optimize", arguments->optimizes,
                "write JPEG files with the best Huffman tables");
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
  app->add_option("--predictor", settings.lossless_jpeg.predictor,
                  "of lossless JPEG files: 1 left, 2 above, 3 above left, 4 to 7 mixtures (1)")
      ->check(CLI::Range(1, 7));
  app->add_option("--point-transform", settings.lossless_jpeg.point_transform,
                  "bits that lossless JPEG files leave out of each sample (0)")
      ->check(CLI::Range(0, 15));
}

void DefineTextureOptions(CLI::App* app, Arguments* arguments) {
  app->add_option(
         "--format", arguments->texture,
         "blocks of DDS files: bc1, bc2, bc3, bc4 (grey), bc5 (red and green), bc7 or ycocg "
         "(bc3 where something is transparent, else bc1)")
      ->check(OneOf(Keys(kTextures)));
  auto* const mode =
      app->add_option("--mode", arguments->bc7_mode, "all blocks of BC7 files in one mode, 0 to 7")
          ->check(CLI::Range(0, 7));
  auto* const fast =
      app->add_flag("--fast", arguments->is_fast, "write BC7 files quickly: mode 6 alone")
          ->excludes(mode);
  app->add_flag("--thorough", arguments->is_thorough,
                "write BC7 files after a long search: half a dB more")
      ->excludes(mode)
      ->excludes(fast);
  app->add_flag("--mipmaps", arguments->has_mipmaps,
                "write DDS files with all levels down to one pixel");
  app->add_option("--dds-header", arguments->dds_header,
                  "how DDS files name their format: fourcc, unsigned (BC4U, BC5U) or dx10 (fourcc)")
      ->check(OneOf(Keys(kDdsHeaders)));
}

// Of the other formats.
void DefineFormatOptions(CLI::App* app, Arguments* arguments) {
  Settings& settings = arguments->settings;
  auto* const quality =
      app->add_option("-q,--quality", arguments->quality,
                      "quality of JPEG files (90), and of JPEG XR files that may lose something")
          ->check(CLI::Range(1, 100));
  auto* const lossless =
      app->add_flag("--lossless", settings.is_lossless,
                    "write lossless JPEG files; JPEG 2000 and JPEG XR files are so by default")
          ->excludes(quality);
  auto* const ratio =
      app->add_option("--ratio", settings.jpeg2000.ratio,
                      "write JPEG 2000 files this many times smaller than the pixels")
          ->check(Between(1, 100000))
          ->excludes(lossless);
  app->add_option("--psnr", settings.jpeg2000.psnr, "write JPEG 2000 files of this PSNR in dB")
      ->check(Between(10, 80))
      ->excludes(lossless)
      ->excludes(ratio);
  app->add_option("--style", arguments->block_styles,
                  "code-blocks of JPEG 2000 files: any of bypass, reset, terminate, causal, "
                  "predictable, symbols, with commas between")
      ->delimiter(',')
      ->check(OneOf(Keys(kBlockStyles)));
  app->add_option("--overlap", arguments->overlap,
                  "filters across blocks of JPEG XR files: 0 none, 1 the first stage, 2 both (1)")
      ->check(CLI::Range(0, 2));
  app->add_option("--tiles", arguments->tiles,
                  "tiles of JPEG 2000 and JPEG XR files, as 512x256: multiples of 16 (one tile)")
      ->check(CheckTiles);
  app->add_option("--compression", arguments->tiff_compression,
                  "of TIFF files: none or packbits (packbits)")
      ->check(OneOf(Keys(kTiffCompressions)));
  app->add_flag("--byte-planes", arguments->has_byte_planes,
                "write 16-bit TIFF files as planes of bytes, which only this program reads");
}

void DefineOptions(CLI::App* app, Arguments* arguments) {
  Settings& settings = arguments->settings;
  app->add_option("files", arguments->files, "IN OUT, or any number of inputs with --to")
      ->required();
  DefineFormatOptions(app, arguments);
  DefineJpegOptions(app, arguments);
  DefineTextureOptions(app, arguments);
  app->add_flag("--grey,--gray", settings.grey, "convert to grey");
  app->add_option("--scale", arguments->scale,
                  "reduce JPEG and JPEG 2000 inputs to 1/2, 1/4 or 1/8: 1, 2, 4, 8")
      ->check(CLI::IsMember(std::vector<int>{1, 2, 4, 8}).description(""));
  app->add_option("--region", arguments->region,
                  "convert a part, WIDTHxHEIGHT+LEFT+TOP, in pixels of the reduced input")
      ->check(CheckCrop)
      ->excludes("--transcode");
  app->add_option(
      "--to", arguments->to,
      "convert all files to jpg, ljpg, jp2, j2k, jxr, png, tif, ppm, pgm, pnm, pam, dds or hdr");
  app->add_option("--out-dir", arguments->out_dir, "where results of --to go (beside the inputs)");
  app->add_option("--report", settings.report_directory,
                  "write a page with pictures, sizes, PSNR and times to this directory");
  app->add_option("-j,--jobs", settings.jobs, "files at the same time (all cores)")
      ->check(CLI::Range(1, 1024));
  app->add_option("--threads", settings.threads,
                  "threads for each file (all cores for one file, 1 for files at the same time)")
      ->check(CLI::Range(1, 1024));
  app->add_option("--memory", arguments->megabytes,
                  "files wait for each other where together they need more megabytes; larger "
                  "pictures are converted row by row (1024)")
      ->check(CLI::Range(1, 1 << 20));
  app->add_option("--max-megapixels", arguments->max_megapixels, "refuse larger pictures (268.4)")
      ->check(Between(0.000001, 4294.9));
  app->add_flag("--no-metadata", arguments->no_metadata,
                "leave out EXIF data, colour profiles, XMP and comments");
  app->add_flag("--quiet", settings.quiet, "errors and damage only");
  app->set_version_flag("--version", std::string("zepconvert ") + zepcVersion());
}

// The job of an input with --to.
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
  if (any([](const Result& result) { return !result.ok(); })) return kSomeFailed;
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
  if (!report.empty()) zepconvert::PrepareReport(report);
  zepconvert::HandleSignals(&stop_requested);
  const std::vector<Result> results =
      zepconvert::ConvertAll(arguments.settings, jobs, stop_requested);
  const int code = Judge(results);
  if (code == kInterrupted) return Fail(kInterrupted, "interrupted");
  if (!report.empty()) zepconvert::WriteReport(report, results);
  return code;
}

void SetTexture(const Arguments& arguments, zepcDdsOptions* dds) {
  dds->has_mipmaps = arguments.has_mipmaps;
  dds->header = kDdsHeaders.at(arguments.dds_header);
  if (arguments.texture.empty()) return;
  dds->texture = kTextures.at(arguments.texture);
  dds->bc7_mode = arguments.is_fast ? 1 : arguments.is_thorough ? 2 : 0;
  dds->bc7_only = arguments.bc7_mode + 1;
}

// Fails where the options make no sense.
void FinishSettings(const Arguments& arguments, Settings* settings) {
  settings->jpeg.quality = settings->jpeg_xr.quality = arguments.quality;
  settings->jpeg.sampling = settings->jpeg_xr.sampling = kSamplings.at(arguments.sampling);
  settings->jpeg.is_progressive = arguments.is_progressive;
  settings->jpeg.optimizes = arguments.optimizes;
  settings->jpeg.restart_interval = settings->lossless_jpeg.restart_rows = arguments.restart;
  settings->jpeg_xr.overlap = arguments.overlap - 1;
  ParseTiles(arguments.tiles, &settings->jpeg_xr.tile_width, &settings->jpeg_xr.tile_height);
  settings->jpeg2000.tile_width = settings->jpeg_xr.tile_width;
  settings->jpeg2000.tile_height = settings->jpeg_xr.tile_height;
  SetTexture(arguments, &settings->dds);
  settings->tiff.is_uncompressed = kTiffCompressions.at(arguments.tiff_compression);
  settings->tiff.has_byte_planes = arguments.has_byte_planes;
  for (const std::string& style : arguments.block_styles) {
    settings->jpeg2000.block_style |= kBlockStyles.at(style);
  }
  while (1 << settings->reduce < arguments.scale) ++settings->reduce;
  settings->keep_metadata = !arguments.no_metadata;
  settings->max_pixels = static_cast<int64_t>(arguments.max_megapixels * 1e6);
  settings->memory = arguments.megabytes << 20;
  ParseCrop(arguments.crop, &settings->crop);
  ParseCrop(arguments.region, &settings->region);
  if (!arguments.script_file.empty()) ReadScript(arguments.script_file, settings);
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
    FinishSettings(arguments, &arguments.settings);
  } catch (const zepconvert::Failure& error) {
    return Fail(kUsage, error.what());
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
