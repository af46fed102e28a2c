#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""JPEG files of zepconvert in dcmtk, and dcmtk's in zepconvert. Lossless ones: every sample must be the same;
those of 12 bits with lossy coding: as two inverse transforms agree.

    ljpeg_interop_test.py PATH_OF_ZEPCONVERT
"""
import math
import os
import struct
import subprocess
import sys
import tempfile
import unittest

TOOL = os.path.abspath(sys.argv.pop(1))
PLAIN = b"1.2.840.10008.1.2.1"
LOSSLESS = b"1.2.840.10008.1.2.4.57"
EXTENDED = b"1.2.840.10008.1.2.4.51"
ANY_LENGTH = 0xFFFFFFFF


def run(*command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=60)
    if done.returncode != 0:
        raise AssertionError("%s: %s" % (command, done.stdout))


def picture(width, height, channels, bits):
    """Waves and a little noise; some samples of 0 and of the largest value, samples of two bytes where needed."""
    most = (1 << bits) - 1
    state = bits
    samples = []
    for y in range(height):
        for x in range(width):
            for c in range(channels):
                state = (state * 1103515245 + 12345) & 0x7FFFFFFF
                wave = 0.5 + 0.3 * math.sin(x / 15 + c) + 0.25 * math.cos(y / 9 + 2 * c)
                value = int(wave * most) + (state >> 16) % 9 - 4
                if (state >> 8) % 97 == 0:
                    value = most if state & 1024 else 0
                samples.append(max(0, min(most, value)))
    return samples


def to_bytes(samples, bits, order):
    return struct.pack("%s%d%s" % (order, len(samples), "B" if bits <= 8 else "H"), *samples)


def write_pnm(name, width, height, channels, bits, samples):
    with open(name, "wb") as file:
        file.write(b"P%d\n%d %d\n%d\n" % (6 if channels == 3 else 5, width, height, (1 << bits) - 1))
        file.write(to_bytes(samples, bits, ">"))


def element(group, number, kind, value):
    value += b"\0" * (len(value) % 2)
    head = struct.pack("<HH", group, number) + kind
    if kind in (b"OB", b"OW"):
        return head + struct.pack("<HI", 0, len(value)) + value
    return head + struct.pack("<H", len(value)) + value


def write_dicom(name, syntax, width, height, channels, bits, pixels):
    """`pixels` holds the element of the pixels with its head."""
    uid = b"1.2.826.0.1.3680043.2.1125.1"
    image_class = b"1.2.840.10008.5.1.4.1.1.7"
    meta = element(2, 1, b"OB", b"\0\1") + element(2, 2, b"UI", image_class) + element(
        2, 3, b"UI", uid) + element(2, 0x10, b"UI", syntax) + element(2, 0x12, b"UI", uid)
    stored = 8 if bits <= 8 else 16

    def word(number, value):
        return element(0x28, number, b"US", struct.pack("<H", value))
    data = (element(8, 0x16, b"UI", image_class) + element(8, 0x18, b"UI", uid) +
            word(2, channels) +
            element(0x28, 4, b"CS", b"RGB" if channels == 3 else b"MONOCHROME2") +
            (word(6, 0) if channels == 3 else b"") + word(0x10, height) + word(0x11, width) +
            word(0x100, stored) + word(0x101, bits) + word(0x102, bits - 1) + word(0x103, 0))
    with open(name, "wb") as file:
        file.write(b"\0" * 128 + b"DICM" + element(2, 0, b"UL", struct.pack("<I", len(meta))) + meta)
        file.write(data + pixels)


def pixel_data(name):
    """The value of the pixels' element: plain, or its fragments joined."""
    with open(name, "rb") as file:
        data = file.read()
    at = data.rindex(struct.pack("<HH", 0x7FE0, 0x10) + b"O")
    length, = struct.unpack_from("<I", data, at + 8)
    at += 12
    if length != ANY_LENGTH:
        return data[at:at + length]
    fragments = []
    while data[at:at + 4] == struct.pack("<HH", 0xFFFE, 0xE000):
        length, = struct.unpack_from("<I", data, at + 4)
        fragments.append(data[at + 8:at + 8 + length])
        at += 8 + length
    return b"".join(fragments[1:])  # behind the table of offsets


def encapsulated(fragment):
    fragment += b"\0" * (len(fragment) % 2)
    return (struct.pack("<HH2sHI", 0x7FE0, 0x10, b"OB", 0, ANY_LENGTH) +
            struct.pack("<HHI", 0xFFFE, 0xE000, 0) +
            struct.pack("<HHI", 0xFFFE, 0xE000, len(fragment)) + fragment +
            struct.pack("<HHI", 0xFFFE, 0xE0DD, 0))


class Exchange(unittest.TestCase):
    width, height = 61, 37

    def setUp(self):
        self.old = os.getcwd()
        self.directory = tempfile.TemporaryDirectory()
        os.chdir(self.directory.name)

    def tearDown(self):
        os.chdir(self.old)
        self.directory.cleanup()

    def size(self):
        return self.width, self.height

    def write_ours(self, name, syntax, channels, bits):
        with open("ours.jpg", "rb") as file:
            write_dicom(name, syntax, *self.size(), channels, bits, encapsulated(file.read()))

    def there(self, bits, count):
        """Our file as dcmtk decodes it."""
        run("dcmdjpeg", "ours.dcm", "plain.dcm")
        size = count * (1 if bits <= 8 else 2)
        return pixel_data("plain.dcm")[:size]

    def write_theirs(self, channels, bits, samples, *options):
        pixels = element(0x7FE0, 0x10, b"OW", to_bytes(samples, bits, "<"))
        write_dicom("plain.dcm", PLAIN, *self.size(), channels, bits, pixels)
        run("dcmcjpeg", *options, "plain.dcm", "coded.dcm")
        with open("theirs.jpg", "wb") as file:
            file.write(pixel_data("coded.dcm"))


class LosslessJpeg(Exchange):
    def kinds(self):
        """Every predictor with 8, 12 and 16 bits, grey and RGB."""
        for channels in (1, 3):
            for bits in (8, 12, 16):
                samples = picture(self.width, self.height, channels, bits)
                write_pnm("in.pnm", self.width, self.height, channels, bits, samples)
                for predictor in range(1, 8):
                    with self.subTest(channels=channels, bits=bits, predictor=predictor):
                        yield channels, bits, predictor, samples

    def check_here(self, bits, samples):
        """dcmtk announces 16 bits for all that has more than 8."""
        run(TOOL, "--force", "--quiet", "theirs.jpg", "out.pnm")
        with open("out.pnm", "rb") as file:
            data = file.read()
        announced = 255 if bits <= 8 else 65535
        head = b"\n%d %d\n%d\n" % (self.width, self.height, announced)
        self.assertEqual(data[2:2 + len(head)], head)
        self.assertEqual(data[2 + len(head):], to_bytes(samples, bits, ">"))

    def test_our_files_there(self):
        for channels, bits, predictor, samples in self.kinds():
            run(TOOL, "--force", "--quiet", "in.pnm", "ours.jpg", "--lossless", "--predictor", str(predictor))
            self.write_ours("ours.dcm", LOSSLESS, channels, bits)
            self.assertEqual(self.there(bits, len(samples)), to_bytes(samples, bits, "<"))

    def test_our_restart_intervals_there(self):
        samples = picture(self.width, self.height, 3, 8)
        write_pnm("in.pnm", self.width, self.height, 3, 8, samples)
        for rows in ("1", "5", "36"):
            run(TOOL, "--force", "--quiet", "in.pnm", "ours.jpg", "--lossless", "--restart", rows, "--predictor", "5")
            self.write_ours("ours.dcm", LOSSLESS, 3, 8)
            self.assertEqual(self.there(8, len(samples)), bytes(samples))

    def test_their_files_here(self):
        for channels, bits, predictor, samples in self.kinds():
            self.write_theirs(channels, bits, samples, "--encode-lossless", "+sv", str(predictor))
            self.check_here(bits, samples)

    def test_noise_of_sixteen_bits(self):
        """All differences, 32768 among them, and carries of all predictors."""
        state, samples = 1, []
        for _ in range(self.width * self.height):
            state = (state * 1103515245 + 12345) & 0x7FFFFFFF
            samples.append((0, 32768, 65535, state >> 8 & 65535)[state >> 24 & 3])
        write_pnm("in.pnm", self.width, self.height, 1, 16, samples)
        for predictor in range(1, 8):
            with self.subTest(predictor=predictor):
                self.write_theirs(1, 16, samples, "--encode-lossless", "+sv", str(predictor))
                self.check_here(16, samples)
                run(TOOL, "--force", "--quiet", "in.pnm", "ours.jpg", "--lossless", "--predictor", str(predictor))
                self.write_ours("ours.dcm", LOSSLESS, 1, 16)
                self.assertEqual(self.there(16, len(samples)), to_bytes(samples, 16, "<"))

    def test_their_standard_process_here(self):
        for bits in (8, 12, 16):
            samples = picture(self.width, self.height, 1, bits)
            self.write_theirs(1, bits, samples, "--encode-lossless-sv1")
            self.check_here(bits, samples)

    def reduced_file(self, factors, predictor):
        """An interleaved scan of random differences; every category has a code of 5 bits."""
        most = max(h for h, _ in factors), max(v for _, v in factors)
        mcus = -(-self.width // most[0]) * -(-self.height // most[1])
        state, bits = predictor, []
        for _ in range(mcus * sum(h * v for h, v in factors)):
            state = (state * 1103515245 + 12345) & 0x7FFFFFFF
            category = (state >> 16) % 12
            bits.append("{:05b}".format(category))
            if category > 0:
                bits.append("{:0{}b}".format((state >> 8) % (1 << category), category))
        bits = "".join(bits)
        bits += "1" * (-len(bits) % 8)
        data = int(bits, 2).to_bytes(len(bits) // 8, "big").replace(b"\xff", b"\xff\0")

        def part(marker, content):
            return struct.pack(">BBH", 0xFF, marker, len(content) + 2) + content
        return (b"\xff\xd8" + part(0xC3, struct.pack(">BHHB", 16, self.height, self.width, 3) + b"".join(
            bytes([i, h << 4 | v, 0]) for i, (h, v) in enumerate(factors))) +
            part(0xC4, bytes([0, 0, 0, 0, 0, 17] + [0] * 11 + list(range(17)))) +
            part(0xDA, bytes([3, 0, 0, 1, 0, 2, 0, predictor, 0, 0])) + data + b"\xff\xd9")

    def test_reduced_components_are_the_same_there(self):
        for factors in (((2, 1), (1, 1), (1, 1)), ((2, 2), (1, 1), (1, 1)), ((1, 2), (1, 1), (1, 1))):
            for predictor in (1, 4, 6, 7):
                with self.subTest(factors=factors, predictor=predictor):
                    with open("ours.jpg", "wb") as file:
                        file.write(self.reduced_file(factors, predictor))
                    run(TOOL, "--force", "--quiet", "ours.jpg", "out.pnm")
                    self.write_ours("ours.dcm", LOSSLESS, 3, 16)
                    count = 3 * self.width * self.height
                    with open("out.pnm", "rb") as file:
                        here = struct.unpack(">%dH" % count, file.read()[-2 * count:])
                    self.assertEqual(struct.unpack("<%dH" % count, self.there(16, count)), here)

    def test_point_transforms_both_ways(self):
        for bits, shift in ((8, 2), (12, 5), (16, 1)):
            samples = picture(self.width, self.height, 1, bits)
            write_pnm("in.pnm", self.width, self.height, 1, bits, samples)
            cut = [value >> shift << shift for value in samples]
            run(TOOL, "--force", "--quiet", "in.pnm", "ours.jpg", "--lossless", "--point-transform", str(shift),
                "--predictor", "4")
            self.write_ours("ours.dcm", LOSSLESS, 1, bits)
            self.assertEqual(self.there(bits, len(samples)), to_bytes(cut, bits, "<"))
            self.write_theirs(1, bits, samples, "--encode-lossless", "+sv", "4", "+pt", str(shift))
            self.check_here(bits, cut)

    def test_our_files_are_not_larger(self):
        """Both make tables for the picture."""
        samples = picture(self.width, self.height, 1, 12)
        write_pnm("in.pnm", self.width, self.height, 1, 12, samples)
        run(TOOL, "--force", "--quiet", "in.pnm", "ours.jpg", "--lossless", "--predictor", "4")
        self.write_theirs(1, 12, samples, "--encode-lossless", "+sv", "4")
        self.assertLessEqual(os.path.getsize("ours.jpg"), os.path.getsize("theirs.jpg"))


class TwelveBits(Exchange):
    """Extended sequential files, grey: dcmtk has no colours of 12 bits."""

    def decoded_here(self, name):
        run(TOOL, "--force", "--quiet", name, "out.pgm")
        with open("out.pgm", "rb") as file:
            data = file.read()
        head = b"P5\n%d %d\n4095\n" % self.size()
        self.assertEqual(data[:len(head)], head)
        return struct.unpack(">%dH" % (self.width * self.height), data[len(head):])

    def decoded_there(self, name):
        data = pixel_data(name)[:2 * self.width * self.height]
        return struct.unpack("<%dH" % (self.width * self.height), data)

    def check_near(self, first, second, most, mean):
        distances = [abs(a - b) for a, b in zip(first, second)]
        self.assertLessEqual(max(distances), most)
        self.assertLessEqual(sum(distances) / len(distances), mean)

    def test_our_files_there(self):
        samples = picture(self.width, self.height, 1, 12)
        write_pnm("in.pnm", self.width, self.height, 1, 12, samples)
        for options in ((), ("-q", "40"), ("-q", "100"), ("--restart", "3")):
            with self.subTest(options):
                run(TOOL, "--force", "--quiet", "in.pnm", "ours.jpg", "--depth", "12", *options)
                self.write_ours("ours.dcm", EXTENDED, 1, 12)
                run("dcmdjpeg", "ours.dcm", "plain.dcm")
                self.check_near(self.decoded_here("ours.jpg"), self.decoded_there("plain.dcm"), 2, 0.2)
                if "100" in options:
                    self.check_near(self.decoded_here("ours.jpg"), samples, 4, 1)

    def test_their_files_here(self):
        samples = picture(self.width, self.height, 1, 12)
        for quality in (50, 90, 100):
            with self.subTest(quality):
                self.write_theirs(1, 12, samples, "--encode-extended", "+q", str(quality))
                run("dcmdjpeg", "coded.dcm", "plain.dcm")
                self.check_near(self.decoded_here("theirs.jpg"), self.decoded_there("plain.dcm"), 2, 0.2)


if __name__ == "__main__":
    unittest.main(verbosity=2)
