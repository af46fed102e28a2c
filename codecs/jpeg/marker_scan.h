// SPDX-License-Identifier: MIT
// Markers amid coded data.
#ifndef ZEPJP_CODECS_JPEG_MARKER_SCAN_H_
#define ZEPJP_CODECS_JPEG_MARKER_SCAN_H_

#include <cstddef>
#include <cstdint>

namespace zepcodec::jpeg {

// The offset of the first marker at or behind `from`: an FF followed by something else than the 00
// of byte stuffing and the FF of padding. `size` where there is none.
size_t FindMarkerInData(const uint8_t* data, size_t size, size_t from);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_MARKER_SCAN_H_
