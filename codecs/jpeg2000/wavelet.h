// SPDX-License-Identifier: MIT
// All levels of the wavelet transform of a tile's components. The reversible filter works on
// integers, the irreversible one on floats.
#ifndef ZEPJP_CODECS_JPEG2000_WAVELET_H_
#define ZEPJP_CODECS_JPEG2000_WAVELET_H_

#include <vector>

#include "codecs/jpeg2000/plane.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg2000 {

// From the samples of the highest level to the lowest one. The planes have no margins.
Status ForwardWavelets(ThreadPool* pool, std::vector<AnyPlane>* planes);
// From the lowest level to the low-pass coefficients of the highest one. LevelPart does the last
// step.
Status InverseWavelets(ThreadPool* pool, std::vector<AnyPlane>* planes);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_WAVELET_H_
