// SPDX-License-Identifier: MIT
// Loops that are worth wider vectors than the processor's floor: where the compiler can, it makes a second version
// of such a function for AVX2, and the loader chooses.
#ifndef ZEPJP_CODECS_JPEGXR_VECTOR_LOOPS_H_
#define ZEPJP_CODECS_JPEGXR_VECTOR_LOOPS_H_

#if defined(__x86_64__) && defined(__linux__) && defined(__GNUC__) && !defined(__clang__) && \
    defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#  define ZEPJP_VECTOR_LOOPS __attribute__((target_clones("avx2", "default")))
#else
#  define ZEPJP_VECTOR_LOOPS
#endif

#endif  // ZEPJP_CODECS_JPEGXR_VECTOR_LOOPS_H_
