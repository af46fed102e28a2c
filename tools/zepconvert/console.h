// SPDX-License-Identifier: MIT
// Messages and a progress bar on standard error, from several threads.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_CONSOLE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_CONSOLE_H_

#include <cstddef>
#include <mutex>
#include <string>

namespace zepconvert {

class Console {
 public:
  // The bar is shown on terminals only, and if there is more than one step.
  Console(size_t steps, bool quiet);
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  // A line of its own: "zepconvert: text", made printable.
  void Say(const std::string& text);
  // Moves the bar by one step.
  void Step();

 private:
  void Draw();
  void Clear();

  std::mutex mutex_;
  size_t steps_;
  size_t done_ = 0;
  bool has_bar_;
};

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_CONSOLE_H_
