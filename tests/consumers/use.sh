# SPDX-License-Identifier: MIT
# For the scripts in this folder: builds and runs programs that use an installed tree.

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source=$(cd "$here/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
counted=0

# use_cmake LIBDIR KIND C_COMPILER CXX_COMPILER LANGUAGES: a project that calls find_package().
use_cmake() {
  local build=$work/use$((++counted)) compilers=("-DCMAKE_C_COMPILER=$3")
  [ "$5" = C ] || compilers+=("-DCMAKE_CXX_COMPILER=$4")
  cmake -S "$here/find_package" -B "$build" -G Ninja -Dzepjp_DIR="$1/cmake/zepjp" -DKIND="$2" \
    "${compilers[@]}" "-DLANGUAGES=$5" >"$build.log"
  cmake --build "$build" >>"$build.log" || { cat "$build.log"; exit 1; }
  "$build/consumer"
  for program in "$build"/codec_consumer "$build"/codec_consumer_cxx; do
    [ ! -x "$program" ] || "$program"
  done
}

# use_pkg_config LIBDIR KIND COMPILER [SOURCE...]: calls a compiler with the flags that pkg-config
# gives for $package.
package=zepjp
use_pkg_config() {
  local sources=("${@:4}") options=()
  [ ${#sources[@]} -gt 0 ] || sources=("$here/consumer.c")
  export PKG_CONFIG_PATH=$1/pkgconfig
  [ "$2" = shared ] || options=(--static)
  # shellcheck disable=SC2046
  "$3" -std=c99 -Wall -Wextra -Werror "${sources[@]}" -o "$work/program" \
    $(pkg-config --cflags --libs "${options[@]}" "$package") -lm -Wl,-rpath,"$1"
  "$work/program"
}
