// SPDX-License-Identifier: MIT
// Pictures and files for the tests of the JPEG XR example.
#ifndef ZEPJP_TESTS_CODECS_JPEGXR_JPEGXR_FILES_H_
#define ZEPJP_TESTS_CODECS_JPEGXR_JPEGXR_FILES_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/decoder.h"
#include "codecs/jpegxr/encoder.h"
#include "codecs/support/picture.h"

namespace jpegxr_files {

// Soft shapes with some noise over the whole range of the type; of 32 bits over 20.
zepcodec::Picture MakeImage(int width, int height, int channels, zepcodec::SampleType type,
                            uint32_t seed);

std::vector<uint8_t> Encode(const zepcodec::Picture& image,
                            const zepcodec::jpegxr::EncodeOptions& options);

// Where the codestream begins: the signature, then a byte with both versions, then one whose last two bits are
// the overlap.
size_t CodestreamOf(const std::vector<uint8_t>& file);

// The number of the samples' kind, with the one of the colours in its upper half.
void SetSamples(uint8_t kind, std::vector<uint8_t>* file);
constexpr uint8_t kRgb555 = 0x78, kRgb101010 = 0x79, kRgb565 = 0x7A, kRgbe = 0x81;

// One file of every kind, small ones.
std::vector<std::vector<uint8_t>> AllKinds();

}  // namespace jpegxr_files

#endif  // ZEPJP_TESTS_CODECS_JPEGXR_JPEGXR_FILES_H_
