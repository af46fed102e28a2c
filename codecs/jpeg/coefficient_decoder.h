// SPDX-License-Identifier: MIT
// All scans of a file to its coefficients, and these to the rows of a region.
#ifndef ZEPJP_CODECS_JPEG_COEFFICIENT_DECODER_H_
#define ZEPJP_CODECS_JPEG_COEFFICIENT_DECODER_H_

#include "codecs/jpeg/coefficients.h"
#include "codecs/jpeg/file_reader.h"
#include "codecs/jpeg/row_output.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

Status DecodeAllScans(FileReader* file, Coefficients* coefficients);

// Only the blocks of the window are transformed. For a picture; not through a sink.
Status WriteRows(FileReader* file, const Coefficients& coefficients, RowOutput* output);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENT_DECODER_H_
