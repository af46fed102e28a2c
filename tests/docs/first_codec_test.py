#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The programs of docs/first-codec.md: they compile without a warning, and do what the page says.

The encoder's pictures are decoded by djpeg; its tables at quality 50 are those of cjpeg.
"""
import argparse
import math
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import unittest

ARGUMENTS = argparse.Namespace()
FLAGS = ["-std=c99", "-Wall", "-Wextra", "-Wconversion", "-Werror", "-O1"]


def programs(page):
    """By its name each block of code that begins with the name of a file."""
    blocks = re.findall(r"^```c\n(.*?)^```", page, flags=re.M | re.S)
    return {re.match(r"/\* ([\w.]+):", block).group(1): block for block in blocks}


def smooth(width, height):
    """A picture that any quality codes well, with edges."""
    def pixel(x, y):
        inside = (x - width / 2) ** 2 + (y - height / 2) ** 2 < (width / 3) ** 2
        return [round(128 + 60 * math.sin(x / 17 + y / 23 + k) + (30 if inside else 0))
                for k in (0, 0.4, 0.8)]
    return bytes(value for y in range(height) for x in range(width) for value in pixel(x, y))


def psnr(a, b):
    squares = sum((p - q) ** 2 for p, q in zip(a, b, strict=True))
    return 10 * math.log10(255 * 255 * len(a) / squares) if squares else math.inf


def segments(jpeg):
    """The marker segments before the coded data, as pairs of a marker and its bytes."""
    at, found = 2, []
    while jpeg[at + 1] != 0xDA:
        length = int.from_bytes(jpeg[at + 2:at + 4], "big")
        found.append((jpeg[at + 1], jpeg[at + 4:at + 2 + length]))
        at += 2 + length
    return found


class FirstCodec(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.root = pathlib.Path(cls.directory.name)
        cls.page = ARGUMENTS.page.read_text()
        for name, text in programs(cls.page).items():
            (cls.root / name).write_text(text)

    @classmethod
    def tearDownClass(cls):
        cls.directory.cleanup()

    def compile(self, name):
        program = self.root / name
        libraries = [pathlib.Path(library) for library in ARGUMENTS.libraries]
        subprocess.run([ARGUMENTS.compiler, *FLAGS, f"-I{ARGUMENTS.include}", f"{program}.c", "-o",
                        program, *libraries, "-lm",
                        *[f"-Wl,-rpath,{library.parent}" for library in libraries]], check=True)
        return program

    def decode(self, jpeg, width, height):
        run = subprocess.run([ARGUMENTS.djpeg, "-pnm"], input=jpeg, capture_output=True, check=True)
        self.assertEqual(run.stderr, b"")
        header = b"P6\n%d %d\n255\n" % (width, height)
        self.assertTrue(run.stdout.startswith(header))
        return run.stdout[len(header):]

    def encode(self, program, pixels, width, height, quality):
        return subprocess.run([program, str(quality)], check=True, capture_output=True,
                              input=b"P6\n%d %d\n255\n" % (width, height) + pixels).stdout

    def test_encoder(self):
        program = self.compile("first_encoder")
        lines = (self.root / "first_encoder.c").read_text().count("\n")
        self.assertLessEqual(lines, 76)
        for width, height in (1, 1), (16, 16), (17, 33), (150, 101):
            with self.subTest(width=width, height=height):
                pixels = smooth(width, height)
                coarse, fine = (self.encode(program, pixels, width, height, q) for q in (30, 92))
                self.assertGreater(psnr(self.decode(fine, width, height), pixels), 38)
                self.assertGreater(psnr(self.decode(coarse, width, height), pixels), 30)

    def test_encoder_of_noise(self):
        program = self.compile("first_encoder")
        pixels = random.Random(1).randbytes(64 * 64) * 3
        pixels = bytes(pixels[i // 3] for i in range(3 * 64 * 64))  # grey: chroma costs nothing
        jpeg = self.encode(program, pixels, 64, 64, 100)
        self.assertIn(b"\xff\x00", jpeg)
        self.assertGreater(psnr(self.decode(jpeg, 64, 64), pixels), 45)

    def test_tables(self):
        program = self.compile("first_encoder")
        pixels = smooth(32, 32)
        ours = self.encode(program, pixels, 32, 32, 50)
        theirs = subprocess.run([ARGUMENTS.cjpeg, "-quality", "50"], check=True, capture_output=True,
                                input=b"P6\n32 32\n255\n" + pixels).stdout
        # The first byte of a DQT and a DHT segment says which table it is.
        for marker, count in (0xDB, 2), (0xC4, 4):
            tables = [sorted(data for m, data in segments(jpeg) if m == marker)
                      for jpeg in (ours, theirs)]
            self.assertEqual(len(tables[0]), count)
            self.assertEqual(*tables)

    def test_wavelet(self):
        output = subprocess.run([self.compile("wavelet_levels")], check=True, capture_output=True,
                                text=True).stdout
        pattern = r"(\d) bits of headroom: ([\d.]+) dB"
        got = [float(decibels) for _, decibels in re.findall(pattern, output)]
        told = [float(decibels) for _, decibels in re.findall(pattern, self.page)]
        self.assertEqual(len(told), 8)
        # sin() may differ in its last bit from one C library to another.
        for have, want in zip(got, told, strict=True):
            self.assertAlmostEqual(have, want, delta=0.2)

    def test_bc7(self):
        output = subprocess.run([self.compile("bc7_block")], check=True, capture_output=True,
                                text=True).stdout
        self.assertRegex(output, r"^zepStatusOk, largest difference [012]\n$")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--page", type=pathlib.Path, required=True)
    parser.add_argument("--include", required=True)
    parser.add_argument("--compiler", default="cc")
    parser.add_argument("--djpeg", default="djpeg")
    parser.add_argument("--cjpeg", default="cjpeg")
    parser.add_argument("libraries", nargs="+")
    parser.parse_args(namespace=ARGUMENTS)
    unittest.main(argv=sys.argv[:1])
