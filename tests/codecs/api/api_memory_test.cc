// SPDX-License-Identifier: MIT
// The allocations of a call fail in turn (of very many only some), alone and with all later ones:
// the call says so, leaves its outputs alone and gives back what it took. Without sanitizers, which
// have their own allocators.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <functional>

#include "tests/codecs/api/api_pictures.h"

#if defined(__has_feature)
#  if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
      __has_feature(memory_sanitizer)
#    define HAS_OWN_ALLOCATOR 1
#  endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__GLIBC__)
#  define HAS_OWN_ALLOCATOR 1
#endif

#ifdef HAS_OWN_ALLOCATOR
TEST(ApiMemory, FailingAllocations) { GTEST_SKIP() << "the allocator cannot be replaced"; }
#else

// glibc's own functions under their other names.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* pointer, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* pointer);
}

namespace {

// Of the thread that calls the library; the others that it might start are never counted.
thread_local bool counts = false;
thread_local int64_t allocations = 0;
thread_local int64_t first_failing = 0;
thread_local bool fails_ever_after = false;
thread_local int64_t live = 0;
thread_local size_t largest = 0;  // in bytes

bool Fails() {
  if (!counts) return false;
  const int64_t number = allocations++;
  return number == first_failing || (fails_ever_after && number > first_failing);
}

void* Counted(void* pointer) {
  if (counts && pointer != nullptr) ++live;
  return pointer;
}

}  // namespace

extern "C" {
void* malloc(size_t size) {
  if (counts && size > largest) largest = size;
  return Fails() ? nullptr : Counted(__libc_malloc(size));
}
void* calloc(size_t count, size_t size) {
  return Fails() ? nullptr : Counted(__libc_calloc(count, size));
}
void* realloc(void* pointer, size_t size) {
  if (Fails()) return nullptr;
  void* const moved = __libc_realloc(pointer, size);
  return pointer == nullptr ? Counted(moved) : moved;
}
void* memalign(size_t alignment, size_t size) {
  return Fails() ? nullptr : Counted(__libc_memalign(alignment, size));
}
void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
int posix_memalign(void** pointer, size_t alignment, size_t size) {
  void* const memory = memalign(alignment, size);
  if (memory == nullptr) return ENOMEM;
  *pointer = memory;
  return 0;
}
void free(void* pointer) {
  if (counts && pointer != nullptr) --live;
  __libc_free(pointer);
}
}

namespace {

using namespace api_pictures;

// A call, and whether its outputs are as they were; it frees what it made.
struct Outcome {
  zepcStatus status;
  bool is_untouched;
};
using Call = std::function<Outcome()>;

Outcome CallFailing(const Call& call, int64_t failing, bool ever_after) {
  allocations = 0;
  first_failing = failing;
  fails_ever_after = ever_after;
  live = 0;
  largest = 0;
  counts = true;
  const Outcome outcome = call();
  counts = false;
  return outcome;
}

void ExpectNoMemoryIsAStatus(const Call& call) {
  ASSERT_EQ(call().status, zepcStatusOk) << zepcLastError();  // fills what is made once
  constexpr int64_t kMostTries = 150;
  CallFailing(call, INT64_MAX, false);
  const int64_t step = allocations / kMostTries + 1;
  for (const bool ever_after : {false, true}) {
    int64_t failing = 0;
    for (;; failing += failing < 20 ? 1 : step) {
      const Outcome outcome = CallFailing(call, failing, ever_after);
      ASSERT_EQ(live, 0) << "allocation " << failing << " leaks, status " << outcome.status;
      if (allocations <= failing) {
        ASSERT_EQ(outcome.status, zepcStatusOk);
        break;
      }
      // A codec may do without.
      if (outcome.status == zepcStatusOk) continue;
      ASSERT_EQ(outcome.status, zepcStatusNoMemory)
          << zepcLastError() << ", allocation " << failing;
      ASSERT_TRUE(outcome.is_untouched);
      ASSERT_STRNE(zepcLastError(), "");
    }
    EXPECT_GT(failing, 0);
  }
}

Outcome EncodeOnce(const zepcPixels& pixels, const zepcEncodeOptions& options) {
  void* file = nullptr;
  size_t size = 7;
  const zepcStatus status = zepcEncode(&pixels, &options, &file, &size);
  const bool is_untouched = file == nullptr && size == 7;
  zepcFree(file);
  return {status, is_untouched};
}

TEST(ApiMemory, Encode) {
  const Bytes exif = Exif(6), icc = Icc(200);
  auto metadata = Sized<zepcMetadata>();
  metadata.exif = exif.data();
  metadata.exif_size = exif.size();
  metadata.icc = metadata.xmp = icc.data();
  metadata.icc_size = metadata.xmp_size = icc.size();
  for (const zepcFormat format : Formats()) {
    SCOPED_TRACE(format);
    Image image = Make(18, 17, {zepcLayoutBgr, zepcSampleU8, 8});
    const zepcPixels pixels = image.Pixels();
    zepcEncodeOptions options = OptionsFor(format);
    ExpectNoMemoryIsAStatus([&] { return EncodeOnce(pixels, options); });
    options.metadata = &metadata;
    auto jpeg = Sized<zepcJpegOptions>();
    jpeg.is_progressive = 1;
    auto jpeg2000 = Sized<zepcJpeg2000Options>();
    jpeg2000.ratio = 3;
    jpeg2000.levels = 2;
    auto dds = Sized<zepcDdsOptions>();
    dds.has_mipmaps = 1;
    dds.texture = zepcTextureBc7;
    options.jpeg = &jpeg;
    options.jpeg2000 = &jpeg2000;
    options.dds = &dds;
    ExpectNoMemoryIsAStatus([&] { return EncodeOnce(pixels, options); });
  }
}

// The file has an eighth of the size of the pixels; no allocation is much larger.
TEST(ApiMemory, EncodingCopiesNoPixels) {
  Image image = Make(256, 256, {zepcLayoutRgba, zepcSampleU8, 8});
  const zepcPixels pixels = image.Pixels();
  zepcEncodeOptions options = OptionsFor(zepcFormatDds);
  auto dds = Sized<zepcDdsOptions>();
  dds.texture = zepcTextureBc1;
  options.dds = &dds;
  CallFailing([&] { return EncodeOnce(pixels, options); }, INT64_MAX, false);
  EXPECT_GT(largest, image.bytes.size() / 8);
  EXPECT_LT(largest, image.bytes.size() / 4);
}

Outcome DecodeOnce(const Bytes& file, const zepcDecodeOptions& options) {
  zepcPicture* picture = nullptr;
  const zepcStatus status = zepcDecode(file.data(), file.size(), &options, &picture);
  const bool is_untouched = picture == nullptr;
  zepcPictureFree(picture);
  return {status, is_untouched};
}

TEST(ApiMemory, Decode) {
  for (size_t i = 0; i < Files().size(); ++i) {
    SCOPED_TRACE(Formats()[i]);
    auto options = Sized<zepcDecodeOptions>();
    options.threads = 1;
    ExpectNoMemoryIsAStatus([&] { return DecodeOnce(Files()[i], options); });
    options.layout = zepcLayoutGreyAlpha;
    options.region = {1, 1, 5, 5};
    options.keeps_damaged = 1;  // a lack of memory is no damage
    ExpectNoMemoryIsAStatus([&] { return DecodeOnce(Files()[i], options); });
  }
}

TEST(ApiMemory, DecodeInto) {
  for (size_t i = 0; i < Files().size(); ++i) {
    SCOPED_TRACE(Formats()[i]);
    auto options = Sized<zepcDecodeOptions>();
    options.threads = 1;
    Image buffer = Blank(37, 29, {zepcLayoutGrey, zepcSampleU8, 8});
    const Image blank = buffer;
    const zepcPixels to = buffer.Pixels();
    ExpectNoMemoryIsAStatus([&]() -> Outcome {
      std::copy(blank.bytes.begin(), blank.bytes.end(), buffer.bytes.begin());
      const zepcStatus status =
          zepcDecodeInto(Files()[i].data(), Files()[i].size(), &options, &to, nullptr);
      return {status, buffer.bytes == blank.bytes};
    });
  }
}

TEST(ApiMemory, Probe) {
  for (const Bytes& file : Files()) {
    ExpectNoMemoryIsAStatus([&]() -> Outcome {
      auto info = Sized<zepcInfo>();
      const zepcStatus status = zepcProbe(file.data(), file.size(), nullptr, &info);
      return {status, info.width == 0};
    });
  }
}

// Recognizing a file takes no memory, since it could not say that there is none.
TEST(ApiMemory, FormatOfBytes) {
  for (size_t i = 0; i < Files().size(); ++i) {
    zepcFormat format = zepcFormatUnknown;
    CallFailing(
        [&]() -> Outcome {
          format = zepcFormatOfBytes(Files()[i].data(), Files()[i].size());
          return {zepcStatusOk, true};
        },
        0, true);
    EXPECT_EQ(format, Formats()[i]);
    EXPECT_EQ(allocations, 0);
  }
}

Bytes JpegWithMetadata(bool is_progressive) {
  const Bytes exif = Exif(6);
  auto metadata = Sized<zepcMetadata>();
  metadata.exif = exif.data();
  metadata.exif_size = exif.size();
  auto jpeg = Sized<zepcJpegOptions>();
  jpeg.is_progressive = is_progressive ? 1 : 0;
  zepcEncodeOptions options = OptionsFor(zepcFormatJpeg);
  options.metadata = &metadata;
  options.jpeg = &jpeg;
  return Encode(Make(40, 35, {}), options);
}

TEST(ApiMemory, Transcode) {
  for (const bool is_progressive : {false, true}) {
    const Bytes file = JpegWithMetadata(is_progressive);
    auto options = Sized<zepcTranscodeOptions>();
    options.transform = zepcTransformUpright;
    options.region = {1, 1, 9, 9};
    options.is_progressive = !is_progressive;
    options.keeps_damaged = 1;
    ExpectNoMemoryIsAStatus([&]() -> Outcome {
      void* made = nullptr;
      size_t size = 7;
      const zepcStatus status = zepcJpegTranscode(file.data(), file.size(), &options, &made, &size);
      const bool is_untouched = made == nullptr && size == 7;
      zepcFree(made);
      return {status, is_untouched};
    });
  }
}

TEST(ApiMemory, Coefficients) {
  for (const bool is_progressive : {false, true}) {
    const Bytes file = JpegWithMetadata(is_progressive);
    auto keeps = Sized<zepcDecodeOptions>();
    keeps.keeps_damaged = 1;
    ExpectNoMemoryIsAStatus([&]() -> Outcome {
      zepcCoefficients* made = nullptr;
      const zepcStatus status = zepcJpegReadCoefficients(file.data(), file.size(), &keeps, &made);
      const bool is_untouched = made == nullptr;
      zepcJpegFreeCoefficients(made);
      return {status, is_untouched};
    });
    zepcCoefficients* read = nullptr;
    ASSERT_EQ(zepcJpegReadCoefficients(file.data(), file.size(), nullptr, &read), zepcStatusOk);
    const Coefficients owner(read);
    ExpectNoMemoryIsAStatus([&]() -> Outcome {
      void* made = nullptr;
      size_t size = 7;
      const zepcStatus status = zepcJpegWriteCoefficients(read, nullptr, nullptr, &made, &size);
      const bool is_untouched = made == nullptr && size == 7;
      zepcFree(made);
      return {status, is_untouched};
    });
  }
  auto info = Sized<zepcCoefficientsInfo>();
  info.width = info.height = 20;
  info.bits = 8;
  info.components = 1;
  auto component = Sized<zepcComponent>();
  component.h = component.v = 1;
  std::fill(std::begin(component.steps), std::end(component.steps), uint16_t{1});
  ExpectNoMemoryIsAStatus([&]() -> Outcome {
    zepcCoefficients* made = nullptr;
    const zepcStatus status = zepcJpegMakeCoefficients(&info, &component, &made);
    const bool is_untouched = made == nullptr;
    zepcJpegFreeCoefficients(made);
    return {status, is_untouched};
  });
}

}  // namespace

#endif
