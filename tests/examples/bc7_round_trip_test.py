#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""bc7_round_trip: the decoded pictures have the PSNR that it prints, and searches find the best modes."""
import random
import re
import unittest

from example_case import ExampleCase, pgm, ppm, psnr, read_pnm, smooth


class Bc7RoundTrip(ExampleCase):
    def table(self, picture):
        """Returns {mode: the printed PSNR}."""
        text = self.run_well(input=picture).decode()
        blocks = int(re.match(r"(\d+) blocks of 16 bytes\n", text).group(1))
        rows = re.findall(r"mode ([ -]\d): *([\d.]+|inf) dB  \S.*\n", text)
        self.assertEqual([int(mode) for mode, _ in rows], list(range(-2, 8)))
        return blocks, {int(mode): float(value) for mode, value in rows}

    def test_modes(self):
        for width, height, blocks in (1, 1, 1), (8, 4, 2), (61, 43, 176):
            samples = smooth(width, height)
            picture = ppm(width, height, samples)
            count, table = self.table(picture)
            self.assertEqual(count, blocks)
            for mode, printed in table.items():
                with self.subTest(width=width, mode=mode):
                    decoded = read_pnm(self.run_well(mode, input=picture))
                    self.assertEqual(decoded[:3], (width, height, 3))
                    have = psnr(decoded[3], samples)
                    self.assertTrue(have == printed or abs(have - printed) < 0.006, (have, printed))
                    self.assertGreater(printed, 33)
            if width > 8:  # modes are what they should be
                self.assertGreater(len(set(table.values())), 8)
            self.assertGreaterEqual(table[-2], table[-1])
            self.assertGreaterEqual(table[-2], max(table.values()))
            self.assertGreaterEqual(table[-1], min(99, max(table[mode] for mode in range(8))) - 0.5)

    def test_two_colours(self):
        """The colours of a block of two colours lie on one line, so any two are nearly exact."""
        noise = random.Random(3)
        samples = b"".join(noise.choice((b"\x10\x80\xf0", b"\xe0\x20\x30")) for _ in range(64))
        _, table = self.table(ppm(8, 8, samples))
        self.assertGreater(table[6], 45)

    def test_flat_picture(self):
        """Mode 5 and the searches keep a single colour exactly."""
        _, table = self.table(ppm(12, 9, b"\x13\x87\xe4" * 108))
        for mode in -2, -1, 5:
            self.assertEqual(table[mode], float("inf"))

    def test_refusals(self):
        self.assert_refused(input=pgm(4, 4, bytes(16)), sentence="colour picture")
        for arguments in (8,), (-3,), (1, 2):
            self.assert_refused(*arguments, input=ppm(4, 4, bytes(48)), sentence="usage")
        self.check_pnm_damage()


if __name__ == "__main__":
    unittest.main()
