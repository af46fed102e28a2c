// SPDX-License-Identifier: MIT
// Sequential files of 8 bits: to the rows of a region, or to the samples of their components.
#ifndef ZEPJP_CODECS_JPEG_SEQUENTIAL_DECODER_H_
#define ZEPJP_CODECS_JPEG_SEQUENTIAL_DECODER_H_

#include <vector>

#include "codecs/jpeg/file_reader.h"
#include "codecs/jpeg/plane.h"
#include "codecs/jpeg/row_output.h"
#include "codecs/jpeg/window.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

// Almost every file has a single scan: each row of MCUs becomes rows of the picture at once. Stops
// after the last row of MCUs that the region needs.
Status DecodeRows(FileReader* file, RowOutput* output);

// Several scans: the samples of the window, of all components.
Status DecodePlanes(FileReader* file, const Window& window, std::vector<Plane>* planes);

// The rows of the region from all its samples.
Status WriteRows(FileReader* file, const std::vector<Plane>& planes, RowOutput* output);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SEQUENTIAL_DECODER_H_
