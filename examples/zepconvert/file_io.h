// SPDX-License-Identifier: MIT
// Whole files: read at once, written so that a file under its final name is always complete.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_FILE_IO_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_FILE_IO_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "common/byte_buffer.h"
#include "common/status.h"

namespace zepconvert {

common::Status ReadFile(const std::string& path, common::ByteBuffer* bytes);

// Writes to a file of another name in the same directory, then renames it. After an error there is
// neither that file nor a change to one that was there before.
common::Status WriteFile(const std::string& path, const uint8_t* data, size_t size);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_FILE_IO_H_
