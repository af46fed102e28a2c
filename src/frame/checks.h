// SPDX-License-Identifier: MIT
// The argument checks of an export, made in the order in which they are written:
//
//   if (auto bad = Checks().Ptr(pSrc).Planes(pDst, 3).Step(srcStep).Size(roiSize).Failed()) {
//     return bad;
//   }
//
// The first check that fails decides the status, and later ones read nothing. So an array is read
// only after its pointer has passed, and a condition that reads memory is passed as a callable:
//
//   Checks().Ptr(pState).Refuse([&] { return IsOther(pState); }, zepStatusContextMismatch)
#ifndef ZEPJP_SRC_FRAME_CHECKS_H_
#define ZEPJP_SRC_FRAME_CHECKS_H_

#include <utility>

#include "hwy/base.h"
#include "zepjp.h"

namespace zepjp {

class Checks {
 public:
  [[nodiscard]] zepStatus Failed() const { return status_; }

  // `status` is the result if the callable returns true. The callable runs only if all checks so
  // far have passed.
  template <class IsBad, class = decltype(std::declval<const IsBad&>()())>
  Checks& Refuse(const IsBad& is_bad, zepStatus status) {
    if (HWY_UNLIKELY(status_ == zepStatusOk && is_bad())) status_ = status;
    return *this;
  }

  // For conditions on the arguments themselves.
  Checks& Refuse(bool is_bad, zepStatus status) {
    return Refuse([=] { return is_bad; }, status);
  }

  template <class T>
  Checks& Ptr(const T* pointer) {
    return Refuse(pointer == nullptr, zepStatusNullPtr);
  }

  // The pointer to an array of planes, then each of its `count` planes.
  template <class T>
  Checks& Planes(T* const* planes, int count) {
    Ptr(planes);
    for (int i = 0; i < count && status_ == zepStatusOk; ++i) Ptr(planes[i]);
    return *this;
  }

  // A state record begins with four bytes that identify its kind.
  Checks& Identifier(const void* state, const char (&id)[4]) {
    return Refuse([&] { return __builtin_memcmp(state, id, sizeof(id)) != 0; },
                  zepStatusContextMismatch);
  }

  Checks& Step(int32_t step) { return Refuse(step <= 0, zepStatusBadStep); }

  // Each of `count` steps; the array itself has been checked before.
  Checks& Steps(const int32_t* steps, int count) {
    for (int i = 0; i < count && status_ == zepStatusOk; ++i) Step(steps[i]);
    return *this;
  }

  Checks& Size(zepiSize size, int32_t min_width = 1, int32_t min_height = 1) {
    return Refuse(size.width < min_width || size.height < min_height, zepStatusBadSize);
  }

 private:
  zepStatus status_ = zepStatusOk;
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_FRAME_CHECKS_H_
