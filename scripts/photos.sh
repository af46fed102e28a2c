#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Puts the fifteen photographs of Debian's lomiri-wallpapers-16.04 into DIR/photos.
#   photos.sh DIR
set -euo pipefail
package=lomiri-wallpapers-16.04
mkdir -p "$1/package"
cd "$1/package"
if ! compgen -G "$package*.deb" >/dev/null; then
  # A fresh system first needs the lists of packages.
  apt-get download -q "$package" 2>download.log || {
    as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    "${as_root[@]}" apt-get update -q
    apt-get download -q "$package" 2>download.log || { cat download.log; exit 1; }
  }
fi
dpkg-deb -x "$package"*.deb .
rm -rf ../photos
mkdir ../photos
for photo in usr/share/backgrounds/*.jpg; do
  [ -L "$photo" ] || cp "$photo" ../photos/
done
