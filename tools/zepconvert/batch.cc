// SPDX-License-Identifier: MIT
#include "tools/zepconvert/batch.h"

#ifdef __GLIBC__
#  include <malloc.h>
#endif

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>

#include "tools/zepconvert/console.h"
#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/memory.h"
#include "tools/zepconvert/report.h"
#include "tools/zepconvert/row_conversion.h"
#include "tools/zepconvert/summary.h"
#include "tools/zepconvert/text.h"
#include "tools/zepconvert/threads.h"
#include "zepcore.h"

namespace zepconvert {
namespace {

// glibc keeps what a thread frees for later calls of that thread, which adds up over threads.
void ReturnFreedMemory([[maybe_unused]] int64_t bytes) {
#ifdef __GLIBC__
  constexpr int64_t kWorthIt = int64_t{1} << 20;
  if (bytes >= kWorthIt) malloc_trim(0);
#endif
}

// Memory that the files in work may take together. A file first takes a share for its bytes, then
// more for its picture. When no other file is in work, one is let through whatever it takes: so
// every file gets its turn, and at most one picture exceeds the budget.
class Budget {
 public:
  // A file's part, for as long as it lives.
  class Share {
   public:
    Share(Budget* budget, int64_t file_bytes) : budget_(budget), bytes_(file_bytes) {
      budget_->Take(bytes_, &budget_->readers_);
    }
    ~Share() { budget_->GiveBack(bytes_, is_at_work_); }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

    void GrowTo(int64_t bytes) {
      const int64_t more = std::max<int64_t>(bytes - bytes_, 0);
      budget_->Take(more, &budget_->workers_);
      bytes_ += more;
      is_at_work_ = true;
    }

   private:
    Budget* budget_;
    int64_t bytes_;
    bool is_at_work_ = false;
  };

  explicit Budget(int64_t bytes) : bytes_(bytes) {}

 private:
  void Take(int64_t bytes, int* users) {
    std::unique_lock<std::mutex> lock(mutex_);
    given_back_.wait(lock, [&] { return *users == 0 || taken_ + bytes <= bytes_; });
    taken_ += bytes;
    ++*users;
  }
  void GiveBack(int64_t bytes, bool was_at_work) {
    ReturnFreedMemory(bytes);
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      taken_ -= bytes;
      --readers_;
      if (was_at_work) --workers_;
    }
    given_back_.notify_all();
  }

  const int64_t bytes_;
  std::mutex mutex_;
  std::condition_variable given_back_;
  int64_t taken_ = 0;
  int readers_ = 0;  // all that hold a share
  int workers_ = 0;  // those of them whose share has grown
};

bool IsKnown(const uint8_t* data, size_t size) {
  return FormatOfBytes(data, size) != Format::kUnknown;
}

class Batch {
 public:
  Batch(const Settings& settings, const std::vector<Job>& jobs, const std::atomic<bool>& stop)
      : settings_(settings),
        stop_(stop),
        console_(jobs.size(), settings.quiet),
        budget_(settings.memory) {
    for (const Job& job : jobs) {
      results_.emplace_back();
      results_.back().job = job;
    }
  }

  std::vector<Result> Run() {
    zepSetNumThreads(settings_.threads);
    ForEachOnThreads(settings_.jobs, results_.size(), stop_, [&](size_t i) { Work(&results_[i]); });
    return std::move(results_);
  }

 private:
  void Work(Result* result) {
    result->started = true;
    Step step(&console_);
    try {
      if (!result->job.is_left_out) ConvertOne(&step, result);
    } catch (const std::bad_alloc&) {
      result->error = "not enough memory";
    } catch (const std::exception& failure) {
      result->error = failure.what();
    }
    Report(*result);
  }

  void ConvertOne(Step* step, Result* result) {
    const Job& job = result->job;
    if (!job.error.empty()) throw Failure(job.error);
    // The output file finds this out too, but only after the work.
    if (!job.replaces) CheckFree(job.output);
    // Larger files would fill the memory that is meant for pictures.
    const int64_t mapped_from = settings_.memory / 4;
    const int64_t file_size = FileSize(job.input);
    Budget::Share share(&budget_, file_size < mapped_from ? file_size : 0);
    FileBytes input;
    {
      const Timer timer(kRead, result);
      input = ReadFile(job.input, {StreamBytes(settings_.max_pixels), IsKnown, mapped_from});
    }
    result->input_bytes = input.size();
    const auto held = static_cast<int64_t>(input.held_bytes());
    const int64_t need = held + EstimateMemory(settings_, job, input);
    if (need > settings_.memory && ConvertRows(held, input, &share, step, result)) return;
    share.GrowTo(need);
    const auto number = static_cast<size_t>(result - results_.data());
    Convert(
        settings_, input,
        settings_.report_directory.empty() ? "" : ReportStem(settings_.report_directory, number),
        [&](double done) { step->SetDone(done); }, result);
  }

  // For pictures that do not fit into the memory. False: this file cannot be converted so.
  bool ConvertRows(int64_t held, ByteView input, Budget::Share* share, Step* step, Result* result) {
    const std::unique_ptr<RowInput> rows = OpenForRows(settings_, result->job, input);
    if (rows == nullptr) return false;
    share->GrowTo(held + EstimateRowMemory(*rows));
    try {
      ConvertByRows(
          settings_, rows.get(), [&](double done) { step->SetDone(done); }, result);
    } catch (const std::system_error&) {
      return false;  // the system refuses a thread
    }
    return true;
  }

  void Report(const Result& result) {
    const std::string name = ShownInput(result.job.input) + ": ";
    if (!result.error.empty()) console_.Say(name + result.error);
    for (const std::string& warning : result.warnings) {
      console_.Say(std::string(name).append("damaged: ").append(warning));
    }
    if (settings_.quiet) return;
    for (const std::string& note : result.notes) {
      console_.Say(std::string(name).append("note: ").append(note));
    }
    if (settings_.is_verbose && result.ok()) console_.Say(LineAbout(result));
  }

  Settings settings_;
  const std::atomic<bool>& stop_;
  Console console_;
  Budget budget_;
  std::vector<Result> results_;
};

}  // namespace

void ShareCores(size_t files, Settings* settings) {
  if (settings->threads == 0) {
    const bool is_single = ThreadCount(settings->jobs, files) <= 1;
    constexpr size_t kMany = 1024;
    settings->threads = is_single ? static_cast<int>(ThreadCount(settings->jobs, kMany)) : 1;
  }
  settings->jobs = static_cast<int>(ThreadCount(settings->jobs, files));
}

std::vector<Result> ConvertAll(const Settings& settings, const std::vector<Job>& jobs,
                               const std::atomic<bool>& stop) {
  return Batch(settings, jobs, stop).Run();
}

}  // namespace zepconvert
