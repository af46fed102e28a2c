// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "codecs/jpeg/band_joiner.h"
#include "codecs/jpeg/band_sequence.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpeg/lossless/row_coder.h"
#include "codecs/jpeg/lossless/rows.h"
#include "codecs/jpeg/markers/markers.h"
#include "codecs/jpeg/markers/segment_writer.h"
#include "codecs/support/parallel.h"
#include "codecs/support/row_source.h"
#include "codecs/support/shared_status.h"
#include "codecs/support/thread_pool.h"
#include "zepjp.h"

namespace zepcodec::jpeg::lossless {
namespace {

constexpr int kMostRestartInterval = 65535;

using Statistics = std::array<int32_t, 256>;

Status MakeTable(const Statistics& statistics, Table* table) {
  const bool done =
      zepiEncodeHuffmanRawTableInit_JPEG_8u(statistics.data(), table->bits.data(),
                                            table->categories.data()) == zepStatusOk &&
      zepiEncodeHuffmanSpecInit_JPEG_8u(table->bits.data(), table->categories.data(),
                                        &table->spec) == zepStatusOk;
  return done ? Status() : Status::Error("no Huffman table could be made");
}

// Roughly how often each magnitude category occurs in photographs: small differences are frequent,
// and each further category is half as frequent as the one before.
constexpr Statistics kPhotographs = {900, 800, 900, 950, 800, 500, 250, 125, 64,
                                     32,  16,  8,   4,   2,   1,   1,   1};

// Rows of about this many samples are a band.
constexpr size_t kSamplesInABand = size_t{1} << 18;

// Gives bands of rows to threads, each with the row above.
class BandSource {
 public:
  BandSource(RowSource* rows, int rows_in_band, const EncodeOptions& options)
      : rows_(*rows), rows_in_band_(rows_in_band), options_(options) {}

  Status Next(RowBand* band) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Status status = rows_.Next(rows_in_band_, &band->rows, &band->y);
    if (!status.ok() || band->rows.height() == 0) return status;
    std::swap(band->above, last_);
    const int next = band->y + band->rows.height();
    if (next == rows_.form().height() || IsFirstRow(options_, next)) return status;
    if (!last_.ResizeLike(rows_.form(), rows_.form().width(), 1)) return Status::NoMemory();
    std::memcpy(last_.Row(0), std::as_const(band->rows).Row(band->rows.height() - 1),
                last_.Stride());
    return status;
  }

 private:
  RowSource& rows_;
  const int rows_in_band_;
  const EncodeOptions& options_;
  std::mutex mutex_;
  Picture last_;  // the last row that was given
};

class Encoder {
 public:
  Encoder(RowSource* rows, const EncodeOptions& options, ByteBuffer* file)
      : rows_(*rows),
        form_(rows->form()),
        options_(options),
        file_(file),
        components_(static_cast<size_t>(form_.channels())),
        pool_(options.threads) {}

  Status Encode() {
    if (Status status = Check(); !status.ok()) return status;
    if (!file_->Resize(0)) return Status::NoMemory();
    rows_in_band_ = static_cast<int>(std::max<size_t>(kSamplesInABand / form_.SamplesInRow(), 1));
    tables_.resize(options_.tables == Tables::kOptimal ? components_ : 1);
    if (options_.tables == Tables::kFixed) {
      Status status = MakeTable(kPhotographs, tables_.data());
      return status.ok() ? EncodeRows(&rows_) : status;
    }
    Picture picture;
    if (Status status = rows_.All(&picture); !status.ok()) return status;
    PictureRows counted(picture);
    PictureRows coded(picture);
    if (Status status = MakeTables(&counted); !status.ok()) return status;
    return EncodeRows(&coded);
  }

 private:
  Status Check() const {
    if (form_.width() < 1 || form_.width() > kMostSide || form_.height() < 1 ||
        form_.height() > kMostSide) {
      return Status::Error("a side must have 1 to 65535 pixels");
    }
    if (components_ < 1 || components_ > kMostComponents) {
      return Status::Error("a picture must have 1 to 4 components");
    }
    if (form_.bits() < 2 || form_.bits() > 16) {
      return Status::Error("samples must have 2 to 16 bits");
    }
    if (options_.predictor < 1 || options_.predictor > 7) {
      return Status::Error("the predictor must be 1 to 7");
    }
    if (options_.point_transform < 0 || options_.point_transform >= form_.bits()) {
      return Status::Error("the point transform must be less than the bits of a sample");
    }
    const int most_rows = kMostRestartInterval / form_.width();
    if (options_.restart_rows < 0 || options_.restart_rows > most_rows) {
      return Status::Error("at most " + std::to_string(most_rows) + " rows of " +
                           std::to_string(form_.width()) +
                           " pixels fit between two restart markers");
    }
    return Status();
  }

  size_t BandCount() const { return static_cast<size_t>(DivideUp(form_.height(), rows_in_band_)); }

  // Calls work(coder, band) for each band.
  template <class Work>
  Status ForEachBand(RowSource* rows, const Work& work, Progress* progress) {
    BandSource source(rows, rows_in_band_, options_);
    SharedStatus status;
    const Status done = RunParallel(
        &pool_, BandCount(),
        [&] {
          auto coder = std::make_unique<RowCoder>(form_, options_);
          auto band = std::make_unique<RowBand>();
          return [&, coder = std::move(coder), band = std::move(band)](size_t) {
            if (!status.has_failed()) status.Take(work(&source, coder.get(), band.get()));
          };
        },
        progress);
    return status.has_failed() ? status.status() : done;
  }

  Status MakeTables(RowSource* rows) {
    std::vector<Counts> all(tables_.size(), Counts{});
    std::mutex mutex;
    const auto count = [&](BandSource* source, RowCoder* coder, RowBand* band) {
      if (Status status = source->Next(band); !status.ok()) return status;
      std::vector<Counts> counts(all.size(), Counts{});
      coder->Begin(*band);
      for (int y = 0; y < band->rows.height(); ++y) coder->Count(&counts);
      const std::lock_guard<std::mutex> lock(mutex);
      for (size_t i = 0; i < all.size(); ++i) {
        for (size_t k = 0; k < kCategories; ++k) all[i][k] += counts[i][k];
      }
      return Status();
    };
    Status status = ForEachBand(rows, count, nullptr);
    for (size_t i = 0; status.ok() && i < tables_.size(); ++i) {
      // A picture has up to 2^34 samples; counts saturate at 2^31 - 1, which changes no table much.
      Statistics statistics{};
      std::transform(all[i].begin(), all[i].end(), statistics.begin(), [](int64_t value) {
        return static_cast<int32_t>(std::min<int64_t>(value, std::numeric_limits<int32_t>::max()));
      });
      status = MakeTable(statistics, &tables_[i]);
    }
    return status;
  }

  Status EncodeRows(RowSource* rows) {
    if (!AppendHeaders()) return Status::NoMemory();
    const bool is_shared = pool_.size() > 1 && BandCount() > 1;
    Status status = is_shared ? AppendBands(rows) : AppendRows(rows);
    if (!status.ok()) return status;
    return AppendMarker(kEoi) ? Status() : Status::NoMemory();
  }

  size_t TableOf(size_t component) const { return std::min(component, tables_.size() - 1); }

  // Without another hint, decoders take components with the names R, G, B as RGB.
  int NameOf(size_t component) const {
    constexpr char kRgb[] = "RGB";
    return components_ == 3 ? kRgb[component] : static_cast<int>(component) + 1;
  }

  bool AppendHeaders() {
    Frame frame;
    frame.is_lossless = true;
    frame.precision = form_.bits();
    frame.width = form_.width();
    frame.height = form_.height();
    Scan scan;
    scan.first = options_.predictor;
    scan.last = 0;
    scan.low = options_.point_transform;
    for (size_t c = 0; c < components_; ++c) {
      frame.components.push_back({NameOf(c), 1, 1, 0});
      scan.components.push_back({static_cast<int>(c), static_cast<int>(TableOf(c)), 0});
    }
    SegmentWriter writer(file_);
    writer.Marker(kSoi);
    if (components_ == 4 && options_.is_inverted_cmyk) writer.Adobe(0);
    for (const Segment& segment : options_.metadata.segments) writer.Saved(segment);
    writer.FrameHeader(kSof3, frame);
    for (size_t i = 0; i < tables_.size(); ++i) AppendTable(i, &writer);
    if (options_.restart_rows > 0) {
      writer.RestartInterval(options_.restart_rows * form_.width());
    }
    writer.ScanHeader(frame, scan);
    return writer.ok();
  }

  void AppendTable(size_t slot, SegmentWriter* writer) const {
    const Table& table = tables_[slot];
    const int count = std::accumulate(table.bits.begin(), table.bits.end(), 0);
    writer->Huffman(0, static_cast<int>(slot), {table.bits, table.categories.data(), count});
  }

  bool AppendMarker(int marker) {
    SegmentWriter writer(file_);
    writer.Marker(marker);
    return writer.ok();
  }

  Status AppendRows(RowSource* rows) {
    RowCoder coder(form_, options_);
    RowBand band;
    CodedBand all;
    std::swap(all.bytes, *file_);
    for (int y = 0; y < form_.height(); ++y) {
      if (Stops(options_.progress, y, form_.height())) return Status::Cancelled();
      if (y % rows_in_band_ == 0) {
        Status status = rows->Next(rows_in_band_, &band.rows, &band.y);
        if (!status.ok()) return status;
        y == 0 ? coder.Begin(band) : coder.Continue(band);
      }
      if (Status status = coder.Code(tables_, false, &all); !status.ok()) return status;
      if (Status status = PassOn(options_.sink, &all.bytes); !status.ok()) return status;
    }
    const Status status = coder.Finish(&all.bytes);
    std::swap(all.bytes, *file_);
    return status;
  }

  Status AppendBands(RowSource* rows) {
    constexpr size_t kBandsOfThread = 4;
    BandJoiner joiner(file_);
    BandSequence<CodedBand> bands(BandCount(), kBandsOfThread * pool_.size(), [&](CodedBand* band) {
      if (!joiner.Append(*band)) return Status::NoMemory();
      return PassOn(options_.sink, file_);
    });
    const auto code = [&](BandSource* source, RowCoder* coder, RowBand* band) {
      if (Status status = source->Next(band); !status.ok()) return status;
      CodedBand coded;
      coder->Begin(*band);
      for (int y = 0; y < band->rows.height(); ++y) {
        Status status = coder->Code(tables_, band->y > 0, &coded);
        if (!status.ok()) return status;
      }
      coder->Describe(&coded);
      bands.Add(static_cast<size_t>(band->y / rows_in_band_), std::move(coded));
      return Status();
    };
    const Status status = ForEachBand(
        rows,
        [&](BandSource* source, RowCoder* coder, RowBand* band) {
          try {
            if (!bands.Enter()) return Status();
            if (Status done = code(source, coder, band); !done.ok()) bands.Fail(done);
          } catch (const std::bad_alloc&) {
            bands.Fail(Status::NoMemory());  // the other threads must not wait for this band
          }
          return Status();
        },
        options_.progress);
    if (!bands.status().ok()) return bands.status();
    if (!status.ok()) return status;
    return joiner.Finish() ? Status() : Status::NoMemory();
  }

  RowSource& rows_;
  const Picture& form_;
  const EncodeOptions& options_;
  ByteBuffer* file_;
  size_t components_;
  ThreadPool pool_;
  int rows_in_band_ = 1;
  std::vector<Table> tables_;
};

}  // namespace

Status Encode(const Picture& picture, const EncodeOptions& options, ByteBuffer* file) {
  PictureRows rows(picture);
  return Encode(&rows, options, file);
}

Status Encode(RowSource* rows, const EncodeOptions& options, ByteBuffer* file) {
  return Encoder(rows, options, file).Encode();
}

}  // namespace zepcodec::jpeg::lossless
