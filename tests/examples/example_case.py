# SPDX-License-Identifier: MIT
"""Shared by the tests of the examples: pictures, other programs, runs on damaged input.

A test program gets the path of its example as its first argument.
"""
import math
import os
import random
import re
import subprocess
import sys
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
NAME = os.path.basename(PROGRAM)
with open(PROGRAM, "rb") as _program:
    IS_SANITIZED = b"__asan_init" in _program.read()  # takes more memory and time

# cjpeg's arguments for the layouts that the examples support: sampling of Y, or grey.
LAYOUTS = {"1x1": ["-sample", "1x1"], "2x1": ["-sample", "2x1"], "2x2": ["-sample", "2x2"],
           "grey": ["-grayscale"]}


def smooth(width, height):
    """An RGB picture that codes well at any quality: waves, a disc, a little noise."""
    noise = random.Random(width * 10000 + height)

    def pixel(x, y):
        disc = 30 if (x - width / 2) ** 2 + (y - height / 2) ** 2 < (width / 3) ** 2 else 0
        return [round(128 + 60 * math.sin(x / 17 + y / 23 + k) + disc + noise.uniform(-3, 3))
                for k in (0, 0.4, 0.8)]
    return bytes(value for y in range(height) for x in range(width) for value in pixel(x, y))


def ppm(width, height, samples):
    return b"P6\n%d %d\n255\n" % (width, height) + samples


def pgm(width, height, samples):
    return b"P5\n%d %d\n255\n" % (width, height) + samples


def read_pnm(data):
    """Width, height, channels, samples."""
    head = re.match(rb"P([56])\n(\d+) (\d+)\n255\n", data)
    width, height, channels = int(head.group(2)), int(head.group(3)), 1 if head.group(1) == b"5" else 3
    samples = data[head.end():]
    assert len(samples) == width * height * channels
    return width, height, channels, samples


def psnr(a, b):
    squares = sum((p - q) ** 2 for p, q in zip(a, b, strict=True))
    return 10 * math.log10(255 * 255 * len(a) / squares) if squares else math.inf


def cjpeg(picture, *options):
    return subprocess.run(["cjpeg", *options], input=picture, capture_output=True, check=True).stdout


def djpeg(jpeg, *options):
    """Returns width, height, channels, samples; djpeg must not print a warning."""
    run = subprocess.run(["djpeg", "-pnm", *options], input=jpeg, capture_output=True, check=True)
    assert run.stderr == b"", run.stderr
    return read_pnm(run.stdout)


class ExampleCase(unittest.TestCase):
    def start(self, *arguments, input=b""):
        return subprocess.run([PROGRAM, *map(str, arguments)], input=input, capture_output=True,
                              timeout=60)

    def run_well(self, *arguments, input=b""):
        """Returns the standard output."""
        run = self.start(*arguments, input=input)
        self.assertEqual(run.returncode, 0, run.stderr)
        return run.stdout

    def assert_sentence(self, run):
        """Expects one line that begins with the name of the program, or the usage."""
        text = run.stderr.decode("ascii")
        self.assertRegex(text, rf"\A({NAME}: |usage: {NAME})[^\n]+\n\Z")

    def assert_refused(self, *arguments, input=b"", sentence=""):
        run = self.start(*arguments, input=input)
        self.assertEqual(run.returncode, 1, run.stderr)
        self.assert_sentence(run)
        self.assertIn(sentence, run.stderr.decode())

    def check_random_bytes(self, *arguments, start=b""):
        for seed in range(20):
            self.assert_refused(*arguments, input=start + random.Random(seed).randbytes(40 * seed))

    def check_truncation(self, *arguments, input, step=41):
        """Every shorter prefix of the input is refused."""
        for end in [*range(0, len(input), step), len(input) - 1]:
            with self.subTest(end=end):
                self.assert_refused(*arguments, input=input[:end])

    def check_changed_bytes(self, *arguments, input, rounds=150):
        """Changed bytes give another picture or an error sentence."""
        refused = 0
        for seed in range(rounds):
            with self.subTest(seed=seed):
                changed, choice = bytearray(input), random.Random(seed)
                for _ in range(choice.randint(1, 4)):
                    changed[choice.randrange(len(changed))] = choice.randrange(256)
                run = self.start(*arguments, input=bytes(changed))
                self.assertIn(run.returncode, (0, 1), run.stderr)
                if run.returncode == 1:
                    self.assert_sentence(run)
                    refused += 1
        self.assertGreater(refused, 0)

    def check_pnm_damage(self, *arguments):
        picture = ppm(9, 5, smooth(9, 5))
        self.check_truncation(*arguments, input=picture, step=7)
        self.check_random_bytes(*arguments)
        self.check_random_bytes(*arguments, start=b"P6\n")
        for header, sentence in ((b"P6 0 5 255\n", "no pixels"), (b"P6 99999 5 255\n", "too large"),
                                 (b"P6 60000 60000 255\n", "too large"), (b"P6 -1 5 255\n", "size"),
                                 (b"P6 99999999999999999999 5 255\n", "size"),
                                 (b"P6 9 5 65535\n", "0 to 255"), (b"P3 9 5 255\n", "PPM")):
            with self.subTest(header=header):
                self.assert_refused(*arguments, input=header + picture[11:], sentence=sentence)

    def check_other_jpegs(self, *arguments):
        """Files that the examples do not support."""
        picture = ppm(40, 30, smooth(40, 30))
        for sentence, options in (("baseline", ["-progressive"]), ("baseline", ["-arithmetic"]),
                                  ("sampling", ["-sample", "1x2"]), ("sampling", ["-sample", "4x1"]),
                                  ("Y, Cb, Cr", ["-rgb"])):
            with self.subTest(options=options):
                self.assert_refused(*arguments, input=cjpeg(picture, *options), sentence=sentence)
        jpeg = cjpeg(picture)
        frame, scan = jpeg.index(b"\xff\xc0"), jpeg.index(b"\xff\xda")
        self.assert_refused(*arguments, input=jpeg[:frame + 4] + b"\x0c" + jpeg[frame + 5:],
                            sentence="8 bits")
        self.assert_refused(*arguments, sentence="single scan",
                            input=jpeg[:scan] + b"\xff\xda\0\x08\x01\x01\0\0\x3f\0" + jpeg[scan + 14:])
        self.assert_refused(*arguments, sentence="too early",  # a huge picture in few bytes
                            input=jpeg[:frame + 5] + b"\x1f\xff\x1f\xff" + jpeg[frame + 9:])
        for segment in (b"\xc4\0\x04\0\0", b"\xc4\0\x13\0" + b"\x10" * 16,  # tables beyond the end of the file
                        b"\xdb\0\x04\0\0", b"\xc0\0\x08\x08\0\1\0\1\3", b"\xdd\0\3\0", b"\xda\0\3\3"):
            self.assert_refused(*arguments, input=b"\xff\xd8\xff" + segment, sentence="header")
        self.assert_refused(*arguments, input=jpeg[:scan] + b"\xff\xda\0\3\3", sentence="header")
        for at in scan + 6, frame + 12:  # Huffman tables, quantizer table
            self.assert_refused(*arguments, input=jpeg[:at] + b"\x55" + jpeg[at + 1:], sentence="header")
        for tables in b"\x30", b"\x03":
            self.assert_refused(*arguments, input=jpeg[:scan + 6] + tables + jpeg[scan + 7:], sentence="missing")
        self.assert_refused(*arguments, input=picture, sentence="not a JPEG file")
        self.check_random_bytes(*arguments)
        self.check_random_bytes(*arguments, start=b"\xff\xd8\xff")
