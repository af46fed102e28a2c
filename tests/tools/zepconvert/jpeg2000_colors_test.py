#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Colours of JPEG 2000 files in zepconvert, beside OpenJPEG's opj_decompress where that converts them too, and beside
formulas.

    jpeg2000_colors_test.py PATH_OF_ZEPCONVERT
"""
import array
import os
import random
import struct
import subprocess
import sys
import tempfile
import unittest

ZEPCONVERT = os.path.abspath(sys.argv.pop(1))
WIDTH, HEIGHT = 40, 30


def box(name, content):
    return struct.pack(">I", len(content) + 8) + name + content


def color(number, more=b""):
    return box(b"colr", b"\1\0\0" + struct.pack(">I", number) + more)


def jp2(codestream, components, *boxes, bits=8):
    header = box(b"ihdr", struct.pack(">IIHBBBB", HEIGHT, WIDTH, components, bits - 1, 7, 0, 0))
    return (box(b"jP  ", b"\r\n\x87\n") + box(b"ftyp", b"jp2 \0\0\0\0jp2 ") +
            box(b"jp2h", header + b"".join(boxes)) + box(b"jp2c", codestream))


def definitions(*entries):
    return box(b"cdef", struct.pack(">H", len(entries)) +
               b"".join(struct.pack(">HHH", *entry) for entry in entries))


def lab_to_rgb(lightness, a, b):
    """From CIELab (D50) to 8-bit sRGB."""
    def inverse(t):
        return t ** 3 if t > 6 / 29 else 3 * (6 / 29) ** 2 * (t - 4 / 29)

    y = (lightness + 16) / 116
    xyz = [white * inverse(t) for white, t in
           zip((0.9642, 1, 0.8249), (y + a / 500, y, y - b / 200))]
    matrix = ((3.13386, -1.61687, -0.49061), (-0.97877, 1.91614, 0.03345), (0.07195, -0.22899, 1.40524))
    rgb = []
    for row in matrix:
        light = min(1, max(0, sum(m * v for m, v in zip(row, xyz))))
        curved = 12.92 * light if light < 0.0031308 else 1.055 * light ** (1 / 2.4) - 0.055
        rgb.append(round(255 * curved))
    return rgb


class Jpeg2000Colors(unittest.TestCase):
    def setUp(self):
        self.old = os.getcwd()
        self.directory = tempfile.TemporaryDirectory()
        os.chdir(self.directory.name)
        self.random = random.Random(1)

    def tearDown(self):
        os.chdir(self.old)
        self.directory.cleanup()

    def planes(self, count, bits=8, grids=None):
        """Smooth planes with all values."""
        planes = []
        for c in range(count):
            dx, dy = grids[c] if grids else (1, 1)
            most = (1 << bits) - 1
            ramps = [(x * dx * (c + 2) * 5 + y * dy * (7 - c)) % 300 / 299
                     for y in range(-(-HEIGHT // dy)) for x in range(-(-WIDTH // dx))]
            planes.append([round(most * ramp) for ramp in ramps])
        return planes

    def encode(self, planes, bits=8, grids=None):
        """A codestream without losses and without a component transform."""
        with open("in.rawl", "wb") as file:
            for plane in planes:
                array.array("H" if bits > 8 else "B", plane).tofile(file)
        grids = grids or [(1, 1)] * len(planes)
        subprocess.run(["opj_compress", "-i", "in.rawl", "-o", "in.j2k", "-mct", "0", "-n", "2", "-F",
                        "%d,%d,%d,%d,u@%s" % (WIDTH, HEIGHT, len(planes), bits,
                                              ":".join("%dx%d" % grid for grid in grids))],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        with open("in.j2k", "rb") as file:
            return file.read()

    def convert(self, content, name, code=0, to="out.pam"):
        """The pixels as tuples, brought to 8 bits, and what was said."""
        with open(name, "wb") as file:
            file.write(content)
        done = subprocess.run([ZEPCONVERT, "--force", name, to], stderr=subprocess.PIPE, text=True, timeout=60)
        self.assertEqual(done.returncode, code, done.stderr)
        if code not in (0, 4):
            return [], done.stderr
        with open(to, "rb") as file:
            data = file.read()
        fields = data[:data.index(b"ENDHDR\n")].split()
        depth = int(fields[fields.index(b"DEPTH") + 1])
        most = int(fields[fields.index(b"MAXVAL") + 1])
        samples = data[data.index(b"ENDHDR\n") + 7:]
        if most > 255:
            samples = [round(value * 255 / most) for (value,) in struct.iter_unpack(">H", samples)]
        self.assertEqual(len(samples), WIDTH * HEIGHT * depth)
        return [tuple(samples[i:i + depth]) for i in range(0, len(samples), depth)], done.stderr

    def theirs(self, name):
        """RGB by OpenJPEG's tool, brought to 8 bits."""
        subprocess.run(["opj_decompress", "-i", name, "-o", "theirs.ppm"], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        with open("theirs.ppm", "rb") as file:
            data = file.read()
        lines = [line for line in data.split(b"\n", 6) if not line.startswith(b"#")]
        most = int(data[:100].split(b"\n")[3])
        samples = data[-WIDTH * HEIGHT * 3 * (2 if most > 255 else 1):]
        self.assertEqual(lines[0], b"P6")
        if most > 255:
            samples = [round(value * 255 / most)
                       for (value,) in struct.iter_unpack(">H", samples)]
        return [tuple(samples[i:i + 3]) for i in range(0, len(samples), 3)]

    def assertClose(self, ours, theirs, most):
        self.assertEqual(len(ours), len(theirs))
        worst = max(abs(a - b) for one, other in zip(ours, theirs) for a, b in zip(one, other))
        self.assertLessEqual(worst, most)

    def test_luminance_and_chroma(self):
        planes = self.planes(3)
        stream = self.encode(planes)
        for number in (18, 24, 3):
            ours, said = self.convert(jp2(stream, 3, color(number)), "a.jp2")
            self.assertEqual(said, "")
            if number != 3:
                self.assertClose(ours, self.theirs("a.jp2"), 1)
            self.assertNotEqual(ours, list(zip(*planes)))
        self.assertEqual(self.convert(jp2(stream, 3, color(16)), "a.jp2")[0], list(zip(*planes)))

    def test_reduced_chroma_without_a_header(self):
        for grids in (((1, 1), (2, 2), (2, 2)), ((1, 1), (2, 1), (2, 1))):
            stream = self.encode(self.planes(3, grids=grids), grids=grids)
            ours, said = self.convert(stream, "a.j2k")
            self.assertEqual(said, "")
            self.assertClose(ours, self.theirs("a.j2k"), 1)

    def test_lab(self):
        for bits in (8, 12):
            planes = self.planes(3, bits)
            most = (1 << bits) - 1
            stream = self.encode(planes, bits)
            ours, said = self.convert(jp2(stream, 3, color(14), bits=bits), "a.jp2")
            self.assertEqual(said, "")
            expected = [lab_to_rgb(100 * l / most, (a - (most + 1) / 2) * 170 / most,
                                   (b - (most + 1) * 3 / 8) * 200 / most) for l, a, b in zip(*planes)]
            self.assertClose(ours, expected, 2)
            # Ranges and offsets of its own.
            values = (80, 0, 120, 1 << (bits - 2), 140, 1 << (bits - 1), 0x00443530)
            ours, said = self.convert(
                jp2(stream, 3, color(14, struct.pack(">7I", *values)), bits=bits), "a.jp2")
            expected = [lab_to_rgb(80 * l / most, (a - values[3]) * 120 / most,
                                   (b - values[5]) * 140 / most) for l, a, b in zip(*planes)]
            self.assertClose(ours, expected, 2)

    def test_white_in_lab(self):
        """White is white, whatever the light."""
        planes = [[255] * WIDTH * HEIGHT, [128] * WIDTH * HEIGHT, [96] * WIDTH * HEIGHT]
        stream = self.encode(planes)
        for light in (b"\0D50", b"\0D65"):
            more = struct.pack(">6I", 100, 0, 170, 128, 200, 96) + light
            ours, _ = self.convert(jp2(stream, 3, color(14, more)), "a.jp2")
            self.assertClose(ours, [(255, 255, 255)] * len(ours), 1)

    def test_inks(self):
        planes = self.planes(4)
        inks = list(zip(*planes))
        ours, said = self.convert(jp2(self.encode(planes), 4, color(12)), "a.jp2")
        self.assertEqual((ours, said), (inks, ""))
        # By a profile.
        profile = bytes(16) + b"CMYK" + bytes(108)
        icc = box(b"colr", b"\2\0\0" + profile)
        ours, _ = self.convert(jp2(self.encode(planes), 4, icc), "a.jp2")
        self.assertEqual(ours, inks)
        ours, _ = self.convert(jp2(self.encode(planes[:3]), 3, color(11)), "a.jp2")
        self.assertEqual(ours, [tuple(255 - ink for ink in pixel[:3]) for pixel in inks])
        # With opacity, which has no place.
        five = self.planes(5)
        entries = [(i, 0, i + 1) for i in range(4)] + [(4, 1, 0)]
        _, said = self.convert(jp2(self.encode(five), 5, color(12), definitions(*entries)), "a.jp2")
        self.assertIn("opacity", said)

    def test_grey(self):
        planes = self.planes(2)
        stream = self.encode(planes[:1])
        for number in (17, 15):
            ours, said = self.convert(jp2(stream, 1, color(number)), "a.jp2")
            self.assertEqual((ours, said), ([(v,) for v in planes[0]], ""))
        self.assertEqual(self.convert(jp2(stream, 1, color(0)), "a.jp2")[0],
                         [(255 - v,) for v in planes[0]])
        ours, said = self.convert(jp2(self.encode(planes), 2, color(17),
                                      definitions((0, 0, 1), (1, 1, 0))), "a.jp2")
        self.assertEqual((ours, said), (list(zip(*planes)), ""))

    def test_other_color_spaces(self):
        stream = self.encode(self.planes(3))
        for number in (1, 4, 9, 19, 22, 23):
            _, said = self.convert(jp2(stream, 3, color(number)), "a.jp2", code=1)
            self.assertIn("colour space %d " % number, said)
        for number in (20, 21, 77):
            ours, said = self.convert(jp2(stream, 3, color(number)), "a.jp2")
            self.assertEqual(ours, list(zip(*self.planes(3))))
            self.assertIn("colour space %d " % number, said)

    def test_channels(self):
        """Opacity in front, colours in reverse, and one that is neither."""
        planes = self.planes(5)
        stream = self.encode(planes)
        entries = ((0, 1, 0), (1, 65535, 65535), (2, 0, 3), (3, 0, 2), (4, 0, 1))
        ours, said = self.convert(jp2(stream, 5, color(16), definitions(*entries)), "a.jp2")
        self.assertEqual(ours, list(zip(planes[4], planes[3], planes[2], planes[0])))
        self.assertIn("1 component", said)
        # A second opacity, for one colour.
        entries = ((0, 0, 1), (1, 0, 2), (2, 0, 3), (3, 1, 2), (4, 1, 0))
        ours, said = self.convert(jp2(stream, 5, color(16), definitions(*entries)), "a.jp2")
        self.assertEqual(ours, list(zip(planes[0], planes[1], planes[2], planes[4])))
        self.assertIn("1 component", said)
        # Without definitions the rest is of unknown meaning.
        for name, content in (("a.jp2", jp2(stream, 5, color(16))), ("a.j2k", stream)):
            ours, said = self.convert(content, name)
            self.assertEqual(ours, list(zip(*planes[:3])))
            self.assertIn("2 components", said)

    def test_multiplied_opacity(self):
        alpha = [(i * 7) % 256 for i in range(WIDTH * HEIGHT)]
        colors = self.planes(3)
        multiplied = [[round(v * a / 255) for v, a in zip(plane, alpha)] for plane in colors]
        entries = [(i, 0, i + 1) for i in range(3)] + [(3, 2, 0)]
        ours, said = self.convert(jp2(self.encode(multiplied + [alpha]), 4, color(16),
                                      definitions(*entries)), "a.jp2")
        self.assertEqual(said, "")
        for pixel, color_of, a in zip(ours, zip(*colors), alpha):
            self.assertEqual(pixel[3], a)
            for got, wanted in zip(pixel, color_of):
                self.assertLessEqual(abs(got - wanted) * a, 255)

    def test_palette_without_mapping(self):
        indexes = [i % 4 for i in range(WIDTH * HEIGHT)]
        rows = [(1, 2, 3), (40, 50, 60), (255, 0, 7), (9, 200, 100)]
        palette = box(b"pclr", struct.pack(">HB", 4, 3) + b"\7\7\7" + b"".join(map(bytes, rows)))
        ours, said = self.convert(jp2(self.encode([indexes]), 1, palette, color(16)), "a.jp2")
        self.assertEqual(ours, [rows[i] for i in indexes])
        self.assertIn("mapping", said)

    def test_notes_are_no_damage(self):
        planes = self.planes(1)
        stream = self.encode(planes)
        expected = [(v,) for v in planes[0]]
        ours, said = self.convert(stream[:-2], "a.j2k")  # no end marker
        self.assertEqual(ours, expected)
        self.assertIn("end marker", said)
        self.assertNotIn("damaged", said)
        at = stream.index(b"\xff\x64")
        ours, said = self.convert(stream[:at] + b"\xff\x30\xff\x3f" + stream[at:], "a.j2k")
        self.assertEqual((ours, said), (expected, ""))


if __name__ == "__main__":
    unittest.main(verbosity=2)
