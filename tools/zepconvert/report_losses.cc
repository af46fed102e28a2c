// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report_losses.h"

#include "tools/zepconvert/format.h"
#include "tools/zepconvert/pixels.h"

namespace zepconvert {
namespace {

using Losses = std::vector<std::string>;

void AddChangesOfGeometry(const Settings& settings, const Facts& facts, const Image& input,
                          Losses* losses) {
  const int orientation = facts.metadata.orientation;
  const bool is_turned = settings.turns_upright && orientation > 1;
  const bool is_part = settings.region.width > 0 || settings.crop.width > 0;
  const bool has_fit = settings.fit_width > 0 || settings.fit_height > 0;
  const int width = is_part                        ? settings.region.width
                    : is_turned && orientation > 4 ? facts.height
                                                   : facts.width;
  if (is_part) losses->emplace_back("a part");
  if (settings.reduce > 0 || (has_fit && input.width() < width)) losses->emplace_back("reduced");
  if (is_turned) losses->emplace_back("turned");
}

void AddChangesOfPixels(const Settings& settings, Format format, const Image& input,
                        const Image& encoded, Losses* losses) {
  const Form before = input.form(), after = encoded.form();
  if (IsGrey(after.layout) && !IsGrey(before.layout)) losses->emplace_back("grey");
  if (before.layout == zepcLayoutCmyk && after.layout == zepcLayoutRgb) {
    losses->emplace_back("inks became RGB");
  }
  if (!HasAlpha(after.layout) && !IsOpaque(input)) losses->emplace_back("opacity left out");
  if (format == Format::kDds && settings.dds.texture == zepcTextureBc5) {
    losses->emplace_back("red and green only");
  }
  if (IsLight(before.sample) && !IsLight(after.sample)) {
    losses->push_back("light became " + std::to_string(after.bits) + " bits, cut off at white");
  } else if (after.bits < before.bits) {
    losses->push_back(std::to_string(after.bits) + " of " + std::to_string(before.bits) + " bits");
  }
}

}  // namespace

Losses LossesBeforeCoding(const Settings& settings, Format format, const Facts& facts,
                          const Picture& input, const Image& encoded) {
  Losses losses;
  if (!input.warnings.empty()) losses.emplace_back("damaged");
  AddChangesOfGeometry(settings, facts, input.image, &losses);
  if (&input.image == &encoded || IsEquivalent(input.image, encoded)) return losses;
  const size_t known = losses.size();
  AddChangesOfPixels(settings, format, input.image, encoded, &losses);
  if (losses.size() == known) losses.emplace_back("changed");
  return losses;
}

}  // namespace zepconvert
