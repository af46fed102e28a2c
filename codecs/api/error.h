// SPDX-License-Identifier: MIT
// Every public function that returns a status goes through here: exceptions become statuses, and
// failures leave a sentence for zepcLastError().
#ifndef ZEPJP_CODECS_API_ERROR_H_
#define ZEPJP_CODECS_API_ERROR_H_

#include <exception>
#include <new>

#include "codecs/include/zepcodec.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::api {

// Keeps the sentence, cut off where it is long, for this thread.
zepcStatus Fail(zepcStatus status, const char* text);

inline zepcStatus BadArgument(const char* text) { return Fail(zepcStatusBadArgument, text); }

// A codec's outcome; `error` is what a plain error means here.
zepcStatus StatusOf(const Status& status, zepcStatus error);

// Calls work(), which returns a zepcStatus. It takes no more threads than the caller allows.
template <class Work>
zepcStatus Guarded(const Work& work) {
  const StagesOnOneThread stages;
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return Fail(zepcStatusNoMemory, "not enough memory");
  } catch (const std::exception& exception) {
    return Fail(zepcStatusUnsupported, exception.what());
  }
}

}  // namespace zepcodec::api

#endif  // ZEPJP_CODECS_API_ERROR_H_
