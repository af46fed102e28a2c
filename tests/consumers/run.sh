#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds and runs the consumer in one of the ways in which a project can use the library.
#   run.sh find_package|add_subdirectory|pkg_config SOURCE_DIR BUILD_DIR
set -euo pipefail
way=$1 source=$2 build=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if [ "$way" != add_subdirectory ]; then
  cmake --install "$build" --prefix "$work/prefix" >/dev/null
fi
# The library is built anew in one of them: quickly.
type=Release
[ "$way" = add_subdirectory ] && type=Debug
case $way in
  find_package | add_subdirectory)
    cmake -S "$source/tests/consumers/$way" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/prefix" \
      -DZEPJP_SOURCE_DIR="$source" -DCMAKE_BUILD_TYPE="$type" >/dev/null
    cmake --build "$work/build" >/dev/null
    "$work/build/consumer"
    ;;
  pkg_config)
    libdir=$(dirname "$(find "$work/prefix" -name zepjp.pc)")
    sed -i "s|^prefix=.*|prefix=$work/prefix|" "$libdir"/zep*.pc
    export PKG_CONFIG_PATH=$libdir
    # The program of the README too.
    awk '/^```c/ {inside = 1; next} /^```/ {inside = 0} inside' "$source/README.md" >"$work/readme.c"
    export LD_LIBRARY_PATH=${libdir%/*}
    for program in "$source/tests/consumers/consumer.c" "$work/readme.c"; do
      # shellcheck disable=SC2046
      cc -std=c99 -Wall -Wextra -Werror "$program" -o "$work/program" \
        $(pkg-config --cflags --libs zepjp zepcore)
      "$work/program"
    done
    ;;
esac
