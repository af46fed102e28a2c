# SPDX-License-Identifier: MIT
"""What the tests of zepconvert share: pictures, and a directory in which the tool runs.

The test programs get the path of zepconvert as their first argument.
"""
import math
import os
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

TOOL = os.path.abspath(sys.argv.pop(1))
with open(TOOL, "rb") as _program:
    IS_SANITIZED = b"__asan_init" in _program.read()  # takes more memory and time


def picture(width, height, channels, seed=1):
    """Smooth waves with a little noise."""
    samples = bytearray()
    state = seed
    for y in range(height):
        for x in range(width):
            for c in range(channels):
                state = (state * 1103515245 + 12345) & 0x7FFFFFFF
                wave = 128 + 60 * math.sin(x / 9 + c) + 50 * math.cos(y / 11 + 2 * c)
                samples.append(max(0, min(255, int(wave + (state >> 16) % 9 - 4))))
    return bytes(samples)


def pnm(width, height, channels, samples):
    return b"P%d\n%d %d\n255\n" % (5 if channels == 1 else 6, width, height) + samples


def read_pnm(path):
    with open(path, "rb") as file:
        data = file.read()
    head = re.match(rb"P([56])\n(\d+) (\d+)\n255\n", data)
    channels = 1 if head.group(1) == b"5" else 3
    return int(head.group(2)), int(head.group(3)), channels, data[head.end():]


def png(width, height, channels, samples, bits=8):
    def chunk(name, data):
        return (struct.pack(">I", len(data)) + name + data +
                struct.pack(">I", zlib.crc32(name + data)))
    step = width * channels * bits // 8
    rows = b"".join(b"\0" + samples[y * step:(y + 1) * step] for y in range(height))
    kind = {1: 0, 2: 4, 3: 2, 4: 6}[channels]
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, bits, kind, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def segments(path):
    """Marker and content of each segment of a JPEG file, up to the scan."""
    with open(path, "rb") as file:
        data = file.read()
    found, at = [], 2
    while True:
        marker, size = data[at + 1], struct.unpack(">H", data[at + 2:at + 4])[0]
        found.append((marker, data[at + 4:at + 2 + size]))
        at += 2 + size
        if marker == 0xDA:
            return found


def mean_difference(a, b):
    assert len(a) == len(b)
    return sum(abs(x - y) for x, y in zip(a, b)) / len(a)


def read_terminal(outer):
    """All that a program wrote to a terminal, until it has ended."""
    text = b""
    try:
        while piece := os.read(outer, 4096):
            text += piece
    except OSError:  # nobody has the other side any more
        pass
    os.close(outer)
    return text


class ToolCase(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name
        self.samples = picture(50, 33, 3)
        self.write("in.ppm", pnm(50, 33, 3, self.samples))

    def path(self, name):
        return os.path.join(self.directory, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as file:
            file.write(data)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def run_tool(self, *arguments, code=0, **options):
        """Most tests write the same names again and again."""
        return self.run_plainly("--force", *arguments, code=code, **options)

    def run_plainly(self, *arguments, code=0, **options):
        done = subprocess.run([TOOL, *arguments], cwd=self.directory, capture_output=True,
                              text=True, timeout=120, check=False, **options)
        if code is None:  # any, but no signal
            self.assertIn(done.returncode, (0, 1, 4), done.stderr)
        else:
            self.assertEqual(done.returncode, code, done.stderr)
        return done.stderr

    def files(self):
        return sorted(os.listdir(self.directory))
