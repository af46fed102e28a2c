#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the first inputs of each fuzz target: standard tables with plain data, and small files."""
import pathlib
import random
import struct

HERE = pathlib.Path(__file__).parent / "corpus"
DC = bytes([0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0]) + bytes(range(12)).ljust(64, b"\0")
AC = bytes([0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 20]) + bytes(
    [0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61, 0x07,
     0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52, 0xd1, 0xf0,
     0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25, 0x26, 0x27, 0x28,
     0x29, 0x2a, 0x34, 0x35]).ljust(64, b"\0")


def write(target, name, data):
    (HERE / target).mkdir(parents=True, exist_ok=True)
    (HERE / target / name).write_bytes(data)


# Values of a field: up to four bytes in the field itself, else appended.
TYPES = {1: "B", 2: "s", 3: "H", 4: "I", 5: "II", 7: "B", 10: "ii", 11: "f"}


class Directory:
    """Fields of a TIFF structure; a value can be another directory."""

    def __init__(self, *fields):
        self.fields = sorted(fields, key=lambda field: field[0])

    def write(self, order, begin):
        """The directory's bytes, at this place of the file."""
        rest_at = begin + 2 + 12 * len(self.fields) + 4
        head, rest = struct.pack(order + "H", len(self.fields)), b""
        for tag, kind, value in self.fields:
            if isinstance(value, Directory):
                packed, count = struct.pack(order + "I", rest_at + len(rest)), 1
                rest += value.write(order, rest_at + len(rest))
            else:
                values = value if isinstance(value, (bytes, list)) else [value]
                count = len(values) // (2 if kind in (5, 10) else 1)
                form = TYPES[kind] * count
                packed = bytes(values) if kind in (1, 2, 7) else struct.pack(order + form, *values)
            if len(packed) > 4:
                place = rest_at + len(rest)
                rest += packed + bytes(len(packed) % 2)
                packed = struct.pack(order + "I", place)
            head += struct.pack(order + "HHI", tag, kind, count) + packed.ljust(4, b"\0")
        return head + bytes(4) + rest


def camera(orientation):
    """Fields that EXIF data have: a maker, an orientation, exposure, a maker note and a place."""
    exif = Directory((33434, 5, [1, 250]), (37380, 10, [-1, 3]), (37500, 7, b"note " * 3),
                     (40965, 4, Directory((1, 2, b"R98\0"))))
    return [(271, 2, b"Maker\0"), (274, 3, orientation), (34665, 4, exif),
            (34853, 4, Directory((1, 2, b"N\0"), (2, 5, [47, 1, 30, 1, 0, 1])))]


def exif(order, orientation):
    mark = b"II" if order == "<" else b"MM"
    return mark + struct.pack(order + "HI", 42, 8) + Directory(*camera(orientation)).write(order, 8)


def profile():
    return struct.pack(">I", 132) + bytes(12) + b"GRAY" + bytes(112)


XMP = b"<x:xmpmeta xmlns:x='adobe:ns:meta/'/>"


def tiff_file(order):
    mark = b"II" if order == "<" else b"MM"
    fields = camera(6) + [
        (256, 3, 4), (257, 3, 2), (258, 3, 8), (259, 3, 1), (262, 3, 1), (273, 4, 8), (277, 3, 1),
        (278, 3, 2), (279, 4, 8), (282, 5, [300, 1]), (283, 5, [301, 2]), (296, 3, 3),
        (700, 1, XMP), (34675, 7, profile())]
    head = mark + struct.pack(order + "HI", 42, 16) + bytes(range(8))
    return head + Directory(*fields).write(order, 16)


def jpegxr_file(plain):
    """The same codestream with metadata in the file's directory."""
    start = struct.unpack_from("<I", plain, plain.index(b"\xc0\xbc\x04\0") + 8)[0]
    codestream = plain[start:]
    fields = [field for field in camera(1) if field[0] != 274] + [
        (700, 1, XMP), (34675, 7, profile()), (0xBC02, 4, 5), (0xBC82, 11, 300.5), (0xBC83, 11, 96)]

    def head(begin):
        sizes = [(0xBCC0, 4, begin), (0xBCC1, 4, len(codestream))]
        return b"II\xbc\1" + struct.pack("<I", 8) + Directory(*fields, *sizes).write("<", 8)
    return head(len(head(0))) + codestream


def box(name, content):
    return struct.pack(">I", len(content) + 8) + name + content


def jp2_file(plain):
    """The same picture with a resolution in its header, and metadata before and after it."""
    at = plain.index(b"jp2h") - 4
    size = struct.unpack_from(">I", plain, at)[0]
    capture = box(b"resc", struct.pack(">HHHHbb", 300, 127, 500, 127, 2, 1))
    header = box(b"jp2h", plain[at + 8:at + size] + box(b"res ", capture))
    xmp = box(b"uuid", bytes.fromhex("BE7ACFCB97A942E89C71999491E3AFAC") + XMP)
    exif_box = box(b"uuid", b"JpgTiffExif->JP2" + exif(">", 8))
    return plain[:at] + header + xmp + plain[at + size:] + exif_box


def segment(marker, content):
    return bytes([0xFF, marker]) + struct.pack(">H", len(content) + 2) + content


def jpeg_file(plain):
    icc = profile()
    segments = segment(0xE1, b"Exif\0\0" + exif("<", 6)) + segment(
        0xE1, b"http://ns.adobe.com/xap/1.0/\0" + XMP)
    for i, part in enumerate((icc[:70], icc[70:])):
        segments += segment(0xE2, b"ICC_PROFILE\0" + bytes([i + 1, 2]) + part)
    return plain[:2] + segments + plain[2:]


def write_metadata():
    """Small files with every kind of metadata, for the target of each format and that of all."""
    def plain(name):  # without the options of the target
        return (HERE / "zepcodec_decoder" / name).read_bytes()[6:]
    files = {("tiff_decoder", "metadata"): tiff_file("<"),
             ("tiff_decoder", "metadata-big-endian"): tiff_file(">"),
             ("jpegxr_decoder", "metadata"): jpegxr_file(plain("jxr_grey")),
             ("jpeg2000_decoder", "metadata"): jp2_file(plain("jp2_grey")),
             ("jpeg_decoder", "metadata"): jpeg_file(plain("jpeg_grey")),
             ("ljpeg_decoder", "metadata"): jpeg_file(plain("ljpeg_grey"))}
    for (target, name), data in files.items():
        write(target, name, data)
        turned = bytes([3, 0, 0, 0, 0, 0])  # damage is kept, the orientation applied
        write("zepcodec_decoder", f"{target[:-8]}_{name}", turned + data)
    write("zepcodec_transcode", "jpeg_metadata", bytes([16, 8, 0, 0]) +
          jpeg_file(plain("jpeg_grey")))


def main():
    write_metadata()
    chance = random.Random(1)
    noise = [bytes(chance.randrange(256) for _ in range(n)) for n in (16, 100, 400)]
    write("huffman_tables", "dc", DC)
    write("huffman_tables", "ac", AC)
    write("huffman_tables", "overfull", bytes([3] + [0] * 15))
    for i, data in enumerate(noise):
        write("block_decoder", f"noise{i}", DC + AC + bytes([0]) + data)
        write("block_decoder", f"stuffed{i}", DC + AC + bytes([0]) + data.replace(b"\xff", b"\xff\0"))
        write("block_encoder", f"noise{i}", DC + AC + bytes([200]) + data)
    for kind in range(5):
        for i, data in enumerate(noise):
            coded = data.replace(b"\xff", b"\xff\0")
            write("progressive_decoder", f"kind{kind}noise{i}", AC + bytes([kind, 0, 0, 62, i]) + coded)
        block = bytes(v % 5 for v in noise[0][:128])
        write("progressive_decoder", f"kind{kind}block", AC + bytes([kind, 4]) + block + bytes([0, 62, 1]) + noise[1])
    write("block_decoder", "marker", DC + AC + bytes([0]) + noise[0] + b"\xff\xd9")
    write("block_encoder", "tight", DC + AC + bytes([1]) + noise[1])
    for i, data in enumerate(noise):
        write("vlc_decoder", f"noise{i}", bytes(range(i, i + 40)) + data)
        write("difference_coder", f"noise{i}", DC + DC + bytes([2, 60, 0]) + data)
        write("difference_coder", f"stuffed{i}", DC + DC + bytes([0, 99, 0]) + data.replace(b"\xff", b"\xff\0"))
    write("vlc_decoder", "escapes", bytes(20) + b"\x07" + b"\x01\x02\xff\xff\xfc" * 60)
    write("vlc_decoder", "runs", bytes(20) + b"\x07" + b"\x05\x10\x0f\x11" * 60)
    write("difference_coder", "lone_ff", DC + DC + bytes([0, 17, 0]) + bytes(12) + b"\xff")
    runs = b"".join(bytes([i]) * n for i, n in enumerate((1, 2, 3, 127, 128, 129, 2, 300, 1, 1, 5)))
    write("packbits", "runs", bytes([0, 255, 7]) + runs)
    write("packbits", "mixed", bytes([0, 255, 7]) + runs + noise[2] + runs)
    write("packbits", "packets", bytes([1, 200, 0]) + bytes([3, 1, 2, 3, 4, 128, 250, 9, 0, 7, 130, 5]))
    for kind, name in enumerate(("dxt1", "dxt3", "dxt5", "bc4", "bc5")):
        write("texture_decoder", name, bytes([kind, 16, 6, 0, 1, 3]) + noise[2])
    for kind, name in enumerate(("unsigned", "signed", "bc7")):
        write("bptc", name, bytes([kind, 12, 6, 0]) + noise[2])
    write("bptc", "modes", bytes([2, 31, 3, 1]) + b"".join(
        bytes([1 << mode]) + noise[0][1:] for mode in range(8)))


if __name__ == "__main__":
    main()
