# SPDX-License-Identifier: MIT
"""Inputs of zepconvert that the library does not read: PNM in text and bits, PFM, TIFF through libtiff, textures
without blocks, and files of formats that are named and refused."""
import struct
import unittest
import zlib

from tool_case import ToolCase, pnm, read_pnm

WIDTH, HEIGHT = 50, 33


def tiff(samples, fields, data=None):
    """A little-endian TIFF file of one strip; `fields` adds to the usual ones."""
    data = samples if data is None else data
    entries = {256: (4, [WIDTH]), 257: (4, [HEIGHT]), 258: (3, [8]), 259: (3, [1]), 262: (3, [1]),
               273: (4, [8]), 277: (3, [1]), 278: (4, [HEIGHT]), 279: (4, [len(data)])}
    entries.update(fields)
    data += b"\0" * (len(data) % 2)
    place = 8 + len(data)
    after = place + 2 + 12 * len(entries) + 4
    directory, extra = struct.pack("<H", len(entries)), b""
    for tag, (kind, values) in sorted(entries.items()):
        packed = struct.pack("<%d%s" % (len(values), {1: "B", 3: "H", 4: "I"}[kind]), *values)
        if len(packed) > 4:
            packed, extra = struct.pack("<I", after + len(extra)), extra + packed
        directory += struct.pack("<HHI", tag, kind, len(values)) + packed.ljust(4, b"\0")
    return struct.pack("<2sHI", b"II", 42, place) + data + directory + b"\0\0\0\0" + extra


def dds(flags, bits, masks, pixels, width=WIDTH, height=HEIGHT):
    header = bytearray(128)
    for offset, value in ((0, 0x20534444), (4, 124), (8, 0x1007), (12, height), (16, width), (76, 32), (80, flags),
                          (88, bits), (108, 0x1000)):
        struct.pack_into("<I", header, offset, value)
    struct.pack_into("<4I", header, 92, *masks)
    return bytes(header) + pixels


class InputsTest(ToolCase):
    def pixels_of(self, name, data, *options, output="out.ppm"):
        """The samples that a file becomes, as a whole and row by row."""
        self.write(name, data)
        self.run_tool("--quiet", *options, name, output)
        return read_pnm(self.path(output))[3]

    def test_pnm_in_text(self):
        text = b"P3 # colours\n50 33\n# a comment\n255\n" + b" ".join(b"%d" % s for s in self.samples)
        self.assertEqual(self.pixels_of("a.ppm", text), self.samples)
        grey = self.samples[:50 * 33]
        text = b"P2\n50 33\n255\n" + b"\n".join(b"%d" % s for s in grey) + b"\n"
        self.assertEqual(self.pixels_of("a.pgm", text, output="out.pgm"), grey)
        for damaged in (text[:200], text.replace(b"255\n", b"9\n", 1), text.replace(b"50 33", b"50 99999")):
            self.write("bad.pgm", damaged)
            self.run_tool("bad.pgm", "bad.png", code=1)

    def test_bitmaps(self):
        bits = [(x * y // 7 + x) % 2 for y in range(33) for x in range(50)]
        expected = bytes(0 if bit else 255 for bit in bits)
        packed = b""
        for y in range(33):
            row = "".join(map(str, bits[50 * y:50 * y + 50])).ljust(56, "0")
            packed += int(row, 2).to_bytes(7, "big")
        self.assertEqual(self.pixels_of("a.pbm", b"P4\n50 33\n" + packed, output="out.pgm"), expected)
        for mark in ("", " ", "\n"):
            text = mark.join(map(str, bits)).encode()
            self.assertEqual(self.pixels_of("a.pbm", b"P1\n50 33\n" + text, output="out.pgm"), expected)
        self.write("short.pbm", b"P4\n50 33\n" + packed[:-1])
        self.assertIn("ends", self.run_tool("short.pbm", "out.png", code=1))

    def test_floats(self):
        """The last row comes first; the result has the curve of sRGB."""
        linear = [(s + 0.5) / 300 for s in self.samples]
        rows = [linear[150 * y:150 * y + 150] for y in range(33)]

        def curve(v):
            return 12.92 * v if v <= 0.0031308 else 1.055 * v ** (1 / 2.4) - 0.055
        for order, scale in (("<", b"-1.0"), (">", b"2")):
            data = b"".join(struct.pack(order + "150f", *row) for row in reversed(rows))
            self.write("a.pfm", b"PF\n50 33\n" + scale + b"\n" + data)
            self.run_tool("--quiet", "a.pfm", "out.ppm")
            with open(self.path("out.ppm"), "rb") as file:
                data = file.read()
            got = struct.unpack(">%dH" % len(linear), data[data.index(b"65535\n") + 6:])
            for value, sample in zip(linear, got):
                self.assertAlmostEqual(sample, 65535 * curve(value), delta=1.5)
        self.run_tool("--quiet", "a.pfm", "a.hdr")
        self.assertTrue(self.read("a.hdr").startswith(b"#?RADIANCE"))
        self.run_tool("--quiet", "a.pfm", "a.jxr")

    def has_libtiff(self):
        self.write("probe.tif", tiff(b"", {259: (3, [8])}, zlib.compress(bytes(1650))))
        self.run_tool("--quiet", "probe.tif", "probe.png", code=None)
        return "probe.png" in self.files()

    def test_tiff(self):
        if not self.has_libtiff():
            self.skipTest("without libtiff")
        rgb = {258: (3, [8, 8, 8]), 262: (3, [2]), 277: (3, [3])}
        packed = zlib.compress(self.samples)
        deflated = tiff(b"", {**rgb, 259: (3, [8])}, packed)
        self.assertEqual(self.pixels_of("a.tif", deflated), self.samples)
        self.assertEqual(self.pixels_of("a.tif", deflated, "--memory", "1"), self.samples)
        # Opacity beside the colours, which are multiplied by it in the second file.
        rgba = b"".join(self.samples[i:i + 3] + b"\x80" for i in range(0, len(self.samples), 3))
        kinds = {258: (3, [8] * 4), 262: (3, [2]), 277: (3, [4])}
        for kind, expected in ((2, rgba), (1, bytes(s if i % 4 == 3 else min(255, (s * 255 + 64) // 128)
                                                    for i, s in enumerate(rgba)))):
            self.write("a.tif", tiff(rgba, {**kinds, 338: (3, [kind])}))
            self.run_tool("--quiet", "a.tif", "out.pam")
            self.assertEqual(self.read("out.pam")[-len(rgba):], expected)
        # Samples of 12 bits keep them.
        deep = [s * 16 + s // 16 for s in self.samples[:WIDTH * HEIGHT]]
        rows = b"".join(int("".join("%012d" % int(bin(s)[2:]) for s in deep[50 * y:50 * y + 50]), 2).to_bytes(75, "big")
                        for y in range(HEIGHT))
        self.write("a.tif", tiff(rows, {258: (3, [12])}))
        self.run_tool("--quiet", "a.tif", "out.pgm")
        data = self.read("out.pgm")
        self.assertIn(b"\n4095\n", data)
        self.assertEqual(data[-2 * len(deep):], struct.pack(">%dH" % len(deep), *deep))
        # A palette.
        colors = [257 * ((i * k) % 256) for k in (1, 3, 7) for i in range(256)]
        indices = self.samples[:WIDTH * HEIGHT]
        palette = tiff(indices, {262: (3, [3]), 320: (3, colors)})
        expected = bytes(colors[256 * c + i] >> 8 for i in indices for c in range(3))
        self.assertEqual(self.pixels_of("a.tif", palette), expected)

    def test_damaged_tiff(self):
        if not self.has_libtiff():
            self.skipTest("without libtiff")
        fields = {258: (3, [8, 8, 8]), 262: (3, [2]), 277: (3, [3]), 259: (3, [8])}
        packed = zlib.compress(self.samples)
        half = packed[:len(packed) // 2]
        self.write("cut.tif", tiff(b"", fields, half))
        self.assertIn("damaged: rows from", self.run_tool("cut.tif", "cut.ppm", code=4))
        self.run_plainly("--verify", "cut.tif", code=4)
        self.run_plainly("--probe", "cut.tif")
        got = read_pnm(self.path("cut.ppm"))[3]
        self.assertEqual(got[:1500], self.samples[:1500])
        self.assertEqual(set(got[-150:]), {0})
        self.write("none.tif", tiff(b"", fields, b"nothing"))
        self.run_tool("none.tif", "none.ppm", code=1)
        large = {**fields, 256: (4, [200000]), 257: (4, [200000])}
        self.write("large.tif", tiff(b"", large, packed))
        self.assertIn("--max-megapixels", self.run_tool("large.tif", "large.ppm", code=1))
        whole = tiff(b"", fields, packed)
        for i in list(range(8)) + list(range(len(whole) - 110, len(whole))):
            self.write("changed.tif", whole[:i] + bytes([whole[i] ^ 0x55]) + whole[i + 1:])
            self.run_tool("--quiet", "changed.tif", "changed.ppm", code=None)

    def test_textures_without_blocks(self):
        blue_first = b"".join(bytes(reversed(self.samples[i:i + 3])) for i in range(0, len(self.samples), 3))
        masks = (0xFF0000, 0xFF00, 0xFF, 0)
        self.assertEqual(self.pixels_of("a.dds", dds(0x40, 24, masks, blue_first)), self.samples)
        self.assertEqual(self.pixels_of("a.dds", dds(0x40, 24, masks, blue_first), "--memory", "1"), self.samples)

    def test_foreign_files_are_named(self):
        for data, name in ((b"GIF89a\1\0", "a GIF picture"), (b"RIFF\0\0\0\0WEBPVP8 ", "a WebP picture"),
                           (b"\0\0\0\x18ftypheic", "an HEIC picture"), (b"\0\0\0\x18ftypavif", "an AVIF picture"),
                           (b"\xFF\x0A\0", "a JPEG XL picture"), (b"8BPS\0\1", "Photoshop"),
                           (b"BM" + bytes(12) + b"\x28\0\0\0" + bytes(9), "a BMP picture"),
                           (b"%PDF-1.4", "a PDF document"), (b"<svg xmlns=''/>", "an SVG drawing"),
                           (b"<?xml version='1.0'?>\n<svg>", "an SVG drawing"), (b"<!DOCTYPE html>", "a web page"),
                           (b"PK\3\4", "a ZIP archive"), (b"\x76\x2F\x31\1", "an OpenEXR picture"),
                           (bytes(128) + b"DICM", "a DICOM file"), (b"#?RADIANCE\n", "only writes"),
                           (b"hello", "a text file"), (b"", "the file is empty"), (b"\1\2\3\4", "an unknown kind"),
                           (b"II*\0\x10\0\0\0CR\2\0" + bytes(99), "CR2"),
                           (tiff(self.samples[:1650], {50706: (1, [1, 4, 0, 0])}), "DNG")):
            with self.subTest(name):
                self.write("in.jpg", data)
                self.assertIn(name, self.run_tool("in.jpg", "out.png", code=1))
                self.assertNotIn("out.png", self.files())


if __name__ == "__main__":
    unittest.main()
