// SPDX-License-Identifier: MIT
#ifndef ZEPJP_CODECS_JPEG2000_WITHOUT_EXCEPTIONS_H_
#define ZEPJP_CODECS_JPEG2000_WITHOUT_EXCEPTIONS_H_

#include <new>

#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// Calls work(). Nothing but a lack of memory is thrown.
template <class Work>
Status WithoutExceptions(const Work& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return Status::NoMemory();
  }
}

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_WITHOUT_EXCEPTIONS_H_
