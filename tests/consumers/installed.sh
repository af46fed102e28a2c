#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs a build, moves the installed tree, and builds and runs programs that use it.
#   installed.sh BUILD_DIR shared|static
set -euo pipefail
. "$(dirname "$0")/use.sh"
build=$1 kind=$2
cmake --install "$build" --prefix "$work/first place" >/dev/null
mv "$work/first place" "$work/second_place"
prefix=$work/second_place
libdir=$(dirname "$(find "$prefix" -name pkgconfig)")

if grep -rlE "first place|$build" "$prefix"/*/ --include='*.pc' --include='*.cmake'; then
  echo "These files name the place of the build or of the installation"
  exit 1
fi
for languages in C "C;CXX"; do
  use_cmake "$libdir" "$kind" gcc g++ "$languages"
  use_cmake "$libdir" "$kind" clang clang++ "$languages"
done
# The program of the README and an example.
awk '/^```c/ {inside = 1; next} /^```/ {inside = 0} inside' "$source/README.md" >"$work/readme.c"
for compiler in gcc clang; do
  use_pkg_config "$libdir" "$kind" "$compiler"
  use_pkg_config "$libdir" "$kind" "$compiler" "$work/readme.c"
  use_pkg_config "$libdir" "$kind" "$compiler" "$source/examples/"{wavelet_headroom,pnm}.c
done

if [ -e "$libdir/pkgconfig/zepcodec.pc" ]; then
  package=zepcodec
  for compiler in gcc clang; do
    use_pkg_config "$libdir" "$kind" "$compiler" "$here/codec_consumer.c"
  done
  # The same libraries through CMake, whose presence is checked.
  [ "$(ls "$work"/use*/codec_consumer | wc -l)" -eq 4 ]
fi

if [ -x "$prefix/bin/zepconvert" ]; then
  printf 'P6\n1 1\n255\nabc' >"$work/pixel.ppm"
  "$prefix/bin/zepconvert" "$work/pixel.ppm" --to png --out-dir "$work/out"
  [ -s "$work/out/pixel.png" ]
fi
