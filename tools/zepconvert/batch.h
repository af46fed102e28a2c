// SPDX-License-Identifier: MIT
// Converts many files on several threads.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_BATCH_H_
#define ZEPJP_TOOLS_ZEPCONVERT_BATCH_H_

#include <atomic>
#include <vector>

#include "tools/zepconvert/conversion.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// Sets the numbers of jobs and threads: the files share the cores, and a single one may use all of
// them.
void ShareCores(size_t files, Settings* settings);

// Files are converted at the same time as far as settings.jobs and settings.memory allow. When
// `stop` becomes true, files in work are finished and no other is begun. One result for each job,
// in their order.
std::vector<Result> ConvertAll(const Settings& settings, const std::vector<Job>& jobs,
                               const std::atomic<bool>& stop);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_BATCH_H_
