// SPDX-License-Identifier: MIT
// Shows how a progressive JPEG file gets sharper.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_JPEG_SCANS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_JPEG_SCANS_H_

#include <string>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// Writes the picture after each scan of a progressive file to settings.scans_directory, as a PNG
// file named after `name`. Other files have no scans to show.
void WriteScans(const Settings& settings, ByteView input, const std::string& name);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_JPEG_SCANS_H_
