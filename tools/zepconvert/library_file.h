// SPDX-License-Identifier: MIT
// Files of the library's formats, all in one way.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_LIBRARY_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_LIBRARY_FILE_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/resize.h"
#include "tools/zepconvert/settings.h"
#include "zepcodec.hpp"

namespace zepconvert {

// The headers of a file. A file that cannot be decoded is a failure.
zepcInfo ProbeLibraryFile(const Settings& settings, ByteView input);

// The size of the picture that will be decoded, before settings.region is cut out.
PictureSize SizeOf(const Settings& settings, const zepcInfo& info);

// What can be saved of a damaged file, with warnings.
Picture ReadLibraryFile(const Settings& settings, ByteView input, const OnProgress& on_progress);

// The picture after the first `scans` scans of a progressive JPEG file; after all where the file
// has fewer.
Image ReadFirstScans(const Settings& settings, ByteView input, int scans);

// What is known before the rows of a picture, whose region settings.region names.
struct Head {
  int width = 0;
  int height = 0;
  Form form;
  Metadata metadata;
  int64_t memory = 0;  // that decoding by rows takes
};
Head ReadHead(const Settings& settings, ByteView input);

// Calls `take` with the rows of that region until it returns false. `picture` gets the messages.
void ReadRows(const Settings& settings, ByteView input,
              const std::function<bool(const zepcPixels& rows)>& take, Picture* picture);

// Writes a file while `next` fills its rows; false: there are none, which is a failure. `shape` has
// the size and form of the picture.
void WriteLibraryRows(const Settings& settings, Format format, const zepcPixels& shape,
                      const Metadata& metadata,
                      const std::function<bool(const zepcPixels& rows)>& next, OutputFile* file);

// settings.region in a picture of this size; all of it where none is named. Fails where it is not
// inside.
zepcRect RegionIn(const Settings& settings, int width, int height);

zepc::File WriteLibraryFile(const Settings& settings, Format format, const Picture& picture,
                            const OnProgress& on_progress);

// Whether such a file will hold the picture bit for bit.
bool IsLossless(const Settings& settings, Format format);

// From JPEG file to JPEG file with the same coefficients. `picture` gets the messages only.
zepc::File TranscodeJpeg(const Settings& settings, ByteView input, Picture* picture);

// Fails unless settings.scan_script makes sense.
void CheckScanScript(const Settings& settings);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_LIBRARY_FILE_H_
