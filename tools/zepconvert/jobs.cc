// SPDX-License-Identifier: MIT
#include "tools/zepconvert/jobs.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/text.h"

namespace zepconvert {
namespace {

namespace fs = std::filesystem;

bool IsWanted(const Settings& settings, const std::string& name) {
  const Format format = FormatOfName(name);
  if (name.find('.') == std::string::npos || format == Format::kUnknown) return false;
  return settings.from == Format::kUnknown || IsSameKind(format, settings.from);
}

// Goes through directories.
class Walk {
 public:
  Walk(const Command& command, std::vector<Input>* inputs) : command_(command), inputs_(inputs) {
    // The results of an earlier run are no inputs of this one.
    std::error_code none;
    if (!command.out_dir.empty()) results_ = fs::weakly_canonical(command.out_dir, none);
  }

  void Enter(const fs::path& directory, const std::string& below) {
    std::error_code error;
    std::set<fs::path> found;
    for (fs::directory_iterator entries(directory, error), end; !error && entries != end;
         entries.increment(error)) {
      found.insert(entries->path());
    }
    if (error) inputs_->push_back({directory.string(), below, true, error.message()});
    for (const fs::path& path : found) Take(path, below);
  }

 private:
  void Take(const fs::path& path, const std::string& below) {
    const std::string name = path.filename().string();
    if (name.front() == '.') return;
    std::error_code error;
    const bool is_directory = fs::is_directory(path, error);
    if (is_directory && !fs::is_symlink(path, error)) {
      if (fs::weakly_canonical(path, error) != results_) Enter(path, below + name + "/");
    } else if (!is_directory && IsWanted(command_.settings, name)) {
      inputs_->push_back({path.string(), below, true, ""});
    }
  }

  const Command& command_;
  std::vector<Input>* inputs_;
  fs::path results_;
};

// The directory of the result, with a slash at the end or empty.
std::string DirectoryOf(const Command& command, const Input& input) {
  if (!command.out_dir.empty()) return (fs::path(command.out_dir) / input.directory / "").string();
  const std::string parent = fs::path(input.path).parent_path().string();
  return parent.empty() ? "" : (fs::path(parent) / "").string();
}

// Names that no other result of this run has.
class Names {
 public:
  // False: the name is taken.
  bool Add(const std::string& path) { return taken_.insert(OutputIdentity(path)).second; }

 private:
  std::set<std::string> taken_;
};

void NameOutputs(const Command& command, const std::vector<Input>& inputs, std::vector<Job>* jobs) {
  std::map<std::string, int> uses;  // of the usual name
  std::vector<std::string> usual;
  for (const Input& input : inputs) {
    const std::string stem = fs::path(input.path).stem().string();
    usual.push_back(DirectoryOf(command, input) + stem + command.ending);
    ++uses[OutputIdentity(usual.back())];
  }
  Names names;
  // Those that keep their usual name come first, so that no other gets it.
  for (size_t i = 0; i < inputs.size(); ++i) {
    if (uses[OutputIdentity(usual[i])] > 1) continue;
    (*jobs)[i].output = usual[i];
    names.Add(usual[i]);
  }
  for (size_t i = 0; i < inputs.size(); ++i) {
    if (!(*jobs)[i].output.empty()) continue;
    const std::string whole =
        DirectoryOf(command, inputs[i]) + fs::path(inputs[i].path).filename().string();
    std::string name = whole + command.ending;
    for (int number = 2; !names.Add(name); ++number) {
      name = whole + "-" + std::to_string(number) + command.ending;
    }
    (*jobs)[i].output = name;
  }
}

// Files found in a directory that have the wanted format and would be their own results.
bool IsDone(const Command& command, const Input& input) {
  return input.was_found && input.error.empty() && command.out_dir.empty() &&
         IsSameKind(FormatOfName(input.path), command.to);
}

enum class Answer { kYes, kNo, kAll, kNone, kStop };

// Asks on the terminal.
Answer Ask(const std::string& path) {
  std::fprintf(stderr, "zepconvert: %s exists. Replace it? [y]es, [n]o, [a]ll, n[o]ne, [q]uit: ",
               Printable(path).c_str());
  std::string line;
  int c = 0;
  while ((c = std::getchar()) != EOF && c != '\n') line.push_back(static_cast<char>(c));
  if (c == EOF) return Answer::kStop;
  switch (line.empty() ? 'n' : line[0]) {
    case 'y':
    case 'Y': return Answer::kYes;
    case 'a':
    case 'A': return Answer::kAll;
    case 'o':
    case 'O': return Answer::kNone;
    case 'q':
    case 'Q': return Answer::kStop;
    default: return Answer::kNo;
  }
}

bool CanAsk(const std::vector<Job>& jobs) {
  const bool reads_stream = std::any_of(
      jobs.begin(), jobs.end(), [](const Job& job) { return job.input == kStandardStream; });
  return !reads_stream && isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
}

}  // namespace

std::vector<Input> FindInputs(const Command& command) {
  std::vector<Input> inputs;
  Walk walk(command, &inputs);
  for (const std::string& name : command.inputs) {
    std::error_code error;
    if (command.is_recursive && name != kStandardStream && fs::is_directory(name, error)) {
      walk.Enter(name, "");
    } else {
      inputs.push_back({name, "", false, ""});
    }
  }
  return inputs;
}

std::vector<Job> MakeJobs(const Command& command) {
  std::vector<Input> inputs = FindInputs(command);
  inputs.erase(std::remove_if(inputs.begin(), inputs.end(),
                              [&](const Input& input) { return IsDone(command, input); }),
               inputs.end());
  std::vector<Job> jobs(inputs.size());
  for (size_t i = 0; i < jobs.size(); ++i) {
    jobs[i].input = inputs[i].path;
    jobs[i].error = inputs[i].error;
    jobs[i].format = command.to;
  }
  if (command.output.empty()) {
    NameOutputs(command, inputs, &jobs);
  } else {
    jobs.front().output = command.output;
  }
  return jobs;
}

bool DecideReplacing(const Settings& settings, std::vector<Job>* jobs) {
  const bool can_ask = settings.if_exists == IfExists::kAsk && CanAsk(*jobs);
  Answer answer = Answer::kNo;
  for (Job& job : *jobs) {
    job.replaces = settings.if_exists == IfExists::kReplace;
    if (job.replaces || !job.error.empty() || !IsTaken(job.output)) continue;
    job.is_left_out = settings.if_exists == IfExists::kKeep;
    if (!can_ask) continue;
    const bool is_settled = answer == Answer::kAll || answer == Answer::kNone;
    if (!is_settled) answer = Ask(job.output);
    if (answer == Answer::kStop) return false;
    job.replaces = answer == Answer::kYes || answer == Answer::kAll;
    job.is_left_out = !job.replaces;
  }
  return true;
}

}  // namespace zepconvert
