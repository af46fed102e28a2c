#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Times every benchmark on each instruction set and renews docs/performance.md.
#   bench.sh [SECONDS]   (for each row; default 0.2)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build test bench
cmake --preset release >/dev/null
cmake --build --preset release >/dev/null
results=build/release/bench/results
rm -rf "$results"
mkdir -p "$results"
for pair in AVX-512=0x700 AVX2=0x300 SSSE3=0; do
  for bench in build/release/bench/*_bench; do
    echo "${pair%=*} $(basename "$bench")"
    ZEPCORE_CPU_FEATURES=${pair#*=} "$bench" --benchmark_min_time="${1:-0.2}" \
      --benchmark_out="$results/${pair%=*}.$(basename "$bench").json" --benchmark_out_format=json \
      >/dev/null 2>&1
  done
done
/usr/bin/python3 scripts/bench_report.py "$results" docs
