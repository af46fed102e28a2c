/* SPDX-License-Identifier: MIT */
/**
 * @file zepjp.h
 * @brief The stages of image codecs as flat C functions over buffers that the caller owns.
 *
 * Each function reads buffers (a row, an 8x8 block, a plane) and writes others. It first checks its
 * arguments, in the order that its documentation gives. The first check that fails decides the
 * status, and the function then writes nothing. It keeps nothing between calls except in a state
 * record that the caller owns. Only the functions named `...InitAlloc` allocate memory. The results
 * are the same bytes on every processor and for every number of threads.
 *
 * These rules hold everywhere, unless a function says otherwise:
 *
 * - **Names** are made of `zepi`, the operation, the standard, the element types (source, then
 *   destination) and the layout: `C1`, `C3`, `C4` are interleaved channels, `P3`, `P4` separate
 *   planes; `R` is a region with row steps, `I` means in place. `8u`, `16s`, `16u` and `32s` are
 *   unsigned or signed elements of 8, 16 or 32 bits, `32f` is float, `1u` a stream of bits held in
 *   bytes.
 * - **Rows.** A step is the distance in bytes between the starts of two successive rows. Row y
 *   starts at base + y * step, computed in 64 bits. Buffers, steps and records need no alignment,
 *   even for elements of 16 bits and more. Nothing outside the region, block or row is read or
 *   written.
 * - **Not checked**: that pointers lead to as much memory as the sizes say, that a step is large
 *   enough for its row, and that source and destination do not overlap (they must not).
 * - **Threads.** Functions may run at the same time on separate data. Functions marked
 *   *row-parallel* split regions of more than 8192 elements over the threads that the core library
 *   allows (zepSetNumThreads() in zepcore.h; 1 switches it off); all others stay on the calling
 *   thread. If threads or memory are short, fewer threads do the work. A child of fork() works on
 *   one thread. The shared library stays in memory after dlclose(), because threads of the OpenMP
 *   runtime may still run its code.
 * - **No function** throws, logs or ends the program.
 */
#ifndef ZEPJP_H
#define ZEPJP_H

#include <stdint.h>

/** @name The version of this header
 * @{ */
#define ZEPJP_VERSION_MAJOR 7  /**< Changes with the binary interface. */
#define ZEPJP_VERSION_MINOR 1  /**< Changes with new functions. */
#define ZEPJP_VERSION_UPDATE 0 /**< Changes with corrections. */
/** @} */

/** The calling convention of every function: on 32-bit x86 the callee removes the arguments. */
#ifndef ZEP_CALL
#  if defined(__i386__) && defined(__GNUC__)
#    define ZEP_CALL __attribute__((stdcall))
#  else
#    define ZEP_CALL
#  endif
#endif

#ifndef ZEP_API
#  if defined(__GNUC__)
#    define ZEP_API __attribute__((visibility("default")))
#  else
#    define ZEP_API
#  endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup frame Status, sizes, version
 * @{
 */

/**
 * A status: 0 is success, negative values are errors, positive values are warnings about finished
 * work.
 */
typedef int32_t zepStatus;

/** The values of ::zepStatus. */
enum {
  zepStatusOk = 0,
  zepStatusError = -1,            /**< Unspecified failure. */
  zepStatusBadArg = -5,           /**< A value outside what the operation accepts. */
  zepStatusBadSize = -6,          /**< A size is not positive, or too small for the operation. */
  zepStatusOutOfRange = -7,       /**< An argument outside its range. */
  zepStatusNullPtr = -8,          /**< A required pointer, or one of its planes, is null. */
  zepStatusMemAlloc = -9,         /**< An allocation failed. */
  zepStatusBadStep = -14,         /**< A row step is not positive, or too small for its row. */
  zepStatusContextMismatch = -17, /**< The state record is of another kind. */
  zepStatusBufferExhausted = -62, /**< The coded buffer is full, or ended too early. */
  zepStatusBadHuffCode = -63,     /**< An unknown Huffman code, or a marker before the data ends. */
  zepStatusBadHuffTable = -64,    /**< An invalid Huffman table, or a symbol without a code. */
  zepStatusJPEG2KDecodeError = -112,   /**< A coding pass failed its consistency check. */
  zepStatusJPEG2KBadPassNumber = -113, /**< No such coding pass. */
  zepStatusUnpackBitsOverrun = -124,   /**< A PackBits packet goes beyond the source or the row. */
  zepStatusJPEG2KNotAttached = -180,   /**< No code-block is attached. */
  zepStatusNotSupportedMode = -9999,   /**< No such BC7 mode. */
  zepStatusDivByZeroWarning = 6, /**< Done; a quantizer step was 0, its table entry is 65535. */
  zepStatusOddSizeWarning = 35   /**< Done; a width or height that is halved was odd. */
};

/** Width and height of a region, in pixels or elements. */
typedef struct zepiSize {
  int32_t width;  /**< Columns. */
  int32_t height; /**< Rows. */
} zepiSize;

/** The version of the library and the processor variant that it runs. */
typedef struct zepLibraryVersion {
  int32_t major;           /**< ::ZEPJP_VERSION_MAJOR of the library. */
  int32_t minor;           /**< ::ZEPJP_VERSION_MINOR of the library. */
  int32_t update;          /**< ::ZEPJP_VERSION_UPDATE of the library. */
  int32_t revision;        /**< Differs between builds of one version. */
  char cpuCode[4];         /**< "v8" or "s8", padded with zeros. */
  const char* name;        /**< For display: the library and the variant. */
  const char* versionText; /**< For display: the version numbers. */
  const char* buildDate;   /**< For display: the date of the interface. */
} zepLibraryVersion;

/**
 * Returns the version record of the library and of the processor variant that it runs. The record
 * is constant, must not be freed and is the same on every call. The variant is chosen when the
 * library is loaded; it changes speed only, never results.
 */
ZEP_API const zepLibraryVersion* ZEP_CALL zepjGetLibVersion(void);

/** Returns the name of a status as it stands in this header, or "unknown status". */
static inline const char* zepStatusName(zepStatus status) {
  switch (status) {
    case zepStatusOk: return "zepStatusOk";
    case zepStatusError: return "zepStatusError";
    case zepStatusBadArg: return "zepStatusBadArg";
    case zepStatusBadSize: return "zepStatusBadSize";
    case zepStatusOutOfRange: return "zepStatusOutOfRange";
    case zepStatusNullPtr: return "zepStatusNullPtr";
    case zepStatusMemAlloc: return "zepStatusMemAlloc";
    case zepStatusBadStep: return "zepStatusBadStep";
    case zepStatusContextMismatch: return "zepStatusContextMismatch";
    case zepStatusBufferExhausted: return "zepStatusBufferExhausted";
    case zepStatusBadHuffCode: return "zepStatusBadHuffCode";
    case zepStatusBadHuffTable: return "zepStatusBadHuffTable";
    case zepStatusJPEG2KDecodeError: return "zepStatusJPEG2KDecodeError";
    case zepStatusJPEG2KBadPassNumber: return "zepStatusJPEG2KBadPassNumber";
    case zepStatusUnpackBitsOverrun: return "zepStatusUnpackBitsOverrun";
    case zepStatusJPEG2KNotAttached: return "zepStatusJPEG2KNotAttached";
    case zepStatusNotSupportedMode: return "zepStatusNotSupportedMode";
    case zepStatusDivByZeroWarning: return "zepStatusDivByZeroWarning";
    case zepStatusOddSizeWarning: return "zepStatusOddSizeWarning";
    default: return "unknown status";
  }
}

/** @} */

/**
 * @defgroup color JPEG: colour conversion
 *
 * These functions convert RGB and CMYK to and from the colour spaces of JPEG files, in full range
 * (JFIF, ITU-T T.871: Y from 0 to 255, chroma centred on 128). All arithmetic is integer: a sum of
 * products, an arithmetic shift, then a clamp to 0..255.
 *
 * **Layouts.** C3 has three bytes per pixel in the order of the name (RGB: R, G, B; BGR: B, G, R).
 * C4 has a fourth byte, X, which conversion from RGB ignores. P3 and P4 take an array of pointers
 * to planes that share one step.
 *
 * **Forward rules.** The first 8 * floor(width / 8) pixels of a row take the 15-bit rule, the up to
 * seven pixels after them the 14-bit rule. The two rules differ by at most 1:
 *
 * | | 15-bit rule | 14-bit rule |
 * |---|---|---|
 * | Y | (9798 R + 19235 G + 3736 B + 16266) >> 15 | (4899 R + 9617 G + 1868 B + 8192) >> 14 |
 * | Cb | (-5529 R - 10855 G + 16384 B + 4210688) >> 15 | (-2764 R - 5428 G + 8192 B + 2105344) >> 14 |
 * | Cr | (16384 R - 13720 G - 2664 B + 4210704) >> 15 | (8192 R - 6860 G - 1332 B + 2105344) >> 14 |
 *
 * **Inverse rule**, with each result clamped:
 *
 *     R = (16384 Y + 22970 (Cr - 128) + 8192) >> 14
 *     G = (16384 Y - 5638 (Cb - 128) - 11700 (Cr - 128) + 8192) >> 14
 *     B = (16384 Y + 29032 (Cb - 128) + 8192) >> 14
 *
 * **Checks**: all pointers in argument order (an array of planes, then each plane), then the source
 * step and the destination step (::zepStatusBadStep for 0 or less), then width and height
 * (::zepStatusBadSize for 0 or less).
 *
 * How it works and where the time goes: [docs/color.md](../docs/color.md).
 * @{
 */

/** Converts RGB to planes Y, Cb, Cr by the 15-bit and 14-bit rules. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                        uint8_t* const pDst[3], int32_t dstStep,
                                                        zepiSize roiSize);
/** Converts BGR to planes Y, Cb, Cr by the 15-bit and 14-bit rules. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                        uint8_t* const pDst[3], int32_t dstStep,
                                                        zepiSize roiSize);
/** Converts planes R, G, B to planes Y, Cb, Cr by the 15-bit and 14-bit rules. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr_JPEG_8u_P3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint8_t* const pDst[3], int32_t dstStep,
                                                      zepiSize roiSize);
/**
 * Converts RGBX to planes Y, Cb, Cr by the 15-bit and 14-bit rules. Steps are not checked: 0 and
 * negative steps work (with a negative step each row lies above the one before).
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                        uint8_t* const pDst[3], int32_t dstStep,
                                                        zepiSize roiSize);
/**
 * Converts BGRX to planes Y, Cb, Cr by the 15-bit and 14-bit rules. Steps are not checked, as in
 * zepiRGBToYCbCr_JPEG_8u_C4P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                        uint8_t* const pDst[3], int32_t dstStep,
                                                        zepiSize roiSize);

/** Converts RGB to Y, every pixel by the 15-bit rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiRGBToY_JPEG_8u_C3C1R(const uint8_t* pSrc, int32_t srcStep,
                                                    uint8_t* pDst, int32_t dstStep,
                                                    zepiSize roiSize);
/** Converts BGR to Y, every pixel by the 15-bit rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiBGRToY_JPEG_8u_C3C1R(const uint8_t* pSrc, int32_t srcStep,
                                                    uint8_t* pDst, int32_t dstStep,
                                                    zepiSize roiSize);
/** Converts planes R, G, B to Y, every pixel by the 15-bit rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiRGBToY_JPEG_8u_P3C1R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                    uint8_t* pDst, int32_t dstStep,
                                                    zepiSize roiSize);

/**
 * Converts CMYK to planes Y, Cb, Cr, K. The inks are inverted (R = 255 - C and so on), then every
 * pixel takes the 14-bit rule; K is copied. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiCMYKToYCCK_JPEG_8u_C4P4R(const uint8_t* pSrc, int32_t srcStep,
                                                        uint8_t* const pDst[4], int32_t dstStep,
                                                        zepiSize roiSize);
/**
 * Converts planes C, M, Y, K to planes Y, Cb, Cr, K. The inks are inverted (R = 255 - C and so on),
 * then every pixel takes the 14-bit rule; K is copied. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiCMYKToYCCK_JPEG_8u_P4R(const uint8_t* const pSrc[4], int32_t srcStep,
                                                      uint8_t* const pDst[4], int32_t dstStep,
                                                      zepiSize roiSize);

/**
 * Converts packed 16-bit pixels with R in bits 14..10, G in 9..5, B in 4..0 to planes Y, Cb, Cr by
 * the 14-bit rule. Bit 15 is ignored. Pixels are in the processor's byte order, at any alignment. A
 * 5-bit field f becomes (f << 3) | (f >> 2), a 6-bit field (f << 2) | (f >> 4).
 */
ZEP_API zepStatus ZEP_CALL zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                              uint8_t* const pDst[3],
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Converts packed 16-bit pixels with B in bits 14..10, G in 9..5, R in 4..0 to planes Y, Cb, Cr by
 * the 14-bit rule. Otherwise as zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGR555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                              uint8_t* const pDst[3],
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Converts packed 16-bit pixels with R in bits 15..11, G in 10..5, B in 4..0 to planes Y, Cb, Cr by
 * the 14-bit rule. Otherwise as zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGB565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                              uint8_t* const pDst[3],
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Converts packed 16-bit pixels with B in bits 15..11, G in 10..5, R in 4..0 to planes Y, Cb, Cr by
 * the 14-bit rule. Otherwise as zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGR565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                              uint8_t* const pDst[3],
                                                              int32_t dstStep, zepiSize roiSize);

/**
 * Converts RGB to Y in full and Cb, Cr at half width and half height (4:2:0).
 *
 * Y of every pixel takes the 15-bit rule. A chroma sample is computed from the sums of R, G and B
 * over a 2x2 group, with the coefficients c of the 14-bit rule, and rounded once: (c . sums + 4 *
 * 2105344) >> 16, clamped. The chroma planes have floor(width / 2) by floor(height / 2) samples:
 * the last column of an odd width and the last row of an odd height have no chroma. Pad odd
 * pictures to even sizes before the call.
 *
 * Checks: pointers, then ::zepStatusBadSize for a width or height below 2. Steps are not checked: 0
 * and negative ones work. All three planes share `dstStep`.
 * @return ::zepStatusOddSizeWarning after the conversion if width or height is odd.
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr411_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * Converts RGBX to Y in full and Cb, Cr at half width and half height (4:2:0). Otherwise as
 * zepiRGBToYCbCr411_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr411_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * Converts BGR to Y in full and Cb, Cr at half width and half height (4:2:0). Otherwise as
 * zepiRGBToYCbCr411_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr411_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * Converts BGRX to Y in full and Cb, Cr at half width and half height (4:2:0). Otherwise as
 * zepiRGBToYCbCr411_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr411_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * Converts RGB to Y in full and Cb, Cr at half width (4:2:2).
 *
 * A chroma sample is computed from the sums over a 2x1 group: (c . sums + 2 * 2105344) >> 15,
 * clamped. A width below 2 or a height below 1 is ::zepStatusBadSize. Otherwise as
 * zepiRGBToYCbCr411_JPEG_8u_C3P3R().
 * @return ::zepStatusOddSizeWarning after the conversion if the width is odd.
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr422_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * Converts RGBX to Y in full and Cb, Cr at half width (4:2:2). Otherwise as
 * zepiRGBToYCbCr422_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr422_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * Converts BGR to Y in full and Cb, Cr at half width (4:2:2). Otherwise as
 * zepiRGBToYCbCr422_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr422_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * Converts BGRX to Y in full and Cb, Cr at half width (4:2:2). Otherwise as
 * zepiRGBToYCbCr422_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr422_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);

/** Converts planes Y, Cb, Cr to RGB by the inverse rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                        int32_t srcStep, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize roiSize);
/** Converts planes Y, Cb, Cr to planes R, G, B by the inverse rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint8_t* const pDst[3], int32_t dstStep,
                                                      zepiSize roiSize);
/** Converts planes Y, Cb, Cr to BGR by the inverse rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                        int32_t srcStep, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize roiSize);
/**
 * Converts planes Y, Cb, Cr, K to CMYK. Each ink is 255 minus a result of the inverse rule; K is
 * copied. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const pSrc[4],
                                                        int32_t srcStep, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize roiSize);
/**
 * Converts planes Y, Cb, Cr, K to planes C, M, Y, K. Each ink is 255 minus a result of the inverse
 * rule; K is copied. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const pSrc[4], int32_t srcStep,
                                                      uint8_t* const pDst[4], int32_t dstStep,
                                                      zepiSize roiSize);
/**
 * Converts interleaved 4:2:2 rows (Y0 Cb Y1 Cr) to RGB by the inverse rule. Both pixels of a pair
 * share Cb and Cr. An odd width is ::zepStatusBadSize. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* pDst, int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * Converts planes Y, Cb, Cr to RGBX by the inverse rule and stores `alpha` as X. Checks: pointers,
 * steps, sizes. Runs on the calling thread.
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                        int32_t srcStep, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize roiSize,
                                                        uint8_t alpha);
/**
 * Converts planes Y, Cb, Cr to BGRX by the inverse rule and stores `alpha` as X. Otherwise as
 * zepiYCbCrToRGB_JPEG_8u_P3C4R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                        int32_t srcStep, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize roiSize,
                                                        uint8_t alpha);

/**
 * Converts planes with chroma at half width and half height (4:2:0) to RGB by the inverse rule.
 *
 * Pixel (x, y) takes chroma sample (x / 2, y / 2), without a filter. Planes Cb and Cr have (width +
 * 1) / 2 samples in a row and (height + 1) / 2 rows, so an odd last column or row has a chroma
 * sample of its own. Any size from 1x1 is allowed. `srcStep` holds a step for each plane.
 *
 * Checks: pointers (`pSrc` and its planes, `srcStep`, `pDst`), then the steps, then the size. Runs
 * on the calling thread.
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize);
/**
 * Converts planes with chroma at half width and half height (4:2:0) to RGBX by the inverse rule and
 * stores `alpha` as X. Otherwise as zepiYCbCr411ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize,
                                                           uint8_t alpha);
/**
 * Converts planes with chroma at half width and half height (4:2:0) to BGR by the inverse rule.
 * Otherwise as zepiYCbCr411ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize);
/**
 * Converts planes with chroma at half width and half height (4:2:0) to BGRX by the inverse rule and
 * stores `alpha` as X. Otherwise as zepiYCbCr411ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize,
                                                           uint8_t alpha);
/**
 * Converts planes with chroma at half width and full height (4:2:2) to RGB by the inverse rule.
 * Pixel (x, y) takes chroma sample (x / 2, y). Otherwise as zepiYCbCr411ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize);
/**
 * Converts planes with chroma at half width (4:2:2) to RGBX by the inverse rule and stores `alpha`
 * as X. Otherwise as zepiYCbCr422ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize,
                                                           uint8_t alpha);
/**
 * Converts planes with chroma at half width (4:2:2) to BGR by the inverse rule. Otherwise as
 * zepiYCbCr422ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize);
/**
 * Converts planes with chroma at half width (4:2:2) to BGRX by the inverse rule and stores `alpha`
 * as X. Otherwise as zepiYCbCr422ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize,
                                                           uint8_t alpha);

/**
 * Converts planes Y, Cb, Cr to packed 16-bit pixels with R in bits 14..10, G in 9..5, B in 4..0.
 * Each field holds the upper bits of a result of the inverse rule; bit 15 is 0. Pixels are in the
 * processor's byte order, at any alignment. Checks: pointers, steps, sizes. Runs on the calling
 * thread.
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToRGB555_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3],
                                                              int32_t srcStep, uint16_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Converts planes Y, Cb, Cr to packed 16-bit pixels with R in bits 15..11, G in 10..5, B in 4..0.
 * Otherwise as zepiYCbCrToRGB555_JPEG_8u16u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToRGB565_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3],
                                                              int32_t srcStep, uint16_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Converts planes Y, Cb, Cr to packed 16-bit pixels with B in bits 14..10, G in 9..5, R in 4..0.
 * Otherwise as zepiYCbCrToRGB555_JPEG_8u16u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToBGR555_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3],
                                                              int32_t srcStep, uint16_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Converts planes Y, Cb, Cr to packed 16-bit pixels with B in bits 15..11, G in 10..5, R in 4..0.
 * Otherwise as zepiYCbCrToRGB555_JPEG_8u16u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToBGR565_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3],
                                                              int32_t srcStep, uint16_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize);
/** @} */

/**
 * @defgroup sampling JPEG: sampling and level shift
 *
 * These functions halve and double planes, and shift between samples and signed values (ITU-T T.81,
 * A.3.1). **Checks** of the plane functions: each buffer's pointer and then its step
 * (::zepStatusBadStep for 0 or less), source first, then the sizes. ::zepStatusBadSize stands for a
 * width or height below 1, and for sizes that do not fit each other: the larger width must be
 * exactly twice the smaller one, and the heights equal (H2V1) or in the same ratio (H2V2).
 *
 * How it works and where the time goes: [docs/color.md](../docs/color.md).
 * @{
 */

/**
 * Halves the width of a plane: each result is the mean of two neighbours, (a + b + 1) >> 1.
 * Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                          zepiSize srcSize, uint8_t* pDst,
                                                          int32_t dstStep, zepiSize dstSize);
/**
 * Halves width and height of a plane: each result is the mean of a 2x2 group, (a + b + c + d + 2)
 * >> 2. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                          zepiSize srcSize, uint8_t* pDst,
                                                          int32_t dstStep, zepiSize dstSize);
/**
 * Doubles the width of a plane by the triangle filter, (3 near + far + 2) >> 2. At the two ends of
 * a row the sample there takes the place of its missing neighbour.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                        zepiSize srcSize, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize dstSize);
/**
 * Doubles width and height of a plane by the triangle filter, (9 a + 3 b + 3 c + d + 8) >> 4: a is
 * the sample near in both directions, b and c are near in one, d in none. Samples at an edge
 * repeat. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                        zepiSize srcSize, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize dstSize);
/**
 * Halves a row: writes (srcWidth + 1) / 2 means (a + b + 1) >> 1. The last sample of an odd row
 * stands for its missing neighbour. Checks: pointers, then ::zepStatusBadSize for a width below 1.
 * Runs on the calling thread; source and destination must not overlap.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* pSrc,
                                                                int32_t srcWidth, uint8_t* pDst);
/**
 * Reduces two rows to one of half the width: each result is the mean of 2x2 samples, (a + b + c + d
 * + 2) >> 2. Otherwise as zepiSampleDownRowH2V1_Box_JPEG_8u_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* pSrc1,
                                                                const uint8_t* pSrc2,
                                                                int32_t srcWidth, uint8_t* pDst);
/**
 * Doubles a row by the triangle filter of zepiSampleUpH2V1_JPEG_8u_C1R(). Checks as for
 * zepiSampleDownRowH2V1_Box_JPEG_8u_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* pSrc,
                                                                   int32_t srcWidth, uint8_t* pDst);
/**
 * Makes one row of twice the width from two, as a row of zepiSampleUpH2V2_JPEG_8u_C1R(): the near
 * row `pSrc1` counts 3/4, the far row `pSrc2` 1/4. Checks as for
 * zepiSampleDownRowH2V1_Box_JPEG_8u_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* pSrc1,
                                                                   const uint8_t* pSrc2,
                                                                   int32_t srcWidth, uint8_t* pDst);
/**
 * Adds 128 to every value and saturates to 0..255. Checks: pSrc, srcStep, pDst, dstStep, roiSize.
 * Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiAdd128_JPEG_16s8u_C1R(const int16_t* pSrc, int32_t srcStep,
                                                     uint8_t* pDst, int32_t dstStep,
                                                     zepiSize roiSize);
/**
 * Subtracts 128 from every sample. Checks: pSrc, srcStep, pDst, dstStep, roiSize. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiSub128_JPEG_8u16s_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                     int16_t* pDst, int32_t dstStep,
                                                     zepiSize roiSize);
/** @} */

/**
 * @defgroup mcu JPEG: pixels to the blocks of an MCU and back
 *
 * These functions do the work between pixels and the DCT for one minimum coded unit (MCU) at a
 * time: colour conversion, chroma at a lower resolution and level shift in one pass. The MCU is 8x8
 * pixels (444), 16x8 (422: 4:2:2) or 16x16 (411: 4:2:0).
 *
 * A block is 64 contiguous values, row by row. The blocks of a component follow one another: Y has
 * four in 411 (top left, top right, bottom left, bottom right), two in 422 (left, right) and one in
 * 444. Cb and Cr have one each, and K of CMYK has the same number as Y. `pDstMCU` and `pSrcMCU`
 * hold a pointer for each component; blocks may have any alignment.
 *
 * To blocks, each value is a result of the conversion, clamped to 0..255, minus 128. To pixels,
 * each value plus 128, saturated to 0..255, is a sample; chroma is replicated and converted by the
 * inverse rule of @ref color.
 *
 * Checks: the pointers with the arrays' components, then ::zepStatusBadStep for a step of 0 or
 * less. Not checked: that a step holds a row of pixels. All of them run on the calling thread;
 * source and destination must not overlap.
 *
 * @code
 * int16_t y[4 * 64], cb[64], cr[64];
 * int16_t* const mcu[] = {y, cb, cr};
 * zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(pixels, step, mcu);  // 16 x 16 pixels
 * for (int i = 0; i < 4; ++i) zepiDCTQuantFwd8x8_JPEG_16s_C1I(y + 64 * i, luminance);
 * @endcode
 *
 * How it works and where the time goes: [docs/mcu.md](../docs/mcu.md).
 * @{
 */
/**
 * Converts 8x8 pixels RGB to the blocks of an MCU. The results are those of
 * zepiRGBToYCbCr_JPEG_8u_C3P3R() for rows of eight pixels, minus 128.
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 8x8 pixels RGBX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 16x8 pixels RGB to the blocks of an MCU. The results are those of
 * zepiRGBToYCbCr422_JPEG_8u_C3P3R(), minus 128.
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 16x8 pixels RGBX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 16x16 pixels RGB to the blocks of an MCU. The results are those of
 * zepiRGBToYCbCr411_JPEG_8u_C3P3R(), minus 128.
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 16x16 pixels RGBX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 8x8 pixels BGR to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 8x8 pixels BGRX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 16x8 pixels BGR to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 16x8 pixels BGRX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 16x16 pixels BGR to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 16x16 pixels BGRX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Converts 8x8 pixels CMYK to the blocks of an MCU. Y, Cb and Cr come from 255 minus each ink by
 * the 14-bit rule, as in zepiCMYKToYCCK_JPEG_8u_C4P4R(); K is copied. All are then reduced by 128.
 */
ZEP_API zepStatus ZEP_CALL zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[4]);
/**
 * Converts 16x8 pixels CMYK to the blocks of an MCU. Chroma comes from the sums over 2x1 pixels by
 * the 14-bit rule; Y and K are those of zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R().
 */
ZEP_API zepStatus ZEP_CALL zepiCMYKToYCCK422LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[4]);
/**
 * Converts 16x16 pixels CMYK to the blocks of an MCU. Chroma comes from the sums over 2x2 pixels by
 * the 14-bit rule; Y and K are those of zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R().
 */
ZEP_API zepStatus ZEP_CALL zepiCMYKToYCCK411LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[4]);
/**
 * Splits 8x8 pixels into the blocks of an MCU without colour conversion. Each value is a channel
 * minus 128.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleDown444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Splits 16x8 pixels into the blocks of an MCU without colour conversion. The first channel stays
 * at full resolution; of the others a value is the mean of two neighbours, (a + b + 1) >> 1. All
 * are then reduced by 128.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleDown422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Splits 16x16 pixels into the blocks of an MCU without colour conversion. The first channel stays
 * at full resolution; of the others a value is the mean of 2x2 neighbours, (a + b + c + d + 2) >>
 * 2. All are then reduced by 128.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleDown411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * Splits 16x8 pixels stored as Y0 Cb Y1 Cr into the blocks of an MCU. Each value is a byte minus
 * 128.
 */
ZEP_API zepStatus ZEP_CALL zepiSplit422LS_MCU_JPEG_8u16s_C2P3R(const uint8_t* pSrc, int32_t srcStep,
                                                               int16_t* const pDstMCU[3]);

/** Converts the blocks of an MCU to 8x8 pixels RGB. */
ZEP_API zepStatus ZEP_CALL zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * Converts the blocks of an MCU to 8x8 pixels RGBX and stores `alpha` as X. Otherwise as
 * zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/** Converts the blocks of an MCU to 16x8 pixels RGB. Two neighbours share their chroma. */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * Converts the blocks of an MCU to 16x8 pixels RGBX and stores `alpha` as X. Otherwise as
 * zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/** Converts the blocks of an MCU to 16x16 pixels RGB. 2x2 neighbours share their chroma. */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * Converts the blocks of an MCU to 16x16 pixels RGBX and stores `alpha` as X. Otherwise as
 * zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/**
 * Converts the blocks of an MCU to 8x8 pixels BGR. Otherwise as
 * zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * Converts the blocks of an MCU to 8x8 pixels BGRX and stores `alpha` as X. Otherwise as
 * zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/**
 * Converts the blocks of an MCU to 16x8 pixels BGR. Otherwise as
 * zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * Converts the blocks of an MCU to 16x8 pixels BGRX and stores `alpha` as X. Otherwise as
 * zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/**
 * Converts the blocks of an MCU to 16x16 pixels BGR. Otherwise as
 * zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * Converts the blocks of an MCU to 16x16 pixels BGRX and stores `alpha` as X. Otherwise as
 * zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/**
 * Converts the blocks of an MCU to 8x8 pixels CMYK. Each ink is 255 minus a result of the inverse
 * rule; K is its sample.
 */
ZEP_API zepStatus ZEP_CALL zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * Converts the blocks of an MCU to 16x8 pixels CMYK. Two neighbours share their chroma. Otherwise
 * as zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCCK422ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * Converts the blocks of an MCU to 16x16 pixels CMYK. 2x2 neighbours share their chroma. Otherwise
 * as zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCCK411ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * Joins the blocks of an MCU to 8x8 pixels without colour conversion. The samples of the components
 * become the channels.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleUp444LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                  uint8_t* pDst, int32_t dstStep);
/**
 * Joins the blocks of an MCU to 16x8 pixels without colour conversion. Two neighbours share the
 * samples of the second and third channel.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleUp422LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                  uint8_t* pDst, int32_t dstStep);
/**
 * Joins the blocks of an MCU to 16x16 pixels without colour conversion. 2x2 neighbours share the
 * samples of the second and third channel.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleUp411LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                  uint8_t* pDst, int32_t dstStep);
/** Joins the blocks of an MCU to 16x8 pixels stored as Y0 Cb Y1 Cr. */
ZEP_API zepStatus ZEP_CALL zepiJoin422LS_MCU_JPEG_16s8u_P3C2R(const int16_t* const pSrcMCU[3],
                                                              uint8_t* pDst, int32_t dstStep);
/** @} */

/**
 * @defgroup quantization JPEG: quantization
 *
 * A quantization table has two forms. The *raw table* is 64 steps of one byte in zigzag order, as
 * they stand in a DQT segment (ITU-T T.81, B.2.4.1). A *prepared table* is 64 unsigned 16-bit
 * values in natural (row-major) order. A *block* is 64 contiguous signed 16-bit coefficients in
 * natural order.
 *
 * How it works and where the time goes: [docs/dct.md](../docs/dct.md).
 * @{
 */

/**
 * Scales the steps of a raw table in place to a quality. With scale = 5000 / quality below quality
 * 50, else 200 - 2 * quality, each step becomes (step * scale + 50) / 100, limited to 1..255.
 * Quality 50 leaves the table as it is; quality 100 and above gives all ones.
 *
 * Checks: pointer, then ::zepStatusBadArg for a quality below 1.
 */
ZEP_API zepStatus ZEP_CALL zepiQuantFwdRawTableInit_JPEG_8u(uint8_t* pQuantRawTable,
                                                            int32_t qualityFactor);
/**
 * Prepares the forward (encoder's) table from a raw table: entry i is 32768 / step in single
 * precision, rounded to the nearest integer, halves to even. Checks: pointers.
 * @return ::zepStatusDivByZeroWarning if a step is 0: its entry is 65535, all others are good.
 */
ZEP_API zepStatus ZEP_CALL zepiQuantFwdTableInit_JPEG_8u16u(const uint8_t* pQuantRawTable,
                                                            uint16_t* pQuantFwdTable);
/**
 * Prepares the inverse (decoder's) table from a raw table: the steps as 16-bit values in natural
 * order. Checks: pointers.
 */
ZEP_API zepStatus ZEP_CALL zepiQuantInvTableInit_JPEG_8u16u(const uint8_t* pQuantRawTable,
                                                            uint16_t* pQuantInvTable);
/**
 * Quantizes a block in place, in 16-bit lanes that wrap: x = (((x << 3) * (q >> 1) >> 16) + 1) >> 1
 * with the entry q of a forward table. Values outside -4096..4095 wrap in the left shift. Exact
 * halves are rounded up: with a step of 16, 8 becomes 1 and -8 becomes 0. Checks: pointers.
 */
ZEP_API zepStatus ZEP_CALL zepiQuantFwd8x8_JPEG_16s_C1I(int16_t* pSrcDst,
                                                        const uint16_t* pQuantFwdTable);
/** Dequantizes a block in place: keeps the low 16 bits of x * q. Checks: pointers. */
ZEP_API zepStatus ZEP_CALL zepiQuantInv8x8_JPEG_16s_C1I(int16_t* pSrcDst,
                                                        const uint16_t* pQuantInvTable);
/** @} */

/**
 * @defgroup fdct JPEG: forward DCT with quantization
 *
 * These functions compute the two-dimensional 8x8 DCT of ITU-T T.81, A.3.3, and the quantization of
 * A.3.4 in one step, with a table of zepiQuantFwdTableInit_JPEG_8u16u(). The transform is
 * fixed-point: 16-bit sums that saturate, products of 16 bits and a final rounding in 32 bits. For
 * 8-bit input it lies within 1 of the exact transform. Its results are rounded to integers before
 * they are quantized. Each coefficient c then becomes p = q * c, scaled by 2^-15 and rounded to
 * nearest, halves to even: ((p >> 1) + (((p & 1) + 16383 + ((p >> 15) & 1)) >> 1)) >> 14, saturated
 * to 16 bits.
 *
 * **Checks** of the LS functions: `pSrc` and `pDst`, then `srcStep` below 1 (::zepStatusBadStep),
 * then the table. The other functions check their pointers.
 *
 * How it works and where the time goes: [docs/dct.md](../docs/dct.md).
 * @{
 */

/**
 * Transforms and quantizes a block of signed (level-shifted) values. pDst may be pSrc. If values
 * have more than 8 bits and a sign, sums saturate and never wrap: a constant block of any value
 * from 256 to 32767 gets a DC of 2048 before quantization.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* pSrc, int16_t* pDst,
                                                          const uint16_t* pQuantFwdTable);
/**
 * Transforms and quantizes a block of signed values in place. Otherwise as
 * zepiDCTQuantFwd8x8_JPEG_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantFwd8x8_JPEG_16s_C1I(int16_t* pSrcDst,
                                                           const uint16_t* pQuantFwdTable);
/**
 * Subtracts 128 from 8 rows of 8 samples, `srcStep` bytes apart, then transforms and quantizes
 * them.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                               int16_t* pDst,
                                                               const uint16_t* pQuantFwdTable);
/**
 * Subtracts 2048 from 8 rows of 8 samples of 12 bits, `srcStep` bytes apart, then transforms and
 * quantizes them in single precision. A sample is read as a signed 16-bit value. The product with q
 * / 32768 is rounded once, halves to even, and saturated to 16 bits. Samples s of 8 bits can be
 * passed as 1920 + s: the results have the scale of zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R() and are
 * more accurate, because they are rounded once instead of twice.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const uint16_t* pSrc,
                                                                int32_t srcStep, int16_t* pDst,
                                                                const uint16_t* pQuantFwdTable);
/** @} */

/**
 * @defgroup idct JPEG: inverse DCT with dequantization
 *
 * These functions dequantize (the low 16 bits of coefficient times step) with a table of
 * zepiQuantInvTableInit_JPEG_8u16u(), then compute the two-dimensional inverse DCT of ITU-T T.81,
 * A.3.3, as accurately as IEEE 1180 asks for. The LS functions then add 128, saturate to 0..255 and
 * write rows `dstStep` bytes apart, top to bottom. If the step is shorter than a row, later rows
 * overwrite earlier ones.
 *
 * **Checks** of the LS functions: `pSrc` and `pDst`, then `dstStep` below 1 (::zepStatusBadStep),
 * then the table. The other functions check their pointers.
 *
 * How it works and where the time goes: [docs/dct.md](../docs/dct.md).
 * @{
 */

/**
 * Dequantizes and transforms a block to 64 signed values, without a level shift. pDst may be pSrc.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* pSrc, int16_t* pDst,
                                                          const uint16_t* pQuantInvTable);
/**
 * Dequantizes and transforms a block in place to signed values. Otherwise as
 * zepiDCTQuantInv8x8_JPEG_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8_JPEG_16s_C1I(int16_t* pSrcDst,
                                                           const uint16_t* pQuantInvTable);
/** Dequantizes and transforms a block to 8x8 samples of 8 bits. */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const int16_t* pSrc, uint8_t* pDst,
                                                               int32_t dstStep,
                                                               const uint16_t* pQuantInvTable);
/**
 * Dequantizes and transforms a block to 8x8 samples of 12 bits: adds 2048 and saturates to 0..4095.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const int16_t* pSrc, uint16_t* pDst,
                                                                int32_t dstStep,
                                                                const uint16_t* pQuantInvTable);
/**
 * Makes 8x8 samples from the DC coefficient alone. All become (coefficient * step >> 3) + 128, cut
 * to its low 16 bits as a signed value and then saturated to 0..255. The shift rounds down.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const int16_t* pSrc,
                                                                   uint8_t* pDst, int32_t dstStep,
                                                                   const uint16_t* pQuantInvTable);
/** Makes 8x8 samples from the 2x2 coefficients of lowest frequency; the others are ignored. */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const int16_t* pSrc,
                                                                   uint8_t* pDst, int32_t dstStep,
                                                                   const uint16_t* pQuantInvTable);
/** Makes 8x8 samples from the 4x4 coefficients of lowest frequency; the others are ignored. */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const int16_t* pSrc,
                                                                   uint8_t* pDst, int32_t dstStep,
                                                                   const uint16_t* pQuantInvTable);
/**
 * Makes 4x4 samples, the block at half scale, by the 4-point inverse DCT of the 4x4 coefficients of
 * lowest frequency, f = 1/4 sum C(u) C(v) F(u,v) cos((2x+1) u pi / 8) cos((2y+1) v pi / 8).
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const int16_t* pSrc,
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    const uint16_t* pQuantInvTable);
/**
 * Makes 2x2 samples, the block at quarter scale, by the 2-point inverse DCT of the 2x2 coefficients
 * of lowest frequency.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const int16_t* pSrc,
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    const uint16_t* pQuantInvTable);
/** @} */

/**
 * @defgroup hufftables JPEG: Huffman tables
 *
 * These functions build the coders' tables from the lists of a DHT segment (ITU-T T.81, B.2.4.2 and
 * annex C). `pListBits` is the number of codes of each length 1..16. `pListVals` is the symbols in
 * the order of their codes; it has as many entries as the counts add up to. Either the caller
 * provides the record, or `...InitAlloc` allocates it and `...Free` releases it. The records hold
 * no addresses and may be copied. Checks: pointers.
 *
 * How it works and where the time goes: [docs/huffman.md](../docs/huffman.md).
 * @{
 */

/**
 * Encoder's table: entry = (code length << 16) | code for each symbol, 0 for a symbol without a
 * code.
 */
typedef struct zepiEncodeHuffmanSpec {
  uint32_t entry[256]; /**< Indexed by symbol. */
} zepiEncodeHuffmanSpec;

/** Decoder's table. Index l of the three length arrays stands for codes of length l. */
typedef struct zepiDecodeHuffmanSpec {
  uint16_t symbol[256];    /**< Symbols in the order of their codes. */
  uint32_t fast[256];      /**< Indexed by the next 8 bits: (length << 16) | symbol, or 0. */
  uint16_t firstCode[18];  /**< Smallest code of a length. */
  uint16_t lastCode[18];   /**< Largest code of a length, 65535 if there is none. */
  uint16_t firstIndex[18]; /**< Index in `symbol` of the smallest code of a length. */
} zepiDecodeHuffmanSpec;

/** Stores 1024, the size of ::zepiEncodeHuffmanSpec. */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanSpecGetBufSize_JPEG_8u(int32_t* pSize);
/**
 * Builds an encoder's table. A symbol that is listed twice gets its last code. Lists without any
 * code are allowed.
 * @return ::zepStatusBadHuffTable for more than 256 codes, for more codes of a length than exist,
 *   and for a code of all ones. The table then has no codes.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* pListBits,
                                                             const uint8_t* pListVals,
                                                             zepiEncodeHuffmanSpec* pEncHuffSpec);
/**
 * Allocates and builds an encoder's table. The record is returned, and must be freed, even if the
 * status is ::zepStatusBadHuffTable. A failed allocation is ::zepStatusNullPtr.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(
    const uint8_t* pListBits, const uint8_t* pListVals, zepiEncodeHuffmanSpec** ppEncHuffSpec);
/**
 * Releases a table of zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(). A null pointer is
 * ::zepStatusNullPtr.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanSpecFree_JPEG_8u(zepiEncodeHuffmanSpec* pEncHuffSpec);
/** Stores 1644, the size of ::zepiDecodeHuffmanSpec. */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanSpecGetBufSize_JPEG_8u(int32_t* pSize);
/**
 * Builds a decoder's table. It tolerates some lists with too many codes for a length: the table of
 * 8-bit prefixes has 256 entries, and a list is refused only if the first entry of a code of up to
 * 8 bits would have an index above 256. Three codes of one bit pass, four do not.
 * @return ::zepStatusBadHuffTable for such a list and for more than 256 codes. The record is then
 *   incomplete.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* pListBits,
                                                             const uint8_t* pListVals,
                                                             zepiDecodeHuffmanSpec* pDecHuffSpec);
/**
 * Allocates and builds a decoder's table. Otherwise as zepiEncodeHuffmanSpecInitAlloc_JPEG_8u().
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(
    const uint8_t* pListBits, const uint8_t* pListVals, zepiDecodeHuffmanSpec** ppDecHuffSpec);
/**
 * Releases a table of zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(). A null pointer is
 * ::zepStatusNullPtr.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanSpecFree_JPEG_8u(zepiDecodeHuffmanSpec* pDecHuffSpec);
/** @} */

/**
 * @defgroup huffman JPEG: Huffman coding of blocks
 *
 * These functions code one block at a time with the baseline entropy coding of ITU-T T.81, annexes
 * F.1.2 and F.2.2, into or out of the caller's byte buffer. The buffer's length and the position in
 * it are counted in bytes. The coder advances the position, which always stays within the buffer.
 * Bits that do not fill a byte are kept in a state record, one for each stream. Encoders put a zero
 * byte after each byte FF, and decoders remove it.
 *
 * How it works and where the time goes: [docs/huffman.md](../docs/huffman.md).
 * @{
 */

/** Encoder's state of one stream. Callers only need its size. */
typedef struct zepiEncodeHuffmanState {
  uint32_t bits;                /**< Pending bits, the next one at bit 23. */
  uint32_t reserved;            /**< 0. */
  int32_t numBits;              /**< Number of pending bits, 0..7 between calls. */
  uint32_t eobRun;              /**< Progressive scans: blocks in the end-of-band run. */
  uint32_t numCorrectionBits;   /**< Progressive scans: number of pending correction bits. */
  uint8_t correctionBits[1024]; /**< Progressive scans: the pending correction bits. */
  uint32_t spare;               /**< 0. */
} zepiEncodeHuffmanState;

/** Decoder's state of one stream. Callers only need its size. */
typedef struct zepiDecodeHuffmanState {
  uint32_t bits;      /**< Bits read ahead, the newest byte lowest. */
  uint32_t reserved;  /**< 0. */
  int32_t numBits;    /**< Number of bits read ahead that are still to be used. */
  uint32_t eobRun;    /**< Progressive scans: blocks left of the end-of-band run. */
  uint32_t reserved2; /**< 0. */
  uint32_t spare;     /**< Not changed by Init. */
} zepiDecodeHuffmanState;

/** Stores 1048, the size of ::zepiEncodeHuffmanState. */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanStateGetBufSize_JPEG_8u(int32_t* pSize);
/** Starts an encoder's stream: no bits are pending. */
ZEP_API zepStatus ZEP_CALL
zepiEncodeHuffmanStateInit_JPEG_8u(zepiEncodeHuffmanState* pEncHuffState);
/** Allocates an encoder's state and starts a stream. A failed allocation is ::zepStatusNullPtr. */
ZEP_API zepStatus ZEP_CALL
zepiEncodeHuffmanStateInitAlloc_JPEG_8u(zepiEncodeHuffmanState** ppEncHuffState);
/** Releases a state of zepiEncodeHuffmanStateInitAlloc_JPEG_8u(). */
ZEP_API zepStatus ZEP_CALL
zepiEncodeHuffmanStateFree_JPEG_8u(zepiEncodeHuffmanState* pEncHuffState);
/** Stores 24, the size of ::zepiDecodeHuffmanState. */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanStateGetBufSize_JPEG_8u(int32_t* pSize);
/**
 * Starts a decoder's stream or a restart interval: no bits are read ahead. Zeroes the first 20
 * bytes.
 */
ZEP_API zepStatus ZEP_CALL
zepiDecodeHuffmanStateInit_JPEG_8u(zepiDecodeHuffmanState* pDecHuffState);
/** Allocates a decoder's state and starts a stream. A failed allocation is ::zepStatusNullPtr. */
ZEP_API zepStatus ZEP_CALL
zepiDecodeHuffmanStateInitAlloc_JPEG_8u(zepiDecodeHuffmanState** ppDecHuffState);
/** Releases a state of zepiDecodeHuffmanStateInitAlloc_JPEG_8u(). */
ZEP_API zepStatus ZEP_CALL
zepiDecodeHuffmanStateFree_JPEG_8u(zepiDecodeHuffmanState* pDecHuffState);

/**
 * Encodes one block, or flushes.
 *
 * If `bFlushState` is not 0, the last byte is padded with ones and written, and the state starts
 * anew, even if the write failed. `pSrc`, `pLastDC` and the tables are then ignored.
 *
 * A block is coded as the difference of its DC to `*pLastDC` (which becomes this block's DC), then
 * as runs and values of AC coefficients in zigzag order. Nothing is written beyond the last byte
 * that `*pDstCurrPos` counts.
 *
 * Checks: `pDst`, `dstLenBytes` below 1 (::zepStatusBadSize), `pDstCurrPos`, the state; then,
 * unless flushing, `pSrc`, `pLastDC`, `pDcTable`, `pAcTable`.
 * @return ::zepStatusBufferExhausted: the buffer has no room. The block is lost, although
 *   `*pDstCurrPos` counts its stored bytes. Enlarge the buffer and continue from a position
 *   and a state that you saved before the block. ::zepStatusBadHuffTable: a symbol has no code, or
 *   an AC coefficient is -32768.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int16_t* pLastDC,
    const zepiEncodeHuffmanSpec* pDcTable, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);

/**
 * Decodes one block to 64 coefficients in natural order.
 *
 * Set `*pMarker` to 0 at the start of an interval. If a marker stops the reading, it becomes the
 * marker's second byte (0xD9 for EOI), and the position moves to the byte after the marker. Bits
 * that were read before a marker are used up first. Up to 32 bits are read ahead into the state.
 *
 * Checks: `pSrc`, `srcLenBytes` negative (::zepStatusBadArg), `pSrcCurrPos`, `pDst`, `pLastDC`,
 * `pMarker`, `pDcTable`, `pAcTable`, the state.
 * @return ::zepStatusBufferExhausted: the source ended before the bits that the block needs.
 *   ::zepStatusBadHuffCode: a code is not in the table, a run goes past the last coefficient, or
 *   the block needs bits after a marker. In both cases `*pLastDC` keeps its value and `pDst` holds
 *   the coefficients decoded before the error; only its 64 values are written.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int16_t* pLastDC,
    int32_t* pMarker, const zepiDecodeHuffmanSpec* pDcTable, const zepiDecodeHuffmanSpec* pAcTable,
    zepiDecodeHuffmanState* pDecHuffState);

/**
 * Encodes one block without a state between calls. `*pDstBitPos` counts bits from the start of the
 * buffer, stuffed zero bytes included; the first bit of a byte is its highest. In the byte that
 * holds the position, the bits after it are replaced. In the last byte of the block, the bits after
 * the block become 0. To end a scan, fill them with ones.
 *
 * @code
 * int bits = 0;
 * for (int i = 0; i < blocks; ++i)
 *   zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(block[i], buffer, size, &bits, &lastDC, dcTable,
 *                                             acTable);
 * @endcode
 *
 * Checks: all pointers in their order, `dstLenBytes` below 1 or above 2^28 - 1
 * (::zepStatusBadSize).
 * @return As zepiEncodeHuffman8x8_JPEG_16s1u_C1(). ::zepStatusBufferExhausted also stands for a
 *   position outside the buffer. After a failure `*pDstBitPos` and `*pLastDC` keep their values,
 *   but bytes after the position may have changed.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstBitPos, int16_t* pLastDC,
    const zepiEncodeHuffmanSpec* pDcTable, const zepiEncodeHuffmanSpec* pAcTable);

/**
 * Decodes one block without a state between calls. `*pSrcBitPos` counts bits as in
 * zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(). It moves to the bit after the block, and past a zero
 * byte that follows FF there. FF fill bytes belong to the byte of data, or the marker, that follows
 * them.
 *
 * Set `*pMarker` to 0. A marker is reported only if the block needs bits after it: its code is then
 * stored in `*pMarker`, and the position becomes that of the FF before the code.
 *
 * Checks: all pointers in their order, `srcLenBytes` negative (::zepStatusBadArg) or above 2^28 - 1
 * (::zepStatusBadSize).
 * @return ::zepStatusBufferExhausted: the source ended before the bits that the block needs, or the
 *   position lies outside the source. ::zepStatusBadHuffCode: a code is not in the table, a run
 *   goes past the last coefficient, the block needs bits after a marker, or `*pMarker` was not 0
 *   (then nothing is read). After a failure `*pLastDC` keeps its value, the position too unless a
 *   marker was found, and `pDst` holds the values decoded before it.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcBitPos, int16_t* pDst, int16_t* pLastDC,
    int32_t* pMarker, const zepiDecodeHuffmanSpec* pDcTable, const zepiDecodeHuffmanSpec* pAcTable);
/** @} */

/**
 * @defgroup progressive JPEG: progressive scans, statistics, optimal tables
 *
 * These functions code the scans of progressive JPEG (ITU-T T.81, annex G). A first scan codes
 * coefficients without their `Al` lowest bits; DC is divided by 2^Al rounding down, AC coefficients
 * rounding towards 0. A refinement scan codes bit `Al` of each coefficient. A band is the zigzag
 * indexes `Ss` to `Se`. Buffer, position and state are those of
 * zepiEncodeHuffman8x8_JPEG_16s1u_C1(). The state also counts the blocks of the current end-of-band
 * run (`eobRun`). The run is written when another symbol follows, when it reaches 32767 blocks, or
 * when more than 961 correction bits wait in it. A scan ends with a flush.
 *
 * If `bFlushState` is not 0, the function only flushes: it writes the pending run, pads with ones
 * to the next byte and resets the state. It then uses only buffer and state, and `pAcTable` if a
 * run is pending (null is then ::zepStatusNullPtr and changes nothing). The DC functions drop a
 * pending run.
 *
 * Checks of the encoders: `pDst`, `dstLenBytes` below 1 (::zepStatusBadSize), `pDstCurrPos`, the
 * state; unless flushing also the other pointers, then the limits 0 <= Al <= 13 and 1 <= Ss <= Se
 * <= 63 (::zepStatusBadArg). After a failure the block is lost and the state cannot be used
 * further.
 *
 * The statistics functions count the symbols that the encoder of the same name would write, into
 * 256 counts. zepiEncodeHuffmanRawTableInit_JPEG_8u() makes a table from the counts. Checks:
 * pointers, then the limits (::zepStatusOutOfRange). They return ::zepStatusOutOfRange if a count
 * would exceed an int32, and ::zepStatusBadHuffTable for an AC coefficient of -32768 that is not
 * shifted, because it has no symbol. In both cases nothing changes.
 *
 * @code
 * int dc[256] = {0}, ac[256] = {0};
 * for (int i = 0; i < blocks; ++i) {
 *   zepiGetHuffmanStatistics8x8_JPEG_16s_C1(block[i], dc, ac, &lastDC);
 * }
 * uint8_t bits[16], vals[256];
 * zepiEncodeHuffmanRawTableInit_JPEG_8u(ac, bits, vals);
 * zepiEncodeHuffmanSpecInit_JPEG_8u(bits, vals, &acTable);
 * @endcode
 *
 * How it works and where the time goes: [docs/huffman.md](../docs/huffman.md).
 * @{
 */
/**
 * Encodes a block of the first DC scan: DC / 2^Al, rounded down, as the difference to `*pLastDC`,
 * which then becomes that value.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int16_t* pLastDC,
    int32_t Al, const zepiEncodeHuffmanSpec* pDcTable, zepiEncodeHuffmanState* pEncHuffState,
    int32_t bFlushState);
/** Encodes a block of a DC refinement: writes bit Al of the DC coefficient. */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int32_t Al,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);
/** Encodes a block of the first scan of a band. */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int32_t Ss,
    int32_t Se, int32_t Al, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);
/**
 * Encodes a block of a refinement of a band: a symbol for each coefficient that becomes nonzero in
 * this scan, a correction bit for each that already was.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int32_t Ss,
    int32_t Se, int32_t Al, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);

/**
 * Decodes a block of the first DC scan. `*pLastDC` plus the decoded difference becomes the new
 * `*pLastDC`; the low 16 bits of that value times 2^Al become `pDst[0]`. The other coefficients
 * stay.
 *
 * For all four decoders of progressive scans, buffer, position, marker, state and the two errors
 * are those of zepiDecodeHuffman8x8_JPEG_1u16s_C1(). The state also counts the blocks that are left
 * of an end-of-band run. Blocks are in natural order. They are changed, not cleared: start with
 * zeros and keep the blocks from scan to scan. On an error `pDst` holds the coefficients
 * decoded before it. Nothing outside the band is ever written.
 *
 * Checks: `pSrc`, `srcLenBytes` negative (::zepStatusBadArg), `pSrcCurrPos`, `pDst`, then the other
 * pointers in their order, then the limits of Al, Ss and Se (::zepStatusBadArg).
 *
 * @code
 * // A refinement of the whole band by bit Al, block after block.
 * zepiDecodeHuffmanStateInit_JPEG_8u(state);
 * for (int i = 0, marker = 0, at = scanStart; i < blocks; ++i)
 *   zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(file, fileSize, &at, block[i], &marker, 1, 63, Al,
 *                                               table, state);
 * @endcode
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int16_t* pLastDC,
    int32_t* pMarker, int32_t Al, const zepiDecodeHuffmanSpec* pDcTable,
    zepiDecodeHuffmanState* pDecHuffState);
/** Decodes a block of a DC refinement: reads one bit and, if it is 1, sets bit Al of `pDst[0]`. */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int32_t* pMarker,
    int32_t Al, zepiDecodeHuffmanState* pDecHuffState);
/**
 * Decodes a block of the first scan of a band. Each coded coefficient is stored times 2^Al; the
 * others stay.
 * @return ::zepStatusBadHuffCode also for a run past `Se`.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int32_t* pMarker,
    int32_t Ss, int32_t Se, int32_t Al, const zepiDecodeHuffmanSpec* pAcTable,
    zepiDecodeHuffmanState* pDecHuffState);
/**
 * Decodes a block of a refinement of a band. Coefficients that are not 0 are corrected by bit Al;
 * others may become 2^Al or -2^Al.
 * @return ::zepStatusBadHuffCode also for a run of more zeros than the band has left, and for a
 *   symbol of a coefficient with a magnitude above 1.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int32_t* pMarker,
    int32_t Ss, int32_t Se, int32_t Al, const zepiDecodeHuffmanSpec* pAcTable,
    zepiDecodeHuffmanState* pDecHuffState);

/** Counts the symbols of a block of a sequential scan. `*pLastDC` becomes the block's DC. */
ZEP_API zepStatus ZEP_CALL zepiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* pSrc,
                                                                   int32_t pDcStatistics[256],
                                                                   int32_t pAcStatistics[256],
                                                                   int16_t* pLastDC);
/** Counts the symbol of a block of a first DC scan. `*pLastDC` becomes DC / 2^Al, rounded down. */
ZEP_API zepStatus ZEP_CALL zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(
    const int16_t* pSrc, int32_t pDcStatistics[256], int16_t* pLastDC, int32_t Al);
/**
 * Counts the symbols of a block of the first scan of a band. Use a state of its own, which keeps
 * the end-of-band run between calls. A flush counts the run and resets the state; it needs only
 * `pAcStatistics` and the state.
 */
ZEP_API zepStatus ZEP_CALL zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(
    const int16_t* pSrc, int32_t pAcStatistics[256], int32_t Ss, int32_t Se, int32_t Al,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);
/**
 * Counts the symbols of a block of a refinement scan of a band. Otherwise as
 * zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
    const int16_t* pSrc, int32_t pAcStatistics[256], int32_t Ss, int32_t Se, int32_t Al,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);
/** Counts the magnitude category of one difference of lossless JPEG. */
ZEP_API zepStatus ZEP_CALL zepiGetHuffmanStatisticsOne_JPEG_16s_C1(const int16_t* pSrc,
                                                                   int32_t pStatistics[256]);
/**
 * Makes the lists of a DHT segment for counted symbols: the codes of at most 16 bits that code
 * these counts in the fewest bits. No code is all ones, so zepiEncodeHuffmanSpecInit_JPEG_8u()
 * accepts the lists. If all counts are 0, symbol 0 gets a code of one bit. If two counts are equal,
 * the code of the lower symbol is not longer than that of the other. Symbols of one length are in
 * ascending order. Entries of `pListVals` after the last symbol are 0. Checks: pointers.
 * @return ::zepStatusError for a negative count.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanRawTableInit_JPEG_8u(const int32_t pStatistics[256],
                                                                 uint8_t pListBits[16],
                                                                 uint8_t pListVals[256]);
/** @} */

/**
 * @defgroup lossless Lossless JPEG: prediction and coding of differences
 *
 * The prediction functions turn rows of samples into differences and back (ITU-T T.81, H.1.2.1),
 * modulo 65536. A row has `width` samples of 16 bits at any alignment. `pDst` may be `pSrc`;
 * otherwise rows must not overlap. The caller applies the point transform to the samples; no
 * function shifts them.
 *
 * With x the row and b the row above, sample 0 of a later row is always predicted by b[0]. Sample i
 * > 0 is predicted by
 *
 * | predictor | prediction |
 * |---|---|
 * | 1 | x[i-1] |
 * | 2 | b[i] |
 * | 3 | b[i-1] |
 * | 4 | x[i-1] + b[i] - b[i-1] |
 * | 5 | x[i-1] + ((b[i] - b[i-1]) >> 1) |
 * | 6 | b[i] + ((x[i-1] - b[i-1]) >> 1) |
 * | 7 | (x[i-1] + b[i]) >> 1 |
 *
 * Predictors 5 and 7 take samples as 0..65535. Predictor 6 takes them as signed 16-bit values
 * before it halves the difference. Other codecs do not, so its results differ from theirs if 16-bit
 * samples have their top bit set: a codec should not use predictor 6 of these functions at 16 bits.
 *
 * Checks: pointers, then ::zepStatusBadSize for a width below 1, then ::zepStatusBadArg for a
 * predictor outside 1..7, `P` outside 2..16 or `Pt` below 0.
 *
 * How it works and where the time goes: [docs/lossless.md](../docs/lossless.md).
 * @{
 */
/**
 * Computes the differences of the first row of a scan or restart interval. Sample 0 is predicted by
 * 2^(P - Pt - 1), or by 0 if `Pt` is `P` or more; the others by their left neighbours.
 */
ZEP_API zepStatus ZEP_CALL zepiDiffPredFirstRow_JPEG_16s_C1(const int16_t* pSrc, int16_t* pDst,
                                                            int32_t width, int32_t P, int32_t Pt);
/** Computes the differences of a later row from its prediction. */
ZEP_API zepStatus ZEP_CALL zepiDiffPredRow_JPEG_16s_C1(const int16_t* pSrc, const int16_t* pPrevRow,
                                                       int16_t* pDst, int32_t width,
                                                       int32_t predictor);
/**
 * Reconstructs the samples of a first row from its differences: the inverse of
 * zepiDiffPredFirstRow_JPEG_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* pSrc,
                                                                   int16_t* pDst, int32_t width,
                                                                   int32_t P, int32_t Pt);
/**
 * Reconstructs the samples of a later row from its differences and the row above: the inverse of
 * zepiDiffPredRow_JPEG_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiReconstructPredRow_JPEG_16s_C1(const int16_t* pSrc,
                                                              const int16_t* pPrevRow,
                                                              int16_t* pDst, int32_t width,
                                                              int32_t predictor);

/**
 * Encodes one difference (ITU-T T.81, H.1.2.2), or flushes. A difference is the code of its
 * magnitude category, 0 to 16, then as many extra bits. The difference 32768 (stored as -32768) is
 * the code of category 16 alone.
 *
 * Buffer, position, state and flush are those of zepiEncodeHuffman8x8_JPEG_16s1u_C1(). Checks:
 * `pDst`, `dstLenBytes` below 1 (::zepStatusBadSize), `pDstCurrPos`, the state; then, unless
 * flushing, `pSrc` and `pTable`.
 * @return ::zepStatusBufferExhausted: the buffer has no room. ::zepStatusBadHuffTable: the category
 *   has no code.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* pSrc, uint8_t* pDst,
                                                              int32_t dstLenBytes,
                                                              int32_t* pDstCurrPos,
                                                              const zepiEncodeHuffmanSpec* pTable,
                                                              zepiEncodeHuffmanState* pEncHuffState,
                                                              int32_t bFlushState);
/**
 * Decodes one difference. Buffer, position, marker and state are those of
 * zepiDecodeHuffman8x8_JPEG_1u16s_C1().
 *
 * Checks: `pSrc`, `srcLenBytes` negative (::zepStatusBadArg), the other pointers.
 * @return ::zepStatusBufferExhausted: the source ended too early. ::zepStatusBadHuffCode: a code is
 *   not in the table, a category is above 16, or bits are needed after a marker. In both cases
 *   `*pDst` keeps its value.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanOne_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int32_t* pMarker,
    const zepiDecodeHuffmanSpec* pTable, zepiDecodeHuffmanState* pDecHuffState);
/**
 * Encodes rows of differences of 1 to 4 interleaved components with sampling factors of 1, or
 * flushes. For each column it codes one difference of each component in turn, as
 * zepiEncodeHuffmanOne_JPEG_16s1u_C1() does. A flush uses only the buffer and the state.
 *
 * Checks: `pDst`, `dstLenBytes`, `pDstCurrPos`, the state; then, unless flushing, `pSrc` and
 * `pTable`, `width` below 1 or `nComponents` outside 1..4 (::zepStatusBadSize), their first
 * `nComponents` pointers.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(
    const int16_t* const pSrc[4], uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos,
    int32_t width, int32_t nComponents, const zepiEncodeHuffmanSpec* const pTable[4],
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);
/**
 * Decodes the rows that zepiEncodeHuffmanRow_JPEG_16s1u_P4C1() encodes. On an error the samples
 * before it are valid.
 *
 * Checks: `pSrc`, `srcLenBytes` negative (::zepStatusBadArg), the other pointers, `width` below 1
 * or `nComponents` outside 1..4 (::zepStatusBadSize), the first `nComponents` pointers of `pDst`
 * and `pTable`.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* const pDst[4],
    int32_t width, int32_t nComponents, int32_t* pMarker,
    const zepiDecodeHuffmanSpec* const pTable[4], zepiDecodeHuffmanState* pDecHuffState);
/** @} */

/**
 * @defgroup components JPEG 2000: component transforms
 *
 * These functions apply the component transforms of ITU-T T.800, Annex G, to the first three
 * components of a tile: the reversible transform (RCT, used with the 5/3 wavelet) or the
 * irreversible one (ICT, used with the 9/7 wavelet). Component 0 is R or Y, 1 is G, U or Cb, 2 is
 * B, V or Cr. `P3IR` works in place on three planes that share a step, `C3P3R` turns interleaved
 * pixels into planes, `P3C3R` planes into pixels. >> is an arithmetic shift.
 *
 * **Checks**, in this order: each pointer, or the array of planes and then each plane
 * (::zepStatusNullPtr); the steps (::zepStatusBadStep); roiSize (::zepStatusBadSize). Samples are
 * the wavelets' input, so they are level-shifted; they may have any range in which the results fit
 * the element type. Everything runs on the calling thread.
 *
 * @code
 * int32_t* planes[3] = {red, green, blue};
 * zepiRCTFwd_JPEG2K_32s_P3IR(planes, 4 * width, size);  // red, green, blue hold Y, U, V
 * zepiRCTInv_JPEG2K_32s_P3IR(planes, 4 * width, size);  // and R, G, B again
 * @endcode
 *
 * How it works and where the time goes:
 * [docs/component-transforms.md](../docs/component-transforms.md).
 * @{
 */

/**
 * Applies the reversible transform in place: Y = (R + 2G + B) >> 2, U = B - G, V = R - G. The sum
 * for Y is exact. U and V keep their low 16 bits; where that changes them,
 * zepiRCTInv_JPEG2K_16s_P3IR() cannot undo the transform.
 */
ZEP_API zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Applies the inverse reversible transform in place: G = Y - ((U + V) >> 2), R = V + G, B = U + G.
 * Each keeps its low 16 bits.
 */
ZEP_API zepStatus ZEP_CALL zepiRCTInv_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Applies the reversible transform to pixels and writes planes. Otherwise as
 * zepiRCTFwd_JPEG2K_16s_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_16s_C3P3R(const int16_t* pSrc, int32_t srcStep,
                                                       int16_t* const pDst[3], int32_t dstStep,
                                                       zepiSize roiSize);
/**
 * Applies the inverse reversible transform to planes and writes pixels. Otherwise as
 * zepiRCTInv_JPEG2K_16s_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiRCTInv_JPEG2K_16s_P3C3R(const int16_t* const pSrc[3],
                                                       int32_t srcStep, int16_t* pDst,
                                                       int32_t dstStep, zepiSize roiSize);
/**
 * Applies the reversible transform in place to 32-bit elements. Sums and results wrap at 32 bits.
 * Otherwise as zepiRCTFwd_JPEG2K_16s_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Applies the inverse reversible transform in place to 32-bit elements. Sums and results wrap at 32
 * bits. Otherwise as zepiRCTInv_JPEG2K_16s_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiRCTInv_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Applies the reversible transform to pixels of 32-bit elements and writes planes. Otherwise as
 * zepiRCTFwd_JPEG2K_32s_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_32s_C3P3R(const int32_t* pSrc, int32_t srcStep,
                                                       int32_t* const pDst[3], int32_t dstStep,
                                                       zepiSize roiSize);
/**
 * Applies the inverse reversible transform to planes of 32-bit elements and writes pixels.
 * Otherwise as zepiRCTInv_JPEG2K_32s_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiRCTInv_JPEG2K_32s_P3C3R(const int32_t* const pSrc[3],
                                                       int32_t srcStep, int32_t* pDst,
                                                       int32_t dstStep, zepiSize roiSize);
/**
 * Applies the irreversible transform in place to 16-bit elements, by colour differences. With S =
 * 4899R + 9617G + 1868B, Y = (S + 8192) >> 14. Db is the low 16 bits, as a signed value, of (16384B
 * - S + 8192) >> 14; Dr is the same with R in place of B. Then Cb = (9246Db + 8192) >> 14 and Cr =
 * (11686Dr + 8192) >> 14. This is the standard's matrix (G-1) to 14 bits.
 */
ZEP_API zepStatus ZEP_CALL zepiICTFwd_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Applies the inverse irreversible transform in place to 16-bit elements: computes the results of
 * zepiICTInv_JPEG2K_32s_P3IR() and saturates them to 16 bits.
 */
ZEP_API zepStatus ZEP_CALL zepiICTInv_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Applies the irreversible transform in place with 14 fractional bits: Y = (4899R + 9617G + 1868B +
 * 8192) >> 14, Cb = (-2765R - 5427G + 8192B + 8192) >> 14, Cr = (8192R - 6860G - 1332B + 8192) >>
 * 14. Sums are exact; results keep their low 32 bits.
 */
ZEP_API zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Applies the inverse irreversible transform in place: R = Y + ((22970Cr + 8192) >> 14), G = Y +
 * ((-11700Cr - 5638Cb + 8192) >> 14), B = Y + ((29032Cb + 8192) >> 14). Each keeps its low 32 bits.
 */
ZEP_API zepStatus ZEP_CALL zepiICTInv_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Applies the irreversible transform in place to floats: Y = 0.299R + 0.587G + 0.114B, Cb =
 * -0.16875R - 0.33126G + 0.5B, Cr = 0.5R - 0.41869G - 0.08131B. Each product and each sum, from
 * left to right, is rounded once. All processors agree which results are NaN, but not on the sign
 * and payload of a NaN.
 */
ZEP_API zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32f_P3IR(float* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Applies the inverse irreversible transform in place to floats: R = Y + 1.402Cr, G = Y - 0.34413Cb
 * - 0.71414Cr, B = Y + 1.772Cb. Each product and each sum, from left to right, is rounded once.
 */
ZEP_API zepStatus ZEP_CALL zepiICTInv_JPEG2K_32f_P3IR(float* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Applies the irreversible transform to pixels of floats and writes planes. Otherwise as
 * zepiICTFwd_JPEG2K_32f_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32f_C3P3R(const float* pSrc, int32_t srcStep,
                                                       float* const pDst[3], int32_t dstStep,
                                                       zepiSize roiSize);
/**
 * Applies the inverse irreversible transform to planes of floats and writes pixels. Otherwise as
 * zepiICTInv_JPEG2K_32f_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiICTInv_JPEG2K_32f_P3C3R(const float* const pSrc[3], int32_t srcStep,
                                                       float* pDst, int32_t dstStep,
                                                       zepiSize roiSize);
/** @} */

/**
 * @defgroup wavelet53 JPEG 2000: 5/3 wavelet
 *
 * The reversible transform (ITU-T T.800, F.3 and F.4) of `16s` and `32s` samples comes at three
 * sizes: whole tiles, one direction of a region, and the columns of a picture that arrives row by
 * row. A line is a row or a column. With its samples x, its low and high coefficients L and H, and
 * >> rounding down:
 *
 *     forward   H = x[odd] - ((x[left even] + x[right even]) >> 1)
 *               L = x[even] + ((H[left] + H[right] + 2) >> 2)
 *     inverse   x[even] = L - ((H[left] + H[right] + 2) >> 2)
 *               x[odd] = H + ((x[left even] + x[right even]) >> 1)
 *
 * Every sum wraps at the width of the element. The inverse undoes the forward transform exactly,
 * even if sums wrap (the exception, single samples, is below). 16 bits hold the exact coefficients
 * of samples of up to 13 bits.
 *
 * **Passes** (`FwdRow`, `InvRow`, `FwdCol`, `InvCol`) transform one direction of a region, as pairs
 * of samples. They do not extend lines at the borders: the caller fills the samples around the
 * region with their real neighbours, or with the line mirrored about its ends (x[-i] = x[i]). With
 * phase 0 the first sample of a line is at an even position (low), with any other phase at an odd
 * one (high). With n pairs (the width or height of the region) exactly these elements of each line
 * are read:
 *
 * | | phase 0 | other phases |
 * |---|---|---|
 * | forward | x[-2] to x[2n] | x[-1] to x[2n+1] |
 * | inverse | L[0] to L[n], H[-1] to H[n] | L[-1] to L[n-1], H[-1] to H[n] |
 *
 * Source and destination must not overlap. *Checks*: the three pointers, the three steps, width and
 * height.
 *
 * **Row by row** (`FwdColLift`, `InvColLift`): one call transforms a pair of rows. Column i of the
 * outputs depends on column i of the inputs alone, and an output may be the same row as an input.
 * *Checks*: the pointers, the width.
 *
 * **Whole tiles** (`Fwd`, `Inv`): of the tile's origin x, y only the parity counts (x & 1, also of
 * negative values). A line that starts at an odd position starts with a high coefficient. Lines are
 * mirrored about their ends. A line of two samples becomes H = x[odd] - x[even], L = x[even] + ((H
 * + 1) >> 1). A single sample at an even position stays as it is. A single sample at an odd
 * position is doubled, and halved towards zero by the inverse.
 *
 * - In place (`C1IR`), a line of n samples ends as its low coefficients followed by its high ones:
 *   ceil(n / 2) are low at an even origin, floor(n / 2) at an odd one. If the tile's width or
 *   height is below 1, nothing is changed. *Checks*: pSrcDst, its step, pTileRect, pBuffer.
 * - With planes (`C1R`), each with its own step: plane [0] is low in both directions, [1] low
 *   horizontally and high vertically (LH), [2] high horizontally and low vertically (HL), [3] high
 *   in both. They are cut from the quadrants of the transform in place at (width + 1) >> 1 and
 *   (height + 1) >> 1 **whatever the parity**: with an odd origin and an odd length, the first high
 *   coefficient is the last of the low plane. An empty plane still needs a pointer and a step, but
 *   is not written. The source stays as it is. *Checks*: every pointer argument in order, the
 *   single step, the four planes, their four steps, width and height.
 *
 * pBuffer is work memory of any alignment, of the size that the matching `GetBufSize` function
 * gives. It must not be null, even if that size is 0. The `GetBufSize` functions *check* their
 * pointers, and return ::zepStatusBadSize if an int32 cannot hold the size.
 *
 * A null pointer is ::zepStatusNullPtr, a step below 1 ::zepStatusBadStep, a size below 1
 * ::zepStatusBadSize. **Not checked**: that steps are as long as their rows. Everything runs on the
 * calling thread.
 *
 * How it works and where the time goes: [docs/wavelet.md](../docs/wavelet.md).
 * @{
 */

/** A tile: its origin on the reference grid, and its size. */
typedef struct zepiRect {
  int32_t x;      /**< Column of the upper left sample. */
  int32_t y;      /**< Row of the upper left sample. */
  int32_t width;  /**< Columns. */
  int32_t height; /**< Rows. */
} zepiRect;

/**
 * Transforms along rows, forward: 2 x width samples of each row become width low and width high
 * coefficients.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdRow_B53_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                           int16_t* pDstLow, int32_t dstLowStep,
                                                           int16_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Transforms along rows of 32-bit elements, forward: 2 x width samples of each row become width low
 * and width high coefficients.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdRow_B53_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                           int32_t* pDstLow, int32_t dstLowStep,
                                                           int32_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Transforms along rows, inverse: width low and width high coefficients of each row become 2 x
 * width samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvRow_B53_JPEG2K_16s_C1R(
    const int16_t* pSrcLow, int32_t srcLowStep, const int16_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int16_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Transforms along rows of 32-bit elements, inverse: width low and width high coefficients of each
 * row become 2 x width samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvRow_B53_JPEG2K_32s_C1R(
    const int32_t* pSrcLow, int32_t srcLowStep, const int32_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int32_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Transforms along columns, forward: 2 x height rows of samples become height low and height high
 * rows.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdCol_B53_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                           int16_t* pDstLow, int32_t dstLowStep,
                                                           int16_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Transforms along columns of 32-bit elements, forward: 2 x height rows of samples become height
 * low and height high rows.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdCol_B53_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                           int32_t* pDstLow, int32_t dstLowStep,
                                                           int32_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Transforms along columns, inverse: height low and height high rows become 2 x height rows of
 * samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvCol_B53_JPEG2K_16s_C1R(
    const int16_t* pSrcLow, int32_t srcLowStep, const int16_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int16_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Transforms along columns of 32-bit elements, inverse: height low and height high rows become 2 x
 * height rows of samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvCol_B53_JPEG2K_32s_C1R(
    const int32_t* pSrcLow, int32_t srcLowStep, const int32_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int32_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Performs call k of the forward transform of columns, row by row. From the rows x[2k], x[2k+1],
 * x[2k+2] (pSrc0, pSrc1, pSrc2) and H[k-1] (pSrcHigh0) it computes H[k] (pDstHigh1) and L[k]
 * (pDstLow0). pDstHigh1 becomes pSrcHigh0 of the next call.
 * @code
 * for (k = 0; k < pairs; ++k) {  // an even origin: row(-1) is row(1), and so on
 *   zepiWTFwdColLift_B53_JPEG2K_16s_C1(row(2 * k), row(2 * k + 1), row(2 * k + 2), low(k),
 *                                      high(k - 1), high(k), width);
 * }
 * @endcode
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdColLift_B53_JPEG2K_16s_C1(
    const int16_t* pSrc0, const int16_t* pSrc1, const int16_t* pSrc2, int16_t* pDstLow0,
    const int16_t* pSrcHigh0, int16_t* pDstHigh1, int32_t width);
/**
 * Performs call k of the forward transform of columns of 32-bit elements, row by row. Arguments as
 * for zepiWTFwdColLift_B53_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdColLift_B53_JPEG2K_32s_C1(
    const int32_t* pSrc0, const int32_t* pSrc1, const int32_t* pSrc2, int32_t* pDstLow0,
    const int32_t* pSrcHigh0, int32_t* pDstHigh1, int32_t width);
/**
 * Performs call k of the inverse transform of columns, row by row. From L[k] (pSrcLow0), H[k-1],
 * H[k] (pSrcHigh0, pSrcHigh1) and x[2k-2] (pSrc0) it computes x[2k] (pDst2) and x[2k-1] (pDst1).
 * pDst2 becomes pSrc0 of the next call.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvColLift_B53_JPEG2K_16s_C1(const int16_t* pSrcLow0,
                                                              const int16_t* pSrcHigh0,
                                                              const int16_t* pSrcHigh1,
                                                              const int16_t* pSrc0, int16_t* pDst1,
                                                              int16_t* pDst2, int32_t width);
/**
 * Performs call k of the inverse transform of columns of 32-bit elements, row by row. Arguments as
 * for zepiWTInvColLift_B53_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvColLift_B53_JPEG2K_32s_C1(const int32_t* pSrcLow0,
                                                              const int32_t* pSrcHigh0,
                                                              const int32_t* pSrcHigh1,
                                                              const int32_t* pSrc0, int32_t* pDst1,
                                                              int32_t* pDst2, int32_t width);
/**
 * Transforms one level of a tile in place, forward: columns first, then rows. The result is four
 * quadrants.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/**
 * Transforms one level of a tile of 32-bit elements in place, forward: columns first, then rows.
 * The result is four quadrants.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/**
 * Transforms one level of a tile in place, inverse: from four quadrants, rows first, then columns.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/**
 * Transforms one level of a tile of 32-bit elements in place, inverse: from four quadrants, rows
 * first, then columns.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/** Transforms one level of a tile, forward, into four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                        const zepiRect* pTileRect,
                                                        int16_t* const pDst[4],
                                                        const int32_t dstStep[4], uint8_t* pBuffer);
/** Transforms one level of a tile of 32-bit elements, forward, into four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                        const zepiRect* pTileRect,
                                                        int32_t* const pDst[4],
                                                        const int32_t dstStep[4], uint8_t* pBuffer);
/** Transforms one level of a tile, inverse, from four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_16s_C1R(const int16_t* const pSrc[4],
                                                        const int32_t srcStep[4], int16_t* pDst,
                                                        int32_t dstStep, const zepiRect* pTileRect,
                                                        uint8_t* pBuffer);
/** Transforms one level of a tile of 32-bit elements, inverse, from four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_32s_C1R(const int32_t* const pSrc[4],
                                                        const int32_t srcStep[4], int32_t* pDst,
                                                        int32_t dstStep, const zepiRect* pTileRect,
                                                        uint8_t* pBuffer);
/**
 * Stores the size in bytes of the work buffer for the `16s` functions in place: max(2 w, 2 h) + 8,
 * or 0 if w < 3 and h < 3.
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_16s_C1IR(const zepiRect* pTileRect,
                                                                int32_t* pSize);
/**
 * Stores the size in bytes of the work buffer for the `32s` functions in place: max(4 w, 4 h) + 16,
 * or 0 if w < 3 and h < 3.
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_32s_C1IR(const zepiRect* pTileRect,
                                                                int32_t* pSize);
/**
 * Stores the size in bytes of the work buffer for the `16s` functions with planes: the size for the
 * tile in place, plus h times (2 w + 31 rounded down to a multiple of 32) if w and h are at least
 * 1.
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_16s_C1R(const zepiRect* pTileRect,
                                                               int32_t* pSize);
/**
 * Stores the size in bytes of the work buffer for the `32s` functions with planes: the size for the
 * tile in place, plus h times (4 w + 31 rounded down to a multiple of 32) if w and h are at least
 * 1.
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_32s_C1R(const zepiRect* pTileRect,
                                                               int32_t* pSize);
/** @} */

/**
 * @defgroup wavelet97 JPEG 2000: 9/7 wavelet
 *
 * The irreversible transform (ITU-T T.800, F.3 and F.4) comes in floating point (`32f`) and in
 * fixed point (`16s`, `32s`). Layouts, phases, lines, planes, buffers and checks are those of @ref
 * wavelet53; the lifting steps differ. With L at the even and H at the odd positions of a line:
 *
 *     forward   H += alpha * (left + right)      inverse   L *= K, H *= 1/K
 *               L += beta  * (left + right)                L -= delta * (left + right)
 *               H += gamma * (left + right)                H -= gamma * (left + right)
 *               L += delta * (left + right)                L -= beta  * (left + right)
 *               L *= 1/K, H *= K                           H -= alpha * (left + right)
 *
 * | | `32f` | `16s`, `32s`, times 2^-14 |
 * |---|---|---|
 * | alpha | -1.5861343145370483 | -25987 |
 * | beta | -0.05298011749982834 | -868 |
 * | gamma | 0.8829110860824585 | 14466 |
 * | delta | 0.4435068666934967 | 7266 |
 * | 1/K | 0.8128930926322937 | 13318 |
 * | K | 1.2301740646362305 | 20155 |
 *
 * The low filter has a gain of 1 at DC, the high filter a gain of 2 at the highest frequency.
 *
 * **Fixed point**: each product is (sum * c + 8192) >> 14 of the exact sum, rounded on its own, and
 * each result keeps its lower 16 or 32 bits. Passes, row-by-row lifting and whole tiles give the
 * same bits. Rows of `32s` values from -2^11 to 2^11 - 1 take less time.
 *
 * **Floating point**: products and sums are rounded one by one, the sum of the two neighbours
 * first, so all processors give the same bits. (They agree which results are NaN, but not on the
 * sign and payload of a NaN.) zepiWTFwdRow_D97_JPEG2K_32f_C1R() computes the first and the last low
 * and high coefficient of a row by convolution with the equivalent filter taps, summed from the
 * centre outwards:
 *
 *     L = 0.602949 x[0] + 0.26686412 (x[-1] + x[1]) - 0.078223266 (x[-2] + x[2])
 *         - 0.01686412 (x[-3] + x[3]) + 0.026748758 (x[-4] + x[4])
 *     H = 1.115087 x[0] - 0.59127176 (x[-1] + x[1]) - 0.057543527 (x[-2] + x[2])
 *         + 0.091271766 (x[-3] + x[3])
 *
 * **Passes** read, for n pairs, exactly these elements:
 *
 * | | phase 0 | other phases |
 * |---|---|---|
 * | forward | x[-4] to x[2n+2] | x[-3] to x[2n+3] |
 * | inverse | L[-1] to L[n+1], H[-2] to H[n+1] | L[-2] to L[n], H[-2] to H[n+1] |
 *
 * **Whole tiles**: lines of two samples are mirrored and lifted like longer ones. Single samples
 * follow the rule of the 5/3 transform, without K.
 *
 * How it works and where the time goes: [docs/wavelet.md](../docs/wavelet.md).
 * @{
 */

/**
 * Transforms along rows, forward: 2 x width samples of each row become width low and width high
 * coefficients.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdRow_D97_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                           int16_t* pDstLow, int32_t dstLowStep,
                                                           int16_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Transforms along rows of 32-bit elements, forward: 2 x width samples of each row become width low
 * and width high coefficients.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdRow_D97_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                           int32_t* pDstLow, int32_t dstLowStep,
                                                           int32_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Transforms along rows of floats, forward: 2 x width samples of each row become width low and
 * width high coefficients. The first and the last low and high coefficient of a row come from the
 * filter taps above.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdRow_D97_JPEG2K_32f_C1R(const float* pSrc, int32_t srcStep,
                                                           float* pDstLow, int32_t dstLowStep,
                                                           float* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Transforms along rows, inverse: width low and width high coefficients of each row become 2 x
 * width samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvRow_D97_JPEG2K_16s_C1R(
    const int16_t* pSrcLow, int32_t srcLowStep, const int16_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int16_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Transforms along rows of 32-bit elements, inverse: width low and width high coefficients of each
 * row become 2 x width samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvRow_D97_JPEG2K_32s_C1R(
    const int32_t* pSrcLow, int32_t srcLowStep, const int32_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int32_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Transforms along rows of floats, inverse: width low and width high coefficients of each row
 * become 2 x width samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvRow_D97_JPEG2K_32f_C1R(const float* pSrcLow, int32_t srcLowStep,
                                                           const float* pSrcHigh,
                                                           int32_t srcHighStep, zepiSize srcRoiSize,
                                                           float* pDst, int32_t dstStep,
                                                           int32_t phase);
/**
 * Transforms along columns of floats, forward: 2 x height rows of samples become height low and
 * height high rows.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdCol_D97_JPEG2K_32f_C1R(const float* pSrc, int32_t srcStep,
                                                           float* pDstLow, int32_t dstLowStep,
                                                           float* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Transforms along columns of floats, inverse: height low and height high rows become 2 x height
 * rows of samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvCol_D97_JPEG2K_32f_C1R(const float* pSrcLow, int32_t srcLowStep,
                                                           const float* pSrcHigh,
                                                           int32_t srcHighStep, zepiSize srcRoiSize,
                                                           float* pDst, int32_t dstStep,
                                                           int32_t phase);
/**
 * Performs call k of the forward transform of columns, row by row. x are source rows; a, b, c are
 * the coefficients after the lifting steps 1, 2 and 3.
 *
 * | argument | before | after |
 * |---|---|---|
 * | pSrc0, pSrc1, pSrc2 | x[2k], x[2k+1], x[2k+2] | |
 * | pDstHigh2 | | a[k] = x[2k+1] + alpha (x[2k] + x[2k+2]) |
 * | pDstLow1 | | b[k] = x[2k] + beta (a[k-1] + a[k]) |
 * | pSrcDstHigh1 | a[k-1] | c[k-1] = a[k-1] + gamma (b[k-1] + b[k]) |
 * | pSrcDstLow0 | b[k-1] | L[k-1] = (b[k-1] + delta (c[k-2] + c[k-1])) / K, finished |
 * | pSrcDstHigh0 | c[k-2] | H[k-2] = c[k-2] K, finished |
 *
 * In the next call pDstLow1 becomes pSrcDstLow0, pDstHigh2 becomes pSrcDstHigh1, and pSrcDstHigh1
 * becomes pSrcDstHigh0. Begin with k = -2, on rows mirrored about the first row and with scratch
 * rows as outputs. End with two more calls on rows mirrored about the last row.
 */
ZEP_API zepStatus ZEP_CALL
zepiWTFwdColLift_D97_JPEG2K_16s_C1(const int16_t* pSrc0, const int16_t* pSrc1, const int16_t* pSrc2,
                                   int16_t* pSrcDstLow0, int16_t* pDstLow1, int16_t* pSrcDstHigh0,
                                   int16_t* pSrcDstHigh1, int16_t* pDstHigh2, int32_t width);
/**
 * Performs call k of the forward transform of columns of 32-bit elements, row by row. Arguments as
 * for zepiWTFwdColLift_D97_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL
zepiWTFwdColLift_D97_JPEG2K_32s_C1(const int32_t* pSrc0, const int32_t* pSrc1, const int32_t* pSrc2,
                                   int32_t* pSrcDstLow0, int32_t* pDstLow1, int32_t* pSrcDstHigh0,
                                   int32_t* pSrcDstHigh1, int32_t* pDstHigh2, int32_t width);
/**
 * Performs call k of the forward transform of columns of floats, row by row. Arguments as for
 * zepiWTFwdColLift_D97_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdColLift_D97_JPEG2K_32f_C1(
    const float* pSrc0, const float* pSrc1, const float* pSrc2, float* pSrcDstLow0, float* pDstLow1,
    float* pSrcDstHigh0, float* pSrcDstHigh1, float* pDstHigh2, int32_t width);
/**
 * Performs call k of the inverse transform of columns, row by row. pSrc0, pSrcDst1, ..., pDst5 are
 * the picture's rows 2k-4 to 2k+1.
 *
 * | argument | before | after |
 * |---|---|---|
 * | pSrcLow0, pSrcHigh0 | L[k], H[k] | |
 * | pDst5 (row 2k+1) | | h[k] = H[k] / K |
 * | pDst4 (row 2k) | | l[k] = L[k] K - delta (h[k-1] + h[k]) |
 * | pSrcDst3 (row 2k-1) | h[k-1] | g[k-1] = h[k-1] - gamma (l[k-1] + l[k]) |
 * | pSrcDst2 (row 2k-2) | l[k-1] | x[2k-2] = l[k-1] - beta (g[k-2] + g[k-1]), finished |
 * | pSrcDst1 (row 2k-3) | g[k-2] | x[2k-3] = g[k-2] - alpha (x[2k-4] + x[2k-2]), finished |
 * | pSrc0 (row 2k-4) | x[2k-4] | |
 *
 * In the next call all six pointers advance by two rows.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvColLift_D97_JPEG2K_16s_C1(
    const int16_t* pSrcLow0, const int16_t* pSrcHigh0, const int16_t* pSrc0, int16_t* pSrcDst1,
    int16_t* pSrcDst2, int16_t* pSrcDst3, int16_t* pDst4, int16_t* pDst5, int32_t width);
/**
 * Performs call k of the inverse transform of columns of 32-bit elements, row by row. Arguments as
 * for zepiWTInvColLift_D97_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvColLift_D97_JPEG2K_32s_C1(
    const int32_t* pSrcLow0, const int32_t* pSrcHigh0, const int32_t* pSrc0, int32_t* pSrcDst1,
    int32_t* pSrcDst2, int32_t* pSrcDst3, int32_t* pDst4, int32_t* pDst5, int32_t width);
/**
 * Performs call k of the inverse transform of columns of floats, row by row. Arguments as for
 * zepiWTInvColLift_D97_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvColLift_D97_JPEG2K_32f_C1(
    const float* pSrcLow0, const float* pSrcHigh0, const float* pSrc0, float* pSrcDst1,
    float* pSrcDst2, float* pSrcDst3, float* pDst4, float* pDst5, int32_t width);
/**
 * Transforms one level of a tile in place, forward: columns first, then rows. The result is four
 * quadrants.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/**
 * Transforms one level of a tile of 32-bit elements in place, forward: columns first, then rows.
 * The result is four quadrants.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/**
 * Transforms one level of a tile in place, inverse: from four quadrants, rows first, then columns.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/**
 * Transforms one level of a tile of 32-bit elements in place, inverse: from four quadrants, rows
 * first, then columns.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/** Transforms one level of a tile, forward, into four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                        const zepiRect* pTileRect,
                                                        int16_t* const pDst[4],
                                                        const int32_t dstStep[4], uint8_t* pBuffer);
/** Transforms one level of a tile of 32-bit elements, forward, into four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                        const zepiRect* pTileRect,
                                                        int32_t* const pDst[4],
                                                        const int32_t dstStep[4], uint8_t* pBuffer);
/** Transforms one level of a tile, inverse, from four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_16s_C1R(const int16_t* const pSrc[4],
                                                        const int32_t srcStep[4], int16_t* pDst,
                                                        int32_t dstStep, const zepiRect* pTileRect,
                                                        uint8_t* pBuffer);
/** Transforms one level of a tile of 32-bit elements, inverse, from four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_32s_C1R(const int32_t* const pSrc[4],
                                                        const int32_t srcStep[4], int32_t* pDst,
                                                        int32_t dstStep, const zepiRect* pTileRect,
                                                        uint8_t* pBuffer);
/**
 * Stores the size in bytes of the work buffer for the `16s` functions in place: max(2 w, 2 h) + 16,
 * or 0 if w < 2 and h < 2.
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_16s_C1IR(const zepiRect* pTileRect,
                                                                int32_t* pSize);
/**
 * Stores the size in bytes of the work buffer for the `32s` functions in place: max(4 w, 4 h) + 32,
 * or 0 if w < 2 and h < 2.
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_32s_C1IR(const zepiRect* pTileRect,
                                                                int32_t* pSize);
/**
 * Stores the size in bytes of the work buffer for the `16s` functions with planes: the size for the
 * tile in place, plus h times (2 w + 31 rounded down to a multiple of 32) if w and h are at least
 * 1.
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_16s_C1R(const zepiRect* pTileRect,
                                                               int32_t* pSize);
/**
 * Stores the size in bytes of the work buffer for the `32s` functions with planes: the size for the
 * tile in place, plus h times (4 w + 31 rounded down to a multiple of 32) if w and h are at least
 * 1.
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_32s_C1R(const zepiRect* pTileRect,
                                                               int32_t* pSize);
/** @} */

/**
 * @defgroup codeblock JPEG 2000: code-blocks
 *
 * The embedded block coder (ISO/IEC 15444-1, annexes C and D) codes a block of quantized wavelet
 * coefficients to bytes and back, bit plane by bit plane in up to three coding passes per plane.
 * The encoder also gives the rates and distortions that rate control needs.
 *
 * **Samples** are 32-bit words of sign and magnitude: bit 31 is the sign, bits 30 to 0 the
 * magnitude. A subband of M magnitude bits holds a quantized value q as q << (31 - M), so its
 * planes are 30 down to 31 - M. Bits below may hold the fraction of a step, which only the
 * distortion uses. **Subbands**: 0 LL, 1 LH, 2 HL (horizontally high), 3 HH.
 *
 * **Passes** are numbered from 0: a cleanup pass on the highest plane that is not empty, then
 * significance propagation, magnitude refinement and cleanup on each plane below. A block with P
 * planes has 3 P - 2.
 *
 * **Style** is the code-block style of a coding-style marker, a sum of: 1 bypass, 2 reset of the
 * contexts after each pass, 4 termination of each pass, 8 vertically causal contexts, 16
 * predictable termination, 32 segmentation symbols. **Segments**: without 1 and 4, all passes form
 * one codeword segment. With 4, each pass is a segment. With 1 alone, passes 0 to 9 form one
 * segment, then each pair of raw passes and each cleanup pass forms one. No segment ends in FF or
 * has a byte above 8F after FF. After the end of a segment the decoder reads only ones.
 * **Predictable termination** is that of D.4.2: the end of each segment follows from its decisions
 * alone, so a decoder can detect damage. Raw segments are then filled with the bits 0, 1, 0 ...,
 * and with a byte 2A after an FF.
 *
 * @code
 * zepiEncodeStateJPEG2K* state;
 * zepiEncodeInitAlloc_JPEG2K(&state, size);
 * int32_t sfBits, passes, segments, length = capacity, unfinished;
 * zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(samples, 4 * size.width, size, state, subband, M, 0, 0,
 *                                        style, &sfBits, &passes, &segments);
 * zepiEncodeStoreBits_JPEG2K_1u(bytes, &length, state, &unfinished);
 * int32_t zeroPlanes = 31 - sfBits;  // for the packet header
 * zepiEncodeFree_JPEG2K(state);
 * @endcode
 *
 * How it works and where the time goes: [docs/codeblock.md](../docs/codeblock.md).
 * @{
 */

/** An encoder's state, made by zepiEncodeInitAlloc_JPEG2K(); it begins with the bytes "DSML". */
typedef struct zepiEncodeStateJPEG2K zepiEncodeStateJPEG2K;
/** A decoder's state in the caller's memory, of any alignment; it begins with the bytes "PAMC". */
typedef struct zepiDecodeStateJPEG2K zepiDecodeStateJPEG2K;

/**
 * Allocates an encoder's state for any number of blocks of up to the given size. **Checks**:
 * ppState (::zepStatusNullPtr), then a width or height below 1 (::zepStatusBadSize, nothing is
 * written). If memory is short, the status is ::zepStatusMemAlloc and *ppState becomes null.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeInitAlloc_JPEG2K(zepiEncodeStateJPEG2K** ppState,
                                                      zepiSize codeBlockMaxSize);
/**
 * Encodes a block into the state, in place of the block before.
 *
 * @param magnBits M of the subband, clamped to 1..31; with 0 or less nothing is coded.
 * @param param1, param2 Ignored.
 * @param codeStyleFlags The style, 0..63.
 * @param pSfBits 1 + the highest bit that any magnitude has, 0 for a block of zeros. A packet
 *   header gives 31 - sfBits as the number of zero bit planes.
 * @param pNOfPasses The number of passes: 3 (sfBits - (31 - M)) - 2, or 0.
 * @param pNOfTermPasses The number of segments; 1 if there are no passes.
 *
 * **Checks**: pState (::zepStatusNullPtr), its identifier (::zepStatusContextMismatch), pSfBits,
 * pNOfPasses, pNOfTermPasses (::zepStatusNullPtr), the size (::zepStatusBadSize), pSrc
 * (::zepStatusNullPtr), srcStep below 1 (::zepStatusBadStep). **Not checked**: that the block is no
 * larger than the size that the state was made for.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
    const int32_t* pSrc, int32_t srcStep, zepiSize codeBlockSize, zepiEncodeStateJPEG2K* pState,
    int32_t subband, int32_t magnBits, int32_t param1, int32_t param2, int32_t codeStyleFlags,
    int32_t* pSfBits, int32_t* pNOfPasses, int32_t* pNOfTermPasses);
/**
 * Stores the number of bytes, from the start of the block, that the coder had put out at the end of
 * a pass; after the last pass of a segment it includes the whole segment. **Checks**: pState
 * (::zepStatusNullPtr), its identifier (::zepStatusContextMismatch), the result's pointer
 * (::zepStatusNullPtr), a pass that does not exist (::zepStatusJPEG2KBadPassNumber).
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeGetRate_JPEG2K(const zepiEncodeStateJPEG2K* pState,
                                                    int32_t passNumber, int32_t* pRate);
/**
 * Stores by how much passes 0 to passNumber reduce the distortion: the squared error in squares of
 * the subband's step. It assumes that the decoder uses midpoints above the lowest plane and the
 * exact value on the lowest. Checks as for zepiEncodeGetRate_JPEG2K().
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeGetDist_JPEG2K(const zepiEncodeStateJPEG2K* pState,
                                                    int32_t passNumber, double* pDist);
/**
 * Stores the smallest number of bytes, from the start of the block, that suffices to decode passes
 * 0 to passNumber. (With predictable termination the last pass of a segment needs the whole
 * segment.) The length of a segment in a packet header is the difference between this number for
 * the segment's last pass and for that of the segment before. Checks as for
 * zepiEncodeGetRate_JPEG2K().
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeGetTermPassLen_JPEG2K(const zepiEncodeStateJPEG2K* pState,
                                                           int32_t passNumber, int32_t* pLength);
/**
 * Copies the next up to *pDstLen bytes of the coded block, all segments back to back, and sets
 * *pDstLen to their number. *pIsNotFinished becomes 1 if bytes are left, else 0. Calls after the
 * last byte, and for a block without passes, copy 0 bytes. **Checks**: pState (::zepStatusNullPtr),
 * its identifier (::zepStatusContextMismatch), pDst, pDstLen, pIsNotFinished (::zepStatusNullPtr),
 * *pDstLen below 1 (::zepStatusBadSize).
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeStoreBits_JPEG2K_1u(uint8_t* pDst, int32_t* pDstLen,
                                                         zepiEncodeStateJPEG2K* pState,
                                                         int32_t* pIsNotFinished);
/**
 * Releases an encoder's state. A null pointer is ::zepStatusNullPtr; the identifier is not checked.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeFree_JPEG2K(zepiEncodeStateJPEG2K* pState);

/**
 * Decodes a block in one call.
 *
 * @param magnBits The number of coded bit planes of this block: sfBits of the encoder, which is 31
 *   minus the zero bit planes of a packet header. The first plane is magnBits - 1. Values above 31
 *   count as 31, values below 1 as 0.
 * @param nOfPasses The number of passes in the segments; passes after plane 0 are ignored.
 * @param pTermPassLen The length of each segment; negative ones count as 0.
 * @param codeStyleFlags The style, plus any of
 *   - 0x10000: if a pass on plane p fails, keep only the planes above p, with midpoints (bit p set
 *     in samples that are then not 0);
 *   - 0x20000: do not clear the block first;
 *   - 0x40000: keep the midpoints below the last plane; without this flag the bits below it are
 *     cleared;
 *   - 0x80000: do not clear the flags in the state, because the caller has filled its memory with
 *     zeros.
 * @param pErrorBitPlane On ::zepStatusJPEG2KDecodeError the plane of the pass that failed; may be
 *   null.
 * @param pState Memory of zepiDecodeGetBufSize_JPEG2K() bytes, with any contents and alignment.
 *
 * Reconstruction uses midpoints: if a sample is not 0 and its bits down to plane q are decoded, bit
 * q - 1 is set. For lossy coding pass magnBits = sfBits + 1 and 0x40000: samples are then twice as
 * large, and bit 0 is half a step.
 *
 * A pass fails if its segmentation symbol is wrong (style 32). With predictable termination (16),
 * if each segment must end with its last pass (4 or 1), a pass also fails if its segment is not
 * what an encoder writes for the same decisions.
 *
 * **Checks**: pSrc, pState (::zepStatusNullPtr), the size (::zepStatusBadSize), pTermPassLen, pDst
 * (::zepStatusNullPtr), dstStep below 1 (::zepStatusBadStep).
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(
    const uint8_t* pSrc, int32_t* pDst, int32_t dstStep, zepiSize codeBlockSize, int32_t subband,
    int32_t magnBits, int32_t nOfPasses, const int32_t* pTermPassLen, int32_t nOfTermPasses,
    int32_t codeStyleFlags, int32_t* pErrorBitPlane, uint8_t* pState);
/**
 * Stores the size of a decoder's state for blocks of up to the given size: row * ((height + 1) / 2
 * + 2) + 388 bytes, where row is (width + 2) * 4 rounded up to a multiple of 32. **Checks**: a
 * width or height below 1 (::zepStatusBadSize), pSize (::zepStatusNullPtr), a result that an int32
 * cannot hold (::zepStatusBadSize).
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeGetBufSize_JPEG2K(zepiSize codeBlockMaxSize, int32_t* pSize);
/** Stores the size of a decoder's state, the same as zepiDecodeGetBufSize_JPEG2K(). */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrGetStateSize_JPEG2K(zepiSize codeBlockMaxSize,
                                                                int32_t* pSize);
/**
 * Initializes a state in memory of zepiDecodeCBProgrGetStateSize_JPEG2K() bytes. No block is
 * attached yet. A null pointer is ::zepStatusNullPtr.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrInit_JPEG2K(zepiDecodeStateJPEG2K* pState);
/**
 * Allocates and initializes a decoder's state. **Checks**: ppState (::zepStatusNullPtr), the size
 * (::zepStatusBadSize, nothing is written). If memory is short, the status is ::zepStatusMemAlloc
 * and *ppState becomes null.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrInitAlloc_JPEG2K(zepiDecodeStateJPEG2K** ppState,
                                                             zepiSize codeBlockMaxSize);
/**
 * Releases a state of zepiDecodeCBProgrInitAlloc_JPEG2K(). A null pointer is ::zepStatusNullPtr.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrFree_JPEG2K(zepiDecodeStateJPEG2K* pState);
/**
 * Attaches a block to a state and starts at its highest plane, with no passes to decode. Arguments
 * as for zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(). The state keeps using the block's memory until the
 * last step. **Checks**: pState (::zepStatusNullPtr), its identifier (::zepStatusContextMismatch),
 * pDst (::zepStatusNullPtr), dstStep below 1 (::zepStatusBadStep), the size (::zepStatusBadSize).
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(int32_t* pDst, int32_t dstStep,
                                                                  zepiSize codeBlockSize,
                                                                  zepiDecodeStateJPEG2K* pState,
                                                                  int32_t subband, int32_t magnBits,
                                                                  int32_t codeStyleFlags);
/**
 * Sets the number of passes to decode. **Checks**: pState (::zepStatusNullPtr), its identifier
 * (::zepStatusContextMismatch).
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrSetPassCounter_JPEG2K(int32_t nOfPasses,
                                                                  zepiDecodeStateJPEG2K* pState);
/**
 * Stores the number of passes that are left. Each decoded pass lowers it by one, a failed one too.
 * **Checks**: pState, pCounter (::zepStatusNullPtr), the identifier (::zepStatusContextMismatch).
 */
ZEP_API zepStatus ZEP_CALL
zepiDecodeCBProgrGetPassCounter_JPEG2K(const zepiDecodeStateJPEG2K* pState, int32_t* pCounter);
/**
 * Stores the plane of the last pass that was begun, or magnBits - 1 before the first. **Checks**:
 * pState (::zepStatusNullPtr), its identifier (::zepStatusContextMismatch), pBitPlane
 * (::zepStatusNullPtr).
 */
ZEP_API zepStatus ZEP_CALL
zepiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(const zepiDecodeStateJPEG2K* pState, int32_t* pBitPlane);
/**
 * Decodes the passes of one segment, at most the number of passes that are left. Samples keep the
 * midpoints below their last decoded bits. If no passes are left, nothing is read. After
 * ::zepStatusJPEG2KDecodeError further steps return it again and do nothing. **Checks**: pSrc,
 * pState (::zepStatusNullPtr), the identifier (::zepStatusContextMismatch), no block attached
 * (::zepStatusJPEG2KNotAttached). A negative length counts as 0.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrStep_JPEG2K(const uint8_t* pSrc, int32_t srcLen,
                                                        zepiDecodeStateJPEG2K* pState);
/** @} */

/**
 * @defgroup photocore JPEG XR: photo core transform
 *
 * These functions apply the 4x4 photo core transform (ITU-T T.832 | ISO/IEC 29199-2, 9.9.7),
 * forward or inverse, in place, to every 4x4 block of a region or of a macroblock: 16x16 (luma), 8
 * wide and 16 high (4:2:2 chroma) or 8x8 (4:2:0 chroma). Blocks are independent of one another.
 * After the forward transform the upper left element of a block is its DC coefficient, 4 times the
 * mean. The second stage of the standard is the same transform of a block made of sixteen DC
 * coefficients. The overlap filters of the standard are not part of these functions.
 *
 * Coefficient f = 4 v + u (u horizontal, v vertical frequency) is stored at (row, column)
 *
 * | f | 0 | 1 | 2 | 3 | 4 | 5 | 6 | 7 | 8 | 9 | 10 | 11 | 12 | 13 | 14 | 15 |
 * |---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|
 * | | 0,0 | 0,2 | 0,1 | 1,3 | 2,0 | 3,3 | 3,0 | 2,3 | 1,0 | 0,3 | 1,1 | 1,2 | 3,1 | 3,2 | 2,1 | 2,2 |
 *
 * On integers, the lifting steps use additions, arithmetic shifts and products by 3. Every sum
 * wraps at the width of the elements, also before a shift. The inverse returns the input bit for
 * bit, even if sums wrapped. With 16-bit elements no sum wraps for values of up to 12 bits and a
 * sign. On floats, the steps are the same without rounding terms. No product is contracted with a
 * sum, so the bits are the same everywhere; the inverse returns the input except for rounding.
 *
 * *Order of checks*: regions: the pointer, roiSize positive (::zepStatusBadSize), the step at least
 * a row in bytes (::zepStatusBadStep), width and height multiples of 4 (::zepStatusBadSize).
 * Macroblocks: the pointer, the step at least a row of the macroblock. Elements and steps need no
 * alignment.
 *
 * How it works and where the time goes:
 * [docs/photo-core-transform.md](../docs/photo-core-transform.md).
 * @{
 */

/** Applies the forward transform to every 4x4 block of a region of 16-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Applies the forward transform to the 4x4 blocks of a macroblock of 16x16 16-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd16x16_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/**
 * Applies the forward transform to the 4x4 blocks of a macroblock of 8x16 (8 columns, 16 rows)
 * 16-bit elements.
 */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x16_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/** Applies the forward transform to the 4x4 blocks of a macroblock of 8x8 16-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x8_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/** Applies the inverse transform to every 4x4 block of a region of 16-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Applies the inverse transform to the 4x4 blocks of a macroblock of 16x16 16-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv16x16_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/**
 * Applies the inverse transform to the 4x4 blocks of a macroblock of 8x16 (8 columns, 16 rows)
 * 16-bit elements.
 */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x16_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/** Applies the inverse transform to the 4x4 blocks of a macroblock of 8x8 16-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x8_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/** Applies the forward transform to every 4x4 block of a region of 32-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Applies the forward transform to the 4x4 blocks of a macroblock of 16x16 32-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd16x16_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/**
 * Applies the forward transform to the 4x4 blocks of a macroblock of 8x16 (8 columns, 16 rows)
 * 32-bit elements.
 */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x16_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/** Applies the forward transform to the 4x4 blocks of a macroblock of 8x8 32-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x8_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/** Applies the inverse transform to every 4x4 block of a region of 32-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Applies the inverse transform to the 4x4 blocks of a macroblock of 16x16 32-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv16x16_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/**
 * Applies the inverse transform to the 4x4 blocks of a macroblock of 8x16 (8 columns, 16 rows)
 * 32-bit elements.
 */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x16_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/** Applies the inverse transform to the 4x4 blocks of a macroblock of 8x8 32-bit elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x8_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/** Applies the forward transform to every 4x4 block of a region of float elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Applies the forward transform to the 4x4 blocks of a macroblock of 16x16 float elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd16x16_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/**
 * Applies the forward transform to the 4x4 blocks of a macroblock of 8x16 (8 columns, 16 rows)
 * float elements.
 */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x16_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/** Applies the forward transform to the 4x4 blocks of a macroblock of 8x8 float elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x8_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/** Applies the inverse transform to every 4x4 block of a region of float elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Applies the inverse transform to the 4x4 blocks of a macroblock of 16x16 float elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv16x16_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/**
 * Applies the inverse transform to the 4x4 blocks of a macroblock of 8x16 (8 columns, 16 rows)
 * float elements.
 */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x16_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/** Applies the inverse transform to the 4x4 blocks of a macroblock of 8x8 float elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x8_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/** @} */

/**
 * @defgroup jpegxrvlc JPEG XR: adaptive coding of coefficients
 *
 * These functions apply the adaptive variable-length codes of JPEG XR (ITU-T T.832 | ISO/IEC
 * 29199-2): they code blocks of 4x4 transform coefficients, and the low-pass coefficients of a
 * macroblock, to bits and back. A coder's state holds 21 choices of code tables, which adapt to the
 * coded symbols, and three scan orders, which adapt to the positions of coded coefficients.
 *
 * **The state** is a record of 1780 bytes that the caller owns. It holds no addresses: it may be
 * copied, kept and moved to another process that runs the same library on the same kind of
 * processor. At the start of a tile call zepiVLCInit_JPEGXR(), then zepiVLCScanReset_JPEGXR() for
 * each scan. Do not pass a state that was not initialized to the coders.
 *
 * **Bits** are read and written highest first. The caller keeps the byte pointer, an accumulator
 * and the number of its valid bits, 0 to 32, between calls, so different coders can take turns at
 * one stream. The valid bits are the highest of the accumulator; lower ones are ignored on entry
 * and 0 afterwards.
 * - Readers start with accumulator and count 0. The next two bytes are read, first byte higher,
 *   exactly when a code word, a sign or a field of extra bits is needed and fewer than 16 bits are
 *   valid. At most 31 bits after the last used one have therefore been read: a buffer needs four
 *   spare bytes. A field of more than 16 bits is read in two parts, its highest 16 bits first.
 * - Writers start the same way. Whenever 16 bits or more wait, the highest two bytes are stored, so
 *   0 to 15 bits wait after a call that wrote anything. At the end of the stream the caller stores
 *   the last (count + 7) / 8 bytes. A block takes at most 15 x 64 bits; the room for them is not
 *   checked.
 *
 * **A block** is a list of pairs: a run of zeros and a level, the nonzero value after them. The
 * values of a block are in slots numbered up to 15. The first slot is 1 (15 values: all but the
 * DC), 2 (14 chroma values of a 4:2:2 macroblock) or 10 (6 of a 4:2:0 macroblock). **Damaged bits**
 * decode to some block: a run that goes past slot 15 ends there, and nothing is read after slot 15.
 * Levels are below 2^30 + 2; larger ones are coded as 2^30 + 1.
 *
 * **Model bits** are the low bits that the caller writes separately, in fixed length. A coefficient
 * c is significant if |c| >= 2^modelBits; its level is |c| >> modelBits with the sign of c. The low
 * bits are returned as packed refinement values v: write (v >> 1) in m + (v & 1) bits, where m is
 * the model bits minus the trimmed bits.
 *
 * @code
 * uint32_t acc = 0, count = 0;
 * zepiVLCInit_JPEGXR(state);
 * for (uint32_t scan = 0; scan < 3; ++scan) zepiVLCScanReset_JPEGXR(state, scan);
 * zepiVLCContext luma = {0, 0};                    // for each macroblock
 * zepiVLCScanSet_JPEGXR(state, 1);
 * zepiVLCEncode4x4_JPEGXR_32s1u_C1R(block, step, 0, modelBits, &dst, &acc, &count, state, &luma);
 * zepiVLCAdapt_JPEGXR(state, 1);                   // where the standard does
 * @endcode
 *
 * How it works and where the time goes: [docs/vlc.md](../docs/vlc.md).
 * @{
 */

/** The state of the coders: 1780 bytes (zepiVLCGetStateSize_JPEGXR()). */
typedef struct zepiVLCState zepiVLCState;

/**
 * What the coders of 4x4 blocks keep for the luma or the chroma of a macroblock. The caller zeroes
 * it.
 */
typedef struct zepiVLCContext {
  uint32_t count;     /**< Coded coefficients, for the standard's update of the model bits. */
  int32_t multiplier; /**< Decoders store level * (multiplier << modelBits); 0 counts as 1. */
} zepiVLCContext;

/** Stores 1780, the size of a state. A null pointer is ::zepStatusNullPtr. */
ZEP_API zepStatus ZEP_CALL zepiVLCGetStateSize_JPEGXR(int32_t* pSize);
/**
 * Initializes a state: all tables at their starting index, the scans in their initial order with
 * totals of 0, scan 2 selected. A null pointer is ::zepStatusNullPtr.
 */
ZEP_API zepStatus ZEP_CALL zepiVLCInit_JPEGXR(zepiVLCState* pState);
/**
 * Adapts the tables of a group to the symbols coded since the last call. Group 0 is the tables of
 * the low-pass coefficients, group 1 those of the 4x4 blocks. A table whose lower or upper
 * neighbour would have saved more than 8 bits is replaced by that neighbour. **Checks**: pState
 * (::zepStatusNullPtr), another group (::zepStatusOutOfRange).
 */
ZEP_API zepStatus ZEP_CALL zepiVLCAdapt_JPEGXR(zepiVLCState* pState, uint32_t group);
/**
 * Resets the totals of a scan (0: 4x4 blocks, vertical; 1: 4x4 blocks, horizontal; 2: low-pass) to
 * their starting values 32767, 32, 30, ..., 4. The scan's order stays. **Checks**: pState
 * (::zepStatusNullPtr), another scan (::zepStatusOutOfRange).
 */
ZEP_API zepStatus ZEP_CALL zepiVLCScanReset_JPEGXR(zepiVLCState* pState, uint32_t scan);
/**
 * Selects the scan that the following calls use, 0 to 2. Checks as for zepiVLCScanReset_JPEGXR().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCScanSet_JPEGXR(zepiVLCState* pState, uint32_t scan);

/**
 * Makes the pairs of a low-pass block in the order of the current scan (2), which adapts to them.
 * The pairs are the input of zepiVLCEncodeDC444_JPEGXR_32s1u(). They are made separately because a
 * stream first tells which components have any.
 *
 * @param pSrc 16 values by raster frequency 4v + u; the first is ignored.
 * @param modelBits 0 to 15.
 * @param pRunLevel Room for 32 values: run, level, run, level, ... Nothing is written after the
 *   pairs.
 * @param pPairCount The number of pairs, 0 to 15.
 * @param pPacked 16 packed refinement values by raster frequency, the first 0.
 *
 * **Checks**: pSrc, pState, pRunLevel, pPairCount, pPacked (::zepStatusNullPtr), modelBits
 * (::zepStatusOutOfRange).
 */
ZEP_API zepStatus ZEP_CALL zepiVLCScan4x4DC_JPEGXR_32s(const int32_t* pSrc, uint32_t modelBits,
                                                       zepiVLCState* pState, int32_t* pRunLevel,
                                                       uint32_t* pPairCount, int32_t* pPacked);
/**
 * Writes the pairs of the low-pass block that both chroma components of a 4:2:0 macroblock share:
 * up to six values U1 V1 U2 V2 U3 V3. Without pairs nothing is written.
 *
 * @param pRunLevel run, level, run, level, ...; levels are not 0.
 * @param pairCount 0 to 6.
 *
 * **Checks**: pRunLevel, ppDst, *ppDst, pAcc, pBitCount, pState (::zepStatusNullPtr), *pBitCount
 * above 32, then pairCount (::zepStatusOutOfRange). **Not checked**: that the runs and levels fit
 * into the block.
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncodeDC420_JPEGXR_32s1u(const int32_t* pRunLevel,
                                                           uint32_t pairCount, uint8_t** ppDst,
                                                           uint32_t* pAcc, uint32_t* pBitCount,
                                                           zepiVLCState* pState);
/**
 * Writes the pairs of the low-pass block that both chroma components of a 4:2:2 macroblock share:
 * up to 14 values U4 V4 U1 V1 U2 V2 U3 V3 U5 V5 U6 V6 U7 V7. pairCount is 0 to 14. Otherwise as
 * zepiVLCEncodeDC420_JPEGXR_32s1u().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncodeDC422_JPEGXR_32s1u(const int32_t* pRunLevel,
                                                           uint32_t pairCount, uint8_t** ppDst,
                                                           uint32_t* pAcc, uint32_t* pBitCount,
                                                           zepiVLCState* pState);
/**
 * Writes the pairs of the low-pass block of one component with 15 values: luma of any format, or
 * chroma of 4:4:4. pairCount is 0 to 16. Channel 0 uses the tables of luma, any other those of
 * chroma. Otherwise as zepiVLCEncodeDC420_JPEGXR_32s1u().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncodeDC444_JPEGXR_32s1u(const int32_t* pRunLevel,
                                                           uint32_t pairCount, uint32_t channel,
                                                           uint8_t** ppDst, uint32_t* pAcc,
                                                           uint32_t* pBitCount,
                                                           zepiVLCState* pState);
/**
 * Reads a block that zepiVLCEncodeDC420_JPEGXR_32s1u() wrote: stores the six levels U1 V1 U2 V2 U3
 * V3, zeros included.
 *
 * **Checks**: ppSrc, *ppSrc, pAcc, pBitCount, pState, pDst (::zepStatusNullPtr), *pBitCount above
 * 32 (::zepStatusOutOfRange).
 */
ZEP_API zepStatus ZEP_CALL zepiVLCDecodeDC420_JPEGXR_1u32s(const uint8_t** ppSrc, uint32_t* pAcc,
                                                           uint32_t* pBitCount,
                                                           zepiVLCState* pState, int32_t* pDst);
/**
 * Reads a block that zepiVLCEncodeDC422_JPEGXR_32s1u() wrote: stores the 14 levels U4 V4 U1 V1 U2
 * V2 U3 V3 U5 V5 U6 V6 U7 V7, zeros included. Checks as for zepiVLCDecodeDC420_JPEGXR_1u32s().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCDecodeDC422_JPEGXR_1u32s(const uint8_t** ppSrc, uint32_t* pAcc,
                                                           uint32_t* pBitCount,
                                                           zepiVLCState* pState, int32_t* pDst);
/**
 * Reads a block that zepiVLCEncodeDC444_JPEGXR_32s1u() wrote for one component: pDst[1] to pDst[15]
 * become its levels by raster frequency, zeros included. The current scan (2) adapts. On entry
 * pDst[0] selects the tables, 0 those of luma, any other value those of chroma; it is not changed.
 * Checks as for zepiVLCDecodeDC420_JPEGXR_1u32s().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCDecodeDC444_JPEGXR_1u32s(const uint8_t** ppSrc, uint32_t* pAcc,
                                                           uint32_t* pBitCount,
                                                           zepiVLCState* pState, int32_t* pDst);

/**
 * Writes the levels of a 4x4 block of 16-bit coefficients, in the order of the current scan (0 or
 * 1), which adapts. The coefficients are at the positions of the photo core transform; the first
 * one (DC) is not coded. A block without significant coefficients writes and changes nothing.
 *
 * @param srcStep The row step in bytes, not checked.
 * @param channel 0 uses the tables of luma, any other value those of chroma.
 * @param modelBits 0 to 15.
 * @param pCtx Its count grows by the number of levels.
 *
 * **Checks**: pSrc, ppDst, *ppDst, pAcc, pBitCount, pState, pCtx (::zepStatusNullPtr), *pBitCount
 * above 32, then modelBits (::zepStatusOutOfRange).
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncode4x4_JPEGXR_16s1u_C1R(
    const int16_t* pSrc, uint32_t srcStep, uint32_t channel, uint32_t modelBits, uint8_t** ppDst,
    uint32_t* pAcc, uint32_t* pBitCount, zepiVLCState* pState, zepiVLCContext* pCtx);
/**
 * Writes the levels of a 4x4 block of 32-bit coefficients. Otherwise as
 * zepiVLCEncode4x4_JPEGXR_16s1u_C1R().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncode4x4_JPEGXR_32s1u_C1R(
    const int32_t* pSrc, uint32_t srcStep, uint32_t channel, uint32_t modelBits, uint8_t** ppDst,
    uint32_t* pAcc, uint32_t* pBitCount, zepiVLCState* pState, zepiVLCContext* pCtx);
/**
 * Writes the levels of a 4x4 block of 16-bit coefficients, as zepiVLCEncode4x4_JPEGXR_16s1u_C1R()
 * does, and stores the low bits in pFlex: 16 packed refinement values at 4 * row + column, the
 * first 0. All are 0 if trimBits is modelBits or more. They are stored for blocks without
 * significant coefficients too.
 *
 * **Checks**: pSrc, ppDst, *ppDst, pAcc, pBitCount, pState, pFlex, pCtx (::zepStatusNullPtr),
 * *pBitCount above 32, modelBits or trimBits above 15 (::zepStatusOutOfRange).
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R(
    const int16_t* pSrc, uint32_t srcStep, uint32_t channel, uint32_t modelBits, uint32_t trimBits,
    uint8_t** ppDst, uint32_t* pAcc, uint32_t* pBitCount, zepiVLCState* pState, int32_t* pFlex,
    zepiVLCContext* pCtx);
/**
 * Writes the levels of a 4x4 block of 32-bit coefficients and stores the low bits in pFlex.
 * Otherwise as zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(
    const int32_t* pSrc, uint32_t srcStep, uint32_t channel, uint32_t modelBits, uint32_t trimBits,
    uint8_t** ppDst, uint32_t* pAcc, uint32_t* pBitCount, zepiVLCState* pState, int32_t* pFlex,
    zepiVLCContext* pCtx);
/**
 * Reads a block that zepiVLCEncode4x4_JPEGXR_16s1u_C1R() wrote. Only the coded coefficients are
 * stored, modulo 2^16; clear the block before the call.
 *
 * @param dstStep The row step in bytes, not checked.
 * @param channel 0 uses the tables of luma, any other value those of chroma.
 *
 * **Checks**: ppSrc, *ppSrc, pAcc, pBitCount, pState, pDst, pCtx (::zepStatusNullPtr), *pBitCount
 * above 32, then modelBits above 15 (::zepStatusOutOfRange).
 */
ZEP_API zepStatus ZEP_CALL zepiVLCDecode4x4_JPEGXR_1u16s_C1R(
    const uint8_t** ppSrc, uint32_t* pAcc, uint32_t* pBitCount, uint32_t modelBits,
    zepiVLCState* pState, uint32_t dstStep, uint32_t channel, int16_t* pDst, zepiVLCContext* pCtx);
/**
 * Reads a block that zepiVLCEncode4x4_JPEGXR_32s1u_C1R() wrote; coefficients are stored modulo
 * 2^32. Otherwise as zepiVLCDecode4x4_JPEGXR_1u16s_C1R().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCDecode4x4_JPEGXR_1u32s_C1R(
    const uint8_t** ppSrc, uint32_t* pAcc, uint32_t* pBitCount, uint32_t modelBits,
    zepiVLCState* pState, uint32_t dstStep, uint32_t channel, int32_t* pDst, zepiVLCContext* pCtx);
/** @} */

/**
 * @defgroup refinement JPEG XR: refinement bits
 *
 * These functions code the refinement ("flex") bits of a 4x4 block: for each of its fifteen
 * coefficients after DC, in order of frequency, m = modelBits bits (0 to 15) of magnitude. A sign
 * bit (1: negative) follows if these bits are not all 0 and the adaptive coder has not coded the
 * sign. Positions are those of the photo core transform; DC is neither read nor written. With m = 0
 * nothing is read or written, whatever the flags.
 *
 * A stream is a byte pointer, an accumulator whose upper *pBitCount bits (0 to 32) are valid, and
 * that count. Bits come highest first, and a stream begins with accumulator and count 0. The caller
 * keeps all three between calls.
 *
 * - Reading: two bytes are read whenever fewer than 16 bits are valid before a coefficient, so at
 *   most 31 bits beyond the last used one. The function does not know where the bytes end: keep
 *   four spare bytes after them.
 * - Writing: two bytes are stored whenever 16 bits wait. 0 to 15 bits are left after a call; at the
 *   end the caller stores them in (count + 7) / 8 bytes. A block takes at most 15 (m + 1) bits.
 *
 * *Order of checks*: all pointers in argument order (after ppSrc or ppDst the byte pointer that it
 * leads to), *pBitCount at most 32, then modelBits and trimBits at most 15 (::zepStatusOutOfRange).
 * Steps are not checked: they may be 0 or negative. Elements need no alignment.
 *
 * How it works and where the time goes: [docs/fixed-length.md](../docs/fixed-length.md).
 * @{
 */

/**
 * Decodes the refinement of one block of 32-bit coefficients. Let q be the m bits of a coefficient.
 * With refine 0, a coefficient whose q is not 0 becomes q * multiplier with the sign that follows;
 * if q is 0, it stays as it is. With refine 1 (the adaptive coder has coded this block), q *
 * multiplier is added with the coefficient's own sign and no sign bit follows; a coefficient that
 * is 0 is treated as with refine 0. Results wrap.
 */
ZEP_API zepStatus ZEP_CALL zepiFLCDecode4x4_JPEGXR_1u32s_C1IR(const uint8_t** ppSrc, uint32_t* pAcc,
                                                              uint32_t* pBitCount, int32_t* pSrcDst,
                                                              int32_t srcDstStep,
                                                              uint32_t modelBits,
                                                              int32_t multiplier, uint32_t refine);
/**
 * Decodes the refinement of one block of 16-bit coefficients. Otherwise as
 * zepiFLCDecode4x4_JPEGXR_1u32s_C1IR().
 */
ZEP_API zepStatus ZEP_CALL zepiFLCDecode4x4_JPEGXR_1u16s_C1IR(const uint8_t** ppSrc, uint32_t* pAcc,
                                                              uint32_t* pBitCount, int16_t* pSrcDst,
                                                              int32_t srcDstStep,
                                                              uint32_t modelBits,
                                                              int16_t multiplier, uint32_t refine);
/**
 * Encodes the refinement of one block of 32-bit coefficients, m = modelBits bits for each. Pass the
 * model bits minus the trimmed bits as modelBits.
 *
 * With coded 0 (the adaptive coder has not coded this block), it writes the lowest m bits of |c| >>
 * trimBits, and a sign if they are not all 0. With coded 1, it writes the packed values that
 * zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R() and the like stored, pPacked[4 * row + column]: the
 * lowest m + (value & 1) bits of value >> 1. Decoding with modelBits = m, multiplier = 1 <<
 * trimBits and refine = coded restores the coefficients except for the trimmed bits.
 */
ZEP_API zepStatus ZEP_CALL zepiFLCEncode4x4_JPEGXR_32s1u_C1R(
    const int32_t* pSrc, int32_t srcStep, const int32_t* pPacked, uint8_t** ppDst, uint32_t* pAcc,
    uint32_t* pBitCount, uint32_t modelBits, uint32_t trimBits, uint32_t coded);
/**
 * Encodes the refinement of one block of 16-bit coefficients. Otherwise as
 * zepiFLCEncode4x4_JPEGXR_32s1u_C1R().
 */
ZEP_API zepStatus ZEP_CALL zepiFLCEncode4x4_JPEGXR_16s1u_C1R(
    const int16_t* pSrc, int32_t srcStep, const int32_t* pPacked, uint8_t** ppDst, uint32_t* pAcc,
    uint32_t* pBitCount, uint32_t modelBits, uint32_t trimBits, uint32_t coded);
/** @} */

/**
 * @defgroup texture Textures: DXT1, DXT3, DXT5, BC4, BC5
 *
 * These functions code images of 8-bit pixels to 4x4 blocks of a fixed size and back (the blocks of
 * S3TC and RGTC: Khronos Data Format Specification, 18 and 19). Blocks follow one another without
 * padding: ceil(width / 4) for each row of blocks, left to right, the rows of blocks top to bottom.
 * Pixel i of a block is at row i / 4 and column i % 4. All words are little-endian.
 *
 * - The colour part has 8 bytes: two 16-bit colours c0 and c1 (5 bits of red on top, 6 of green, 5
 *   of blue), then sixteen 2-bit indexes, pixel i in bits 2i and 2i + 1. It is a whole DXT1 block,
 *   and the second half of a DXT3 or DXT5 block.
 * - The alpha part of DXT3 has 8 bytes: sixteen 4-bit values, pixel 0 in the lower half of byte 0.
 * - The channel part has 8 bytes: a0, a1, then sixteen 3-bit indexes, pixel i in bits 3i to 3i + 2
 *   of 48. It is the alpha part of DXT5 and a whole BC4 block; a BC5 block has one for R and one
 *   for G.
 *
 * **Checks**: pSrc, pDst (::zepStatusNullPtr), a step of 0 (::zepStatusBadStep), a width or height
 * below 1 (::zepStatusBadSize). **Not checked**: that the buffers are as large as the sizes say,
 * and the step. It may be negative, or smaller than a row; later rows then overwrite pixels of
 * earlier ones. Any bytes are valid blocks. Sources and destinations have any alignment and must
 * not overlap. Everything runs on the calling thread.
 *
 * Decoders write the pixels inside roiSize and nothing else. Encoders read only those pixels. A
 * block that reaches beyond the right edge repeats the last pixel of each of its rows, one that
 * reaches beyond the bottom repeats the last row.
 *
 * @code
 * zepiSize size = {width, height};
 * uint8_t* blocks = malloc((size_t)((width + 3) / 4) * ((height + 3) / 4) * 8);
 * zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(rgba, 4 * width, size, blocks);
 * zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(blocks, rgba, 4 * width, size);
 * @endcode
 *
 * How it works and where the time goes: [docs/texture.md](../docs/texture.md).
 * @{
 */

/**
 * Decodes DXT1, 8 bytes per block, to RGBA. Colours are widened to 8 bits by repeating their upper
 * bits (r << 3 | r >> 2). If c0 > c1, the palette is c0, c1, (2 c0 + c1) / 3, (c0 + 2 c1) / 3 for
 * each channel, rounded down; otherwise it is c0, c1, (c0 + c1) >> 1 and white. Alpha is always
 * 255, for the fourth colour too.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(const uint8_t* pSrc,
                                                                      uint8_t* pDst,
                                                                      int32_t dstStep,
                                                                      zepiSize roiSize);
/**
 * Decodes DXT3, 16 bytes per block, to RGBA. Colours always have the palette that DXT1 has for c0 >
 * c1. Alpha is 16 times its 4-bit value, so 240 at most.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(const uint8_t* pSrc,
                                                                      uint8_t* pDst,
                                                                      int32_t dstStep,
                                                                      zepiSize roiSize);
/**
 * Decodes DXT5, 16 bytes per block, to RGBA. Colours are those of DXT3. Alpha comes from a palette
 * of eight: if a0 > a1, it is a0, a1 and ((7 - k) a0 + k a1 + 3) / 7 for k = 1..6; otherwise a0,
 * a1, ((5 - k) a0 + k a1 + 2) / 5 for k = 1..4, 0 and 255.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(const uint8_t* pSrc,
                                                                      uint8_t* pDst,
                                                                      int32_t dstStep,
                                                                      zepiSize roiSize);
/**
 * Encodes RGBA to DXT1; alpha is ignored. In each channel the smallest and largest value of the
 * block, lo and hi, are moved towards each other by (hi - lo) >> 4. Cut to 5:6:5 bits, the upper
 * values are c0 and the lower ones c1, so c0 >= c1. A pixel gets the index of the nearest palette
 * colour by |R - r| + |G - g| + |B - b|, found by comparisons along the line from c0 to c1. The
 * encoder works in one pass, without a search.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* pSrc,
                                                                        int32_t srcStep,
                                                                        zepiSize roiSize,
                                                                        uint8_t* pDst);
/** Encodes RGBA to DXT3: the colour part as in DXT1, alpha cut to its upper four bits. */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(const uint8_t* pSrc,
                                                                        int32_t srcStep,
                                                                        zepiSize roiSize,
                                                                        uint8_t* pDst);
/**
 * Encodes RGBA to DXT5: the colour part as in DXT1, alpha as in
 * zepiTextureEncodeBlock_BC4_8u_C1R().
 */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(const uint8_t* pSrc,
                                                                        int32_t srcStep,
                                                                        zepiSize roiSize,
                                                                        uint8_t* pDst);
/**
 * Encodes Y Co Cg pixels (chroma with an offset of 128) to DXT5: Y goes into the alpha part, Co
 * becomes red, Cg green, and blue is 0. A shader computes R = Y + Co - Cg, G = Y + Cg, B = Y - Co -
 * Cg after it has subtracted the offsets.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(const uint8_t* pSrc,
                                                                         int32_t srcStep,
                                                                         zepiSize roiSize,
                                                                         uint8_t* pDst);
/** Decodes BC4, 8 bytes per block, to one channel, with the palette of DXT5's alpha. */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlock_BC4_8u_C1R(const uint8_t* pSrc, uint8_t* pDst,
                                                             int32_t dstStep, zepiSize roiSize);
/** Decodes BC5, 16 bytes per block, to R G pixels: the first channel part is R, the second G. */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRG_BC5_8u_C1C2R(const uint8_t* pSrc,
                                                                   uint8_t* pDst, int32_t dstStep,
                                                                   zepiSize roiSize);
/**
 * Encodes one channel to BC4. The smallest and largest value of the block, lo and hi, are moved
 * towards each other by (hi - lo) >> 4 and become a1 and a0. With bias = (a0 - a1) / 14 there are
 * seven thresholds: a1 + bias and ((7 - j) a0 + j a1) / 7 + bias for j = 1..6, all rounded down. If
 * c thresholds are at or above a value, its index is 0 for c = 0, 1 for c = 7, else c + 1. A block
 * of equal values has a0 = a1 and indexes of 1.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlock_BC4_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                             zepiSize roiSize, uint8_t* pDst);
/** Encodes R G pixels to BC5, each channel as in BC4. */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R(const uint8_t* pSrc,
                                                                     int32_t srcStep,
                                                                     zepiSize roiSize,
                                                                     uint8_t* pDst);
/** @} */

/**
 * @defgroup bptc Textures: BC6H, BC7
 *
 * These functions code 4x4 pixels as blocks of 16 bytes with a choice of modes (BPTC: Khronos Data
 * Format Specification, 20 and 21). The mode of a block determines the number of its end points,
 * their bits, and how the pixels are divided among them. Order of blocks, checks, steps and edges
 * are those of the group
 * @ref texture. Any bytes are valid blocks.
 *
 * How it works and where the time goes: [docs/bptc.md](../docs/bptc.md).
 * @{
 */

/**
 * Decodes unsigned BC6H to RGB halves (IEEE 754 binary16 as words). No result is negative, infinite
 * or NaN. A block of a reserved mode gives zeros. dstStep is in bytes; rows need no alignment, so
 * it may be odd.
 *
 * End points are widened to 16 bits: 0 stays 0, the highest value becomes 0xFFFF, all others get
 * half a unit more. They are mixed as ((64 - w) a + w b + 32) >> 6 with weight w, and the half is
 * (v * 31) >> 6.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R(const uint8_t* pSrc,
                                                                         uint16_t* pDst,
                                                                         int32_t dstStep,
                                                                         zepiSize roiSize);
/**
 * Decodes signed BC6H to RGB halves. End points are widened to 15 bits and a sign. The half is (|v|
 * * 31) >> 5 with the sign of v, except that 0 has no sign. An end point of -32768 in the 16-bit
 * mode gives minus infinity. Otherwise as zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R(const uint8_t* pSrc,
                                                                         uint16_t* pDst,
                                                                         int32_t dstStep,
                                                                         zepiSize roiSize);
/**
 * Decodes BC7 to RGBA. End points are widened to 8 bits by repeating their upper bits and mixed as
 * ((64 - w) a + w b + 32) >> 6 with weight w; rotations exchange channels after that. Modes without
 * alpha give 255. A block whose first byte is 0 gives 0 in all channels.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(const uint8_t* pSrc,
                                                                     uint8_t* pDst, int32_t dstStep,
                                                                     zepiSize roiSize);
/**
 * Encodes RGBA to BC7, 16 bytes per block. Modes 0 to 7 put all blocks in that mode; -1 chooses
 * quickly among all modes for each block; -2 searches thoroughly. The search minimizes the sum of
 * squared differences over R, G, B and A. Modes 0 to 3 have no alpha and decode with 255. A block
 * whose alpha is 255 in all pixels decodes to 255 in every mode. The same pixels give the same
 * block on every processor, whatever surrounds them.
 *
 * **Checks** in addition, last: a mode below -2 or above 7 (::zepStatusNotSupportedMode).
 */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(const uint8_t* pSrc,
                                                                       int32_t srcStep,
                                                                       zepiSize roiSize,
                                                                       uint8_t* pDst, int32_t mode);
/** @} */

/**
 * @defgroup tiff TIFF: PackBits, byte planes
 *
 * These functions work on rows of TIFF strips (TIFF 6.0, section 9). Source and destination must
 * not overlap. Everything runs on the calling thread.
 *
 * How it works and where the time goes: [docs/tiff.md](../docs/tiff.md).
 * @{
 */
/**
 * Packs a row into the fewest bytes possible: packets of 1 to 128 literal bytes (control byte count
 * - 1) or of 2 to 128 equal ones (257 - count). Of several shortest packings it chooses the one
 * whose packets are literal, and long, as early as possible. The result has at most srcLen +
 * (srcLen + 127) / 128 bytes.
 *
 * Checks: pointers; `srcLen` below 1 (::zepStatusBadSize); `*pDstLen` below 1
 * (::zepStatusBufferExhausted).
 * @param[in,out] pDstLen Room on entry, bytes written on return; on failure it keeps its value.
 * @return ::zepStatusBufferExhausted: there is too little room, and nothing was written.
 */
ZEP_API zepStatus ZEP_CALL zepiPackBitsRow_TIFF_8u_C1(const uint8_t* pSrc, int32_t srcLen,
                                                      uint8_t* pDst, int32_t* pDstLen);
/**
 * Unpacks a row of `dstLen` bytes. Control bytes of 128 are skipped. Bytes after the row are not
 * read.
 *
 * Checks: pointers; `dstLen` below 1 (::zepStatusBadSize); `*pSrcLen` below 1
 * (::zepStatusUnpackBitsOverrun).
 * @param[in,out] pSrcLen Available bytes on entry, consumed bytes on return.
 * @return ::zepStatusUnpackBitsOverrun: a packet would go beyond the row or the source, or the
 *   source ended before the row was full. `pDst` holds the bytes before that; `*pSrcLen` is the
 *   offset of that packet's control byte, or the end of the source.
 */
ZEP_API zepStatus ZEP_CALL zepiUnpackBitsRow_TIFF_8u_C1(const uint8_t* pSrc, int32_t* pSrcLen,
                                                        uint8_t* pDst, int32_t dstLen);
/**
 * Splits `width` samples into 2 * width bytes: all high bytes, then all low bytes. Samples may have
 * any alignment. Checks: pointers, then ::zepStatusBadSize for a width below 1.
 */
ZEP_API zepStatus ZEP_CALL zepiSplitRow_TIFF_16u8u_C1(const uint16_t* pSrc, uint8_t* pDst,
                                                      int32_t width);
/**
 * Joins `width` high bytes and `width` low bytes to samples: the inverse of
 * zepiSplitRow_TIFF_16u8u_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiJoinRow_TIFF_8u16u_C1(const uint8_t* pSrc, uint16_t* pDst,
                                                     int32_t width);
/** @} */

/** @cond */
/* Record sizes are part of the binary interface. */
#define ZEP_ASSERT_SIZE(type, size) \
  typedef char type##_has_##size##_bytes[sizeof(type) == (size) ? 1 : -1]
ZEP_ASSERT_SIZE(zepiSize, 8);
ZEP_ASSERT_SIZE(zepiRect, 16);
ZEP_ASSERT_SIZE(zepiEncodeHuffmanSpec, 1024);
ZEP_ASSERT_SIZE(zepiDecodeHuffmanSpec, 1644);
ZEP_ASSERT_SIZE(zepiEncodeHuffmanState, 1048);
ZEP_ASSERT_SIZE(zepiDecodeHuffmanState, 24);
ZEP_ASSERT_SIZE(zepiVLCContext, 8);
#undef ZEP_ASSERT_SIZE
/** @endcond */

#ifdef __cplusplus
}
#endif

#endif /* ZEPJP_H */
