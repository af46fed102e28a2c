/* SPDX-License-Identifier: MIT */
/*
 * jpeg_writer.h: writes quantized coefficients as a baseline JPEG file.
 *
 * It goes over the blocks twice: the first time counts the symbols that the Huffman coder would
 * write, from which the library makes the shortest codes; the second time codes the blocks with
 * them. There are no restart markers.
 */
#ifndef EXAMPLES_JPEG_WRITER_H
#define EXAMPLES_JPEG_WRITER_H

#include "jpeg_scan.h"

/*
 * `file` tells size, components and quantizer steps; the blocks are in the order of
 * jpegReadBlocks(). Returns null, or a sentence that says what is wrong.
 */
const char* jpegWriteBlocks(FILE* out, const JpegFile* file, const JpegBlock* blocks);

#endif /* EXAMPLES_JPEG_WRITER_H */
