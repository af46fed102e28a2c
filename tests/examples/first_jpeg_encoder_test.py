#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""first_jpeg_encoder: djpeg decodes its files, and they are as good and as small as those of cjpeg."""
import random
import unittest

from example_case import ExampleCase, cjpeg, djpeg, pgm, ppm, psnr, smooth


def segments(jpeg, kind):
    """The sorted contents of the segments of a kind, before the coded data."""
    at, found = 2, []
    while jpeg[at + 1] != 0xDA:
        length = int.from_bytes(jpeg[at + 2:at + 4], "big")
        if jpeg[at + 1] == kind:
            found.append(jpeg[at + 4:at + 2 + length])
        at += 2 + length
    return sorted(found)


class FirstJpegEncoder(ExampleCase):
    def test_sizes(self):
        for width, height in (1, 1), (16, 16), (17, 33), (150, 101):
            for quality, least in (30, 28), (92, 35):
                with self.subTest(width=width, height=height, quality=quality):
                    samples = smooth(width, height)
                    picture = ppm(width, height, samples)
                    ours = self.run_well(quality, input=picture)
                    theirs = cjpeg(picture, "-quality", str(quality), "-baseline")
                    decoded = djpeg(ours)
                    self.assertEqual(decoded[:3], (width, height, 3))
                    self.assertGreater(psnr(decoded[3], samples), least)
                    self.assertGreater(psnr(decoded[3], samples), psnr(djpeg(theirs)[3], samples) - 0.5)
                    self.assertLess(len(ours), 1.02 * len(theirs) + 10)

    def test_default_quality(self):
        picture = ppm(40, 30, smooth(40, 30))
        self.assertEqual(self.run_well(input=picture), self.run_well(75, input=picture))

    def test_noise(self):
        """Long codes, and bytes FF, after which a 0 is stuffed."""
        grey = random.Random(1).randbytes(64 * 64)
        samples = bytes(grey[i // 3] for i in range(3 * 64 * 64))
        jpeg = self.run_well(100, input=ppm(64, 64, samples))
        self.assertIn(b"\xff\x00", jpeg)
        self.assertGreater(psnr(djpeg(jpeg)[3], samples), 45)

    def test_tables(self):
        picture = ppm(32, 32, smooth(32, 32))
        ours, theirs = self.run_well(50, input=picture), cjpeg(picture, "-quality", "50")
        for marker, count in (0xDB, 2), (0xC4, 4):
            self.assertEqual(len(segments(ours, marker)), count)
            self.assertEqual(segments(ours, marker), segments(theirs, marker))

    def test_header_with_comments(self):
        samples = smooth(20, 10)
        commented = b"P6 # a comment\n#another 1 2 3\n 20\t10 # 5\n255\n" + samples
        self.assertEqual(self.run_well(input=commented), self.run_well(input=ppm(20, 10, samples)))

    def test_refusals(self):
        self.assert_refused(input=pgm(4, 4, bytes(16)), sentence="colour picture")
        picture = ppm(4, 4, bytes(48))
        for arguments in ("0",), ("101",), ("high",), ("50", "60"):
            self.assert_refused(*arguments, input=picture, sentence="usage")
        self.check_pnm_damage()


if __name__ == "__main__":
    unittest.main()
