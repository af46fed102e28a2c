// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report_evidence.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <utility>

#include "tools/zepconvert/conversion.h"
#include "tools/zepconvert/facts.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/png_file.h"
#include "tools/zepconvert/report_losses.h"
#include "tools/zepconvert/report_preview.h"

namespace zepconvert {
namespace {

// Longer sides of the pictures.
constexpr int kSide = 1024, kTransparentSide = 512, kErrorSide = 512, kPartSide = 256;

// The image in this form: itself, or a copy in `storage`.
const Image& InForm(const Form& form, const Image& image, Image* storage) {
  if (image.form() == form) return image;
  *storage = Converted(image, form);
  return *storage;
}

// For whole files as they are.
Settings PlainSettings(const Settings& settings) {
  Settings plain;
  plain.max_pixels = std::numeric_limits<int64_t>::max();
  plain.threads = settings.threads;
  return plain;
}

// How browsers show a picture.
Form FormToShow(const Form& form) {
  return UnsignedForm(form.layout == zepcLayoutCmyk ? zepcLayoutRgb : form.layout, 8);
}

// The form in which a result is compared with the picture that was encoded. Blocks of textures may
// be less opaque than the picture. Light gets the curve of sRGB.
Form FormToMeasure(const Image& encoded, const Image& result) {
  const Form form = encoded.form();
  const bool adds_alpha = HasAlpha(result.form().layout) && !IsOpaque(result);
  const zepcLayout layout = adds_alpha ? result.form().layout : form.layout;
  return UnsignedForm(layout, IsLight(form.sample) ? 16 : form.bits);
}

// Writes the pictures.
class Album {
 public:
  Album(const Conversion& conversion, std::string stem, Evidence* evidence)
      : conversion_(conversion), stem_(std::move(stem)), evidence_(evidence) {}

  // Grey, RGB or with opacity, 8 bits.
  void AddWhole(Shown shown, const Image& image) {
    const int longer = std::max(image.width(), image.height());
    const bool is_transparent = HasAlpha(image.form().layout) && !IsOpaque(image);
    if (longer <= kSmallPicture) return AddPng(shown, image);
    if (is_transparent) return AddPng(shown, Reduced(image, kTransparentSide));
    AddJpeg(shown, Reduced(image, kSide));
  }

  void AddErrors(const Image& original, const Image& result) {
    const int longer = std::max(result.width(), result.height());
    if (longer <= kSmallPicture) return AddPng(kErrors, ErrorsInColors(original, result));
    const Image errors = ErrorPicture(original, result);
    AddPng(kErrors, ReducedErrors(errors, kErrorSide));
    const zepcRect part = WorstPart(errors, kPartSide, kPartSide);
    const Image original_part = PartOf(original, part), result_part = PartOf(result, part);
    evidence_->part = part;
    AddPng(kOriginalPart, original_part);
    AddPng(kResultPart, result_part);
    AddPng(kErrorsPart, ErrorsInColors(original_part, result_part));
  }

 private:
  void AddPng(Shown shown, const Image& image) {
    Write(shown, image, ".png", WritePng(image, MetadataOf(image, shown)));
  }
  void AddJpeg(Shown shown, Image image) {
    Settings settings;
    settings.jpeg.quality = 85;
    settings.threads = 1;
    Picture picture;
    const Form opaque =
        UnsignedForm(IsGrey(image.form().layout) ? zepcLayoutGrey : zepcLayoutRgb, 8);
    picture.metadata = MetadataOf(image, shown);
    picture.image = image.form() == opaque ? std::move(image) : Converted(image, opaque);
    Write(shown, picture.image, ".jpg",
          WriteLibraryFile(settings, Format::kJpeg, picture, [](double) {}));
  }
  // The profile, by which browsers show the right colours. Errors have none.
  Metadata MetadataOf(const Image& image, Shown shown) const {
    constexpr size_t kMostBytes = 1 << 16;
    Metadata metadata;
    const Picture& picture = conversion_.picture;
    const bool has_profile = picture.image.pixels().data != nullptr &&
                             IsGrey(picture.image.form().layout) == IsGrey(image.form().layout) &&
                             picture.image.form().layout != zepcLayoutCmyk &&
                             picture.metadata.icc.size() <= kMostBytes;
    if (has_profile && shown != kErrors && shown != kErrorsPart) {
      metadata.icc = picture.metadata.icc;
    }
    return metadata;
  }
  void Write(Shown shown, const Image& image, const char* extension, ByteView file) {
    constexpr const char* kNames[kShownCount] = {"original",      "result",      "errors",
                                                 "original-part", "result-part", "errors-part"};
    const std::string path = stem_ + kNames[shown] + extension;
    WriteFile(path, file, conversion_.job.input, true);
    evidence_->previews[shown] = {std::filesystem::path(path).filename().string(), image.width(),
                                  image.height()};
  }

  const Conversion& conversion_;
  const std::string stem_;
  Evidence* evidence_;
};

// The whole of it.
class Examination {
 public:
  Examination(const Conversion& conversion, const std::string& stem)
      : conversion_(conversion), album_(conversion, stem, &evidence_) {
    if (conversion.is_adjusted) input_ = Load(conversion.settings, conversion.input, [](double) {});
  }

  Evidence Run() {
    if (CopiesCoefficients()) {
      DecodeResult();
      if (evidence_.not_measured.empty()) CutInput();
      encoded_ = &input_.image;
    } else {
      encoded_ = &conversion_.picture.image;
      DecodeResult();
    }
    evidence_.is_cut_off = IsLight(encoded_->form().sample);
    const Picture& input = conversion_.is_adjusted ? input_ : conversion_.picture;
    evidence_.losses = LossesBeforeCoding(conversion_.settings, conversion_.job.format,
                                          FactsOfInput(), input, *encoded_);
    if (evidence_.not_measured.empty()) {
      Compare();
    } else {
      ShowEncoded();
    }
    return std::move(evidence_);
  }

 private:
  bool CopiesCoefficients() const { return conversion_.picture.image.pixels().data == nullptr; }

  // Those by which a change of size or orientation is known.
  Facts FactsOfInput() const {
    const Settings& settings = conversion_.settings;
    const bool may_change =
        settings.fit_width > 0 || settings.fit_height > 0 || settings.turns_upright;
    return may_change ? FactsOf(PlainSettings(settings), conversion_.input) : Facts();
  }

  void DecodeResult() {
    if (FormatOfBytes(conversion_.output.data, conversion_.output.size) == Format::kUnknown) {
      evidence_.not_measured = "zepconvert does not read files of this kind";
      return;
    }
    result_ = Load(PlainSettings(conversion_.settings), conversion_.output, [](double) {}).image;
  }

  // The part that a copy of coefficients took begins with whole MCUs.
  void CutInput() {
    const zepcRect& crop = conversion_.settings.crop;
    const Image& input = input_.image;
    if (input.width() == result_.width() && input.height() == result_.height()) return;
    const int x = crop.x + std::min(crop.width, input.width() - crop.x) - result_.width();
    const int y = crop.y + std::min(crop.height, input.height() - crop.y) - result_.height();
    if (x < 0 || y < 0 || crop.width == 0 || conversion_.settings.turns_upright) {
      evidence_.not_measured = "its place in the input is not known";
    } else {
      input_.image.CutTo({x, y, result_.width(), result_.height()});
    }
  }

  void Compare() {
    if (!IsEquivalent(*encoded_, result_)) evidence_.losses.emplace_back("lossy coding");
    evidence_.is_lossless = evidence_.losses.empty();
    const Form form = FormToMeasure(*encoded_, result_);
    Image storage_a, storage_b;
    const Image& a = InForm(form, *encoded_, &storage_a);
    const Image& b = InForm(form, result_, &storage_b);
    evidence_.psnr = Measure(a, b);
    evidence_.psnr_bits = form.bits;
    evidence_.has_inks = form.layout == zepcLayoutCmyk;
    const Form to_show = FormToShow(form);
    Image shown_storage_a, shown_storage_b;
    Show(InForm(to_show, a, &shown_storage_a), InForm(to_show, b, &shown_storage_b));
  }

  // Of the encoded picture and the result.
  void Show(const Image& a, const Image& b) {
    evidence_.ssim = Ssim(a, b);
    evidence_.modes = ModesOfBc7(conversion_.output, a, b);
    ShowOriginal(a);
    if (evidence_.is_lossless) return;
    album_.AddWhole(kResult, b);
    if (!IsEquivalent(a, b)) album_.AddErrors(a, b);
  }

  // As it was in the input, where it can be laid over the result.
  void ShowOriginal(const Image& encoded) {
    const Image& input = input_.image;
    const bool fits = conversion_.is_adjusted && !CopiesCoefficients() &&
                      input.width() == encoded.width() && input.height() == encoded.height();
    if (!fits) return album_.AddWhole(kOriginal, encoded);
    Image storage;
    album_.AddWhole(kOriginal, InForm(FormToShow(input.form()), input, &storage));
  }

  void ShowEncoded() {
    Image storage;
    album_.AddWhole(kOriginal, InForm(FormToShow(encoded_->form()), *encoded_, &storage));
  }

  const Conversion& conversion_;
  Evidence evidence_;
  Album album_;
  Picture input_;                   // where it was decoded again
  const Image* encoded_ = nullptr;  // the picture that was encoded
  Image result_;
};

}  // namespace

Evidence Examine(const Conversion& conversion, const std::string& stem) {
  return Examination(conversion, stem).Run();
}

}  // namespace zepconvert
