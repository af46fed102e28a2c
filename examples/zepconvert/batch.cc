// SPDX-License-Identifier: MIT
#include "zepconvert/batch.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>

#include "zepconvert/console.h"
#include "zepconvert/file_io.h"
#include "zepconvert/picture.h"
#include "zepconvert/report.h"
#include "zepcore.h"

namespace zepconvert {
namespace {

// Memory that the files in work may take together. A file that takes more than all waits until it
// is alone.
class Budget {
 public:
  // Holds a part of it for as long as it lives.
  class Share {
   public:
    Share(Budget* budget, int64_t bytes) : budget_(budget), bytes_(bytes) { budget_->Take(bytes_); }
    ~Share() { budget_->GiveBack(bytes_); }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

   private:
    Budget* budget_;
    int64_t bytes_;
  };

 private:
  static constexpr int64_t kBytes = int64_t{1} << 30;

  void Take(int64_t bytes) {
    std::unique_lock<std::mutex> lock(mutex_);
    given_back_.wait(lock, [&] { return taken_ == 0 || taken_ + bytes <= kBytes; });
    taken_ += bytes;
  }
  void GiveBack(int64_t bytes) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      taken_ -= bytes;
    }
    given_back_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable given_back_;
  int64_t taken_ = 0;
};

class Batch {
 public:
  Batch(const Settings& settings, const std::vector<Job>& jobs, const std::atomic<bool>& stop)
      : settings_(settings), stop_(stop), console_(jobs.size(), settings.quiet) {
    for (const Job& job : jobs) {
      results_.emplace_back();
      results_.back().job = job;
    }
  }

  std::vector<Result> Run() {
    const int64_t wanted =
        settings_.jobs > 0 ? settings_.jobs : std::max(1u, std::thread::hardware_concurrency());
    const size_t count = std::min(static_cast<size_t>(wanted), results_.size());
    // The files share the cores; a single one may use all of them.
    settings_.threads = count > 1 ? 1 : static_cast<int>(wanted);
    zepSetNumThreads(settings_.threads);
    std::vector<std::thread> threads;
    for (size_t i = 1; i < count; ++i) threads.emplace_back([this] { Work(); });
    Work();
    for (std::thread& thread : threads) thread.join();
    return std::move(results_);
  }

 private:
  void Work() {
    while (!stop_) {
      const size_t index = next_++;
      if (index >= results_.size()) return;
      Result* result = &results_[index];
      result->started = true;
      try {
        ConvertOne(result);
      } catch (const std::bad_alloc&) {
        result->status = common::Status::NoMemory();
      }
      Report(*result);
      console_.Step();
    }
  }

  void ConvertOne(Result* result) {
    const auto start = std::chrono::steady_clock::now();
    common::ByteBuffer input;
    result->status = ReadFile(result->job.input, &input);
    if (!result->status.ok()) return;
    result->seconds[kReadFile] =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const Budget::Share share(&budget_, EstimateMemory(input));
    const auto number = static_cast<size_t>(result - results_.data());
    Convert(settings_, input,
            settings_.report_directory.empty()
                ? ""
                : ErrorPicturePath(settings_.report_directory, number),
            result);
  }

  // Picture, what it is made into on the way, output file; a header that cannot be believed is refused
  // later.
  int64_t EstimateMemory(const common::ByteBuffer& input) const {
    const Dimensions size = ReadDimensions(input.data(), input.size());
    if (size.width < 1 || size.height < 1 || size.width > settings_.max_pixels / size.height) {
      return 0;
    }
    return size.width * size.height * 12 + static_cast<int64_t>(input.size());
  }

  void Report(const Result& result) {
    const std::string name = result.job.input + ": ";
    if (!result.status.ok()) console_.Say(name + result.status.text());
    for (const std::string& warning : result.warnings) {
      console_.Say(std::string(name).append("damaged: ").append(warning));
    }
    if (settings_.quiet) return;
    for (const std::string& note : result.notes) {
      console_.Say(std::string(name).append("note: ").append(note));
    }
  }

  Settings settings_;
  const std::atomic<bool>& stop_;
  Console console_;
  Budget budget_;
  std::vector<Result> results_;
  std::atomic<size_t> next_{0};
};

}  // namespace

std::vector<Result> ConvertAll(const Settings& settings, const std::vector<Job>& jobs,
                               const std::atomic<bool>& stop) {
  return Batch(settings, jobs, stop).Run();
}

}  // namespace zepconvert
