#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# On a machine that lacks packages that only the tool, the tests or the reference need, the first
# command of a newcomer succeeds, and CMake says what is left out and which package has it.
set -euo pipefail
. "$(dirname "$0")/use.sh"
cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_DISABLE_FIND_PACKAGE_PNG=ON \
  -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON \
  -DZEPJP_GOOGLETEST_SOURCE="$work/none" \
  -DDOXYGEN=OFF >"$work/log"
for package in libpng-dev libcli11-dev nlohmann-json3-dev googletest; do
  grep -q "left out.*$package" "$work/log" || { echo "$package is not named"; exit 1; }
done
targets=$(cmake --build "$work/build" --target help)
grep -q '^zepjp:' <<<"$targets"
if grep -qE '^(zepconvert|startup_test):' <<<"$targets"; then exit 1; fi
if cmake --build "$work/build" --target docs >"$work/log"; then exit 1; fi
grep -q 'Debian: doxygen' "$work/log"

# If a package that the library needs is missing, CMake names it too.
if cmake -S "$source" -B "$work/none" -G Ninja -DZEPJP_BUILD_TESTS=OFF \
  -DHIGHWAY_INCLUDE_DIR=HIGHWAY_INCLUDE_DIR-NOTFOUND -DCMAKE_SYSTEM_IGNORE_PATH=/usr/include \
  -DZEP_OPENMP=OFF >"$work/log" 2>&1; then
  exit 1
fi
grep -q 'Debian: libhwy-dev' "$work/log"
