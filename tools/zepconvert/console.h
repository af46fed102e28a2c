// SPDX-License-Identifier: MIT
// Messages and a progress bar on standard error, from several threads.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_CONSOLE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_CONSOLE_H_

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>

namespace zepconvert {

class Console {
 public:
  // The bar is shown on terminals only, if there is more than one step or a long one.
  Console(size_t steps, bool quiet);
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  // A line of its own: "zepconvert: text", made printable.
  void Say(const std::string& text);
  // Moves the bar by this part of a step.
  void Advance(double part);

 private:
  using Clock = std::chrono::steady_clock;

  bool IsDue(double seconds);
  // How far the work is, how fast it goes and how long it will take.
  std::string Progress(double seconds) const;
  void Draw(double seconds);
  void Clear();
  double SecondsSoFar() const;

  std::mutex mutex_;
  size_t steps_;
  double done_ = 0;  // steps
  Clock::time_point start_ = Clock::now();
  double drawn_at_ = 0;
  bool can_draw_;
  bool has_bar_ = false;
};

// One step of the bar, which is complete when this object ends.
class Step {
 public:
  explicit Step(Console* console) : console_(console) {}
  ~Step() { SetDone(1); }
  Step(const Step&) = delete;
  Step& operator=(const Step&) = delete;

  // From 0 to 1.
  void SetDone(double done) {
    console_->Advance(done - done_);
    done_ = done;
  }

 private:
  Console* console_;
  double done_ = 0;
};

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_CONSOLE_H_
