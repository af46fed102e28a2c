// SPDX-License-Identifier: MIT
#include "codecs/jpeg/coefficient_writer.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/scan_writer.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg {
namespace {

// About the time that a scan takes, in blocks: those with AC coefficients take the longest.
int64_t CostOf(const Geometry& geometry, const Scan& scan) {
  const ScanWalk walk(geometry, scan);
  int64_t blocks = 0;
  for (const ScanWalk::Part& part : walk.parts) blocks += int64_t{part.across} * part.down;
  return blocks * walk.McuCount() * (scan.last > 0 ? 4 : 1);
}

// The numbers of the scans, the longest ones first, so that no thread is left alone with one.
std::vector<size_t> LongestFirst(const Geometry& geometry, const Script& script) {
  std::vector<size_t> order(script.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    return CostOf(geometry, script[a]) > CostOf(geometry, script[b]);
  });
  return order;
}

}  // namespace

Status WriteScans(const Coefficients& coefficients, const Script& script, bool optimizes,
                  int restart_interval, ThreadPool* pool, ByteBuffer* file) {
  const Geometry geometry(coefficients.frame, 1);
  const bool is_progressive = IsProgressive(script);
  const auto write = [&](size_t scan, ByteBuffer* to) {
    return ScanWriter(coefficients, geometry, script[scan], is_progressive, restart_interval, to)
        .Write(optimizes || is_progressive);
  };
  if (pool->size() > 1 && script.size() == 1 && !is_progressive) {
    return ScanWriter(coefficients, geometry, script[0], false, restart_interval, file)
        .WriteInBands(optimizes, pool);
  }
  if (pool->size() == 1 || script.size() == 1) {
    for (size_t scan = 0; scan < script.size(); ++scan) {
      if (Status status = write(scan, file); !status.ok()) return status;
    }
    return Status();
  }
  std::vector<ByteBuffer> coded(script.size());
  std::vector<Status> statuses(script.size());
  const std::vector<size_t> order = LongestFirst(geometry, script);
  Status status = RunParallel(pool, order.size(), [&] {
    return [&](size_t item) {
      const size_t scan = order[item];
      statuses[scan] = write(scan, &coded[scan]);
    };
  });
  for (size_t scan = 0; status.ok() && scan < coded.size(); ++scan) {
    status = statuses[scan];
    if (!status.ok()) break;
    if (!file->Append(coded[scan].data(), coded[scan].size())) status = Status::NoMemory();
    coded[scan] = ByteBuffer();
  }
  return status;
}

}  // namespace zepcodec::jpeg
