#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""wavelet_headroom: each bit gains 6 dB until values do not fit into 16 bits."""
import os
import random
import re
import tempfile
import unittest

from example_case import ExampleCase, pgm, ppm, smooth


class WaveletHeadroom(ExampleCase):
    def decibels(self, *arguments):
        text = self.run_well(*arguments).decode()
        found = re.findall(r"(\d) bits of headroom: ([\d.]+|inf) dB\n", text)
        self.assertEqual([int(bits) for bits, _ in found], list(range(8)))
        return [float(value) for _, value in found]

    def decibels_of(self, picture):
        with tempfile.TemporaryDirectory() as directory:
            name = os.path.join(directory, "picture.pgm")
            with open(name, "wb") as file:
                file.write(picture)
            return self.decibels(name)

    def assert_six_decibels_a_bit(self, values):
        for less, more in zip(values, values[1:]):
            self.assertAlmostEqual(more - less, 6.02, delta=0.4)

    def test_painted_picture(self):
        values = self.decibels()
        self.assertAlmostEqual(values[0], 39.1, delta=0.3)
        self.assert_six_decibels_a_bit(values[:6])
        self.assertGreater(values[6] - values[5], 4)  # the constants have 14 bits
        self.assertLess(values[7], 50)  # too large for 16 bits

    def test_smooth_picture(self):
        values = self.decibels_of(pgm(61, 83, smooth(61, 83)[::3]))
        self.assertGreater(values[0], 37)
        self.assertAlmostEqual(values[4] - values[0], 4 * 6.02, delta=2)

    def test_noise(self):
        """The largest samples side by side: 4 bits of headroom are still good, 6 are useless."""
        noise = random.Random(1)
        values = self.decibels_of(pgm(200, 100, bytes(noise.choice((0, 255)) for _ in range(20000))))
        self.assertGreater(values[3], 56)
        self.assertGreater(values[4], 50)
        self.assertLess(values[6], 10)

    def test_flat_picture(self):
        """128 is 0 after the shift, and 0 is exact."""
        self.assertEqual(self.decibels_of(pgm(33, 17, bytes([128]) * 33 * 17)), [float("inf")] * 8)

    def test_tiny_pictures(self):
        """A level of one sample stays as it is; a single row or column is transformed."""
        self.assertEqual(self.decibels_of(pgm(1, 1, b"\x20")), [float("inf")] * 8)
        self.assertGreater(self.decibels_of(pgm(1, 40, smooth(1, 40)[::3]))[3], 50)

    def test_refusals(self):
        self.assert_refused("no such file", sentence="cannot be opened")
        self.assert_refused("a", "b", sentence="usage")
        for picture, sentence in ((ppm(4, 4, bytes(48)), "grey picture"), (b"", "not a PGM"),
                                  (pgm(9, 9, bytes(80)), "too early"), (b"P5\n9", "size")):
            with tempfile.NamedTemporaryFile() as file:
                file.write(picture)
                file.flush()
                self.assert_refused(file.name, sentence=sentence)


if __name__ == "__main__":
    unittest.main()
