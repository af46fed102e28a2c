// SPDX-License-Identifier: MIT
#include "tools/zepconvert/file_io.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/settings.h"
#include "tools/zepconvert/temporary_file.h"
#include "tools/zepconvert/text.h"

namespace zepconvert {
namespace {

constexpr size_t kPieceBytes = size_t{1} << 20;
constexpr size_t kProbedBytes = 4096;  // enough to know a format

Failure SystemFailure(const std::string& what) {
  return Failure(what + ": " + std::strerror(errno));
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

// Up to `most` bytes more; fewer where the file ends.
void ReadMore(int file, size_t most, Bytes* bytes) {
  const size_t end = bytes->size() + most;
  while (bytes->size() < end) {
    const size_t before = bytes->size();
    if (bytes->capacity() == before) {
      bytes->reserve(std::max(before + std::min(end - before, kPieceBytes), before / 2 * 3));
    }
    bytes->resize(std::min(end, bytes->capacity()));
    const ssize_t count = read(file, bytes->data() + before, bytes->size() - before);
    bytes->resize(before + static_cast<size_t>(std::max<ssize_t>(count, 0)));
    if (count < 0 && errno != EINTR) throw SystemFailure("cannot be read");
    if (count == 0) return;
  }
}

bool IsKnown(const ReadLimits& limits, const Bytes& bytes) {
  return limits.is_known == nullptr || limits.is_known(bytes.data(), bytes.size());
}

Bytes ReadRegular(int file, size_t size, const ReadLimits& limits) {
  const size_t first = std::min(size, kProbedBytes);
  Bytes bytes;
  ReadMore(file, first, &bytes);
  if (bytes.size() < first || !IsKnown(limits, bytes)) return bytes;
  bytes.reserve(size);
  ReadMore(file, size - first, &bytes);
  return bytes;
}

Bytes ReadStream(int file, const ReadLimits& limits) {
  Bytes bytes;
  ReadMore(file, std::min(limits.stream_bytes, kProbedBytes), &bytes);
  if (!IsKnown(limits, bytes)) return bytes;
  ReadMore(file, limits.stream_bytes - bytes.size(), &bytes);
  char beyond = 0;
  if (bytes.size() < limits.stream_bytes || read(file, &beyond, 1) == 0) return bytes;
  throw Failure("is no regular file and has more than " + std::to_string(limits.stream_bytes) +
                " bytes");
}

// The most that a result may grant: reading to those who may read the source, running to nobody.
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

Failure Taken(const char* what) { return Failure(std::string(what) + " (--force replaces it)"); }

// Runs a part of writing; a failure gets the name of the file.
template <class Call>
void WithName(const std::string& path, const Call& call) {
  try {
    call();
  } catch (const Failure& failure) {
    throw Failure(ShownOutput(path) + " " + failure.what());
  }
}

Existing FindExisting(const std::string& path, bool replaces) {
  Existing existing;
  existing.path = path;
  // Opened, so that the system can forbid to follow links of other users in shared directories.
  const Descriptor there(open(path.c_str(), O_PATH | O_CLOEXEC));
  if (there.get() < 0) {
    const bool is_missing = errno == ENOENT;
    if (!is_missing) throw SystemFailure("cannot be written");
    struct stat link {};
    if (lstat(path.c_str(), &link) != 0) return existing;
    throw Failure("is a symbolic link to nothing");
  }
  if (fstat(there.get(), &existing.info) != 0) throw SystemFailure("cannot be written");
  if (S_ISDIR(existing.info.st_mode)) throw Failure("is a directory");
  if (S_ISBLK(existing.info.st_mode)) throw Failure("is a block device");
  std::error_code error;
  const bool is_link = std::filesystem::is_symlink(path, error);
  if (!replaces && S_ISREG(existing.info.st_mode)) {
    throw Taken(is_link ? "is a symbolic link to a file" : "exists");
  }
  if (is_link) {
    existing.path = std::filesystem::canonical(path, error).string();
    if (error) throw Failure("cannot be written: " + error.message());
  }
  return existing;
}

// Gives the file the owner and group of the one that it replaces, where the system allows it.
// Without its group, the group's rights are dropped.
mode_t TakeOwner(int file, const struct stat& before, mode_t mode) {
  struct stat now {};
  if (fstat(file, &now) != 0) return mode & 0700;
  if (now.st_uid == before.st_uid && now.st_gid == before.st_gid) return mode;
  if (fchown(file, before.st_uid, before.st_gid) == 0) return mode;
  return now.st_gid == before.st_gid ? mode : mode & ~mode_t{070};
}

}  // namespace

FileBytes FileBytes::Mapped(const uint8_t* data, size_t size) {
  FileBytes bytes;
  bytes.mapped_ = {data, Unmap{size}};
  return bytes;
}

void Unmap::operator()(const uint8_t* data) const { munmap(const_cast<uint8_t*>(data), size); }

FileBytes ReadFile(const std::string& path, const ReadLimits& limits) {
  const bool is_stream = path == kStandardStream;
  const Descriptor file(is_stream ? dup(STDIN_FILENO)
                                  : open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
  if (file.get() < 0) throw SystemFailure("cannot be opened");
  struct stat info {};
  if (fstat(file.get(), &info) != 0) throw SystemFailure("cannot be read");
  if (S_ISDIR(info.st_mode)) {
    throw Failure("is a directory (--recursive converts the pictures in it)");
  }
  // Files that the system makes up as they are read have no size. Of standard input a part may have
  // been read.
  const bool is_whole = S_ISREG(info.st_mode) && info.st_size > 0 &&
                        (!is_stream || lseek(file.get(), 0, SEEK_CUR) == 0);
  if (!is_whole) {
    return FileBytes(ReadStream(file.get(), limits));
  }
  const auto size = static_cast<size_t>(info.st_size);
  if (info.st_size >= limits.mapped_from) {
    void* const mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    if (mapped != MAP_FAILED) return FileBytes::Mapped(static_cast<const uint8_t*>(mapped), size);
  }
  return FileBytes(ReadRegular(file.get(), size, limits));
}

OutputFile::OutputFile(const std::string& path, const std::string& source, bool replaces)
    : name_(path), replaces_(replaces) {
  WithName(path, [&] {
    Open(source);
    if (descriptor_ < 0) throw SystemFailure("cannot be written");
  });
}

void OutputFile::Open(const std::string& source) {
  if (name_ == kStandardStream) {
    descriptor_ = dup(STDOUT_FILENO);
    return;
  }
  const Existing existing = FindExisting(name_, replaces_);
  path_ = existing.path;
  const bool is_new = existing.info.st_mode == 0;
  if (!is_new && !S_ISREG(existing.info.st_mode)) {
    descriptor_ = open(name_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    return;
  }
  const size_t slash = path_.rfind('/');
  temporary_ =
      std::make_unique<TemporaryFile>(slash == std::string::npos ? "" : path_.substr(0, slash + 1));
  descriptor_ = temporary_->descriptor();
  if (descriptor_ < 0) return;
  mode_ = is_new ? RightsOf(source) & file_mode
                 : TakeOwner(descriptor_, existing.info, existing.info.st_mode & 0777);
}

OutputFile::~OutputFile() {
  if (temporary_ == nullptr && descriptor_ >= 0) close(descriptor_);
}

void OutputFile::Write(ByteView bytes) {
  WithName(name_, [&] {
    if (!WriteAll(descriptor_, bytes.data, bytes.size)) throw SystemFailure("cannot be written");
  });
  size_ += bytes.size;
}

void OutputFile::Finish() {
  if (temporary_ == nullptr) return;
  WithName(name_, [&] {
    if (fchmod(descriptor_, mode_) == 0 && temporary_->Finish(path_, replaces_)) return;
    // Another program may have made a file meanwhile.
    if (errno == EEXIST) throw Taken("exists");
    throw SystemFailure("cannot be written");
  });
}

bool IsTaken(const std::string& path) {
  struct stat info {};
  if (path == kStandardStream || lstat(path.c_str(), &info) != 0) return false;
  const bool is_link = S_ISLNK(info.st_mode);
  return S_ISREG(info.st_mode) || (is_link && IsRegularFile(path));
}

void CheckFree(const std::string& path) {
  if (IsTaken(path)) WithName(path, [&] { FindExisting(path, false); });
}

void WriteFile(const std::string& path, ByteView content, const std::string& source,
               bool replaces) {
  OutputFile file(path, source, replaces);
  file.Write(content);
  file.Finish();
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
