// SPDX-License-Identifier: MIT
#include "codecs/jpeg/sequential_encoder.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "codecs/jpeg/band_joiner.h"
#include "codecs/jpeg/band_sequence.h"
#include "codecs/jpeg/markers/segment_writer.h"
#include "codecs/jpeg/markers/standard_tables.h"
#include "codecs/jpeg/strip_maker.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg {
namespace {

bool WriteStandardScanHeader(const Frame& frame, ByteBuffer* file) {
  SegmentWriter writer(file);
  for (int i = 0; i < (frame.components.size() > 1 ? 2 : 1); ++i) {
    writer.Huffman(0, i, kDcHuffman[i]);
    writer.Huffman(1, i, kAcHuffman[i]);
  }
  Scan scan;
  for (int i = 0; i < static_cast<int>(frame.components.size()); ++i) {
    const int table = frame.components[static_cast<size_t>(i)].quant_table;
    scan.components.push_back({i, table, table});
  }
  writer.ScanHeader(frame, scan);
  return writer.ok();
}

// Threads code bands, which are joined in their order.
class BandCoder {
 public:
  BandCoder(const EncodeWork& work, ByteBuffer* file)
      : work_(work),
        file_(file),
        count_(static_cast<size_t>(DivideUp(work.geometry.mcu_rows, kRowsInABand))),
        bands_(count_, kBandsOfThread * work.pool->size(),
               [this](CodedBand* band) { return Join(band); }),
        joiner_(file),
        last_dc_(work.tables.size()) {}

  Status Encode();

 private:
  static constexpr size_t kBandsOfThread = 3;

  Status EncodeBand(StripMaker* strip);
  Status CodeRows(int first, StripMaker* strip, CodedBand* band) const;
  Status Join(CodedBand* band);

  const EncodeWork& work_;
  ByteBuffer* file_;
  size_t count_;
  BandSequence<CodedBand> bands_;
  // Of the joined bands.
  BandJoiner joiner_;
  std::vector<int16_t> last_dc_;
};

Status BandCoder::Encode() {
  const Status status = RunParallel(
      work_.pool, count_,
      [&] {
        auto strip = std::make_unique<StripMaker>(work_.rows->form(), work_.options.sampling,
                                                  work_.geometry);
        if (!strip->Init()) throw std::bad_alloc();
        return [this, strip = std::move(strip)](size_t) {
          try {
            if (!bands_.Enter()) return;
            if (Status done = EncodeBand(strip.get()); !done.ok()) bands_.Fail(done);
          } catch (const std::bad_alloc&) {
            bands_.Fail(Status::NoMemory());  // the other threads must not wait for this band
          }
        };
      },
      work_.options.progress);
  if (!bands_.status().ok()) return bands_.status();
  if (!status.ok()) return status;
  return joiner_.Finish() ? Status() : Status::NoMemory();
}

Status BandCoder::EncodeBand(StripMaker* strip) {
  Picture rows;
  int y = 0;
  Status status = work_.rows->Next(kRowsInABand * work_.geometry.McuHeight(), &rows, &y);
  if (!status.ok()) return status;
  strip->Use(&rows, y);
  const int first = y / work_.geometry.McuHeight();
  CodedBand band;
  status = CodeRows(first, strip, &band);
  if (status.ok()) bands_.Add(static_cast<size_t>(first / kRowsInABand), std::move(band));
  return status;
}

Status BandCoder::CodeRows(int first, StripMaker* strip, CodedBand* band) const {
  const int end = std::min(first + kRowsInABand, work_.geometry.mcu_rows);
  ScanEncoder scan(work_.geometry, work_.tables, work_.options, first, &band->bytes);
  for (int row = first; row < end; ++row) {
    strip->Make(row);
    if (Status status = scan.EncodeRow(*strip); !status.ok()) return status;
  }
  scan.Describe(band);
  return Status();
}

Status BandCoder::Join(CodedBand* band) {
  if (!band->first_mcu.empty()) {
    CodedBand first;
    ScanEncoder scan(work_.geometry, work_.tables, work_.options, 0, &first.bytes);
    if (Status status = scan.EncodeFirstMcu(*band, last_dc_); !status.ok()) return status;
    scan.Describe(&first);
    if (!joiner_.Append(first)) return Status::NoMemory();
  }
  if (!joiner_.Append(*band)) return Status::NoMemory();
  last_dc_ = std::move(band->last_dc);
  return PassOn(work_.options.sink, file_);
}

// Rows of MCUs that one thread asks for at a time: a few megabytes of pixels.
int RowsAtATime(const EncodeWork& work) {
  constexpr size_t kBytes = size_t{1} << 22;
  const size_t row = work.rows->form().Stride() * static_cast<size_t>(work.geometry.McuHeight());
  return static_cast<int>(std::clamp<size_t>(kBytes / row, 1, kRowsInABand));
}

Status EncodeOnOneThread(const EncodeWork& work, ByteBuffer* file) {
  StripMaker strip(work.rows->form(), work.options.sampling, work.geometry);
  if (!strip.Init()) return Status::NoMemory();
  ScanEncoder scan(work.geometry, work.tables, work.options, 0, file);
  const int rows_at_a_time = RowsAtATime(work);
  Picture rows;
  for (int row = 0; row < work.geometry.mcu_rows; ++row) {
    if (Stops(work.options.progress, row, work.geometry.mcu_rows)) return Status::Cancelled();
    if (row % rows_at_a_time == 0) {
      int y = 0;
      const int count = rows_at_a_time * work.geometry.McuHeight();
      if (Status status = work.rows->Next(count, &rows, &y); !status.ok()) return status;
      strip.Use(&rows, y);
    }
    strip.Make(row);
    if (Status status = scan.EncodeRow(strip); !status.ok()) return status;
    if (Status status = PassOn(work.options.sink, file); !status.ok()) return status;
  }
  return scan.Finish();
}

}  // namespace

Status EncodeAtOnce(const EncodeWork& work, ByteBuffer* file) {
  if (!WriteStandardScanHeader(work.frame, file)) return Status::NoMemory();
  const bool is_shared = work.pool->size() > 1 && work.geometry.mcu_rows > kRowsInABand;
  return is_shared ? BandCoder(work, file).Encode() : EncodeOnOneThread(work, file);
}

}  // namespace zepcodec::jpeg
