#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs a static library with OpenMP and a shared one without it in one prefix, with unusual
# directory names: each is found, and neither replaces files of the other.
#   side_by_side.sh BUILD_DIR
set -euo pipefail
. "$(dirname "$0")/use.sh"
prefix=$work/prefix
# In a folder beside the main build, where ccache finds the same objects by relative paths.
builds=$(dirname "$1")/side_by_side
trap 'rm -rf "$work" "$builds".*' EXIT
for kind in static shared; do
  cmake -S "$source" -B "$builds.$kind" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++ \
    -DZEPJP_BUILD_TESTS=OFF -DZEPJP_BUILD_CODECS=OFF \
    -DBUILD_SHARED_LIBS="$([ $kind = shared ] && echo ON || echo OFF)" \
    -DZEP_OPENMP="$([ $kind = static ] && echo ON || echo OFF)" \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib/odd \
    -DCMAKE_INSTALL_INCLUDEDIR=include/odd >"$work/$kind.log"
  cmake --build "$builds.$kind" >>"$work/$kind.log" || { tail -n 40 "$work/$kind.log"; exit 1; }
  cmake --install "$builds.$kind" >/dev/null
  rm -rf "$builds.$kind"  # the installed files must not need it
done
cd "$prefix"
[ -f include/odd/zepjp.h ] && [ -f lib/odd/libzepjp.a ] && [ -f lib/odd/libzepjp.so.7 ]

for kind in shared static; do
  use_cmake "$prefix/lib/odd" "$kind" gcc g++ C
  use_cmake "$prefix/lib/odd" "$kind" clang clang++ "C;CXX"
done
# Without a component: the shared library, unless static ones are asked for.
readelf -d "$work/use1/consumer" | grep -q 'libzepjp.so.7'
if readelf -d "$work/use3/consumer" | grep -q 'libzepjp.so'; then exit 1; fi
use_cmake "$prefix/lib/odd" "" gcc g++ C
readelf -d "$work/use5/consumer" | grep -q 'libzepjp.so.7'
use_pkg_config "$prefix/lib/odd" shared gcc
