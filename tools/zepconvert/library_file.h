// SPDX-License-Identifier: MIT
// Files of the library's formats, all in one way.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_LIBRARY_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_LIBRARY_FILE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/settings.h"
#include "zepcodec.hpp"

namespace zepconvert {

// The headers of a file. A file that cannot be decoded is a failure.
zepcInfo ProbeLibraryFile(const Settings& settings, ByteView input);

// What can be saved of a damaged file, with warnings.
Picture ReadLibraryFile(const Settings& settings, ByteView input);

// The picture after the first `scans` scans of a progressive JPEG file; after all where the file
// has fewer.
Image ReadFirstScans(const Settings& settings, ByteView input, int scans);

zepc::File WriteLibraryFile(const Settings& settings, Format format, const Picture& picture);

// Whether such a file will hold the picture bit for bit.
bool IsLossless(const Settings& settings, Format format);

// From JPEG file to JPEG file with the same coefficients. `picture` gets the messages only.
zepc::File TranscodeJpeg(const Settings& settings, ByteView input, Picture* picture);

// Fails unless settings.scan_script makes sense.
void CheckScanScript(const Settings& settings);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_LIBRARY_FILE_H_
