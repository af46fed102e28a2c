// SPDX-License-Identifier: MIT
#include "tools/zepconvert/command_line.h"

#include <cstdio>
#include <exception>

#include "tools/zepconvert/completion.h"
#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/manual.h"
#include "tools/zepconvert/options.h"
#include "tools/zepconvert/presets.h"

namespace zepconvert {
namespace {

// Fails where the script makes no sense.
void ReadScript(const std::string& name, Settings* settings) {
  try {
    const auto file = ReadFile(name, ReadLimits());
    settings->scan_script = std::string(file.data(), file.data() + file.size());
    CheckScanScript(*settings);
  } catch (const std::exception& error) {
    throw Failure(name + ": " + error.what());
  }
}

void SetTexture(const Arguments& arguments, zepcDdsOptions* dds) {
  const bool has_effort = arguments.is_fast || arguments.is_thorough || arguments.bc7_mode >= 0;
  if (has_effort && arguments.texture != "bc7") {
    throw Failure("--mode, --fast and --thorough go with --format bc7");
  }
  dds->has_mipmaps = arguments.has_mipmaps;
  dds->header = DdsHeaderOf(arguments.dds_header);
  if (arguments.texture.empty()) return;
  dds->texture = TextureOf(arguments.texture);
  dds->bc7_mode = arguments.is_fast ? 1 : arguments.is_thorough ? 2 : 0;
  dds->bc7_only = arguments.bc7_mode + 1;
}

// Fails where the options make no sense.
Settings SettingsOf(const Arguments& arguments) {
  Settings settings = arguments.settings;
  settings.jpeg.quality = settings.jpeg_xr.quality = arguments.quality;
  settings.jpeg.sampling = settings.jpeg_xr.sampling = SamplingOf(arguments.sampling);
  settings.jpeg.is_progressive = arguments.is_progressive;
  settings.jpeg.optimizes = arguments.optimizes;
  settings.jpeg.restart_interval = settings.lossless_jpeg.restart_rows = arguments.restart;
  settings.jpeg_xr.overlap = arguments.overlap - 1;
  ParseSize(arguments.tiles, &settings.jpeg_xr.tile_width, &settings.jpeg_xr.tile_height);
  settings.jpeg2000.tile_width = settings.jpeg_xr.tile_width;
  settings.jpeg2000.tile_height = settings.jpeg_xr.tile_height;
  SetTexture(arguments, &settings.dds);
  settings.tiff.is_uncompressed = arguments.tiff_compression == "none" ? 1 : 0;
  settings.tiff.has_byte_planes = arguments.has_byte_planes;
  for (const std::string& style : arguments.block_styles) {
    settings.jpeg2000.block_style |= BlockStyleOf(style);
  }
  while (1 << settings.reduce < arguments.scale) ++settings.reduce;
  ParseSize(arguments.fit, &settings.fit_width, &settings.fit_height);
  const bool has_none = arguments.no_metadata || arguments.metadata == "none";
  settings.kept = has_none                          ? Kept::kNothing
                  : arguments.metadata == "profile" ? Kept::kProfile
                                                    : Kept::kAll;
  settings.if_exists = arguments.replaces         ? IfExists::kReplace
                       : arguments.keeps_existing ? IfExists::kKeep
                                                  : IfExists::kAsk;
  settings.max_pixels = static_cast<int64_t>(arguments.max_megapixels * 1e6);
  settings.memory = arguments.megabytes << 20;
  ParseRegion(arguments.crop, &settings.crop);
  ParseRegion(arguments.region, &settings.region);
  if (!arguments.from.empty()) settings.from = FormatOfName("." + arguments.from);
  if (!arguments.script_file.empty()) ReadScript(arguments.script_file, &settings);
  return settings;
}

// The options of the preset, as far as the command line leaves them open.
void AddPreset(const Arguments& arguments, Format output, Options* options) {
  if (arguments.preset.empty()) return;
  for (const PresetOption& option : PresetOf(arguments.preset).options) {
    if (!options->IsFree(option.name, output)) continue;
    CLI::Option* const added = options->app().get_option(std::string("--") + option.name);
    added->add_result(option.value);
    added->run_callback();
  }
}

// Tells the form of the command: IN OUT, or inputs with a common format.
void FindFiles(Arguments* arguments, Command* command) {
  std::vector<std::string>& files = arguments->files;
  const bool is_single_stream = files.size() == 1 && files[0] == kStandardStream;
  const bool writes_stream = files.size() == 2 && files[1] == kStandardStream;
  const bool is_spread = !arguments->out_dir.empty() || arguments->is_recursive;
  const bool has_names = files.size() == 2 && !is_spread;
  if (arguments->to.empty() && !arguments->preset.empty() && (!has_names || writes_stream)) {
    arguments->to = PresetOf(arguments->preset).to;
  }
  if (arguments->to.empty() || (writes_stream && !is_spread)) {
    if (!arguments->out_dir.empty()) throw Failure("--out-dir goes with --to");
    if (arguments->is_recursive) throw Failure("--recursive goes with --to");
    if (files.size() != 2)
      throw Failure("give an input and an output, or --to FORMAT (--help tells more)");
    command->output = files[1];
    files.pop_back();
  } else if (is_single_stream && !is_spread) {
    command->output = kStandardStream;
  }
  command->to = FormatOfName(arguments->to.empty() ? command->output : "." + arguments->to);
  if (command->to == Format::kUnknown) {
    throw Failure(writes_stream ? "- as output: --to FORMAT tells the format"
                                : command->output + ": the name must end in " +
                                      KnownExtensions(", ", " or ", "."));
  }
  command->ending = "." + Extension(command->to);
  for (const std::string& name : files) {
    if (name == kStandardStream && command->output.empty()) {
      throw Failure("- can only be the single input");
    }
  }
}

Format WithLoss(const Arguments& arguments, Format format) {
  const bool becomes_lossless = arguments.settings.is_lossless && format == Format::kJpeg;
  return becomes_lossless ? Format::kLosslessJpeg : format;
}

// `arguments` are those that the options fill.
Command CommandOf(Arguments* arguments, Options* options) {
  Command command;
  if (arguments->probes || arguments->verifies) {
    command.task = arguments->probes ? Task::kProbe : Task::kVerify;
    options->CheckWithoutConversion(arguments->probes ? "--probe" : "--verify");
    if (arguments->files.empty()) throw Failure("give the files to look at");
    command.prints_json = arguments->prints_json;
  } else {
    if (arguments->prints_json) throw Failure("--json goes with --probe or --verify");
    FindFiles(arguments, &command);
    options->CheckFor(WithLoss(*arguments, command.to));
    AddPreset(*arguments, WithLoss(*arguments, command.to), options);
    command.to = WithLoss(*arguments, command.to);
  }
  command.settings = SettingsOf(*arguments);
  command.inputs = arguments->files;
  command.is_recursive = arguments->is_recursive;
  command.out_dir = arguments->out_dir;
  if (command.settings.transcodes && command.settings.kept == Kept::kProfile) {
    throw Failure("--transcode keeps all metadata or none");
  }
  return command;
}

}  // namespace

std::optional<Command> ReadCommandLine(int argc, char** argv) {
  Arguments arguments;
  Options options(&arguments);
  try {
    options.app().parse(argc, argv);
    if (arguments.shows_presets) {
      std::fputs(PresetsHelp().c_str(), stdout);
      return std::nullopt;
    }
    if (arguments.shows_manual) {
      std::fputs(ManualPage(options).c_str(), stdout);
      return std::nullopt;
    }
    if (!arguments.completed_shell.empty()) {
      std::fputs(CompletionFor(arguments.completed_shell, options).c_str(), stdout);
      return std::nullopt;
    }
    return CommandOf(&arguments, &options);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) {
      throw Failure(std::string(error.what()) + " (--help tells more)");
    }
    options.app().exit(error);
    return std::nullopt;
  }
}

}  // namespace zepconvert
