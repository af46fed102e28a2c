// SPDX-License-Identifier: MIT
// A TIFF file in memory as libtiff sees it, with libtiff's messages.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_TIFF_HANDLE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_TIFF_HANDLE_H_

#include <tiffio.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/zepconvert/bytes.h"

namespace zepconvert {

class TiffHandle {
 public:
  // libtiff allocates at most `most_bytes` at a time. A file that it cannot open is a failure.
  TiffHandle(ByteView file, int64_t most_bytes);
  TiffHandle(const TiffHandle&) = delete;
  TiffHandle& operator=(const TiffHandle&) = delete;

  TIFF* get() const { return tiff_.get(); }

  // A field, or its default value.
  template <class Value>
  Value Field(uint32_t tag, Value fallback) const {
    Value value = fallback;
    return TIFFGetFieldDefaulted(get(), tag, &value) == 1 ? value : fallback;
  }
  // A field of counted bytes.
  std::vector<uint8_t> BytesOf(uint32_t tag) const;

  bool has_error() const { return !source_.error.empty(); }
  // The first error since the last call.
  std::string TakeError();
  // Each different warning once, up to a few.
  const std::vector<std::string>& warnings() const { return source_.warnings; }

 private:
  struct Source {
    ByteView file;
    uint64_t position = 0;
    std::string error;
    std::vector<std::string> warnings;
  };
  struct Close {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
  };

  static tmsize_t Read(thandle_t handle, void* to, tmsize_t count);
  static toff_t Seek(thandle_t handle, toff_t offset, int from);
  static int Map(thandle_t handle, void** base, toff_t* size);
  static int OnError(TIFF* tiff, void* source, const char* place, const char* format,
                     va_list arguments);
  static int OnWarning(TIFF* tiff, void* source, const char* place, const char* format,
                       va_list arguments);

  Source source_;
  std::unique_ptr<TIFF, Close> tiff_;
};

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_TIFF_HANDLE_H_
