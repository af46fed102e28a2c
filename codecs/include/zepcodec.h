/* SPDX-License-Identifier: MIT */
/**
 * @file zepcodec.h
 * @brief Complete image codecs in memory: JPEG, lossless JPEG, JPEG 2000, JPEG XR, DDS textures and
 *   TIFF.
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
 * **Structs may grow.** Every struct that the caller makes begins with its own `size`, which the
 * caller sets to `sizeof`. Later versions add members at the end. A program that was compiled with
 * an older header does not have them, and they count as 0. **0 is the default of every option**, so
 * write `zepcJpegOptions jpeg = {sizeof(jpeg)};` and then set only the members that matter.
 *
 * **Errors.** If a function returns a negative status, it leaves its outputs as they were, and
 * zepcLastError() returns a sentence about the failure. No C++ exception leaves the library; a lack
 * of memory is the status zepcStatusNoMemory.
 *
 * **Damage.** By default a damaged file is an error (zepcStatusBadFile). With `keeps_damaged` the
 * codecs save what they can: they return the picture together with zepcStatusDamaged, and
 * zepcPictureMessage() describes the damage.
 *
 * **Threads.** All functions can be called from any thread, also at the same time with different
 * objects. Several threads may read the same zepcPicture or zepcCoefficients as long as none
 * changes it. The number of threads that a call uses changes its time, never a byte of its result.
 *
 * **Samples** are in the machine's byte order. An unsigned sample with fewer bits than its type
 * uses the low bits (12 bits: 0 to 4095). Fixed point and floats are linear light. White is 1 in
 * floats, 2^13 in 16-bit and 2^24 in 32-bit fixed point.
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

/* A fixed underlying type: in C++ too, the callers may store any value, which is then refused. */
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

/**
 * The outcome of a call: 0 for success, a positive value for a remark, a negative one for a
 * failure.
 */
typedef enum zepcStatus {
  zepcStatusOk = 0,      /**< Done. */
  zepcStatusDamaged = 1, /**< The picture has damage; see zepcDecodeOptions::keeps_damaged. */
  /** A null pointer, an option out of range, a buffer that is too small. */
  zepcStatusBadArgument = -1,
  zepcStatusUnknownFormat = -2, /**< This library does not know the format. */
  zepcStatusUnsupported = -3,   /**< The format, or this library, cannot do it. */
  zepcStatusBadFile = -4,       /**< The file is damaged, or contradicts itself. */
  zepcStatusTooLarge = -5,      /**< It exceeds `max_pixels` or `max_memory`. */
  zepcStatusNoMemory = -6,      /**< An allocation failed. */
  zepcStatusCancelled = -7,     /**< The progress callback asked for it. */
  zepcStatusWriteFailed = -8    /**< The write callback failed. */
} zepcStatus;

/** The file formats. */
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
  zepcFormat format; /**< The format. */
  const char* name;  /**< The name, such as "JPEG 2000". */
  /** File extensions in lower case, the usual one first: "jpg jpeg jpe". */
  const char* extensions;
  const char* media_type;   /**< The media type, such as "image/jp2". */
  const char* reads;        /**< A description of what can be decoded. */
  const char* writes;       /**< A description of what can be encoded. */
  int32_t keeps_exif;       /**< Whether written files store EXIF data. */
  int32_t keeps_icc;        /**< Whether they store an ICC profile. */
  int32_t keeps_xmp;        /**< Whether they store an XMP packet. */
  int32_t keeps_resolution; /**< Whether they store the resolution. */
  /** The depths of unsigned samples that written files can hold: bit n - 1 stands for n bits. */
  uint32_t depths;
  int32_t holds_opacity; /**< Whether written files can hold opacity. */
  int32_t holds_cmyk;    /**< Whether they can hold CMYK. */
} zepcFormatFacts;

/** Returns the version of the library, "7.1.0". */
ZEPC_API const char* zepcVersion(void);

/**
 * Describes the failure of this thread's last call that returned a negative status, in one sentence
 * without a full stop. The text is valid until the thread's next call; "" if there was no failure.
 */
ZEPC_API const char* zepcLastError(void);

/** Returns the facts of the format with this index, from 0, or null after the last one. */
ZEPC_API const zepcFormatFacts* zepcFormatAt(int32_t index);

/** Recognizes the format of a file by its first bytes, and of JPEG also by its frame header. */
ZEPC_API zepcFormat zepcFormatOfBytes(const void* data, size_t size);

/**
 * Returns the format that a file name or an extension alone stands for. Capitals do not matter.
 */
ZEPC_API zepcFormat zepcFormatOfName(const char* name);

/** @} */
/** @defgroup zepc_pixels Pixels and metadata
 * @{ */

/** The channels of a pixel, in their order. */
typedef enum zepcLayout ZEPC_INT32 {
  zepcLayoutNative = 0, /**< As in the file: grey, RGB or CMYK, with opacity if the file has it. */
  zepcLayoutGrey = 1,   /**< One channel. */
  zepcLayoutGreyAlpha = 2, /**< Grey, opacity. */
  zepcLayoutRgb = 3,       /**< Red, green, blue. */
  zepcLayoutRgba = 4,      /**< Red, green, blue, opacity. Colours are not multiplied by opacity. */
  zepcLayoutBgr = 5,       /**< Blue, green, red. */
  zepcLayoutBgra = 6,      /**< Blue, green, red, opacity. */
  zepcLayoutCmyk = 7       /**< Amounts of ink: 0 is none, the largest value full. */
} zepcLayout;

/** How a sample is stored, in the machine's byte order. */
typedef enum zepcSample ZEPC_INT32 {
  zepcSampleNative = 0, /**< As in the file. */
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
  int32_t bits;      /**< Bits of an unsigned sample; 0: all bits of its type. */
} zepcPixels;

/** The unit of a picture's resolution. */
typedef enum zepcResolutionUnit ZEPC_INT32 {
  zepcResolutionNone = 0,  /**< Unknown. */
  zepcResolutionShape = 1, /**< x : y is the pixel aspect ratio; the size is unknown. */
  zepcResolutionInch = 2,  /**< Pixels per inch. */
  zepcResolutionCm = 3     /**< Pixels per centimetre. */
} zepcResolutionUnit;

/**
 * The data of a picture other than its pixels. In the metadata of a picture, the pointers are valid
 * until the picture is freed; for an encoder they belong to the caller. Data that the format cannot
 * store is left out.
 */
typedef struct zepcMetadata {
  size_t size;      /**< sizeof(zepcMetadata). */
  const void* exif; /**< EXIF data, a TIFF structure; null: none. */
  size_t exif_size; /**< In bytes. */
  const void* icc;  /**< An ICC colour profile. */
  size_t icc_size;  /**< In bytes. */
  const void* xmp;  /**< An XMP packet. */
  size_t xmp_size;  /**< In bytes. */
  /**
   * The EXIF orientation: 1 upright, 2 to 8 mirrored or turned, 0 unknown. Encoders use it
   * where `exif` has none.
   */
  int32_t orientation;
  zepcResolutionUnit resolution_unit; /**< The unit of the next two members. */
  double resolution_x;                /**< The horizontal resolution. */
  double resolution_y;                /**< The vertical resolution. */
  /**
   * Further application segments and comments of a JPEG file, each with its marker and length, for
   * other JPEG files.
   */
  const void* jpeg_segments;
  size_t jpeg_segments_size; /**< In bytes. */
} zepcMetadata;

/** The orientation that EXIF data, a TIFF structure, tells: 1 to 8; 0: none. */
ZEPC_API int32_t zepcExifOrientation(const void* exif, size_t exif_size);

/** Sets the orientation in EXIF data to 1, in place, if there is one. */
ZEPC_API void zepcExifSetUpright(void* exif, size_t exif_size);

/** @} */
/** @defgroup zepc_decode Decoding
 * @{ */

/** What a decoder does with opacity. */
typedef enum zepcOpacity ZEPC_INT32 {
  zepcOpacityAuto = 0,  /**< Kept if the layout has it, else blended over white. */
  zepcOpacityBlend = 1, /**< Blended over zepcDecodeOptions::background. */
  zepcOpacityDrop = 2   /**< Left out; the colours stay as they are. */
} zepcOpacity;

/** A part of a picture, in pixels from its upper left corner. */
typedef struct zepcRect {
  int32_t x;      /**< The left column. */
  int32_t y;      /**< The top row. */
  int32_t width;  /**< In columns. */
  int32_t height; /**< In rows. */
} zepcRect;

/**
 * Called from time to time with the finished part of the work, from 0 to 1. Only one thread calls
 * it at a time, but not always the same one. A result other than 0 ends the call with
 * zepcStatusCancelled.
 */
typedef int32_t (*zepcProgress)(void* user, double done);

/**
 * Receives rows of a decoded picture from top to bottom: `rows->height` rows, starting with row
 * `y` of the region. They are valid during the call. Only one thread calls it at a time, but not
 * always the same one. A result other than 0 ends decoding with zepcStatusCancelled.
 */
typedef int32_t (*zepcRows)(void* user, const zepcPixels* rows, int32_t y);

/** How to decode. All zeros are good defaults. */
typedef struct zepcDecodeOptions {
  size_t size;        /**< sizeof(zepcDecodeOptions). */
  int64_t max_pixels; /**< Larger pictures are refused. 0: 2^28. */
  /** Most memory in bytes, with the picture; files that would need more are refused. 0: 4 GiB. */
  int64_t max_memory;
  int32_t threads;       /**< The most threads to use; 0: one for each processor. */
  int32_t keeps_damaged; /**< Not 0: return what can be saved of a damaged file. */
  /**
   * Decodes at 1/2^reduce of the size, rounded up: 0 to 3 for JPEG, up to the number of its levels
   * for JPEG 2000.
   */
  int32_t reduce;
  /** How many quality layers of JPEG 2000, or scans of progressive JPEG, to decode; 0: all. */
  int32_t layers;
  /** The level of a DDS file: 0 is the picture, each further level half the size. */
  int32_t level;
  zepcLayout layout; /**< The channels wanted. */
  /**
   * The samples wanted. zepcSampleU8 and zepcSampleU16 work for every file, other types only if the
   * file has them.
   */
  zepcSample sample;
  zepcOpacity opacity;    /**< What to do with opacity. */
  uint16_t background[3]; /**< The colour for zepcOpacityBlend: RGB, 65535 is white. */
  /** Not 0: turn the picture upright, as its EXIF orientation says. */
  int32_t applies_orientation;
  /** The part wanted, in pixels of the reduced, upright picture; width 0: all of it. */
  zepcRect region;
  /**
   * Not null: receives the rows; the returned picture then has no pixels. JPEG with one scan and
   * files in tiles or strips are decoded while their rows are handed out, in the memory of a few
   * rows of MCUs, or of a row of tiles. Other files are decoded first. If decoding fails in the
   * middle of a file, the callback has already received the rows above.
   */
  zepcRows rows;
  void* rows_user;       /**< Passed to `rows`. */
  zepcProgress progress; /**< The progress callback, or null. */
  void* progress_user;   /**< Passed to `progress`. */
} zepcDecodeOptions;

/** What a file says about its picture, found without decoding it. */
typedef struct zepcInfo {
  size_t size;            /**< sizeof(zepcInfo). */
  zepcFormat format;      /**< The format of the file. */
  int32_t width;          /**< The stored width, which zepcDecode() gives without options. */
  int32_t height;         /**< The stored height. */
  zepcLayout layout;      /**< The layout that zepcLayoutNative gives. */
  zepcSample sample;      /**< The type that zepcSampleNative gives. */
  int32_t bits;           /**< Bits of a sample. */
  int32_t components;     /**< Components as coded, for example 1 with a palette. */
  int32_t is_lossless;    /**< Whether it is coded without loss, as far as the headers tell. */
  int32_t is_progressive; /**< Whether it has several scans or layers. */
  int32_t orientation;    /**< The EXIF orientation; 0 unknown. */
  int32_t layers;         /**< JPEG 2000: quality layers; progressive JPEG: scans; else 1. */
  int32_t levels;         /**< The largest possible `reduce` or `level`. */
  int32_t tiles_across;   /**< Tiles in a row; 1 where the format has none. */
  int32_t tiles_down;     /**< Rows of tiles. */
  int32_t pictures;       /**< Pictures in the file; the first is decoded. */
  int32_t has_exif;       /**< Whether it holds EXIF data. */
  int32_t has_icc;        /**< Whether it holds an ICC profile. */
  int32_t has_xmp;        /**< Whether it holds an XMP packet. */
  int64_t memory; /**< About the most memory in bytes that zepcDecode() needs, with the picture. */
} zepcInfo;

/** A decoded picture with its metadata and messages. */
typedef struct zepcPicture zepcPicture;

/** A remark about a file: damage or a note. */
typedef struct zepcMessage {
  size_t size;       /**< sizeof(zepcMessage). */
  int32_t is_damage; /**< 1: samples are lost; 0: a note, nothing is lost. */
  int64_t offset;    /**< The byte in the file; negative: not known. */
  const char* text;  /**< One sentence with the place: "byte 120, MCU 7: no such code". */
} zepcMessage;

/**
 * Reads the headers of a file. `options` may be null. Its limits apply, and zepcInfo::memory takes
 * all of it into account.
 *
 * @retval zepcStatusOk `info` is filled.
 */
ZEPC_API zepcStatus zepcProbe(const void* data, size_t size, const zepcDecodeOptions* options,
                              zepcInfo* info);

/**
 * Reads the headers and the metadata of a file, which zepcPictureMetadata() then describes. The
 * picture has no pixels and no messages. Of TIFF files the metadata are also read where the pixels
 * are of a kind that zepcDecode() refuses. An encoder that takes its rows from a decoder needs the
 * metadata before the first row.
 */
ZEPC_API zepcStatus zepcReadMetadata(const void* data, size_t size,
                                     const zepcDecodeOptions* options, zepcPicture** picture);

/**
 * Decodes a file to a picture that the library allocates.
 *
 * @param options Null: the defaults.
 * @param[out] picture The result, which zepcPictureFree() frees. With zepcDecodeOptions::rows it
 *   has metadata and messages, but no pixels.
 * @retval zepcStatusDamaged With `keeps_damaged` only: a picture with damaged parts.
 */
ZEPC_API zepcStatus zepcDecode(const void* data, size_t size, const zepcDecodeOptions* options,
                               zepcPicture** picture);

/**
 * Decodes a file into the caller's buffer. `to` must have the width and height of the result
 * (zepcProbe() tells them). Its layout and samples replace those in `options`.
 *
 * @param[out] details If not null, receives a picture without pixels: metadata and messages.
 */
ZEPC_API zepcStatus zepcDecodeInto(const void* data, size_t size, const zepcDecodeOptions* options,
                                   const zepcPixels* to, zepcPicture** details);

/** Describes the pixels of a picture, which keeps them. `pixels->data` is null if it has none. */
ZEPC_API zepcStatus zepcPicturePixels(const zepcPicture* picture, zepcPixels* pixels);

/** Describes the metadata of a picture, which keeps it. */
ZEPC_API zepcStatus zepcPictureMetadata(const zepcPicture* picture, zepcMetadata* metadata);

/**
 * Returns the message with this index, from 0: damage first, then notes.
 *
 * @retval zepcStatusBadArgument There are fewer messages.
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

/**
 * Turns and mirrors pixels: those of a picture with this EXIF orientation, 1 to 8, become upright.
 *
 * @param to A buffer of the same layout and samples, which does not overlap `from`. With
 *   orientations 5 to 8, width and height change places.
 */
ZEPC_API zepcStatus zepcTurnUpright(const zepcPixels* from, int32_t orientation,
                                    const zepcPixels* to);

/** @} */
/** @defgroup zepc_encode Encoding
 * @{ */

/** The resolution of chroma. */
typedef enum zepcSampling ZEPC_INT32 {
  zepcSamplingAuto = 0, /**< 4:2:0 in lossy JPEG, 4:4:4 in JPEG XR. */
  zepcSampling444 = 1,  /**< Chroma at full resolution. */
  zepcSampling422 = 2,  /**< Chroma at half the width. */
  zepcSampling420 = 3   /**< Chroma at half the width and height. */
} zepcSampling;

/** How to write JPEG: grey, RGB and CMYK of 8 bits, grey and RGB of 12. */
typedef struct zepcJpegOptions {
  size_t size;              /**< sizeof(zepcJpegOptions). */
  int32_t quality;          /**< The quality, 1 to 100; 0: 90. */
  zepcSampling sampling;    /**< Chroma of RGB and CMYK; 12-bit files always have 4:4:4. */
  int32_t is_progressive;   /**< Not 0: several scans, from coarse to fine. */
  int32_t optimizes;        /**< Not 0: Huffman tables made for the picture; smaller, but slower. */
  int32_t restart_interval; /**< MCUs between restart markers, up to 65535; 0: none. */
  /** The scans of a progressive file in the form of docs/jpeg-codec.md; null: the usual ones. */
  const char* scan_script;
} zepcJpegOptions;

/** How to write lossless JPEG: 1 to 4 components of 2 to 16 bits. */
typedef struct zepcLosslessJpegOptions {
  size_t size;             /**< sizeof(zepcLosslessJpegOptions). */
  int32_t predictor;       /**< The predictor, 1 to 7; 0: 1. */
  int32_t point_transform; /**< The number of low bits to leave out, 0 to 15. */
  int32_t restart_rows;    /**< Rows between restart markers; 0: none. */
  /** Not 0: a usual Huffman table instead of tables made for the picture; larger, but faster. */
  int32_t has_usual_table;
} zepcLosslessJpegOptions;

/** Styles of JPEG 2000 code-blocks (ITU-T T.800, table A.19). */
typedef enum zepcBlockStyle {
  zepcBlockBypass = 1,       /**< Raw bits in the lower planes. */
  zepcBlockReset = 2,        /**< Contexts are reset at each pass. */
  zepcBlockTerminate = 4,    /**< Each pass ends its codeword. */
  zepcBlockCausal = 8,       /**< Contexts do not use the next stripe. */
  zepcBlockPredictable = 16, /**< Predictable termination, which lets decoders detect errors. */
  zepcBlockSymbols = 32      /**< A segmentation symbol after each cleanup pass. */
} zepcBlockStyle;

/**
 * How to write JPEG 2000: grey, RGB, with and without opacity, and CMYK, of 1 to 16 bits. A
 * codestream on its own has neither opacity nor CMYK. The file is lossless unless one of `ratio`,
 * `psnr` and `layer_bytes` asks for a smaller one.
 */
typedef struct zepcJpeg2000Options {
  size_t size;  /**< sizeof(zepcJpeg2000Options). */
  double ratio; /**< How many times smaller than the pixels the file should be; 0: not set. */
  double psnr;  /**< Writes the smallest file with this PSNR in dB; 0: not set. */
  /**
   * The size of the file up to each quality layer in bytes, rising; a last 0 makes the last layer
   * lossless.
   */
  const size_t* layer_bytes;
  int32_t layer_count; /**< The number of elements of `layer_bytes`. */
  int32_t levels;      /**< Wavelet levels, 1 to 32; 0: 5; -1: none. */
  int32_t block_style; /**< A sum of zepcBlockStyle. */
  int32_t tile_width;  /**< In pixels; 0: one tile. */
  int32_t tile_height; /**< In pixels; 0: one tile. */
  int32_t progression; /**< 0 LRCP, 1 RLCP, 2 RPCL, 3 PCRL, 4 CPRL. */
} zepcJpeg2000Options;

/**
 * How to write JPEG XR: grey and RGB of all kinds of samples. The file is lossless unless `quality`
 * or `sampling` is set, except that 32-bit floats keep 13 bits of their mantissa. 32-bit fixed
 * point must lie in -2 to 2.
 */
typedef struct zepcJpegXrOptions {
  size_t size;           /**< sizeof(zepcJpegXrOptions). */
  int32_t quality;       /**< The quality, 1 to 100; 0: lossless. */
  zepcSampling sampling; /**< Chroma of RGB. */
  int32_t overlap;       /**< Overlap filters across blocks: 0 one level, 1 two levels, -1 none. */
  /** Not 0: frequency bands one after the other; 0: macroblock by macroblock. */
  int32_t is_frequency_order;
  int32_t tile_width;  /**< A multiple of 16; 0: one tile. */
  int32_t tile_height; /**< A multiple of 16; 0: one tile. */
} zepcJpegXrOptions;

/** Kinds of texture blocks. */
typedef enum zepcTexture ZEPC_INT32 {
  zepcTextureAuto = 0, /**< BC3 with opacity, else BC1. */
  zepcTextureBc1 = 1,  /**< RGB, 4 bits a pixel. */
  zepcTextureBc2 = 2,  /**< RGB with 4 bits of opacity, 8 bits a pixel. */
  zepcTextureBc3 = 3,  /**< RGB with interpolated opacity, 8 bits a pixel. */
  zepcTextureBc4 = 4,  /**< Grey. */
  zepcTextureBc5 = 5,  /**< Red and green. */
  zepcTextureBc7 = 6,  /**< RGB with opacity at the best quality, 8 bits a pixel. */
  zepcTextureYCoCg = 7 /**< BC3 with Y as its opacity and Co, Cg as colours. */
} zepcTexture;

/** How to write DDS textures: 8 bits. */
typedef struct zepcDdsOptions {
  size_t size;         /**< sizeof(zepcDdsOptions). */
  zepcTexture texture; /**< The kind of blocks. */
  int32_t has_mipmaps; /**< Not 0: write all levels down to one pixel. */
  /**
   * 0: the old header if it knows the format; 1: the same with BC4U and BC5U as names; 2: the
   * extended (DX10) header.
   */
  int32_t header;
  /** 0: quick choice among all modes; 1: mode 6 alone, the fastest; 2: thorough search. */
  int32_t bc7_mode;
  /** For studies: 1 to 8 put all BC7 blocks in mode 0 to 7; 0: as `bc7_mode`. */
  int32_t bc7_only;
} zepcDdsOptions;

/** How to write TIFF: grey and RGB of 8 or 16 bits. */
typedef struct zepcTiffOptions {
  size_t size;             /**< sizeof(zepcTiffOptions). */
  int32_t is_uncompressed; /**< Not 0: uncompressed; 0: PackBits. */
  /**
   * Not 0: all high bytes of a 16-bit row, then all low bytes. This packs better, but is a private
   * form that other programs refuse.
   */
  int32_t has_byte_planes;
} zepcTiffOptions;

/**
 * Supplies rows of a picture to an encoder, from top to bottom: fills `rows->height` rows, which
 * start with row `y` and have the layout and samples of the encoder's pixels. Only one thread calls
 * it at a time, but not always the same one. A result other than 0 ends the call with
 * zepcStatusCancelled.
 */
typedef int32_t (*zepcSupply)(void* user, const zepcPixels* rows, int32_t y);

/** What to write. Only the options of `format` are read; if they are null, its defaults apply. */
typedef struct zepcEncodeOptions {
  size_t size;                  /**< sizeof(zepcEncodeOptions). */
  zepcFormat format;            /**< The format to write. */
  int32_t threads;              /**< The most threads to use; 0: one for each processor. */
  const zepcMetadata* metadata; /**< The metadata, or null. */
  const zepcJpegOptions* jpeg;  /**< Options of zepcFormatJpeg. */
  const zepcLosslessJpegOptions* lossless_jpeg; /**< Options of zepcFormatLosslessJpeg. */
  const zepcJpeg2000Options* jpeg2000;          /**< Options of zepcFormatJp2 and zepcFormatJ2k. */
  const zepcJpegXrOptions* jpeg_xr;             /**< Options of zepcFormatJpegXr. */
  const zepcDdsOptions* dds;                    /**< Options of zepcFormatDds. */
  const zepcTiffOptions* tiff;                  /**< Options of zepcFormatTiff. */
  zepcProgress progress;                        /**< The progress callback, or null. */
  void* progress_user;                          /**< Passed to `progress`. */
  /**
   * Not null: supplies the rows; `data` and `stride` of the pixels are not used then. Together with
   * zepcEncodeTo(), pictures larger than memory can be encoded: baseline JPEG with the usual
   * Huffman tables needs a few rows of MCUs, lossless JPEG with the usual table some rows, a format
   * with tiles one row of tiles. Other ways of coding need the whole picture, and ask for all rows
   * first.
   */
  zepcSupply rows;
  void* rows_user; /**< Passed to `rows`. */
} zepcEncodeOptions;

/**
 * Receives the bytes of a file in their order. A result other than 0 ends the call with
 * zepcStatusWriteFailed.
 */
typedef int32_t (*zepcWrite)(void* user, const void* data, size_t size);

/**
 * Encodes pixels to a file in memory.
 *
 * Pixels that the format cannot store are zepcStatusUnsupported. The encoder converts only the
 * order of channels and, for DDS and TIFF, unsigned samples to the depths of these formats.
 *
 * @param[out] file The bytes, which zepcFree() frees.
 */
ZEPC_API zepcStatus zepcEncode(const zepcPixels* pixels, const zepcEncodeOptions* options,
                               void** file, size_t* file_size);

/**
 * Encodes pixels as zepcEncode() does, and passes the file to `write`, part by part. Parts may be
 * written while later rows are still being encoded, so a failed call may leave an incomplete file.
 * The bytes are those of zepcEncode(), except that a JP2 file in tiles leaves the length of its
 * last box open if the first bytes have to be written before it is known.
 */
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
  zepcTransformTransverse = 7, /**< Mirrored at the other diagonal. */
  zepcTransformUpright = 8     /**< Upright by the EXIF orientation, which becomes 1. */
} zepcTransform;

/** What changes when a JPEG file is rewritten. With all zeros, only its Huffman codes. */
typedef struct zepcTranscodeOptions {
  size_t size;             /**< sizeof(zepcTranscodeOptions). */
  zepcTransform transform; /**< The way to mirror or turn. */
  /**
   * Not 0: refuse a transform that would cut off an edge. An incomplete MCU cannot be moved to the
   * left or top; by default its pixels are cut off.
   */
  int32_t is_exact;
  /**
   * The part to keep after the transform. Its left and top are rounded down to MCUs. Width 0: all.
   */
  zepcRect region;
  int32_t is_progressive;   /**< Not 0: several scans, from coarse to fine. */
  int32_t optimizes;        /**< Not 0: Huffman tables made for the picture. */
  int32_t restart_interval; /**< MCUs between restart markers, up to 65535; 0: none. */
  const char* scan_script;  /**< As in zepcJpegOptions. */
  int32_t drops_metadata;   /**< Not 0: leave out all application segments and comments. */
  int32_t keeps_damaged;    /**< Not 0: write what can be saved of a damaged file. */
  int64_t max_pixels;       /**< Larger pictures are refused. 0: 2^28. */
  int64_t max_memory;       /**< In bytes; files that would need more are refused. 0: 4 GiB. */
} zepcTranscodeOptions;

/**
 * Rewrites a JPEG file without changing its coefficients: with other tables, scans or restart
 * intervals, turned, mirrored, or cut to a region. Two components are zepcStatusUnsupported.
 * All application segments are kept unless `drops_metadata` is set. `options` may be null.
 */
ZEPC_API zepcStatus zepcJpegTranscode(const void* data, size_t size,
                                      const zepcTranscodeOptions* options, void** file,
                                      size_t* file_size);

/** The quantized coefficients of a JPEG picture. */
typedef struct zepcCoefficients zepcCoefficients;

/** The size, depth and number of components of a JPEG picture. */
typedef struct zepcCoefficientsInfo {
  size_t size;        /**< sizeof(zepcCoefficientsInfo). */
  int32_t width;      /**< The width in pixels. */
  int32_t height;     /**< In pixels. */
  int32_t bits;       /**< 8 or 12. */
  int32_t components; /**< 1, 3 or 4. */
} zepcCoefficientsInfo;

/**
 * A component. Blocks are stored row by row, 64 values each in natural (row-major) order. They
 * include the blocks at the right and bottom that only fill up the last MCUs.
 */
typedef struct zepcComponent {
  size_t size;           /**< sizeof(zepcComponent). */
  int32_t h;             /**< The horizontal sampling factor, 1 to 4. */
  int32_t v;             /**< The vertical sampling factor, 1 to 4. */
  uint16_t steps[64];    /**< The quantizer steps, in natural order. */
  int32_t blocks_across; /**< Blocks in a row, with those that fill up MCUs. */
  int32_t blocks_down;   /**< Rows of blocks. */
  int16_t* blocks;       /**< The values. They may be changed until the coefficients are freed. */
} zepcComponent;

/**
 * Reads the coefficients of a JPEG file of 8 or 12 bits, with 1, 3 or 4 components. Of `options`,
 * which may be null, the limits, `keeps_damaged` and the progress callback apply.
 */
ZEPC_API zepcStatus zepcJpegReadCoefficients(const void* data, size_t size,
                                             const zepcDecodeOptions* options,
                                             zepcCoefficients** coefficients);

/**
 * Makes coefficients, all 0, for a picture of this size. Of each of the `info->components` elements
 * of `components`, the sampling factors and steps are used.
 */
ZEPC_API zepcStatus zepcJpegMakeCoefficients(const zepcCoefficientsInfo* info,
                                             const zepcComponent* components,
                                             zepcCoefficients** coefficients);

/** Returns the size and depth of the picture, and the number of its components. */
ZEPC_API zepcStatus zepcJpegCoefficientsInfo(const zepcCoefficients* coefficients,
                                             zepcCoefficientsInfo* info);

/** Returns the component with this index, from 0. `blocks` points into the coefficients. */
ZEPC_API zepcStatus zepcJpegComponent(zepcCoefficients* coefficients, int32_t index,
                                      zepcComponent* component);

/**
 * Writes coefficients as a file. All of `options` applies except `quality` and `sampling`. Null
 * `metadata` keeps that of the file from which the coefficients were read. Values that the Huffman
 * codes of JPEG cannot hold are zepcStatusUnsupported.
 */
ZEPC_API zepcStatus zepcJpegWriteCoefficients(const zepcCoefficients* coefficients,
                                              const zepcJpegOptions* options,
                                              const zepcMetadata* metadata, void** file,
                                              size_t* file_size);

/** Frees coefficients; null is allowed. */
ZEPC_API void zepcJpegFreeCoefficients(zepcCoefficients* coefficients);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZEPCODEC_H_ */
