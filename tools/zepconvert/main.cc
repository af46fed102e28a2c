// SPDX-License-Identifier: MIT
// zepconvert: converts pictures between JPEG, JPEG 2000, JPEG XR, PNG, TIFF, PNM and DDS. See
// docs/zepconvert.md.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "tools/zepconvert/batch.h"
#include "tools/zepconvert/command_line.h"
#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/inspection.h"
#include "tools/zepconvert/jobs.h"
#include "tools/zepconvert/process.h"
#include "tools/zepconvert/report.h"
#include "tools/zepconvert/summary.h"
#include "tools/zepconvert/text.h"

namespace {

using zepconvert::Command;
using zepconvert::Inspection;
using zepconvert::Job;
using zepconvert::Result;
using zepconvert::Settings;

enum ExitCode {
  kDone = 0,
  kSomeFailed = 1,
  kUsage = 2,
  kInterrupted = 3,
  kSomeDamaged = 4,  // all were written, but not all were whole
};

std::atomic<bool> stop_requested{false};

int Fail(ExitCode code, const std::string& text) {
  std::fprintf(stderr, "zepconvert: %s\n", zepconvert::Printable(text).c_str());
  return code;
}

int Judge(const std::vector<Result>& results) {
  const auto any = [&](auto predicate) {
    return std::any_of(results.begin(), results.end(), predicate);
  };
  if (any([](const Result& result) { return !result.started; })) return kInterrupted;
  if (any([](const Result& result) { return !result.ok(); })) return kSomeFailed;
  if (any([](const Result& result) { return !result.warnings.empty(); })) return kSomeDamaged;
  return kDone;
}

void MakeDirectories(const Command& command, const std::vector<Job>& jobs) {
  if (command.out_dir.empty()) return;
  std::vector<std::filesystem::path> needed = {command.out_dir};
  for (const Job& job : jobs) needed.push_back(std::filesystem::path(job.output).parent_path());
  needed.erase(std::unique(needed.begin(), needed.end()), needed.end());
  for (const std::filesystem::path& directory : needed) {
    std::error_code failed;
    std::filesystem::create_directories(directory, failed);
    if (failed) throw zepconvert::Failure(directory.string() + ": " + failed.message());
  }
}

int ConvertFiles(const Command& command, const std::string& command_line) {
  Settings settings = command.settings;
  const std::string& report = settings.report_directory;
  std::vector<Job> jobs = MakeJobs(command);
  if (command.output == zepconvert::kStandardStream && isatty(STDOUT_FILENO) != 0) {
    return Fail(kUsage, "standard output is a terminal: name a file, or send it elsewhere");
  }
  if (!DecideReplacing(settings, &jobs)) return Fail(kInterrupted, "nothing was done");
  try {
    if (!report.empty()) zepconvert::PrepareReport(settings);
  } catch (const zepconvert::Failure& error) {
    return Fail(kUsage, error.what());
  }
  MakeDirectories(command, jobs);
  zepconvert::ShareCores(jobs.size(), &settings);
  zepconvert::HandleSignals(&stop_requested);
  const auto start = std::chrono::steady_clock::now();
  const std::vector<Result> results = zepconvert::ConvertAll(settings, jobs, stop_requested);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  const bool is_batch = command.output.empty() && results.size() != 1;
  if (is_batch && !settings.quiet) zepconvert::PrintSummary(results, time.count());
  const int code = Judge(results);
  if (!report.empty()) {
    zepconvert::WriteReport(report, results,
                            {command_line, settings.jobs, settings.threads, time.count()});
  }
  return code == kInterrupted ? Fail(kInterrupted, "interrupted") : code;
}

int LookAtFiles(const Command& command) {
  zepconvert::HandleSignals(&stop_requested);
  const std::vector<Inspection> all = zepconvert::InspectFiles(command, stop_requested);
  const auto any = [&](auto predicate) { return std::any_of(all.begin(), all.end(), predicate); };
  if (any([](const Inspection& one) { return !one.was_begun; })) {
    return Fail(kInterrupted, "interrupted");
  }
  if (any([](const Inspection& one) { return !one.error.empty(); })) return kSomeFailed;
  return any([](const Inspection& one) { return !one.damage.empty(); }) ? kSomeDamaged : kDone;
}

int Run(int argc, char** argv) {
  std::optional<Command> command;
  try {
    command = zepconvert::ReadCommandLine(argc, argv);
  } catch (const zepconvert::Failure& error) {
    return Fail(kUsage, error.what());
  }
  if (!command.has_value()) return kDone;
  return command->task == zepconvert::Task::kConvert
             ? ConvertFiles(*command, zepconvert::ShellLine({argv, argv + argc}))
             : LookAtFiles(*command);
}

}  // namespace

int main(int argc, char** argv) {
  if (!zepconvert::ReserveStandardDescriptors()) return kSomeFailed;
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    return Fail(kSomeFailed, error.what());
  }
}
