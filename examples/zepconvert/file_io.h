// SPDX-License-Identifier: MIT
// Whole files: read at once, written so that a file under its final name is always complete.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_FILE_IO_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_FILE_IO_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "jpeg/byte_buffer.h"
#include "jpeg/status.h"

namespace zepconvert {

jpeg::Status ReadFile(const std::string& path, jpeg::ByteBuffer* bytes);

// Writes to a file of another name in the same directory, then renames it. After an error there is
// neither that file nor a change to one that was there before.
jpeg::Status WriteFile(const std::string& path, const uint8_t* data, size_t size);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_FILE_IO_H_
