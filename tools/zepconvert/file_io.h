// SPDX-License-Identifier: MIT
// Whole files: read at once, written so that a file under its final name is always complete.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_FILE_IO_H_
#define ZEPJP_TOOLS_ZEPCONVERT_FILE_IO_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "tools/zepconvert/bytes.h"

namespace zepconvert {

struct ReadLimits {
  // The most that is taken from a pipe or a device, which may never end.
  size_t stream_bytes = size_t{1} << 20;
  // Asked once, about the first kilobytes: if it says no, no more is read.
  bool (*is_known)(const uint8_t* data, size_t size) = nullptr;
};

// A regular file is read up to the size that it has when it is opened: another program may be
// writing to it.
Bytes ReadFile(const std::string& path, const ReadLimits& limits);

// Writes to a file of another name in the same directory, then renames it. A failure leaves no new
// file and no change to an old one. The new file gets the permissions of `source` that the mask
// allows; a file that is replaced gets no wider ones than it had. A symbolic link stays: the file
// that it points to is replaced. A pipe or a character device is written to.
void WriteFile(const std::string& path, ByteView content, const std::string& source);

// Equal for all names under which WriteFile() would write to the same file.
std::string OutputIdentity(const std::string& path);

// Of a regular file; 0 for anything else.
int64_t FileSize(const std::string& path);
bool IsRegularFile(const std::string& path);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_FILE_IO_H_
