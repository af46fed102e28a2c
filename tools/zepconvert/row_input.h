// SPDX-License-Identifier: MIT
// Pictures that are read row by row, so that they need not be in memory as a whole.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_ROW_INPUT_H_
#define ZEPJP_TOOLS_ZEPCONVERT_ROW_INPUT_H_

#include <cstdint>
#include <memory>
#include <utility>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/row_pipe.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

class RowInput {
 public:
  virtual ~RowInput() = default;

  // What is known before the rows.
  int width() const { return width_; }
  int height() const { return height_; }
  const Form& form() const { return form_; }
  // Metadata and notes, without an image.
  Picture TakeHead() { return std::move(head_); }
  // The memory that Read() takes, about.
  int64_t memory() const { return memory_; }

  // Puts all rows into the pipe, unless it is closed. `picture` gets the messages.
  virtual void Read(RowPipe* pipe, Picture* picture) = 0;

 protected:
  int width_ = 0;
  int height_ = 0;
  Form form_;
  Picture head_;
  int64_t memory_ = 0;
};

// The part of the picture that settings.region names. Null: the file cannot be read in rows. A file
// that is no picture is a failure. The bytes must outlive the result.
std::unique_ptr<RowInput> OpenRows(const Settings& settings, ByteView input);

// Decodes a file of any format in little memory and throws the rows away. `picture` gets the
// messages.
void ReadAllRows(const Settings& settings, ByteView input, Picture* picture);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_ROW_INPUT_H_
