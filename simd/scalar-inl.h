// SPDX-License-Identifier: MIT
// Attributes for scalar coders. Such a file is compiled twice: for the minimum processor, and for
// processors with AVX2, which also have BMI1, BMI2 and LZCNT (single instructions for shifts by a
// variable count and for counting leading zeros). The file begins with
//
//   #define HWY_DISABLED_TARGETS ZEP_ALL_BUT_SCALAR_TARGETS   // from simd/dispatch.h
//
// before it includes foreach_target.h; after that it includes this file, once per instruction set.
// `features` names the instruction sets that its code may use on processors with AVX2.
// ZEP_SCALAR_ATTR(features) stands after the arguments of a lambda.
#include "hwy/highway.h"

#undef ZEP_BEFORE_SCALAR_NAMESPACE
#undef ZEP_AFTER_SCALAR_NAMESPACE
#undef ZEP_SCALAR_ATTR
#if HWY_TARGET == HWY_AVX2
#  define ZEP_SCALAR_ATTR(features) __attribute__((target(features)))
#  define ZEP_BEFORE_SCALAR_NAMESPACE(features) \
    HWY_PUSH_ATTRIBUTES(features)               \
    static_assert(true, "For requiring trailing semicolon")
#  define ZEP_AFTER_SCALAR_NAMESPACE() \
    HWY_POP_ATTRIBUTES                 \
    static_assert(true, "For requiring trailing semicolon")
#else
#  define ZEP_SCALAR_ATTR(features)
#  define ZEP_BEFORE_SCALAR_NAMESPACE(features) \
    static_assert(true, "For requiring trailing semicolon")
#  define ZEP_AFTER_SCALAR_NAMESPACE() static_assert(true, "For requiring trailing semicolon")
#endif
