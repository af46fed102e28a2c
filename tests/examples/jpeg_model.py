# SPDX-License-Identifier: MIT
"""A plain reader of baseline JPEG files in one scan (ITU-T T.81), to quantized coefficients."""
import re

# Row and column of each zigzag index: along diagonals, alternately up and down.
ZIGZAG = sorted(((y, x) for y in range(8) for x in range(8)),
                key=lambda p: (p[0] + p[1], p[0] if (p[0] + p[1]) % 2 else p[1]))


def natural(values):
    """Reorders 64 values from zigzag order to row by row."""
    out = [0] * 64
    for value, (y, x) in zip(values, ZIGZAG, strict=True):
        out[8 * y + x] = value
    return out


class Jpeg:
    def __init__(self, data):
        self.interval, self.tables, codes, at = 0, {}, {}, 2
        while True:
            marker, size = data[at + 1], int.from_bytes(data[at + 2:at + 4], "big")
            content = data[at + 4:at + 2 + size]
            at += 2 + size
            if marker == 0xDB:
                for i in range(0, len(content), 65):
                    self.tables[content[i]] = natural(content[i + 1:i + 65])
            elif marker == 0xC4:
                while content:
                    codes[content[0]], used = self.codes(content[1:])
                    content = content[1 + used:]
            elif marker == 0xDD:
                self.interval = int.from_bytes(content, "big")
            elif marker == 0xC0:
                self.height, self.width = (int.from_bytes(content[i:i + 2], "big") for i in (1, 3))
                frame = [content[i:i + 3] for i in range(6, len(content), 3)]
            elif marker == 0xDA:
                break
        # A single component has one block in its MCU.
        self.sampling = [(1, 1)] if len(frame) == 1 else [(f[1] >> 4, f[1] & 15) for f in frame]
        self.steps = [self.tables[f[2]] for f in frame]
        used = [content[2 + 2 * c] for c in range(len(frame))]
        self.codes_of = [(codes[u >> 4], codes[16 | u & 15]) for u in used]
        self.across, self.down = (-(-size // (8 * f)) for size, f in
                                  zip((self.width, self.height), self.sampling[0]))
        self.scan = at
        self.intervals = re.split(rb"\xff[\xd0-\xd7]", data[at:-2])
        assert data.endswith(b"\xff\xd9")
        self.order = [c for c, (h, v) in enumerate(self.sampling) for _ in range(h * v)]
        self.mcus = self.decode()

    @staticmethod
    def codes(content):
        """Symbols by length and code, and how many bytes the lists take."""
        table, code, at = {}, 0, 16
        for length in range(1, 17):
            for _ in range(content[length - 1]):
                table[length, code] = content[at]
                code, at = code + 1, at + 1
            code *= 2
        return table, at

    def decode(self):
        """MCUs: lists of blocks, each of 64 coefficients row by row."""
        mcus, count = [], self.across * self.down
        for data in self.intervals:
            data = data.replace(b"\xff\0", b"\xff")
            self.bits, self.at = format(int.from_bytes(b"\1" + data, "big"), "b")[1:], 0
            last = [0] * len(self.sampling)
            for _ in range(min(self.interval or count, count - len(mcus))):
                mcus.append([self.block(c, last) for c in self.order])
            assert len(self.bits) - self.at < 8 and "0" not in self.bits[self.at:]
        assert len(mcus) == count
        return mcus

    def symbol(self, table):
        for length in range(1, 17):
            found = table.get((length, int(self.bits[self.at:self.at + length], 2)))
            if found is not None:
                self.at += length
                return found
        raise ValueError("no such code")

    def value(self, size):
        if size == 0:
            return 0
        bits = int(self.bits[self.at:self.at + size], 2)
        self.at += size
        return bits if bits >> (size - 1) else bits - (1 << size) + 1

    def block(self, component, last):
        dc, ac = self.codes_of[component]
        last[component] += self.value(self.symbol(dc))
        values, k = [last[component]] + [0] * 63, 1
        while k < 64:
            run, size = divmod(self.symbol(ac), 16)
            if size == 0 and run != 15:
                break
            k += run
            values[k] = self.value(size)
            k += 1
        return natural(values)
