#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Times every benchmark on each instruction set, built by g++ and by clang. Renews
# docs/performance.md, its plots, and the numbers in docs/performance.json.
#   bench.sh [--seconds S] [--compare OLD.json]
# S: time of a row (default 0.05). All programs run in three rounds, and the best of them counts for
# each row, because a shared machine is slower at some times than at others.
# OLD.json: older numbers; rows that lost more than 5 % of their speed are printed at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=0.05
compare=()
while [ $# -gt 0 ]; do
  case $1 in
    --seconds) seconds=$2 ;;
    --compare) compare=(--compare "$2") ;;
    *) sed -n '3,8s/^# \?//p' "$0"; exit 2 ;;
  esac
  shift 2
done
scripts/setup.sh build test bench
results=$PWD/build/bench/results
rm -rf "$results"
mkdir -p "$results"

for compiler in g++ clang++; do
  build=build/bench/$compiler
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$compiler" \
    -DZEPJP_BUILD_TESTS=OFF -DZEPJP_BUILD_TOOLS=OFF -DZEPJP_BUILD_EXAMPLES=OFF \
    -DZEPJP_BUILD_BENCH=ON >"build/bench/$compiler.log"
  cmake --build "$build" >>"build/bench/$compiler.log"
done

# run NAME BENCH: one program on the instruction set that the environment allows.
run() {
  echo "$1 $(basename "$2")"
  "$2" --benchmark_min_time="$seconds" --benchmark_out_format=json \
    --benchmark_out="$results/$1.$(basename "$2").json" >/dev/null 2>&1
}

for round in 1 2 3; do
  for compiler in g++ clang++; do
    for bench in build/bench/$compiler/bench/*_bench; do
      for set in AVX-512=0x700 AVX2=0x300 SSSE3=0; do
        ZEPCORE_CPU_FEATURES=${set#*=} run "$round.$compiler.${set%=*}" "$bench"
      done
      case $bench in
        # libjpeg-turbo can be held to its kernels for SSE2.
        */color_bench | */dct_bench | */mcu_bench)
          ZEPCORE_CPU_FEATURES=0 JSIMD_FORCESSE2=1 run "$round.$compiler.SSE2" "$bench" ;;
      esac
    done
  done
done
/usr/bin/python3 scripts/bench_report.py "$results" docs "${compare[@]}"
