#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""convert: formats convert to each other without loss, another decoder reads the results, and damage is reported."""
import unittest

from example_case import ExampleCase, cjpeg, djpeg, ppm, psnr, smooth


class Convert(ExampleCase):
    def setUp(self):
        self.photo = cjpeg(ppm(45, 31, smooth(45, 31)), "-quality", "90")

    def test_lossless_formats_keep_every_sample(self):
        tiff = self.run_well("tif", input=self.photo)
        for extension in ("jp2", "j2k", "jxr", "ljpg"):
            with self.subTest(extension=extension):
                other = self.run_well(extension, input=self.photo)
                self.assertNotEqual(other, tiff)
                self.assertEqual(self.run_well("TIF", input=other), tiff)

    def test_others_read_its_jpeg_files(self):
        again = self.run_well("photo.jpg", input=self.run_well("jp2", input=self.photo))
        self.assertGreater(psnr(djpeg(again)[-1], djpeg(self.photo)[-1]), 30)

    def test_damage_is_told(self):
        run = self.start("tif", input=self.photo[:len(self.photo) * 3 // 4])
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn(b"damaged: byte ", run.stderr)

    def test_no_picture(self):
        for data in (b"", b"junk", self.photo[:40], self.photo[:2] + b"\0" * 50):
            self.assert_refused("jp2", input=data)
        self.assert_refused("gif", input=self.photo, sentence="extension")
        self.assert_refused(sentence="extension")
        self.check_random_bytes("jp2")


if __name__ == "__main__":
    unittest.main()
