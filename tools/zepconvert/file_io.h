// SPDX-License-Identifier: MIT
// Files: read whole or mapped, written so that a file under its final name is always complete.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_FILE_IO_H_
#define ZEPJP_TOOLS_ZEPCONVERT_FILE_IO_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "tools/zepconvert/bytes.h"

namespace zepconvert {

struct ReadLimits {
  // The most that is taken from a pipe or a device, which may never end.
  size_t stream_bytes = size_t{1} << 20;
  // Asked once, about the first kilobytes: if it says no, no more is read.
  bool (*is_known)(const uint8_t* data, size_t size) = nullptr;
  // Regular files of at least this size are mapped: their bytes are read when they are needed, and
  // the system can take the memory back at any time.
  int64_t mapped_from = INT64_MAX;
};

// Ends the mapping of a file of this size.
struct Unmap {
  size_t size = 0;
  void operator()(const uint8_t* data) const;
};

// The bytes of a file, in memory or mapped.
class FileBytes {
 public:
  FileBytes() = default;
  explicit FileBytes(Bytes bytes) : read_(std::move(bytes)) {}
  static FileBytes Mapped(const uint8_t* data, size_t size);

  const uint8_t* data() const { return mapped_ != nullptr ? mapped_.get() : read_.data(); }
  size_t size() const { return mapped_ != nullptr ? mapped_.get_deleter().size : read_.size(); }
  // The memory that only this object can free.
  size_t held_bytes() const { return read_.size(); }

 private:
  Bytes read_;
  std::unique_ptr<const uint8_t, Unmap> mapped_;
};

// A regular file is read up to the size that it has when it is opened: another program may be
// writing to it. The name "-" is standard input.
FileBytes ReadFile(const std::string& path, const ReadLimits& limits);

class TemporaryFile;

// A file that is written piece by piece under another name in the same directory, and renamed at
// the end. A failure leaves no new file and no change to an old one. The new file gets the
// permissions of `source` that the mask allows; a file that is replaced keeps its own. A file that
// exists is a failure unless `replaces` is true; then a symbolic link stays, and the file that it
// points to is replaced. A pipe or a character device is written to; the name "-" is standard
// output.
class OutputFile {
 public:
  OutputFile(const std::string& path, const std::string& source, bool replaces);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void Write(ByteView bytes);
  void Finish();
  size_t size() const { return size_; }

 private:
  void Open(const std::string& source);

  std::string name_;
  std::string path_;                          // where it really is
  std::unique_ptr<TemporaryFile> temporary_;  // null: a pipe or a device
  int descriptor_ = -1;
  unsigned mode_ = 0;
  bool replaces_;
  size_t size_ = 0;
};

// A whole file in this way.
void WriteFile(const std::string& path, ByteView content, const std::string& source, bool replaces);

// True where a file or a link stands in the way, which `replaces` would allow.
bool IsTaken(const std::string& path);
// Fails where that is so.
void CheckFree(const std::string& path);

// Equal for all names under which WriteFile() would write to the same file.
std::string OutputIdentity(const std::string& path);

// Of a regular file; 0 for anything else.
int64_t FileSize(const std::string& path);
bool IsRegularFile(const std::string& path);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_FILE_IO_H_
