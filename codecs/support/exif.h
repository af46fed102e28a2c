// SPDX-License-Identifier: MIT
// EXIF data as directories. JPEG and JP2 files hold them as one piece, a TIFF structure of its own. TIFF
// and JPEG XR files spread them over their directories: make, model, date and the like are fields of
// the picture, and the directories of EXIF and GPS hang below. The positions inside are those of the
// file then, so both ways the directories are read and written anew.
//
// Every value is kept, numbers in little-endian order. What only the writer of a maker note knows is
// kept as bytes; positions in it may be wrong afterwards. A thumbnail, which is a second picture of the
// structure, is left out.
#ifndef ZEPJP_CODECS_SUPPORT_EXIF_H_
#define ZEPJP_CODECS_SUPPORT_EXIF_H_

#include <cstdint>
#include <vector>

#include "codecs/support/fields.h"
#include "codecs/support/messages.h"

namespace zepcodec {

constexpr uint16_t kOrientationTag = 274;

// What belongs to EXIF data of a picture whose directory is `main`. Damaged parts are left out, with
// notes.
std::vector<tiff::NewField> CollectExif(const ByteReader& file, const tiff::FieldList& main,
                                        Messages* notes);
// The same of EXIF data in one piece; empty where they are damaged.
std::vector<tiff::NewField> SplitExif(const std::vector<uint8_t>& exif);

// EXIF data in one piece. Empty where the fields tell nothing, or only that the picture is upright.
std::vector<uint8_t> JoinExif(const std::vector<tiff::NewField>& fields);

// The orientation that EXIF data tell; 0 if they tell none.
int OrientationOfExif(const std::vector<uint8_t>& exif);
// Sets it to 1 where it is told.
void SetExifUpright(std::vector<uint8_t>* exif);

// Sets the orientation, whether it was there or not.
void SetOrientation(int orientation, std::vector<tiff::NewField>* fields);
// Takes it out; 0: it was not there.
int TakeOrientation(std::vector<tiff::NewField>* fields);

// The same EXIF data with an orientation; empty data tell nothing but that then.
std::vector<uint8_t> WithOrientation(int orientation, const std::vector<uint8_t>& exif);

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_EXIF_H_
