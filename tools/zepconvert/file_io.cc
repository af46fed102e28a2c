// SPDX-License-Identifier: MIT
#include "tools/zepconvert/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "tools/zepconvert/temporary_file.h"

namespace zepconvert {
namespace {

constexpr size_t kPieceBytes = size_t{1} << 20;
constexpr size_t kProbedBytes = 4096;  // enough to know a format

zepcodec::Status SystemError(const std::string& what) {
  return zepcodec::Status::Error(what + ": " + std::strerror(errno));
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

// Up to `most` bytes more, as many as there are.
zepcodec::Status ReadMore(int file, size_t most, zepcodec::ByteBuffer* bytes) {
  while (most > 0) {
    if (bytes->capacity() == bytes->size() && !bytes->MakeRoom(std::min(most, kPieceBytes))) {
      return zepcodec::Status::NoMemory();
    }
    const size_t room = std::min(most, bytes->capacity() - bytes->size());
    const ssize_t count = read(file, bytes->data() + bytes->size(), room);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return SystemError("cannot be read");
    if (count == 0) return zepcodec::Status();
    if (!bytes->Resize(bytes->size() + static_cast<size_t>(count))) {
      return zepcodec::Status::NoMemory();
    }
    most -= static_cast<size_t>(count);
  }
  return zepcodec::Status();
}

zepcodec::Status ReadRegular(int file, size_t size, const ReadLimits& limits,
                             zepcodec::ByteBuffer* bytes) {
  const size_t first = std::min(size, kProbedBytes);
  zepcodec::Status status = ReadMore(file, first, bytes);
  if (!status.ok() || bytes->size() < first) return status;
  if (limits.is_known != nullptr && !limits.is_known(bytes->data(), bytes->size())) return status;
  if (!bytes->MakeRoom(size - first)) return zepcodec::Status::NoMemory();
  return ReadMore(file, size - first, bytes);
}

zepcodec::Status ReadStream(int file, const ReadLimits& limits, zepcodec::ByteBuffer* bytes) {
  zepcodec::Status status = ReadMore(file, std::min(limits.stream_bytes, kProbedBytes), bytes);
  if (!status.ok()) return status;
  if (limits.is_known != nullptr && !limits.is_known(bytes->data(), bytes->size())) return status;
  status = ReadMore(file, limits.stream_bytes - bytes->size(), bytes);
  if (!status.ok() || bytes->size() < limits.stream_bytes) return status;
  char beyond = 0;
  if (read(file, &beyond, 1) == 0) return status;
  return zepcodec::Status::Error("is no regular file and has more than " +
                                 std::to_string(limits.stream_bytes) + " bytes");
}

// What a result may at most grant: reading to those who may read the source, running to nobody.
mode_t RightsOf(const std::string& source) {
  struct stat info {};
  const bool is_file = stat(source.c_str(), &info) == 0 && S_ISREG(info.st_mode);
  return is_file ? info.st_mode & 0666 : 0666;
}

// An output that exists already.
struct Existing {
  std::string path;     // where it really is
  struct stat info {};  // without a file type where there is none yet
};

zepcodec::Status FindExisting(const std::string& path, Existing* existing) {
  existing->path = path;
  // Opened and not only looked at, so that links of others in shared directories are not followed where the
  // system forbids it.
  const Descriptor there(open(path.c_str(), O_PATH | O_CLOEXEC));
  if (there.get() < 0) {
    const bool is_missing = errno == ENOENT;
    if (!is_missing) return SystemError("cannot be written");
    struct stat link {};
    if (lstat(path.c_str(), &link) != 0) return zepcodec::Status();
    return zepcodec::Status::Error("is a symbolic link to nothing");
  }
  if (fstat(there.get(), &existing->info) != 0) return SystemError("cannot be written");
  if (S_ISDIR(existing->info.st_mode)) return zepcodec::Status::Error("is a directory");
  if (S_ISBLK(existing->info.st_mode)) return zepcodec::Status::Error("is a block device");
  std::error_code error;
  if (std::filesystem::is_symlink(path, error)) {
    existing->path = std::filesystem::canonical(path, error).string();
    if (error) return zepcodec::Status::Error("cannot be written: " + error.message());
  }
  return zepcodec::Status();
}

zepcodec::Status WriteStream(const std::string& path, const uint8_t* data, size_t size) {
  const Descriptor file(open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
  const bool good = file.get() >= 0 && WriteAll(file.get(), data, size);
  return good ? zepcodec::Status() : SystemError("cannot be written");
}

// The owner and group of the file that it replaces, where the system allows it. Rights of a group are for
// that group alone.
mode_t TakeOwner(int file, const struct stat& before, mode_t mode) {
  struct stat now {};
  if (fstat(file, &now) != 0) return mode & 0700;
  if (now.st_uid == before.st_uid && now.st_gid == before.st_gid) return mode;
  if (fchown(file, before.st_uid, before.st_gid) == 0) return mode;
  return now.st_gid == before.st_gid ? mode : mode & ~mode_t{070};
}

}  // namespace

zepcodec::Status ReadFile(const std::string& path, const ReadLimits& limits,
                          zepcodec::ByteBuffer* bytes) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
  if (file.get() < 0) return SystemError("cannot be opened");
  struct stat info {};
  if (fstat(file.get(), &info) != 0) return SystemError("cannot be read");
  if (S_ISDIR(info.st_mode)) return zepcodec::Status::Error("is a directory");
  if (!bytes->Resize(0)) return zepcodec::Status::NoMemory();
  // Files that the system makes up as they are read have no size.
  if (!S_ISREG(info.st_mode) || info.st_size <= 0) return ReadStream(file.get(), limits, bytes);
  return ReadRegular(file.get(), static_cast<size_t>(info.st_size), limits, bytes);
}

zepcodec::Status WriteFile(const std::string& path, const uint8_t* data, size_t size,
                           const std::string& source) {
  Existing existing;
  if (zepcodec::Status status = FindExisting(path, &existing); !status.ok()) return status;
  const bool is_new = existing.info.st_mode == 0;
  if (!is_new && !S_ISREG(existing.info.st_mode)) return WriteStream(path, data, size);
  const size_t slash = existing.path.rfind('/');
  TemporaryFile file(slash == std::string::npos ? "" : existing.path.substr(0, slash + 1));
  if (file.descriptor() < 0) return SystemError("cannot be written");
  mode_t mode = RightsOf(source);
  if (is_new) {
    mode &= file_mode;
  } else {
    mode = existing.info.st_mode & (mode | 0111) & 0777;
    mode = TakeOwner(file.descriptor(), existing.info, mode);
  }
  const bool good = WriteAll(file.descriptor(), data, size) &&
                    fchmod(file.descriptor(), mode) == 0 && file.Finish(existing.path);
  return good ? zepcodec::Status() : SystemError("cannot be written");
}

std::string OutputIdentity(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  fs::path place = path;
  if (fs::is_symlink(place, error)) {
    place = fs::canonical(place, error);
    if (error) place = path;
  }
  const std::string name = "/" + place.filename().string();
  const fs::path directory = place.has_parent_path() ? place.parent_path() : fs::path(".");
  struct stat info {};
  if (stat(directory.c_str(), &info) == 0) {
    return std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino) + name;
  }
  return fs::weakly_canonical(fs::absolute(directory, error), error).string() + name;
}

int64_t FileSize(const std::string& path) {
  struct stat info {};
  const bool is_file = stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
  return is_file ? int64_t{info.st_size} : 0;
}

bool IsRegularFile(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

}  // namespace zepconvert
