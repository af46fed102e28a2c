#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Files of other programs are read here, ours there: libjpeg-turbo's tools, ImageMagick, Pillow, dcmtk,
# Chromium. A program that is not installed is left out, in CI it must be there.
#   interop.sh PATH_OF_ZEPCONVERT
set -euo pipefail
program=$(realpath "$1")
tool() { "$program" --force "$@"; }
here=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
checks=0
failures=0
# A program with sanitizers takes much longer.
is_sanitized=0
if grep -q __asan_init "$program"; then is_sanitized=1; fi

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}

# same WHAT A B [MOST [MEAN]]: two pictures are as close as two decoders may be.
same() {
  checks=$((checks + 1))
  python3 "$here/compare_pnm.py" "$2" "$3" "${4:-4}" "${5:-0.3}" || fail "$1"
}

# Succeeds if a program is there; "magick" stands for any name of ImageMagick's.
have() {
  command -v "$1" >/dev/null && return 0
  [ "${CI:-}" = true ] && fail "$1 is not installed"
  echo "left out: $1 is not installed"
  return 1
}

# The pictures: odd sizes, sharp and smooth parts.
python3 - <<'PYTHON'
import math
def write(name, width, height, channels):
    samples = bytearray()
    state = 1
    for y in range(height):
        for x in range(width):
            for c in range(channels):
                state = (state * 1103515245 + 12345) & 0x7FFFFFFF
                wave = 128 + 60 * math.sin(x / 15 + c) + 50 * math.cos(y / 19 + 2 * c)
                disc = 50 * (c - 1) if (x % 41 - 20) ** 2 + (y % 37 - 18) ** 2 < 120 else 0
                samples.append(max(0, min(255, int(wave + disc + (state >> 16) % 13 - 6))))
    with open(name, "wb") as file:
        file.write(b"P%d\n%d %d\n255\n" % (6 if channels == 3 else 5, width, height) + samples)
write("rgb.ppm", 157, 93, 3)
write("grey.pgm", 157, 93, 1)
PYTHON
for sampling in 444 422 420; do
  tool rgb.ppm "ours-$sampling.jpg" --sampling $sampling
  tool rgb.ppm "ours-$sampling-restart.jpg" --sampling $sampling --restart 5 -q 75
done
tool grey.pgm ours-grey.jpg
tool rgb.ppm ours-progressive.jpg --progressive
tool grey.pgm ours-progressive-grey.jpg --progressive --restart 9
tool rgb.ppm ours-optimized.jpg --optimize
cat >script.txt <<'SCRIPT'
# DC, then bands of luminance in two steps.
0,1,2: 0-0, 0, 1;
0: 1-9, 0, 2;   0: 10-63, 0, 3;
2: 1-63, 0, 0;  1: 1-63, 0, 1;  1: 1-63, 1, 0;
0: 10-63, 3, 2; 0: 1-63, 2, 1;  0: 1-63, 1, 0;
0,1,2: 0-0, 1, 0;
SCRIPT
tool rgb.ppm ours-script.jpg --script script.txt --sampling 422
ours=(ours-*.jpg)
for file in "${ours[@]}"; do tool "$file" "${file%.jpg}.pnm"; done

if have cjpeg && have djpeg; then
  i=0
  for options in "-quality 90" "-quality 30 -sample 1x1" "-quality 100 -sample 2x1" \
    "-quality 75 -sample 1x2" "-quality 85 -sample 4x1" "-restart 1" "-restart 7B -sample 2x1" \
    "-optimize" "-progressive" "-progressive -sample 1x1 -restart 1" "-scans script.txt" "-grayscale" "-quality 5" "-quality 92 -sample 2x2,1x2,2x1" "-rgb"; do
    i=$((i + 1))
    # shellcheck disable=SC2086
    cjpeg $options -outfile "turbo-$i.jpg" rgb.ppm
    tool "turbo-$i.jpg" "turbo-$i.pnm"
    djpeg -dct int -pnm -outfile expected.pnm "turbo-$i.jpg"
    same "cjpeg $options" "turbo-$i.pnm" expected.pnm
  done
  for file in "${ours[@]}"; do
    djpeg -dct int -pnm -outfile there.pnm "$file"
    same "djpeg reads $file" "${file%.jpg}.pnm" there.pnm
  done
  if cjpeg -arithmetic -outfile arithmetic.jpg rgb.ppm; then
    checks=$((checks + 1))
    tool arithmetic.jpg out.ppm 2>message && fail "arithmetic: no error"
    grep -q arithmetic message || fail "arithmetic: $(cat message)"
  fi
fi

# With the same coefficients djpeg makes the same picture, bit for bit.
same_coefficients() {
  checks=$((checks + 1))
  djpeg -pnm -outfile first.pnm "$2"
  djpeg -pnm -outfile second.pnm "$3"
  cmp -s first.pnm second.pnm || fail "$1"
}

if have jpegtran && have djpeg; then
  turn=0
  for file in "${ours[@]}"; do
    for way in "" -progressive -optimize "-restart 3"; do
      # shellcheck disable=SC2086
      jpegtran $way -outfile theirs.jpg "$file"
      for back in "" --progressive --optimize "--script script.txt"; do
        case $file$back in *grey*script*) continue ;; esac
        # With sanitizers every fifth one: over all files, each of the 16 pairs has its turn.
        turn=$((turn + 1))
        [ $is_sanitized = 1 ] && [ $((turn % 5)) -ne 0 ] && continue
        # shellcheck disable=SC2086
        tool theirs.jpg back.jpg --transcode $back
        same_coefficients "jpegtran $way, --transcode $back of $file" "$file" back.jpg
      done
    done
    tool --quiet "$file" part.jpg --transcode --crop 70x50+33+18
    jpegtran -crop 70x50+33+18 -outfile theirs.jpg "$file"
    same_coefficients "part of $file" theirs.jpg part.jpg
  done
fi

magick=
for name in magick convert-im6.q16 convert; do
  if command -v $name >/dev/null && $name -version 2>/dev/null | grep -q "Version: ImageMagick"; then
    magick=$name
    break
  fi
done
if [ -n "$magick" ] || have magick; then
  for file in "${ours[@]}"; do
    $magick "$file" -depth 8 "there.${file##*-}.pnm"
    same "ImageMagick reads $file" "${file%.jpg}.pnm" "there.${file##*-}.pnm"
  done
  for factors in 1x1 2x1 2x2 1x2; do
    $magick rgb.ppm -sampling-factor $factors -interlace none -quality 88 magick.jpg
    tool magick.jpg here.ppm
    $magick magick.jpg -depth 8 there.ppm
    same "ImageMagick $factors" here.ppm there.ppm
  done
  # Inks: compared as a grey picture of each, since the colours depend on profiles.
  $magick rgb.ppm -colorspace CMYK -quality 90 cmyk.jpg
  tool cmyk.jpg cmyk-again.jpg -q 100 --sampling 444
  for ink in C M Y K; do
    $magick cmyk.jpg -channel $ink -separate -depth 8 first.pgm
    $magick cmyk-again.jpg -channel $ink -separate -depth 8 second.pgm
    same "CMYK through here, $ink" first.pgm second.pgm 8 1.0
  done
fi

# Debian's package is for Debian's Python, which need not be the first.
python=
for name in python3 /usr/bin/python3; do
  if $name -c 'import PIL' 2>/dev/null; then python=$name; fi
done
if [ -n "$python" ] || have Pillow; then
  $python - "${ours[@]}" <<'PYTHON'
import sys
from PIL import Image
picture = Image.open("rgb.ppm")
for subsampling in range(3):
    picture.save("pillow-%d.jpg" % subsampling, quality=85, subsampling=subsampling)
    Image.open("pillow-%d.jpg" % subsampling).save("pillow-%d.expected.ppm" % subsampling)
picture.convert("L").save("pillow-3.jpg", quality=60, optimize=True)
picture.save("pillow-4.jpg", quality=80, progressive=True)
Image.open("pillow-4.jpg").save("pillow-4.expected.ppm")
Image.open("pillow-3.jpg").save("pillow-3.expected.ppm", format="PPM")
for file in sys.argv[1:]:
    Image.open(file).save(file[:-4] + ".pillow.pnm", format="PPM")
PYTHON
  for i in 0 1 2 3 4; do
    tool pillow-$i.jpg here.pnm
    same "Pillow $i" here.pnm pillow-$i.expected.ppm
  done
  for file in "${ours[@]}"; do
    same "Pillow reads $file" "${file%.jpg}.pnm" "${file%.jpg}.pillow.pnm"
  done
fi

if have img2dcm && have dcmj2pnm; then
  for file in ours-420.jpg ours-422-restart.jpg ours-444.jpg ours-grey.jpg; do
    img2dcm "$file" in.dcm
    dcmj2pnm --write-raw-pnm in.dcm there.pnm
    # Its decoder repeats colour samples where ours filters them.
    most=4 mean=0.5
    case $file in *42*) most=80 mean=4 ;; esac
    same "dcmtk reads $file" "${file%.jpg}.pnm" there.pnm $most $mean
    dcmj2pnm --write-jpeg --compr-quality 90 in.dcm dcmtk.jpg
    tool dcmtk.jpg here.pnm
    checks=$((checks + 1))
    if command -v djpeg >/dev/null; then
      djpeg -dct int -pnm -outfile expected.pnm dcmtk.jpg
      same "dcmtk writes from $file" here.pnm expected.pnm
    fi
  done
fi

if have chromium; then
  for file in "${ours[@]}"; do tool "$file" "${file%.jpg}.png"; done
  python3 - "${ours[@]}" >page.html <<'PYTHON'
import base64, sys
def url(path, kind):
    with open(path, "rb") as file:
        return "data:image/%s;base64,%s" % (kind, base64.b64encode(file.read()).decode())
print("<body>")
for file in sys.argv[1:]:
    print("<img title='%s' src='%s'>" % (file, url(file, "jpeg")))
    print("<img src='%s'>" % url(file[:-4] + ".png", "png"))
print("""<script>
function pixels(image) {
  const canvas = document.createElement('canvas');
  canvas.width = image.width;
  canvas.height = image.height;
  const context = canvas.getContext('2d');
  context.drawImage(image, 0, 0);
  return context.getImageData(0, 0, image.width, image.height).data;
}
window.onload = () => {
  const images = document.images;
  for (let i = 0; i < images.length; i += 2) {
    const a = pixels(images[i]), b = pixels(images[i + 1]);
    let most = a.length == b.length ? 0 : 255, sum = 0;
    for (let k = 0; k < a.length; ++k) {
      const distance = Math.abs(a[k] - b[k]);
      most = Math.max(most, distance);
      sum += distance;
    }
    document.body.append(`RESULT ${images[i].title} ${most} ${(sum / a.length).toFixed(3)}\\n`);
  }
};
</script></body>""")
PYTHON
  root=()
  [ "$(id -u)" -eq 0 ] && root=(--no-sandbox)
  HOME=$work timeout 100 chromium "${root[@]}" --headless --disable-gpu \
    --dump-dom "file://$work/page.html" >dom.html 2>chromium.log || { cat chromium.log; fail chromium; }
  for file in "${ours[@]}"; do
    checks=$((checks + 1))
    grep "^.*RESULT $file " dom.html | sed 's/.*RESULT //' >result || { fail "Chromium: $file"; continue; }
    read -r _ most mean <result
    awk "BEGIN { exit !($most <= 4 && $mean < 0.3) }" || fail "Chromium: $(cat result)"
  done
fi

echo "$checks checks, $failures failures"
[ $failures -eq 0 ]
