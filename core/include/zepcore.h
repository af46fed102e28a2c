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

/** @name Bits of the feature mask
 * @{ */
/** Both of these bits: the processor is of the low-power line. Detection never sets them. */
#define ZEPCORE_CPU_VARIANT UINT64_C(0x30)
/** SSE4.1, SSE4.2, PCLMULQDQ, AES. */
#define ZEPCORE_CPU_SSE4 UINT64_C(0x100)
/** ZEPCORE_CPU_SSE4 and AVX, AVX2, BMI1, BMI2, FMA, F16C; the system saves the YMM registers. */
#define ZEPCORE_CPU_AVX2 UINT64_C(0x200)
/**
 * ZEPCORE_CPU_AVX2 and AVX-512 F, BW, CD, DQ, VL, VBMI, VBMI2, VNNI, BITALG, VPOPCNTDQ, VAES,
 * VPCLMULQDQ; the system saves the ZMM registers.
 */
#define ZEPCORE_CPU_AVX512 UINT64_C(0x400)
/** @} */

/**
 * The instruction sets above the floor (SSSE3, or NEON on Arm) that may be used here. On 32-bit x86
 * ZEPCORE_CPU_SSE4 is the only one, on 64-bit Arm there is none.
 *
 * The environment variable ZEPCORE_CPU_FEATURES (a decimal or 0x... number) narrows the answer to its
 * own bits, and can set the two bits of ZEPCORE_CPU_VARIANT; anything else in it is ignored.
 */
ZEPCORE_API uint64_t zepGetEnabledCpuFeatures(void);

/** How many threads may share the work of one call, at least 1; what OpenMP would use by default. */
ZEPCORE_API int32_t ownGetNumThreads(void);

/** Sets the result of ownGetNumThreads(); 0 or less restores the default. */
ZEPCORE_API void zepSetNumThreads(int32_t count);

/** The size in bytes of the processor's largest data cache; 1 MiB where it cannot be found out. */
ZEPCORE_API int32_t zepGetMaxCacheSizeB(void);

/** `size` bytes aligned to 64, or null where `size` is below 1 or memory is short. */
ZEPCORE_API void* zepMalloc(int32_t size);

/** Releases memory of zepMalloc(); null is allowed. */
ZEPCORE_API void zepFree(void* memory);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCORE_H */
