#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the first inputs of each fuzz target: standard tables with plain data, and small files."""
import pathlib
import random

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


def main():
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
