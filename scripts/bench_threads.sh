#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Times whole codecs on one and on two threads, built by g++ and by clang, and renews
# docs/performance-threads.md.
#   bench_threads.sh [ROUNDS]   (default 5; the shortest time counts)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build test bench
work=$PWD/build/bench-threads
page=$PWD/docs/performance-threads.md
scripts/photos.sh "$work"
# Photographs of 8 megapixels and more.
mapfile -t photos < <(cd "$work/photos" && for photo in *.jpg; do
  read -r width height < <(djpeg -pnm "$photo" | head -c 20 | sed -n 2p)
  [ $((width * height)) -lt 8000000 ] || echo "$work/photos/$photo"
done | head -n 3)
{
  cat <<TEXT
# Whole codecs on two threads

Measured by \`scripts/bench_threads.sh\` on $(date +%F), $(grep -m1 'model name' /proc/cpuinfo | sed 's/.*: //'), two
cores, through \`zepcodec.h\`: the sum over ${#photos[@]} photographs of 8 megapixels and more. The two numbers of threads
take turns, and the shortest time of each photograph counts. \`processor time\` is how much more of it two threads take than
one. The last columns are a model: the two times give the part S that stays and the part P that is divided,
S + P = T(1) and S + P / 2 = T(2), and T(n) = S + P / n.

Three limits show. A JPEG XR picture without tiles is a single chain of codes, which takes 80 % of the decoder's time.
Decoding BC1 to BC5 takes little more time than the system needs to clear the memory of the picture. The scans of a
progressive JPEG file depend on each other.
TEXT
  for compiler in g++ clang++; do
    build=$work/$compiler
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$compiler" \
      -DZEPJP_BUILD_TESTS=OFF -DZEPJP_BUILD_TOOLS=OFF -DZEPJP_BUILD_EXAMPLES=OFF \
      -DZEPJP_BUILD_BENCH=ON >"$work/$compiler.log"
    cmake --build "$build" --target thread_scaling >>"$work/$compiler.log"
    printf '\n## %s\n\n' "$("$compiler" --version | head -n 1)"
    "$build/bench/thread_scaling" --rounds "${1:-5}" "${photos[@]}"
  done
} >"$page.new"
mv "$page.new" "$page"
