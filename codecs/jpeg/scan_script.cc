// SPDX-License-Identifier: MIT
#include "codecs/jpeg/scan_script.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <numeric>

namespace zepcodec::jpeg {
namespace {

constexpr int kMostBlocksInMcu = 10;
constexpr int kMostShift = 13;
constexpr size_t kMostScans = 256;

Scan MakeScan(const std::vector<int>& components, int first, int last, int high, int low) {
  Scan scan;
  for (const int index : components) scan.components.push_back({index, 0, 0});
  scan.first = first;
  scan.last = last;
  scan.high = high;
  scan.low = low;
  return scan;
}

std::vector<int> AllComponents(int count) {
  std::vector<int> components(static_cast<size_t>(count));
  std::iota(components.begin(), components.end(), 0);
  return components;
}

// The numbers of a list with commas, or with another mark between.
bool ParseNumbers(const std::string& text, char mark, std::vector<int>* numbers) {
  const char* at = text.c_str();
  while (true) {
    if (!std::isdigit(static_cast<unsigned char>(*at))) return false;
    char* end = nullptr;
    const long value = std::strtol(at, &end, 10);
    if (value > 255) return false;
    numbers->push_back(static_cast<int>(value));
    if (*end == '\0') return true;
    if (*end != mark && *end != ',') return false;
    at = end + 1;
  }
}

std::string WithoutCommentsAndBlanks(const std::string& text) {
  std::string result;
  bool in_comment = false;
  for (const char c : text) {
    if (c == '#') in_comment = true;
    if (c == '\n') in_comment = false;
    if (!in_comment && !std::isspace(static_cast<unsigned char>(c))) result += c;
  }
  return result;
}

Status BadScan(size_t number, const std::string& what) {
  return Status::BadOption("scan " + std::to_string(number) + " of the script: " + what);
}

bool ParseScan(const std::string& text, Scan* scan) {
  const size_t colon = text.find(':');
  std::vector<int> components, band;
  if (!ParseNumbers(text.substr(0, colon), ',', &components)) return false;
  if (colon == std::string::npos) {
    *scan = MakeScan(components, 0, 63, 0, 0);
    return true;
  }
  if (!ParseNumbers(text.substr(colon + 1), '-', &band) || band.size() != 4) return false;
  *scan = MakeScan(components, band[0], band[1], band[2], band[3]);
  return true;
}

// The lowest bit of each coefficient that is coded so far.
class Coverage {
 public:
  explicit Coverage(size_t components) : low_(components, std::vector<int>(64, kNothing)) {}

  const char* Add(const Scan& scan) {
    for (const ScanComponent& component : scan.components) {
      std::vector<int>& low = low_[static_cast<size_t>(component.index)];
      if (scan.first > 0 && low[0] == kNothing) return "AC coefficients before DC";
      for (int k = scan.first; k <= scan.last; ++k) {
        const int before = low[static_cast<size_t>(k)];
        if (scan.high == 0 && before != kNothing) return "bits that are coded already";
        if (scan.high > 0 && before != scan.high) return "a refinement of bits that are not coded";
        low[static_cast<size_t>(k)] = scan.low;
      }
    }
    return nullptr;
  }
  bool IsComplete() const {
    return std::all_of(low_.begin(), low_.end(), [](const std::vector<int>& low) {
      return std::all_of(low.begin(), low.end(), [](int bit) { return bit == 0; });
    });
  }

 private:
  static constexpr int kNothing = 99;
  std::vector<std::vector<int>> low_;
};

const char* FindFault(const Scan& scan, const Frame& frame, bool is_progressive) {
  const auto count = static_cast<int>(frame.components.size());
  int blocks = 0, previous = -1;
  for (const ScanComponent& component : scan.components) {
    if (component.index >= count) return "no such component";
    if (component.index <= previous) return "components must ascend";
    previous = component.index;
    const FrameComponent& place = frame.components[static_cast<size_t>(component.index)];
    blocks += place.h * place.v;
  }
  if (scan.components.empty() || scan.components.size() > 4) return "1 to 4 components";
  if (scan.components.size() > 1 && blocks > kMostBlocksInMcu)
    return "more than 10 blocks in an MCU";
  if (!is_progressive) return nullptr;
  if (scan.first > scan.last || scan.last > 63) return "no such band";
  if (scan.first == 0 && scan.last > 0) return "DC together with AC coefficients";
  if (scan.first > 0 && scan.components.size() > 1) return "AC coefficients of several components";
  if (scan.low > kMostShift || (scan.high > 0 && scan.high != scan.low + 1)) return "no such bits";
  return nullptr;
}

}  // namespace

Script SequentialScript(int component_count) {
  return {MakeScan(AllComponents(component_count), 0, 63, 0, 0)};
}

Script ProgressiveScript(int component_count) {
  const std::vector<int> all = AllComponents(component_count);
  std::vector<int> luminance, chrominance;
  for (const int i : all) (i == 1 || i == 2 ? chrominance : luminance).push_back(i);
  Script script = {MakeScan(all, 0, 0, 0, 1)};
  for (const int i : luminance) script.push_back(MakeScan({i}, 1, 5, 0, 2));
  for (const int i : chrominance) script.push_back(MakeScan({i}, 1, 63, 0, 1));
  for (const int i : luminance) script.push_back(MakeScan({i}, 6, 63, 0, 2));
  for (const int i : luminance) script.push_back(MakeScan({i}, 1, 63, 2, 1));
  script.push_back(MakeScan(all, 0, 0, 1, 0));
  for (const int i : chrominance) script.push_back(MakeScan({i}, 1, 63, 1, 0));
  for (const int i : luminance) script.push_back(MakeScan({i}, 1, 63, 1, 0));
  return script;
}

Status ParseScript(const std::string& text, Script* script) {
  script->clear();
  const std::string dense = WithoutCommentsAndBlanks(text);
  for (size_t from = 0; from < dense.size();) {
    const size_t end = std::min(dense.find(';', from), dense.size());
    Scan scan;
    if (!ParseScan(dense.substr(from, end - from), &scan)) {
      return BadScan(script->size() + 1, "must read as 0,1,2: 0-63, 0, 0;");
    }
    script->push_back(scan);
    if (script->size() > kMostScans) return Status::BadOption("the script has too many scans");
    from = end + 1;
  }
  return script->empty() ? Status::BadOption("the script has no scans") : Status();
}

Status CheckScript(const Script& script, const Frame& frame) {
  Coverage coverage(frame.components.size());
  for (size_t i = 0; i < script.size(); ++i) {
    const char* fault = FindFault(script[i], frame, IsProgressive(script));
    if (fault == nullptr) fault = coverage.Add(script[i]);
    if (fault != nullptr) return BadScan(i + 1, fault);
  }
  return coverage.IsComplete() ? Status() : Status::BadOption("the script leaves coefficients out");
}

bool IsProgressive(const Script& script) {
  return std::any_of(script.begin(), script.end(), [](const Scan& scan) {
    return scan.first != 0 || scan.last != 63 || scan.high != 0 || scan.low != 0;
  });
}

}  // namespace zepcodec::jpeg
