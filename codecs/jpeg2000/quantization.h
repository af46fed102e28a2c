// SPDX-License-Identifier: MIT
// Step sizes of subbands (ITU-T T.800, Annex E), and the weight of a subband's errors in the
// picture.
#ifndef ZEPJP_CODECS_JPEG2000_QUANTIZATION_H_
#define ZEPJP_CODECS_JPEG2000_QUANTIZATION_H_

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/geometry.h"

namespace zepcodec::jpeg2000 {

struct BandSteps {
  int most_planes;  // bits of a magnitude
  double step;
};

// The step of a band at `resolution`, for a component of `bits` bits.
BandSteps StepsOf(const Quantization& quantization, const ComponentCoding& coding, int bits,
                  int resolution, const Band& band);

// Steps for all bands of a component. Irreversible: `base` divided by the band's weight, so that an
// error of one step counts the same in each band. Reversible: `extra_bits` are the bits that the
// component transform adds.
Quantization MakeQuantization(QuantizationStyle style, const ComponentCoding& coding, int bits,
                              int extra_bits, double base);

// The factor from an error in a band's coefficients to the error in the picture: the norm of the
// band's synthesis basis.
double SynthesisNorm(bool reversible, int level, int orientation);
// The same for a component, through the inverse component transform.
double ComponentNorm(bool reversible, bool transforms_components, size_t component);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_QUANTIZATION_H_
