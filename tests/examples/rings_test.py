#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""rings: another decoder reads the picture, which has the right waves, and the memory stays small."""
import math
import re
import subprocess
import unittest

from example_case import IS_SANITIZED, PROGRAM, ExampleCase, djpeg


def waves(width, height):
    speed = math.pi / 2 / min(width, height)
    return [127.5 + 127 * math.cos(speed * ((x - width / 2) ** 2 + (y - height / 2) ** 2))
            for y in range(height) for x in range(width)]


class Rings(ExampleCase):
    def test_the_waves(self):
        for width, height in ((64, 48), (37, 101)):
            found = djpeg(self.run_well("jpg", str(width), str(height)))
            self.assertEqual(found[:3], (width, height, 1))
            wanted = waves(width, height)
            squares = sum((a - b) ** 2 for a, b in zip(wanted, found[3]))
            self.assertLess(squares / len(wanted), 40)

    def most_memory(self, *arguments):
        """In kilobytes, as seen whenever some of the file has come."""
        most = 0
        with subprocess.Popen([PROGRAM, *arguments], stdout=subprocess.PIPE) as run:
            while run.stdout.read(1 << 16):
                with open(f"/proc/{run.pid}/status", encoding="ascii") as status:
                    found = re.search(r"VmHWM:\s*(\d+) kB", status.read())
                most = max(most, int(found.group(1)) if found else 0)
        self.assertEqual(run.returncode, 0)
        return most

    def test_large_pictures_take_little_memory(self):
        if IS_SANITIZED:
            self.skipTest("a sanitizer takes memory itself")
        for extension in ("jpg", "j2k", "dds"):
            most = self.most_memory(extension, "3000", "8000")
            self.assertGreater(most, 0)
            self.assertLess(most, 16384)  # the picture has 24 megabytes

    def test_wrong_words(self):
        for arguments in ((), ("gif", "10", "10"), ("jpg", "0", "5"), ("jpg", "70000", "5"),
                          ("jpg", "5", "x")):
            self.assert_refused(*arguments)


if __name__ == "__main__":
    unittest.main()
