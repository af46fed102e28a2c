/* SPDX-License-Identifier: MIT */
/**
 * @file
 * Complete image codecs: JPEG, lossless JPEG, JPEG 2000, JPEG XR, DDS textures and TIFF, in memory.
 *
 * @code
 *   zepcPicture* picture = NULL;
 *   if (zepcDecode(file, file_size, NULL, &picture) == zepcStatusOk) {
 *     zepcPixels pixels = {sizeof(pixels)};
 *     zepcPicturePixels(picture, &pixels);
 *     ...                                   // pixels.data, pixels.stride, pixels.width ...
 *     zepcPictureFree(picture);
 *   } else {
 *     fprintf(stderr, "%s\n", zepcLastError());
 *   }
 * @endcode
 *
 * **Structs grow.** Every struct that the caller makes begins with its own `size`, which the caller
 * sets to `sizeof`. Later versions add members at the end; what a caller compiled earlier does not
 * have counts as 0. **0 is the default of every option**, so `zepcJpegOptions jpeg = {sizeof(jpeg)};`
 * and then the members that matter is all that is needed.
 *
 * **Errors.** A function that returns a status leaves its outputs as they were when the status is
 * negative, and zepcLastError() has a sentence about it. No C++ exception leaves the library, and a
 * lack of memory is the status zepcStatusNoMemory.
 *
 * **Damage.** Of a damaged file the codecs save what they can. By default such a file is an error
 * (zepcStatusBadFile). With `keeps_damaged` the picture is returned together with
 * zepcStatusDamaged, and zepcPictureMessage() describes the damage.
 *
 * **Threads.** All functions can be called from any thread, also at the same time with different
 * objects; a zepcPicture or zepcCoefficients that nobody changes can be read from several threads.
 * The number of threads that a call uses changes its time only, never a byte of its result.
 *
 * **Samples** are in the machine's byte order. Unsigned samples of fewer bits than their type has lie
 * at its lower end (12 bits: 0 to 4095). Fixed point and floats are linear light: 1 is white, 2^13
 * in 16 bits and 2^24 in 32.
 */
#ifndef ZEPCODEC_H_
#define ZEPCODEC_H_

#include <stddef.h>
#include <stdint.h>

/** @cond */
#if defined(_WIN32)
#  define ZEPC_API
#else
#  define ZEPC_API __attribute__((visibility("default")))
#endif

/* In C++ too a member of the caller's structs can have any value, which is then refused. */
#ifdef __cplusplus
#  define ZEPC_INT32 : int32_t
#else
#  define ZEPC_INT32
#endif
/** @endcond */

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup zepc_basics Statuses and formats
 * @{ */

/** What a call came to: 0, a positive remark, or a negative failure. */
typedef enum zepcStatus {
  zepcStatusOk = 0,      /**< Done. */
  zepcStatusDamaged = 1, /**< A picture of a damaged file; see zepcDecodeOptions::keeps_damaged. */
  zepcStatusBadArgument =
      -1, /**< A null pointer, an option out of range, a buffer that is too small. */
  zepcStatusUnknownFormat = -2, /**< The bytes are of no format that this library knows. */
  zepcStatusUnsupported = -3,   /**< Beyond what the format, or this library, can do. */
  zepcStatusBadFile = -4,       /**< Damaged, or not what it says. */
  zepcStatusTooLarge = -5,      /**< Beyond `max_pixels` or `max_memory`. */
  zepcStatusNoMemory = -6,      /**< Memory was refused. */
  zepcStatusCancelled = -7,     /**< The progress callback asked for it. */
  zepcStatusWriteFailed = -8    /**< The write callback failed. */
} zepcStatus;

/** The formats of files. */
typedef enum zepcFormat ZEPC_INT32 {
  zepcFormatUnknown = 0,      /**< None of these. */
  zepcFormatJpeg = 1,         /**< Baseline, extended and progressive (ITU-T T.81). */
  zepcFormatLosslessJpeg = 2, /**< Lossless with Huffman coding (ITU-T T.81, annex H). */
  zepcFormatJp2 = 3,          /**< JPEG 2000 in a JP2 file (ITU-T T.800). */
  zepcFormatJ2k = 4,          /**< A JPEG 2000 codestream on its own. */
  zepcFormatJpegXr = 5,       /**< JPEG XR (ITU-T T.832). */
  zepcFormatDds = 6,          /**< Block-compressed textures. */
  zepcFormatTiff = 7          /**< TIFF 6.0, uncompressed or PackBits. */
} zepcFormat;

/** What a format is, and what this library can do with it. */
typedef struct zepcFormatFacts {
  zepcFormat format;      /**< Its number. */
  const char* name;       /**< "JPEG 2000 (JP2)". */
  const char* extensions; /**< Of file names, in lower case, the usual one first: "jpg jpeg jpe". */
  const char* media_type; /**< "image/jp2". */
  const char* reads;      /**< What can be decoded, in words. */
  const char* writes;     /**< What can be encoded, in words. */
  int32_t keeps_exif;     /**< Whether files written here hold it; so below. */
  int32_t keeps_icc;      /**< An ICC profile. */
  int32_t keeps_xmp;      /**< An XMP packet. */
  int32_t keeps_resolution; /**< The resolution. */
  uint32_t depths;          /**< Of the unsigned samples that files written here hold: bit n - 1 is
                                 set for n bits. */
  int32_t holds_opacity;    /**< Whether files written here hold it; so below. */
  int32_t holds_cmyk;       /**< Inks. */
} zepcFormatFacts;

/** The version of the library, "7.1.0". */
ZEPC_API const char* zepcVersion(void);

/**
 * What went wrong in this thread's last call that returned a negative status: one sentence, without a
 * full stop. Valid until the thread's next call; "" if there was none.
 */
ZEPC_API const char* zepcLastError(void);

/** The facts of the format with this index, from 0; null beyond the last one. */
ZEPC_API const zepcFormatFacts* zepcFormatAt(int32_t index);

/** The format of a file by its first bytes; of JPEG also by its frame header. */
ZEPC_API zepcFormat zepcFormatOfBytes(const void* data, size_t size);

/** The format that a file name, or an extension alone, stands for; capitals do not matter. */
ZEPC_API zepcFormat zepcFormatOfName(const char* name);

/** @} */
/** @defgroup zepc_pixels Pixels and metadata
 * @{ */

/** The channels of a pixel, in their order. */
typedef enum zepcLayout ZEPC_INT32 {
  zepcLayoutNative =
      0, /**< As the file has it: grey, RGB or CMYK, with opacity where there is some. */
  zepcLayoutGrey = 1,      /**< One channel. */
  zepcLayoutGreyAlpha = 2, /**< Grey, opacity. */
  zepcLayoutRgb = 3,       /**< Red, green, blue. */
  zepcLayoutRgba = 4,      /**< Colours are never multiplied by opacity. */
  zepcLayoutBgr = 5,       /**< Blue, green, red. */
  zepcLayoutBgra = 6,      /**< Blue, green, red, opacity. */
  zepcLayoutCmyk = 7       /**< The amount of ink: 0 none, the largest value full. */
} zepcLayout;

/** How a sample is stored, in the machine's byte order. */
typedef enum zepcSample ZEPC_INT32 {
  zepcSampleNative = 0, /**< As the file has it. */
  zepcSampleU8 = 1,     /**< Unsigned, one byte. */
  zepcSampleU16 = 2,    /**< Unsigned, two bytes. */
  zepcSampleS16 = 3,    /**< Fixed point. */
  zepcSampleS32 = 4,    /**< Fixed point. */
  zepcSampleF16 = 5,    /**< IEEE 754 binary16. */
  zepcSampleF32 = 6     /**< IEEE 754 binary32. */
} zepcSample;

/** Pixels in memory. */
typedef struct zepcPixels {
  size_t size;       /**< sizeof(zepcPixels). */
  void* data;        /**< The first sample of the top row. Encoders only read it. */
  size_t stride;     /**< Bytes from one row to the next. */
  int32_t width;     /**< In pixels, at least 1. */
  int32_t height;    /**< In pixels, at least 1. */
  zepcLayout layout; /**< Not zepcLayoutNative. */
  zepcSample sample; /**< Not zepcSampleNative. */
  int32_t bits;      /**< Of an unsigned sample; 0: all of its type. */
} zepcPixels;

/** What the resolution of a picture counts. */
typedef enum zepcResolutionUnit ZEPC_INT32 {
  zepcResolutionNone = 0,  /**< Unknown. */
  zepcResolutionShape = 1, /**< x : y is the shape of a pixel, its size unknown. */
  zepcResolutionInch = 2,  /**< Pixels per inch. */
  zepcResolutionCm = 3     /**< Pixels per centimetre. */
} zepcResolutionUnit;

/**
 * What belongs to a picture besides its pixels. From a picture, the pointers are valid until it is
 * freed; for an encoder they are the caller's. What the format has no place for is left out.
 */
typedef struct zepcMetadata {
  size_t size;      /**< sizeof(zepcMetadata). */
  const void* exif; /**< EXIF data, a TIFF structure; null: none. */
  size_t exif_size; /**< In bytes. */
  const void* icc;  /**< An ICC colour profile. */
  size_t icc_size;  /**< In bytes. */
  const void* xmp;  /**< An XMP packet. */
  size_t xmp_size;  /**< In bytes. */
  int32_t
      orientation; /**< As EXIF counts it: 1 upright, 2 to 8 mirrored or turned; 0 unknown. Encoders
                            use it where `exif` tells none. */
  zepcResolutionUnit resolution_unit; /**< What the next two count. */
  double resolution_x;                /**< Horizontally. */
  double resolution_y;                /**< Vertically. */
  const void*
      jpeg_segments; /**< Further application segments and comments of a JPEG file, each with
                                   its marker and length, for other JPEG files. */
  size_t jpeg_segments_size; /**< In bytes. */
} zepcMetadata;

/** The orientation that EXIF data, a TIFF structure, tells: 1 to 8; 0: none. */
ZEPC_API int32_t zepcExifOrientation(const void* exif, size_t exif_size);

/** @} */
/** @defgroup zepc_decode Decoding
 * @{ */

/** What becomes of opacity. */
typedef enum zepcOpacity ZEPC_INT32 {
  zepcOpacityAuto = 0,  /**< Kept where the layout has it, else blended over white. */
  zepcOpacityBlend = 1, /**< Blended over zepcDecodeOptions::background. */
  zepcOpacityDrop = 2   /**< Left out, the colours as they are. */
} zepcOpacity;

/** A part of a picture, in pixels from its upper left corner. */
typedef struct zepcRect {
  int32_t x;      /**< The left column. */
  int32_t y;      /**< The top row. */
  int32_t width;  /**< In columns. */
  int32_t height; /**< In rows. */
} zepcRect;

/**
 * Called now and then with the part of the work that is done, from 0 to 1, by one thread at a time
 * but not always the same one. A result other than 0 ends the call with zepcStatusCancelled.
 */
typedef int32_t (*zepcProgress)(void* user, double done);

/**
 * Called with rows of a decoded picture from top to bottom: `rows->height` of them, the first one of
 * which is row `y`. They are valid during the call. A result other than 0 cancels.
 */
typedef int32_t (*zepcRows)(void* user, const zepcPixels* rows, int32_t y);

/** How to decode; all zeros is a good start. */
typedef struct zepcDecodeOptions {
  size_t size;        /**< sizeof(zepcDecodeOptions). */
  int64_t max_pixels; /**< Larger pictures are refused; 0: 2^28. */
  int64_t max_memory; /**< In bytes, with the picture; what would take more is refused. 0: 4 GiB. */
  int32_t threads;    /**< 0: one for each processor. */
  int32_t keeps_damaged; /**< Returns what can be saved of a damaged file. */
  int32_t
      reduce; /**< The picture at 1/2^reduce of its size, rounded up: JPEG 0 to 3, JPEG 2000 up to
                       the number of its levels. */
  int32_t layers;    /**< Quality layers of JPEG 2000, scans of progressive JPEG; 0: all. */
  int32_t level;     /**< Of a DDS file: 0 the picture, then each time half its size. */
  zepcLayout layout; /**< The channels wanted. */
  zepcSample
      sample; /**< zepcSampleU8 and zepcSampleU16 can be had of every file; the others are those
                          of the file only. */
  zepcOpacity opacity;         /**< What becomes of opacity. */
  uint16_t background[3];      /**< RGB, 65535 is white. */
  int32_t applies_orientation; /**< Turns the picture upright. */
  zepcRect region;             /**< Of the reduced, upright picture; width 0: all of it. */
  zepcRows rows;               /**< Gets the rows instead of a picture that is returned. */
  void* rows_user;             /**< Handed to `rows`. */
  zepcProgress progress;       /**< Null: none. */
  void* progress_user;         /**< Handed to `progress`. */
} zepcDecodeOptions;

/** What a file says about its picture, without decoding it. */
typedef struct zepcInfo {
  size_t size;            /**< sizeof(zepcInfo). */
  zepcFormat format;      /**< What the file is. */
  int32_t width;          /**< As stored: zepcDecode() gives this size without options. */
  int32_t height;         /**< In pixels. */
  zepcLayout layout;      /**< What zepcLayoutNative gives. */
  zepcSample sample;      /**< What zepcSampleNative gives. */
  int32_t bits;           /**< Of a sample. */
  int32_t components;     /**< As coded, before palettes and the like. */
  int32_t is_lossless;    /**< Coded without loss, as far as the headers tell. */
  int32_t is_progressive; /**< In several scans or layers. */
  int32_t orientation;    /**< As EXIF counts it; 0 unknown. */
  int32_t layers;         /**< JPEG 2000: quality layers; progressive JPEG: scans; else 1. */
  int32_t levels;         /**< How often the picture can be halved: see `reduce` and `level`. */
  int32_t tiles_across;   /**< Tiles in a row; 1 where the format has none. */
  int32_t tiles_down;     /**< Rows of tiles. */
  int32_t pictures;       /**< In the file; the first is decoded. */
  int32_t has_exif;       /**< Whether it holds EXIF data. */
  int32_t has_icc;        /**< Whether it holds an ICC profile. */
  int32_t has_xmp;        /**< Whether it holds an XMP packet. */
  int64_t memory;         /**< What zepcDecode() takes at most, about, with the picture. */
} zepcInfo;

/** A decoded picture with its metadata and messages. */
typedef struct zepcPicture zepcPicture;

/** Something noticed in a file. */
typedef struct zepcMessage {
  size_t size;       /**< sizeof(zepcMessage). */
  int32_t is_damage; /**< 1: samples are lost; 0: a note, nothing is lost. */
  int64_t offset;    /**< Of the byte in the file; negative: not known. */
  const char* text;  /**< One sentence with its place: "byte 120, MCU 7: no such code". */
} zepcMessage;

/**
 * Reads the headers of a file. Of `options`, which may be null, the limits count, and for
 * zepcInfo::memory all.
 *
 * @retval zepcStatusOk `info` is filled.
 */
ZEPC_API zepcStatus zepcProbe(const void* data, size_t size, const zepcDecodeOptions* options,
                              zepcInfo* info);

/**
 * Decodes a file to a picture that the library allocates.
 *
 * @param options Null: the defaults.
 * @param[out] picture The result, which zepcPictureFree() frees. With zepcDecodeOptions::rows it has
 *   metadata and messages, but no pixels.
 * @retval zepcStatusDamaged With `keeps_damaged` only: a picture with damaged parts.
 */
ZEPC_API zepcStatus zepcDecode(const void* data, size_t size, const zepcDecodeOptions* options,
                               zepcPicture** picture);

/**
 * Decodes a file into the caller's buffer. The size of `to` must be that of the result (zepcProbe()
 * tells it); its layout and samples take the place of those in `options`.
 *
 * @param[out] details If not null, gets a picture without pixels: metadata and messages.
 */
ZEPC_API zepcStatus zepcDecodeInto(const void* data, size_t size, const zepcDecodeOptions* options,
                                   const zepcPixels* to, zepcPicture** details);

/** The pixels of a picture, which stay its own. `pixels->data` is null where it has none. */
ZEPC_API zepcStatus zepcPicturePixels(const zepcPicture* picture, zepcPixels* pixels);

/** The metadata of a picture. */
ZEPC_API zepcStatus zepcPictureMetadata(const zepcPicture* picture, zepcMetadata* metadata);

/**
 * The message with this index, from 0: damage first, then notes.
 *
 * @retval zepcStatusBadArgument There are not that many.
 */
ZEPC_API zepcStatus zepcPictureMessage(const zepcPicture* picture, int32_t index,
                                       zepcMessage* message);

/** Frees a picture; null is allowed. */
ZEPC_API void zepcPictureFree(zepcPicture* picture);

/**
 * Converts pixels to another layout, kind of samples or depth, as zepcDecode() does for its options:
 * colours become luminance (ITU-R BT.601) or inks without black, inks RGB as (1 - ink)(1 - black),
 * unsigned samples are scaled to the new depth and rounded, fixed point and floats get the curve of
 * sRGB where they become unsigned.
 *
 * @param background For zepcOpacityBlend: RGB, 65535 is white; null: white.
 * @param to A buffer of the same size, which does not overlap `from`.
 * @retval zepcStatusUnsupported Fixed point and floats cannot be made of other samples, blended, or
 *   turned to grey or ink.
 */
ZEPC_API zepcStatus zepcConvert(const zepcPixels* from, zepcOpacity opacity,
                                const uint16_t* background, const zepcPixels* to);

/** @} */
/** @defgroup zepc_encode Encoding
 * @{ */

/** The resolution of chroma. */
typedef enum zepcSampling ZEPC_INT32 {
  zepcSamplingAuto = 0, /**< 4:2:0 in lossy JPEG, 4:4:4 in JPEG XR. */
  zepcSampling444 = 1,  /**< Chroma at full resolution. */
  zepcSampling422 = 2,  /**< At half the width. */
  zepcSampling420 = 3   /**< At half the width and height. */
} zepcSampling;

/** Grey, RGB and CMYK of 8 bits, grey and RGB of 12. */
typedef struct zepcJpegOptions {
  size_t size;              /**< sizeof(zepcJpegOptions). */
  int32_t quality;          /**< 1 to 100; 0: 90. */
  zepcSampling sampling;    /**< Of RGB and CMYK; files of 12 bits have 4:4:4. */
  int32_t is_progressive;   /**< In several scans, from coarse to fine. */
  int32_t optimizes;        /**< The Huffman tables fit the picture: smaller, but slower. */
  int32_t restart_interval; /**< In MCUs, up to 65535; 0: none. */
  const char*
      scan_script; /**< The scans of a progressive file; null: the usual ones. The form is in
                                 docs/jpeg-codec.md. */
} zepcJpegOptions;

/** 1 to 4 components of 2 to 16 bits. */
typedef struct zepcLosslessJpegOptions {
  size_t size;             /**< sizeof(zepcLosslessJpegOptions). */
  int32_t predictor;       /**< 1 to 7; 0: 1. */
  int32_t point_transform; /**< Low bits that are left out, 0 to 15. */
  int32_t restart_rows;    /**< Rows between restart markers; 0: none. */
} zepcLosslessJpegOptions;

/** Styles of JPEG 2000 code-blocks (ITU-T T.800, table A.19). */
typedef enum zepcBlockStyle {
  zepcBlockBypass = 1,       /**< Raw bits in the lower planes. */
  zepcBlockReset = 2,        /**< Contexts start anew at each pass. */
  zepcBlockTerminate = 4,    /**< Each pass ends its codeword. */
  zepcBlockCausal = 8,       /**< Contexts see no later stripe. */
  zepcBlockPredictable = 16, /**< Errors can be found at the end of a codeword. */
  zepcBlockSymbols = 32      /**< A mark after each cleanup pass. */
} zepcBlockStyle;

/** Grey, RGB, with and without opacity, and CMYK, of 1 to 16 bits; a codestream on its own has neither
 * opacity nor CMYK. Without loss unless one of `ratio`, `psnr` and `layer_bytes` asks for less. */
typedef struct zepcJpeg2000Options {
  size_t size;  /**< sizeof(zepcJpeg2000Options). */
  double ratio; /**< How many times smaller than the pixels. */
  double psnr;  /**< In dB: the smallest file that has it. */
  const size_t*
      layer_bytes;     /**< The bytes of the file up to each quality layer, rising; 0 as the last
                                  one: without loss. */
  int32_t layer_count; /**< Of `layer_bytes`. */
  int32_t levels;      /**< Of the wavelet, 1 to 32; 0: 5; -1: none. */
  int32_t block_style; /**< A sum of zepcBlockStyle. */
  int32_t tile_width;  /**< 0: one tile. */
  int32_t tile_height; /**< In pixels, like the width. */
  int32_t progression; /**< 0 LRCP, 1 RLCP, 2 RPCL, 3 PCRL, 4 CPRL. */
} zepcJpeg2000Options;

/** Grey and RGB of all kinds of samples. Without loss unless `quality` or `sampling` is set, but floats
 * of 32 bits keep 13 bits of their mantissa, and fixed point of 32 bits must lie in -2 to 2. */
typedef struct zepcJpegXrOptions {
  size_t size;           /**< sizeof(zepcJpegXrOptions). */
  int32_t quality;       /**< 1 to 100. */
  zepcSampling sampling; /**< Of RGB. */
  int32_t overlap;       /**< Filters across blocks: 0 one level, 1 two levels, -1 none. */
  int32_t
      is_frequency_order; /**< The bands of all blocks one after the other, not block by block. */
  int32_t tile_width;     /**< Multiples of 16; 0: one tile. */
  int32_t tile_height;    /**< Like the width. */
} zepcJpegXrOptions;

/** Kinds of texture blocks. */
typedef enum zepcTexture ZEPC_INT32 {
  zepcTextureAuto = 0, /**< BC3 with opacity, else BC1. */
  zepcTextureBc1 = 1,  /**< RGB, 4 bits a pixel. */
  zepcTextureBc2 = 2,  /**< RGB with 4 bits of opacity, 8 bits a pixel. */
  zepcTextureBc3 = 3,  /**< RGB with smooth opacity, 8 bits a pixel. */
  zepcTextureBc4 = 4,  /**< Grey. */
  zepcTextureBc5 = 5,  /**< Red and green. */
  zepcTextureBc7 = 6,  /**< RGB with opacity, the best, 8 bits a pixel. */
  zepcTextureYCoCg = 7 /**< BC3 with Y as its opacity and Co, Cg as colours. */
} zepcTexture;

/** 8 bits. */
typedef struct zepcDdsOptions {
  size_t size;         /**< sizeof(zepcDdsOptions). */
  zepcTexture texture; /**< The kind of blocks. */
  int32_t has_mipmaps; /**< Writes all levels down to one pixel. */
  int32_t
      header; /**< 0 four characters where they exist, 1 BC4U and BC5U, 2 the extended header. */
  int32_t bc7_mode; /**< 0 quick, 1 one mode alone, fastest; 2 thorough. */
  int32_t bc7_only; /**< 1 to 8: all blocks of BC7 in mode 0 to 7, for studies; 0: as `bc7_mode`. */
} zepcDdsOptions;

/** Grey and RGB of 8 or 16 bits. */
typedef struct zepcTiffOptions {
  size_t size;             /**< sizeof(zepcTiffOptions). */
  int32_t is_uncompressed; /**< Else PackBits. */
  int32_t
      has_byte_planes; /**< 16 bits: high bytes first, which packs better; a private form that other
                                programs refuse. */
} zepcTiffOptions;

/** What to write. Of the options of formats only the one for `format` is read; null: its defaults. */
typedef struct zepcEncodeOptions {
  size_t size;                                  /**< sizeof(zepcEncodeOptions). */
  zepcFormat format;                            /**< The format to write. */
  int32_t threads;                              /**< 0: one for each processor. */
  const zepcMetadata* metadata;                 /**< Null: none. */
  const zepcJpegOptions* jpeg;                  /**< Of zepcFormatJpeg. */
  const zepcLosslessJpegOptions* lossless_jpeg; /**< Of zepcFormatLosslessJpeg. */
  const zepcJpeg2000Options* jpeg2000;          /**< Of zepcFormatJp2 and zepcFormatJ2k. */
  const zepcJpegXrOptions* jpeg_xr;             /**< Of zepcFormatJpegXr. */
  const zepcDdsOptions* dds;                    /**< Of zepcFormatDds. */
  const zepcTiffOptions* tiff;                  /**< Of zepcFormatTiff. */
  zepcProgress progress;                        /**< Null: none. */
  void* progress_user;                          /**< Handed to `progress`. */
} zepcEncodeOptions;

/** Takes bytes of a file in their order; a result other than 0 ends the call. */
typedef int32_t (*zepcWrite)(void* user, const void* data, size_t size);

/**
 * Encodes pixels to a file in memory.
 *
 * What the format cannot hold is zepcStatusUnsupported; nothing is converted but the order of
 * channels, and unsigned samples of DDS and TIFF to the depths that these have.
 *
 * @param[out] file The bytes, which zepcFree() frees.
 */
ZEPC_API zepcStatus zepcEncode(const zepcPixels* pixels, const zepcEncodeOptions* options,
                               void** file, size_t* file_size);

/** The same through a callback. */
ZEPC_API zepcStatus zepcEncodeTo(const zepcPixels* pixels, const zepcEncodeOptions* options,
                                 zepcWrite write, void* write_user);

/** Frees the bytes of a file; null is allowed. */
ZEPC_API void zepcFree(void* file);

/** @} */
/** @defgroup zepc_jpeg JPEG without decoding
 * @{ */

/** Ways to mirror and turn a picture. */
typedef enum zepcTransform ZEPC_INT32 {
  zepcTransformNone = 0,       /**< Stays as it is. */
  zepcTransformMirrorX = 1,    /**< Left becomes right. */
  zepcTransformMirrorY = 2,    /**< Top becomes bottom. */
  zepcTransformTurn180 = 3,    /**< Upside down. */
  zepcTransformTranspose = 4,  /**< Rows become columns. */
  zepcTransformTurn90 = 5,     /**< Clockwise. */
  zepcTransformTurn270 = 6,    /**< Counter-clockwise. */
  zepcTransformTransverse = 7, /**< Along the other diagonal. */
  zepcTransformUpright = 8     /**< As the EXIF orientation asks for; it becomes 1. */
} zepcTransform;

/** What changes when a JPEG file is written anew; all zeros: nothing but its Huffman codes. */
typedef struct zepcTranscodeOptions {
  size_t size;             /**< sizeof(zepcTranscodeOptions). */
  zepcTransform transform; /**< How to mirror or turn. */
  int32_t
      is_exact; /**< Refuse what needs an edge cut off: only whole MCUs can come to lie at the left
                         and the top. Otherwise up to an MCU less one pixel is cut off. */
  zepcRect
      region; /**< After the transform; its left and top are rounded down to MCUs. Width 0: all. */
  int32_t is_progressive;   /**< Several scans, from coarse to fine. */
  int32_t optimizes;        /**< Huffman tables that fit the picture. */
  int32_t restart_interval; /**< In MCUs, up to 65535; 0: none. */
  const char* scan_script;  /**< The scans; null: the usual ones. */
  int32_t drops_metadata;   /**< Leaves out all application segments and comments. */
  int32_t keeps_damaged;    /**< Writes what can be saved of a damaged file. */
  int64_t max_pixels;       /**< 0: 2^28. */
  int64_t max_memory;       /**< 0: 4 GiB. */
} zepcTranscodeOptions;

/**
 * Writes a JPEG file anew without touching its coefficients: other tables, scans or restart
 * intervals, turned, mirrored, or a part of it. All application segments are kept.
 */
ZEPC_API zepcStatus zepcJpegTranscode(const void* data, size_t size,
                                      const zepcTranscodeOptions* options, void** file,
                                      size_t* file_size);

/** The quantized coefficients of a JPEG picture. */
typedef struct zepcCoefficients zepcCoefficients;

/** The size of a picture of coefficients. */
typedef struct zepcCoefficientsInfo {
  size_t size;        /**< sizeof(zepcCoefficientsInfo). */
  int32_t width;      /**< Of the picture, in pixels. */
  int32_t height;     /**< In pixels. */
  int32_t bits;       /**< 8 or 12. */
  int32_t components; /**< 1, 3 or 4. */
} zepcCoefficientsInfo;

/** A component. Blocks lie row by row, 64 values each in natural (row-major) order; those to the right
 * and below that only fill up the last MCUs are there too. */
typedef struct zepcComponent {
  size_t size;           /**< sizeof(zepcComponent). */
  int32_t h;             /**< Sampling factors, 1 to 4. */
  int32_t v;             /**< The vertical factor; `h` is the horizontal one. */
  uint16_t steps[64];    /**< Of the quantizer, in natural order. */
  int32_t blocks_across; /**< Blocks in a row, with those that fill up MCUs. */
  int32_t blocks_down;   /**< Rows of blocks. */
  int16_t* blocks;       /**< Can be changed until the coefficients are freed. */
} zepcComponent;

/** Reads the coefficients of a JPEG file of 8 or 12 bits; `options` counts for its limits,
 * `keeps_damaged` and progress. */
ZEPC_API zepcStatus zepcJpegReadCoefficients(const void* data, size_t size,
                                             const zepcDecodeOptions* options,
                                             zepcCoefficients** coefficients);

/** Makes coefficients, all 0, for a picture of this size. Of `components` sampling factors and steps are
 * read. */
ZEPC_API zepcStatus zepcJpegMakeCoefficients(const zepcCoefficientsInfo* info,
                                             const zepcComponent* components,
                                             zepcCoefficients** coefficients);

/** The size and depth of the picture, and the number of its components. */
ZEPC_API zepcStatus zepcJpegCoefficientsInfo(const zepcCoefficients* coefficients,
                                             zepcCoefficientsInfo* info);

/** The component with this index, from 0. */
ZEPC_API zepcStatus zepcJpegComponent(zepcCoefficients* coefficients, int32_t index,
                                      zepcComponent* component);

/** Writes coefficients as a file; of `options` all but `quality` and `sampling` counts. Values beyond
 * what the Huffman codes of JPEG can hold are zepcStatusUnsupported. */
ZEPC_API zepcStatus zepcJpegWriteCoefficients(const zepcCoefficients* coefficients,
                                              const zepcJpegOptions* options,
                                              const zepcMetadata* metadata, void** file,
                                              size_t* file_size);

/** Null is allowed. */
ZEPC_API void zepcJpegFreeCoefficients(zepcCoefficients* coefficients);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZEPCODEC_H_ */
