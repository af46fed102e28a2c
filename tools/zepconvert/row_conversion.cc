// SPDX-License-Identifier: MIT
#include "tools/zepconvert/row_conversion.h"

#include <exception>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "tools/zepconvert/adjustment.h"
#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/row_output.h"

namespace zepconvert {
namespace {

// The decoding side on a thread of its own.
class Decoder {
 public:
  Decoder(RowInput* input, RowPipe* pipe)
      : pipe_(pipe), thread_([this, input] {
          try {
            input->Read(pipe_, &messages_);
          } catch (...) {
            failure_ = std::current_exception();
          }
          pipe_->End();
        }) {}
  ~Decoder() { Wait(); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  // Ends the thread.
  void Wait() {
    pipe_->Close();
    if (thread_.joinable()) thread_.join();
  }
  // After Wait().
  const std::exception_ptr& failure() const { return failure_; }
  Picture& messages() { return messages_; }

 private:
  RowPipe* pipe_;
  Picture messages_;
  std::exception_ptr failure_;
  std::thread thread_;
};

// A table or tiles for formats whose encoders would otherwise need the whole picture.
void ChooseCoding(Format format, Settings* settings, Picture* picture) {
  constexpr int32_t kSide = 1024;
  if (format == Format::kLosslessJpeg) {
    settings->lossless_jpeg.has_usual_table = 1;
    picture->notes.emplace_back("a picture of this size is written with a usual Huffman table");
  }
  const bool is_jpeg2000 = format == Format::kJp2 || format == Format::kJ2k;
  if (!is_jpeg2000 && format != Format::kJpegXr) return;
  int32_t* const width =
      is_jpeg2000 ? &settings->jpeg2000.tile_width : &settings->jpeg_xr.tile_width;
  int32_t* const height =
      is_jpeg2000 ? &settings->jpeg2000.tile_height : &settings->jpeg_xr.tile_height;
  if (*width != 0) return;
  *width = *height = kSide;
  picture->notes.push_back("a picture of this size is written in tiles of " +
                           std::to_string(kSide) + " x " + std::to_string(kSide) +
                           " pixels (--tiles)");
}

template <class Items>
void MoveTo(Items* to, Items* from) {
  to->insert(to->end(), from->begin(), from->end());
}

}  // namespace

std::unique_ptr<RowInput> OpenForRows(const Settings& settings, const Job& job, ByteView input) {
  const bool needs_pixels = !settings.report_directory.empty() || settings.transcodes ||
                            !settings.scans_directory.empty() || settings.reduce > 0 ||
                            settings.fit_width > 0;
  if (needs_pixels || !TakesRows(settings, job.format)) return nullptr;
  return OpenRows(settings, input);
}

void ConvertByRows(Settings settings, RowInput* input, const OnProgress& on_progress,
                   Result* result) {
  const Timer timer(kConvert, result);
  const Format format = result->job.format;
  Picture picture = input->TakeHead();
  // Whether all is opaque is only known after the last row.
  const bool is_opaque = !HasAlpha(input->form().layout);
  const Form form = AdjustHead(settings, format, input->form(), is_opaque, &picture);
  ChooseCoding(format, &settings, &picture);
  zepcPixels shape = zepc::Make<zepcPixels>();
  shape.width = result->width = input->width();
  shape.height = result->height = input->height();
  shape.layout = form.layout;
  shape.sample = form.sample;
  shape.bits = form.bits;
  OutputFile file(result->job.output, result->job.input, result->job.replaces);
  RowPipe pipe(IsLight(form.sample) ? zepcOpacityDrop : zepcOpacityAuto);
  Decoder decoder(input, &pipe);
  int32_t done = 0;
  const auto next = [&](const zepcPixels& rows) {
    if (!pipe.Take(rows)) return false;
    done += rows.height;
    on_progress(static_cast<double>(done) / shape.height);
    return true;
  };
  try {
    WriteRows(settings, format, shape, picture.metadata, next, &file);
  } catch (...) {
    // A lack of rows is the decoder's failure.
    decoder.Wait();
    if (decoder.failure() != nullptr && done < shape.height) {
      std::rethrow_exception(decoder.failure());
    }
    throw;
  }
  decoder.Wait();
  if (decoder.failure() != nullptr) std::rethrow_exception(decoder.failure());
  file.Finish();
  result->output_bytes = file.size();
  MoveTo(&result->warnings, &decoder.messages().warnings);
  MoveTo(&result->notes, &picture.notes);
  MoveTo(&result->notes, &decoder.messages().notes);
}

}  // namespace zepconvert
