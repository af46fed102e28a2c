// SPDX-License-Identifier: MIT
// Loaded in front of the C library (LD_PRELOAD), makes the system behave badly as the environment
// asks: no threads, slow writes, files that grow while they are read.
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace {

bool IsWanted(const char* name) { return std::getenv(name) != nullptr; }

bool IsRegularFile(int file) {
  struct stat info {};
  return fstat(file, &info) == 0 && S_ISREG(info.st_mode);
}

template <class Function>
Function* Next(Function* /*type*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void Grow(int file, size_t count) {
  constexpr off_t kMost = 32 << 20;  // so that a reader that follows comes to an end
  struct stat info {};
  if (fstat(file, &info) != 0 || info.st_size > kMost) return;
  const std::string path = "/proc/self/fd/" + std::to_string(file);
  const int end = open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  if (end < 0) return;
  const std::vector<char> bytes(count);
  if (pwrite(end, bytes.data(), bytes.size(), 0) < 0) std::abort();
  close(end);
}

}  // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*run)(void*), void* argument) {
  if (IsWanted("FAULT_NO_THREADS")) return EAGAIN;
  return Next(&pthread_create, "pthread_create")(thread, attributes, run, argument);
}

// Half of what is wanted, then a pause.
extern "C" ssize_t write(int file, const void* bytes, size_t count) {
  const auto next = Next(&write, "write");
  if (!IsWanted("FAULT_SLOW_WRITES") || count < 1000 || !IsRegularFile(file)) {
    return next(file, bytes, count);
  }
  const ssize_t written = next(file, bytes, count / 2);
  const timespec pause = {0, 150000000};
  nanosleep(&pause, nullptr);
  return written;
}

extern "C" ssize_t read(int file, void* bytes, size_t count) {
  if (IsWanted("FAULT_GROWING_FILES") && IsRegularFile(file)) {
    Grow(file, std::min<size_t>(count, 1 << 20));
  }
  return Next(&read, "read")(file, bytes, count);
}
