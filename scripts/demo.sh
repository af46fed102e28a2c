#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Shows the JPEG codec on photographs: installs missing packages, builds, converts the fifteen
# pictures of Debian's lomiri-wallpapers-16.04 from JPEG to PNG and back, writes reports, and prints
# times and quality beside those of libjpeg-turbo. All files are in build/demo.
set -euo pipefail
cd "$(dirname "$0")/.."
demo=$PWD/build/demo
scripts/setup.sh build demo

echo "== Building"
mkdir -p "$demo"
cmake -S . -B "$demo/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DZEPJP_BUILD_TESTS=OFF \
  -DZEPJP_BUILD_BENCH=ON >"$demo/configure.log" || { cat "$demo/configure.log"; exit 1; }
cmake --build "$demo/build" --target zepconvert photo_compare >"$demo/build.log" ||
  { tail -n 60 "$demo/build.log"; exit 1; }
tool=$demo/build/tools/zepconvert/zepconvert

echo "== Getting the pictures"
rm -rf "$demo/png" "$demo/jpg" "$demo/report-png" "$demo/report-jpg"
scripts/photos.sh "$demo"

cd "$demo"
echo "== Converting JPEG to PNG"
"$tool" photos/*.jpg --to png --out-dir png --report report-png
echo "== Converting PNG to JPEG"
"$tool" png/*.png --to jpg --out-dir jpg --report report-jpg

echo "== Beside libjpeg-turbo, one core, quality 90, 4:2:0 (ratio above 1: zepjp is faster)"
build/bench/photo_compare --rounds 3 photos/*.jpg | tee summary.txt
echo
echo "Reports to look at in a browser:"
echo "  $demo/report-png/index.html"
echo "  $demo/report-jpg/index.html"
