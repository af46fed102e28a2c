// SPDX-License-Identifier: MIT
// All levels of the wavelet transform of a tile's component, in place: the lower resolutions are in
// the upper left corner of the plane. The reversible filter works on integers, the irreversible one
// on floats.
#ifndef ZEPJP_CODECS_JPEG2000_WAVELET_H_
#define ZEPJP_CODECS_JPEG2000_WAVELET_H_

#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/plane.h"

namespace zepcodec::jpeg2000 {

// From the picture to the lowest resolution.
void ForwardWavelet(const TileComponent& component, Plane<int32_t>* plane);
void ForwardWavelet(const TileComponent& component, Plane<float>* plane);
// From the lowest resolution up to `resolution`, whose size the plane has.
void InverseWavelet(const TileComponent& component, int resolution, Plane<int32_t>* plane);
void InverseWavelet(const TileComponent& component, int resolution, Plane<float>* plane);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_WAVELET_H_
