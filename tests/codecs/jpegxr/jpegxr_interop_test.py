#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The JPEG XR codec beside Debian's JxrEncApp and JxrDecApp: what they write decodes here to the samples that
they decode, and what is written here they decode to the original, or to what is decoded here.

    jpegxr_interop_test.py TOOL
"""

import functools
import itertools
import random
import re
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

failures = []
checks = 0

U8, U16, S16, S32, F16, F32 = range(6)
BYTES = {U8: 1, U16: 2, S16: 2, S32: 4, F16: 2, F32: 4}
# The formats' numbers on their command lines, by type and channels.
FORMATS = {(U8, 1): 2, (U8, 3): 9, (U16, 1): 3, (U16, 3): 10, (S16, 1): 4, (S16, 3): 11,
           (S32, 1): 7, (S32, 3): 14, (F16, 1): 5, (F16, 3): 12, (F32, 1): 8,
           (U8, 4): 22, (U16, 4): 23}


class Picture:
    def __init__(self, width, height, channels, kind, samples):
        self.width, self.height, self.channels, self.kind = width, height, channels, kind
        self.samples = samples  # bytes, wide samples lower byte first

    def name(self):
        return f"{self.width}x{self.height} channels {self.channels} type {self.kind}"


@functools.lru_cache(maxsize=None)
def make_picture(width, height, channels, kind, texture, seed):
    """Soft shapes with some noise; or noise; or flat."""
    rng = random.Random(seed)
    most = {U8: 255, U16: 65535, S16: 32767, S32: 1 << 20, F16: 1, F32: 1}[kind]
    values = []
    for y in range(height):
        for x in range(width):
            for c in range(channels):
                if texture == "noise":
                    v = rng.random()
                elif texture == "flat":
                    v = 0.25 + 0.25 * c
                else:
                    v = (x * (c + 1) / 61 + y / 47) % 1 * 0.8 + 0.1 * ((x // 9 + y // 7) % 2)
                    v += rng.random() * 0.06
                values.append(v)
    if kind in (F16, F32):
        code = "e" if kind == F16 else "f"
        return Picture(width, height, channels, kind, struct.pack(f"<{len(values)}{code}", *values))
    low = -most if kind in (S16, S32) else 0
    ints = [min(most, max(low, int(low + v * (most - low)))) for v in values]
    code = {U8: "B", U16: "H", S16: "h", S32: "i"}[kind]
    return Picture(width, height, channels, kind, struct.pack(f"<{len(ints)}{code}", *ints))


def write_tiff(path, picture):
    bits = 8 * BYTES[picture.kind]
    sample_format = {U8: 1, U16: 1, S16: 2, S32: 2, F16: 3, F32: 3}[picture.kind]
    n = picture.channels
    extra = 8 + 2 + 12 * 12 + 4
    entries = [(256, 4, 1, picture.width), (257, 4, 1, picture.height),
               (258, 3, n, bits if n == 1 else extra), (259, 3, 1, 1),
               (262, 3, 1, 1 if n == 1 else 2), (273, 4, 1, extra + 16 + 16), (277, 3, 1, n),
               (278, 4, 1, picture.height), (279, 4, 1, len(picture.samples)), (284, 3, 1, 1)]
    if n == 4:
        entries.append((338, 3, 1, 2))
    entries.append((339, 3, n, sample_format if n == 1 else extra + 16))
    data = b"II*\0" + struct.pack("<I", 8) + struct.pack("<H", len(entries))
    for tag, kind, count, value in entries:
        data += struct.pack("<HHII", tag, kind, count, value)
    data += struct.pack("<I", 0)
    data = data.ljust(extra, b"\0")
    data += struct.pack("<4H", *[bits] * 4).ljust(16, b"\0")
    data += struct.pack("<4H", *[sample_format] * 4).ljust(16, b"\0")
    path.write_bytes(data + picture.samples)


def read_tiff(path):
    data = path.read_bytes()
    (directory,) = struct.unpack_from("<I", data, 4)
    (count,) = struct.unpack_from("<H", data, directory)
    tags = {}
    for i in range(count):
        tag, kind, number, value = struct.unpack_from("<HHII", data, directory + 2 + 12 * i)
        if kind == 3 and number == 1:
            value &= 0xFFFF
        tags[tag] = (number, value)
    number, start = tags[273]
    _, size = tags[279]
    if number == 1:
        return data[start:start + size]
    starts = struct.unpack_from(f"<{number}I", data, start)
    sizes = struct.unpack_from(f"<{number}I", data, size)
    return b"".join(data[a:a + b] for a, b in zip(starts, sizes))


def write_bmp(path, picture):
    """Four channels, blue first, lowest row first."""
    w, h = picture.width, picture.height
    rows = [picture.samples[4 * w * y:4 * w * (y + 1)] for y in reversed(range(h))]
    pixels = bytearray(b"".join(rows))
    pixels[0::4], pixels[2::4] = pixels[2::4], pixels[0::4]
    path.write_bytes(b"BM" + struct.pack("<IHHI", 54 + len(pixels), 0, 0, 54) +
                     struct.pack("<IiiHHIIiiII", 40, w, h, 1, 32, 0, len(pixels), 0, 0, 0, 0) + pixels)


def read_bmp(path):
    data = path.read_bytes()
    (start,) = struct.unpack_from("<I", data, 10)
    w, h = struct.unpack_from("<ii", data, 18)
    pixels = bytearray(data[start:start + 4 * w * abs(h)])
    pixels[0::4], pixels[2::4] = pixels[2::4], pixels[0::4]
    rows = [bytes(pixels[4 * w * y:4 * w * (y + 1)]) for y in range(abs(h))]
    return b"".join(reversed(rows) if h > 0 else rows)


def run(*command):
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True,
                          check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))}: {done.stdout} {done.stderr}")
    return done.stdout


def expect(condition, what):
    global checks
    checks += 1
    if not condition:
        failures.append(what)
        print("FAILED", what, flush=True)


def first_difference(a, b):
    if len(a) != len(b):
        return f"{len(a)} bytes, not {len(b)}"
    i = next(i for i in range(len(a)) if a[i] != b[i])
    return f"byte {i}: {a[i]}, not {b[i]}; {sum(x != y for x, y in zip(a, b))} differ"


def make_old(file):
    """Turns the codestreams of a file into ones of sub-version 0, whose overlap filters are others."""
    data = bytearray(file.read_bytes())
    for signature in re.finditer(b"WMPHOTO\0", bytes(data)):
        data[signature.end()] &= 0xF0
    file.write_bytes(data)


class Tool:
    """One process for all commands, which takes a fraction of the time of one for each."""

    def __init__(self, program):
        self.process = subprocess.Popen([program, "serve"], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)

    def run(self, *words):
        """The output of a command."""
        command = " ".join(map(str, words))
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        output = []
        for line in self.process.stdout:
            if line.startswith("end "):
                if line != "end 0\n":
                    raise RuntimeError(f"{command}: {line}")
                return "".join(output)
            output.append(line)
        raise SystemExit(f"{command}: the program ended with {self.process.wait()}")

    def close(self):
        self.process.stdin.close()
        return self.process.wait()


class Bench:
    def __init__(self, tool, directory):
        self.tool, self.directory = tool, Path(directory)

    def path(self, name):
        return self.directory / name

    @staticmethod
    def format_of(picture):
        """What their tools read and write: of four channels of 8 bits BMP alone."""
        is_bmp = (picture.kind, picture.channels) == (U8, 4)
        return ("bmp", write_bmp, read_bmp) if is_bmp else ("tif", write_tiff, read_tiff)

    def their_encode(self, picture, file, *options):
        suffix, write, _ = self.format_of(picture)
        source = self.path(f"in.{suffix}")
        write(source, picture)
        run("JxrEncApp", "-i", source, "-o", file, "-c", FORMATS[picture.kind, picture.channels],
            *options)

    def their_decode(self, file, picture):
        suffix, _, read = self.format_of(picture)
        out = self.path(f"theirs.{suffix}")
        out.unlink(missing_ok=True)
        run("JxrDecApp", "-i", file, "-o", out, "-c", FORMATS[picture.kind, picture.channels])
        return read(out)

    def our_encode(self, picture, file, settings):
        source = self.path("in.raw")
        source.write_bytes(picture.samples)
        self.tool.run("encode", source, file, f"size={picture.width}x{picture.height}",
                      f"channels={picture.channels}", f"type={picture.kind}", "threads=1",
                      *[f"{key}={value}" for key, value in settings.items()])

    def our_decode(self, file):
        """In strips, and as a whole on several threads."""
        results = []
        for threads in (1, 3):
            out = self.path("ours.raw")
            text = self.tool.run("decode", file, out, f"threads={threads}")
            if "message" in text:
                raise RuntimeError(text)
            results.append(out.read_bytes())
        if results[0] != results[1]:
            raise RuntimeError("threads: " + first_difference(*results))
        return results[0]

    def expect_same(self, file, picture, what):
        """Both decode; returns what is decoded here."""
        want, got = self.their_decode(file, picture), self.our_decode(file)
        expect(got == want, what + (": " + first_difference(got, want) if got != want else ""))
        return got

    def theirs(self, picture, *options, is_old=False):
        """They encode; both decode."""
        what = f"theirs: {picture.name()} {' '.join(map(str, options))} {'old' if is_old else ''}"
        try:
            file = self.path("theirs.jxr")
            self.their_encode(picture, file, *options)
            if is_old:
                make_old(file)
            self.expect_same(file, picture, what)
        except RuntimeError as error:
            expect(False, f"{what}: {error}")

    def ours(self, picture, **settings):
        """We encode; both decode."""
        what = f"ours: {picture.name()} {settings}"
        try:
            file = self.path("ours.jxr")
            self.our_encode(picture, file, settings)
            got = self.expect_same(file, picture, what)
            is_lossless = not set(settings) & {"quantizer", "quality", "trim", "bands", "shift"}
            if is_lossless and settings.get("color", 3) == 3 and picture.kind != F32:
                expect(got == picture.samples, what + ": not lossless")
        except RuntimeError as error:
            expect(False, f"{what}: {error}")

    def ours_old(self, picture, **settings):
        what = f"ours, old: {picture.name()} {settings}"
        try:
            file = self.path("ours.jxr")
            self.our_encode(picture, file, settings)
            make_old(file)
            self.expect_same(file, picture, what)
        except RuntimeError as error:
            expect(False, f"{what}: {error}")


def check_theirs(bench):
    sizes = [(1, 1), (16, 16), (17, 33), (50, 35), (100, 9), (130, 70)]
    for (w, h), channels, overlap in itertools.product(sizes, (1, 3), (0, 1, 2)):
        picture = make_picture(w, h, channels, U8, "soft", w + h)
        bench.theirs(picture, "-q", 1, "-l", overlap)
        bench.theirs(picture, "-q", 40, "-l", overlap, "-f")
    for color, overlap, quantizer in itertools.product((1, 2), (0, 1, 2), (1, 30, 90)):
        for w, h in ((64, 48), (50, 35), (33, 100)):
            picture = make_picture(w, h, 3, U8, "soft", w)
            bench.theirs(picture, "-q", quantizer, "-l", overlap, "-d", color)
    for texture, bands, trim in itertools.product(("noise", "flat", "soft"), (0, 1, 2, 3), (0, 3)):
        picture = make_picture(60, 60, 3, U8, texture, 3)
        for extra in ([], ["-f"]):
            bench.theirs(picture, "-q", 20, "-s", bands, "-F", trim, *extra)
    for tiles, overlap, extra in itertools.product(([2, 2], [3, 1], [1, 4]), (0, 1, 2), ([], ["-f"])):
        picture = make_picture(150, 140, 3, U8, "soft", 4)
        for color in (1, 2, 3):
            bench.theirs(picture, "-q", 30, "-l", overlap, "-U", *tiles, "-d", color, *extra)
    for kind, channels in ((U16, 1), (U16, 3), (S16, 1), (S16, 3), (S32, 1), (S32, 3),
                           (F16, 1), (F16, 3), (F32, 1)):
        picture = make_picture(70, 40, channels, kind, "soft", 5)
        for overlap, quantizer in itertools.product((0, 1, 2), (1, 60, 120)):
            bench.theirs(picture, "-q", quantizer, "-l", overlap)
    for kind, alpha, quantizer in itertools.product((U8, U16), (2, 3), (1, 50)):
        picture = make_picture(70, 40, 4, kind, "soft", 6)
        bench.theirs(picture, "-a", alpha, "-q", quantizer, "-Q", quantizer)


def read_words(path, form):
    """The 2304 pixels of a BMP file of 48 x 48, highest row first."""
    data = path.read_bytes()
    (start,) = struct.unpack_from("<I", data, 10)
    words = struct.unpack_from(f"<2304{form}", data, start)
    return [word for y in reversed(range(48)) for word in words[48 * y:48 * (y + 1)]]


def check_words(bench):
    """Pixels in words: the kind of samples is changed in files of 8 bits, as JxrEncApp reads no such pixels."""
    picture = make_picture(48, 48, 3, U8, "soft", 7)
    file, bmp = bench.path("words.jxr"), bench.path("words.bmp")
    for (number, guid, form, bits), flag, quantizer, color in itertools.product(
            ((8, 9, "H", (5, 5, 5)), (10, 10, "H", (5, 6, 5)), (9, 20, "I", (10, 10, 10))), (0, 4), (1, 10, 80),
            (1, 3)):
        what = f"words: {bits} flag {flag} quantizer {quantizer} color {color}"
        bench.their_encode(picture, file, "-q", quantizer, "-d", color)
        data = bytearray(file.read_bytes())
        start = data.index(b"WMPHOTO")
        data[start + 10] |= flag
        data[start + 11] = 0x70 | number
        data[data.index(bytes.fromhex("24c3dd6f034efe4bb1853d77768d")) + 15] = guid
        file.write_bytes(data)
        run("JxrDecApp", "-i", file, "-o", bmp, "-c", {8: 29, 10: 30, 9: 31}[number])
        want = []
        for word in read_words(bmp, form):
            for place, width in ((bits[1] + bits[2], bits[0]), (bits[2], bits[1]), (0, bits[2])):
                most = (1 << width) - 1
                value = word >> place & most
                want.append(value if width == 10 else (value * 510 + most) // (2 * most))
        got = bench.our_decode(file)
        expect(list(struct.unpack(f"<{len(want)}{'H' if number == 9 else 'B'}", got)) == want, what)


def check_shared_exponents(bench):
    rng = random.Random(8)
    size = "-Y 35 +X 50\n"
    pixels = bytes(rng.choice((0, 1, 130 + x % 50 + y % 9)) if c < 3 else 120 + (x + y) // 9
                   for y in range(35) for x in range(50) for c in range(4))
    source, file, out = bench.path("in.hdr"), bench.path("theirs.jxr"), bench.path("theirs.hdr")
    source.write_bytes(b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n" + size.encode() + pixels)
    for overlap, quantizer in itertools.product((0, 1, 2), (1, 2, 10, 40, 80)):
        run("JxrEncApp", "-i", source, "-o", file, "-c", 16, "-l", overlap, "-q", quantizer)
        run("JxrDecApp", "-i", file, "-o", out, "-c", 16)
        theirs = out.read_bytes().split(size.encode(), 1)[1]
        want = [theirs[i + c] * 2.0 ** (theirs[i + 3] - 136) for i in range(0, len(theirs), 4) for c in range(3)]
        got = bench.our_decode(file)
        expect(list(struct.unpack(f"<{len(want)}f", got)) == want,
               f"shared exponents: overlap {overlap} quantizer {quantizer}")


def check_ours(bench):
    sizes = [(1, 1), (16, 16), (17, 33), (50, 35), (100, 9), (130, 70)]
    for (w, h), channels, overlap in itertools.product(sizes, (1, 3), (0, 1, 2)):
        picture = make_picture(w, h, channels, U8, "soft", w + h)
        bench.ours(picture, overlap=overlap)
        bench.ours(picture, overlap=overlap, quantizer=40, frequency=1)
    for color, overlap in itertools.product((1, 2), (0, 1, 2)):
        for w, h in ((64, 48), (50, 35), (33, 100)):
            picture = make_picture(w, h, 3, U8, "soft", w)
            bench.ours(picture, overlap=overlap, color=color)
            bench.ours(picture, overlap=overlap, color=color, quantizer=50)
    for (w, h), color, overlap in itertools.product(((16, 40), (9, 9), (32, 16), (200, 5)), (1, 2), (0, 1, 2)):
        bench.ours(make_picture(w, h, 3, U8, "soft", 1), overlap=overlap, color=color, quantizer=20)
    for kind, quantizer in itertools.product((U8, U16, S16), (2, 15, 16, 31, 32, 47, 48, 100, 255)):
        picture = make_picture(64, 64, 3, kind, "noise", 1)
        bench.theirs(picture, "-q", quantizer)
        bench.ours(picture, quantizer=quantizer)
    for texture, bands, trim in itertools.product(("noise", "flat", "soft"), (0, 1, 2, 3), (0, 3)):
        picture = make_picture(60, 60, 3, U8, texture, 3)
        for frequency in (0, 1):
            bench.ours(picture, quantizer=20, bands=bands, trim=trim, frequency=frequency)
    for tiles, overlap, frequency in itertools.product(("64x64", "32x160", "160x16"), (0, 1, 2), (0, 1)):
        picture = make_picture(150, 140, 3, U8, "soft", 4)
        for color in (1, 2, 3):
            bench.ours(picture, quantizer=30, overlap=overlap, tiles=tiles, color=color,
                       frequency=frequency)
        bench.ours(picture, overlap=overlap, tiles=tiles, frequency=frequency)
    for overlap, color in itertools.product((1, 2), (1, 2, 3)):
        # As wide as high: JxrDecApp takes the columns of hard tiles for their rows.
        picture = make_picture(150, 150, 3, U8, "soft", 4)
        bench.ours(picture, overlap=overlap, tiles="64x64", hard=1, color=color)
    for kind, channels in ((U16, 1), (U16, 3), (S16, 1), (S16, 3), (S32, 1), (S32, 3),
                           (F16, 1), (F16, 3), (F32, 1)):
        picture = make_picture(70, 40, channels, kind, "soft", 5)
        for overlap in (0, 1, 2):
            bench.ours(picture, overlap=overlap)
            bench.ours(picture, overlap=overlap, quantizer=60)
            bench.ours(picture, overlap=overlap, quality=30)
        if kind != F32:
            bench.ours(picture, shift=3)


def check_old_filters(bench):
    """Without high-pass bands, and with quantizers above 20, what leaks through these filters is taken back."""
    sizes = [(1, 1), (16, 40), (17, 33), (50, 35), (100, 9), (130, 70)]
    for (w, h), channels, overlap in itertools.product(sizes, (1, 3), (1, 2)):
        picture = make_picture(w, h, channels, U8, "soft", w + h)
        bench.ours_old(picture, overlap=overlap)
        bench.ours_old(picture, overlap=overlap, quantizer=40, frequency=1)
    for color, overlap, quantizer in itertools.product((1, 2), (1, 2), (1, 30, 90)):
        for w, h in ((64, 48), (50, 35), (17, 9), (33, 100)):
            picture = make_picture(w, h, 3, U8, "soft", w)
            bench.theirs(picture, "-q", quantizer, "-l", overlap, "-d", color, is_old=True)
    for texture, bands, overlap in itertools.product(("noise", "flat", "soft"), (0, 1, 2, 3), (1, 2)):
        picture = make_picture(60, 60, 3, U8, texture, 3)
        bench.ours_old(picture, quantizer=20, bands=bands, overlap=overlap, trim=overlap - 1)
    for tiles, overlap, color in itertools.product(([2, 2], [3, 1], [1, 4]), (1, 2), (1, 2, 3)):
        picture = make_picture(150, 140, 3, U8, "soft", 4)
        bench.theirs(picture, "-q", 60, "-l", overlap, "-U", *tiles, "-d", color, is_old=True)
    for kind, channels in ((U16, 1), (U16, 3), (S16, 1), (S16, 3), (S32, 1), (S32, 3),
                           (F16, 1), (F16, 3), (F32, 1)):
        picture = make_picture(70, 40, channels, kind, "soft", 5)
        for overlap, quantizer in itertools.product((1, 2), (1, 52, 53, 60, 120)):
            bench.theirs(picture, "-q", quantizer, "-l", overlap, is_old=True)
    for kind, alpha, overlap in itertools.product((U8, U16), (2, 3), (1, 2)):
        picture = make_picture(70, 40, 4, kind, "soft", 6)
        bench.theirs(picture, "-a", alpha, "-q", 30, "-Q", 70, "-l", overlap, is_old=True)


def long_value(value):
    return 4, 1, struct.pack("<I", value)


def short_value(value):
    return 3, 1, struct.pack("<HH", value, 0xABCD)


def make_container(codestream, changes=(), tags=None, more=0, version=1, next_directory=0):
    """A file whose directory has these changes, its entries in the order of `tags`."""
    pixel_format = bytes.fromhex("24c3dd6f034efe4bb1853d77768dc90d")
    tags = tags or [0xBC01, 0xBC80, 0xBC81, 0xBCC0, 0xBCC1] + [tag for tag in dict(changes) if tag < 0xBC00]
    start = 8 + 2 + 12 * len(tags) + 4
    entries = {0xBC01: (1, 16, struct.pack("<I", start)), 0xBC80: long_value(64),
               0xBC81: long_value(48), 0xBCC0: long_value(start + 16),
               0xBCC1: long_value(len(codestream)), **dict(changes)}
    directory = struct.pack("<H", len(tags) + more)
    for tag in tags:
        kind, count, value = entries[tag]
        directory += struct.pack("<HHI", tag, kind, count) + value
    return (b"II\xBC" + bytes([version]) + struct.pack("<I", 8) + directory +
            struct.pack("<I", next_directory) + pixel_format + codestream)


def move_directory(file, padding):
    """To the end of the file, at an odd place with one byte of padding or none."""
    directory = file[8:8 + 2 + 12 * 5 + 4]
    start = 4 * ((len(file) + 3) // 4) + padding
    return file[:4] + struct.pack("<I", start) + file[8:].ljust(start - 8, b"\0") + directory


def check_containers(bench):
    """Directories as other programs write them, or should not."""
    picture = make_picture(64, 48, 3, U8, "soft", 1)
    file = bench.path("container.jxr")
    bench.our_encode(picture, file, {})
    whole = file.read_bytes()
    codestream = whole[whole.index(b"WMPHOTO\0"):]
    size = len(codestream)
    backwards = [0xBCC1, 0xBCC0, 0xBC81, 0xBC80, 0xBC01]
    plain = make_container(codestream)
    cases = {"plain": plain, "older": make_container(codestream, version=0),
             "size 0": make_container(codestream, [(0xBCC1, long_value(0))]),
             "half the size": make_container(codestream, [(0xBCC1, long_value(size // 2))]),
             "no size": make_container(codestream, tags=[0xBC01, 0xBC80, 0xBC81, 0xBCC0]),
             "short sizes": make_container(codestream, [(0xBC80, short_value(64)), (0xBC81, short_value(48))]),
             "backwards": make_container(codestream, tags=backwards),
             "wrong width": make_container(codestream, [(0xBC80, long_value(9999))]),
             "a ring": make_container(codestream, next_directory=8),
             "directory at the end": move_directory(plain, 0),
             "directory at an odd place": move_directory(plain, 1),
             "other tags": make_container(codestream, [(0x010E, (2, 4, b"abc\0")), (0x8773, long_value(3))]),
             "unknown type": make_container(codestream, [(0xBCC1, (13, 1, struct.pack("<I", size)))]),
             "too many entries": make_container(codestream, more=1)}
    for name, data in cases.items():
        try:
            file.write_bytes(data)
            got = bench.expect_same(file, picture, f"container: {name}")
            expect(got == picture.samples, f"container: {name}: not the picture")
        except RuntimeError as error:
            expect(False, f"container: {name}: {error}")


def main():
    with tempfile.TemporaryDirectory() as directory:
        tool = Tool(sys.argv[1])
        bench = Bench(tool, directory)
        check_theirs(bench)
        check_words(bench)
        check_shared_exponents(bench)
        check_ours(bench)
        check_old_filters(bench)
        check_containers(bench)
        expect(tool.close() == 0, "the program ends")
    print(f"{checks} comparisons, {len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
