#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks the formatting of all sources, and runs clang-tidy on the changed files of the libraries
# and tools.
#   lint.sh [BASE]   (default: the parent of the last merge base with origin/main, or HEAD~1)
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t sources < <(git ls-files '*.cc' '*.h' '*.c')
clang-format --dry-run -Werror "${sources[@]}"

base=${1:-$(git merge-base HEAD origin/main 2>/dev/null || true)}
[ "$base" != "$(git rev-parse HEAD)" ] && [ -n "$base" ] || base=HEAD~1
mapfile -t changed < <(git diff --name-only --diff-filter=d "$base" -- 'src/*.cc' 'core/src/*.cc' \
  'codecs/*.cc' 'tools/*.cc' 2>/dev/null || true)
[ ${#changed[@]} -eq 0 ] && exit 0
cmake -S . -B build/tidy -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang >/dev/null
printf '%s\n' "${changed[@]}" | xargs -P "$(nproc)" -n 1 clang-tidy --quiet -p build/tidy
