#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""zepconvert and PNG: colour profiles that PNG libraries refuse, and files made to cost memory or time; what
a TIFF file may cost stands beside it.

    zepconvert_png_test.py PATH_OF_ZEPCONVERT
"""
import os
import resource
import struct
import subprocess
import time
import unittest
import zlib

from tool_case import IS_SANITIZED, TOOL, ToolCase, picture, pnm, segments


def chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def profile(size, space=b"RGB ", kind=b"mntr", intent=0):
    """A profile of version 2 whose only tag is a long text."""
    head = bytearray(144)
    struct.pack_into(">I", head, 0, size)
    struct.pack_into(">I", head, 8, 0x02100000)
    head[12:24] = kind + space + b"XYZ "
    head[36:40] = b"acsp"
    struct.pack_into(">I", head, 64, intent)
    struct.pack_into(">III", head, 68, 0xF6D6, 0x10000, 0xD32D)
    struct.pack_into(">I4sII", head, 128, 1, b"cprt", 144, size - 144)
    return bytes(head) + b"text" + bytes(4) + bytes(33 + i * 41 % 94 for i in range(size - 152))


def with_checksum(data, adler, crc):
    """The profile with other bytes in its text, so that it has these two sums.

    XOR with the polynomial's bits anywhere leaves a CRC as it is. So the last four bytes set the CRC,
    and a choice among 36 places for the polynomial sets the other sum: two halves of 18 are made to meet.
    These change the plain sum of the bytes (its lower half) by little, so that is brought close before.
    """
    polynomial = 0x1DB710641 .to_bytes(5, "little")
    first, second = 200, 400
    data = bytearray(data)
    data[-4:] = b"\x80" * 4
    typical = sum((data[at + j] ^ mask) - data[at + j] for start in (first, second)
                  for at in range(start, start + 108, 6) for j, mask in enumerate(polynomial)) // 2
    far = (adler - zlib.adler32(data)) & 0xFFFF
    far -= typical + (65521 if far > 32768 else 0)
    for at in range(700, 3100):
        data[at] += far * (at - 699) // 2400 - far * (at - 700) // 2400
    start = zlib.crc32(data)
    rows = []  # what each of the last 32 bits changes, each with a top bit of its own
    for bit in range(32):
        changed = bytearray(data)
        changed[-4 + bit // 8] ^= 1 << bit % 8
        row = (zlib.crc32(changed) ^ start, 1 << bit)
        for other in rows:
            row = min(row, (row[0] ^ other[0], row[1] ^ other[1]))
        rows.append(row)
    rest, chosen = start ^ crc, 0
    for row in sorted(rows, reverse=True):
        if rest ^ row[0] < rest:
            rest, chosen = rest ^ row[0], chosen ^ row[1]
    assert rest == 0
    data[-4:] = (int.from_bytes(data[-4:], "little") ^ chosen).to_bytes(4, "little")
    modulus, size = 65521, len(data)

    def sums(first):
        reached = [(0, 0, 0)]
        for i in range(18):
            at = first + 6 * i
            a = b = 0
            for j, mask in enumerate(polynomial):
                change = (data[at + j] ^ mask) - data[at + j]
                a += change
                b += change * (size - at - j)
            reached += [((x + a) % modulus, (y + b) % modulus, z | 1 << i) for x, y, z in reached]
        return reached
    now = zlib.adler32(data)
    missing = ((adler & 0xFFFF) - (now & 0xFFFF), (adler >> 16) - (now >> 16))
    table = {((missing[0] - x) % modulus, (missing[1] - y) % modulus): z for x, y, z in sums(first)}
    for x, y, z in sums(second):
        if (x, y) in table:
            for at, places in ((first, table[x, y]), (second, z)):
                for i in range(18):
                    if places >> i & 1:
                        for j, mask in enumerate(polynomial):
                            data[at + 6 * i + j] ^= mask
            return bytes(data)
    raise AssertionError("no choice fits")


def icc_segment(part, number=1, count=1):
    content = b"ICC_PROFILE\0" + bytes([number, count]) + part
    return b"\xFF\xE2" + struct.pack(">H", len(content) + 2) + content


class PngTest(ToolCase):
    def chunks(self, name):
        data, found, at = self.read(name), {}, 8
        while at < len(data):
            size = struct.unpack_from(">I", data, at)[0]
            found[data[at + 4:at + 8]] = data[at + 8:at + 8 + size]
            at += 12 + size
        return found

    def profile_of(self, name):
        content = self.chunks(name).get(b"iCCP")
        return content and zlib.decompress(content[content.index(b"\0") + 2:])

    def jpeg(self, name, *parts, options=()):
        self.run_tool("in.ppm", "plain.jpg", *options)
        data = self.read("plain.jpg")
        self.write(name, data[:20] + b"".join(parts) + data[20:])

    def test_the_usual_profile_of_srgb(self):
        # Of 3144 bytes, with wrong fields that nobody minds: PNG libraries know it by these sums and warn.
        usual = with_checksum(profile(3144, intent=1), 0x0398F3FC, 0xF29E526D)
        self.jpeg("a.jpg", icc_segment(usual))
        self.run_tool("a.jpg", "a.jp2")
        for name in ("a.jpg", "a.jp2"):
            self.assertEqual(self.run_tool(name, "a.png"), "")
            self.assertEqual(self.profile_of("a.png"), usual)
            self.run_tool("a.png", "b.jpg")
            self.assertIn((0xE2, icc_segment(usual)[4:]), segments(self.path("b.jpg")))

    def test_profiles_that_fit_are_kept(self):
        odd = bytearray(profile(600))
        struct.pack_into(">I", odd, 128, 2)  # two tags that overlap, the later one first, at odd places
        struct.pack_into(">4sII4sII", odd, 132, b"desc", 301, 99, b"cprt", 157, 300)
        for name, data, kept in (("odd", bytes(odd), bytes(odd)),
                                 ("padded", profile(400) + b"\0\0", profile(400)),
                                 ("scanner", profile(333, kind=b"scnr"), profile(333, kind=b"scnr"))):
            with self.subTest(name):
                self.jpeg("a.jpg", icc_segment(data))
                self.assertEqual(self.run_tool("a.jpg", "a.png"), "")
                self.assertEqual(self.profile_of("a.png"), kept)
        parts = profile(3000)
        self.jpeg("a.jpg", icc_segment(parts[1000:2000], 2, 3), icc_segment(parts[2000:], 3, 3),
                  icc_segment(parts[:1000], 1, 3))
        self.assertEqual(self.run_tool("a.jpg", "a.png"), "")
        self.assertEqual(self.profile_of("a.png"), parts)

    def test_profiles_that_do_not_fit_are_dropped(self):
        broken = bytearray(profile(400))
        struct.pack_into(">I", broken, 136, 399)
        unsigned = bytearray(profile(400))
        unsigned[36:40] = b"ascp"
        long = bytearray(profile(400))
        struct.pack_into(">I", long, 0, 401)
        cases = [("grey", profile(400), ["--grey"], "picture is grey"),
                 ("colours", profile(400, b"GRAY"), [], "picture is RGB"),
                 ("inks", profile(400, b"CMYK"), [], "CMYK"), ("short", b"x" * 100, [], "complete"),
                 ("signature", bytes(unsigned), [], "signature"), ("long", bytes(long), [], "complete"),
                 ("tags", bytes(broken), [], "outside"), ("link", profile(400, kind=b"link"), [], "kind"),
                 ("control", profile(400, b"\x1b[2J"), [], r"\x1B[2J")]
        for name, data, options, text in cases:
            with self.subTest(name):
                self.jpeg("a.jpg", icc_segment(data), options=options)
                message = self.run_tool("a.jpg", "a.png")
                self.assertIn("note: ", message)
                self.assertIn(text, message)
                self.assertIsNone(self.profile_of("a.png"))
                self.run_tool("a.png", "back.ppm")
                self.run_tool("a.jpg", "want.ppm")
                self.assertEqual(self.read("back.ppm"), self.read("want.ppm"))

    def test_xmp_and_resolution(self):
        packet = b"<x:xmpmeta xmlns:x='adobe:ns:meta/'>" + bytes(range(32, 127)) * 3
        xmp = b"http://ns.adobe.com/xap/1.0/\0" + packet
        self.jpeg("a.jpg", b"\xFF\xE1" + struct.pack(">H", len(xmp) + 2) + xmp)
        data = bytearray(self.read("a.jpg"))
        data[13:18] = struct.pack(">BHH", 1, 300, 150)  # pixels an inch
        self.write("a.jpg", data)
        self.assertEqual(self.run_tool("a.jpg", "a.png"), "")
        self.assertEqual(self.chunks("a.png")[b"iTXt"], b"XML:com.adobe.xmp\0\0\0\0\0" + packet)
        self.assertEqual(self.chunks("a.png")[b"pHYs"], struct.pack(">IIB", 11811, 5906, 1))
        self.assertEqual(self.run_tool("a.png", "b.jpg"), "")
        self.assertIn((0xE1, xmp), segments(self.path("b.jpg")))
        self.assertEqual(self.read("b.jpg")[13:18], data[13:18])
        self.run_tool("a.png", "n.png", "--no-metadata")
        self.assertNotIn(b"iTXt", self.chunks("n.png"))
        self.assertEqual(self.run_tool("a.png", "a.ppm"), "zepconvert: a.png: note: this kind of file has "
                         "no place for some metadata: XMP, the resolution\n")
        # Other texts, and packets that are packed, are not for us.
        png = self.read("n.png")
        for text in (b"Title\0\0\0\0\0" + packet,
                     b"XML:com.adobe.xmp\0\1\0\0\0" + zlib.compress(packet)):
            self.write("t.png", png[:33] + chunk(b"iTXt", text) + png[33:])
            self.assertEqual(self.run_tool("t.png", "t2.png"), "")
            self.assertNotIn(b"iTXt", self.chunks("t2.png"))

    def test_a_damaged_profile_of_a_png_file(self):
        self.run_tool("in.ppm", "a.png")
        data = self.read("a.png")
        bad = chunk(b"iCCP", b"x\0\0" + zlib.compress(bytes(400)))
        self.write("b.png", data[:33] + bad + data[33:])
        self.assertIn("note: the colour profile was dropped", self.run_tool("b.png", "b.ppm"))
        self.assertEqual(self.read("b.ppm"), self.read("in.ppm"))

    def peak(self, *arguments, code=0):
        """Seconds and megabytes."""
        process = subprocess.Popen([TOOL, "--force", *arguments], cwd=self.directory, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, code)
        return usage.ru_utime, usage.ru_maxrss / 1024

    def narrow(self, height, interlaced):
        rows = bytes(2 * height + 16 if interlaced else 2 * height)
        head = struct.pack(">IIBBBBB", 1, height, 8, 0, 0, 0, interlaced)
        self.write("n.png", b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) +
                   chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))

    @unittest.skipIf(IS_SANITIZED, "takes other memory and time")
    def test_a_picture_one_pixel_wide(self):
        base = self.peak("--version")[1]
        height = 5000000
        for interlaced in (0, 1):
            self.narrow(height, interlaced)
            seconds, megabytes = self.peak("n.png", "n.pgm")
            self.assertEqual(self.read("n.pgm"), b"P5\n1 %d\n255\n" % height + bytes(height))
            self.assertLess(megabytes - base, 3 * height / 1e6)  # picture and result, and some room
            self.assertLess(seconds, 8)
        # As many rows as deflate can make of the file, and no more: each has a byte for its filter.
        self.write("more.png", self.read("n.png").replace(
            struct.pack(">II", 1, height), struct.pack(">II", 1, 3 * height)))
        data = bytearray(self.read("more.png"))
        data[29:33] = struct.pack(">I", zlib.crc32(data[12:29]))
        self.write("more.png", data)
        self.assertIn("too small", self.run_tool("more.png", "n.pgm", code=1))

    @unittest.skipIf(IS_SANITIZED, "takes other memory and time")
    def test_texts_that_unpack_to_much(self):
        self.run_tool("in.ppm", "a.png")
        data = self.read("a.png")
        texts = b"".join(chunk(name, b"x\0" + more + zlib.compress(bytes(7900000), 9))
                         for name, more in ((b"zTXt", b"\0"), (b"iTXt", b"\1\0\0\0")))
        self.write("t.png", data[:33] + 60 * texts + data[33:])
        seconds, megabytes = self.peak("t.png", "t.ppm")
        self.assertEqual(self.read("t.ppm"), self.read("in.ppm"))
        self.assertLess(megabytes, 60)
        self.assertLess(seconds, 2)

    def test_every_decoder_stays_within_its_memory(self):
        """Files of 1.5 million pixels, in the memory that the program needs, and 16 bytes a pixel."""
        if IS_SANITIZED:
            self.skipTest("reserves more address space than there is memory")
        width, height = 1500, 1000
        row = picture(width, 1, 3)
        self.write("a.ppm", pnm(width, height, 3, row * height))

        def works(megabytes, *arguments):
            limit = int(megabytes * 2 ** 20)
            return subprocess.run([TOOL, "--force", "-j", "1", *arguments], cwd=self.directory, check=False,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                  preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
                                  ).returncode == 0
        least = next(size for size in range(8, 400, 4) if works(size, "--version"))
        for output in ("png", "tif", "dds", "pam"):
            self.run_tool("a.ppm", "a." + output)
            with self.subTest(output):
                self.assertTrue(works(least + 2 + 16 * 1.5, "a." + output, "b.ppm"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
