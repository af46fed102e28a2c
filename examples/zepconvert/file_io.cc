// SPDX-License-Identifier: MIT
#include "zepconvert/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace zepconvert {
namespace {

constexpr size_t kPieceBytes = size_t{1} << 20;

common::Status SystemError(const std::string& what) {
  return common::Status::Error(what + ": " + std::strerror(errno));
}

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return number_; }
  // False where the system tells of a late write error.
  bool Close() {
    const int number = number_;
    number_ = -1;
    return close(number) == 0;
  }

 private:
  int number_;
};

// The system tells the mask only by changing it, so it is asked once, before there are threads.
mode_t ReadMask() {
  const mode_t mask = umask(0);
  umask(mask);
  return mask;
}
const mode_t file_mode = 0666 & ~ReadMask();

bool WriteAll(int file, const uint8_t* data, size_t size) {
  while (size > 0) {
    const ssize_t written = write(file, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    data += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

}  // namespace

common::Status ReadFile(const std::string& path, common::ByteBuffer* bytes) {
  Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return SystemError("cannot be opened");
  struct stat info {};
  if (fstat(file.get(), &info) != 0) return SystemError("cannot be read");
  if (S_ISDIR(info.st_mode)) return common::Status::Error("is a directory");
  if (!bytes->Resize(0)) return common::Status::NoMemory();
  // One byte more than the file has, so that its end is seen without growing.
  if (!bytes->MakeRoom(static_cast<size_t>(std::max<off_t>(info.st_size, 0)) + 1))
    return common::Status::NoMemory();
  while (true) {
    if (bytes->capacity() == bytes->size() && !bytes->MakeRoom(kPieceBytes))
      return common::Status::NoMemory();
    const size_t room = bytes->capacity() - bytes->size();
    const ssize_t count = read(file.get(), bytes->data() + bytes->size(), room);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return SystemError("cannot be read");
    if (count == 0) return common::Status();
    if (!bytes->Resize(bytes->size() + static_cast<size_t>(count)))
      return common::Status::NoMemory();
  }
}

common::Status WriteFile(const std::string& path, const uint8_t* data, size_t size) {
  const size_t slash = path.rfind('/');
  std::string temporary = slash == std::string::npos ? "" : path.substr(0, slash + 1);
  temporary += ".zepconvert-XXXXXX";
  Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
  if (file.get() < 0) return SystemError("cannot be written");
  const bool good = WriteAll(file.get(), data, size) && fchmod(file.get(), file_mode) == 0 &&
                    file.Close() && rename(temporary.c_str(), path.c_str()) == 0;
  if (good) return common::Status();
  common::Status status = SystemError("cannot be written");
  unlink(temporary.c_str());
  return status;
}

}  // namespace zepconvert
