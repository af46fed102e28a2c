// SPDX-License-Identifier: MIT
// BC4 and BC5 with signed values, for which there is no stage.
#ifndef ZEPJP_CODECS_DDS_SIGNED_BLOCKS_H_
#define ZEPJP_CODECS_DDS_SIGNED_BLOCKS_H_

#include <cstdint>

namespace zepcodec::dds {

// Rows of blocks of 1 (BC4) or 2 channels (BC5). Values of -1 to 1 become 0 to 255.
void DecodeSignedBlocks(const uint8_t* blocks, int channels, int width, int height,
                        uint8_t* pixels);

}  // namespace zepcodec::dds

#endif  // ZEPJP_CODECS_DDS_SIGNED_BLOCKS_H_
