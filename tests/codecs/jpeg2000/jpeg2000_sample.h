// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_SAMPLE_H_
#define ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_SAMPLE_H_

namespace jpeg2000_files {

// Whether a sample of the cases is enough, as the test takes much longer here than natively.
constexpr bool kIsSample = ZEPJP_EXHAUSTIVE == 0;

}  // namespace jpeg2000_files

#endif  // ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_SAMPLE_H_
