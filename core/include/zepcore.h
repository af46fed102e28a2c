/* SPDX-License-Identifier: MIT */
/**
 * @file zepcore.h
 * @brief What zepjp needs from its surroundings: processor features, threads, memory.
 *
 * A small library of its own, so that a program can put another one in its place, at link or load
 * time. Its functions may be called at any time, also before any constructor has run and from any
 * thread. A replacement must offer the same.
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
 * All other bits are 0 and reserved. A mask of 0, or of ZEPCORE_CPU_VARIANT alone, is a valid one:
 * the floor (SSSE3 on x86, NEON on 64-bit Arm) needs no bit.
 * @{
 */
/**
 * Bits 4 and 5. Both of them: the processor is of the low-power line. Detection never sets them,
 * only the environment variable does.
 */
#define ZEPCORE_CPU_VARIANT UINT64_C(0x30)
/** SSE4.1, SSE4.2, POPCNT, PCLMULQDQ, AES. */
#define ZEPCORE_CPU_SSE4 UINT64_C(0x100)
/**
 * All of ZEPCORE_CPU_SSE4, and AVX, AVX2, BMI1, BMI2, LZCNT, FMA, F16C; the operating system saves
 * the YMM registers.
 */
#define ZEPCORE_CPU_AVX2 UINT64_C(0x200)
/**
 * All of ZEPCORE_CPU_AVX2, and AVX-512 F, BW, CD, DQ, VL, VNNI, VBMI, VBMI2, BITALG, VPOPCNTDQ,
 * VAES, VPCLMULQDQ; the operating system saves the ZMM and opmask registers. AVX-VNNI, the form
 * without AVX-512, is not part of it.
 */
#define ZEPCORE_CPU_AVX512 UINT64_C(0x400)
/** @} */

/**
 * The instruction sets above the floor that may be used here.
 *
 * On 32-bit x86 ZEPCORE_CPU_SSE4 is the only one ever reported, on 64-bit Arm the mask is 0.
 *
 * The environment variable ZEPCORE_CPU_FEATURES, a decimal or 0x... number, can clear each bit and
 * can set the two of ZEPCORE_CPU_VARIANT, and no other:
 * `(detected & value) | (value & ZEPCORE_CPU_VARIANT)`. A value that is not such a number of up to
 * 64 bits counts as not set. It does not clear what rests on a cleared bit: 0x600 leaves AVX2
 * without SSE4.
 *
 * Processor and environment are asked in each call, some microseconds on a virtual machine. Like
 * getenv(), the call must not meet a setenv() in another thread.
 */
ZEPCORE_API uint64_t zepGetEnabledCpuFeatures(void);

/**
 * How many threads may share the work of one call: the number set by zepSetNumThreads(), or by
 * default what OpenMP would use (1 in a build without it).
 *
 * Before this library's and the OpenMP runtime's own constructors have run the default is 1.
 *
 * @return 1 to 1024
 */
ZEPCORE_API int32_t ownGetNumThreads(void);

/**
 * Sets the result of ownGetNumThreads(), for all threads of the program.
 *
 * @param count 1 to 1024; more counts as 1024, and 0 or less restores the default
 */
ZEPCORE_API void zepSetNumThreads(int32_t count);

/**
 * Sets the result of ownGetNumThreads() for the calling thread alone, whatever zepSetNumThreads() says.
 * A program that shares out its work over threads of its own sets 1 in each of them, so that the calls
 * they make start no further threads.
 *
 * @param count 1 to 1024; more counts as 1024, and 0 or less ends the exception
 * @return what the thread had set before, or 0
 */
ZEPCORE_API int32_t zepSetOwnNumThreads(int32_t count);

/**
 * The size in bytes of the largest data or unified cache: what the processor says, or else what the
 * operating system says, or else 1 MiB. The result of 2 GiB and more is INT32_MAX.
 *
 * The processor is asked in each call, some ten microseconds on a virtual machine.
 */
ZEPCORE_API int32_t zepGetMaxCacheSizeB(void);

/**
 * Allocates memory, with whatever content, aligned to 64 bytes.
 *
 * @param size in bytes
 * @return null where `size` is below 1 or memory is short; else for zepFree() to release
 */
ZEPCORE_API void* zepMalloc(int32_t size);

/** Releases memory of zepMalloc(); null is allowed and does nothing. */
ZEPCORE_API void zepFree(void* memory);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCORE_H */
