// SPDX-License-Identifier: MIT
// A lossless scan on several threads: restart intervals side by side, or parts of a scan without
// them.
//
// Threads decode parts to differences (difference_part.h). One thread at a time joins the next part
// and makes rows of samples, which take little time besides the decoding. As in ScanPipeline any
// fault ends the work, and the scan is decoded anew by one thread. The rows that a sink already has
// are the same then.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_PARALLEL_SCAN_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_PARALLEL_SCAN_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg/band_output.h"
#include "codecs/jpeg/intervals.h"
#include "codecs/jpeg/lossless/difference_part.h"
#include "codecs/jpeg/lossless/row_assembler.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg::lossless {

struct ParallelScan {
  const uint8_t* data;  // the file
  size_t size;
  const Intervals& intervals;
  int rows;              // of the scan
  int rows_in_interval;  // of all, without restart markers
  DifferenceCode code;   // without bytes
  RowPlace place;
  int64_t part_bytes;  // coded bytes of a part
  int rows_in_band;    // whole intervals, where there are several
  BandOutput* output;
};

// `is_done`: the rows of the region are decoded. Otherwise the data is damaged or too little.
Status DecodeOnThreads(const ParallelScan& scan, ThreadPool* pool, Progress* progress,
                       bool* is_done);

// The bands in memory, while intervals are decoded for a sink.
constexpr int64_t MostBands(int64_t threads) { return threads + 2; }

// The most memory that it takes besides the bands, in bytes.
int64_t ParallelScanNeed(int64_t width, int64_t components, int64_t part_bytes, int64_t threads);

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_PARALLEL_SCAN_H_
