/* SPDX-License-Identifier: MIT */
/**
 * @file zepcore.h
 * @brief What zepjp needs from its surroundings: processor features, threads, memory.
 *
 * It is a library of its own, so that a program can replace it at link or load time. Its functions
 * may be called at any time, even before any constructor has run, and from any thread. A
 * replacement must offer the same.
 */
#ifndef ZEPCORE_H
#define ZEPCORE_H

#include <stdint.h>

#ifndef ZEPCORE_API
#  if defined(__GNUC__)
#    define ZEPCORE_API __attribute__((visibility("default")))
#  else
#    define ZEPCORE_API
#  endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @name Bits of the feature mask
 * All other bits are 0 and reserved. The least that the library needs (SSSE3 on x86, NEON on 64-bit
 * Arm) has no bit, so a mask of 0 or of ZEPCORE_CPU_VARIANT alone is valid.
 * @{
 */
/**
 * Bits 4 and 5. If both are set, the variant for low-power processors is used. Detection never sets
 * them; only the environment variable does.
 */
#define ZEPCORE_CPU_VARIANT UINT64_C(0x30)
/** The processor has SSE4.1, SSE4.2, POPCNT, PCLMULQDQ and AES. */
#define ZEPCORE_CPU_SSE4 UINT64_C(0x100)
/**
 * The processor has all of ZEPCORE_CPU_SSE4, AVX, AVX2, BMI1, BMI2, LZCNT, FMA and F16C, and the
 * operating system saves the YMM registers.
 */
#define ZEPCORE_CPU_AVX2 UINT64_C(0x200)
/**
 * The processor has all of ZEPCORE_CPU_AVX2, AVX-512 F, BW, CD, DQ, VL, VNNI, VBMI, VBMI2, BITALG,
 * VPOPCNTDQ, VAES and VPCLMULQDQ, and the operating system saves the ZMM and opmask registers.
 * AVX-VNNI, the form without AVX-512, is not required.
 */
#define ZEPCORE_CPU_AVX512 UINT64_C(0x400)
/** @} */

/**
 * Returns a mask of the instruction sets that the library may use besides the least that it needs.
 *
 * On 32-bit x86 only ZEPCORE_CPU_SSE4 is ever reported; on 64-bit Arm the mask is 0.
 *
 * The environment variable ZEPCORE_CPU_FEATURES, a decimal or 0x... number, can clear any bit and
 * can set the two of ZEPCORE_CPU_VARIANT, but no other:
 * `(detected & value) | (value & ZEPCORE_CPU_VARIANT)`. A value that is not a number of up to 64
 * bits counts as not set. Clearing a bit does not clear those that include it: 0x600 leaves AVX2
 * without SSE4.
 *
 * Each call asks the processor and the environment, which takes some microseconds on a virtual
 * machine. As with getenv(), no other thread may call setenv() at the same time.
 */
ZEPCORE_API uint64_t zepGetEnabledCpuFeatures(void);

/**
 * Returns how many threads may share the work of one call: the number set by zepSetNumThreads(), or
 * by default the number that OpenMP would use (1 in a build without OpenMP).
 *
 * The default is 1 until the constructors of this library and of the OpenMP runtime have run.
 *
 * @return 1 to 1024
 */
ZEPCORE_API int32_t ownGetNumThreads(void);

/**
 * Sets how many threads may share the work of one call, for all threads of the program.
 *
 * @param count 1 to 1024; more counts as 1024, and 0 or less restores the default
 */
ZEPCORE_API void zepSetNumThreads(int32_t count);

/**
 * Sets the result of ownGetNumThreads() for the calling thread alone; it takes precedence over
 * zepSetNumThreads(). A program that divides its work among its own threads sets 1 in each of them, so
 * that their calls start no further threads.
 *
 * @param count 1 to 1024; more counts as 1024, and 0 or less restores the common count
 * @return the thread's previous setting, or 0 if it had none
 */
ZEPCORE_API int32_t zepSetOwnNumThreads(int32_t count);

/**
 * Returns the size in bytes of the largest data or unified cache, as the processor tells it, else
 * as the operating system tells it, else 1 MiB. For 2 GiB and more it returns INT32_MAX.
 *
 * Each call asks the processor, which takes some ten microseconds on a virtual machine.
 */
ZEPCORE_API int32_t zepGetMaxCacheSizeB(void);

/**
 * Allocates memory, aligned to 64 bytes and not cleared.
 *
 * @param size in bytes
 * @return the memory, which zepFree() releases; null if `size` is below 1 or memory is short
 */
ZEPCORE_API void* zepMalloc(int32_t size);

/** Releases memory of zepMalloc(). Null is allowed and does nothing. */
ZEPCORE_API void zepFree(void* memory);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCORE_H */
