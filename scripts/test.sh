#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs missing packages, builds every configuration and runs all tests.
#   test.sh [PRESET...]   (default: all presets of CI)
#   test.sh --quick       one configuration, the lowest and the highest instruction set
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build test
presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(release clang asan tsan serial i386 arm64 riscv64)
[ "${presets[0]}" != --quick ] || presets=(quick)
mkdir -p build/all

# ccache keeps the compilers' results from run to run, and for every checkout.
if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
fi

times=()
# timed WHAT LOG COMMAND...: measures the seconds of a step. If it fails, prints the end of its
# output without the lines of a build's successful commands, which would push out the errors.
timed() {
  local what=$1 log=build/$2.log start=$SECONDS
  shift 2
  "$@" >"$log" 2>&1 || { grep -v '^\[' "$log" | tail -n 60; echo "$what failed, see $log"; exit 1; }
  times+=("$(printf '%-20s %5d s' "$what" $((SECONDS - start)))")
}

[ "${presets[0]}" = quick ] || timed lint lint scripts/lint.sh
# One tree of tests over all configurations, so that one summary is printed at the end.
: >build/all/CTestTestfile.cmake
for preset in "${presets[@]}"; do
  echo "== $preset"
  timed "$preset configure" "$preset.configure" cmake --preset "$preset"
  timed "$preset build" "$preset.build" cmake --build --preset "$preset" -- -k 0
  echo "subdirs(\"$PWD/build/$preset\")" >>build/all/CTestTestfile.cmake
done
# Two tests run at the same time, so a thread that waits for another one must not spin.
export OMP_WAIT_POLICY=passive
export LSAN_OPTIONS=suppressions=$PWD/tests/lsan.supp:print_suppressions=0

# Prints the time of each step before ctest's summary. For tests this is the sum over all tests,
# although several run at the same time.
steps=$(printf '%s\n' "${times[@]}")
ctest --test-dir build/all -j "$(nproc)" --output-on-failure --timeout 1200 --no-tests=error |
  awk -v steps="$steps" '
    / Start +[0-9]+: / { next }
    / Test +#[0-9]+: / {
      split($0, parts, ": "); split(parts[2], name, "."); sum[name[1]] += $(NF - 1)
    }
    /tests passed/ {
      print "\nTime by step\n" steps
      for (preset in sum) printf "%-20s %5d s\n", preset " tests", sum[preset]
    }
    { print; fflush() }'
