#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds every configuration and passes all tests; installs what is missing first.
#   test.sh [PRESET...]   (default: all that CI builds)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build test
presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(release clang asan tsan serial i386 arm64)

scripts/lint.sh
# One tree of tests over all configurations, so that one summary closes the run.
mkdir -p build/all
: >build/all/CTestTestfile.cmake
for preset in "${presets[@]}"; do
  echo "== $preset"
  cmake --preset "$preset" >"build/$preset.configure.log" || { cat "build/$preset.configure.log"; exit 1; }
  cmake --build --preset "$preset" >"build/$preset.build.log" || { tail -n 60 "build/$preset.build.log"; exit 1; }
  echo "subdirs(\"$PWD/build/$preset\")" >>build/all/CTestTestfile.cmake
done
export LSAN_OPTIONS=suppressions=$PWD/tests/lsan.supp:print_suppressions=0
ctest --test-dir build/all -j "$(nproc)" --output-on-failure --timeout 1200 --no-tests=error \
  --progress
