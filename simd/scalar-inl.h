// SPDX-License-Identifier: MIT
// Scalar coders, compiled twice: for the floor, and for processors with AVX2, which have BMI1, BMI2
// and LZCNT too: shifts by a variable count, and leading zeros, in one instruction. Such a file
// begins with
//
//   #define HWY_DISABLED_TARGETS ZEP_ALL_BUT_SCALAR_TARGETS   // simd/dispatch.h, before
//                                                             foreach_target.h
//
// and includes this one after foreach_target.h, once per instruction set. `features` are those of
// AVX2's processors that its code may use. ZEP_SCALAR_ATTR(features) stands after the arguments of
// a lambda.
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
