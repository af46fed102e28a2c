// SPDX-License-Identifier: MIT
// Size query, allocation and release for the tables and states of the Huffman coders.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_RECORDS_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_RECORDS_H_

#include "frame/checks.h"
#include "frame/memory.h"

namespace zepjp {

template <class Record>
zepStatus StoreRecordSize(int32_t* size) {
  if (auto bad = Checks().Ptr(size).Failed()) return bad;
  *size = static_cast<int32_t>(sizeof(Record));
  return zepStatusOk;
}

// If the allocation fails, `*record` becomes null and the status is zepStatusNullPtr.
template <class Record>
zepStatus AllocateRecord(Record** record) {
  *record = static_cast<Record*>(Allocate(static_cast<int32_t>(sizeof(Record))));
  return *record != nullptr ? zepStatusOk : zepStatusNullPtr;
}

inline zepStatus FreeRecord(void* record) {
  if (auto bad = Checks().Ptr(record).Failed()) return bad;
  Release(record);
  return zepStatusOk;
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_RECORDS_H_
