// SPDX-License-Identifier: MIT
// What the tables and states of the Huffman coders have in common: the query of their size,
// allocation, release.
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

// If memory is short, `*record` becomes null and the status is that of a null pointer.
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
