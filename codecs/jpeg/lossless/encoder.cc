// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <numeric>
#include <string>
#include <vector>

#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpeg/lossless/prediction.h"
#include "codecs/jpeg/lossless/rows.h"
#include "codecs/jpeg/markers/markers.h"
#include "codecs/jpeg/markers/segment_writer.h"
#include "zepjp.h"

namespace zepcodec::jpeg::lossless {
namespace {

constexpr int kMostRestartInterval = 65535;

constexpr size_t kCategories = 17;

using Statistics = std::array<int32_t, 256>;

struct Table {
  std::array<uint8_t, 16> bits;
  std::array<uint8_t, 256> categories;
  zepiEncodeHuffmanSpec spec;
};

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

// Counts the magnitude categories of differences. zepiGetHuffmanStatisticsOne_JPEG_16s_C1() counts
// one difference, but a call for each takes almost as long as coding it. With four sets of counts,
// repeated categories do not wait for the previous increment.
void CountCategories(const Row& differences, int32_t* counts) {
  constexpr size_t kSets = 4;
  int32_t sets[kSets][32] = {};
  for (size_t i = 0; i < differences.size(); ++i) {
    const int difference = differences[i];
    const auto magnitude = static_cast<unsigned>(difference < 0 ? -difference : difference);
    ++sets[i % kSets][31 - __builtin_clz(2 * magnitude + 1)];
  }
  for (const auto& set : sets) {
    for (size_t category = 0; category < kCategories; ++category) {
      // A picture has up to 2^32 samples; counts saturate at 2^31 - 1, which changes no table much.
      counts[category] = static_cast<int32_t>(
          std::min<int64_t>(int64_t{counts[category]} + set[category], INT32_MAX));
    }
  }
}

class Encoder {
 public:
  Encoder(const Picture& picture, const EncodeOptions& options, ByteBuffer* file)
      : picture_(picture),
        options_(options),
        file_(file),
        components_(static_cast<size_t>(picture.channels())) {
    for (size_t c = 0; c < components_; ++c) {
      for (Row* row : {&samples_[c], &above_[c], &differences_[c]}) {
        row->resize(static_cast<size_t>(picture.width()));
      }
    }
  }

  Status Encode() {
    if (Status status = Check(); !status.ok()) return status;
    if (!file_->Resize(0)) return Status::NoMemory();
    if (Status status = MakeTables(); !status.ok()) return status;
    if (!AppendHeaders()) return Status::NoMemory();
    if (Status status = AppendRows(); !status.ok()) return status;
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

  bool IsFirstRow(int y) const {
    return y == 0 || (options_.restart_rows > 0 && y % options_.restart_rows == 0);
  }

  // Computes the differences of row y. Rows must be requested in order, from the first one.
  void PredictRow(int y) {
    const Prediction prediction{options_.predictor, picture_.bits(), options_.point_transform};
    Row* rows[kMostComponents] = {};
    for (size_t c = 0; c < components_; ++c) {
      std::swap(samples_[c], above_[c]);
      rows[c] = &samples_[c];
    }
    SplitRow(picture_, y, options_.point_transform, rows);
    for (size_t c = 0; c < components_; ++c) {
      if (IsFirstRow(y)) {
        SubtractFirstRow(prediction, samples_[c], &differences_[c]);
      } else {
        SubtractRow(prediction, samples_[c], above_[c], &differences_[c]);
      }
    }
  }

  Status MakeTables() {
    if (options_.tables == Tables::kFixed) {
      tables_.resize(1);
      return MakeTable(kPhotographs, tables_.data());
    }
    tables_.resize(options_.tables == Tables::kShared ? 1 : components_);
    std::vector<Statistics> statistics(tables_.size(), Statistics{});
    for (int y = 0; y < picture_.height(); ++y) {
      PredictRow(y);
      for (size_t c = 0; c < components_; ++c) {
        int32_t* const counts = statistics[std::min(c, tables_.size() - 1)].data();
        CountCategories(differences_[c], counts);
      }
    }
    for (size_t i = 0; i < tables_.size(); ++i) {
      if (Status status = MakeTable(statistics[i], &tables_[i]); !status.ok()) return status;
    }
    return Status();
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
    zepiEncodeHuffmanStateInit_JPEG_8u(&state_);
    int restarts = 0;
    for (int y = 0; y < picture_.height(); ++y) {
      if (Stops(options_.progress, y, picture_.height())) return Status::Cancelled();
      if (y > 0 && IsFirstRow(y)) {
        if (Status status = Code(true); !status.ok()) return status;
        if (!AppendMarker(kRst0 + restarts++ % 8)) return Status::NoMemory();
      }
      PredictRow(y);
      if (Status status = Code(false); !status.ok()) return status;
    }
    return Code(true);
  }

  // Codes the differences of a row, or flushes the remaining bits.
  Status Code(bool flushes) {
    const int16_t* rows[kMostComponents] = {};
    const zepiEncodeHuffmanSpec* tables[kMostComponents] = {};
    for (size_t c = 0; c < components_; ++c) {
      rows[c] = differences_[c].data();
      tables[c] = &tables_[TableOf(c)].spec;
    }
    // A difference takes at most 31 bits, code and extra bits together, and each byte may be
    // stuffed.
    const size_t room = 8 * (picture_.SamplesInRow() + 2);
    const size_t start = file_->size();
    if (!file_->MakeRoom(room) || !file_->Resize(start + room)) return Status::NoMemory();
    int32_t written = 0;
    const zepStatus status = zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(
        rows, file_->data() + start, static_cast<int32_t>(room), &written, picture_.width(),
        static_cast<int32_t>(components_), tables, &state_, flushes ? 1 : 0);
    if (!file_->Resize(start + static_cast<size_t>(written))) return Status::NoMemory();
    return status == zepStatusOk ? Status() : Status::Error(zepStatusName(status));
  }

  const Picture& picture_;
  const EncodeOptions& options_;
  ByteBuffer* file_;
  size_t components_;
  Row samples_[kMostComponents];
  Row above_[kMostComponents];
  Row differences_[kMostComponents];
  std::vector<Table> tables_;
  zepiEncodeHuffmanState state_;
};

}  // namespace

Status Encode(const Picture& picture, const EncodeOptions& options, ByteBuffer* file) {
  return Encoder(picture, options, file).Encode();
}

}  // namespace zepcodec::jpeg::lossless
