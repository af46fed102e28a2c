// SPDX-License-Identifier: MIT
#include "tools/zepconvert/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "tools/zepconvert/temporary_file.h"

namespace zepconvert {
namespace {

std::atomic<bool>* stop_request = nullptr;

void RemoveFilesAndDie(int number) {
  TemporaryFile::RemoveAll();
  std::signal(number, SIG_DFL);
  raise(number);  // it waits until the handler returns
}

void StopOrDie(int number) {
  if (stop_request->exchange(true)) RemoveFilesAndDie(number);
}

// What the program's parent ignores stays so (nohup), and handlers of sanitizers stay.
void Handle(int number, void (*handler)(int)) {
  struct sigaction before {};
  if (sigaction(number, nullptr, &before) != 0 || before.sa_handler != SIG_DFL) return;
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigaction(number, &action, nullptr);
}

}  // namespace

bool ReserveStandardDescriptors() {
  for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
    // open() takes the lowest free number.
    if (fcntl(number, F_GETFD) < 0 && open("/dev/null", O_RDWR) != number) return false;
  }
  return true;
}

void HandleSignals(std::atomic<bool>* stop) {
  stop_request = stop;
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) Handle(number, StopOrDie);
  for (const int number : {SIGQUIT, SIGALRM, SIGVTALRM, SIGPROF, SIGXCPU, SIGUSR1, SIGUSR2, SIGSEGV,
                           SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGSYS, SIGTRAP}) {
    Handle(number, RemoveFilesAndDie);
  }
}

}  // namespace zepconvert
