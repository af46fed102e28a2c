// SPDX-License-Identifier: MIT
#include "codecs/api/error.h"

#include <cstdio>

namespace zepcodec::api {
namespace {

// A plain array: it takes no memory when a text is kept, and none is left when the thread ends.
thread_local char last_error[256];

}  // namespace

zepcStatus Fail(zepcStatus status, const char* text) {
  std::snprintf(last_error, sizeof(last_error), "%s", text);
  return status;
}

zepcStatus StatusOf(const Status& status, zepcStatus error) {
  switch (status.kind()) {
    case Status::Kind::kOk: return zepcStatusOk;
    case Status::Kind::kError: return Fail(error, status.text().c_str());
    case Status::Kind::kBadOption: return Fail(zepcStatusBadArgument, status.text().c_str());
    case Status::Kind::kUnsupported: return Fail(zepcStatusUnsupported, status.text().c_str());
    case Status::Kind::kTooLarge: return Fail(zepcStatusTooLarge, status.text().c_str());
    case Status::Kind::kNoMemory: return Fail(zepcStatusNoMemory, "not enough memory");
    case Status::Kind::kCancelled: return Fail(zepcStatusCancelled, "cancelled");
    case Status::Kind::kWriteFailed:
      return Fail(zepcStatusWriteFailed, "the write callback failed");
  }
  return error;
}

}  // namespace zepcodec::api

const char* zepcLastError(void) { return zepcodec::api::last_error; }
