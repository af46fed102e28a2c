#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""docs/first-codec.md quotes the examples word for word, and its figures are those that they print."""
import argparse
import pathlib
import re
import subprocess
import sys
import unittest

ARGUMENTS = argparse.Namespace()


class FirstCodec(unittest.TestCase):
    def setUp(self):
        self.page = (ARGUMENTS.source / "docs/first-codec.md").read_text()

    def test_quotations(self):
        blocks = re.findall(r"^```c\n(.*?)^```", self.page, flags=re.M | re.S)
        self.assertGreaterEqual(len(blocks), 4)
        for block in blocks:
            with self.subTest(block=block[:80]):
                name, functions = re.match(r"/\* (examples/\w+\.c) \*/\n(.*)", block, re.S).groups()
                self.assertIn(functions, (ARGUMENTS.source / name).read_text())

    def test_names(self):
        """The names from the examples that the page mentions exist."""
        names = re.findall(r"`(examples/[\w.]+)`", self.page)
        self.assertGreater(len(names), 4)
        for name in names:
            self.assertTrue((ARGUMENTS.source / name).is_file(), name)

    def test_wavelet(self):
        output = subprocess.run([ARGUMENTS.wavelet], check=True, capture_output=True, text=True).stdout
        pattern = r"(\d) bits of headroom: ([\d.]+) dB"
        got = [float(decibels) for _, decibels in re.findall(pattern, output)]
        told = [float(decibels) for _, decibels in re.findall(pattern, self.page)]
        self.assertEqual(len(told), 8)
        # sin() may differ in its last bit from one C library to another.
        for have, want in zip(got, told, strict=True):
            self.assertAlmostEqual(have, want, delta=0.2)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--wavelet", required=True, help="the example wavelet_headroom")
    parser.parse_args(namespace=ARGUMENTS)
    unittest.main(argv=sys.argv[:1])
