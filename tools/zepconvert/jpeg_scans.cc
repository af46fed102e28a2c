// SPDX-License-Identifier: MIT
#include "tools/zepconvert/jpeg_scans.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/png_file.h"

namespace zepconvert {
namespace {

namespace fs = std::filesystem;

// DIRECTORY/photo-scan-03.png
std::string NameOfScan(const std::string& directory, const std::string& name, int number) {
  char suffix[32];
  std::snprintf(suffix, sizeof(suffix), "-scan-%02d.png", number);
  return (fs::path(directory) / (fs::path(name).stem().string() + suffix)).string();
}

// What a PNG file holds.
Form PngForm(const Form& before) {
  const zepcLayout layout = before.layout == zepcLayoutCmyk ? zepcLayoutRgb : before.layout;
  return UnsignedForm(layout, before.bits > 8 ? 16 : 8);
}

}  // namespace

void WriteScans(const Settings& settings, ByteView input, const std::string& name) {
  if (FormatOfBytes(input.data, input.size) != Format::kJpeg) return;
  const zepcInfo info = ProbeLibraryFile(settings, input);
  if (info.is_progressive == 0) return;
  std::error_code failed;
  fs::create_directories(settings.scans_directory, failed);
  if (failed) throw Failure(settings.scans_directory + ": " + failed.message());
  constexpr int kMost = 65535;  // of zepcDecodeOptions::layers
  for (int scan = 1; scan <= std::min(info.layers, kMost); ++scan) {
    Image image = ReadFirstScans(settings, input, scan);
    const Form form = PngForm(image.form());
    if (!(form == image.form())) image = Converted(image, form);
    WriteFile(NameOfScan(settings.scans_directory, name, scan), WritePng(image, Metadata()), name,
              settings.if_exists == IfExists::kReplace);
  }
}

}  // namespace zepconvert
