#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""TIFF files of zepconvert in tiffcp and Pillow, and theirs in zepconvert: every sample must be the same.

    tiff_interop_test.py PATH_OF_ZEPCONVERT
"""
import itertools
import os
import struct
import subprocess
import sys
import tempfile
import unittest

from PIL import Image

TOOL = os.path.abspath(sys.argv.pop(1))


def run(*command, code=0):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=60)
    if done.returncode != code:
        raise AssertionError("%s: %s" % (command, done.stdout))
    return done.stdout


def picture(width, height, channels, bits):
    """Flat areas, gradients and noise, so that packets of both kinds come."""
    most = (1 << bits) - 1
    state = bits + channels
    samples = []
    for y in range(height):
        for x in range(width):
            for c in range(channels):
                state = (state * 1103515245 + 12345) & 0x7FFFFFFF
                flat = (x // 9 + y // 5 + c) * 4099
                noise = (state >> 12) if (x + y) % 50 < 20 else 0
                samples.append((flat + noise) & most)
    return samples


def to_bytes(samples, bits):
    return struct.pack(">%d%s" % (len(samples), "B" if bits == 8 else "H"), *samples)


class Tiff(unittest.TestCase):
    width, height = 151, 90

    def setUp(self):
        self.old = os.getcwd()
        self.directory = tempfile.TemporaryDirectory()
        os.chdir(self.directory.name)

    def tearDown(self):
        os.chdir(self.old)
        self.directory.cleanup()

    def write_pnm(self, channels, bits):
        """in.pnm; returns its bytes."""
        data = b"P%d\n%d %d\n%d\n" % (6 if channels == 3 else 5, self.width, self.height,
                                      (1 << bits) - 1)
        data += to_bytes(picture(self.width, self.height, channels, bits), bits)
        with open("in.pnm", "wb") as file:
            file.write(data)
        return data

    def check_here(self, name, expected):
        run(TOOL, "--force", "--quiet", name, "out.pnm")
        with open("out.pnm", "rb") as file:
            self.assertEqual(file.read(), expected)

    def check_pillow(self, name, channels, bits):
        if (channels, bits) == (3, 16):
            return  # which it cannot hold
        expected = picture(self.width, self.height, channels, bits)
        with Image.open(name) as image:
            self.assertEqual(image.size, (self.width, self.height))
            values = list(image.getdata())
        if channels == 3:
            values = list(itertools.chain.from_iterable(values))
        self.assertEqual(values, expected)

    def test_our_files_there(self):
        for channels, bits in itertools.product((1, 3), (8, 16)):
            expected = self.write_pnm(channels, bits)
            for compression in ("none", "packbits"):
                with self.subTest(channels=channels, bits=bits, compression=compression):
                    run(TOOL, "--force", "--quiet", "in.pnm", "ours.tif", "--compression", compression)
                    self.check_pillow("ours.tif", channels, bits)
                    self.assertEqual(run("tiffcp", "-c", "none", "-B", "ours.tif", "copy.tif"), "")
                    self.check_here("copy.tif", expected)

    def test_files_of_tiffcp_here(self):
        for channels, bits in itertools.product((1, 3), (8, 16)):
            expected = self.write_pnm(channels, bits)
            run(TOOL, "--force", "--quiet", "in.pnm", "ours.tif", "--compression", "none")
            for compression, order, rows, planes in itertools.product(
                    ("none", "packbits"), "BL", ("1", "7", "1000"), ("contig", "separate")):
                if planes == "separate" and bits == 16:
                    continue  # which tiffcp cannot make
                with self.subTest(channels=channels, bits=bits, order=order, rows=rows,
                                  compression=compression, planes=planes):
                    run("tiffcp", "-c", compression, "-" + order, "-r", rows, "-p", planes,
                        "ours.tif", "theirs.tif")
                    self.check_here("theirs.tif", expected)

    def test_files_of_pillow_here(self):
        for mode, channels, bits in (("L", 1, 8), ("RGB", 3, 8), ("I;16", 1, 16)):
            expected = self.write_pnm(channels, bits)
            samples = picture(self.width, self.height, channels, bits)
            data = struct.pack("<%d%s" % (len(samples), "B" if bits == 8 else "H"), *samples)
            image = Image.frombytes(mode, (self.width, self.height), data)
            for compression in (None, "packbits"):
                with self.subTest(mode=mode, compression=compression):
                    image.save("theirs.tif", compression=compression, dpi=(200, 200))
                    self.check_here("theirs.tif", expected)

    def test_byte_planes_are_refused_there(self):
        """A number that nobody else knows, so that nobody shows nonsense."""
        expected = self.write_pnm(3, 16)
        for compression in ("none", "packbits"):
            run(TOOL, "--force", "--quiet", "in.pnm", "ours.tif", "--byte-planes", "--compression", compression)
            self.check_here("ours.tif", expected)
            run("tiffcp", "-c", "none", "ours.tif", "copy.tif", code=1)
            with self.assertRaises(Exception), Image.open("ours.tif") as image:
                image.load()

    def test_kinds_that_libtiff_reads(self):
        for bits in (8, 16):
            expected = self.write_pnm(3, bits)
            run(TOOL, "--force", "--quiet", "in.pnm", "ours.tif")
            for options in (["-c", "lzw:2"], ["-c", "zip", "-r", "5"], ["-t", "-c", "none"],
                            ["-8", "-c", "lzw"]):
                with self.subTest(bits=bits, options=options):
                    run("tiffcp", *options, "ours.tif", "theirs.tif")
                    self.check_here("theirs.tif", expected)


if __name__ == "__main__":
    unittest.main(verbosity=2)
