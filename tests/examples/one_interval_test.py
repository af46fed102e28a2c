#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""one_interval: each part equals that part of the whole picture as djpeg decodes it."""
import unittest

from example_case import LAYOUTS, ExampleCase, cjpeg, djpeg, ppm, read_pnm, smooth
from jpeg_model import Jpeg


class OneInterval(ExampleCase):
    def check_part(self, jpeg, whole, first, last, part):
        """Compares MCUs first to last. The inverse transforms differ by at most 1, so colours by at most 3."""
        mcu_width, mcu_height = (8 * factor for factor in jpeg.sampling[0])
        is_in_row = first // jpeg.across == last // jpeg.across
        left = first % jpeg.across * mcu_width if is_in_row else 0
        right = min(jpeg.width, (last % jpeg.across + 1) * mcu_width if is_in_row else jpeg.width)
        top = first // jpeg.across * mcu_height
        bottom = min(jpeg.height, (last // jpeg.across + 1) * mcu_height)
        width, height, channels, samples = read_pnm(part)
        self.assertEqual((width, height, channels), (right - left, bottom - top, whole[2]))
        for y in range(height):
            for x in range(width):
                at = (y * width + x) * channels
                mcu = (top + y) // mcu_height * jpeg.across + (left + x) // mcu_width
                pixel, want = samples[at:at + channels], bytes(channels)
                if first <= mcu <= last:
                    at = ((top + y) * whole[0] + left + x) * channels
                    want = whole[3][at:at + channels]
                    self.assertLessEqual(max(abs(a - b) for a, b in zip(pixel, want)), 3)
                else:
                    self.assertEqual(pixel, want)

    def test_every_interval(self):
        picture = ppm(67, 43, smooth(67, 43))
        for layout, options in LAYOUTS.items():
            for interval in 1, 3, 7, 1000:
                file = cjpeg(picture, "-quality", "90", "-restart", "%dB" % interval, *options)
                jpeg, whole = Jpeg(file), djpeg(file, "-nosmooth", "-dct", "int")
                count = len(jpeg.mcus)
                for number in {1, 2, 9, -(-count // interval)}:
                    if (number - 1) * interval >= count:
                        continue
                    with self.subTest(layout=layout, interval=interval, number=number):
                        part = self.run_well(number, input=file)
                        self.check_part(jpeg, whole, (number - 1) * interval,
                                        min(number * interval, count) - 1, part)

    def test_other_intervals_do_not_matter(self):
        """The part does not change if the bytes of all other intervals do."""
        file = cjpeg(ppm(67, 43, smooth(67, 43)), "-restart", "3B")
        jpeg = Jpeg(file)
        want = self.run_well(2, input=file)
        markers = [b"\xff" + bytes([0xD0 + i % 8]) for i in range(len(jpeg.intervals) - 1)]
        changed = [data if i == 1 else b"\x55" * len(data) for i, data in enumerate(jpeg.intervals)]
        data = b"".join(a + b for a, b in zip(changed, [*markers, b"\xff\xd9"], strict=True))
        self.assertNotEqual(file[:jpeg.scan] + data, file)
        self.assertEqual(self.run_well(2, input=file[:jpeg.scan] + data), want)

    def test_refusals(self):
        picture = ppm(40, 30, smooth(40, 30))
        self.assert_refused(1, input=cjpeg(picture), sentence="no restart intervals")
        file = cjpeg(picture, "-restart", "2B")  # 3 x 2 MCUs
        self.run_well(3, input=file)
        for number in 4, 10 ** 6, 10 ** 30:
            self.assert_refused(number, input=file, sentence="no interval of this number")
        for arguments in (), (0,), (-1,), ("first",), (1, 2):
            self.assert_refused(*arguments, input=file, sentence="usage")
        self.check_other_jpegs(1)

    def test_damage(self):
        file = cjpeg(ppm(40, 30, smooth(40, 30)), "-restart", "2B")
        self.check_truncation(3, input=file)
        self.check_changed_bytes(2, input=file)
        self.check_changed_bytes(3, input=file)
        self.assert_refused(3, input=file.replace(b"\xff\xd1", b"\xff\xd2"), sentence="marker")


if __name__ == "__main__":
    unittest.main()
