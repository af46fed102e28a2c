// SPDX-License-Identifier: MIT
// Step sizes of subbands (ITU-T T.800, Annex E), and how much an error in a subband shows in the picture.
#ifndef ZEPJP_CODECS_JPEG2000_QUANTIZATION_H_
#define ZEPJP_CODECS_JPEG2000_QUANTIZATION_H_

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/geometry.h"

namespace zepcodec::jpeg2000 {

struct BandSteps {
  int most_planes;  // of a magnitude
  double step;
};

// The steps of a band at `resolution` of a component of `bits` bits.
BandSteps StepsOf(const Quantization& quantization, const ComponentCoding& coding, int bits,
                  int resolution, const Band& band);

// Steps for all bands of a component. Irreversible: `base` times what makes an error of one step weigh
// the same in each band; `extra_bits` are what a component transform adds to the reversible samples.
Quantization MakeQuantization(QuantizationStyle style, const ComponentCoding& coding, int bits,
                              int extra_bits, double base);

// By how much the energy of an error grows from a band's coefficients to the picture: the norm of its
// synthesis basis.
double SynthesisNorm(bool reversible, int level, int orientation);
// The same for a component, from behind the component transform.
double ComponentNorm(bool reversible, bool transforms_components, size_t component);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_QUANTIZATION_H_
