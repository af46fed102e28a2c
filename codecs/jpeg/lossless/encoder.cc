// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
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

class Encoder {
 public:
  Encoder(const Picture& picture, const EncodeOptions& options, ByteBuffer* file)
      : picture_(picture),
        options_(options),
        file_(file),
        components_(static_cast<size_t>(picture.channels())),
        pool_(options.threads) {}

  Status Encode() {
    if (Status status = Check(); !status.ok()) return status;
    if (!file_->Resize(0)) return Status::NoMemory();
    rows_in_band_ =
        static_cast<int>(std::max<size_t>(kSamplesInABand / picture_.SamplesInRow(), 1));
    if (Status status = MakeTables(); !status.ok()) return status;
    if (!AppendHeaders()) return Status::NoMemory();
    const bool is_shared = pool_.size() > 1 && BandCount() > 1;
    if (Status status = is_shared ? AppendBands() : AppendRows(); !status.ok()) return status;
    return AppendMarker(kEoi) ? Status() : Status::NoMemory();
  }

 private:
  Status Check() const {
    if (picture_.width() < 1 || picture_.width() > kMostSide || picture_.height() < 1 ||
        picture_.height() > kMostSide) {
      return Status::Error("a side must have 1 to 65535 pixels");
    }
    if (components_ < 1 || components_ > kMostComponents) {
      return Status::Error("a picture must have 1 to 4 components");
    }
    if (picture_.bits() < 2 || picture_.bits() > 16) {
      return Status::Error("samples must have 2 to 16 bits");
    }
    if (options_.predictor < 1 || options_.predictor > 7) {
      return Status::Error("the predictor must be 1 to 7");
    }
    if (options_.point_transform < 0 || options_.point_transform >= picture_.bits()) {
      return Status::Error("the point transform must be less than the bits of a sample");
    }
    const int most_rows = kMostRestartInterval / picture_.width();
    if (options_.restart_rows < 0 || options_.restart_rows > most_rows) {
      return Status::Error("at most " + std::to_string(most_rows) + " rows of " +
                           std::to_string(picture_.width()) +
                           " pixels fit between two restart markers");
    }
    return Status();
  }

  size_t BandCount() const {
    return static_cast<size_t>(DivideUp(picture_.height(), rows_in_band_));
  }

  // Calls work(coder, first, end) for the rows first..end-1 of each band.
  template <class Work>
  Status ForEachBand(const Work& work, Progress* progress) {
    return RunParallel(
        &pool_, BandCount(),
        [&] {
          auto coder = std::make_unique<RowCoder>(picture_, options_);
          return [&, coder = std::move(coder)](size_t band) {
            const int first = static_cast<int>(band) * rows_in_band_;
            coder->MoveTo(first);
            work(coder.get(), first, std::min(first + rows_in_band_, picture_.height()));
          };
        },
        progress);
  }

  Status MakeTables() {
    if (options_.tables == Tables::kFixed) {
      tables_.resize(1);
      return MakeTable(kPhotographs, tables_.data());
    }
    tables_.resize(options_.tables == Tables::kShared ? 1 : components_);
    std::vector<Counts> all(tables_.size(), Counts{});
    std::mutex mutex;
    Status status = ForEachBand(
        [&](RowCoder* coder, int first, int end) {
          std::vector<Counts> counts(all.size(), Counts{});
          for (int y = first; y < end; ++y) coder->Count(&counts);
          const std::lock_guard<std::mutex> lock(mutex);
          for (size_t i = 0; i < all.size(); ++i) {
            for (size_t k = 0; k < kCategories; ++k) all[i][k] += counts[i][k];
          }
        },
        nullptr);
    for (size_t i = 0; status.ok() && i < tables_.size(); ++i) {
      // A picture has up to 2^34 samples; counts saturate at 2^31 - 1, which changes no table much.
      Statistics statistics{};
      std::transform(all[i].begin(), all[i].end(), statistics.begin(), [](int64_t count) {
        return static_cast<int32_t>(std::min<int64_t>(count, std::numeric_limits<int32_t>::max()));
      });
      status = MakeTable(statistics, &tables_[i]);
    }
    return status;
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
    frame.precision = picture_.bits();
    frame.width = picture_.width();
    frame.height = picture_.height();
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
      writer.RestartInterval(options_.restart_rows * picture_.width());
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

  Status AppendRows() {
    RowCoder coder(picture_, options_);
    CodedBand all;
    std::swap(all.bytes, *file_);
    Status status;
    for (int y = 0; status.ok() && y < picture_.height(); ++y) {
      if (Stops(options_.progress, y, picture_.height())) return Status::Cancelled();
      status = coder.Code(tables_, false, &all);
    }
    if (status.ok()) status = coder.Finish(&all.bytes);
    std::swap(all.bytes, *file_);
    return status;
  }

  Status AppendBands() {
    constexpr size_t kBandsOfThread = 4;
    BandJoiner joiner(file_);
    BandSequence bands(BandCount(), kBandsOfThread * pool_.size(), [&](CodedBand* band) {
      if (!joiner.Append(*band)) return Status::NoMemory();
      return PassOn(options_.sink, file_);
    });
    const auto code = [&](RowCoder* coder, int first, int end) {
      CodedBand band;
      for (int y = first; y < end; ++y) {
        if (Status status = coder->Code(tables_, first > 0, &band); !status.ok()) return status;
      }
      coder->Describe(&band);
      bands.Add(static_cast<size_t>(first / rows_in_band_), std::move(band));
      return Status();
    };
    const Status status = ForEachBand(
        [&](RowCoder* coder, int first, int end) {
          try {
            if (!bands.Enter()) return;
            if (Status done = code(coder, first, end); !done.ok()) bands.Fail(done);
          } catch (const std::bad_alloc&) {
            bands.Fail(Status::NoMemory());  // the other threads must not wait for this band
          }
        },
        options_.progress);
    if (!bands.status().ok()) return bands.status();
    if (!status.ok()) return status;
    return joiner.Finish() ? Status() : Status::NoMemory();
  }

  const Picture& picture_;
  const EncodeOptions& options_;
  ByteBuffer* file_;
  size_t components_;
  ThreadPool pool_;
  int rows_in_band_ = 1;
  std::vector<Table> tables_;
};

}  // namespace

Status Encode(const Picture& picture, const EncodeOptions& options, ByteBuffer* file) {
  return Encoder(picture, options, file).Encode();
}

}  // namespace zepcodec::jpeg::lossless
