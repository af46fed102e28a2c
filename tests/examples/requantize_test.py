#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""requantize: steps and coefficients follow the arithmetic, and pictures are nearly as good as those of cjpeg."""
import unittest

from example_case import LAYOUTS, ExampleCase, cjpeg, djpeg, ppm, psnr, smooth
from jpeg_model import Jpeg


class Requantize(ExampleCase):
    def check(self, picture, before, after, *options):
        original = cjpeg(picture, "-baseline", "-quality", str(before), *options)
        direct = cjpeg(picture, "-baseline", "-quality", str(after), *options)
        result = self.run_well(after, input=original)
        old, new, wanted = Jpeg(original), Jpeg(result), Jpeg(direct)
        self.assertEqual(new.sampling, old.sampling)
        self.assertEqual(new.steps, [[max(a, b) for a, b in zip(mine, theirs, strict=True)]
                                     for mine, theirs in zip(old.steps, wanted.steps, strict=True)])
        self.check_coefficients(old, new)
        return original, direct, result

    def check_coefficients(self, old, new):
        """Rounded to nearest; the reciprocal of a large step has few bits, at least seven."""
        for mcu, result in zip(old.mcus, new.mcus, strict=True):
            for c, block, got in zip(old.order, mcu, result, strict=True):
                for k in range(64):
                    exact = block[k] * old.steps[c][k] / new.steps[c][k]
                    self.assertLessEqual(abs(got[k] - exact), 0.501 + abs(exact) / 128)

    def test_qualities(self):
        samples = smooth(93, 70)
        picture = ppm(93, 70, samples)
        for layout, options in LAYOUTS.items():
            for before, after in (95, 75), (85, 30), (75, 1):
                with self.subTest(layout=layout, before=before, after=after):
                    original, direct, result = self.check(picture, before, after, *options)
                    self.assertLess(len(result), len(original))
                    truth = samples if layout != "grey" else djpeg(cjpeg(
                        picture, "-grayscale", "-quality", "100"))[3]
                    self.assertGreater(psnr(djpeg(result)[3], truth), psnr(djpeg(direct)[3], truth) - 1)

    def test_higher_quality_changes_nothing(self):
        picture = ppm(61, 43, smooth(61, 43))
        original, _, result = self.check(picture, 60, 90)
        self.assertEqual(Jpeg(result).mcus, Jpeg(original).mcus)
        self.assertEqual(djpeg(result), djpeg(original))

    def test_shared_table(self):
        """Y, Cb and Cr by one table in the file: each gets the steps that it should have."""
        original = cjpeg(ppm(61, 43, smooth(61, 43)), "-quality", "95", "-qslots", "0")
        old, new = Jpeg(original), Jpeg(self.run_well(50, input=original))
        self.assertEqual(old.steps[0], old.steps[2])
        self.assertNotEqual(new.steps[0], new.steps[2])
        self.check_coefficients(old, new)

    def test_restart_intervals(self):
        self.check(ppm(61, 43, smooth(61, 43)), 90, 50, "-restart", "3B")

    def test_refusals(self):
        for arguments in (), (0,), (101,), ("low",), (50, 40):
            self.assert_refused(*arguments, sentence="usage")
        self.check_other_jpegs(50)

    def test_damage(self):
        jpeg = cjpeg(ppm(40, 30, smooth(40, 30)), "-restart", "2B")
        self.check_truncation(50, input=jpeg)
        self.check_changed_bytes(50, input=jpeg)


if __name__ == "__main__":
    unittest.main()
