/* SPDX-License-Identifier: MIT */
/**
 * @file zepjp.h
 * @brief The stages of image codecs as flat C functions over buffers that the caller owns.
 *
 * Each function turns buffers (a row, an 8x8 block, a plane) into others. It checks its
 * arguments, in the order that its documentation gives, before it touches memory; the first check
 * that fails decides the status, and then nothing is written. It keeps nothing between calls, except
 * in a state record that the caller owns, and allocates nothing, except in the functions named
 * `...InitAlloc`. The same bytes come out on every processor and for every number of threads.
 *
 * What holds everywhere, unless a function says otherwise:
 *
 * - **Names.** `zepi`, the operation, the standard served, the element types (source, then
 *   destination), the layout: `C1`, `C3`, `C4` interleaved channels, `P3`, `P4` separate planes, `R`
 *   a region with row steps, `I` in place. `8u`, `16s`, `16u`, `32s`: unsigned or signed elements of
 *   8, 16 or 32 bits; `32f`: float; `1u`: a stream of bits held in bytes.
 * - **Rows.** A step is the distance in bytes between the starts of two successive rows. Row y starts
 *   at base + y * step, computed in 64 bits. No alignment is needed, of any buffer, step or record
 *   of 16-bit or wider elements; nothing outside the region, block or row is read or written.
 * - **Not checked**: that pointers lead to the memory that the sizes promise, that a step is large
 *   enough for its row, that source and destination do not overlap (they must not).
 * - **Threads.** Any functions may run at the same time on separate data. Functions marked
 *   *row-parallel* split regions of more than 8192 elements over the threads that the core library
 *   allows (zepSetNumThreads() in zepcore.h; 1 switches it off); all others stay on the calling
 *   thread. Where threads or memory are short, fewer threads do the work;
 *   a child of fork() works on one thread. The shared library stays in memory after dlclose(),
 *   because threads of the OpenMP runtime may still run its code.
 * - No function throws, logs or ends the program.
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

/** Zero is success, negative values are errors, positive ones warnings about finished work. */
typedef int32_t zepStatus;

/** The values of ::zepStatus. */
enum {
  zepStatusOk = 0,
  zepStatusError = -1,            /**< Unspecified failure. */
  zepStatusBadArg = -5,           /**< A value outside what the operation accepts. */
  zepStatusBadSize = -6,          /**< A size is not positive, or too small for the operation. */
  zepStatusOutOfRange = -7,       /**< An argument outside its range. */
  zepStatusNullPtr = -8,          /**< A pointer that is needed, or one of its planes, is null. */
  zepStatusMemAlloc = -9,         /**< An allocation failed. */
  zepStatusBadStep = -14,         /**< A row step is not positive, or too small for its row. */
  zepStatusContextMismatch = -17, /**< A state record of another kind. */
  zepStatusBufferExhausted = -62, /**< The coded buffer is full, or ended too early. */
  zepStatusBadHuffCode = -63,     /**< No such Huffman code, or bits needed after a marker. */
  zepStatusBadHuffTable = -64,    /**< An invalid Huffman table, or a symbol without a code. */
  zepStatusJPEG2KDecodeError = -112,   /**< A coding pass failed its consistency check. */
  zepStatusJPEG2KBadPassNumber = -113, /**< No such coding pass. */
  zepStatusUnpackBitsOverrun = -124,   /**< A PackBits run beyond the source or the row. */
  zepStatusJPEG2KNotAttached = -180,   /**< No code-block was attached. */
  zepStatusNotSupportedMode = -9999,   /**< No such BC7 mode. */
  zepStatusDivByZeroWarning = 6,       /**< A quantizer step of 0; its table entry became 65535. */
  zepStatusOddSizeWarning = 35         /**< Converted, but a size that is to be halved is odd. */
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
  int32_t revision;        /**< Tells builds of one version apart. */
  char cpuCode[4];         /**< "v8" or "s8", padded with zeros. */
  const char* name;        /**< For people: the library and the variant. */
  const char* versionText; /**< For people: the version numbers. */
  const char* buildDate;   /**< For people: the date of the definition that this version follows. */
} zepLibraryVersion;

/**
 * The version record of the running variant: constant, never freed, the same on every call. The
 * variant is chosen when the library is loaded and changes speed only, never results.
 */
ZEP_API const zepLibraryVersion* ZEP_CALL zepjGetLibVersion(void);

/** The name of a status as it stands in this header, or "unknown status". */
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
 * RGB and CMYK to and from the colour spaces of JPEG files, full range (JFIF, ITU-T T.871: Y 0..255,
 * chroma centred on 128). All arithmetic is integer: a sum of products, an arithmetic shift, a clamp
 * to 0..255.
 *
 * **Layouts.** C3: three bytes a pixel in the order of the name (RGB: R, G, B; BGR: B, G, R). C4: a
 * fourth byte that has no influence. P3, P4: an array of plane pointers that share one step.
 *
 * **Forward rules.** The 15-bit rule holds for the first 8 * floor(width / 8) pixels of a row, the
 * 14-bit rule for the up to seven that remain, so that a value depends on its column by at most one:
 *
 * | | 15-bit rule | 14-bit rule |
 * |---|---|---|
 * | Y | (9798 R + 19235 G + 3736 B + 16266) >> 15 | (4899 R + 9617 G + 1868 B + 8192) >> 14 |
 * | Cb | (-5529 R - 10855 G + 16384 B + 4210688) >> 15 | (-2764 R - 5428 G + 8192 B + 2105344) >> 14 |
 * | Cr | (16384 R - 13720 G - 2664 B + 4210704) >> 15 | (8192 R - 6860 G - 1332 B + 2105344) >> 14 |
 *
 * **Inverse rule**: R = (16384 Y + 22970 (Cr - 128) + 8192) >> 14,
 * G = (16384 Y - 5638 (Cb - 128) - 11700 (Cr - 128) + 8192) >> 14,
 * B = (16384 Y + 29032 (Cb - 128) + 8192) >> 14, each clamped.
 *
 * **Checks**: all pointers (a plane array before its planes), then the source step and the
 * destination step (::zepStatusBadStep where 0 or less), then width and height (::zepStatusBadSize
 * where 0 or less).
 *
 * How it works and where the time goes: [docs/color.md](../docs/color.md).
 * @{
 */

/** RGB to Y, Cb, Cr by the 15-bit and 14-bit rules. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                        uint8_t* const pDst[3], int32_t dstStep,
                                                        zepiSize roiSize);
/** BGR to Y, Cb, Cr by the 15-bit and 14-bit rules. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                        uint8_t* const pDst[3], int32_t dstStep,
                                                        zepiSize roiSize);
/** Planes R, G, B to Y, Cb, Cr by the 15-bit and 14-bit rules. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr_JPEG_8u_P3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint8_t* const pDst[3], int32_t dstStep,
                                                      zepiSize roiSize);
/**
 * RGBX to Y, Cb, Cr by the 15-bit and 14-bit rules.
 * Steps are not checked: 0 and negative ones work (a negative step walks upwards).
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                        uint8_t* const pDst[3], int32_t dstStep,
                                                        zepiSize roiSize);
/**
 * BGRX to Y, Cb, Cr by the 15-bit and 14-bit rules. Steps are not checked, as in
 * zepiRGBToYCbCr_JPEG_8u_C4P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                        uint8_t* const pDst[3], int32_t dstStep,
                                                        zepiSize roiSize);

/** RGB to Y, every pixel by the 15-bit rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiRGBToY_JPEG_8u_C3C1R(const uint8_t* pSrc, int32_t srcStep,
                                                    uint8_t* pDst, int32_t dstStep,
                                                    zepiSize roiSize);
/** BGR to Y, every pixel by the 15-bit rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiBGRToY_JPEG_8u_C3C1R(const uint8_t* pSrc, int32_t srcStep,
                                                    uint8_t* pDst, int32_t dstStep,
                                                    zepiSize roiSize);
/** Planes R, G, B to Y, every pixel by the 15-bit rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiRGBToY_JPEG_8u_P3C1R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                    uint8_t* pDst, int32_t dstStep,
                                                    zepiSize roiSize);

/**
 * CMYK to Y, Cb, Cr, K: the inks are inverted (R = 255 - C and so on), then every pixel goes by the
 * 14-bit rule; K is copied. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiCMYKToYCCK_JPEG_8u_C4P4R(const uint8_t* pSrc, int32_t srcStep,
                                                        uint8_t* const pDst[4], int32_t dstStep,
                                                        zepiSize roiSize);
/**
 * Planes C, M, Y, K to Y, Cb, Cr, K, with the inks inverted. Otherwise as
 * zepiCMYKToYCCK_JPEG_8u_C4P4R(). Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiCMYKToYCCK_JPEG_8u_P4R(const uint8_t* const pSrc[4], int32_t srcStep,
                                                      uint8_t* const pDst[4], int32_t dstStep,
                                                      zepiSize roiSize);

/**
 * Packed 16-bit pixels (the processor's byte order, any alignment) to Y, Cb, Cr by the 14-bit rule.
 * Bits 14..10, 9..5, 4..0 hold R, G, B; bit 15 has no influence. A field of 5 bits becomes
 * (f << 3) | (f >> 2), one of 6 bits (f << 2) | (f >> 4).
 */
ZEP_API zepStatus ZEP_CALL zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                              uint8_t* const pDst[3],
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Packed 16-bit pixels with B in bits 14..10, G in 9..5, R in 4..0 to Y, Cb, Cr by the 14-bit
 * rule. Otherwise as zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGR555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                              uint8_t* const pDst[3],
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Packed 16-bit pixels with R in bits 15..11, G in 10..5, B in 4..0 to Y, Cb, Cr by the 14-bit
 * rule. Otherwise as zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGB565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                              uint8_t* const pDst[3],
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Packed 16-bit pixels with B in bits 15..11, G in 10..5, R in 4..0 to Y, Cb, Cr by the 14-bit
 * rule. Otherwise as zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGR565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                              uint8_t* const pDst[3],
                                                              int32_t dstStep, zepiSize roiSize);

/**
 * RGB to Y in full and Cb, Cr at half width and half height (4:2:0).
 *
 * Y of every pixel by the 15-bit rule; a chroma sample from the sums of its 2x2 group with the
 * 14-bit coefficients, rounded once: (c . sums + 4 * 2105344) >> 16, clamped. The chroma planes hold
 * floor(width / 2) by floor(height / 2) samples; a last odd row or column has no chroma sample.
 * Pad odd pictures to even before the call.
 *
 * Checks: pointers, then ::zepStatusBadSize for a width or height below 2. Steps are not checked: 0
 * and negative ones work. All three planes share `dstStep`.
 * @return ::zepStatusOddSizeWarning after the conversion where width or height is odd.
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr411_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * RGBX to Y in full and Cb, Cr at half width and half height (4:2:0). Otherwise as
 * zepiRGBToYCbCr411_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr411_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * BGR to Y in full and Cb, Cr at half width and half height (4:2:0). Otherwise as
 * zepiRGBToYCbCr411_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr411_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * BGRX to Y in full and Cb, Cr at half width and half height (4:2:0). Otherwise as
 * zepiRGBToYCbCr411_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr411_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * RGB to Y in full and Cb, Cr at half width (4:2:2).
 *
 * As zepiRGBToYCbCr411_JPEG_8u_C3P3R() with groups of 2x1: (c . sums + 2 * 2105344) >> 15. Width
 * below 2 or height below 1: ::zepStatusBadSize.
 * @return ::zepStatusOddSizeWarning after the conversion where the width is odd.
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr422_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * RGBX to Y in full and Cb, Cr at half width (4:2:2). Otherwise as
 * zepiRGBToYCbCr422_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr422_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * BGR to Y in full and Cb, Cr at half width (4:2:2). Otherwise as
 * zepiRGBToYCbCr422_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr422_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * BGRX to Y in full and Cb, Cr at half width (4:2:2). Otherwise as
 * zepiRGBToYCbCr422_JPEG_8u_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr422_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* const pDst[3], int32_t dstStep,
                                                           zepiSize roiSize);

/** Planes Y, Cb, Cr to RGB by the inverse rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                        int32_t srcStep, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize roiSize);
/** Planes Y, Cb, Cr to planes R, G, B by the inverse rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint8_t* const pDst[3], int32_t dstStep,
                                                      zepiSize roiSize);
/** Planes Y, Cb, Cr to BGR by the inverse rule. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                        int32_t srcStep, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize roiSize);
/** Planes Y, Cb, Cr, K to CMYK: 255 minus each result of the inverse rule; K is copied. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const pSrc[4],
                                                        int32_t srcStep, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize roiSize);
/**
 * Planes Y, Cb, Cr, K to planes C, M, Y, K: 255 minus each result of the inverse rule; K is
 * copied. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const pSrc[4], int32_t srcStep,
                                                      uint8_t* const pDst[4], int32_t dstStep,
                                                      zepiSize roiSize);
/**
 * Rows of Y0 Cb Y1 Cr to RGB by the inverse rule; both pixels of a pair share Cb and Cr. An odd width:
 * ::zepStatusBadSize. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* pSrc, int32_t srcStep,
                                                           uint8_t* pDst, int32_t dstStep,
                                                           zepiSize roiSize);
/**
 * Planes Y, Cb, Cr to RGBX by the inverse rule; `alpha` goes into every fourth byte. Null, steps, sizes are
 * checked in this order; on the calling thread.
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                        int32_t srcStep, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize roiSize,
                                                        uint8_t alpha);
/**
 * Planes Y, Cb, Cr to BGRX by the inverse rule; `alpha` goes into every fourth byte. Otherwise as
 * zepiYCbCrToRGB_JPEG_8u_P3C4R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                        int32_t srcStep, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize roiSize,
                                                        uint8_t alpha);

/**
 * Planes with chroma of half width and half height to RGB by the inverse rule.
 *
 * Pixel (x, y) takes chroma sample (x / 2, y / 2): no filter. Planes Cb and Cr have (width + 1) / 2 samples a
 * row and (height + 1) / 2 rows, so an odd last column or row has a sample of its own, and any size from 1 x 1
 * on is legal. `srcStep` holds a step for each plane.
 *
 * Checks: pointers (planes, `srcStep` and `pDst`), the steps, the size. On the calling thread.
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize);
/**
 * Planes with chroma of half width and half height to RGBX with `alpha` in every fourth byte, by
 * the inverse rule. Otherwise as zepiYCbCr411ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize,
                                                           uint8_t alpha);
/**
 * Planes with chroma of half width and half height to BGR, by the inverse rule. Otherwise as
 * zepiYCbCr411ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize);
/**
 * Planes with chroma of half width and half height to BGRX with `alpha` in every fourth byte, by
 * the inverse rule. Otherwise as zepiYCbCr411ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize,
                                                           uint8_t alpha);
/**
 * Planes with chroma of half width and full height to RGB by the inverse rule: pixel (x, y) takes
 * chroma sample (x / 2, y). Otherwise as zepiYCbCr411ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize);
/**
 * Planes with chroma of half width to RGBX with `alpha` in every fourth byte, by the inverse rule.
 * Otherwise as zepiYCbCr422ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize,
                                                           uint8_t alpha);
/**
 * Planes with chroma of half width to BGR, by the inverse rule. Otherwise as
 * zepiYCbCr422ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize);
/**
 * Planes with chroma of half width to BGRX with `alpha` in every fourth byte, by the inverse rule.
 * Otherwise as zepiYCbCr422ToRGB_JPEG_8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                           const int32_t srcStep[3], uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize,
                                                           uint8_t alpha);

/**
 * Planes Y, Cb, Cr to 16-bit pixels: of each result of the inverse rule the upper bits, red in bits 14 to 10,
 * green in 9 to 5, blue in 4 to 0; bit 15 is 0. Null, steps, sizes are checked in this order; on the calling
 * thread. Words may have any alignment.
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToRGB555_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3],
                                                              int32_t srcStep, uint16_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Planes Y, Cb, Cr to 16-bit pixels: red in bits 15 to 11, green in 10 to 5, blue in 4 to 0.
 * Otherwise as zepiYCbCrToRGB555_JPEG_8u16u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToRGB565_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3],
                                                              int32_t srcStep, uint16_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Planes Y, Cb, Cr to 16-bit pixels: blue in bits 14 to 10, green in 9 to 5, red in 4 to 0.
 * Otherwise as zepiYCbCrToRGB555_JPEG_8u16u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToBGR555_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3],
                                                              int32_t srcStep, uint16_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize);
/**
 * Planes Y, Cb, Cr to 16-bit pixels: blue in bits 15 to 11, green in 10 to 5, red in 4 to 0.
 * Otherwise as zepiYCbCrToRGB555_JPEG_8u16u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCrToBGR565_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3],
                                                              int32_t srcStep, uint16_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize);
/** @} */

/**
 * @defgroup sampling JPEG: sampling and level shift
 *
 * Halving and doubling of planes, and the shift between samples and signed values
 * (ITU-T T.81, A.3.1). **Checks**: each buffer's pointer and then its step (0 or less:
 * ::zepStatusBadStep), source first, then the sizes: ::zepStatusBadSize where a width or height is
 * below 1, or where the sizes do not fit: the larger width must be exactly twice the smaller one, and
 * the heights equal (H2V1) or in the same ratio (H2V2).
 *
 * How it works and where the time goes: [docs/color.md](../docs/color.md).
 * @{
 */

/** Half width: the mean of two neighbours, (a + b + 1) >> 1. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                          zepiSize srcSize, uint8_t* pDst,
                                                          int32_t dstStep, zepiSize dstSize);
/** Half width and height: the mean of a 2x2 group, (a + b + c + d + 2) >> 2. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                          zepiSize srcSize, uint8_t* pDst,
                                                          int32_t dstStep, zepiSize dstSize);
/**
 * Double width by the triangle filter: (3 near + far + 2) >> 2, the sample at an edge standing for
 * its missing neighbour.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                        zepiSize srcSize, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize dstSize);
/**
 * Double width and height by the triangle filter: weights 9, 3, 3, 1 (near in both directions, in
 * one, in none), (sum + 8) >> 4; samples at an edge repeat. Row-parallel.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                        zepiSize srcSize, uint8_t* pDst,
                                                        int32_t dstStep, zepiSize dstSize);
/**
 * Half a row: (srcWidth + 1) / 2 rounded means (a + b + 1) >> 1; the last sample of an odd row stands for its
 * missing neighbour. Checks: pointers, then ::zepStatusBadSize for a width below 1. The row functions run on
 * the calling thread; source and destination must not overlap.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* pSrc,
                                                                int32_t srcWidth, uint8_t* pDst);
/**
 * Two rows to one of half the width, the mean of 2x2 samples: (a + b + c + d + 2) >> 2. Otherwise
 * as zepiSampleDownRowH2V1_Box_JPEG_8u_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* pSrc1,
                                                                const uint8_t* pSrc2,
                                                                int32_t srcWidth, uint8_t* pDst);
/** A row of twice the width by the triangle filter, as in zepiSampleUpH2V1_JPEG_8u_C1R(). Checks as above. */
ZEP_API zepStatus ZEP_CALL zepiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* pSrc,
                                                                   int32_t srcWidth, uint8_t* pDst);
/**
 * A row of twice the width from the near row `pSrc1`, weighed 3/4, and the far row `pSrc2`, 1/4, as a row of
 * zepiSampleUpH2V2_JPEG_8u_C1R(). Checks as above.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* pSrc1,
                                                                   const uint8_t* pSrc2,
                                                                   int32_t srcWidth, uint8_t* pDst);
/** v + 128, saturated to 0..255. Checks: pSrc, srcStep, pDst, dstStep, roiSize. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiAdd128_JPEG_16s8u_C1R(const int16_t* pSrc, int32_t srcStep,
                                                     uint8_t* pDst, int32_t dstStep,
                                                     zepiSize roiSize);
/** v - 128. Checks: pSrc, srcStep, pDst, dstStep, roiSize. Row-parallel. */
ZEP_API zepStatus ZEP_CALL zepiSub128_JPEG_8u16s_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                     int16_t* pDst, int32_t dstStep,
                                                     zepiSize roiSize);
/** @} */

/**
 * @defgroup mcu JPEG: pixels to the blocks of an MCU and back
 *
 * What stands between pixels and the DCT, for one minimum coded unit at a time: colour conversion, reduction of
 * chroma and level shift in one pass. The MCU is 8x8 pixels (444), 16x8 (422) or 16x16 (411: 4:2:0).
 *
 * A block is 64 contiguous values, row by row; a component's blocks follow one another: 411 has four of Y, top
 * left, top right, bottom left, bottom right; 422 two, left, right; Cb and Cr have one. K of CMYK has as many as
 * Y. `pDstMCU` and `pSrcMCU` hold a pointer for each component; blocks may have any alignment.
 *
 * To blocks: the results of the conversion, clamped to 0..255, minus 128. To pixels: each value plus 128,
 * saturated to 0..255, is a sample; then chroma is replicated and converted by the inverse rule of @ref color.
 *
 * Checks: pointers and their components, then ::zepStatusBadStep for a step of 0 or less. Not checked: that a
 * step holds a row of pixels. On the calling thread; source and destination must not overlap.
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
/** 8x8 pixels RGB by the 15-bit rule, as zepiRGBToYCbCr_JPEG_8u_C3P3R() converts a row of eight pixels. */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * 8x8 pixels RGBX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/** 16x8 pixels RGB as in zepiRGBToYCbCr422_JPEG_8u_C3P3R(). */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * 16x8 pixels RGBX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/** 16x16 pixels RGB as in zepiRGBToYCbCr411_JPEG_8u_C3P3R(). */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * 16x16 pixels RGBX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * 8x8 pixels BGR to the blocks of an MCU. Otherwise as zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * 8x8 pixels BGRX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * 16x8 pixels BGR to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * 16x8 pixels BGRX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * 16x16 pixels BGR to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * 16x16 pixels BGRX to the blocks of an MCU. Otherwise as
 * zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R().
 */
ZEP_API zepStatus ZEP_CALL zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/** 8x8 pixels: 255 minus each ink by the 14-bit rule, as in zepiCMYKToYCCK_JPEG_8u_C4P4R(); K minus 128. */
ZEP_API zepStatus ZEP_CALL zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[4]);
/**
 * 16x8 pixels: Y and K as in zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R(), chroma from sums of 2x1 pixels by the
 * 14-bit rule.
 */
ZEP_API zepStatus ZEP_CALL zepiCMYKToYCCK422LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[4]);
/**
 * 16x16 pixels CMYK to the blocks of an MCU, chroma from sums of 2x2 pixels. Otherwise as
 * zepiCMYKToYCCK422LS_MCU_JPEG_8u16s_C4P4R().
 */
ZEP_API zepStatus ZEP_CALL zepiCMYKToYCCK411LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[4]);
/** 8x8 pixels without conversion: each channel minus 128. */
ZEP_API zepStatus ZEP_CALL zepiSampleDown444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/** 16x8 pixels without conversion: the first channel in full, of the others (a + b + 1) >> 1 of two neighbours. */
ZEP_API zepStatus ZEP_CALL zepiSampleDown422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/**
 * 16x16 pixels without conversion: the first channel in full, of the others (a + b + c + d + 2) >> 2 of 2x2
 * neighbours.
 */
ZEP_API zepStatus ZEP_CALL zepiSampleDown411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc,
                                                                    int32_t srcStep,
                                                                    int16_t* const pDstMCU[3]);
/** 16x8 pixels stored as Y0 Cb Y1 Cr: every byte minus 128 into its block. */
ZEP_API zepStatus ZEP_CALL zepiSplit422LS_MCU_JPEG_8u16s_C2P3R(const uint8_t* pSrc, int32_t srcStep,
                                                               int16_t* const pDstMCU[3]);

/** 8x8 pixels RGB. */
ZEP_API zepStatus ZEP_CALL zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * The blocks of an MCU to 8x8 pixels RGBX with `alpha` in every fourth byte. Otherwise as
 * zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/** 16x8 pixels RGB; two neighbours share their chroma. */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * The blocks of an MCU to 16x8 pixels RGBX with `alpha` in every fourth byte. Otherwise as
 * zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/** 16x16 pixels RGB; 2x2 neighbours share their chroma. */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * The blocks of an MCU to 16x16 pixels RGBX with `alpha` in every fourth byte. Otherwise as
 * zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/**
 * The blocks of an MCU to 8x8 pixels BGR. Otherwise as zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * The blocks of an MCU to 8x8 pixels BGRX with `alpha` in every fourth byte. Otherwise as
 * zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/**
 * The blocks of an MCU to 16x8 pixels BGR. Otherwise as
 * zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * The blocks of an MCU to 16x8 pixels BGRX with `alpha` in every fourth byte. Otherwise as
 * zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/**
 * The blocks of an MCU to 16x16 pixels BGR. Otherwise as
 * zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * The blocks of an MCU to 16x16 pixels BGRX with `alpha` in every fourth byte. Otherwise as
 * zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    uint8_t alpha);
/** 8x8 pixels CMYK: 255 minus each result of the inverse rule, then the sample of K. */
ZEP_API zepStatus ZEP_CALL zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * The blocks of an MCU to 16x8 pixels CMYK. Otherwise as
 * zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCCK422ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                                    uint8_t* pDst, int32_t dstStep);
/**
 * The blocks of an MCU to 16x16 pixels CMYK. Otherwise as
 * zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R().
 */
ZEP_API zepStatus ZEP_CALL zepiYCCK411ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                                    uint8_t* pDst, int32_t dstStep);
/** 8x8 pixels without conversion: the samples as channels. */
ZEP_API zepStatus ZEP_CALL zepiSampleUp444LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                  uint8_t* pDst, int32_t dstStep);
/** 16x8 pixels without conversion; two neighbours share the samples of the second and third channel. */
ZEP_API zepStatus ZEP_CALL zepiSampleUp422LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                  uint8_t* pDst, int32_t dstStep);
/** 16x16 pixels without conversion; 2x2 neighbours share the samples of the second and third channel. */
ZEP_API zepStatus ZEP_CALL zepiSampleUp411LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                                  uint8_t* pDst, int32_t dstStep);
/** 16x8 pixels stored as Y0 Cb Y1 Cr. */
ZEP_API zepStatus ZEP_CALL zepiJoin422LS_MCU_JPEG_16s8u_P3C2R(const int16_t* const pSrcMCU[3],
                                                              uint8_t* pDst, int32_t dstStep);
/** @} */

/**
 * @defgroup quantization JPEG: quantization
 *
 * A quantization table has two forms: the *raw table*, 64 steps of one byte in zigzag order as they
 * stand in a DQT segment (ITU-T T.81, B.2.4.1), and a *prepared table*, 64 unsigned 16-bit values in
 * natural (row-major) order. A *block* is 64 signed 16-bit coefficients in natural order, contiguous.
 *
 * How it works and where the time goes: [docs/dct.md](../docs/dct.md).
 * @{
 */

/**
 * Scales a raw table in place: scale = 5000 / quality below 50, else 200 - 2 * quality; each step
 * becomes (step * scale + 50) / 100, limited to 1..255. Quality 50 leaves the table as it is,
 * quality 100 and above gives all ones.
 *
 * Checks: pointer, then ::zepStatusBadArg for a quality below 1.
 */
ZEP_API zepStatus ZEP_CALL zepiQuantFwdRawTableInit_JPEG_8u(uint8_t* pQuantRawTable,
                                                            int32_t qualityFactor);
/**
 * Prepares the forward (encoder's) table: entry i is 32768 / step in single precision, rounded to the
 * nearest integer, halves to even. Checks: pointers.
 * @return ::zepStatusDivByZeroWarning where a step is 0: its entry is 65535, all others are good.
 */
ZEP_API zepStatus ZEP_CALL zepiQuantFwdTableInit_JPEG_8u16u(const uint8_t* pQuantRawTable,
                                                            uint16_t* pQuantFwdTable);
/** Prepares the inverse (decoder's) table: the steps, widened, in natural order. Checks: pointers. */
ZEP_API zepStatus ZEP_CALL zepiQuantInvTableInit_JPEG_8u16u(const uint8_t* pQuantRawTable,
                                                            uint16_t* pQuantInvTable);
/**
 * Quantizes a block in place, in 16-bit lanes that wrap:
 * x = (((x << 3) * (q >> 1) >> 16) + 1) >> 1. Magnitudes of 4096 and above wrap in the left shift.
 * Halves are resolved by the floor of the product, so negative values lean one unit further down than
 * positive ones lean up. Checks: pointers.
 */
ZEP_API zepStatus ZEP_CALL zepiQuantFwd8x8_JPEG_16s_C1I(int16_t* pSrcDst,
                                                        const uint16_t* pQuantFwdTable);
/** Dequantizes a block in place: the low 16 bits of x * q. Checks: pointers. */
ZEP_API zepStatus ZEP_CALL zepiQuantInv8x8_JPEG_16s_C1I(int16_t* pSrcDst,
                                                        const uint16_t* pQuantInvTable);
/** @} */

/**
 * @defgroup fdct JPEG: forward DCT with quantization
 *
 * The two-dimensional 8x8 DCT of ITU-T T.81, A.3.3, and the quantization of A.3.4 in one step, with
 * a table of zepiQuantFwdTableInit_JPEG_8u16u(). The transform is fixed-point (16-bit sums that
 * saturate, products of 16 bits, a final rounding in 32 bits) and lies within 1 of the exact one for
 * 8-bit input; its results are integers before they are quantized. Each coefficient c becomes p = q * c, scaled
 * by 2^-15 and rounded, ((p >> 1) + (((p & 1) + 16383 + ((p >> 15) & 1)) >> 1)) >> 14: halves to even; the
 * result saturates to 16 bits.
 *
 * **Checks** of the LS functions: `pSrc` and `pDst`, then `srcStep` below 1 (::zepStatusBadStep), then
 * the table; of the others: the pointers.
 *
 * How it works and where the time goes: [docs/dct.md](../docs/dct.md).
 * @{
 */

/**
 * Forward DCT and quantization of a block of signed (level-shifted) values; pDst may be pSrc. For values
 * beyond 8 bits and a sign the sums saturate, none wraps: a constant block of 256 to 32767 gives a DC of 2048.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* pSrc, int16_t* pDst,
                                                          const uint16_t* pQuantFwdTable);
/**
 * Forward DCT and quantization of a block in place. Otherwise as zepiDCTQuantFwd8x8_JPEG_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantFwd8x8_JPEG_16s_C1I(int16_t* pSrcDst,
                                                           const uint16_t* pQuantFwdTable);
/** 8 rows of 8 samples, `srcStep` bytes apart: minus 128, forward DCT, quantization. */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                               int16_t* pDst,
                                                               const uint16_t* pQuantFwdTable);
/**
 * 8 rows of 8 samples of 12 bits, `srcStep` bytes apart: minus 2048, forward DCT, quantization. A
 * sample is taken as signed 16 bits. Single precision throughout; times q / 32768, rounded once,
 * halves to even, saturated to 16 bits. Samples s of 8 bits give as 1920 + s what
 * zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R() gives, but with one rounding in place of two.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const uint16_t* pSrc,
                                                                int32_t srcStep, int16_t* pDst,
                                                                const uint16_t* pQuantFwdTable);
/** @} */

/**
 * @defgroup idct JPEG: inverse DCT with dequantization
 *
 * Dequantization (the low 16 bits of coefficient times step) with a table of
 * zepiQuantInvTableInit_JPEG_8u16u(), then the two-dimensional inverse DCT of ITU-T T.81, A.3.3,
 * accurate to the limits of IEEE 1180. The LS functions add 128, saturate to 0..255 and write rows
 * `dstStep` bytes apart, top to bottom (so rows may overlap where the step is short).
 *
 * **Checks** of the LS functions: `pSrc` and `pDst`, then `dstStep` below 1 (::zepStatusBadStep), then
 * the table; of the others: the pointers.
 *
 * How it works and where the time goes: [docs/dct.md](../docs/dct.md).
 * @{
 */

/** Dequantization and inverse DCT to 64 signed values, no level shift; pDst may be pSrc. */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* pSrc, int16_t* pDst,
                                                          const uint16_t* pQuantInvTable);
/**
 * Dequantization and inverse DCT of a block in place. Otherwise as
 * zepiDCTQuantInv8x8_JPEG_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8_JPEG_16s_C1I(int16_t* pSrcDst,
                                                           const uint16_t* pQuantInvTable);
/** Dequantization, inverse DCT, plus 128, saturated: 8x8 samples. */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const int16_t* pSrc, uint8_t* pDst,
                                                               int32_t dstStep,
                                                               const uint16_t* pQuantInvTable);
/** Dequantization and inverse DCT to 8x8 samples of 12 bits: plus 2048, saturated to 0..4095. */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const int16_t* pSrc, uint16_t* pDst,
                                                                int32_t dstStep,
                                                                const uint16_t* pQuantInvTable);
/**
 * 8x8 samples from the DC coefficient alone: all are the low 16 bits, taken as signed, of
 * (coefficient * step >> 3) + 128, saturated. The shift truncates.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const int16_t* pSrc,
                                                                   uint8_t* pDst, int32_t dstStep,
                                                                   const uint16_t* pQuantInvTable);
/** 8x8 samples from the 2x2 coefficients of lowest frequency; the others have no influence. */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const int16_t* pSrc,
                                                                   uint8_t* pDst, int32_t dstStep,
                                                                   const uint16_t* pQuantInvTable);
/** 8x8 samples from the 4x4 coefficients of lowest frequency; the others have no influence. */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const int16_t* pSrc,
                                                                   uint8_t* pDst, int32_t dstStep,
                                                                   const uint16_t* pQuantInvTable);
/**
 * The block at half scale: the 4-point inverse DCT of the 4x4 coefficients of lowest frequency,
 * f = 1/4 sum C(u) C(v) F(u,v) cos((2x+1) u pi / 8) cos((2y+1) v pi / 8), to 4 rows of 4 samples.
 */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const int16_t* pSrc,
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    const uint16_t* pQuantInvTable);
/** The block at quarter scale: the 2-point inverse DCT, likewise, to 2 rows of 2 samples. */
ZEP_API zepStatus ZEP_CALL zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const int16_t* pSrc,
                                                                    uint8_t* pDst, int32_t dstStep,
                                                                    const uint16_t* pQuantInvTable);
/** @} */

/**
 * @defgroup hufftables JPEG: Huffman tables
 *
 * Tables for the coders, made from the lists of a DHT segment (ITU-T T.81, B.2.4.2 and annex C):
 * `pListBits`, the number of codes of each length 1..16, and `pListVals`, the symbols in the order of
 * their codes, as many as the counts say. Either the caller provides the record, or `...InitAlloc`
 * allocates it and `...Free` releases it. The records hold no addresses and may be copied.
 * Checks: pointers.
 *
 * How it works and where the time goes: [docs/huffman.md](../docs/huffman.md).
 * @{
 */

/** Encoder's table: entry = (code length << 16) | code for each symbol, 0 where it has no code. */
typedef struct zepiEncodeHuffmanSpec {
  uint32_t entry[256]; /**< By symbol. */
} zepiEncodeHuffmanSpec;

/** Decoder's table. Index l of the three length arrays stands for codes of length l. */
typedef struct zepiDecodeHuffmanSpec {
  uint16_t symbol[256];    /**< Symbols in the order of their codes. */
  uint32_t fast[256];      /**< By the next 8 bits: (length << 16) | symbol, or 0. */
  uint16_t firstCode[18];  /**< Smallest code of a length. */
  uint16_t lastCode[18];   /**< Largest code of a length, 65535 where there is none. */
  uint16_t firstIndex[18]; /**< Index in `symbol` of the smallest code of a length. */
} zepiDecodeHuffmanSpec;

/** Stores 1024, the size of ::zepiEncodeHuffmanSpec. */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanSpecGetBufSize_JPEG_8u(int32_t* pSize);
/**
 * Builds an encoder's table. A symbol that is listed twice keeps its last code; no codes at all are
 * allowed.
 * @return ::zepStatusBadHuffTable for more than 256 codes, and where the codes of a length do not fit
 *   into it, the all-ones code included; the record is then partly filled.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* pListBits,
                                                             const uint8_t* pListVals,
                                                             zepiEncodeHuffmanSpec* pEncHuffSpec);
/**
 * Allocates and builds an encoder's table. The record is returned, and must be freed, also where the
 * status is ::zepStatusBadHuffTable. A failed allocation: ::zepStatusNullPtr.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(
    const uint8_t* pListBits, const uint8_t* pListVals, zepiEncodeHuffmanSpec** ppEncHuffSpec);
/** Releases a table of zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(). */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanSpecFree_JPEG_8u(zepiEncodeHuffmanSpec* pEncHuffSpec);
/** Stores 1644, the size of ::zepiDecodeHuffmanSpec. */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanSpecGetBufSize_JPEG_8u(int32_t* pSize);
/**
 * Builds a decoder's table. Lists with too many codes for a length pass unless the first entry of a
 * code in the table of 8-bit prefixes would lie beyond its end ({3} passes, {4} does not).
 * @return ::zepStatusBadHuffTable for that and for more than 256 codes.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* pListBits,
                                                             const uint8_t* pListVals,
                                                             zepiDecodeHuffmanSpec* pDecHuffSpec);
/** Allocates and builds a decoder's table. Otherwise as zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(). */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(
    const uint8_t* pListBits, const uint8_t* pListVals, zepiDecodeHuffmanSpec** ppDecHuffSpec);
/** Releases a table of zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(). */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanSpecFree_JPEG_8u(zepiDecodeHuffmanSpec* pDecHuffSpec);
/** @} */

/**
 * @defgroup huffman JPEG: Huffman coding of blocks
 *
 * Baseline entropy coding (ITU-T T.81, annex F.1.2 and F.2.2) of one block at a time into or out of
 * the caller's byte buffer. The buffer's length and the position in it are counted in bytes; the
 * coder advances the position, which always stays within the buffer. Bits that do not fill a byte are
 * kept in a state record of one stream. A zero byte is stuffed after each FF and removed again.
 *
 * How it works and where the time goes: [docs/huffman.md](../docs/huffman.md).
 * @{
 */

/** Encoder's state of one stream; only its size is of interest to callers. */
typedef struct zepiEncodeHuffmanState {
  uint32_t bits;                /**< Pending bits, the next one at bit 23. */
  uint32_t reserved;            /**< 0. */
  int32_t numBits;              /**< Number of pending bits, 0..7 between calls. */
  uint32_t eobRun;              /**< For progressive scans: blocks in the end-of-band run. */
  uint32_t numCorrectionBits;   /**< For progressive scans: pending correction bits. */
  uint8_t correctionBits[1024]; /**< For progressive scans. */
  uint32_t spare;               /**< 0. */
} zepiEncodeHuffmanState;

/** Decoder's state of one stream; only its size is of interest to callers. */
typedef struct zepiDecodeHuffmanState {
  uint32_t bits;      /**< Bits read ahead, the newest byte lowest. */
  uint32_t reserved;  /**< 0. */
  int32_t numBits;    /**< Number of bits read ahead that are still to be used. */
  uint32_t eobRun;    /**< For progressive scans. */
  uint32_t reserved2; /**< 0. */
  uint32_t spare;     /**< Left as it is by Init. */
} zepiDecodeHuffmanState;

/** Stores 1048, the size of ::zepiEncodeHuffmanState. */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanStateGetBufSize_JPEG_8u(int32_t* pSize);
/** Starts a stream: no pending bits. */
ZEP_API zepStatus ZEP_CALL
zepiEncodeHuffmanStateInit_JPEG_8u(zepiEncodeHuffmanState* pEncHuffState);
/** Allocates a state and starts a stream. A failed allocation: ::zepStatusNullPtr. */
ZEP_API zepStatus ZEP_CALL
zepiEncodeHuffmanStateInitAlloc_JPEG_8u(zepiEncodeHuffmanState** ppEncHuffState);
/** Releases a state of zepiEncodeHuffmanStateInitAlloc_JPEG_8u(). */
ZEP_API zepStatus ZEP_CALL
zepiEncodeHuffmanStateFree_JPEG_8u(zepiEncodeHuffmanState* pEncHuffState);
/** Stores 24, the size of ::zepiDecodeHuffmanState. */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanStateGetBufSize_JPEG_8u(int32_t* pSize);
/** Starts a stream or a restart interval: nothing read ahead. Zeroes the first 20 bytes. */
ZEP_API zepStatus ZEP_CALL
zepiDecodeHuffmanStateInit_JPEG_8u(zepiDecodeHuffmanState* pDecHuffState);
/** Allocates a state and starts a stream. A failed allocation: ::zepStatusNullPtr. */
ZEP_API zepStatus ZEP_CALL
zepiDecodeHuffmanStateInitAlloc_JPEG_8u(zepiDecodeHuffmanState** ppDecHuffState);
/** Releases a state of zepiDecodeHuffmanStateInitAlloc_JPEG_8u(). */
ZEP_API zepStatus ZEP_CALL
zepiDecodeHuffmanStateFree_JPEG_8u(zepiDecodeHuffmanState* pDecHuffState);

/**
 * Encodes one block, or flushes.
 *
 * With a non-zero `bFlushState` the last byte is padded with ones and written, and the state starts
 * anew, also where the write failed; `pSrc`, `pLastDC` and the tables are not looked at.
 *
 * A block is DC difference to `*pLastDC` (which becomes this block's DC), then runs and values of AC
 * coefficients in zigzag order. Nothing beyond the last byte counted by `*pDstCurrPos` is touched.
 *
 * Checks: `pDst`, `dstLenBytes` below 1 (::zepStatusBadSize), `pDstCurrPos`, the state; then, unless
 * flushing, `pSrc`, `pLastDC`, `pDcTable`, `pAcTable`.
 * @return ::zepStatusBufferExhausted: no room; the block is lost, although what was stored is counted
 *   in `*pDstCurrPos`. Enlarge the buffer and start again from a position and state saved before.
 *   ::zepStatusBadHuffTable: a symbol without a code, or an AC coefficient of -32768.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int16_t* pLastDC,
    const zepiEncodeHuffmanSpec* pDcTable, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);

/**
 * Decodes one block to 64 coefficients in natural order.
 *
 * `*pMarker` must be 0 at the start of an interval; it becomes the second byte of the marker that
 * stopped reading (0xD9 for EOI), with the position after it. Bits that were read before a marker are
 * used up first. Up to 32 bits are read ahead into the state.
 *
 * Checks: `pSrc`, `srcLenBytes` negative (::zepStatusBadArg), `pSrcCurrPos`, `pDst`, `pLastDC`,
 * `pMarker`, `pDcTable`, `pAcTable`, the state.
 * @return ::zepStatusBufferExhausted: the source ended before the bits that the block needs;
 *   ::zepStatusBadHuffCode: no such code, a run past the last coefficient, or bits needed after a
 *   marker. On both `*pLastDC` keeps its value and `pDst` holds what was decoded before; nothing but
 *   its 64 values is written.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int16_t* pLastDC,
    int32_t* pMarker, const zepiDecodeHuffmanSpec* pDcTable, const zepiDecodeHuffmanSpec* pAcTable,
    zepiDecodeHuffmanState* pDecHuffState);

/**
 * Encodes one block without a state between calls: `*pDstBitPos` counts bits from the start of the buffer, stuffed
 * zero bytes included, the first bit of a byte highest. The bits after the position, in the byte that holds it,
 * are replaced; those after the block in its last byte become 0. To end a scan, fill them with ones.
 *
 * @code
 * int bits = 0;
 * for (int i = 0; i < blocks; ++i)
 *   zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(block[i], buffer, size, &bits, &lastDC, dcTable, acTable);
 * @endcode
 *
 * Checks: all pointers in their order, `dstLenBytes` below 1 or above 2^28 - 1 (::zepStatusBadSize).
 * @return As zepiEncodeHuffman8x8_JPEG_16s1u_C1(); ::zepStatusBufferExhausted also for a position outside the
 *   buffer. After a failure `*pDstBitPos` and `*pLastDC` keep their values; bytes after the position may have
 *   changed.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstBitPos, int16_t* pLastDC,
    const zepiEncodeHuffmanSpec* pDcTable, const zepiEncodeHuffmanSpec* pAcTable);

/**
 * Decodes one block without a state between calls, from a position as in
 * zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(): it moves to the bit after the block, and past the zero byte
 * where one follows FF. FF fill bytes belong to the byte of data, or the marker, that follows them.
 *
 * Nothing is read ahead as far as a caller can see: a marker is found, and its code stored in `*pMarker`, only where
 * the block needs bits after it; the position then is that of the FF before its code. `*pMarker` must be 0.
 *
 * Checks: all pointers in their order, `srcLenBytes` negative (::zepStatusBadArg) or above 2^28 - 1
 * (::zepStatusBadSize).
 * @return ::zepStatusBufferExhausted: the source ended before the bits that the block needs, or the position lies
 *   outside. ::zepStatusBadHuffCode: no such code, a run past the last coefficient, bits needed after a marker, or
 *   `*pMarker` was not 0 (then nothing is read). `*pLastDC` keeps its value then, and so does the position but for
 *   a marker; `pDst` holds what was decoded before.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcBitPos, int16_t* pDst, int16_t* pLastDC,
    int32_t* pMarker, const zepiDecodeHuffmanSpec* pDcTable, const zepiDecodeHuffmanSpec* pAcTable);
/** @} */

/**
 * @defgroup progressive JPEG: progressive scans, statistics, optimal tables
 *
 * The scans of progressive JPEG (ITU-T T.81, annex G): first scans code what is left of coefficients above bit
 * `Al`, refinement scans the bit `Al` of each. DC is divided by 2^Al rounding down, AC coefficients towards 0. A
 * band is the zigzag indexes `Ss` to `Se`. Buffer, position and state are those of
 * zepiEncodeHuffman8x8_JPEG_16s1u_C1(); the state also keeps the run of blocks whose bands have ended
 * (`eobRun`), which is written when another symbol follows, when it is 32767 long, or when more than 961
 * correction bits wait in it. A scan ends with a flush.
 *
 * A non-zero `bFlushState` only flushes, and looks at nothing but buffer and state (and, where a run is pending,
 * `pAcTable`: null then gives ::zepStatusNullPtr and changes nothing): the pending run, ones up to the next byte,
 * reset. The DC functions drop a run.
 *
 * Checks: `pDst`, `dstLenBytes` below 1 (::zepStatusBadSize), `pDstCurrPos`, the state; unless it flushes the
 * other pointers, then the limits 0 <= Al <= 13, 1 <= Ss <= Se <= 63 (::zepStatusBadArg). After a failure the
 * block is lost, and the state cannot go on.
 *
 * Statistics count the symbols that the encoder of the same name would write, into 256 counts; a table for them
 * comes from zepiEncodeHuffmanRawTableInit_JPEG_8u(). Checks: pointers, then limits
 * (::zepStatusOutOfRange). A count that would leave int32: ::zepStatusOutOfRange; an AC coefficient that has no
 * symbol (-32768, not shifted): ::zepStatusBadHuffTable; then the block changes nothing.
 *
 * @code
 * int dc[256] = {0}, ac[256] = {0};
 * for (int i = 0; i < blocks; ++i) zepiGetHuffmanStatistics8x8_JPEG_16s_C1(block[i], dc, ac, &lastDC);
 * uint8_t bits[16], vals[256];
 * zepiEncodeHuffmanRawTableInit_JPEG_8u(ac, bits, vals);  // then zepiEncodeHuffmanSpecInit_JPEG_8u()
 * @endcode
 *
 * How it works and where the time goes: [docs/huffman.md](../docs/huffman.md).
 * @{
 */
/** The first DC scan: the category and extra bits of the difference to `*pLastDC`, both divided by 2^Al. */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int16_t* pLastDC,
    int32_t Al, const zepiEncodeHuffmanSpec* pDcTable, zepiEncodeHuffmanState* pEncHuffState,
    int32_t bFlushState);
/** A DC refinement: bit Al of the coefficient as it is. */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int32_t Al,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);
/** The first scan of a band. */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int32_t Ss,
    int32_t Se, int32_t Al, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);
/** A refinement of a band: coefficients that become nonzero as symbols, a correction bit for each that was. */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int32_t Ss,
    int32_t Se, int32_t Al, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);

/**
 * Decodes a block of the first DC scan: `*pLastDC` + the difference becomes `*pLastDC`, and times 2^Al the
 * coefficient `pDst[0]`, its low 16 bits; the others stay.
 *
 * For the four decoders buffer, position, marker, state and the two errors are those of
 * zepiDecodeHuffman8x8_JPEG_1u16s_C1(); the state also keeps how many blocks of a run of ended bands are left. Blocks
 * are in natural order and are changed, not cleared: start with zeros, and keep them from scan to scan. On an
 * error `pDst` holds what was decoded before; nothing outside the band is ever written.
 *
 * Checks: `pSrc`, `srcLenBytes` negative (::zepStatusBadArg), `pSrcCurrPos`, `pDst`, then the other pointers in
 * their order, the limits of Al, Ss and Se (::zepStatusBadArg).
 *
 * @code
 * // A refinement of the whole band by bit Al, block after block.
 * zepiDecodeHuffmanStateInit_JPEG_8u(state);
 * for (int i = 0, marker = 0, at = scanStart; i < blocks; ++i)
 *   zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(file, fileSize, &at, block[i], &marker, 1, 63, Al, table, state);
 * @endcode
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int16_t* pLastDC,
    int32_t* pMarker, int32_t Al, const zepiDecodeHuffmanSpec* pDcTable,
    zepiDecodeHuffmanState* pDecHuffState);
/** Decodes a block of a DC refinement: one bit, which sets bit Al of `pDst[0]` where it is 1. */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int32_t* pMarker,
    int32_t Al, zepiDecodeHuffmanState* pDecHuffState);
/**
 * Decodes a block of the first scan of a band: writes its coefficients, times 2^Al, where one is coded.
 * @return ::zepStatusBadHuffCode also for a run past `Se`.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int32_t* pMarker,
    int32_t Ss, int32_t Se, int32_t Al, const zepiDecodeHuffmanSpec* pAcTable,
    zepiDecodeHuffmanState* pDecHuffState);
/**
 * Decodes a block of a refinement of a band: sets bit Al of coefficients that are not 0, and makes others 2^Al or
 * -2^Al.
 * @return ::zepStatusBadHuffCode also for a run of more zeros than the band has left, and for a symbol of a
 *   coefficient above 1.
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
/** Counts the symbol of a block of a first DC scan. */
ZEP_API zepStatus ZEP_CALL zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(
    const int16_t* pSrc, int32_t pDcStatistics[256], int16_t* pLastDC, int32_t Al);
/**
 * Counts the symbols of a block of the first scan of a band. The run of ended bands is kept in a state of its own;
 * a flush counts it and resets the state, and needs only `pAcStatistics` and the state.
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
/** Counts the category of a difference of lossless JPEG. */
ZEP_API zepStatus ZEP_CALL zepiGetHuffmanStatisticsOne_JPEG_16s_C1(const int16_t* pSrc,
                                                                   int32_t pStatistics[256]);
/**
 * The lists of a DHT segment for counted symbols: the cheapest codes of at most 16 bits, none of them all ones, so
 * that zepiEncodeHuffmanSpecInit_JPEG_8u() takes them. Without any count: a code of one bit for symbol 0. Of
 * equal counts the lower symbol gets no longer code; within a length symbols ascend; `pListVals` is 0 after
 * the last. Checks: pointers.
 * @return ::zepStatusError for a negative count.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanRawTableInit_JPEG_8u(const int32_t pStatistics[256],
                                                                 uint8_t pListBits[16],
                                                                 uint8_t pListVals[256]);
/** @} */

/**
 * @defgroup lossless Lossless JPEG: prediction and coding of differences
 *
 * Rows of samples to differences and back (ITU-T T.81, H.1.2.1), modulo 65536. A row has `width` samples of 16
 * bits at any alignment; `pDst` may be `pSrc`, otherwise rows must not overlap. Samples are the point-transformed
 * ones; no function shifts them.
 *
 * With x the row and b the row above, sample 0 is always predicted by b[0]; sample i > 0 by
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
 * 5 and 7 take samples as 0..65535; 6 takes them as signed 16-bit values before it halves, which departs from
 * other codecs where 16-bit samples have their top bit set: a codec should refuse 6 at 16 bits.
 *
 * Checks: pointers, then ::zepStatusBadSize for a width below 1, then ::zepStatusBadArg for a predictor outside
 * 1..7, `P` outside 2..16 or `Pt` below 0.
 *
 * How it works and where the time goes: [docs/lossless.md](../docs/lossless.md).
 * @{
 */
/**
 * The first row of a scan or restart interval: sample 0 is predicted by 2^(P - Pt - 1), or by 0 where `Pt` is
 * `P` or more, the others by their left neighbours.
 */
ZEP_API zepStatus ZEP_CALL zepiDiffPredFirstRow_JPEG_16s_C1(const int16_t* pSrc, int16_t* pDst,
                                                            int32_t width, int32_t P, int32_t Pt);
/** The differences of a later row from what `predictor` makes of it and the row above. */
ZEP_API zepStatus ZEP_CALL zepiDiffPredRow_JPEG_16s_C1(const int16_t* pSrc, const int16_t* pPrevRow,
                                                       int16_t* pDst, int32_t width,
                                                       int32_t predictor);
/**
 * The samples of a first row from its differences: the reverse of
 * zepiDiffPredFirstRow_JPEG_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* pSrc,
                                                                   int16_t* pDst, int32_t width,
                                                                   int32_t P, int32_t Pt);
/**
 * The samples of a later row from its differences and the row above: the reverse of
 * zepiDiffPredRow_JPEG_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiReconstructPredRow_JPEG_16s_C1(const int16_t* pSrc,
                                                              const int16_t* pPrevRow,
                                                              int16_t* pDst, int32_t width,
                                                              int32_t predictor);

/**
 * Encodes one difference (ITU-T T.81, H.1.2.2), or flushes: the code of its category, 0 to 16, then as many
 * extra bits; the difference 32768 (as -32768) is the code of category 16 alone.
 *
 * Buffer, position, state and flush as in zepiEncodeHuffman8x8_JPEG_16s1u_C1(). Checks: `pDst`, `dstLenBytes`
 * below 1 (::zepStatusBadSize), `pDstCurrPos`, the state; then, unless it flushes, `pSrc` and `pTable`.
 * @return ::zepStatusBufferExhausted: no room; ::zepStatusBadHuffTable: the category has no code.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* pSrc, uint8_t* pDst,
                                                              int32_t dstLenBytes,
                                                              int32_t* pDstCurrPos,
                                                              const zepiEncodeHuffmanSpec* pTable,
                                                              zepiEncodeHuffmanState* pEncHuffState,
                                                              int32_t bFlushState);
/**
 * Decodes one difference. Buffer, position, marker and state as in zepiDecodeHuffman8x8_JPEG_1u16s_C1().
 *
 * Checks: `pSrc`, `srcLenBytes` negative (::zepStatusBadArg), the other pointers.
 * @return ::zepStatusBufferExhausted: the source ended too early; ::zepStatusBadHuffCode: no such code, a
 *   category above 16, or bits needed after a marker. On both `*pDst` keeps its value.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanOne_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int32_t* pMarker,
    const zepiDecodeHuffmanSpec* pTable, zepiDecodeHuffmanState* pDecHuffState);
/**
 * Encodes rows of differences of 1 to 4 interleaved components, sampling factors of 1: of each column one
 * difference of each component in turn, coded as by zepiEncodeHuffmanOne_JPEG_16s1u_C1(); or flushes, and then
 * looks at nothing but the buffer and the state.
 *
 * Checks: `pDst`, `dstLenBytes`, `pDstCurrPos`, the state; then, unless it flushes, `pSrc` and `pTable`,
 * `width` below 1 or `nComponents` outside 1..4 (::zepStatusBadSize), their first `nComponents` pointers.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(
    const int16_t* const pSrc[4], uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos,
    int32_t width, int32_t nComponents, const zepiEncodeHuffmanSpec* const pTable[4],
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState);
/**
 * Decodes what zepiEncodeHuffmanRow_JPEG_16s1u_P4C1() encodes. On an error the samples before it are valid.
 *
 * Checks: `pSrc`, `srcLenBytes` negative (::zepStatusBadArg), the other pointers, `width` below 1 or
 * `nComponents` outside 1..4 (::zepStatusBadSize), the first `nComponents` pointers of `pDst` and `pTable`.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* const pDst[4],
    int32_t width, int32_t nComponents, int32_t* pMarker,
    const zepiDecodeHuffmanSpec* const pTable[4], zepiDecodeHuffmanState* pDecHuffState);
/** @} */

/**
 * @defgroup components JPEG 2000: component transforms
 *
 * What ITU-T T.800, Annex G, does with the first three components of a tile: the reversible transform
 * (RCT, beside the 5/3 wavelet) and the irreversible one (ICT, beside the 9/7 wavelet). Component 0 is R or
 * Y, 1 is G, U or Cb, 2 is B, V or Cr. `P3IR` works in place on three planes that share a step, `C3P3R`
 * turns interleaved pixels into planes, `P3C3R` planes into pixels. >> is an arithmetic shift.
 *
 * **Checks**, in this order: each pointer, of an array of planes the array and then each plane:
 * ::zepStatusNullPtr; steps: ::zepStatusBadStep; roiSize: ::zepStatusBadSize. Samples are as the wavelets take
 * them: after the level shift, of any range that the formulas leave inside the element type. Elements of
 * 32 bits may have any alignment, too. Everything runs on the calling thread.
 *
 * @code
 * int32_t* planes[3] = {red, green, blue};
 * zepiRCTFwd_JPEG2K_32s_P3IR(planes, 4 * width, size);  // red, green, blue hold Y, U, V
 * zepiRCTInv_JPEG2K_32s_P3IR(planes, 4 * width, size);  // and R, G, B again
 * @endcode
 *
 * How it works and where the time goes: [docs/component-transforms.md](../docs/component-transforms.md).
 * @{
 */

/**
 * Reversible, in place: Y = (R + 2G + B) >> 2, U = B - G, V = R - G. Sums do not wrap; of U and V the low
 * 16 bits remain, which zepiRCTInv_JPEG2K_16s_P3IR() only undoes where they were the whole.
 */
ZEP_API zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Inverse reversible, in place: G = Y - ((U + V) >> 2), R = V + G, B = U + G; the low 16 bits of each. */
ZEP_API zepStatus ZEP_CALL zepiRCTInv_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Reversible transform of pixels to planes. Otherwise as zepiRCTFwd_JPEG2K_16s_P3IR(). */
ZEP_API zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_16s_C3P3R(const int16_t* pSrc, int32_t srcStep,
                                                       int16_t* const pDst[3], int32_t dstStep,
                                                       zepiSize roiSize);
/** Inverse reversible transform of planes to pixels. Otherwise as zepiRCTInv_JPEG2K_16s_P3IR(). */
ZEP_API zepStatus ZEP_CALL zepiRCTInv_JPEG2K_16s_P3C3R(const int16_t* const pSrc[3],
                                                       int32_t srcStep, int16_t* pDst,
                                                       int32_t dstStep, zepiSize roiSize);
/**
 * Reversible, in place, for 32-bit elements; sums and results wrap at 32 bits. Otherwise as
 * zepiRCTFwd_JPEG2K_16s_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Inverse reversible, in place, for 32-bit elements; sums and results wrap at 32 bits. Otherwise
 * as zepiRCTInv_JPEG2K_16s_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiRCTInv_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Reversible transform of pixels of 32-bit elements to planes. Otherwise as
 * zepiRCTFwd_JPEG2K_32s_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_32s_C3P3R(const int32_t* pSrc, int32_t srcStep,
                                                       int32_t* const pDst[3], int32_t dstStep,
                                                       zepiSize roiSize);
/**
 * Inverse reversible transform of planes of 32-bit elements to pixels. Otherwise as
 * zepiRCTInv_JPEG2K_32s_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiRCTInv_JPEG2K_32s_P3C3R(const int32_t* const pSrc[3],
                                                       int32_t srcStep, int32_t* pDst,
                                                       int32_t dstStep, zepiSize roiSize);
/**
 * Irreversible, in place, by colour differences: S = 4899R + 9617G + 1868B; Y = (S + 8192) >> 14. Db is
 * the low 16 bits, as a signed value, of (16384B - S + 8192) >> 14, Dr the same with R in B's place;
 * Cb = (9246Db + 8192) >> 14, Cr = (11686Dr + 8192) >> 14. The standard's matrix (G-1) to 14 bits.
 */
ZEP_API zepStatus ZEP_CALL zepiICTFwd_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Inverse irreversible, in place, as zepiICTInv_JPEG2K_32s_P3IR() computes it, saturated to 16 bits. */
ZEP_API zepStatus ZEP_CALL zepiICTInv_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Irreversible, in place, with 14 fractional bits: Y = (4899R + 9617G + 1868B + 8192) >> 14,
 * Cb = (-2765R - 5427G + 8192B + 8192) >> 14, Cr = (8192R - 6860G - 1332B + 8192) >> 14. Sums are exact;
 * of a result the low 32 bits remain.
 */
ZEP_API zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Inverse irreversible, in place: R = Y + ((22970Cr + 8192) >> 14), G = Y + ((-11700Cr - 5638Cb + 8192) >> 14),
 * B = Y + ((29032Cb + 8192) >> 14); the low 32 bits of each.
 */
ZEP_API zepStatus ZEP_CALL zepiICTInv_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Irreversible, in place: Y = 0.299R + 0.587G + 0.114B, Cb = -0.16875R - 0.33126G + 0.5B,
 * Cr = 0.5R - 0.41869G - 0.08131B. Each product and each sum, from left to right, is rounded once. Which
 * results are NaN is the same on all processors, their sign and payload are not.
 */
ZEP_API zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32f_P3IR(float* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Inverse irreversible, in place: R = Y + 1.402Cr, G = Y - 0.34413Cb - 0.71414Cr, B = Y + 1.772Cb; each
 * product and each sum, from left to right, is rounded once.
 */
ZEP_API zepStatus ZEP_CALL zepiICTInv_JPEG2K_32f_P3IR(float* const pSrcDst[3], int32_t srcDstStep,
                                                      zepiSize roiSize);
/**
 * Irreversible transform of pixels of floats to planes. Otherwise as zepiICTFwd_JPEG2K_32f_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32f_C3P3R(const float* pSrc, int32_t srcStep,
                                                       float* const pDst[3], int32_t dstStep,
                                                       zepiSize roiSize);
/**
 * Inverse irreversible transform of planes of floats to pixels. Otherwise as
 * zepiICTInv_JPEG2K_32f_P3IR().
 */
ZEP_API zepStatus ZEP_CALL zepiICTInv_JPEG2K_32f_P3C3R(const float* const pSrc[3], int32_t srcStep,
                                                       float* pDst, int32_t dstStep,
                                                       zepiSize roiSize);
/** @} */

/**
 * @defgroup wavelet53 JPEG 2000: 5/3 wavelet
 *
 * The reversible transform (ITU-T T.800, F.3 and F.4) of `16s` and `32s` samples: whole tiles, one
 * direction of a region, or the columns of a picture that arrives row by row. With x the samples of a line
 * (a row or a column), L and H its low and high coefficients, and >> rounding downwards:
 *
 *     forward   H = x[odd] - ((x[left even] + x[right even]) >> 1)
 *               L = x[even] + ((H[left] + H[right] + 2) >> 2)
 *     inverse   x[even] = L - ((H[left] + H[right] + 2) >> 2)
 *               x[odd] = H + ((x[left even] + x[right even]) >> 1)
 *
 * Every sum wraps at the width of the element. The inverse undoes the forward transform exactly, even where
 * sums wrap (except doubled single samples, below); 16 bits hold the true coefficients of samples of up to
 * 13 bits.
 *
 * **Passes** (`FwdRow`, `InvRow`, `FwdCol`, `InvCol`) work on pairs and extend nothing: the caller fills the
 * neighbourhood of the region, with real neighbours or with the line mirrored about its ends (x[-i] = x[i]).
 * Phase 0: the first position is even, and low; any other phase: it is odd, and high. With n pairs (the
 * width of the region, or its height) what is read of each line is exactly:
 *
 * | | phase 0 | other phases |
 * |---|---|---|
 * | forward | x[-2] to x[2n] | x[-1] to x[2n+1] |
 * | inverse | L[0] to L[n], H[-1] to H[n] | L[-1] to L[n-1], H[-1] to H[n] |
 *
 * Source and destination do not overlap. *Checks*: the three pointers, the three steps, width and height.
 *
 * **Row by row** (`FwdColLift`, `InvColLift`): one call for each pair of rows. Column i of the outputs depends
 * on column i of the inputs alone, and an output may be the same row as an input. *Checks*: the pointers,
 * the width.
 *
 * **Whole tiles** (`Fwd`, `Inv`): the tile's origin x, y counts by its parity (x & 1, also of negative
 * values): a line that starts at an odd position starts with a high coefficient. Lines are mirrored about
 * their ends. A line of two samples is H = x[odd] - x[even], L = x[even] + ((H + 1) >> 1); a single sample
 * is left as it is at an even position, doubled at an odd one (halved, towards zero, by the inverse).
 *
 * - In place (`C1IR`) a line of n samples ends as its low coefficients, followed by its high ones:
 *   ceil(n / 2) are low at an even origin, floor(n / 2) at an odd one. A tile with a width or height below
 *   1 is left alone. *Checks*: pSrcDst, its step, pTileRect, pBuffer.
 * - With planes (`C1R`), of which every one has its own step: [0] low in both directions, [1] low
 *   horizontally and high vertically (LH), [2] high horizontally and low vertically (HL), [3] high in both.
 *   They are cut from the quadrants in place at (width + 1) >> 1 and (height + 1) >> 1 **whatever the
 *   parity**: with an odd origin and an odd length the first high coefficient is the last of the low plane.
 *   An empty plane still needs a pointer and a step, nothing is written through it. The tile is copied, or
 *   built, outside the source, so that it is left as it is. *Checks*: every pointer argument in order, the
 *   single step, the four planes, their four steps, width and height.
 *
 * pBuffer is work memory of any alignment, its size is what `GetBufSize` says; it must not be null, even where
 * that is 0. `GetBufSize` *checks* its pointers, and gives ::zepStatusBadSize for what int32 does not hold.
 *
 * A null pointer is ::zepStatusNullPtr, a step below 1 ::zepStatusBadStep, a size below 1
 * ::zepStatusBadSize. **Not checked**: that steps hold their rows. Everything runs on the calling thread.
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

/** Forward pass along rows: 2 x width samples of each row to width low and width high coefficients. */
ZEP_API zepStatus ZEP_CALL zepiWTFwdRow_B53_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                           int16_t* pDstLow, int32_t dstLowStep,
                                                           int16_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Forward pass along rows of 32-bit elements: 2 x width samples of each row to width low and width
 * high coefficients.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdRow_B53_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                           int32_t* pDstLow, int32_t dstLowStep,
                                                           int32_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/** Inverse pass along rows: width low and width high coefficients of each row to 2 x width samples. */
ZEP_API zepStatus ZEP_CALL zepiWTInvRow_B53_JPEG2K_16s_C1R(
    const int16_t* pSrcLow, int32_t srcLowStep, const int16_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int16_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Inverse pass along rows of 32-bit elements: width low and width high coefficients of each row to
 * 2 x width samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvRow_B53_JPEG2K_32s_C1R(
    const int32_t* pSrcLow, int32_t srcLowStep, const int32_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int32_t* pDst, int32_t dstStep, int32_t phase);
/** Forward pass along columns: 2 x height source rows to height low and height high rows. */
ZEP_API zepStatus ZEP_CALL zepiWTFwdCol_B53_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                           int16_t* pDstLow, int32_t dstLowStep,
                                                           int16_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Forward pass along columns of 32-bit elements: 2 x height source rows to height low and height
 * high rows.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdCol_B53_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                           int32_t* pDstLow, int32_t dstLowStep,
                                                           int32_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/** Inverse pass along columns: height low and height high rows to 2 x height rows of samples. */
ZEP_API zepStatus ZEP_CALL zepiWTInvCol_B53_JPEG2K_16s_C1R(
    const int16_t* pSrcLow, int32_t srcLowStep, const int16_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int16_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Inverse pass along columns of 32-bit elements: height low and height high rows to 2 x height
 * rows of samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvCol_B53_JPEG2K_32s_C1R(
    const int32_t* pSrcLow, int32_t srcLowStep, const int32_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int32_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Call k of the forward transform of columns, row by row: from the rows x[2k], x[2k+1], x[2k+2]
 * (pSrc0, pSrc1, pSrc2) and H[k-1] (pSrcHigh0) to H[k] (pDstHigh1) and L[k] (pDstLow0). pDstHigh1 becomes
 * pSrcHigh0 of the next call.
 * @code
 * for (k = 0; k < pairs; ++k) {  // an even origin: row(-1) is row(1), and so on
 *   zepiWTFwdColLift_B53_JPEG2K_16s_C1(row(2 * k), row(2 * k + 1), row(2 * k + 2), low(k), high(k - 1),
 *                                      high(k), width);
 * }
 * @endcode
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdColLift_B53_JPEG2K_16s_C1(
    const int16_t* pSrc0, const int16_t* pSrc1, const int16_t* pSrc2, int16_t* pDstLow0,
    const int16_t* pSrcHigh0, int16_t* pDstHigh1, int32_t width);
/**
 * Call k of the forward transform of columns of 32-bit elements, row by row. Arguments as for
 * zepiWTFwdColLift_B53_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdColLift_B53_JPEG2K_32s_C1(
    const int32_t* pSrc0, const int32_t* pSrc1, const int32_t* pSrc2, int32_t* pDstLow0,
    const int32_t* pSrcHigh0, int32_t* pDstHigh1, int32_t width);
/**
 * Call k of the inverse transform of columns, row by row: from L[k] (pSrcLow0), H[k-1], H[k] (pSrcHigh0,
 * pSrcHigh1) and x[2k-2] (pSrc0) to x[2k] (pDst2) and x[2k-1] (pDst1). pDst2 becomes pSrc0 of the next call.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvColLift_B53_JPEG2K_16s_C1(const int16_t* pSrcLow0,
                                                              const int16_t* pSrcHigh0,
                                                              const int16_t* pSrcHigh1,
                                                              const int16_t* pSrc0, int16_t* pDst1,
                                                              int16_t* pDst2, int32_t width);
/**
 * Call k of the inverse transform of columns of 32-bit elements, row by row. Arguments as for
 * zepiWTInvColLift_B53_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvColLift_B53_JPEG2K_32s_C1(const int32_t* pSrcLow0,
                                                              const int32_t* pSrcHigh0,
                                                              const int32_t* pSrcHigh1,
                                                              const int32_t* pSrc0, int32_t* pDst1,
                                                              int32_t* pDst2, int32_t width);
/** One level of a tile, forward, in place: columns first, then rows. It ends as four quadrants. */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/**
 * One level of a tile of 32-bit elements, forward, in place: columns first, then rows. It ends as
 * four quadrants.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/** One level of a tile, inverse, in place: rows first, then columns, from the four quadrants. */
ZEP_API zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/**
 * One level of a tile of 32-bit elements, inverse, in place: rows first, then columns, from the
 * four quadrants.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/** One level of a tile, forward, into four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                        const zepiRect* pTileRect,
                                                        int16_t* const pDst[4],
                                                        const int32_t dstStep[4], uint8_t* pBuffer);
/** One level of a tile of 32-bit elements, forward, into four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                        const zepiRect* pTileRect,
                                                        int32_t* const pDst[4],
                                                        const int32_t dstStep[4], uint8_t* pBuffer);
/** One level of a tile, inverse, from four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_16s_C1R(const int16_t* const pSrc[4],
                                                        const int32_t srcStep[4], int16_t* pDst,
                                                        int32_t dstStep, const zepiRect* pTileRect,
                                                        uint8_t* pBuffer);
/** One level of a tile of 32-bit elements, inverse, from four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_32s_C1R(const int32_t* const pSrc[4],
                                                        const int32_t srcStep[4], int32_t* pDst,
                                                        int32_t dstStep, const zepiRect* pTileRect,
                                                        uint8_t* pBuffer);
/** Work buffer of the `16s` functions in place: max(2 w, 2 h) + 8, or 0 where w < 3 and h < 3. */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_16s_C1IR(const zepiRect* pTileRect,
                                                                int32_t* pSize);
/** Work buffer of the `32s` functions in place: max(4 w, 4 h) + 16, or 0 where w < 3 and h < 3. */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_32s_C1IR(const zepiRect* pTileRect,
                                                                int32_t* pSize);
/**
 * Work buffer of the `16s` functions with planes: that of the tile in place, and h times
 * 2 w + 31 rounded down to a multiple of 32 (nothing where w or h is below 1).
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_16s_C1R(const zepiRect* pTileRect,
                                                               int32_t* pSize);
/**
 * Work buffer of the `32s` functions with planes: that of the tile in place, and h times
 * 4 w + 31 rounded down to a multiple of 32 (nothing where w or h is below 1).
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_32s_C1R(const zepiRect* pTileRect,
                                                               int32_t* pSize);
/** @} */

/**
 * @defgroup wavelet97 JPEG 2000: 9/7 wavelet
 *
 * The irreversible transform (ITU-T T.800, F.3 and F.4) in floating point (`32f`) and fixed point (`16s`,
 * `32s`). Layouts, phases, lines, planes, buffers and checks are those of @ref wavelet53; the lifting
 * steps differ. For L at the even and H at the odd positions of a line:
 *
 *     forward   H += alpha * (left + right)      inverse   L *= K, H *= 1/K
 *               L += beta  * (left + right)                L -= delta * (left + right)
 *               H += gamma * (left + right)                H -= gamma * (left + right)
 *               L += delta * (left + right)                L -= beta  * (left + right)
 *               L *= 1/K, H *= K                           H -= alpha * (left + right)
 *
 * | | alpha | beta | gamma | delta | 1/K | K |
 * |---|---|---|---|---|---|---|
 * | `32f` | -1.5861343145370483 | -0.05298011749982834 | 0.8829110860824585 | 0.4435068666934967 | 0.8128930926322937 | 1.2301740646362305 |
 * | `16s`, `32s`, times 2^-14 | -25987 | -868 | 14466 | 7266 | 13318 | 20155 |
 *
 * The low filter has a gain of 1 at DC, the high filter one of 2 at the highest frequency.
 *
 * **Fixed point**: each product is (sum * c + 8192) >> 14 of the exact sum, rounded on its own, and each result
 * keeps the lower 16 or 32 bits. Passes, row-by-row lifting and whole tiles give the same bits. Rows of `32s`
 * values from -2^11 to 2^11 - 1 take less time.
 *
 * **Floating point**: products and sums are rounded one by one, the sum of the two neighbours first, so that
 * all processors give the same bits. (Of a NaN the sign and the payload may differ, not which results are NaN.)
 * The first and the last low and high coefficient of a row of
 * zepiWTFwdRow_D97_JPEG2K_32f_C1R() are convolutions with the equivalent taps, summed from the centre
 * outwards:
 *
 *     L = 0.602949 x[0] + 0.26686412 (x[-1] + x[1]) - 0.078223266 (x[-2] + x[2])
 *         - 0.01686412 (x[-3] + x[3]) + 0.026748758 (x[-4] + x[4])
 *     H = 1.115087 x[0] - 0.59127176 (x[-1] + x[1]) - 0.057543527 (x[-2] + x[2])
 *         + 0.091271766 (x[-3] + x[3])
 *
 * **Passes** read, for n pairs, exactly:
 *
 * | | phase 0 | other phases |
 * |---|---|---|
 * | forward | x[-4] to x[2n+2] | x[-3] to x[2n+3] |
 * | inverse | L[-1] to L[n+1], H[-2] to H[n+1] | L[-2] to L[n], H[-2] to H[n+1] |
 *
 * **Whole tiles**: lines of two samples are mirrored and lifted as longer ones are; single samples follow the
 * rule of the 5/3 transform, without K.
 *
 * How it works and where the time goes: [docs/wavelet.md](../docs/wavelet.md).
 * @{
 */

/** Forward pass along rows: 2 x width samples of each row to width low and width high coefficients. */
ZEP_API zepStatus ZEP_CALL zepiWTFwdRow_D97_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                           int16_t* pDstLow, int32_t dstLowStep,
                                                           int16_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Forward pass along rows of 32-bit elements: 2 x width samples of each row to width low and width
 * high coefficients.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdRow_D97_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                           int32_t* pDstLow, int32_t dstLowStep,
                                                           int32_t* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/**
 * Forward pass along rows: 2 x width samples of each row to width low and width high coefficients. The
 * first and the last low and high coefficient of a row come from the taps, see above.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdRow_D97_JPEG2K_32f_C1R(const float* pSrc, int32_t srcStep,
                                                           float* pDstLow, int32_t dstLowStep,
                                                           float* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/** Inverse pass along rows: width low and width high coefficients of each row to 2 x width samples. */
ZEP_API zepStatus ZEP_CALL zepiWTInvRow_D97_JPEG2K_16s_C1R(
    const int16_t* pSrcLow, int32_t srcLowStep, const int16_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int16_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Inverse pass along rows of 32-bit elements: width low and width high coefficients of each row to
 * 2 x width samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvRow_D97_JPEG2K_32s_C1R(
    const int32_t* pSrcLow, int32_t srcLowStep, const int32_t* pSrcHigh, int32_t srcHighStep,
    zepiSize srcRoiSize, int32_t* pDst, int32_t dstStep, int32_t phase);
/**
 * Inverse pass along rows of floats: width low and width high coefficients of each row to 2 x
 * width samples.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvRow_D97_JPEG2K_32f_C1R(const float* pSrcLow, int32_t srcLowStep,
                                                           const float* pSrcHigh,
                                                           int32_t srcHighStep, zepiSize srcRoiSize,
                                                           float* pDst, int32_t dstStep,
                                                           int32_t phase);
/** Forward pass along columns: 2 x height source rows to height low and height high rows. */
ZEP_API zepStatus ZEP_CALL zepiWTFwdCol_D97_JPEG2K_32f_C1R(const float* pSrc, int32_t srcStep,
                                                           float* pDstLow, int32_t dstLowStep,
                                                           float* pDstHigh, int32_t dstHighStep,
                                                           zepiSize dstRoiSize, int32_t phase);
/** Inverse pass along columns: height low and height high rows to 2 x height rows of samples. */
ZEP_API zepStatus ZEP_CALL zepiWTInvCol_D97_JPEG2K_32f_C1R(const float* pSrcLow, int32_t srcLowStep,
                                                           const float* pSrcHigh,
                                                           int32_t srcHighStep, zepiSize srcRoiSize,
                                                           float* pDst, int32_t dstStep,
                                                           int32_t phase);
/**
 * Call k of the forward transform of columns, row by row. x are source rows; a, b, c are the coefficients
 * after the lifting steps 1, 2 and 3.
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
 * In the next call pDstLow1 becomes pSrcDstLow0, pDstHigh2 becomes pSrcDstHigh1, and pSrcDstHigh1 becomes
 * pSrcDstHigh0. Start with calls from k = -2, rows mirrored about the first, and scratch rows as outputs; end
 * with two more calls on rows mirrored about the last.
 */
ZEP_API zepStatus ZEP_CALL
zepiWTFwdColLift_D97_JPEG2K_16s_C1(const int16_t* pSrc0, const int16_t* pSrc1, const int16_t* pSrc2,
                                   int16_t* pSrcDstLow0, int16_t* pDstLow1, int16_t* pSrcDstHigh0,
                                   int16_t* pSrcDstHigh1, int16_t* pDstHigh2, int32_t width);
/**
 * Call k of the forward transform of columns of 32-bit elements, row by row. Arguments as for
 * zepiWTFwdColLift_D97_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL
zepiWTFwdColLift_D97_JPEG2K_32s_C1(const int32_t* pSrc0, const int32_t* pSrc1, const int32_t* pSrc2,
                                   int32_t* pSrcDstLow0, int32_t* pDstLow1, int32_t* pSrcDstHigh0,
                                   int32_t* pSrcDstHigh1, int32_t* pDstHigh2, int32_t width);
/**
 * Call k of the forward transform of columns of floats, row by row. Arguments as for
 * zepiWTFwdColLift_D97_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwdColLift_D97_JPEG2K_32f_C1(
    const float* pSrc0, const float* pSrc1, const float* pSrc2, float* pSrcDstLow0, float* pDstLow1,
    float* pSrcDstHigh0, float* pSrcDstHigh1, float* pDstHigh2, int32_t width);
/**
 * Call k of the inverse transform of columns, row by row. pSrc0, pSrcDst1, ..., pDst5 are the rows 2k-4
 * to 2k+1 of the picture, of which six are in work at a time.
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
 * In the next call all six advance by two rows.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvColLift_D97_JPEG2K_16s_C1(
    const int16_t* pSrcLow0, const int16_t* pSrcHigh0, const int16_t* pSrc0, int16_t* pSrcDst1,
    int16_t* pSrcDst2, int16_t* pSrcDst3, int16_t* pDst4, int16_t* pDst5, int32_t width);
/**
 * Call k of the inverse transform of columns of 32-bit elements, row by row. Arguments as for
 * zepiWTInvColLift_D97_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvColLift_D97_JPEG2K_32s_C1(
    const int32_t* pSrcLow0, const int32_t* pSrcHigh0, const int32_t* pSrc0, int32_t* pSrcDst1,
    int32_t* pSrcDst2, int32_t* pSrcDst3, int32_t* pDst4, int32_t* pDst5, int32_t width);
/**
 * Call k of the inverse transform of columns of floats, row by row. Arguments as for
 * zepiWTInvColLift_D97_JPEG2K_16s_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiWTInvColLift_D97_JPEG2K_32f_C1(
    const float* pSrcLow0, const float* pSrcHigh0, const float* pSrc0, float* pSrcDst1,
    float* pSrcDst2, float* pSrcDst3, float* pDst4, float* pDst5, int32_t width);
/** One level of a tile, forward, in place: columns first, then rows. It ends as four quadrants. */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/**
 * One level of a tile of 32-bit elements, forward, in place: columns first, then rows. It ends as
 * four quadrants.
 */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/** One level of a tile, inverse, in place: rows first, then columns, from the four quadrants. */
ZEP_API zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/**
 * One level of a tile of 32-bit elements, inverse, in place: rows first, then columns, from the
 * four quadrants.
 */
ZEP_API zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                         const zepiRect* pTileRect,
                                                         uint8_t* pBuffer);
/** One level of a tile, forward, into four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                        const zepiRect* pTileRect,
                                                        int16_t* const pDst[4],
                                                        const int32_t dstStep[4], uint8_t* pBuffer);
/** One level of a tile of 32-bit elements, forward, into four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                        const zepiRect* pTileRect,
                                                        int32_t* const pDst[4],
                                                        const int32_t dstStep[4], uint8_t* pBuffer);
/** One level of a tile, inverse, from four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_16s_C1R(const int16_t* const pSrc[4],
                                                        const int32_t srcStep[4], int16_t* pDst,
                                                        int32_t dstStep, const zepiRect* pTileRect,
                                                        uint8_t* pBuffer);
/** One level of a tile of 32-bit elements, inverse, from four planes. */
ZEP_API zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_32s_C1R(const int32_t* const pSrc[4],
                                                        const int32_t srcStep[4], int32_t* pDst,
                                                        int32_t dstStep, const zepiRect* pTileRect,
                                                        uint8_t* pBuffer);
/** Work buffer of the `16s` functions in place: max(2 w, 2 h) + 16, or 0 where w < 2 and h < 2. */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_16s_C1IR(const zepiRect* pTileRect,
                                                                int32_t* pSize);
/** Work buffer of the `32s` functions in place: max(4 w, 4 h) + 32, or 0 where w < 2 and h < 2. */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_32s_C1IR(const zepiRect* pTileRect,
                                                                int32_t* pSize);
/**
 * Work buffer of the `16s` functions with planes: that of the tile in place, and h times
 * 2 w + 31 rounded down to a multiple of 32 (nothing where w or h is below 1).
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_16s_C1R(const zepiRect* pTileRect,
                                                               int32_t* pSize);
/**
 * Work buffer of the `32s` functions with planes: that of the tile in place, and h times
 * 4 w + 31 rounded down to a multiple of 32 (nothing where w or h is below 1).
 */
ZEP_API zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_32s_C1R(const zepiRect* pTileRect,
                                                               int32_t* pSize);
/** @} */

/**
 * @defgroup codeblock JPEG 2000: code-blocks
 *
 * The embedded block coder (ISO/IEC 15444-1, annexes C and D): a block of quantized wavelet coefficients
 * to bytes and back, bit plane by bit plane in up to three coding passes each, with the rates and
 * distortions that rate control needs.
 *
 * **Samples** are 32-bit words of sign and magnitude: bit 31 is the sign, bits 30 to 0 the magnitude. A
 * subband of M magnitude bits holds a quantized value q as q << (31 - M), so that its planes are 30 down to
 * 31 - M; bits below may hold the fraction of a step, which counts for distortion only. **Subbands**: 0 LL,
 * 1 LH, 2 HL (horizontally high), 3 HH.
 *
 * **Passes** are numbered from 0: a cleanup pass on the highest plane that is not empty, then significance
 * propagation, refinement and cleanup on each plane below. A block with P planes has 3 P - 2.
 *
 * **Style** is the code-block style of a coding-style marker: 1 bypass, 2 reset of the contexts after each
 * pass, 4 termination of each pass, 8 vertically causal contexts, 16 predictable termination, 32
 * segmentation symbols. **Segments**: without 1 and 4 all passes form one codeword segment; with 4 each
 * pass is one; with 1 alone passes 0 to 9 are one, then each pair of raw passes and each cleanup pass.
 * No segment ends in FF or holds FF followed by more than 8F; after the end of a segment decoders read
 * ones, and nothing else. **Predictable termination** is that of D.4.2: the end of each segment follows from
 * its decisions alone, so that a decoder can tell damage; raw segments are filled with 0, 1, 0 ..., and with a
 * byte 2A after an FF.
 *
 * @code
 * zepiEncodeStateJPEG2K* state;
 * zepiEncodeInitAlloc_JPEG2K(&state, size);
 * int32_t sfBits, passes, segments, length = capacity, unfinished;
 * zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(samples, 4 * size.width, size, state, subband, M, 0, 0, style,
 *                                        &sfBits, &passes, &segments);
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
 * Makes a state for blocks of up to this size, for any number of them. **Checks**: ppState:
 * ::zepStatusNullPtr; a width or height below 1: ::zepStatusBadSize (nothing is written);
 * ::zepStatusMemAlloc with *ppState null.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeInitAlloc_JPEG2K(zepiEncodeStateJPEG2K** ppState,
                                                      zepiSize codeBlockMaxSize);
/**
 * Codes a block; what the state held of another is gone.
 *
 * @param magnBits M of the subband, clamped to 1..31; with 0 or less nothing is coded.
 * @param param1, param2 Ignored.
 * @param codeStyleFlags The style, 0..63.
 * @param pSfBits 1 + the highest bit that any magnitude has, 0 for a block of zeros: a packet header gives
 *     31 - sfBits zero bit planes.
 * @param pNOfPasses 3 (sfBits - (31 - M)) - 2, or 0.
 * @param pNOfTermPasses The number of segments; 1 without passes.
 *
 * **Checks**: pState: ::zepStatusNullPtr; its identifier: ::zepStatusContextMismatch; pSfBits, pNOfPasses,
 * pNOfTermPasses: ::zepStatusNullPtr; size: ::zepStatusBadSize; pSrc: ::zepStatusNullPtr; srcStep below 1:
 * ::zepStatusBadStep. **Not checked**: that the block is no larger than the state was made for.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
    const int32_t* pSrc, int32_t srcStep, zepiSize codeBlockSize, zepiEncodeStateJPEG2K* pState,
    int32_t subband, int32_t magnBits, int32_t param1, int32_t param2, int32_t codeStyleFlags,
    int32_t* pSfBits, int32_t* pNOfPasses, int32_t* pNOfTermPasses);
/**
 * Bytes, from the block's first on, that the coder had put out at the end of a pass; of the last pass of
 * a segment, that segment included. **Checks**: pState: ::zepStatusNullPtr; its identifier:
 * ::zepStatusContextMismatch; the result: ::zepStatusNullPtr; no such pass:
 * ::zepStatusJPEG2KBadPassNumber.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeGetRate_JPEG2K(const zepiEncodeStateJPEG2K* pState,
                                                    int32_t passNumber, int32_t* pRate);
/**
 * What passes 0 to passNumber remove of the distortion: squared error in squares of the subband's step,
 * with midpoint reconstruction above the lowest plane and the exact value on it. Checks as for
 * zepiEncodeGetRate_JPEG2K().
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeGetDist_JPEG2K(const zepiEncodeStateJPEG2K* pState,
                                                    int32_t passNumber, double* pDist);
/**
 * Bytes, from the block's first on, that suffice to decode passes 0 to passNumber; one less does not. (With
 * predictable termination the last pass of a segment takes the whole of it.) A packet header gives the
 * difference to the end of the segment before. Checks as for zepiEncodeGetRate_JPEG2K().
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeGetTermPassLen_JPEG2K(const zepiEncodeStateJPEG2K* pState,
                                                           int32_t passNumber, int32_t* pLength);
/**
 * Copies code out, all segments back to back, up to *pDstLen bytes with each call; *pDstLen becomes their
 * number. *pIsNotFinished tells whether bytes are left; afterwards, and for a block without passes, 0 bytes
 * come. **Checks**: pState: ::zepStatusNullPtr; its identifier: ::zepStatusContextMismatch; pDst, pDstLen,
 * pIsNotFinished: ::zepStatusNullPtr; *pDstLen below 1: ::zepStatusBadSize.
 */
ZEP_API zepStatus ZEP_CALL zepiEncodeStoreBits_JPEG2K_1u(uint8_t* pDst, int32_t* pDstLen,
                                                         zepiEncodeStateJPEG2K* pState,
                                                         int32_t* pIsNotFinished);
/** Releases a state. A null pointer: ::zepStatusNullPtr; the identifier is not looked at. */
ZEP_API zepStatus ZEP_CALL zepiEncodeFree_JPEG2K(zepiEncodeStateJPEG2K* pState);

/**
 * Decodes a block in one call.
 *
 * @param magnBits The block's significant planes: sfBits of the encoder, 31 less the zero bit planes of a
 *     packet header. The first plane is magnBits - 1. Above 31 counts as 31, below 1 as none.
 * @param nOfPasses How many passes the segments hold; passes after plane 0 are ignored.
 * @param pTermPassLen The length of each segment; negative ones count as 0.
 * @param codeStyleFlags The style, and
 *     - 0x10000: where a pass fails, keep the planes above its plane p, with a midpoint: p's bit set in what
 *       is not 0 then, and 0 for the rest;
 *     - 0x20000: do not clear the block first;
 *     - 0x40000: leave the midpoint below the last plane p (samples have bits below it otherwise cleared);
 *     - 0x80000: do not clear the flags in the state; the caller has filled the memory with zeros.
 * @param pErrorBitPlane On ::zepStatusJPEG2KDecodeError the plane of the pass that failed; may be null.
 * @param pState Memory of zepiDecodeGetBufSize_JPEG2K() bytes, of any contents and alignment.
 *
 * If a sample's highest bit was decoded, and its bits down to plane q, bit q - 1 is set: the midpoint. For
 * lossy coding pass magnBits = sfBits + 1 and 0x40000: samples then are twice as large, and bit 0 is half
 * a step.
 *
 * A pass fails where a segmentation symbol is wrong (32), or where, with predictable termination (16), a
 * segment that must end with its last pass (4, or 1) is not what an encoder writes for its decisions.
 *
 * **Checks**: pSrc, pState: ::zepStatusNullPtr; size: ::zepStatusBadSize; pTermPassLen, pDst:
 * ::zepStatusNullPtr; dstStep below 1: ::zepStatusBadStep.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(
    const uint8_t* pSrc, int32_t* pDst, int32_t dstStep, zepiSize codeBlockSize, int32_t subband,
    int32_t magnBits, int32_t nOfPasses, const int32_t* pTermPassLen, int32_t nOfTermPasses,
    int32_t codeStyleFlags, int32_t* pErrorBitPlane, uint8_t* pState);
/**
 * The size of a decoder's state for blocks of up to this size: with the row ((width + 2) * 4 rounded up to
 * 32), row * ((height + 1) / 2 + 2) + 388 bytes. **Checks**: a width or height below 1:
 * ::zepStatusBadSize; pSize: ::zepStatusNullPtr; a size beyond int32_t: ::zepStatusBadSize.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeGetBufSize_JPEG2K(zepiSize codeBlockMaxSize, int32_t* pSize);
/** The size of a decoder's state, as zepiDecodeGetBufSize_JPEG2K() gives it. */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrGetStateSize_JPEG2K(zepiSize codeBlockMaxSize,
                                                                int32_t* pSize);
/** Makes a state of memory of that size, to which no block is attached. pState null: ::zepStatusNullPtr. */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrInit_JPEG2K(zepiDecodeStateJPEG2K* pState);
/**
 * Allocates a state. **Checks**: ppState: ::zepStatusNullPtr; size: ::zepStatusBadSize (nothing is written);
 * ::zepStatusMemAlloc with *ppState null.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrInitAlloc_JPEG2K(zepiDecodeStateJPEG2K** ppState,
                                                             zepiSize codeBlockMaxSize);
/** Releases what zepiDecodeCBProgrInitAlloc_JPEG2K() made. pState null: ::zepStatusNullPtr. */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrFree_JPEG2K(zepiDecodeStateJPEG2K* pState);
/**
 * Binds a block to a state and starts at its highest plane, with no passes to decode. Arguments as for
 * zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(). The block and its step stay in use until the last step.
 * **Checks**: pState: ::zepStatusNullPtr; its identifier: ::zepStatusContextMismatch; pDst:
 * ::zepStatusNullPtr; dstStep below 1: ::zepStatusBadStep; size: ::zepStatusBadSize.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(int32_t* pDst, int32_t dstStep,
                                                                  zepiSize codeBlockSize,
                                                                  zepiDecodeStateJPEG2K* pState,
                                                                  int32_t subband, int32_t magnBits,
                                                                  int32_t codeStyleFlags);
/** Sets how many passes are to be decoded. pState: ::zepStatusNullPtr, ::zepStatusContextMismatch. */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrSetPassCounter_JPEG2K(int32_t nOfPasses,
                                                                  zepiDecodeStateJPEG2K* pState);
/**
 * How many passes are left: one less for each that was decoded, a failed one included. **Checks**: pState,
 * pCounter: ::zepStatusNullPtr; the identifier: ::zepStatusContextMismatch.
 */
ZEP_API zepStatus ZEP_CALL
zepiDecodeCBProgrGetPassCounter_JPEG2K(const zepiDecodeStateJPEG2K* pState, int32_t* pCounter);
/**
 * The plane of the last pass that was begun, or magnBits - 1. **Checks**: pState: ::zepStatusNullPtr; its
 * identifier: ::zepStatusContextMismatch; pBitPlane: ::zepStatusNullPtr.
 */
ZEP_API zepStatus ZEP_CALL
zepiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(const zepiDecodeStateJPEG2K* pState, int32_t* pBitPlane);
/**
 * Decodes the passes of one segment, as many as are left. Samples keep the midpoints below their last bits.
 * Without passes left nothing is read. After ::zepStatusJPEG2KDecodeError further steps return it again
 * and do nothing. **Checks**: pSrc, pState: ::zepStatusNullPtr; the identifier:
 * ::zepStatusContextMismatch; no block attached: ::zepStatusJPEG2KNotAttached. A length below 0 counts as 0.
 */
ZEP_API zepStatus ZEP_CALL zepiDecodeCBProgrStep_JPEG2K(const uint8_t* pSrc, int32_t srcLen,
                                                        zepiDecodeStateJPEG2K* pState);
/** @} */

/**
 * @defgroup photocore JPEG XR: photo core transform
 *
 * The 4x4 photo core transform (ITU-T T.832 | ISO/IEC 29199-2, 9.9.7), forward and inverse, in place, of
 * every 4x4 block of a region, or of the blocks of a macroblock: 16x16 (luma), 8 wide and 16 high (4:2:2
 * chroma), 8x8 (4:2:0 chroma). Blocks are independent of one another; afterwards the upper left element is
 * the DC coefficient, 4 times the mean. The second stage of the standard is the same transform of a block
 * made of sixteen DC coefficients; its overlap filters are not part of these functions.
 *
 * Coefficient f = 4 v + u (u horizontal, v vertical frequency) is left at (row, column)
 *
 * | f | 0 | 1 | 2 | 3 | 4 | 5 | 6 | 7 | 8 | 9 | 10 | 11 | 12 | 13 | 14 | 15 |
 * |---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|
 * | | 0,0 | 0,2 | 0,1 | 1,3 | 2,0 | 3,3 | 3,0 | 2,3 | 1,0 | 0,3 | 1,1 | 1,2 | 3,1 | 3,2 | 2,1 | 2,2 |
 *
 * Integers: lifting with adds, arithmetic shifts and products by 3; every sum wraps at the width of the
 * elements, before a shift too. The inverse returns the input bit for bit, whatever wrapped. 16 bits
 * wrap nowhere for values of up to 12 bits and a sign. Float: the same steps without rounding terms; no product
 * is contracted with a sum, so that the bits are the same everywhere; the inverse returns the input except for
 * rounding.
 *
 * *Order of checks*: regions: the pointer, roiSize positive, the step at least a row in bytes
 * (zepStatusBadStep), width and height multiples of 4 (zepStatusBadSize). Macroblocks: the pointer,
 * the step at least a row of the macroblock. Elements and steps need no alignment.
 *
 * How it works and where the time goes: [docs/photo-core-transform.md](../docs/photo-core-transform.md).
 * @{
 */

/** Forward transform of every 4x4 block of roiSize. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Forward transform of the blocks of 16 x 16 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd16x16_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/** Forward transform of the blocks of 8 x 16 (8 columns, 16 rows) elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x16_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/** Forward transform of the blocks of 8 x 8 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x8_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/** Inverse transform of every 4x4 block of roiSize. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Inverse transform of the blocks of 16 x 16 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv16x16_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/** Inverse transform of the blocks of 8 x 16 (8 columns, 16 rows) elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x16_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/** Inverse transform of the blocks of 8 x 8 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x8_JPEGXR_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep);
/** Forward transform of every 4x4 block of roiSize. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Forward transform of the blocks of 16 x 16 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd16x16_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/** Forward transform of the blocks of 8 x 16 (8 columns, 16 rows) elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x16_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/** Forward transform of the blocks of 8 x 8 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x8_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/** Inverse transform of every 4x4 block of roiSize. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Inverse transform of the blocks of 16 x 16 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv16x16_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/** Inverse transform of the blocks of 8 x 16 (8 columns, 16 rows) elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x16_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/** Inverse transform of the blocks of 8 x 8 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x8_JPEGXR_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep);
/** Forward transform of every 4x4 block of roiSize. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Forward transform of the blocks of 16 x 16 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd16x16_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/** Forward transform of the blocks of 8 x 16 (8 columns, 16 rows) elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x16_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/** Forward transform of the blocks of 8 x 8 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTFwd8x8_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/** Inverse transform of every 4x4 block of roiSize. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep,
                                                      zepiSize roiSize);
/** Inverse transform of the blocks of 16 x 16 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv16x16_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/** Inverse transform of the blocks of 8 x 16 (8 columns, 16 rows) elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x16_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/** Inverse transform of the blocks of 8 x 8 elements. */
ZEP_API zepStatus ZEP_CALL zepiPCTInv8x8_JPEGXR_32f_C1IR(float* pSrcDst, int32_t srcDstStep);
/** @} */

/**
 * @defgroup jpegxrvlc JPEG XR: adaptive coding of coefficients
 *
 * The adaptive variable-length codes of JPEG XR (ITU-T T.832 | ISO/IEC 29199-2): blocks of 4x4 transform
 * coefficients, and the low-pass coefficients of a macroblock, to bits and back. A coder's state holds 21
 * choices among code tables, which follow what was coded, and three scan orders, which follow where.
 *
 * **The state** is a record of 1780 bytes that the caller owns. It holds no addresses: it may be copied,
 * kept and moved to another process that runs the same library on the same kind of processor.
 * zepiVLCInit_JPEGXR(), then zepiVLCScanReset_JPEGXR() for each scan, begin a tile. A state that was not
 * initialized must not be passed to the coders.
 *
 * **Bits** are taken and written highest first. The byte pointer, an accumulator and the number of its
 * valid bits, 0 to 32, live with the caller between calls, so that different coders can take turns at one
 * stream. The valid bits are the highest of the accumulator; lower ones are ignored on entry and 0
 * afterwards.
 * - Readers start with accumulator and count 0. Wherever a code word, a sign or a field of extra bits is
 *   about to be looked at and fewer than 16 bits are valid, the next two bytes are read, first byte
 *   higher; never otherwise. So at most 31 bits after the last one used have been read: a buffer needs
 *   four spare bytes. A field of more than 16 bits is read in two parts, its highest 16 bits first.
 * - Writers start the same way. Whenever 16 bits or more wait, the highest two bytes are stored; where a
 *   call wrote anything, 0 to 15 bits wait after it. At the end of the stream the caller stores the last
 *   (count + 7) / 8 bytes. A block takes at most 15 x 64 bits; room is not checked.
 *
 * **A block** is a list of pairs: a run of zeros and a level, the nonzero value after them. The slots of
 * its values are numbered up to 15, from 1 (all but one value of a block), 2 (14 chroma values of a 4:2:2
 * macroblock) or 10 (6 of a 4:2:0 one). **Damaged bits** decode to some block: a run that leads beyond
 * slot 15 ends on it, and nothing follows slot 15. Levels are below 2^30 + 2; larger ones are coded as
 * 2^30 + 1.
 *
 * **Model bits** are what a caller writes besides in fixed length: a coefficient c is significant where
 * |c| >= 2^modelBits, its level is |c| >> modelBits with the sign of c. What is left comes out as packed
 * refinement values, v: (v >> 1) is to be written in m + (v & 1) bits, m being the model bits less those
 * that are trimmed.
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

/** What the coders of 4x4 blocks keep for a macroblock's luma, or its chroma; the caller zeroes it. */
typedef struct zepiVLCContext {
  uint32_t
      count; /**< Grows by the coefficients coded: for the standard's update of the model bits. */
  int32_t multiplier; /**< Decoders store level * (multiplier << modelBits); 0 counts as 1. */
} zepiVLCContext;

/** The size of a state, 1780. pSize null: ::zepStatusNullPtr. */
ZEP_API zepStatus ZEP_CALL zepiVLCGetStateSize_JPEGXR(int32_t* pSize);
/**
 * Makes a state: all tables at their starting index, the scans in their initial order with totals of 0,
 * scan 2 current. pState null: ::zepStatusNullPtr.
 */
ZEP_API zepStatus ZEP_CALL zepiVLCInit_JPEGXR(zepiVLCState* pState);
/**
 * Lets the tables of a group follow what was coded since the last call: group 0, those of the low-pass
 * coefficients; 1, those of the 4x4 blocks. A table whose code would have been more than 8 bits shorter
 * with its lower or upper neighbour becomes that neighbour. **Checks**: pState: ::zepStatusNullPtr;
 * another group: ::zepStatusOutOfRange.
 */
ZEP_API zepStatus ZEP_CALL zepiVLCAdapt_JPEGXR(zepiVLCState* pState, uint32_t group);
/**
 * Gives a scan (0: 4x4 blocks, vertical; 1: 4x4 blocks, horizontal; 2: low-pass) its totals of the start:
 * 32767, 32, 30, ..., 4. Its order stays. **Checks**: pState: ::zepStatusNullPtr; another scan:
 * ::zepStatusOutOfRange.
 */
ZEP_API zepStatus ZEP_CALL zepiVLCScanReset_JPEGXR(zepiVLCState* pState, uint32_t scan);
/** Makes a scan the current one. Checks as for zepiVLCScanReset_JPEGXR(). */
ZEP_API zepStatus ZEP_CALL zepiVLCScanSet_JPEGXR(zepiVLCState* pState, uint32_t scan);

/**
 * The pairs of a low-pass block, in the order of the current scan (2), which adapts to them. They are what
 * zepiVLCEncodeDC444_JPEGXR_32s1u() takes; a stream says in between which components have any.
 *
 * @param pSrc 16 values by raster frequency 4v + u; the first is ignored.
 * @param modelBits 0 to 15.
 * @param pRunLevel Room for 32: run, level, run, level, ...; after the pairs nothing is written.
 * @param pPairCount The number of pairs, 0 to 15.
 * @param pPacked 16 packed refinement values by raster frequency, the first 0.
 *
 * **Checks**: pSrc, pState, pRunLevel, pPairCount, pPacked: ::zepStatusNullPtr; modelBits:
 * ::zepStatusOutOfRange.
 */
ZEP_API zepStatus ZEP_CALL zepiVLCScan4x4DC_JPEGXR_32s(const int32_t* pSrc, uint32_t modelBits,
                                                       zepiVLCState* pState, int32_t* pRunLevel,
                                                       uint32_t* pPairCount, int32_t* pPacked);
/**
 * Writes the pairs of the low-pass block that both chroma components of a 4:2:0 macroblock share: up to six
 * values U1 V1 U2 V2 U3 V3. Without pairs nothing is written.
 *
 * @param pRunLevel run, level, run, level, ...; levels are not 0.
 * @param pairCount 0 to 6.
 *
 * **Checks**: pRunLevel, ppDst, *ppDst, pAcc, pBitCount, pState: ::zepStatusNullPtr; *pBitCount above 32,
 * then pairCount: ::zepStatusOutOfRange. **Not checked**: that the runs and levels fit into the block.
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncodeDC420_JPEGXR_32s1u(const int32_t* pRunLevel,
                                                           uint32_t pairCount, uint8_t** ppDst,
                                                           uint32_t* pAcc, uint32_t* pBitCount,
                                                           zepiVLCState* pState);
/**
 * Writes the pairs of the low-pass block that both chroma components of a 4:2:2 macroblock share:
 * up to 14 values U4 V4 U1 V1 U2 V2 U3 V3 U5 V5 U6 V6 U7 V7. pairCount 0 to 14; otherwise as
 * zepiVLCEncodeDC420_JPEGXR_32s1u().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncodeDC422_JPEGXR_32s1u(const int32_t* pRunLevel,
                                                           uint32_t pairCount, uint8_t** ppDst,
                                                           uint32_t* pAcc, uint32_t* pBitCount,
                                                           zepiVLCState* pState);
/**
 * Writes the pairs of the low-pass block of one component with 15 values: luma of any format,
 * chroma of 4:4:4. pairCount 0 to 16; channel 0: the tables of luma, else of chroma. Otherwise as
 * zepiVLCEncodeDC420_JPEGXR_32s1u().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncodeDC444_JPEGXR_32s1u(const int32_t* pRunLevel,
                                                           uint32_t pairCount, uint32_t channel,
                                                           uint8_t** ppDst, uint32_t* pAcc,
                                                           uint32_t* pBitCount,
                                                           zepiVLCState* pState);
/**
 * Reads what zepiVLCEncodeDC420_JPEGXR_32s1u() wrote: the six levels U1 V1 U2 V2 U3 V3, zeros included.
 *
 * **Checks**: ppSrc, *ppSrc, pAcc, pBitCount, pState, pDst: ::zepStatusNullPtr; *pBitCount above 32:
 * ::zepStatusOutOfRange.
 */
ZEP_API zepStatus ZEP_CALL zepiVLCDecodeDC420_JPEGXR_1u32s(const uint8_t** ppSrc, uint32_t* pAcc,
                                                           uint32_t* pBitCount,
                                                           zepiVLCState* pState, int32_t* pDst);
/**
 * Reads what zepiVLCEncodeDC422_JPEGXR_32s1u() wrote: 14 levels U4 V4 U1 V1 U2 V2 U3 V3 U5 V5 U6
 * V6 U7 V7, zeros included. Checks as for zepiVLCDecodeDC420_JPEGXR_1u32s().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCDecodeDC422_JPEGXR_1u32s(const uint8_t** ppSrc, uint32_t* pAcc,
                                                           uint32_t* pBitCount,
                                                           zepiVLCState* pState, int32_t* pDst);
/**
 * Reads what zepiVLCEncodeDC444_JPEGXR_32s1u() wrote for one component: pDst[1] to pDst[15] become
 * its levels by raster frequency, zeros included; the current scan (2) adapts. pDst[0] chooses the
 * tables on entry, 0 those of luma, else those of chroma, and stays. Checks as for
 * zepiVLCDecodeDC420_JPEGXR_1u32s().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCDecodeDC444_JPEGXR_1u32s(const uint8_t** ppSrc, uint32_t* pAcc,
                                                           uint32_t* pBitCount,
                                                           zepiVLCState* pState, int32_t* pDst);

/**
 * Writes the levels of a 4x4 block as the transform leaves it in place, in the order of the current scan
 * (0 or 1), which adapts. The first coefficient is not coded. A block without significant coefficients
 * writes and changes nothing.
 *
 * @param srcStep The row step in bytes, not checked.
 * @param channel 0: the tables of luma, else those of chroma.
 * @param modelBits 0 to 15.
 * @param pCtx Its count grows by the number of levels.
 *
 * **Checks**: pSrc, ppDst, *ppDst, pAcc, pBitCount, pState, pCtx: ::zepStatusNullPtr; *pBitCount above 32,
 * then modelBits: ::zepStatusOutOfRange.
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
 * Writes the same bits and leaves what they do not tell in pFlex: 16 packed refinement values at
 * 4 * row + column, the first 0; all are 0 where trimBits is modelBits or more. Blocks without significant
 * coefficients have them too.
 *
 * **Checks**: pSrc, ppDst, *ppDst, pAcc, pBitCount, pState, pFlex, pCtx: ::zepStatusNullPtr; *pBitCount
 * above 32, modelBits or trimBits above 15: ::zepStatusOutOfRange.
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R(
    const int16_t* pSrc, uint32_t srcStep, uint32_t channel, uint32_t modelBits, uint32_t trimBits,
    uint8_t** ppDst, uint32_t* pAcc, uint32_t* pBitCount, zepiVLCState* pState, int32_t* pFlex,
    zepiVLCContext* pCtx);
/**
 * Writes the levels of a 4x4 block of 32-bit coefficients and leaves its refinement in pFlex.
 * Otherwise as zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(
    const int32_t* pSrc, uint32_t srcStep, uint32_t channel, uint32_t modelBits, uint32_t trimBits,
    uint8_t** ppDst, uint32_t* pAcc, uint32_t* pBitCount, zepiVLCState* pState, int32_t* pFlex,
    zepiVLCContext* pCtx);
/**
 * Reads a block that zepiVLCEncode4x4_JPEGXR_16s1u_C1R() wrote. Only the coefficients that were coded are
 * stored, modulo 2^16; the caller clears the block first.
 *
 * @param dstStep The row step in bytes, not checked.
 * @param channel 0: the tables of luma, else those of chroma.
 *
 * **Checks**: ppSrc, *ppSrc, pAcc, pBitCount, pState, pDst, pCtx: ::zepStatusNullPtr; *pBitCount above 32,
 * then modelBits above 15: ::zepStatusOutOfRange.
 */
ZEP_API zepStatus ZEP_CALL zepiVLCDecode4x4_JPEGXR_1u16s_C1R(
    const uint8_t** ppSrc, uint32_t* pAcc, uint32_t* pBitCount, uint32_t modelBits,
    zepiVLCState* pState, uint32_t dstStep, uint32_t channel, int16_t* pDst, zepiVLCContext* pCtx);
/**
 * Reads a block that zepiVLCEncode4x4_JPEGXR_32s1u_C1R() wrote, modulo 2^32. Otherwise as
 * zepiVLCDecode4x4_JPEGXR_1u16s_C1R().
 */
ZEP_API zepStatus ZEP_CALL zepiVLCDecode4x4_JPEGXR_1u32s_C1R(
    const uint8_t** ppSrc, uint32_t* pAcc, uint32_t* pBitCount, uint32_t modelBits,
    zepiVLCState* pState, uint32_t dstStep, uint32_t channel, int32_t* pDst, zepiVLCContext* pCtx);
/** @} */

/**
 * @defgroup refinement JPEG XR: refinement bits
 *
 * The refinement ("flex") bits of a 4x4 block: of each of its fifteen coefficients after DC, in order of
 * frequency, m = modelBits bits (0 to 15) of magnitude, and a sign bit (1: negative) where these bits are not
 * all 0 and no block coder has coded the sign. Positions are those of the photo core transform; DC is neither
 * read nor written. With m = 0 nothing is read or written, whatever the flags.
 *
 * A stream is a byte pointer, an accumulator whose upper *pBitCount bits (0 to 32) are valid, and that
 * count; bits come highest first, and a stream begins with 0 and 0. The caller keeps all three between
 * calls.
 *
 * - Reading: whenever fewer than 16 bits are valid before a coefficient, two bytes are read, so at most
 *   31 bits beyond the last one consumed. The end of the bytes is not known: keep four spare bytes after them.
 * - Writing: two bytes are stored whenever 16 bits are pending; 0 to 15 are left after a call, which the
 *   caller stores in the end in (count + 7) / 8 bytes. A block takes at most 15 (m + 1) bits.
 *
 * *Order of checks*: all pointers, in order of arguments (the byte pointer that ppSrc or ppDst leads to after it);
 * *pBitCount at most 32, then modelBits and trimBits at most 15 (zepStatusOutOfRange). Steps are not
 * checked: they may be 0 or negative. Elements need no alignment.
 *
 * How it works and where the time goes: [docs/fixed-length.md](../docs/fixed-length.md).
 * @{
 */

/**
 * Decodes the refinement of one block. With q the m bits of a coefficient: refine 0: where q is not 0 the
 * coefficient becomes q * multiplier with the sign that follows; where it is 0 it stays as it is.
 * refine 1 (the block coder has coded this block): q * multiplier is added with the coefficient's own
 * sign, and no sign bit follows; a coefficient that is 0 is treated as with refine 0. Results wrap.
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
 * Encodes the refinement of one block in m = modelBits bits each (model bits less trimBits).
 *
 * coded 0 (the block coder has not coded this block): the lowest m bits of |c| >> trimBits, and a sign where they
 * are not all 0. coded 1: the packed values that zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R and its like left,
 * pPacked[4 * row + column]: the lowest m + (value & 1) bits of value >> 1. Decoding with modelBits = m,
 * multiplier = 1 << trimBits and refine = coded restores the coefficients except for what was trimmed.
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
 * Images of 8-bit pixels to 4x4 blocks of a fixed size and back (the blocks of S3TC and RGTC: Khronos
 * Data Format Specification, 18 and 19). Blocks follow one another without padding: ceil(width / 4) for
 * each row of blocks, left to right, the rows top to bottom. Pixel i of a block is that of row i / 4 and
 * column i % 4. All words are little-endian.
 *
 * - Colour part, 8 bytes: two 16-bit colours c0 and c1 (5 bits of red on top, 6 of green, 5 of blue), then
 *   sixteen 2-bit indexes, pixel i in bits 2i and 2i + 1. It is the whole of a DXT1 block, and the second
 *   half of a DXT3 or DXT5 block.
 * - Alpha part of DXT3, 8 bytes: sixteen 4-bit values, pixel 0 in the lower half of byte 0.
 * - Channel part, 8 bytes: a0, a1, then sixteen 3-bit indexes, pixel i in bits 3i to 3i + 2 of 48. It is
 *   the alpha part of DXT5 and the whole of a BC4 block; a BC5 block has one for R and one for G.
 *
 * **Checks**: pSrc, pDst: ::zepStatusNullPtr; a step of 0: ::zepStatusBadStep; a width or height below 1:
 * ::zepStatusBadSize. **Not checked**: that the buffers hold what the sizes say, and the step: it may be
 * negative, or smaller than a row, whose pixels later rows then replace. Any bytes are good blocks.
 * Sources and destinations have any alignment and do not overlap. Everything runs on the calling thread.
 *
 * Decoders write the pixels inside roiSize and nothing else. Encoders read those; a block that reaches
 * beyond the right edge repeats the last pixel of each of its rows, one that reaches beyond the bottom the
 * last row.
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
 * DXT1 to RGBA, 8 bytes a block. A colour is widened by its upper bits (r << 3 | r >> 2). Where c0 > c1,
 * the palette is c0, c1, (2 c0 + c1) / 3, (c0 + 2 c1) / 3 for each channel, truncated; otherwise c0, c1,
 * (c0 + c1) >> 1 and white. Alpha is 255 throughout, for the fourth colour too.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(const uint8_t* pSrc,
                                                                      uint8_t* pDst,
                                                                      int32_t dstStep,
                                                                      zepiSize roiSize);
/**
 * DXT3 to RGBA, 16 bytes a block. Colours as in DXT1 where c0 > c1, whatever c0 and c1 are; alpha is
 * 16 times its 4-bit value: 240 at most.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(const uint8_t* pSrc,
                                                                      uint8_t* pDst,
                                                                      int32_t dstStep,
                                                                      zepiSize roiSize);
/**
 * DXT5 to RGBA, 16 bytes a block. Colours as in DXT3. Alpha from a palette of eight: where a0 > a1, a0, a1
 * and ((7 - k) a0 + k a1 + 3) / 7 for k = 1..6; otherwise a0, a1, ((5 - k) a0 + k a1 + 2) / 5 for
 * k = 1..4, 0 and 255.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(const uint8_t* pSrc,
                                                                      uint8_t* pDst,
                                                                      int32_t dstStep,
                                                                      zepiSize roiSize);
/**
 * RGBA to DXT1; alpha is ignored. For each channel the bounds of the block, lo and hi, are drawn in by
 * (hi - lo) >> 4; c0 is what 5:6:5 bits keep of the upper ones, c1 of the lower ones, so that c0 >= c1.
 * A pixel's index is that of the nearest colour of the palette by |R - r| + |G - g| + |B - b|, found by
 * comparisons along the line from c0 to c1. One pass, no search.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* pSrc,
                                                                        int32_t srcStep,
                                                                        zepiSize roiSize,
                                                                        uint8_t* pDst);
/** RGBA to DXT3: the colour part as in DXT1, alpha cut to its upper four bits. */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(const uint8_t* pSrc,
                                                                        int32_t srcStep,
                                                                        zepiSize roiSize,
                                                                        uint8_t* pDst);
/** RGBA to DXT5: the colour part as in DXT1, alpha as by zepiTextureEncodeBlock_BC4_8u_C1R(). */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(const uint8_t* pSrc,
                                                                        int32_t srcStep,
                                                                        zepiSize roiSize,
                                                                        uint8_t* pDst);
/**
 * Y Co Cg (chroma with an offset of 128) to DXT5: Y goes into the alpha part, Co becomes red, Cg green,
 * and blue is 0. A shader gets R = Y + Co - Cg, G = Y + Cg, B = Y - Co - Cg, with the offsets taken off.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(const uint8_t* pSrc,
                                                                         int32_t srcStep,
                                                                         zepiSize roiSize,
                                                                         uint8_t* pDst);
/** BC4 to one channel, 8 bytes a block, by the palette of DXT5's alpha. */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlock_BC4_8u_C1R(const uint8_t* pSrc, uint8_t* pDst,
                                                             int32_t dstStep, zepiSize roiSize);
/** BC5 to R G pixels, 16 bytes a block: R's channel part, then G's. */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRG_BC5_8u_C1C2R(const uint8_t* pSrc,
                                                                   uint8_t* pDst, int32_t dstStep,
                                                                   zepiSize roiSize);
/**
 * One channel to BC4. The bounds of the block, drawn in by (hi - lo) >> 4, become a1 and a0. With
 * bias = (a0 - a1) / 14 there are seven thresholds: a1 + bias and ((7 - j) a0 + j a1) / 7 + bias for
 * j = 1..6, truncated. Of c thresholds that are not below the value, the index is 0 for c = 0, 1 for
 * c = 7, else c + 1. A block of equal values has a0 = a1 and indexes of 1.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlock_BC4_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                             zepiSize roiSize, uint8_t* pDst);
/** R G pixels to BC5, each channel as in BC4. */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R(const uint8_t* pSrc,
                                                                     int32_t srcStep,
                                                                     zepiSize roiSize,
                                                                     uint8_t* pDst);
/** @} */

/**
 * @defgroup bptc Textures: BC6H, BC7
 *
 * Blocks of 16 bytes for 4x4 pixels with a choice of modes (BPTC: Khronos Data Format Specification, 20 and
 * 21). A mode says how many end points there are, in how many bits, and how the pixels are divided among
 * them. Order of blocks, checks, steps and edges: as in the group @ref texture. Any bytes are good
 * blocks.
 *
 * How it works and where the time goes: [docs/bptc.md](../docs/bptc.md).
 * @{
 */

/**
 * BC6H without sign to halves (IEEE 754 binary16 as words) R G B, of which none is negative, infinite or
 * not a number. A block of a reserved mode gives zeros. dstStep is in bytes; rows need no alignment, so it
 * may be odd.
 *
 * End points are widened to 16 bits (0 stays 0, the highest value becomes 0xFFFF, all others get half a
 * unit more), mixed as ((64 - w) a + w b + 32) >> 6, and the half is (v * 31) >> 6.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R(const uint8_t* pSrc,
                                                                         uint16_t* pDst,
                                                                         int32_t dstStep,
                                                                         zepiSize roiSize);
/**
 * BC6H with sign to halves R G B. End points are widened to 15 bits and a sign; the half is
 * (|v| * 31) >> 5 with v's sign, but 0 has none. The 16-bit mode's end point -32768 gives minus infinity.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R(const uint8_t* pSrc,
                                                                         uint16_t* pDst,
                                                                         int32_t dstStep,
                                                                         zepiSize roiSize);
/**
 * BC7 to RGBA. End points are widened by their upper bits, mixed as ((64 - w) a + w b + 32) >> 6; rotations
 * exchange channels after that. Modes without alpha give 255. A block whose first byte is 0 gives 0 in
 * all channels.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(const uint8_t* pSrc,
                                                                     uint8_t* pDst, int32_t dstStep,
                                                                     zepiSize roiSize);
/**
 * RGBA to BC7, 16 bytes a block. mode 0 to 7: all blocks in that mode; -1: the best that is quickly found
 * among all modes; -2: the best of a thorough search. What a search keeps small is the sum of squared
 * differences over R, G, B and A; modes 0 to 3 have no alpha and decode with 255. A block whose
 * alpha is 255 throughout decodes so in every mode. The same pixels give the same block, whatever is around
 * them and on whatever processor.
 *
 * **Checks** besides: a mode below -2 or above 7, last: ::zepStatusNotSupportedMode.
 */
ZEP_API zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(const uint8_t* pSrc,
                                                                       int32_t srcStep,
                                                                       zepiSize roiSize,
                                                                       uint8_t* pDst, int32_t mode);
/** @} */

/**
 * @defgroup tiff TIFF: PackBits, byte planes
 *
 * Rows of TIFF strips (TIFF 6.0, section 9). Source and destination must not overlap. On the calling thread.
 *
 * How it works and where the time goes: [docs/tiff.md](../docs/tiff.md).
 * @{
 */
/**
 * Packs a row into the fewest bytes possible: packets of 1 to 128 literal bytes (control byte
 * count - 1) or of 2 to 128 equal ones (257 - count). Of the packings of that length it is the one whose
 * packets are literal, and long, as early as possible. At most srcLen + (srcLen + 127) / 128 bytes.
 *
 * Checks: pointers; `srcLen` below 1: ::zepStatusBadSize; `*pDstLen` below 1: ::zepStatusBufferExhausted.
 * @param[in,out] pDstLen room on entry, bytes written on return; on failure it keeps its value.
 * @return ::zepStatusBufferExhausted: too little room, and nothing was written.
 */
ZEP_API zepStatus ZEP_CALL zepiPackBitsRow_TIFF_8u_C1(const uint8_t* pSrc, int32_t srcLen,
                                                      uint8_t* pDst, int32_t* pDstLen);
/**
 * Unpacks a row of `dstLen` bytes. The control byte 128 is skipped; bytes after the row are not read.
 *
 * Checks: pointers; `dstLen` below 1: ::zepStatusBadSize; `*pSrcLen` below 1: ::zepStatusUnpackBitsOverrun.
 * @param[in,out] pSrcLen bytes there on entry, bytes consumed on return.
 * @return ::zepStatusUnpackBitsOverrun: a packet would reach beyond the row or the source, or the source ended
 *   before the row was full. What came before is in `pDst`; `*pSrcLen` is the offset of that packet's control
 *   byte, or the end.
 */
ZEP_API zepStatus ZEP_CALL zepiUnpackBitsRow_TIFF_8u_C1(const uint8_t* pSrc, int32_t* pSrcLen,
                                                        uint8_t* pDst, int32_t dstLen);
/**
 * `width` samples as 2 * width bytes: all high bytes, then all low bytes. Checks: pointers, then
 * ::zepStatusBadSize for a width below 1. Samples may have any alignment.
 */
ZEP_API zepStatus ZEP_CALL zepiSplitRow_TIFF_16u8u_C1(const uint16_t* pSrc, uint8_t* pDst,
                                                      int32_t width);
/**
 * Joins `width` high bytes and as many low bytes to samples: the reverse of
 * zepiSplitRow_TIFF_16u8u_C1().
 */
ZEP_API zepStatus ZEP_CALL zepiJoinRow_TIFF_8u16u_C1(const uint8_t* pSrc, uint16_t* pDst,
                                                     int32_t width);
/** @} */

/** @cond Record sizes are part of the binary interface. */
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
