#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Times every benchmark on each instruction set, built by g++ and by clang. Renews
# docs/performance.md, its plots, and the numbers in docs/performance.json.
#   bench.sh [--seconds S] [--compare OLD.json]
# S: time of a row (default 0.05). All programs run in two rounds, and the best of them counts for
# each row, because a shared machine is slower at some times than at others. Rows that then look
# slower than the rival, or than on an older instruction set, run in up to six rounds more.
# OLD.json: older numbers; rows that lost more than 5 % of their speed are printed at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=0.05
compare=()
while [ $# -gt 0 ]; do
  case $1 in
    --seconds) seconds=$2 ;;
    --compare) compare=(--compare "$2") ;;
    *) sed -n '3,9s/^# \?//p' "$0"; exit 2 ;;
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

# run ROUND COMPILER BENCH [ROWS]: one program on each instruction set; all rows, or those that match.
run() {
  local options=(--benchmark_min_time="$seconds" --benchmark_out_format=json) name set
  [ $# -lt 4 ] || options+=(--benchmark_filter="$4")
  for set in AVX-512=0x700 AVX2=0x300 SSSE3=0 SSE2=0; do
    name=$1.$2.${set%=*}.$3
    unset JSIMD_FORCESSE2
    if [ "${set%=*}" = SSE2 ]; then
      # libjpeg-turbo can be held to its kernels for SSE2.
      case $3 in color_bench | dct_bench | mcu_bench) export JSIMD_FORCESSE2=1 ;; *) continue ;; esac
    fi
    echo "$name"
    ZEPCORE_CPU_FEATURES=${set#*=} "build/bench/$2/bench/$3" "${options[@]}" \
      --benchmark_out="$results/$name.json" >/dev/null 2>&1
  done
}

for round in 1 2; do
  for compiler in g++ clang++; do
    for bench in build/bench/"$compiler"/bench/*_bench; do
      run $round "$compiler" "$(basename "$bench")"
    done
  done
done
for round in 3 4 5 6 7 8; do
  /usr/bin/python3 scripts/bench_report.py "$results" docs --doubtful >"$results/doubtful"
  while read -r compiler bench rows; do run $round "$compiler" "$bench" "$rows"; done \
    <"$results/doubtful"
done
/usr/bin/python3 scripts/bench_report.py "$results" docs "${compare[@]}"
