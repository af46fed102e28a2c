#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs one fuzz target for a long time; its findings are kept in build/asan/fuzz/<name>.found.
#   fuzz.sh TARGET [SECONDS]   (for example: fuzz.sh block_decoder_fuzz 3600)
set -euo pipefail
cd "$(dirname "$0")/.."
target=$1
stem=${target%_fuzz}
scripts/setup.sh build test
cmake --preset asan >/dev/null
cmake --build --preset asan --target "$target"
cd build/asan/fuzz
exec "./$target" -max_total_time="${2:-600}" -rss_limit_mb=2048 "$stem.found" \
  "$OLDPWD/fuzz/corpus/$stem"
