#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""part: the pixels are those of the same part of the whole picture."""
import os
import tempfile
import unittest

from example_case import ExampleCase, cjpeg, djpeg, ppm, read_pnm, smooth


class Part(ExampleCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.name = os.path.join(directory.name, "photo.jpg")
        # Without subsampling every decoder makes the same pixels, up to rounding.
        self.photo = cjpeg(ppm(90, 70, smooth(90, 70)), "-sample", "1x1")
        self.write(self.photo)

    def write(self, data):
        with open(self.name, "wb") as file:
            file.write(data)

    def test_pixels(self):
        whole = djpeg(self.photo)[3]
        for width, height, left, top in ((90, 70, 0, 0), (31, 22, 40, 17), (1, 1, 89, 69)):
            part = read_pnm(self.run_well(str(width), str(height), str(left), str(top), self.name))
            self.assertEqual(part[:3], (width, height, 3))
            wanted = b"".join(whole[3 * (90 * y + left):3 * (90 * y + left + width)]
                              for y in range(top, top + height))
            self.assertLessEqual(max(abs(a - b) for a, b in zip(wanted, part[3])), 3)

    def test_refused(self):
        self.assert_refused("10", "10", "81", "0", self.name, sentence="region")
        self.assert_refused("0", "10", "0", "0", self.name, sentence="width")
        self.assert_refused("10", "10", "0", "0", self.name + "x", sentence="read")
        self.assert_refused("10", "10", "0", "0", sentence="name of a file")
        self.write(self.photo[:100])
        self.assert_refused("10", "10", "0", "0", self.name)


if __name__ == "__main__":
    unittest.main()
