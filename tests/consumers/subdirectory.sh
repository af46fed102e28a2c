#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A project that includes the library as a subdirectory; unoptimized, because that compiles quickly.
set -euo pipefail
. "$(dirname "$0")/use.sh"
cmake -S "$here/add_subdirectory" -B "$work/build" -G Ninja -DZEPJP_SOURCE_DIR="$source" \
  -DCMAKE_BUILD_TYPE=Debug >/dev/null
cmake --build "$work/build" >"$work/log" || { tail -n 40 "$work/log"; exit 1; }
"$work/build/consumer"
