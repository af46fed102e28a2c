// SPDX-License-Identifier: MIT
#include "tools/zepconvert/options.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>

#include "tools/zepconvert/completion.h"
#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/presets.h"
#include "tools/zepconvert/usage.h"

namespace zepconvert {
namespace {

const std::map<std::string, zepcSampling> kSamplings = {{"", zepcSamplingAuto},
                                                        {"444", zepcSampling444},
                                                        {"422", zepcSampling422},
                                                        {"420", zepcSampling420}};
const std::map<std::string, zepcTexture> kTextures = {
    {"bc1", zepcTextureBc1},    {"bc2", zepcTextureBc2}, {"bc3", zepcTextureBc3},
    {"bc4", zepcTextureBc4},    {"bc5", zepcTextureBc5}, {"bc7", zepcTextureBc7},
    {"ycocg", zepcTextureYCoCg}};
const std::map<std::string, int32_t> kDdsHeaders = {{"fourcc", 0}, {"unsigned", 1}, {"dx10", 2}};
const std::map<std::string, zepcBlockStyle> kBlockStyles = {
    {"bypass", zepcBlockBypass},           {"reset", zepcBlockReset},
    {"terminate", zepcBlockTerminate},     {"causal", zepcBlockCausal},
    {"predictable", zepcBlockPredictable}, {"symbols", zepcBlockSymbols}};

const std::vector<Format> kJpeg2000Files = {Format::kJp2, Format::kJ2k};

constexpr size_t kHelpWidth = 98;
constexpr size_t kHelpColumn = 28;

// Breaks the text between words into lines of at most `width` characters.
std::string Wrapped(const std::string& text, size_t width) {
  std::istringstream words(text);
  std::string lines;
  size_t length = 0;
  for (std::string word; words >> word;) {
    const bool fits = length + 1 + word.size() <= width;
    if (length > 0) lines += fits ? ' ' : '\n';
    length = length > 0 && fits ? length + 1 + word.size() : word.size();
    lines += word;
  }
  return lines;
}

class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(kHelpColumn); }

  std::string make_usage(const CLI::App*, std::string name) const override {
    std::string lines;
    for (const char* usage : kUsages) {
      lines += (lines.empty() ? "Usage: " : "       ") + name + " " + usage + "\n";
    }
    return lines;
  }
  std::string make_group(std::string group, bool is_positional,
                         std::vector<const CLI::Option*> options) const override {
    // The caller ends each group with an empty line.
    return Formatter::make_group(std::move(group), is_positional, std::move(options)).substr(1);
  }
  std::string make_positionals(const CLI::App*) const override { return "\n"; }
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string& text = option->get_option_text();
    return text.empty() ? "" : " " + text;
  }
  std::string make_option_desc(const CLI::Option* option) const override {
    return Wrapped(option->get_description(), kHelpWidth - kHelpColumn);
  }
};

template <class Value>
std::vector<std::string> Keys(const std::map<std::string, Value>& values) {
  std::vector<std::string> keys;
  std::transform(values.begin(), values.end(), std::back_inserter(keys),
                 [](const auto& pair) { return pair.first; });
  return keys;
}

std::string CheckTiles(const std::string& text) {
  int32_t width = 0;
  int32_t height = 0;
  const bool fits = ParseSize(text, &width, &height) && width % 16 == 0 && height % 16 == 0;
  return fits ? "" : text + " is not a size in multiples of 16, as in 512x256";
}

std::string CheckSize(const std::string& text) {
  int32_t width = 0;
  int32_t height = 0;
  return ParseSize(text, &width, &height) ? "" : text + " is not of the form 640x480";
}

std::string CheckRegion(const std::string& text) {
  zepcRect region;
  return ParseRegion(text, &region) ? "" : text + " is not of the form 640x480+16+32";
}

std::string CheckFormat(const std::string& text) {
  return FormatOfName("." + text) != Format::kUnknown
             ? ""
             : text + " is none of " + KnownExtensions(", ", " and ");
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

std::string EndingsOf(const std::vector<Format>& formats) {
  std::string list;
  for (const Format format : formats) {
    if (!list.empty()) list += format == formats.back() ? " and " : ", ";
    list += "." + Extension(format);
  }
  return list;
}

// "--quality"; of an option without a long name its short one.
std::string NameOf(const CLI::Option& option) { return option.get_name(false, false); }

}  // namespace

zepcSampling SamplingOf(const std::string& word) { return kSamplings.at(word); }
zepcTexture TextureOf(const std::string& word) { return kTextures.at(word); }
int32_t DdsHeaderOf(const std::string& word) { return kDdsHeaders.at(word); }
zepcBlockStyle BlockStyleOf(const std::string& word) { return kBlockStyles.at(word); }

bool ParseRegion(const std::string& text, zepcRect* region) {
  char rest = 0;
  return std::sscanf(text.c_str(), "%6dx%6d+%6d+%6d%c", &region->width, &region->height, &region->x,
                     &region->y, &rest) == 4 &&
         region->width > 0 && region->height > 0 && region->x >= 0 && region->y >= 0;
}

bool ParseSize(const std::string& text, int32_t* width, int32_t* height) {
  char rest = 0;
  return std::sscanf(text.c_str(), "%5dx%5d%c", width, height, &rest) == 2 && *width > 0 &&
         *height > 0;
}

Options::Options(Arguments* arguments) : app_(Wrapped(kPurpose, kHelpWidth) + "\n", "zepconvert") {
  app_.formatter(std::make_shared<HelpFormatter>());
  app_.set_help_flag();
  app_.add_option("files", arguments->files);
  DefineFiles(arguments);
  DefineContents(arguments);
  DefineShared(arguments);
  DefineJpeg(arguments);
  DefineJpeg2000(arguments);
  DefineTextures(arguments);
  DefineOthers(arguments);
  DefineReports(arguments);
  DefineLimits(arguments);
  DefineWords();
  std::string footer = "Examples:\n";
  for (const char* example : kExamples) footer += std::string("  ") + example + "\n";
  app_.footer(footer + "\n" + Wrapped(std::string("Exit codes: ") + kExitCodes, kHelpWidth));
}

// Only results of these formats know the option.
CLI::Option* Options::Limit(CLI::Option* option, std::vector<Format> outputs) {
  limits_.emplace_back(option, std::move(outputs));
  return option;
}

std::vector<std::string> Options::WordsOf(const CLI::Option* option) const {
  const auto found = words_.find(option);
  return found == words_.end() ? std::vector<std::string>() : found->second;
}

void Options::CheckFor(Format output) const {
  for (const auto& [option, outputs] : limits_) {
    const bool is_known = std::find(outputs.begin(), outputs.end(), output) != outputs.end();
    if (option->count() == 0 || is_known) continue;
    throw Failure(NameOf(*option) + " does nothing for ." + Extension(output) +
                  " files; it is for " + EndingsOf(outputs));
  }
}

void Options::CheckWithoutConversion(const std::string& task) const {
  for (const CLI::Option* option : app_.get_options()) {
    const bool is_general = std::find(general_.begin(), general_.end(), option) != general_.end();
    if (option->count() == 0 || is_general || option->get_positional()) continue;
    throw Failure(NameOf(*option) + " is for conversions, not for " + task);
  }
}

bool Options::IsFree(const std::string& name, Format output) const {
  const CLI::Option* const option = app_.get_option("--" + name);
  if (option->count() > 0) return false;
  for (const CLI::Option* other : option->get_excludes()) {
    if (other->count() > 0) return false;
  }
  for (const auto& [limited, outputs] : limits_) {
    if (limited != option) continue;
    return std::find(outputs.begin(), outputs.end(), output) != outputs.end();
  }
  return true;
}

void Options::DefineFiles(Arguments* arguments) {
  const std::string group = "Files";
  app_.add_option("--to", arguments->to,
                  "convert all files to this format: " + KnownExtensions(", ", " or "))
      ->option_text("FORMAT")
      ->check(CheckFormat)
      ->group(group);
  general_.push_back(app_.add_option("--from", arguments->from, "take inputs of this format alone")
                         ->option_text("FORMAT")
                         ->check(CheckFormat)
                         ->group(group));
  app_.add_option("--out-dir", arguments->out_dir, "where results of --to go (beside the inputs)")
      ->option_text("DIR")
      ->group(group);
  general_.push_back(app_.add_flag("-r,--recursive", arguments->is_recursive,
                                   "take directories with all that is in them")
                         ->group(group));
  auto* const force = app_.add_flag("-f,--force", arguments->replaces,
                                    "replace files that exist, and inputs; follow links")
                          ->group(group);
  app_.add_flag("-n,--no-clobber", arguments->keeps_existing, "leave out results whose file exists")
      ->excludes(force)
      ->group(group);
}

void Options::DefineContents(Arguments* arguments) {
  Settings& settings = arguments->settings;
  const std::string group = "Pictures";
  app_.add_option(
          "--preset", arguments->preset,
          "usual options for a purpose: " + PresetsInWords() + " (--help-presets tells more)")
      ->option_text("NAME")
      ->check(CLI::Validator(CheckPreset, ""))
      ->group(group);
  app_.add_flag("--auto-orient", settings.turns_upright,
                "turn pictures upright, as their orientation says")
      ->group(group);
  app_.add_option("--fit", arguments->fit, "make larger pictures smaller, to fit into this size")
      ->option_text("WxH")
      ->check(CheckSize)
      ->group(group);
  app_.add_option("--scale", arguments->scale,
                  "reduce JPEG and JPEG 2000 inputs to 1/2, 1/4 or 1/8: 1, 2, 4, 8")
      ->option_text("N")
      ->group(group);
  app_.add_option("--region", arguments->region,
                  "convert a part: width, height, left and top in pixels of the stored picture "
                  "after --scale")
      ->option_text("WxH+X+Y")
      ->check(CheckRegion)
      ->group(group);
  app_.add_flag("--grey,--gray", settings.grey, "convert to grey")->group(group);
  auto* const metadata =
      app_.add_option("--metadata", arguments->metadata,
                      "keep all metadata, the colour profile alone, or none (all)")
          ->option_text("all|profile|none")
          ->group(group);
  app_.add_flag("--no-metadata", arguments->no_metadata, "the same as --metadata none")
      ->excludes(metadata)
      ->group(group);
}

void Options::DefineShared(Arguments* arguments) {
  Settings& settings = arguments->settings;
  const std::string group = "Results of several formats";
  auto* const quality =
      Limit(app_.add_option("-q,--quality", arguments->quality,
                            "quality of JPEG files (90); makes JPEG XR files lossy, with this "
                            "quality")
                ->option_text("1-100")
                ->check(CLI::Range(1, 100))
                ->group(group),
            {Format::kJpeg, Format::kJpegXr});
  Limit(app_.add_flag("--lossless", settings.is_lossless,
                      "write lossless JPEG files; JPEG 2000 and JPEG XR files are so by default")
            ->excludes(quality)
            ->group(group),
        {Format::kJpeg, Format::kLosslessJpeg, Format::kJp2, Format::kJ2k, Format::kJpegXr,
         Format::kTiff, Format::kPng, Format::kPpm, Format::kPgm, Format::kPnm, Format::kPam});
  Limit(app_.add_option("--sampling", arguments->sampling,
                        "resolution of colours: 444, 422 or 420 (JPEG 420, JPEG XR 444)")
            ->option_text("S")
            ->group(group),
        {Format::kJpeg, Format::kJpegXr});
  Limit(app_.add_option("--restart", arguments->restart,
                        "restart interval of JPEG files in MCUs, of lossless ones in rows, 0 for "
                        "none (0)")
            ->option_text("N")
            ->check(CLI::Range(0, 65535))
            ->group(group),
        {Format::kJpeg, Format::kLosslessJpeg});
  Limit(app_.add_option("--tiles", arguments->tiles,
                        "tiles of JPEG 2000 and JPEG XR files: multiples of 16 (one tile)")
            ->option_text("WxH")
            ->check(CheckTiles)
            ->group(group),
        {Format::kJp2, Format::kJ2k, Format::kJpegXr});
}

void Options::DefineJpeg(Arguments* arguments) {
  Settings& settings = arguments->settings;
  const std::string group = "JPEG files (.jpg), lossless ones (.ljpg)";
  const std::vector<Format> jpeg = {Format::kJpeg};
  auto* const progressive = Limit(app_.add_flag("--progressive", arguments->is_progressive,
                                                "write several scans, coarse to fine")
                                      ->group(group),
                                  jpeg);
  Limit(app_.add_option("--script", arguments->script_file,
                        "write the scans that this file lists, as in 0,1,2: 0-0, 0, 1;")
            ->option_text("FILE")
            ->check(CLI::ExistingFile.description(""))
            ->excludes(progressive)
            ->group(group),
        jpeg);
  Limit(app_.add_flag("--optimize", arguments->optimizes, "make the best Huffman tables")
            ->group(group),
        jpeg);
  Limit(app_.add_option("--depth", settings.jpeg_depth, "bits of a sample: 8, or 12 (8)")
            ->option_text("N")
            ->group(group),
        jpeg);
  auto* const transcode = Limit(app_.add_flag("--transcode", settings.transcodes,
                                              "JPEG to JPEG without a change of the coefficients")
                                    ->group(group),
                                jpeg);
  for (const char* other : {"--quality", "--lossless", "--sampling", "--depth", "--region",
                            "--scale", "--fit", "--grey"}) {
    transcode->excludes(app_.get_option(other));
  }
  Limit(app_.add_option("--crop", arguments->crop,
                        "with --transcode, a part; left and top are rounded down to whole MCUs")
            ->option_text("WxH+X+Y")
            ->check(CheckRegion)
            ->needs(transcode)
            ->group(group),
        jpeg);
  app_.add_option("--scans", settings.scans_directory,
                  "write a PNG file for each scan of progressive JPEG inputs to this directory")
      ->option_text("DIR")
      ->group(group);
  const std::vector<Format> lossless = {Format::kLosslessJpeg};
  Limit(app_.add_option("--predictor", settings.lossless_jpeg.predictor,
                        "of lossless files: 1 left, 2 above, 3 above left, 4 to 7 mixtures (1)")
            ->option_text("1-7")
            ->check(CLI::Range(1, 7))
            ->group(group),
        lossless);
  Limit(app_.add_option("--point-transform", settings.lossless_jpeg.point_transform,
                        "bits that lossless files leave out of each sample (0)")
            ->option_text("0-15")
            ->check(CLI::Range(0, 15))
            ->group(group),
        lossless);
}

void Options::DefineJpeg2000(Arguments* arguments) {
  Settings& settings = arguments->settings;
  const std::string group = "JPEG 2000 files (.jp2, .j2k)";
  auto* const lossless = app_.get_option("--lossless");
  auto* const ratio =
      Limit(app_.add_option("--ratio", settings.jpeg2000.ratio,
                            "files this many times smaller than the pixels (lossless)")
                ->option_text("R")
                ->check(Between(1, 100000))
                ->excludes(lossless)
                ->group(group),
            kJpeg2000Files);
  Limit(app_.add_option("--psnr", settings.jpeg2000.psnr, "files of this PSNR in dB")
            ->option_text("P")
            ->check(Between(10, 80))
            ->excludes(lossless)
            ->excludes(ratio)
            ->group(group),
        kJpeg2000Files);
  Limit(app_.add_option("--style", arguments->block_styles,
                        "code-blocks: any of bypass, reset, terminate, causal, predictable, "
                        "symbols, with commas between")
            ->option_text("S,S...")
            ->delimiter(',')
            ->group(group),
        kJpeg2000Files);
}

void Options::DefineTextures(Arguments* arguments) {
  const std::string group = "Textures (.dds)";
  const std::vector<Format> dds = {Format::kDds};
  Limit(app_.add_option("--format", arguments->texture,
                        "bc1, bc2, bc3, bc4 (grey), bc5 (red and green), bc7 or ycocg (bc3 where "
                        "something is transparent, else bc1)")
            ->option_text("F")
            ->group(group),
        dds);
  auto* const mode =
      Limit(app_.add_option("--mode", arguments->bc7_mode, "all blocks of BC7 files in one mode")
                ->option_text("0-7")
                ->check(CLI::Range(0, 7))
                ->group(group),
            dds);
  auto* const fast =
      Limit(app_.add_flag("--fast", arguments->is_fast, "write BC7 files quickly: mode 6 alone")
                ->excludes(mode)
                ->group(group),
            dds);
  Limit(app_.add_flag("--thorough", arguments->is_thorough,
                      "write BC7 files after a long search: half a dB more")
            ->excludes(mode)
            ->excludes(fast)
            ->group(group),
        dds);
  Limit(app_.add_flag("--mipmaps", arguments->has_mipmaps, "write all levels down to one pixel")
            ->group(group),
        dds);
  Limit(app_.add_option("--dds-header", arguments->dds_header,
                        "how the format is named: fourcc, unsigned (BC4U, BC5U) or dx10 (fourcc)")
            ->option_text("H")
            ->group(group),
        dds);
}

void Options::DefineOthers(Arguments* arguments) {
  const std::string group = "JPEG XR files (.jxr), TIFF files (.tif)";
  Limit(app_.add_option("--overlap", arguments->overlap,
                        "filters across blocks of JPEG XR files: 0 none, 1 the first stage, 2 "
                        "both (1)")
            ->option_text("0-2")
            ->check(CLI::Range(0, 2))
            ->group(group),
        {Format::kJpegXr});
  const std::vector<Format> tiff = {Format::kTiff};
  Limit(app_.add_option("--compression", arguments->tiff_compression,
                        "of TIFF files: none or packbits (packbits)")
            ->option_text("C")
            ->group(group),
        tiff);
  Limit(app_.add_flag("--byte-planes", arguments->has_byte_planes,
                      "write 16-bit TIFF files as planes of bytes, which only this program reads")
            ->group(group),
        tiff);
}

void Options::DefineReports(Arguments* arguments) {
  Settings& settings = arguments->settings;
  const std::string group = "What is told";
  auto* const probe =
      app_.add_flag("--probe", arguments->probes, "tell what the files are, without decoding them")
          ->group(group);
  auto* const verify = app_.add_flag("--verify", arguments->verifies,
                                     "decode the files and tell whether they are whole")
                           ->excludes(probe)
                           ->group(group);
  auto* const json =
      app_.add_flag("--json", arguments->prints_json, "with --probe or --verify, as JSON")
          ->group(group);
  app_.add_option("--report", settings.report_directory,
                  "write a page with pictures, sizes, PSNR and times to this directory")
      ->option_text("DIR")
      ->group(group);
  auto* const verbose =
      app_.add_flag("-v,--verbose", settings.is_verbose, "a line for each file")->group(group);
  auto* const quiet = app_.add_flag("--quiet", settings.quiet, "errors and damage only")
                          ->excludes(verbose)
                          ->group(group);
  auto* const help = app_.set_help_flag("-h,--help", "this text")->group(group);
  app_.add_flag("--help-presets", arguments->shows_presets, "what the presets mean")->group(group);
  app_.add_flag("--manual", arguments->shows_manual, "the manual page, as roff text")->group(group);
  app_.add_option("--completion", arguments->completed_shell,
                  "a script that completes command lines: bash, zsh or fish")
      ->option_text("SHELL")
      ->group(group);
  app_.set_version_flag("--version", std::string("zepconvert ") + zepcVersion(), "its number")
      ->group(group);
  general_.insert(general_.end(), {probe, verify, json, verbose, quiet, help});
}

void Options::DefineLimits(Arguments* arguments) {
  Settings& settings = arguments->settings;
  const std::string group = "Time and memory";
  const auto limit = [&](CLI::Option* option) {
    general_.push_back(option->option_text("N")->group(group));
    return option;
  };
  limit(app_.add_option("-j,--jobs", settings.jobs, "files at the same time (all cores)"))
      ->check(CLI::Range(1, 1024));
  limit(app_.add_option("--threads", settings.threads,
                        "threads for each file (all cores for one file, 1 for files at the same "
                        "time)"))
      ->check(CLI::Range(1, 1024));
  limit(app_.add_option("--memory", arguments->megabytes,
                        "files wait for each other where together they need more megabytes; "
                        "larger pictures are converted row by row (1024)"))
      ->check(CLI::Range(1, 1 << 20));
  limit(app_.add_option("--max-megapixels", arguments->max_megapixels,
                        "refuse larger pictures (268.4)"))
      ->check(Between(0.000001, 4294.9));
}

// The words that options take.
void Options::DefineWords() {
  const std::map<const char*, std::vector<std::string>> all = {
      {"--completion", CompletedShells()},   {"--compression", {"none", "packbits"}},
      {"--dds-header", Keys(kDdsHeaders)},   {"--depth", {"8", "12"}},
      {"--format", Keys(kTextures)},         {"--metadata", {"all", "profile", "none"}},
      {"--sampling", {"444", "422", "420"}}, {"--scale", {"1", "2", "4", "8"}},
      {"--style", Keys(kBlockStyles)}};
  for (const auto& [name, words] : all) {
    CLI::Option* const option = app_.get_option(name);
    option->check(CLI::IsMember(words).description(""));
    words_.emplace(option, words);
  }
  // These have checks of their own.
  words_.emplace(app_.get_option("--to"), Extensions());
  words_.emplace(app_.get_option("--from"), Extensions());
  words_.emplace(app_.get_option("--preset"), PresetNames());
}

}  // namespace zepconvert
