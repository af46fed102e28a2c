// SPDX-License-Identifier: MIT
#include "simd/startup.h"
#include "zepjp.h"

namespace zepjp {
namespace {

constexpr char kVersionText[] = "7.1.0 (r36264)";
constexpr char kBuildDate[] = "Jul 23 2012";

constexpr zepLibraryVersion kVersions[] = {
    {7, 1, 0, 36264, {'v', '8', 0, 0}, "zepJP SSSE3 (v8)", kVersionText, kBuildDate},
    {7, 1, 0, 36264, {'s', '8', 0, 0}, "zepJP Mote (s8)", kVersionText, kBuildDate},
};

const zepLibraryVersion* version = nullptr;

ZEP_AT_LOAD void ChooseVersion() {
  version = &kVersions[static_cast<int>(EnabledAtLoad().variant)];
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

const zepLibraryVersion* ZEP_CALL zepjGetLibVersion(void) { return version; }
