// SPDX-License-Identifier: MIT
// Colour profiles (ICC.1) in PNG files.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PNG_PROFILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PNG_PROFILE_H_

#include <cstdint>
#include <string>
#include <vector>

namespace zepconvert {

// Why a PNG file cannot have this profile, as in "it is for RGB, the picture is grey"; empty where
// it can. Only what makes a profile useless counts: header, colours, the place of its tags.
std::string PngProfileFault(const std::vector<uint8_t>& profile, bool is_grey);

// The content of an iCCP chunk; empty where that fails.
std::vector<uint8_t> MakeProfileChunk(const std::vector<uint8_t>& profile);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PNG_PROFILE_H_
