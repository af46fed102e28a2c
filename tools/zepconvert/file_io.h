// SPDX-License-Identifier: MIT
// Whole files: read at once, written so that a file under its final name is always complete.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_FILE_IO_H_
#define ZEPJP_TOOLS_ZEPCONVERT_FILE_IO_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"

namespace zepconvert {

struct ReadLimits {
  // The most that is taken from a pipe or a device, which may never end.
  size_t stream_bytes = size_t{1} << 20;
  // Asked once, about the first kilobytes: where it says no, no more is read.
  bool (*is_known)(const uint8_t* data, size_t size) = nullptr;
};

// A regular file is read up to the size that it has when it is opened: another program may be writing to it.
zepcodec::Status ReadFile(const std::string& path, const ReadLimits& limits,
                          zepcodec::ByteBuffer* bytes);

// Writes to a file of another name in the same directory, then renames it. After an error there is
// neither that file nor a change to one that was there before. The new file has the permissions of `source`,
// as the mask allows, and none that the file that it replaces has not; of a symbolic link the file that it
// points to is replaced; a pipe or a character device is written to.
zepcodec::Status WriteFile(const std::string& path, const uint8_t* data, size_t size,
                           const std::string& source);

// Equal for all names under which WriteFile() would write to the same file.
std::string OutputIdentity(const std::string& path);

// Of a regular file; 0 for what is none.
int64_t FileSize(const std::string& path);
bool IsRegularFile(const std::string& path);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_FILE_IO_H_
