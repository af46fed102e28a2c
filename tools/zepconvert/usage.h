// SPDX-License-Identifier: MIT
// Texts that --help and the manual page share.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_USAGE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_USAGE_H_

namespace zepconvert {

constexpr const char* kPurpose =
    "Converts pictures between JPEG (baseline, progressive, lossless), JPEG 2000, JPEG XR, PNG, "
    "TIFF, PNM and DDS files.";

// What follows the name of the program.
constexpr const char* kUsages[] = {"[OPTIONS] IN OUT", "[OPTIONS] --to FORMAT FILES...",
                                   "--probe FILES...", "--verify FILES..."};

constexpr const char* kExamples[] = {
    "zepconvert photo.jpg photo.png",
    "zepconvert -q 85 scan.tif scan.jpg",
    "zepconvert --to jpg --fit 256x256 --out-dir thumbnails --recursive photos",
    "zepconvert --preset web --out-dir web *.png",
    "zepconvert map.jp2 town.png --region 1024x1024+20000+15000",
    "curl -s https://example.org/a.jxr | zepconvert - - --to png | display"};

constexpr const char* kExitCodes =
    "0 done, 1 some file failed, 2 wrong usage, 3 interrupted, 4 all were written but some input "
    "was damaged.";

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_USAGE_H_
