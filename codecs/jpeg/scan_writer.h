// SPDX-License-Identifier: MIT
// Writes coefficients as a scan: counts symbols, makes tables, codes.
#ifndef ZEPJP_CODECS_JPEG_SCAN_WRITER_H_
#define ZEPJP_CODECS_JPEG_SCAN_WRITER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/band_joiner.h"
#include "codecs/jpeg/coefficients.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/markers/frame.h"
#include "codecs/jpeg/markers/segment_writer.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"
#include "zepjp.h"

namespace zepcodec::jpeg {

class ScanWriter {
 public:
  // The coefficients and the file must outlive the writer.
  ScanWriter(const Coefficients& coefficients, const Geometry& geometry, const Scan& scan,
             bool is_progressive, int restart_interval, ByteBuffer* file);

  Status Write(bool optimizes);
  // The same of a sequential scan on several threads.
  Status WriteInBands(bool optimizes, ThreadPool* pool);

 private:
  static constexpr int kTableCountOfScan = 2;

  struct Codes {
    int32_t dc_counts[256] = {};
    int32_t ac_counts[256] = {};
    zepiEncodeHuffmanSpec dc;
    zepiEncodeHuffmanSpec ac;
    bool is_used = false;
  };

  bool CodesDc() const { return scan_.first == 0 && scan_.high == 0; }
  bool CodesAc() const { return scan_.last > 0; }
  Codes& CodesOf(size_t part) { return codes_[scan_.components[part].dc_table]; }
  const int16_t* Block(size_t part, int x, int y) const {
    return coefficients_.planes[static_cast<size_t>(scan_.components[part].index)].Block(x, y);
  }

  template <class OnRestart, class OnBlock>
  void Walk(const OnRestart& on_restart, const OnBlock& on_block);
  // A writer for the rows first..end-1 of the scan's MCUs, with the same tables.
  ScanWriter BandOf(size_t band, ByteBuffer* file) const;
  size_t BandCount() const { return static_cast<size_t>(DivideUp(walk_.mcu_rows, kRowsInABand)); }
  void AddCounts(const ScanWriter& band);
  Status CountInBands(ThreadPool* pool);
  void Count();
  Status WriteHeaders(bool optimizes);
  void MakeTable(int kind, int slot, const HuffmanList& list, SegmentWriter* writer);
  void WriteTables(bool optimizes, SegmentWriter* writer);
  void CountBlock(size_t part, const int16_t* block, int flush);
  void EncodeBlock(size_t part, const int16_t* block, int flush);
  bool MakeRoom();
  Status EncodeRows();
  Status End();
  void Describe(CodedBand* band) const;
  void Restart();

  const Coefficients& coefficients_;
  Scan scan_;
  ScanWalk walk_;
  bool is_progressive_;
  int restart_interval_;
  ByteBuffer* file_;
  int first_row_ = 0;
  int end_row_;
  Codes codes_[kTableCountOfScan];
  std::vector<int16_t> last_dc_;
  zepiEncodeHuffmanState state_;
  int32_t at_ = 0;  // position after the end of the file
  int64_t restarts_ = 0;
  bool has_restart_ = false;
  size_t head_size_ = 0;  // see CodedBand
  OpenBits head_;
  zepStatus status_ = zepStatusOk;
  bool has_memory_ = true;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SCAN_WRITER_H_
