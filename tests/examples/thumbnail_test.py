#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""thumbnail: compared with the formula of the reduced transforms in floating point, and with djpeg."""
import math
import unittest

from example_case import LAYOUTS, ExampleCase, cjpeg, djpeg, pgm, ppm, psnr, read_pnm, smooth
from jpeg_model import Jpeg


# The largest distance of grey samples from the exact ones, which are not integers: 1/2 by rounding,
# plus the error of fixed point.
LIMITS = {2: 0.6, 4: 0.6, 8: 0.501}


def reduced(block, steps, side):
    """Returns the side x side samples of the inverse DCT of the side x side lowest coefficients."""
    basis = [[math.cos((2 * x + 1) * u * math.pi / (2 * side)) * (math.sqrt(0.5) if u == 0 else 1)
              for x in range(side)] for u in range(side)]
    used = [(u, v, block[8 * v + u] * steps[8 * v + u]) for v in range(side) for u in range(side)]
    return [[max(0.0, min(255.0, 128 + 0.25 * sum(f * basis[u][x] * basis[v][y] for u, v, f in used if f)))
             for x in range(side)] for y in range(side)]


def planes(jpeg, scale):
    """Returns a list of rows for each component, as wide and high as its blocks."""
    out = []
    for c, (h, v) in enumerate(jpeg.sampling):
        side = 8 // scale * (jpeg.sampling[0][1] // v)
        plane = [[0.0] * (jpeg.across * h * side) for _ in range(jpeg.down * v * side)]
        for i, mcu in enumerate(jpeg.mcus):
            mine = [block for owner, block in zip(jpeg.order, mcu) if owner == c]
            for b, block in enumerate(mine):
                top = (i // jpeg.across * v + b // h) * side
                left = (i % jpeg.across * h + b % h) * side
                for y, row in enumerate(reduced(block, jpeg.steps[c], side)):
                    plane[top + y][left:left + side] = row
        out.append(plane)
    return out


def picture_of(jpeg, scale):
    """Returns the exact thumbnail in floating point."""
    width, height = -(-jpeg.width // scale), -(-jpeg.height // scale)
    of_y, *chroma = planes(jpeg, scale)
    samples = []
    for y in range(height):
        for x in range(width):
            if not chroma:
                samples.append(of_y[y][x])
                continue
            ratio = len(of_y[0]) // len(chroma[0][0])
            cb, cr = (plane[y][x // ratio] - 128 for plane in chroma)
            rgb = (of_y[y][x] + 1.402 * cr, of_y[y][x] - 0.344136 * cb - 0.714136 * cr,
                   of_y[y][x] + 1.772 * cb)
            samples += [max(0.0, min(255.0, value)) for value in rgb]
    return width, height, samples


class Thumbnail(ExampleCase):
    def check(self, jpeg, scale, limit):
        width, height, want = picture_of(Jpeg(jpeg), scale)
        got = read_pnm(self.run_well(scale, input=jpeg))
        self.assertEqual(got[:2], (width, height))
        self.assertEqual(len(got[3]), len(want))
        self.assertLessEqual(max(abs(a - b) for a, b in zip(got[3], want)), limit)
        # djpeg's reduced transforms leave out other terms, so they differ at edges.
        theirs = djpeg(jpeg, "-nosmooth", "-scale", "1/%d" % scale)
        self.assertEqual(theirs[:3], got[:3])
        self.assertGreater(psnr(theirs[3], got[3]), 36)

    def test_layouts(self):
        """An error of a chroma sample counts up to 1.772 times in a colour."""
        for layout, options in LAYOUTS.items():
            for width, height in (1, 1), (16, 16), (67, 45):
                jpeg = cjpeg(ppm(width, height, smooth(width, height)), "-quality", "85", *options)
                for scale in 2, 4, 8:
                    with self.subTest(layout=layout, width=width, scale=scale):
                        self.check(jpeg, scale, LIMITS[scale] if layout == "grey" else 3.5)

    def test_restart_intervals(self):
        self.check(cjpeg(ppm(67, 45, smooth(67, 45)), "-restart", "3B"), 4, 3.5)

    def test_extremes(self):
        """Black and white pixels: sums beyond 0 to 255 are clamped."""
        for side in 3, 5, 16:  # at quality 9 a step for DC of 89: black is -12 * 89 / 8 + 128 = -5.5
            samples = bytes(255 * (x // side + y // side & 1) for y in range(40) for x in range(40))
            jpeg = cjpeg(pgm(40, 40, samples), "-quality", "9", "-baseline")
            for scale in 2, 4, 8:
                want = picture_of(Jpeg(jpeg), scale)[2]
                got = read_pnm(self.run_well(scale, input=jpeg))[3]
                self.assertLessEqual(max(abs(a - b) for a, b in zip(got, want, strict=True)),
                                     LIMITS[scale])

    def test_refusals(self):
        for arguments in (), ("1",), ("3",), ("16",), ("half",), ("2", "4"):
            self.assert_refused(*arguments, sentence="usage")
        self.check_other_jpegs(2)

    def test_damage(self):
        jpeg = cjpeg(ppm(40, 30, smooth(40, 30)), "-restart", "2B")
        for scale in 2, 8:
            self.check_truncation(scale, input=jpeg)
            self.check_changed_bytes(scale, input=jpeg)


if __name__ == "__main__":
    unittest.main()
