// SPDX-License-Identifier: MIT
// Converts one file.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_CONVERSION_H_
#define ZEPJP_TOOLS_ZEPCONVERT_CONVERSION_H_

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/report_evidence.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// Where the time goes, in the order of the work.
enum Stage { kRead, kDecode, kConvert, kEncode, kWrite, kStageCount };
const char* StageName(Stage stage);

struct Result {
  Job job;
  bool started = false;
  std::string error;                  // empty: all went well
  std::vector<std::string> warnings;  // damage in the input
  std::vector<std::string> notes;     // what the user should know; the exit code stays 0
  Format input_format = Format::kUnknown;
  int width = 0;
  int height = 0;
  size_t input_bytes = 0;
  size_t output_bytes = 0;
  std::array<double, kStageCount> seconds{};
  Evidence evidence;  // for the report

  bool ok() const { return started && error.empty(); }
  double TotalSeconds() const;
};

// Adds the time of its life to a stage.
class Timer {
 public:
  Timer(Stage stage, Result* result);
  ~Timer();
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

 private:
  double* seconds_;
  double start_;
};

// `input` holds the file's bytes. `report_stem` begins the names of the report's pictures; empty:
// there is no report.
void Convert(const Settings& settings, ByteView input, const std::string& report_stem,
             const OnProgress& on_progress, Result* result);

// The picture in a file of any known format.
Picture Load(const Settings& settings, ByteView input, const OnProgress& on_progress);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_CONVERSION_H_
