// SPDX-License-Identifier: MIT
// EXIF data as directories. JPEG and JP2 files hold EXIF data as a complete TIFF structure. In TIFF
// and JPEG XR files its first directory is that of the picture: make, model and date are fields of
// the picture, which points to the EXIF and GPS directories, and positions count from the start of
// the file. So the data are taken apart and written anew in both directions.
//
// All values are kept; numbers become little-endian. A maker note is kept as bytes, because its
// format is private; positions inside it may become wrong. A thumbnail, the second directory of the
// structure, is left out.
#ifndef ZEPJP_CODECS_SUPPORT_EXIF_H_
#define ZEPJP_CODECS_SUPPORT_EXIF_H_

#include <cstdint>
#include <vector>

#include "codecs/support/fields.h"
#include "codecs/support/messages.h"

namespace zepcodec {

constexpr uint16_t kOrientationTag = 274;

// The EXIF fields of a picture whose directory is `main`. Damaged parts are left out with notes.
std::vector<tiff::NewField> CollectExif(const ByteReader& file, const tiff::FieldList& main,
                                        Messages* notes);
// The same from a complete TIFF structure; empty if that is damaged.
std::vector<tiff::NewField> SplitExif(const std::vector<uint8_t>& exif);

// The fields as a TIFF structure. Empty if there are none but an orientation of 1.
std::vector<uint8_t> JoinExif(const std::vector<tiff::NewField>& fields);

// The orientation in EXIF data, 1 to 8; 0: none.
int OrientationOfExif(const std::vector<uint8_t>& exif);
// Sets the orientation to 1 if there is one.
void SetExifUpright(std::vector<uint8_t>* exif);

// Sets or adds the orientation.
void SetOrientation(int orientation, std::vector<tiff::NewField>* fields);
// Removes the orientation and returns it; 0: there was none.
int TakeOrientation(std::vector<tiff::NewField>* fields);

// EXIF data with the orientation set or added; `exif` may be empty.
std::vector<uint8_t> WithOrientation(int orientation, const std::vector<uint8_t>& exif);

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_EXIF_H_
