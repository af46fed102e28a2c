#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Shows zepconvert on photographs: installs missing packages, builds the program, converts the
# fifteen pictures of Debian's lomiri-wallpapers-16.04 from JPEG to PNG and back, and writes reports.
# All files are in build/demo. It takes no arguments.
set -euo pipefail
case ${1:-} in
  "") ;;
  -h | --help) sed -n '3,5s/^# //p' "$0"; exit 0 ;;
  *) echo "demo.sh takes no arguments, but was given \"$1\""; exit 2 ;;
esac
cd "$(dirname "$0")/.."
demo=$PWD/build/demo
scripts/setup.sh build

echo "== Building zepconvert (some minutes at the first time)"
mkdir -p "$demo"
cmake -S . -B "$demo/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DZEPJP_BUILD_TESTS=OFF \
  -DZEPJP_BUILD_EXAMPLES=OFF >"$demo/configure.log" || { cat "$demo/configure.log"; exit 1; }
build=(cmake --build "$demo/build" --target zepconvert)
if [ -t 1 ]; then
  "${build[@]}" # which shows how far it is
else
  "${build[@]}" >"$demo/build.log" || { tail -n 60 "$demo/build.log"; exit 1; }
fi
tool=$demo/build/tools/zepconvert/zepconvert

echo "== Getting the pictures"
rm -rf "$demo/png" "$demo/jpg" "$demo/report-png" "$demo/report-jpg"
scripts/photos.sh "$demo"

cd "$demo"
echo "== Converting JPEG to PNG"
"$tool" photos/*.jpg --to png --out-dir png --report report-png
echo "== Converting PNG to JPEG"
"$tool" png/*.png --to jpg --out-dir jpg --report report-jpg

page=$demo/report-jpg/index.html
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && command -v xdg-open >/dev/null; then
  xdg-open "$page" >/dev/null 2>&1 &
fi
echo "== Reports to look at in a browser"
echo "$demo/report-png/index.html"
echo "$page"
