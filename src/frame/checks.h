// SPDX-License-Identifier: MIT
// The argument checks of an export, in the order in which they are written:
//
//   if (auto bad = Checks().Ptr(pSrc).Planes(pDst, 3).Step(srcStep).Size(roiSize).Failed()) {
//     return bad;
//   }
//
// The first check that fails decides; later ones look at nothing, so planes are only read once the
// pointer to them was found good.
#ifndef ZEPJP_SRC_FRAME_CHECKS_H_
#define ZEPJP_SRC_FRAME_CHECKS_H_

#include "zepjp.h"

namespace zepjp {

class Checks {
 public:
  [[nodiscard]] zepStatus Failed() const { return status_; }

  // `bad` decides; `status` is the result if it is true and all before was good.
  Checks& Refuse(bool bad, zepStatus status) {
    if (__builtin_expect(status_ == zepStatusOk && bad, false)) status_ = status;
    return *this;
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

  Checks& Step(int32_t step) { return Refuse(step <= 0, zepStatusBadStep); }

  Checks& Size(zepiSize size, int32_t min_width = 1, int32_t min_height = 1) {
    return Refuse(size.width < min_width || size.height < min_height, zepStatusBadSize);
  }

 private:
  zepStatus status_ = zepStatusOk;
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_FRAME_CHECKS_H_
