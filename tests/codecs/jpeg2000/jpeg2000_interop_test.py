#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""JPEG 2000 files of the example codec in OpenJPEG's tools, and theirs here: lossless ones bit for bit, lossy
ones within the rounding of the transforms.

    jpeg2000_interop_test.py PATH_OF_JPEG2000_TOOL [sample]

With "sample" some cases are left out, for a tool with sanitizers.
"""
import array
import itertools
import math
import os
import subprocess
import sys
import tempfile
import unittest

TOOL = os.path.abspath(sys.argv.pop(1))
IS_SAMPLE = sys.argv[1:] == ["sample"]
STYLES = range(0, 64, 7 if IS_SAMPLE else 1)
SIDES = (1, 2, 5) if IS_SAMPLE else (1, 2, 3, 5, 9)
ORDERS = ("LRCP", "RLCP", "RPCL", "PCRL", "CPRL")


def run(*command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=60)
    if done.returncode != 0:
        raise AssertionError("%s: %s" % (" ".join(command), done.stdout))
    return done.stdout


class Picture:
    """Waves, discs and a little noise in planes of their own."""

    def __init__(self, width=123, height=81, bits=8, signed=False, grids=((1, 1),) * 3,
                 origin=(0, 0)):
        self.width, self.height, self.bits, self.signed = width, height, bits, signed
        self.grids, self.origin = grids, origin
        samples = []
        state = 1
        for c, (dx, dy) in enumerate(grids):
            for y in range(-(-origin[1] // dy), -(-(origin[1] + height) // dy)):
                for x in range(-(-origin[0] // dx), -(-(origin[0] + width) // dx)):
                    state = (state * 1103515245 + 12345) & 0x7FFFFFFF
                    value = 0.5 + 0.25 * math.sin(x * dx / 15 + c) + 0.2 * math.cos(y * dy / 19)
                    if (x * dx % 41 - 20) ** 2 + (y * dy % 37 - 18) ** 2 < 120:
                        value += 0.12 * (c - 1)
                    value += ((state >> 16) % 256 / 255 - 0.5) / 40
                    sample = max(0, min((1 << bits) - 1, int(value * (1 << bits))))
                    samples.append(sample - (1 << (bits - 1)) if signed else sample)
        self.samples = samples

    def code(self):
        """The type of an array of such samples."""
        letter = "b" if self.bits <= 8 else "h"
        return letter if self.signed else letter.upper()

    def write(self, name):
        with open(name, "wb") as file:
            array.array(self.code(), self.samples).tofile(file)

    def read(self, name):
        """Their tool leaves out the copies of the sign."""
        with open(name, "rb") as file:
            samples = array.array(self.code(), file.read())
        if not self.signed:
            return list(samples)
        half = 1 << (self.bits - 1)
        return [((sample + half) & (2 * half - 1)) - half for sample in samples]

    def read_components(self, stem):
        """Of files with a header of their own."""
        samples = []
        for i in range(len(self.grids)):
            with open("%s_%d.pgx" % (stem, i), "rb") as file:
                header = file.readline().split()
                assert header[:2] == [b"PG", b"ML"], header
                samples += list(array.array(self.code(), file.read()))
        return samples

    def ours(self):
        """The arguments of the tool's encoder."""
        return ["size=%dx%d" % (self.width, self.height), "origin=%dx%d" % self.origin,
                "bits=%d" % self.bits, "signed=%d" % self.signed,
                "grids=" + ",".join("%dx%d" % grid for grid in self.grids)]

    def theirs(self):
        """The arguments of their encoder; the grids have to begin at 0."""
        return ["-F", "%d,%d,%d,%d,%s@%s" % (
            self.width, self.height, len(self.grids), self.bits, "s" if self.signed else "u",
            ":".join("%dx%d" % grid for grid in self.grids)), "-d", "%d,%d" % self.origin]


def psnr(a, b, bits=8):
    total = sum((x - y) ** 2 for x, y in zip(a, b))
    return 200 if total == 0 else 10 * math.log10(((1 << bits) - 1) ** 2 * len(a) / total)


class Jpeg2000Interop(unittest.TestCase):
    def setUp(self):
        self.old = os.getcwd()
        self.directory = tempfile.TemporaryDirectory()
        os.chdir(self.directory.name)

    def tearDown(self):
        os.chdir(self.old)
        self.directory.cleanup()

    def decode_here(self, picture, name, *options):
        said = run(TOOL, "decode", name, "here.rawl", *options)
        self.assertNotIn("message", said)
        return picture.read("here.rawl")

    def decode_there(self, picture, name, *options):
        suffix = "pgx" if len(set(picture.grids)) > 1 else "rawl"
        said = run("opj_decompress", "-i", name, "-o", "there." + suffix, *options)
        # Their check of predictable termination warns only.
        self.assertNotIn("PTERM", said)
        if suffix == "pgx":
            return picture.read_components("there")
        return picture.read("there.rawl")

    def encode_here(self, picture, name, *options):
        picture.write("in.rawl")
        run(TOOL, "encode", "in.rawl", name, *picture.ours(), *options)

    def encode_there(self, picture, name, *options):
        picture.write("in.rawl")
        run("opj_compress", "-i", "in.rawl", "-o", name, *picture.theirs(), *options)

    def same(self, here, there):
        """Without a list of all differences, which takes long to make."""
        if here != there:
            count = sum(a != b for a, b in zip(here, there))
            self.fail("%d and %d samples, %d differ" % (len(here), len(there), count))

    def check_ours(self, picture, *options, name="a.j2k"):
        with self.subTest(" ".join(options)):
            self.encode_here(picture, name, *options)
            self.same(self.decode_here(picture, name), picture.samples)
            self.same(self.decode_there(picture, name), picture.samples)

    def check_theirs(self, picture, *options, name="a.j2k"):
        """A lossless last layer, or the same samples as there."""
        with self.subTest(" ".join(options)):
            self.encode_there(picture, name, *options)
            self.same(self.decode_here(picture, name), self.decode_there(picture, name))

    def close(self, here, there, most=1, share=0.02):
        """Two decoders of the irreversible transform round few samples apart."""
        self.assertEqual(len(here), len(there))
        different = [abs(a - b) for a, b in zip(here, there) if a != b]
        self.assertLessEqual(max(different, default=0), most)
        self.assertLessEqual(len(different), share * len(here) + 2)

    def test_styles_of_ours(self):
        picture = Picture()
        for style in STYLES:
            self.check_ours(picture, "style=%d" % style, "layers=3000,0",
                            "block=%s" % ("64x64", "16x32", "4x1024", "1024x4")[style % 4])

    def test_styles_of_theirs(self):
        picture = Picture()
        for style in STYLES:
            options = ["-r", "20,1"] if style % 2 else ["-r", "30,8", "-b", "32,16"]
            self.check_theirs(picture, "-M", str(style), *options)

    def test_orders_and_tiles_of_ours(self):
        picture = Picture(origin=(7, 12))
        for order, tile, precincts in itertools.product(
                range(5), ("0x0", "40x33"), ("", "32x32,16x16,8x8")):
            options = ["order=%d" % order, "layers=2000,6000,0", "levels=3", "tile=" + tile]
            if precincts:
                options += ["precincts=" + precincts, "block=8x8"]
            if tile != "0x0":
                options += ["tile-origin=3x5", "sop=1", "eph=1"]
            self.check_ours(picture, *options)

    def test_orders_and_tiles_of_theirs(self):
        picture = Picture(origin=(7, 12))
        for order, tile, precincts in itertools.product(ORDERS, (False, True), (False, True)):
            options = ["-p", order, "-r", "20,7,1", "-n", "4"]
            if tile:
                options += ["-t", "40,33", "-T", "3,5", "-SOP", "-EPH"]
            if precincts:
                options += ["-c", "[32,32],[16,16],[8,8]", "-b", "8,8"]
            self.check_theirs(picture, *options)
        self.check_theirs(picture, "-TP", "R", "-t", "50,50", "-r", "9,1")
        self.check_theirs(Picture(), "-POC", "T0=0,0,1,3,3,RLCP/T0=0,0,3,6,3,LRCP", "-r", "20,9,1")

    def test_depths(self):
        for bits in range(1, 17, 3 if IS_SAMPLE else 1):
            for signed in (False, True):
                picture = Picture(width=61, height=43, bits=bits, signed=signed)
                self.check_ours(picture, name="a.jp2")
                if bits % 2 == 0:  # their tool takes no others from plain samples
                    self.check_theirs(picture, name="a.jp2")

    def test_coarse_grids(self):
        picture = Picture(width=64, height=48, grids=((1, 1), (2, 1), (2, 2)))
        self.check_ours(picture)
        self.check_ours(picture, "tile=30x25", "order=3")
        self.check_theirs(picture, "-mct", "0")
        self.check_theirs(picture, "-mct", "0", "-t", "30,26", "-p", "PCRL", "-n", "3")

    def test_small_sizes(self):
        for width, height in itertools.product(SIDES, repeat=2):
            picture = Picture(width=width, height=height)
            self.check_ours(picture)
            self.check_theirs(picture, "-n", "1")

    def test_regions_of_interest(self):
        for component, shift in ((0, 3), (1, 7), (2, 12)):
            self.check_theirs(Picture(), "-ROI", "c=%d,U=%d" % (component, shift))
        picture = Picture()
        self.encode_there(picture, "a.j2k", "-ROI", "c=0,U=7", "-I", "-r", "10")
        self.close(self.decode_here(picture, "a.j2k"), self.decode_there(picture, "a.j2k"))

    def test_lossy(self):
        for bits, origin in ((8, (0, 0)), (12, (5, 3)), (16, (0, 0))):
            picture = Picture(bits=bits, origin=origin)
            for ratio in (4, 12, 40):
                self.encode_there(picture, "a.j2k", "-I", "-r", str(ratio))
                self.close(self.decode_here(picture, "a.j2k"), self.decode_there(picture, "a.j2k"),
                           1 if bits < 16 else 3, 0.02 if bits < 12 else 0.6)
                self.encode_here(picture, "b.j2k", "lossy=1", "derived=%d" % (ratio == 12),
                                 "layers=%d" % os.path.getsize("a.j2k"))
                self.close(self.decode_here(picture, "b.j2k"), self.decode_there(picture, "b.j2k"),
                           1 if bits < 16 else 3, 0.02 if bits < 12 else 0.6)

    def test_reduced_and_layers(self):
        picture = Picture(origin=(5, 3))
        self.encode_there(picture, "a.j2k", "-r", "40,10,1", "-t", "60,50", "-T", "2,1")
        for reduce, layers in itertools.product((0, 1, 2, 5), (1, 2, 3)):
            here = self.decode_here(picture, "a.j2k", "reduce=%d" % reduce, "layers=%d" % layers)
            there = self.decode_there(picture, "a.j2k", "-r", str(reduce), "-l", str(layers))
            self.same(here, there)

    def test_quality_at_the_same_bytes(self):
        picture = Picture(width=320, height=240)
        for options in (["-I"], []):
            for ratio in (60, 30, 15, 8):
                self.encode_there(picture, "a.j2k", *options, "-r", str(ratio))
                size = os.path.getsize("a.j2k")
                self.encode_here(picture, "b.j2k", "lossy=%d" % bool(options), "layers=%d" % size)
                self.assertLessEqual(os.path.getsize("b.j2k"), size)
                ours = psnr(picture.samples, self.decode_there(picture, "b.j2k"))
                theirs = psnr(picture.samples, self.decode_there(picture, "a.j2k"))
                print("%-3s %2d:1 %6d bytes %.3f dB, theirs %.3f dB" %
                      ("9/7" if options else "5/3", ratio, size, ours, theirs))
                self.assertGreater(ours, theirs - 0.02)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
