#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""DDS files of zepconvert in other programs, and theirs in zepconvert: ImageMagick, nvcompress and
nvdecompress of libnvtt-bin, Pillow. Where the decoders differ on purpose, the difference is computed from
the blocks and must be met exactly.

    dds_interop_test.py PATH_OF_ZEPCONVERT
"""
import math
import os
import random
import struct
import subprocess
import sys
import tempfile
import unittest

from PIL import Image

TOOL = os.path.abspath(sys.argv.pop(1))
FOUR_CC = {b"DXT1": "bc1", b"DXT3": "bc2", b"DXT5": "bc3", b"ATI1": "bc4", b"ATI2": "bc5"}


def run(*command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=60)
    if done.returncode != 0:
        raise AssertionError("%s: %s" % (command, done.stdout))


def picture(width, height, transparent):
    """Waves, discs, a little noise; alpha from a wave, with holes, or 255."""
    pixels = []
    state = 1
    for y in range(height):
        for x in range(width):
            state = (state * 1103515245 + 12345) & 0x7FFFFFFF
            disc = 40 if (x % 41 - 20) ** 2 + (y % 37 - 18) ** 2 < 120 else 0
            wave = [128 + 60 * math.sin(x / 15 + c) + 45 * math.cos(y / 19 + 2 * c) + disc * (c - 1)
                    for c in range(3)]
            alpha = 128 + 160 * math.sin((x + y) / 12) if transparent else 255
            pixels.append(tuple(max(0, min(255, int(v + (state >> 16) % 7))) for v in wave) +
                          (max(0, min(255, int(alpha))),))
    image = Image.new("RGBA", (width, height))
    image.putdata(pixels)
    return image


def channel_palette(a0, a1, rounds):
    """What DXT5's alpha, BC4 and BC5 mix: means rounded to nearest, as here, or truncated, as elsewhere."""
    if a0 > a1:
        half = 3 if rounds else 0
        return [a0, a1] + [((7 - k) * a0 + k * a1 + half) // 7 for k in range(1, 7)]
    half = 2 if rounds else 0
    return [a0, a1] + [((5 - k) * a0 + k * a1 + half) // 5 for k in range(1, 5)] + [0, 255]


def channel_blocks(data, width, height, stride, at, rounds):
    """The channel whose parts lie at byte `at` of each block of `stride` bytes."""
    out = [0] * (width * height)
    block = 128 + at
    for top in range(0, height, 4):
        for left in range(0, width, 4):
            palette = channel_palette(data[block], data[block + 1], rounds)
            bits = int.from_bytes(data[block + 2:block + 8], "little")
            for i in range(16):
                x, y = left + i % 4, top + i // 4
                if x < width and y < height:
                    out[y * width + x] = palette[bits >> 3 * i & 7]
            block += stride
    return out


class DdsInterop(unittest.TestCase):
    def setUp(self):
        self.old = os.getcwd()
        self.directory = tempfile.TemporaryDirectory()
        os.chdir(self.directory.name)
        picture(121, 83, False).convert("RGB").save("rgb.png")
        picture(121, 83, True).save("rgba.png")

    def tearDown(self):
        os.chdir(self.old)
        self.directory.cleanup()

    def load(self, name):
        image = Image.open(name)
        image.load()
        return image

    def ours(self, name):
        run(TOOL, "--force", "--quiet", name, "ours.png")
        return self.load("ours.png").convert("RGBA")

    def readers(self, name, image_magick=True):
        """The picture as other programs decode it."""
        run("nvdecompress", name)
        yield self.load(os.path.splitext(name)[0] + ".tga").convert("RGBA")
        if image_magick:
            run("convert", name + "[0]", "magick.png")
            yield self.load("magick.png").convert("RGBA")
        yield self.load(name).convert("RGBA")

    def check(self, name, image_magick=True):
        """Decodes a file here and elsewhere, and explains each difference."""
        with open(name, "rb") as file:
            data = file.read()
        kind = FOUR_CC[data[84:88]]
        height, width = struct.unpack_from("<II", data, 12)
        ours = self.ours(name)
        self.assertEqual(ours.size, (width, height))
        for theirs in self.readers(name, image_magick and kind not in ("bc4", "bc5")):
            self.assertEqual(theirs.size, ours.size)
            getattr(self, "compare_" + kind)(list(ours.getdata()), list(theirs.getdata()), data,
                                             ours.size)

    def compare_bc1(self, ours, theirs, _data, _size):
        # The fourth of three colours: opaque white here, transparent black there.
        holes = 0
        for our, their in zip(ours, theirs):
            if their == (0, 0, 0, 0):
                self.assertEqual(our, (255, 255, 255, 255))
                holes += 1
            else:
                self.assertEqual(our, their)
        self.holes = holes

    def compare_bc2(self, ours, theirs, _data, _size):
        self.assertEqual(ours, theirs)

    def compare_bc3(self, ours, theirs, data, size):
        self.compare_channel(ours, theirs, data, size, 3, 0)
        for our, their in zip(ours, theirs):
            self.assertEqual(our[:3], their[:3])

    def compare_bc4(self, ours, theirs, data, size):
        self.compare_channel(ours, theirs, data, size, 0, 0, 8)

    def compare_bc5(self, ours, theirs, data, size):
        self.compare_channel(ours, theirs, data, size, 0, 0)
        self.compare_channel(ours, theirs, data, size, 1, 8)

    def compare_channel(self, ours, theirs, data, size, channel, at, stride=16):
        # Means are rounded here, truncated there.
        self.assertEqual([pixel[channel] for pixel in ours],
                         channel_blocks(data, *size, stride, at, True))
        self.assertEqual([pixel[channel] for pixel in theirs],
                         channel_blocks(data, *size, stride, at, False))

    def test_our_files_elsewhere(self):
        for kind in ("bc1", "bc2", "bc3", "bc4", "bc5"):
            for mipmaps in ([], ["--mipmaps"]):
                with self.subTest(kind + " ".join(mipmaps)):
                    run(TOOL, "--force", "--quiet", "rgba.png", "a.dds", "--format", kind, *mipmaps)
                    self.check("a.dds")

    def test_small_sizes_elsewhere(self):
        for width, height in ((1, 1), (2, 7), (3, 3), (5, 1), (4, 4), (9, 6)):
            picture(width, height, True).save("small.png")
            for kind in ("bc1", "bc2", "bc3", "bc4", "bc5"):
                with self.subTest((width, height, kind)):
                    run(TOOL, "--force", "--quiet", "small.png", "a.dds", "--format", kind, "--mipmaps")
                    self.check("a.dds", image_magick=False)

    def test_extended_header_elsewhere(self):
        # Pillow reads BC5 behind it.
        run(TOOL, "--force", "--quiet", "rgb.png", "a.dds", "--format", "bc5")
        run(TOOL, "--force", "--quiet", "rgb.png", "b.dds", "--format", "bc5", "--dds-header", "dx10")
        self.assertEqual(self.load("a.dds").tobytes(), self.load("b.dds").tobytes())

    def test_levels_elsewhere(self):
        run(TOOL, "--force", "--quiet", "rgb.png", "a.dds", "--format", "bc1", "--mipmaps")
        run("nvddsinfo", "a.dds")
        out = subprocess.run(["nvddsinfo", "a.dds"], capture_output=True, text=True, check=True)
        self.assertIn("Mipmap count: 7", out.stdout)

    def test_files_of_nvcompress(self):
        for kind in ("bc1", "bc1a", "bc2", "bc3", "bc4", "bc5"):
            for options in (["-nomips"], []):
                with self.subTest(kind):
                    run("nvcompress", "-nocuda", "-alpha", *options, "-" + kind, "rgba.png", "n.dds")
                    self.check("n.dds")
                    if kind == "bc1a":
                        self.assertGreater(self.holes, 0)

    def test_files_of_image_magick(self):
        for name in ("rgb.png", "rgba.png"):
            for kind in ("dxt1", "dxt5"):
                run("convert", name, "-define", "dds:compression=" + kind, "m.dds")
                self.check("m.dds")

    def test_quality_beside_nvcompress(self):
        """One pass without search costs little against an encoder that searches."""
        source = list(self.load("rgb.png").getdata())

        def psnr(name):
            pixels = self.ours(name).convert("RGB").getdata()
            total = sum((a - b) ** 2 for p, q in zip(source, pixels) for a, b in zip(p, q))
            return 10 * math.log10(255 ** 2 * 3 * len(source) / total)
        run(TOOL, "--force", "--quiet", "rgb.png", "a.dds", "--format", "bc1")
        run("nvcompress", "-nocuda", "-nomips", "-bc1", "rgb.png", "n.dds")
        self.assertGreater(psnr("a.dds"), psnr("n.dds") - 5)
        run(TOOL, "--force", "--quiet", "rgb.png", "y.dds", "--format", "ycocg")
        self.assertGreater(psnr("y.dds"), psnr("a.dds"))


class ExtendedFormats(unittest.TestCase):
    """BC7 and BC6H, which Pillow decodes and no program of Debian writes; blocks of any bytes besides."""

    def setUp(self):
        self.old = os.getcwd()
        self.directory = tempfile.TemporaryDirectory()
        os.chdir(self.directory.name)

    def tearDown(self):
        os.chdir(self.old)
        self.directory.cleanup()

    def load(self, name):
        image = Image.open(name)
        image.load()
        return image

    def write(self, name, number, width, height, blocks):
        words = {4: 124, 8: 0x81007, 12: height, 16: width, 20: len(blocks), 28: 1, 76: 32, 80: 4,
                 108: 0x1000, 128: number, 132: 3, 140: 1}
        head = bytearray(148)
        head[0:4], head[84:88] = b"DDS ", b"DX10"
        for offset, word in words.items():
            struct.pack_into("<I", head, offset, word)
        with open(name, "wb") as file:
            file.write(bytes(head) + blocks)

    def test_our_bc7_files(self):
        picture(121, 83, True).save("rgba.png")
        for options in ([], ["--fast"], ["--thorough"], *(["--mode", str(m)] for m in range(8))):
            with self.subTest(options):
                run(TOOL, "--force", "--quiet", "rgba.png", "a.dds", "--format", "bc7", *options)
                run(TOOL, "--force", "--quiet", "a.dds", "ours.png")
                self.assertEqual(self.load("ours.png").convert("RGBA").tobytes(),
                                 self.load("a.dds").convert("RGBA").tobytes())

    def test_any_bc7_blocks(self):
        chance = random.Random(1)
        blocks = bytearray(chance.randbytes(16 * 40 * 40))
        for i in range(0, len(blocks), 16):
            mode = chance.randrange(8)
            blocks[i] = blocks[i] & ~((2 << mode) - 1) & 255 | 1 << mode
        for number in (97, 98, 99):
            self.write("any.dds", number, 160, 160, bytes(blocks))
            run(TOOL, "--force", "--quiet", "any.dds", "ours.png")
            if number != 97:
                self.assertEqual(self.load("ours.png").convert("RGBA").tobytes(),
                                 self.load("any.dds").convert("RGBA").tobytes())

    def read_hdr(self, name, width, height):
        with open(name, "rb") as file:
            data = file.read()
        self.assertTrue(data.startswith(b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n"))
        at = data.index(b"\n", data.index(b"-Y %d +X %d" % (height, width))) + 1
        pixels = []
        for _ in range(height):
            self.assertEqual(data[at:at + 4], bytes([2, 2, width >> 8, width & 255]))
            at += 4
            channels = []
            for _ in range(4):
                row = b""
                while len(row) < width:
                    row += data[at + 1:at + 1 + data[at]]
                    at += 1 + data[at]
                channels.append(row)
            for r, g, b, e in zip(*channels):
                scale = 2.0 ** (e - 136) if e else 0
                pixels.append(tuple(v * scale for v in (r, g, b)))
        self.assertEqual(at, len(data))
        return pixels

    def test_any_bc6h_blocks(self):
        # Pillow clamps to 0..1 and makes bytes. (Signed blocks with differences it decodes wrongly.)
        blocks = random.Random(2).randbytes(16 * 40 * 40)
        self.write("any.dds", 95, 160, 160, blocks)
        run(TOOL, "--force", "--quiet", "any.dds", "ours.hdr")
        for our, their in zip(self.read_hdr("ours.hdr", 160, 160), self.load("any.dds").getdata()):
            # A step of RGBE is a part in 128 of the greatest channel.
            slack = 1.5 + max(our) / 64 * 255
            for a, b in zip(our, their):
                self.assertLessEqual(abs(min(255, a * 255) - b), slack)
        # JPEG XR holds the same half floats.
        run(TOOL, "--force", "--quiet", "any.dds", "any.jxr")
        run(TOOL, "--force", "--quiet", "any.jxr", "again.hdr")
        with open("ours.hdr", "rb") as ours, open("again.hdr", "rb") as again:
            self.assertEqual(ours.read(), again.read())
        done = subprocess.run([TOOL, "--force", "any.jxr", "any.png"], stderr=subprocess.PIPE, text=True,
                              timeout=60, check=True)
        self.assertIn("linear light became samples of 16 bits, cut off at white", done.stderr)
        with self.assertRaises(AssertionError):
            run(TOOL, "--force", "any.dds", "other.png")

    def test_what_hdr_needs(self):
        picture(20, 20, False).save("rgb.png")
        for name in ("rgb.png", "a.dds"):
            run(TOOL, "--force", "--quiet", "rgb.png", "a.dds")
            with self.assertRaises(AssertionError):
                run(TOOL, "--force", "--quiet", name, "no.hdr")
            self.assertFalse(os.path.exists("no.hdr"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
