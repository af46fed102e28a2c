#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""jpeg_coefficients: the file that it writes has the same coefficients, and no longer codes than cjpeg -optimize."""
import re
import unittest

from example_case import LAYOUTS, ExampleCase, cjpeg, djpeg, ppm, smooth
from jpeg_model import Jpeg


def percents_of_zeros(jpeg, component):
    blocks = [block for mcu in jpeg.mcus for c, block in zip(jpeg.order, mcu) if c == component]
    return len(blocks), [100 * sum(block[k] == 0 for block in blocks) / len(blocks) for k in range(64)]


class JpegCoefficients(ExampleCase):
    def check(self, picture, *options):
        original = cjpeg(picture, *options)
        run = self.start(input=original)
        self.assertEqual(run.returncode, 0, run.stderr)
        theirs, ours = Jpeg(original), Jpeg(run.stdout)
        self.assertEqual(ours.sampling, theirs.sampling)
        self.assertEqual(ours.steps, theirs.steps)
        self.assertEqual(ours.mcus, theirs.mcus)
        self.assertEqual(djpeg(run.stdout), djpeg(original))
        if "-restart" not in options:  # of which cjpeg has its markers to write
            optimized = Jpeg(cjpeg(picture, "-optimize", *options))
            self.assertLessEqual(len(ours.intervals[0]), len(optimized.intervals[0]))
        self.check_table(theirs, run.stderr.decode())

    def check_table(self, jpeg, text):
        tables = re.findall(r"(\w+): (\d+) blocks, percent of zeros\n((?:[ \d]+\n){8})", text)
        self.assertEqual([name for name, _, _ in tables], ["Y", "Cb", "Cr"][:len(jpeg.sampling)])
        for c, (_, count, numbers) in enumerate(tables):
            blocks, percents = percents_of_zeros(jpeg, c)
            self.assertEqual(int(count), blocks)
            for have, want in zip(map(int, numbers.split()), percents, strict=True):
                self.assertAlmostEqual(have, want, delta=0.51)

    def test_layouts(self):
        for layout, options in LAYOUTS.items():
            for width, height in (1, 1), (16, 16), (61, 43):
                with self.subTest(layout=layout, width=width):
                    self.check(ppm(width, height, smooth(width, height)), *options)

    def test_restart_intervals(self):
        picture = ppm(70, 52, smooth(70, 52))
        for interval in "1B", "3B", "100B", "1":
            for layout, options in LAYOUTS.items():
                with self.subTest(layout=layout, interval=interval):
                    self.check(picture, "-restart", interval, *options)

    def test_sampling_factors_of_a_single_component(self):
        """They mean nothing, whatever they are (ITU-T T.81, A.2.2)."""
        jpeg = cjpeg(ppm(40, 24, smooth(40, 24)), "-grayscale")  # 5 x 3 blocks
        at = jpeg.index(b"\xff\xc0") + 11
        self.assertEqual(jpeg[at], 0x11)
        ours = self.run_well(input=jpeg[:at] + b"\x22" + jpeg[at + 1:])
        self.assertEqual(djpeg(ours), djpeg(jpeg))

    def test_qualities(self):
        picture = ppm(50, 40, smooth(50, 40))
        for quality in "1", "30", "100":
            with self.subTest(quality=quality):
                self.check(picture, "-baseline", "-quality", quality)

    def test_refusals(self):
        self.check_other_jpegs()

    def test_damage(self):
        for options in ["-restart", "2B"], ["-grayscale"]:
            jpeg = cjpeg(ppm(40, 30, smooth(40, 30)), *options)
            self.check_truncation(input=jpeg)
            self.check_changed_bytes(input=jpeg)

    def test_missing_marker(self):
        jpeg = cjpeg(ppm(40, 30, smooth(40, 30)), "-restart", "2B")
        self.assert_refused(input=jpeg.replace(b"\xff\xd1", b"\xff\xd2"), sentence="marker")


if __name__ == "__main__":
    unittest.main()
