#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the Debian packages that are missing for the named purposes (scripts/packages.txt).
#   setup.sh build test
set -euo pipefail
cd "$(dirname "$0")"
missing=()
for purpose in "$@"; do
  for package in $(sed -n "s/^$purpose: //p" packages.txt); do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
  done
done
[ ${#missing[@]} -eq 0 ] && exit 0
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -q
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends \
  "${missing[@]}" >/dev/null
