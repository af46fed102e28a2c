// SPDX-License-Identifier: MIT
// Brings the rows of a picture from the thread that decodes them to the thread that encodes them.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_ROW_PIPE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_ROW_PIPE_H_

#include <condition_variable>
#include <mutex>

#include "zepcodec.hpp"

namespace zepconvert {

// It holds no rows: the decoding side waits until the encoding side has a place for them.
class RowPipe {
 public:
  explicit RowPipe(zepcOpacity opacity) : opacity_(opacity) {}

  // Of the decoding side: gives the next rows. False: no more rows are wanted.
  bool Put(const zepcPixels& rows);
  // There are no more rows.
  void End();

  // Of the encoding side: fills the rows, converted to their form. False: there are too few.
  bool Take(const zepcPixels& rows);
  // No more rows are wanted.
  void Close();

 private:
  zepcOpacity opacity_;
  std::mutex mutex_;
  std::condition_variable changes_;
  zepcPixels wanted_ = {};  // rows that are still to be filled
  bool has_ended_ = false;
  bool is_closed_ = false;
};

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_ROW_PIPE_H_
