// SPDX-License-Identifier: MIT
// PBM, PGM and PPM files (P1 to P6), PAM files (P7), which also hold opacity and inks, and PFM files
// (PF, Pf) of floats. P5, P6 and P7 are written.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PNM_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PNM_FILE_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/pnm_header.h"

namespace zepconvert {

// A file that is read row by row. Where the largest value is 2^n - 1 (n at least 2), samples stay as
// they are; others are scaled to 8 bits or, above 255, to 16. Floats are linear light.
class PnmReader {
 public:
  // A damaged header or a file that is too short is a failure.
  PnmReader(ByteView input, int64_t max_pixels);

  int width() const { return static_cast<int>(header_.width); }
  int height() const { return static_cast<int>(header_.height); }
  Form form() const;
  // Rows of text can only be read in order, each once.
  void ReadRow(int y, uint8_t* row);

 private:
  const uint8_t* StoredRow(int y) const;
  void ReadText(uint8_t* row);

  ByteView input_;
  PnmHeader header_;
  size_t at_;  // in text
};

// The whole picture.
Picture ReadPnm(ByteView input, int64_t max_pixels);

// What the header tells.
Dimensions ReadPnmSize(ByteView input);

// Makes a file row by row. `format` is one of kPgm, kPpm, kPnm and kPam. Unsigned samples; in other
// files than PAM grey or RGB. Grey becomes P5 unless kPpm asks for P6.
class PnmWriter {
 public:
  PnmWriter(const zepcPixels& shape, Format format);

  const std::string& header() const { return header_; }
  size_t row_bytes() const { return samples_ * sample_bytes_ * static_cast<size_t>(copies_); }
  void WriteRow(const uint8_t* row, uint8_t* out) const;

 private:
  std::string header_;
  size_t samples_;
  size_t sample_bytes_;
  int copies_;  // of each sample
};

// The whole file.
Bytes WritePnm(const Image& image, Format format);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PNM_FILE_H_
