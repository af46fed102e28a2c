// SPDX-License-Identifier: MIT
// Which scans a file has, and in which order.
#ifndef ZEPJP_CODECS_JPEG_SCAN_SCRIPT_H_
#define ZEPJP_CODECS_JPEG_SCAN_SCRIPT_H_

#include <string>
#include <vector>

#include "codecs/jpeg/markers/frame.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

// Scans of component indexes, bands and bits; their tables are left at 0.
using Script = std::vector<Scan>;

// All coefficients of all components at once.
Script SequentialScript(int component_count);

// Shows a coarse picture early: DC, low frequencies of luminance, colours, and the lowest bits
// last.
Script ProgressiveScript(int component_count);

// The usual syntax: scans end with ; and list components, then the band, the bits that were coded
// before and that are coded now, as in
//   0,1,2: 0-0, 0, 1;   # DC without its lowest bit
//   0: 1-63, 0, 0;
// Components alone mean all coefficients of a sequential file. # begins a comment.
Status ParseScript(const std::string& text, Script* script);

// Whether a file of these components may have such scans (ITU-T T.81, G.1.1), and whether they code
// everything.
Status CheckScript(const Script& script, const Frame& frame);

// Whether a script has progressive scans.
bool IsProgressive(const Script& script);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SCAN_SCRIPT_H_
