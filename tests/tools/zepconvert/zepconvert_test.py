#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""zepconvert as a user meets it: results, messages, exit codes, files that are left behind.

    zepconvert_test.py PATH_OF_ZEPCONVERT
"""
import math
import os
import pty
import re
import resource
import signal
import struct
import subprocess
import time
import unittest
import urllib.parse
import zlib

from tool_case import (TOOL, ToolCase, mean_difference, picture, png, pnm, read_pnm,
                       read_terminal, segments)


class ZepconvertTest(ToolCase):
    def test_lossless_formats_keep_every_sample(self):
        for name in ("a.png", "a.ppm", "a.pnm"):
            self.run_tool("in.ppm", name)
            self.run_tool(name, "back.ppm")
            self.assertEqual(read_pnm(self.path("back.ppm")), (50, 33, 3, self.samples))

    def test_jpeg_is_close(self):
        self.assertEqual(self.run_tool("in.ppm", "a.jpg", "--quality", "95"), "")
        self.run_tool("a.jpg", "back.ppm")
        self.assertLess(mean_difference(read_pnm(self.path("back.ppm"))[3], self.samples), 4)

    def test_grey(self):
        grey = picture(20, 10, 1)
        self.write("g.pgm", pnm(20, 10, 1, grey))
        self.run_tool("g.pgm", "g.png")
        self.run_tool("g.png", "g.ppm")
        self.assertEqual(read_pnm(self.path("g.ppm"))[3], bytes(v for v in grey for _ in range(3)))
        self.run_tool("g.png", "back.pgm")
        self.assertEqual(read_pnm(self.path("back.pgm"))[3], grey)
        for name, options in (("c.pgm", []), ("c.jpg", ["--grey"]), ("c.png", ["--grey"])):
            self.run_tool("in.ppm", name, *options)
            self.run_tool(name, "c2.pnm")
            self.assertEqual(read_pnm(self.path("c2.pnm"))[2], 1, name)

    def test_transparent_pixels(self):
        white = "laid over white"
        for channels in (2, 4):
            samples = bytes(i * 7 % 256 for i in range(20 * 10 * channels))
            self.write("t.png", png(20, 10, channels, samples))
            self.assertEqual(self.run_tool("t.png", "same.png"), "")
            self.assertEqual(self.run_tool("same.png", "again.png"), "")
            self.assertEqual(self.read("same.png"), self.read("again.png"))
            for name in ("t.ppm", "t.jpg"):
                self.assertIn(white, self.run_tool("t.png", name))
            self.assertIn(white, self.run_tool("same.png", "same.ppm"))
            expected = []
            for i in range(0, len(samples), channels):
                pixel, alpha = samples[i:i + channels - 1], samples[i + channels - 1]
                expected += [(v * alpha + 255 * (255 - alpha) + 127) // 255
                             for v in (pixel if channels == 4 else pixel * 3)]
            self.assertEqual(read_pnm(self.path("t.ppm"))[3], bytes(expected))
            self.assertEqual(self.read("t.ppm"), self.read("same.ppm"))
        opaque = bytes(255 if i % 4 == 3 else i * 7 % 256 for i in range(800))
        self.write("o.png", png(20, 10, 4, opaque))
        self.assertEqual(self.run_tool("o.png", "o.jpg"), "")

    def test_notes_are_not_damage(self):
        self.write("t.png", png(20, 10, 4, bytes(i * 7 % 256 for i in range(800))))
        text = self.run_tool("t.png", "t.jpg", "--report", "r")
        self.assertEqual(text, "zepconvert: t.png: note: transparent parts were laid over white\n")
        self.assertIn("<p>note: transparent", self.read("r/index.html").decode())
        self.assertEqual(self.run_tool("t.png", "t.jpg", "--quiet"), "")

    def test_bc7(self):
        sizes = set()
        for options, mode in ((["--mode", "0"], 0), (["--mode", "5"], 5), (["--fast"], 6), ([], None),
                              (["--thorough"], None)):
            self.assertEqual(self.run_tool("in.ppm", "a.dds", "--format", "bc7", *options), "")
            data = self.read("a.dds")
            self.assertEqual(self.four_cc("a.dds"), b"DX10")
            sizes.add(len(data))
            if mode is not None:
                self.assertTrue(all((b & -b) == 1 << mode for b in data[148::16]))
            self.run_tool("a.dds", "back.ppm")
            back = read_pnm(self.path("back.ppm"))[3]
            self.assertLess(mean_difference(back, self.samples), 8 if mode == 0 else 4)
        self.assertEqual(sizes, {148 + 13 * 9 * 16})
        self.run_tool("in.ppm", "a.dds", "--format", "bc7", "--mode", "8", code=2)
        self.run_tool("in.ppm", "a.dds", "--format", "bc7", "--fast", "--thorough", code=2)
        self.run_tool("in.ppm", "a.dds", "--format", "bc7", "--report", "r7")
        self.assertIn("BC7 mode", self.read("r7/index.html").decode())

    def four_cc(self, name):
        return self.read(name)[84:88]

    def test_textures(self):
        for kind, name, most in (("bc1", b"DXT1", 5), ("bc2", b"DXT3", 5), ("bc3", b"DXT5", 5),
                                 ("ycocg", b"DXT5", 5)):
            self.assertEqual(self.run_tool("in.ppm", "a.dds", "--format", kind), "")
            self.assertEqual(self.four_cc("a.dds"), name)
            self.assertEqual(self.run_tool("a.dds", "back.ppm"), "")
            width, height, _, back = read_pnm(self.path("back.ppm"))
            self.assertEqual((width, height), (50, 33))
            self.assertLess(mean_difference(back, self.samples), most, kind)
        self.run_tool("in.ppm", "grey.pgm")
        self.run_tool("in.ppm", "a.dds", "--format", "bc4")
        self.run_tool("a.dds", "back.pgm")
        self.assertLess(mean_difference(self.read("back.pgm"), self.read("grey.pgm")), 3)
        self.assertIn("red and green", self.run_tool("in.ppm", "a.dds", "--format", "bc5"))
        self.run_tool("a.dds", "back.ppm")
        back = read_pnm(self.path("back.ppm"))[3]
        for c, most in ((0, 3), (1, 3)):
            self.assertLess(mean_difference(back[c::3], self.samples[c::3]), most)
        self.assertEqual(set(back[2::3]), {0})

    def test_texture_options(self):
        self.run_tool("in.ppm", "a.dds")
        self.assertEqual(self.four_cc("a.dds"), b"DXT1")
        self.assertEqual(len(self.read("a.dds")), 128 + 13 * 9 * 8)
        self.run_tool("in.ppm", "b.dds", "--mipmaps")
        self.assertEqual(len(self.read("b.dds")), 128 + 8 * (13 * 9 + 7 * 4 + 3 * 2 + 2 + 1 + 1))
        self.assertEqual(self.read("b.dds")[128:128 + 936], self.read("a.dds")[128:])
        self.run_tool("in.ppm", "c.dds", "--dds-header", "dx10")
        self.assertEqual(self.four_cc("c.dds"), b"DX10")
        self.assertEqual(self.read("c.dds")[148:], self.read("a.dds")[128:])
        self.run_tool("in.ppm", "d.dds", "--format", "bc4", "--dds-header", "unsigned")
        self.assertEqual(self.four_cc("d.dds"), b"BC4U")
        samples = bytes(i * 7 % 256 for i in range(800))
        self.write("t.png", png(20, 10, 4, samples))
        self.run_tool("t.png", "t.dds")
        self.assertEqual(self.four_cc("t.dds"), b"DXT5")
        self.assertIn("over white", self.run_tool("t.png", "t.dds", "--format", "bc1"))
        self.run_tool("in.ppm", "--to", "dds", "--out-dir", "o", "--grey")
        self.run_tool("o/in.dds", "back.ppm")
        back = read_pnm(self.path("back.ppm"))[3]
        self.assertLess(mean_difference(back[0::3], back[1::3]), 6)  # but for 5:6:5 bits

    def test_jpeg2000(self):
        for name, head in (("a.jp2", b"\0\0\0\x0cjP  "), ("a.j2k", b"\xff\x4f\xff\x51")):
            for options in ([], ["--lossless"], ["--style", "bypass,symbols"], ["--style", "causal"]):
                self.assertEqual(self.run_tool("in.ppm", name, *options), "")
                self.assertTrue(self.read(name).startswith(head))
                self.run_tool(name, "back.ppm")
                self.assertEqual(read_pnm(self.path("back.ppm")), (50, 33, 3, self.samples))
        self.run_tool("in.ppm", "plain.j2k")
        self.run_tool("in.ppm", "styled.j2k", "--style", "reset,terminate,predictable")
        self.assertNotEqual(self.read("plain.j2k"), self.read("styled.j2k"))
        sizes = []
        for ratio in ("4", "8", "16"):
            self.run_tool("in.ppm", "a.j2k", "--ratio", ratio)
            sizes.append(os.path.getsize(self.path("a.j2k")))
            self.assertLessEqual(sizes[-1], 50 * 33 * 3 / int(ratio))
            self.assertGreater(sizes[-1], 50 * 33 * 3 / int(ratio) * 0.8)
        self.run_tool("a.j2k", "back.ppm")
        self.assertLess(mean_difference(read_pnm(self.path("back.ppm"))[3], self.samples), 8)

    def test_jpeg2000_of_a_given_psnr(self):
        def psnr(name):
            self.run_tool(name, "back.ppm")
            back = read_pnm(self.path("back.ppm"))[3]
            total = sum((a - b) ** 2 for a, b in zip(back, self.samples))
            return 10 * math.log10(255 ** 2 * len(back) / total)
        sizes = []
        for wanted in (32, 36, 40):
            self.run_tool("in.ppm", "a.jp2", "--psnr", str(wanted))
            self.assertGreaterEqual(psnr("a.jp2"), wanted)
            self.assertLess(psnr("a.jp2"), wanted + 1)
            sizes.append(os.path.getsize(self.path("a.jp2")))
        self.assertEqual(sizes, sorted(sizes))

    def test_jpeg2000_keeps_grey_transparency_and_profile(self):
        self.write("g.pgm", pnm(20, 10, 1, picture(20, 10, 1)))
        self.run_tool("g.pgm", "g.jp2")
        self.run_tool("g.jp2", "back.pnm")
        self.assertEqual(self.read("back.pnm"), self.read("g.pgm"))
        for channels in (2, 4):
            samples = bytes(i * 7 % 256 for i in range(20 * 10 * channels))
            self.write("t.png", png(20, 10, channels, samples))
            self.assertEqual(self.run_tool("t.png", "t.jp2"), "")
            self.run_tool("t.png", "want.png")
            self.run_tool("t.jp2", "got.png")
            self.assertEqual(self.read("got.png"), self.read("want.png"))
            self.assertIn("over white", self.run_tool("t.png", "t.j2k"))
        self.run_tool("in.ppm", "a.jpg")
        data = self.read("a.jpg")
        icc = b"ICC_PROFILE\0\1\1" + self.profile()
        self.write("i.jpg", data[:20] + b"\xFF\xE2" + struct.pack(">H", len(icc) + 2) + icc + data[20:])
        self.run_tool("i.jpg", "i.jp2")
        self.run_tool("i.jp2", "i2.jpg")
        self.assertIn((0xE2, icc), segments(self.path("i2.jpg")))

    def test_jpeg2000_is_reduced(self):
        self.run_tool("in.ppm", "a.jp2")
        for scale in (2, 4, 8):
            self.run_tool("a.jp2", "a.ppm", "--scale", str(scale))
            self.assertEqual(read_pnm(self.path("a.ppm"))[:2], (-(-50 // scale), -(-33 // scale)))

    def test_bad_jpeg2000(self):
        self.run_tool("in.ppm", "a.jp2")
        good = self.read("a.jp2")
        self.write("cut.jp2", good[:-len(good) // 3])
        self.assertIn("damaged", self.run_tool("cut.jp2", "cut.png", code=4))
        self.write("head.jp2", good[:60])
        before = self.files()
        self.assertTrue(self.run_tool("head.jp2", "out.png", code=1))
        self.assertEqual(self.files(), before)
        at = good.find(b"\xff\x4f\xff\x51") + 8
        self.write("huge.jp2", good[:at] + b"\x7f\xff\xff\xff" * 2 + good[at + 8:])
        start = time.monotonic()
        self.assertTrue(self.run_tool("huge.jp2", "out.png", code=1))
        self.assertLess(time.monotonic() - start, 5)

    def test_jpegxr(self):
        for options in ([], ["--lossless"], ["--overlap", "0"], ["--overlap", "2", "--tiles", "32x16"]):
            self.assertEqual(self.run_tool("in.ppm", "a.jxr", *options), "")
            self.assertTrue(self.read("a.jxr").startswith(b"II\xbc\x01"))
            self.run_tool("a.jxr", "back.ppm")
            self.assertEqual(read_pnm(self.path("back.ppm")), (50, 33, 3, self.samples))
        sizes = []
        for quality in ("90", "60", "30"):
            self.run_tool("in.ppm", "a.jxr", "--quality", quality)
            sizes.append(os.path.getsize(self.path("a.jxr")))
            self.run_tool("a.jxr", "back.ppm")
            self.assertLess(mean_difference(read_pnm(self.path("back.ppm"))[3], self.samples), 12)
        self.assertEqual(sizes, sorted(sizes, reverse=True))
        self.run_tool("in.ppm", "--to", "jxr", "--out-dir", "o", "--grey", "--report", "r")
        self.run_tool("o/in.jxr", "back.pgm")
        self.assertEqual(read_pnm(self.path("back.pgm"))[:3], (50, 33, 1))
        self.run_tool("in.ppm", "s.jxr", "--sampling", "420")
        self.assertLess(os.path.getsize(self.path("s.jxr")), os.path.getsize(self.path("o/in.jxr")) * 3)
        samples = bytes(i * 7 % 256 for i in range(20 * 10 * 4))
        self.write("t.png", png(20, 10, 4, samples))
        self.assertIn("over white", self.run_tool("t.png", "t.jxr"))

    def test_bad_jpegxr(self):
        self.run_tool("in.ppm", "a.jxr")
        good = self.read("a.jxr")
        self.write("cut.jxr", good[:-len(good) // 3])
        self.assertIn("damaged", self.run_tool("cut.jxr", "cut.png", code=4))
        self.write("head.jxr", good[:100])
        before = self.files()
        self.assertTrue(self.run_tool("head.jxr", "out.png", code=1))
        self.assertEqual(self.files(), before)
        at = good.find(b"WMPHOTO") + 12
        self.write("huge.jxr", good[:at] + b"\x00\xff\xff\xff" * 2 + good[at + 8:])
        start = time.monotonic()
        self.assertTrue(self.run_tool("huge.jxr", "out.png", code=1))
        self.assertLess(time.monotonic() - start, 5)

    def test_bad_textures(self):
        self.run_tool("in.ppm", "a.dds", "--mipmaps")
        good = self.read("a.dds")
        self.write("cut.dds", good[:-1])
        self.write("head.dds", good[:100])
        huge = bytearray(good)
        huge[12:20] = struct.pack("<II", 1 << 27, 1 << 27)
        self.write("huge.dds", bytes(huge))
        for name, text in (("cut.dds", "announces"), ("head.dds", "within its header"),
                           ("huge.dds", "announces")):
            with self.subTest(name):
                before = self.files()
                self.assertIn(text, self.run_tool(name, "out.png", code=1))
                self.assertEqual(self.files(), before)
        self.assertIn("limit", self.run_tool("a.dds", "out.png", "--max-megapixels", "0.001", code=1))
        self.assertIn("--scale", self.run_tool("a.dds", "out.png", "--scale", "2", code=1))

    def test_other_largest_values_are_scaled(self):
        for head, samples, expected in (
                (b"P5 # comment\n2 1\n1\n", bytes([1, 0]), [255, 0]),
                (b"P5\n2 1\n100\n", bytes([100, 40]), [255, 102])):
            self.write("w.pgm", head + samples)
            self.run_tool("w.pgm", "w.pnm")
            self.assertEqual(read_pnm(self.path("w.pnm"))[3], bytes(expected))

    def test_lost_bits_are_noted(self):
        for most, bits, lossy in ((65535, 16, True), (4095, 12, True), (255, 8, False), (15, 4, False)):
            size = 1 if most < 256 else 2
            samples = struct.pack(">32" + "BH"[size - 1], *[i * most // 31 for i in range(32)])
            self.write("w.pgm", b"P5\n8 4\n%d\n" % most + samples)
            note = "zepconvert: w.pgm: note: samples of %d bits became 8 bits\n" % bits if lossy else ""
            for name in ("a.jpg", "a.dds"):
                self.assertEqual(self.run_tool("w.pgm", name), note)
            deep = self.run_tool("w.pgm", "a.jpg", "--depth", "12")
            self.assertEqual("became 12 bits" in deep, bits == 16)
            for name in ("a.png", "a.tif", "a.jxr", "a.jp2", "a.j2k", "a.ljpg", "a.pam"):
                self.assertEqual(self.run_tool("w.pgm", name), "", name)

    def test_depths_are_kept(self):
        for most in (3, 15, 127, 511, 4095, 65535):
            size = 1 if most < 256 else 2
            samples = [(i * i * 7919 + i) % (most + 1) for i in range(60)]
            body = struct.pack(">60" + "BH"[size - 1], *samples)
            grey = b"P5\n12 5\n%d\n" % most + body
            self.write("g.pgm", grey)
            rgb = b"P6\n4 5\n%d\n" % most + body
            self.write("c.ppm", rgb)
            for name, data in (("g.pgm", grey), ("c.ppm", rgb)):
                for way in ("a.pnm", "a.pam", "a.ljpg", "a.jp2", "a.j2k"):
                    self.run_tool(name, way)
                    self.run_tool(way, "back.pnm")
                    self.assertEqual(self.read("back.pnm"), data, (most, way))
            if most < 256:
                continue
            wide = [(value * 65535 + most // 2) // most for value in samples]
            body = struct.pack(">60H", *wide)
            for way in ("a.png", "a.tif", "a.jxr"):
                self.run_tool("c.ppm", way)
                self.run_tool(way, "back.pnm")
                self.assertEqual(self.read("back.pnm"), b"P6\n4 5\n65535\n" + body)
        # Neither 8 bits nor a power of two.
        self.write("h.pgm", b"P5\n2 1\n1000\n" + struct.pack(">HH", 1000, 500))
        self.run_tool("h.pgm", "h.pnm")
        self.assertEqual(self.read("h.pnm"), b"P5\n2 1\n65535\n" + struct.pack(">HH", 65535, 32768))

    def test_wide_pictures_in_other_layouts(self):
        samples = struct.pack(">8H", 1000, 2000, 60000, 65535, 0, 65535, 100, 0)
        self.write("a.png", png(2, 1, 4, samples, 16))
        self.run_tool("a.png", "a.pam")
        head = b"P7\nWIDTH 2\nHEIGHT 1\nDEPTH 4\nMAXVAL 65535\nTUPLTYPE RGB_ALPHA\nENDHDR\n"
        self.assertEqual(self.read("a.pam"), head + samples)
        self.run_tool("a.pam", "b.png")
        self.run_tool("b.png", "b.pam")
        self.assertEqual(self.read("b.pam"), self.read("a.pam"))
        self.assertEqual(self.run_tool("a.pam", "a.jp2"), "")
        self.run_tool("a.jp2", "c.pam")
        self.assertEqual(self.read("c.pam"), self.read("a.pam"))
        self.assertIn("over white", self.run_tool("a.pam", "a.ppm"))
        self.assertEqual(self.read("a.ppm"), b"P6\n2 1\n65535\n" + samples[:6] + b"\xff" * 6)
        self.run_tool("a.ppm", "a.pgm")
        luminance = (299 * 1000 + 587 * 2000 + 114 * 60000) / 1000
        first, second = struct.unpack(">2H", self.read("a.pgm")[-4:])
        self.assertAlmostEqual(first, luminance, delta=1)
        self.assertEqual(second, 65535)
        self.run_tool("a.pgm", "g.ppm")
        self.assertEqual(self.read("g.ppm")[-12:], struct.pack(">6H", *[first] * 3, *[second] * 3))
        # Where all is opaque there is no opacity.
        self.write("o.png", png(1, 1, 2, struct.pack(">2H", 1234, 65535), 16))
        self.run_tool("o.png", "o.pnm")
        self.assertEqual(self.read("o.pnm"), b"P5\n1 1\n65535\n" + struct.pack(">H", 1234))

    def test_scans_and_tables(self):
        self.run_tool("in.ppm", "plain.jpg")
        self.run_tool("plain.jpg", "plain.ppm")
        self.write("script.txt", b"0,1,2: 0-0, 0, 1;\n0: 1-63, 0, 0;1: 1-63, 0, 0;"
                                 b"2: 1-63, 0, 0;0,1,2: 0-0, 1, 0;# the last bit of DC")
        for options in (("--progressive",), ("--optimize",), ("--script", "script.txt"),
                        ("--progressive", "--restart", "2")):
            with self.subTest(options):
                self.run_tool("in.ppm", "out.jpg", *options)
                self.run_tool("out.jpg", "out.ppm")
                self.assertEqual(self.read("out.ppm"), self.read("plain.ppm"))
                self.run_tool("plain.jpg", "again.jpg", "--transcode", *options)
                self.assertEqual(self.read("again.jpg"), self.read("out.jpg"))
                self.run_tool("out.jpg", "back.jpg", "--transcode")
                self.assertEqual(self.read("back.jpg"), self.read("plain.jpg"))
        self.write("script.txt", b"0: 1-63, 0, 0;")
        self.assertIn("scan 1 of the script: AC coefficients before DC",
                      self.run_tool("in.ppm", "x.jpg", "--script", "script.txt", code=1))
        self.write("script.txt", b"first all, then nothing")
        self.assertIn("must read as", self.run_tool("in.ppm", "x.jpg", "--script", "script.txt", code=2))
        self.assertIn("only JPEG", self.run_tool("in.ppm", "x.jpg", "--transcode", code=1))

    def test_scans_are_shown(self):
        self.run_tool("in.ppm", "a.jpg", "--progressive", "--sampling", "444")
        self.run_tool("a.jpg", "a.png", "--scans", "scans")
        names = sorted(os.listdir(self.path("scans")))
        self.assertEqual(names, ["a-scan-%02d.png" % (i + 1) for i in range(10)])
        self.assertEqual(self.read("scans/a-scan-10.png")[16:24], self.read("a.png")[16:24])
        differences = []
        for name in (names[0], names[-1]):
            self.run_tool("scans/" + name, "scan.ppm")
            differences.append(mean_difference(read_pnm(self.path("scan.ppm"))[3], self.samples))
        self.assertGreater(differences[0], 2 * differences[1])

    def test_damage_is_told_when_transcoding(self):
        self.run_tool("in.ppm", "a.jpg", "--restart", "1")
        self.write("cut.jpg", self.read("a.jpg")[:-200])
        told = self.run_tool("cut.jpg", "b.jpg", "--transcode", code=4)
        self.assertEqual(told, self.run_tool("cut.jpg", "b.ppm", code=4))
        self.run_tool("b.jpg", "c.ppm")
        self.assertEqual(self.read("c.ppm"), self.read("b.ppm"))

    def test_crop(self):
        self.run_tool("in.ppm", "a.jpg", "--sampling", "444")
        self.run_tool("a.jpg", "a.ppm")
        note = self.run_tool("a.jpg", "part.jpg", "--transcode", "--crop", "20x10+17+8")
        self.assertIn("enlarged to the left", note)
        self.run_tool("part.jpg", "part.ppm")
        width, height, _, part = read_pnm(self.path("part.ppm"))
        self.assertEqual((width, height), (21, 10))
        whole = read_pnm(self.path("a.ppm"))[3]
        rows = [whole[3 * (50 * y + 16):3 * (50 * y + 37)] for y in range(8, 18)]
        self.assertEqual(part, b"".join(rows))
        self.assertIn("outside", self.run_tool("a.jpg", "x.jpg", "--transcode", "--crop", "8x8+50+0", code=1))
        for crop in ("8x8", "0x8+0+0", "8x8+-1+0"):
            self.run_tool("a.jpg", "x.jpg", "--transcode", "--crop", crop, code=2)
        self.run_tool("a.jpg", "x.jpg", "--crop", "8x8+0+0", code=2)

    def test_twelve_bits(self):
        samples = [(i * 37) % 97 + 40 * (i // 50) for i in range(50 * 33)]
        data = struct.pack(">%dH" % len(samples), *samples)
        self.write("in.pgm", b"P5\n50 33\n4095\n" + data)
        self.run_tool("in.pgm", "a.jpg", "--depth", "12", "-q", "100")
        frame = dict(segments(self.path("a.jpg")))[0xC1]
        self.assertEqual(frame[0], 12)
        self.run_tool("a.jpg", "back.pgm")
        back = self.read("back.pgm")
        self.assertEqual(back[:14], b"P5\n50 33\n4095\n"[:14])
        decoded = struct.unpack(">%dH" % len(samples), back[-2 * len(samples):])
        self.assertLessEqual(max(abs(a - b) for a, b in zip(samples, decoded)), 3)
        self.run_tool("in.ppm", "rgb.jpg", "--depth", "12", "-q", "100", "--progressive")
        self.run_tool("rgb.jpg", "rgb.ppm")
        self.assertIn(b"\n4095\n", self.read("rgb.ppm")[:20])
        self.run_tool("in.pgm", "x.jpg", "--depth", "10", code=2)

    def test_lossless_jpeg(self):
        for options in ([], ["--predictor", "7"], ["--restart", "4", "--predictor", "4"], ["--grey"]):
            self.run_tool("in.ppm", "a.jpg", "--lossless", *options)
            self.assertIn(0xC3, dict(segments(self.path("a.jpg"))))
            self.run_tool("in.ppm", "expected.pnm", *[o for o in options if o == "--grey"])
            self.run_tool("a.jpg", "back.pnm")
            self.assertEqual(self.read("back.pnm"), self.read("expected.pnm"))
        self.run_tool("in.ppm", "--to", "jpg", "--lossless", "--out-dir", "o")
        self.assertIn(0xC3, dict(segments(self.path("o/in.jpg"))))
        self.run_tool("a.jpg", "a.ljpg", "--point-transform", "3", "--report", "r")
        self.run_tool("a.ljpg", "cut.pnm")
        self.assertEqual(read_pnm(self.path("cut.pnm"))[3],
                         bytes(v & 0xF8 for v in read_pnm(self.path("back.pnm"))[3]))
        self.assertIn(" dB", self.read("r/index.html").decode())
        self.write("d.pgm", b"P5\n2 1\n65535\n" + struct.pack(">HH", 65535, 0x8080))
        self.run_tool("d.pgm", "d.ljpg", "--predictor", "6")
        self.run_tool("d.ljpg", "back.pgm")
        self.assertEqual(self.read("back.pgm"), self.read("d.pgm"))
        self.assertIn("1310 rows", self.run_tool("in.ppm", "a.ljpg", "--restart", "2000", code=1))
        self.assertIn("lossless", self.run_tool("a.ljpg", "a.png", "--scale", "2", code=1))
        damaged = bytearray(self.read("o/in.jpg"))
        self.write("damaged.jpg", damaged[:-500])
        self.assertIn("damaged", self.run_tool("damaged.jpg", "out.png", code=4))
        self.assertIn("limit", self.run_tool("a.ljpg", "x.png", "--max-megapixels", "0.001", code=1))

    def test_lossless_jpeg_keeps_inks_and_metadata(self):
        exif = b"Exif\0\0MM\0*\0\0\0\x08\0\0\0\0\0\0"
        self.run_tool("in.ppm", "a.jpg")
        data = self.read("a.jpg")
        segment = b"\xff\xe1" + struct.pack(">H", len(exif) + 2) + exif
        self.write("e.jpg", data[:2] + segment + data[2:])
        self.run_tool("e.jpg", "e.ljpg")
        self.assertEqual(dict(segments(self.path("e.ljpg")))[0xE1], exif)
        self.run_tool("e.ljpg", "n.ljpg", "--no-metadata")
        self.assertNotIn(0xE1, dict(segments(self.path("n.ljpg"))))

        # A pixel of four components; the codes of the categories 0, 7 and 8 are 0, 10 and 110.
        def part(marker, content):
            return struct.pack(">BBH", 0xFF, marker, len(content) + 2) + content
        table = part(0xC4, bytes([0, 1, 1, 1] + [0] * 13 + [0, 7, 8]))
        bits = "0" + "10" "1111111" + "110" "01111111" + "0" + "11"  # 0, 127, -128, 0
        ids = (1, 2, 3, 4)
        inks = (b"\xff\xd8" + part(0xC3, bytes([8, 0, 1, 0, 1, 4]) +
                                   b"".join(bytes([i, 0x11, 0]) for i in ids)) + table +
                part(0xDA, b"\4" + b"".join(bytes([i, 0]) for i in ids) + b"\1\0\0") +
                int(bits, 2).to_bytes(3, "big") + b"\xff\xd9")
        self.write("inks.jpg", inks)
        self.assertIn("CMYK", self.run_tool("inks.jpg", "a.ppm"))
        rgb = self.read("a.ppm")
        self.assertEqual(list(rgb[-3:]), [(128 * 128 + 127) // 255, 128, 0])  # 0 is full ink
        self.run_tool("inks.jpg", "b.jpg", "--lossless")
        found = dict(segments(self.path("b.jpg")))
        self.assertEqual((found[0xC3][5], found[0xEE][:5]), (4, b"Adobe"))
        self.run_tool("b.jpg", "b.ppm")
        self.assertEqual(self.read("b.ppm"), rgb)

    def test_inks_in_pam_files(self):
        def pam(maximum, samples):
            return (b"P7\nWIDTH 2\nHEIGHT 2\nDEPTH 4\nMAXVAL %d\nTUPLTYPE CMYK\nENDHDR\n" % maximum +
                    samples)
        inks = bytes([0, 0, 0, 0, 255, 0, 0, 0, 10, 200, 30, 100, 0, 0, 0, 255])
        rgb = [(255 - v) * (255 - inks[4 * i + 3]) // 255 for i in range(4) for v in inks[4 * i:4 * i + 3]]
        self.write("a.pam", pam(255, inks))
        self.assertEqual(self.run_tool("a.pam", "b.pam"), "")
        self.assertEqual(self.read("b.pam"), self.read("a.pam"))
        for name in ("a.png", "a.ppm"):
            self.assertIn("CMYK", self.run_tool("a.pam", name))
        for got, want in zip(read_pnm(self.path("a.ppm"))[3], rgb):
            self.assertLessEqual(abs(got - want), 1)
        self.run_tool("a.pam", "a.jpg", "--lossless")
        self.assertEqual(dict(segments(self.path("a.jpg")))[0xC3][5], 4)
        self.assertEqual(self.run_tool("a.jpg", "b.pam"), "")
        self.assertEqual(self.read("b.pam"), self.read("a.pam"))
        self.write("w.pam", pam(65535, struct.pack(">16H", *(257 * v for v in inks))))
        self.assertIn("CMYK", self.run_tool("w.pam", "w.ppm"))
        for i, want in enumerate(rgb):
            got = struct.unpack_from(">H", self.read("w.ppm"), len(self.read("w.ppm")) - 24 + 2 * i)[0]
            self.assertLessEqual(abs(got - 257 * want), 257)
        self.run_tool("w.pam", "w.ljpg")
        self.assertEqual(self.run_tool("w.ljpg", "x.pam"), "")
        self.assertEqual(self.read("x.pam"), self.read("w.pam"))
        self.write("o.pam", self.read("a.pam").replace(b"CMYK", b"RGB_ALPHA"))
        self.assertIn("over white", self.run_tool("o.pam", "o.ppm"))

    def test_orientation(self):
        for order in "<>":
            for value, is_upright in ((1, True), (6, False), (8, False), (9, True)):
                exif = (b"Exif\0\0" + (b"II*\0" if order == "<" else b"MM\0*") +
                        struct.pack(order + "IHHHIHHI", 8, 1, 0x112, 3, 1, value, 0, 0))
                self.run_tool("in.ppm", "a.jpg")
                data = self.read("a.jpg")
                self.write("o.jpg", data[:20] + b"\xFF\xE1" + struct.pack(">H", len(exif) + 2) + exif + data[20:])
                for name in ("b.png", "b.jpg", "b.ljpg"):
                    self.assertEqual(self.run_tool("o.jpg", name), "")
                    self.run_tool(name, "c.jpg")
                    self.assertIn((0xE1, exif), segments(self.path("c.jpg")))
                for name in ("b.jp2", "b.jxr", "b.tif"):
                    self.assertEqual(self.run_tool("o.jpg", name), "")
                    for way in ("c.jpg", "c.png"):
                        self.run_tool(name, way)
                        if value < 9:
                            self.assertEqual(self.orientation(way) or 1, value, (name, way))
                for name in ("b.ppm", "b.dds"):
                    self.assertEqual("stored turned" in self.run_tool("o.jpg", name), not is_upright)

    def test_auto_orient(self):
        self.run_tool("in.ppm", "a.ljpg")
        data = self.read("a.ljpg")
        pixels = [self.samples[i:i + 3] for i in range(0, len(self.samples), 3)]
        rows = [pixels[y * 50:(y + 1) * 50] for y in range(33)]
        mirrored = [row[::-1] for row in rows]
        turned = [list(row) for row in zip(*rows)]
        upright = {1: rows, 2: mirrored, 3: mirrored[::-1], 4: rows[::-1], 5: turned,
                   6: [row[::-1] for row in turned], 7: [row[::-1] for row in turned[::-1]],
                   8: turned[::-1]}
        for value, expected in upright.items():
            exif = (b"Exif\0\0II*\0" + struct.pack("<IHHHIHHI", 8, 1, 0x112, 3, 1, value, 0, 0))
            self.write("o.ljpg", data[:2] + b"\xFF\xE1" + struct.pack(">H", len(exif) + 2) + exif + data[2:])
            for name in ("o.ljpg", "o.png", "o.tif", "o.jp2"):
                if name != "o.ljpg":
                    self.run_tool("o.ljpg", name)
                for result in ("u.ppm", "u.png", "u.tif"):
                    self.assertNotIn("turned", self.run_tool(name, result, "--auto-orient"))
                    self.run_tool(result, "v.ppm")
                    self.assertEqual(read_pnm(self.path("v.ppm")),
                                     (len(expected[0]), len(expected), 3,
                                      b"".join(b"".join(row) for row in expected)), (value, name))
            self.run_tool("o.png", "u.png", "--auto-orient")
            self.assertEqual(self.orientation("u.png"), 1)
            # A part of the upright picture.
            self.run_tool("o.png", "p.ppm", "--auto-orient", "--region", "7x5+2+3")
            self.assertEqual(read_pnm(self.path("p.ppm"))[3],
                             b"".join(b"".join(row[2:9]) for row in expected[3:8]))
        self.run_tool("in.ppm", "b.jpg")
        data = self.read("b.jpg")
        self.write("o.jpg", data[:20] + b"\xFF\xE1" + struct.pack(">H", len(exif) + 2) + exif + data[20:])
        self.assertIn("incomplete MCUs were cut off",
                      self.run_tool("o.jpg", "t.jpg", "--transcode", "--auto-orient"))
        self.assertEqual(self.orientation("t.jpg"), 1)
        self.run_tool("t.jpg", "t.ppm")
        self.assertEqual(read_pnm(self.path("t.ppm"))[:2], (33, 48))

    def orientation(self, name):
        """By the first entry for it in the EXIF data of a JPEG or PNG file; 0: none."""
        data = self.read(name)
        for order, magic in (("<", b"II*\0"), (">", b"MM\0*")):
            entry = struct.pack(order + "HHI", 0x112, 3, 1)
            if magic in data and entry in data:
                at = data.index(entry, data.index(magic)) + len(entry)
                return struct.unpack_from(order + "H", data, at)[0]
        return 0

    def test_tiff(self):
        for options in ([], ["--compression", "none"], ["--byte-planes"]):
            self.run_tool("in.ppm", "a.tif", *options)
            self.run_tool("a.tif", "back.ppm")
            self.assertEqual(self.read("back.ppm"), self.read("in.ppm"))
        wide = b"P5\n70 1\n65535\n" + struct.pack(">70H", *range(0x1200, 0x1200 + 70))
        self.write("w.pgm", wide)
        sizes = []
        for options in ([], ["--byte-planes"]):
            self.run_tool("w.pgm", "w.tif", *options)
            sizes.append(os.path.getsize(self.path("w.tif")))
            self.run_tool("w.tif", "back.pgm")
            self.assertEqual(self.read("back.pgm"), wide)
        self.assertLess(sizes[1], sizes[0] - 50)
        data = bytearray(self.read("a.tif"))
        for i in range(8, 800):
            data[i] = 0x81  # runs that leave the strip
        self.write("damaged.tif", data)
        self.assertIn("strip 0", self.run_tool("damaged.tif", "out.png", code=4))
        self.assertIn("--scale", self.run_tool("a.tif", "out.png", "--scale", "2", code=1))
        self.write("cut.tif", data[:9])
        self.assertIn("directory", self.run_tool("cut.tif", "out.png", code=1))

    def test_options_show_in_the_file(self):
        for sampling, factors in (("444", 0x11), ("422", 0x21), ("420", 0x22)):
            self.run_tool("in.ppm", "a.jpg", "--sampling", sampling, "--restart", "3")
            found = dict(segments(self.path("a.jpg")))
            self.assertEqual(found[0xC0][7], factors)
            self.assertEqual(found[0xDD], b"\0\3")
        sizes = []
        for quality in ("10", "50", "90"):
            self.run_tool("in.ppm", "a.jpg", "-q", quality)
            sizes.append(os.path.getsize(self.path("a.jpg")))
        self.assertEqual(sizes, sorted(sizes))
        for scale in (1, 2, 4, 8):
            self.run_tool("a.jpg", "a.ppm", "--scale", str(scale))
            self.assertEqual(read_pnm(self.path("a.ppm"))[:2], (-(-50 // scale), -(-33 // scale)))

    def test_metadata_survives(self):
        self.run_tool("in.ppm", "a.jpg")
        data = self.read("a.jpg")
        # Big-endian TIFF: one directory with one entry, the orientation.
        exif = (b"Exif\0\0MM\0*\0\0\0\x08\0\1\x01\x12\0\3\0\0\0\1\0\1\0\0\0\0\0\0")
        profile = self.profile()
        more = b"\xFF\xE1" + struct.pack(">H", len(exif) + 2) + exif
        icc = b"ICC_PROFILE\0\1\1" + profile
        more += b"\xFF\xE2" + struct.pack(">H", len(icc) + 2) + icc
        more += b"\xFF\xFE\0\7hello"
        self.write("m.jpg", data[:20] + more + data[20:])
        self.run_tool("m.jpg", "j.jpg")
        kept = segments(self.path("j.jpg"))
        self.assertIn((0xE1, exif), kept)
        self.assertIn((0xE2, icc), kept)
        self.assertIn((0xFE, b"hello"), kept)
        self.run_tool("m.jpg", "p.png")
        self.run_tool("p.png", "q.jpg")
        kept = segments(self.path("q.jpg"))
        self.assertIn((0xE1, exif), kept)
        self.assertIn((0xE2, icc), kept)
        self.run_tool("m.jpg", "n.jpg", "--no-metadata")
        markers = [marker for marker, _ in segments(self.path("n.jpg"))]
        self.assertFalse({0xE1, 0xE2, 0xFE} & set(markers))
        self.assertEqual(self.run_tool("m.jpg", "j.ljpg"), "")
        self.assertIn((0xFE, b"hello"), segments(self.path("j.ljpg")))
        for name, missing in (("p.png", "comments and further JPEG segments"),
                              ("p.ppm", "EXIF data, the colour profile, comments and further JPEG segments")):
            note = "note: this kind of file has no place for some metadata: " + missing + "\n"
            self.assertIn(note, self.run_tool("m.jpg", name))
            self.assertEqual(self.run_tool("m.jpg", name, "--no-metadata"), "")
        self.assertIn("profile was dropped", self.run_tool("m.jpg", "g.jpg", "--grey"))
        self.assertNotIn(0xE2, [marker for marker, _ in segments(self.path("g.jpg"))])

    def test_a_profile_costs_no_picture(self):
        """In parts of any order it is kept, without one of them dropped, with a note."""
        profile = self.profile()
        pieces = [profile[:50], profile[50:90], profile[90:]]

        def file_with(numbers):
            more = b""
            for number in numbers:
                icc = b"ICC_PROFILE\0" + bytes([number, 3]) + pieces[number - 1]
                more += b"\xFF\xE2" + struct.pack(">H", len(icc) + 2) + icc
            return more
        for options in ((), ("--lossless",)):
            self.run_tool("in.ppm", "a.jpg", *options)
            data = self.read("a.jpg")
            at = 20 if data[2:4] == b"\xFF\xE0" else 2
            for numbers in ((3, 1, 2), (2, 2, 1, 3)):
                self.write("m.jpg", data[:at] + file_with(numbers) + data[at:])
                self.assertEqual(self.run_tool("m.jpg", "p.png"), "")
                self.run_tool("p.png", "q.jpg")
                self.assertIn((0xE2, b"ICC_PROFILE\0\1\1" + profile), segments(self.path("q.jpg")))
            for numbers in ((1, 2), (2, 3), (1, 1, 1)):
                self.write("m.jpg", data[:at] + file_with(numbers) + data[at:])
                self.assertIn("not complete", self.run_tool("m.jpg", "p.png"))
                self.assertIn("not complete", self.run_tool("m.jpg", "q.jpg", "-q", "50"))
                self.assertNotIn(0xE2, dict(segments(self.path("q.jpg"))))

    @staticmethod
    def profile():
        """A small colour profile that libpng takes: a header and one tag."""
        head = bytearray(132)
        struct.pack_into(">I", head, 0, 144 + 12 + 240)
        struct.pack_into(">I", head, 8, 0x02100000)
        head[12:24] = b"mntrRGB XYZ "
        head[36:40] = b"acsp"
        struct.pack_into(">III", head, 68, 0xF6D6, 0x10000, 0xD32D)
        struct.pack_into(">I", head, 128, 1)
        head += b"cprt" + struct.pack(">II", 144, 252) + b"text\0\0\0\0"
        head += bytes(33 + i * 41 % 94 for i in range(243)) + b"\0"
        return bytes(head)

    def test_usage_errors(self):
        self.run_tool("in.ppm", "a.jpg")
        for arguments in (["in.ppm"], [], ["in.ppm", "a.jpg", "b.jpg"], ["in.ppm", "x.gif"],
                          ["in.ppm", "x.jpg", "--quality", "0"],
                          ["in.ppm", "x.jpg", "--quality", "101"],
                          ["in.ppm", "x.jpg", "--sampling", "411"],
                          ["in.ppm", "x.jpg", "--scale", "3"],
                          ["in.ppm", "x.jpg", "--restart", "65536"],
                          ["in.ppm", "x.dds", "--format", "bc9"],
                          ["in.ppm", "x.ljpg", "--predictor", "8"],
                          ["in.ppm", "x.ljpg", "--point-transform", "16"],
                          ["in.ppm", "x.jpg", "--lossless", "--quality", "50"],
                          ["in.ppm", "x.tif", "--compression", "lzw"],
                          ["in.ppm", "x.jp2", "--ratio", "0.5"],
                          ["in.ppm", "x.jp2", "--ratio", "5", "--psnr", "40"],
                          ["in.ppm", "x.jp2", "--lossless", "--psnr", "40"],
                          ["in.ppm", "x.jp2", "--style", "bypass,bold"],
                          ["in.ppm", "x.jxr", "--overlap", "3"],
                          ["in.ppm", "x.jxr", "--tiles", "40x16"],
                          ["in.ppm", "x.jxr", "--lossless", "--quality", "50"],
                          ["in.ppm", "x.dds", "--dds-header", "old"],
                          ["in.ppm", "x.jpg", "--nonsense"],
                          ["in.ppm", "x.jpg", "--out-dir", "d"], ["in.ppm", "--to", "gif"]):
            before = self.files()
            with self.subTest(arguments):
                self.assertTrue(self.run_tool(*arguments, code=2))
                self.assertEqual(self.files(), before)

    def test_help_and_version(self):
        for option in ("--help", "--version"):
            self.run_tool(option)

    def test_bad_inputs(self):
        self.run_tool("in.ppm", "a.jpg")
        self.run_tool("in.ppm", "a.png")
        jpg, png = self.read("a.jpg"), self.read("a.png")
        self.write("text.jpg", b"hello")
        self.write("empty.jpg", b"")
        self.write("short.png", png[:-100])
        self.write("short.ppm", pnm(50, 33, 3, self.samples)[:-1])
        self.write("head.ppm", b"P6\n50 ")
        self.write("progressive.jpg", jpg.replace(b"\xFF\xC0", b"\xFF\xC2", 1))
        self.write("cut.jpg", jpg[:100])
        for name, text in (("text.jpg", "a text file"), ("empty.jpg", "is empty"),
                           ("short.png", "ends"), ("short.ppm", "ends"), ("head.ppm", "header"),
                           ("progressive.jpg", "progressive"), ("cut.jpg", "byte"),
                           ("missing.jpg", "No such file"), (".", "directory")):
            with self.subTest(name):
                before = self.files()
                self.assertIn(text, self.run_tool(name, "out.png", code=1))
                self.assertEqual(self.files(), before)
        self.assertIn("--scale", self.run_tool("a.png", "b.png", "--scale", "2", code=1))

    def test_huge_headers_cost_nothing(self):
        self.run_tool("in.ppm", "a.jpg", "--grey")
        self.run_tool("in.ppm", "a.png")
        jpg = bytearray(self.read("a.jpg"))
        at = jpg.find(b"\xFF\xC0")
        jpg[at + 5:at + 9] = b"\xFF\xFF\xFF\xFF"
        self.write("huge.jpg", bytes(jpg[:200]) + b"\xFF\xD9")
        png = bytearray(self.read("a.png"))
        png[16:24] = b"\0\1\0\0\0\1\0\0"
        crc = zlib.crc32(png[12:29])
        png[29:33] = struct.pack(">I", crc)
        self.write("huge.png", bytes(png))
        self.write("huge.ppm", b"P6\n65535 65535\n255\n")
        for name in ("huge.jpg", "huge.png", "huge.ppm"):
            for limit in ("268", "4294"):
                with self.subTest(name):
                    start = time.monotonic()
                    text = self.run_tool(name, "out.png", "--max-megapixels", limit, code=1)
                    self.assertTrue(text)
                    self.assertLess(time.monotonic() - start, 5)

    def test_damaged_picture_is_saved(self):
        self.run_tool("in.ppm", "a.jpg", "--restart", "1")
        data = self.read("a.jpg")
        self.write("cut.jpg", data[:-200])
        text = self.run_tool("cut.jpg", "cut.png", code=4)
        self.assertRegex(text, r"cut\.jpg: damaged: byte \d+, MCU \d+: ")
        self.assertTrue(os.path.exists(self.path("cut.png")))
        self.assertIn("damaged", self.run_tool("cut.jpg", "in.ppm", "--to", "png", code=4))

    def test_failed_write_leaves_nothing(self):
        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000))
        self.write("old.ppm", b"old")
        self.assertIn("cannot be written",
                      self.run_tool("in.ppm", "old.ppm", code=1, preexec_fn=limit))
        self.assertEqual(self.read("old.ppm"), b"old")
        self.assertIn("No such file", self.run_tool("in.ppm", "nowhere/a.jpg", code=1))
        self.assertEqual(self.files(), ["in.ppm", "old.ppm"])

    def test_rights_follow_the_mask(self):
        self.run_tool("in.ppm", "a.jpg", preexec_fn=lambda: os.umask(0o027))
        self.assertEqual(os.stat(self.path("a.jpg")).st_mode & 0o777, 0o640)

    def test_output_may_be_the_input(self):
        self.run_tool("in.ppm", "a.jpg")
        self.run_tool("a.jpg", "a.jpg", "--grey")
        self.assertEqual(len(dict(segments(self.path("a.jpg")))[0xC0]), 6 + 3)

    def many(self, count):
        names = []
        for i in range(count):
            names.append("p%d.ppm" % i)
            self.write(names[-1], pnm(50, 33, 3, self.samples))
        return names

    def test_many_files(self):
        names = self.many(20)
        text = self.run_tool(*names, "--to", "jpg", "--out-dir", "new/dir")
        self.assertRegex(text, r"^zepconvert: 20 files converted in [\d.]+ m?s, 99\.\d kB -> "
                               r"\d+\.\d kB\n$")
        self.run_tool("in.ppm", "a.jpg")
        for i in range(20):
            self.assertEqual(self.read("new/dir/p%d.jpg" % i), self.read("a.jpg"))
        self.assertIn("missing", self.run_tool(*names, "missing.ppm", "--to", "png", code=1))
        for i in range(20):
            self.assertTrue(os.path.exists(self.path("p%d.png" % i)))
        self.run_tool(*names, "--to", "jpg", "-j", "1")
        self.assertEqual(self.read("p7.jpg"), self.read("a.jpg"))

    def test_progress_on_a_terminal_only(self):
        names = self.many(3)
        self.assertEqual(self.run_tool(*names, "--to", "jpg").count("\n"), 1)
        for options, expected in (([], True), (["--quiet"], False)):
            outer, inner = pty.openpty()
            subprocess.run([TOOL, "-f", *names, "--to", "jpg", *options], cwd=self.directory,
                           stderr=inner, check=True, timeout=60)
            os.close(inner)
            text = read_terminal(outer)
            self.assertEqual(b"3 of 3" in text, expected, text)

    def test_interrupt_leaves_whole_files(self):
        names = self.many(400)
        process = subprocess.Popen([TOOL, *names, "--to", "png", "--out-dir", "out", "-j", "1"],
                                   cwd=self.directory, stderr=subprocess.PIPE, text=True)
        while len(os.listdir(self.path("out")) if os.path.isdir(self.path("out")) else []) < 2:
            time.sleep(0.001)
            self.assertIsNone(process.poll())
        process.send_signal(signal.SIGINT)
        text = process.communicate(timeout=60)[1]
        self.assertEqual(process.returncode, 3, text)
        results = os.listdir(self.path("out"))
        self.assertLess(len(results), 400)
        self.run_tool("in.ppm", "a.png")
        for name in results:
            self.assertEqual(self.read("out/" + name), self.read("a.png"))

    def test_report(self):
        self.run_tool("in.ppm", "a.jpg")
        self.run_tool("in.ppm", "<b>&.png")
        self.write("cut.jpg", self.read("a.jpg")[:-200])
        self.run_tool("in.ppm", "<b>&.png", "cut.jpg", "missing.ppm", "--to", "jpg", "--out-dir",
                      "o", "--report", "r/e", code=1)
        html = self.read("r/e/index.html").decode()
        for text in ("dB", "50 x 33", "No such file", "damaged:", "&lt;b&gt;&amp;.png",
                     ">read<", ">decode<", ">convert<", ">encode<", ">write<", ">PNG (libpng)<"):
            self.assertIn(text, html)
        for text in ("http", "<b>&"):
            self.assertNotIn(text, html)
        sources = re.findall(r'(?:src|href)="([^"#]+)"', html)
        self.assertEqual(len(sources), 9 + 6)
        for source in sources:
            self.assertTrue(os.path.exists(self.path("r/e/" + urllib.parse.unquote(source))), source)
        self.assertEqual(html.count("errors, times 8</figcaption>"), 3)
        self.assertRegex(html, r": R \d+\.\d\d dB, G \d+\.\d\d dB, B \d+\.\d\d dB")
        self.write("t.png", png(20, 10, 4, bytes(i * 7 % 256 for i in range(800))))
        self.run_tool("t.png", "t.dds", "--report", "r2")
        html = self.read("r2/index.html").decode()
        self.assertRegex(html, r": R .* dB, A \d+\.\d\d dB")
        for name in ("1-original.png", "1-result.png", "1-errors.png"):
            self.assertEqual(self.read("r2/zepconvert-report/" + name)[1:4], b"PNG")


if __name__ == "__main__":
    unittest.main(verbosity=2)
