// SPDX-License-Identifier: MIT
// The options of the program and the files that each is for.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_OPTIONS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_OPTIONS_H_

#include <CLI/CLI.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tools/zepconvert/format.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// The words of the command line that need more than their parser to become settings.
struct Arguments {
  Settings settings;
  std::vector<std::string> files;
  std::string preset;
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
  std::string fit;
  std::string from;
  std::string to;
  std::string out_dir;
  std::string metadata = "all";
  double max_megapixels = 268.4;
  int64_t megabytes = 1024;
  bool is_recursive = false;
  bool replaces = false;
  bool keeps_existing = false;
  bool probes = false;
  bool verifies = false;
  bool prints_json = false;
  bool shows_presets = false;
  bool shows_manual = false;
  std::string completed_shell;
  bool has_mipmaps = false;
  bool has_byte_planes = false;
  bool is_progressive = false;
  bool optimizes = false;
  bool no_metadata = false;
};

class Options {
 public:
  // Parsing fills `arguments`.
  explicit Options(Arguments* arguments);

  CLI::App& app() { return app_; }
  const CLI::App& app() const { return app_; }
  // The words that an option takes; of other options none.
  std::vector<std::string> WordsOf(const CLI::Option* option) const;

  // Fails where an option was given that does nothing for files of this format.
  void CheckFor(Format output) const;
  // Fails where an option was given that has no meaning without a conversion.
  void CheckWithoutConversion(const std::string& task) const;
  // True if the option, without its dashes, may be added: neither it nor one that excludes it was
  // given, and files of this format know it.
  bool IsFree(const std::string& name, Format output) const;

 private:
  CLI::Option* Limit(CLI::Option* option, std::vector<Format> outputs);
  void DefineFiles(Arguments* arguments);
  void DefineContents(Arguments* arguments);
  void DefineShared(Arguments* arguments);
  void DefineJpeg(Arguments* arguments);
  void DefineJpeg2000(Arguments* arguments);
  void DefineTextures(Arguments* arguments);
  void DefineOthers(Arguments* arguments);
  void DefineReports(Arguments* arguments);
  void DefineLimits(Arguments* arguments);
  void DefineWords();

  CLI::App app_;
  // Options that only results of some formats know.
  std::vector<std::pair<const CLI::Option*, std::vector<Format>>> limits_;
  // Options that do not ask for a conversion.
  std::vector<const CLI::Option*> general_;
  std::map<const CLI::Option*, std::vector<std::string>> words_;
};

// The values of options that are words or sizes.
zepcSampling SamplingOf(const std::string& word);
zepcTexture TextureOf(const std::string& word);
int32_t DdsHeaderOf(const std::string& word);
zepcBlockStyle BlockStyleOf(const std::string& word);
// "640x480+16+32"; false: it is none.
bool ParseRegion(const std::string& text, zepcRect* region);
// "512x256"
bool ParseSize(const std::string& text, int32_t* width, int32_t* height);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_OPTIONS_H_
