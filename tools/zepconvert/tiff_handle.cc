// SPDX-License-Identifier: MIT
#include "tools/zepconvert/tiff_handle.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "tools/zepconvert/failure.h"

namespace zepconvert {
namespace {

// What libtiff would print, in one line.
std::string TextOf(const char* format, va_list arguments) {
  char text[300];
  if (std::vsnprintf(text, sizeof(text), format, arguments) < 0) return "an error";
  std::string line = text;
  std::replace_if(
      line.begin(), line.end(), [](unsigned char c) { return c < ' '; }, ' ');
  while (!line.empty() && (line.back() == '.' || line.back() == ' ')) line.pop_back();
  return line;
}

}  // namespace

tmsize_t TiffHandle::Read(thandle_t handle, void* to, tmsize_t count) {
  auto* const source = static_cast<Source*>(handle);
  const uint64_t left = source->file.size - std::min<uint64_t>(source->position, source->file.size);
  const uint64_t size = std::min(left, static_cast<uint64_t>(std::max<tmsize_t>(count, 0)));
  if (size > 0) std::memcpy(to, source->file.data + source->position, static_cast<size_t>(size));
  source->position += size;
  return static_cast<tmsize_t>(size);
}

toff_t TiffHandle::Seek(thandle_t handle, toff_t offset, int from) {
  auto* const source = static_cast<Source*>(handle);
  const uint64_t base = from == SEEK_SET   ? 0
                        : from == SEEK_CUR ? source->position
                                           : source->file.size;
  return source->position = base + offset;
}

int TiffHandle::Map(thandle_t handle, void** base, toff_t* size) {
  const ByteView& file = static_cast<Source*>(handle)->file;
  *base = const_cast<uint8_t*>(file.data);  // libtiff reads only
  *size = file.size;
  return 1;
}

int TiffHandle::OnError(TIFF*, void* source, const char*, const char* format, va_list arguments) {
  std::string& error = static_cast<Source*>(source)->error;
  if (error.empty()) error = TextOf(format, arguments);
  return 1;
}

int TiffHandle::OnWarning(TIFF*, void* source, const char*, const char* format, va_list arguments) {
  constexpr size_t kMost = 4;
  std::vector<std::string>& warnings = static_cast<Source*>(source)->warnings;
  const std::string text = TextOf(format, arguments);
  // Private fields say nothing about the picture.
  if (text.find("Unknown field") == 0 || warnings.size() >= kMost) return 1;
  if (std::find(warnings.begin(), warnings.end(), text) == warnings.end()) {
    warnings.push_back(text);
  }
  return 1;
}

TiffHandle::TiffHandle(ByteView file, int64_t most_bytes) : source_{file, 0, {}, {}} {
  struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
  };
  const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
  if (options == nullptr) throw std::bad_alloc();
  TIFFOpenOptionsSetMaxSingleMemAlloc(
      options.get(), static_cast<tmsize_t>(std::min<int64_t>(most_bytes, PTRDIFF_MAX)));
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, &source_);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnWarning, &source_);
  tiff_.reset(TIFFClientOpenExt(
      "TIFF", "r", &source_, Read, [](thandle_t, void*, tmsize_t) { return tmsize_t{0}; }, Seek,
      [](thandle_t) { return 0; },
      [](thandle_t handle) { return toff_t{static_cast<Source*>(handle)->file.size}; }, Map,
      [](thandle_t, void*, toff_t) {}, options.get()));
  if (tiff_ == nullptr) throw Failure(TakeError());
}

std::vector<uint8_t> TiffHandle::BytesOf(uint32_t tag) const {
  uint32_t count = 0;
  void* data = nullptr;
  if (TIFFGetField(get(), tag, &count, &data) != 1 || data == nullptr) return {};
  const auto* const bytes = static_cast<const uint8_t*>(data);
  return {bytes, bytes + count};
}

std::string TiffHandle::TakeError() {
  std::string error = "libtiff cannot read it";
  if (!source_.error.empty()) error = "libtiff: " + source_.error;
  source_.error.clear();
  return error;
}

}  // namespace zepconvert
