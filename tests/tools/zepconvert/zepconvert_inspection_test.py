#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""zepconvert tells what files are, and whether they are whole.

    zepconvert_inspection_test.py PATH_OF_ZEPCONVERT
"""
import json
import os
import subprocess
import unittest

from tool_case import TOOL, ToolCase


class InspectionTest(ToolCase):
    def look(self, *arguments, code=0):
        done = subprocess.run([TOOL, *arguments], cwd=self.directory, capture_output=True,
                              text=True, timeout=60, check=False)
        self.assertEqual(done.returncode, code, done.stderr)
        return done.stdout

    def cut(self, name, cut, part):
        data = self.read(name)
        self.write(cut, data[:int(len(data) * part)])

    def test_facts_of_every_format(self):
        names = {"jpg": "JPEG", "ljpg": "lossless JPEG", "jp2": "JPEG 2000", "j2k": "JPEG 2000",
                 "jxr": "JPEG XR", "dds": "DDS", "tif": "TIFF", "png": "PNG", "pam": "PNM"}
        for ending in names:
            self.run_plainly("in.ppm", "a." + ending)
        found = json.loads(self.look("--probe", "--json", *("a." + ending for ending in names)))
        self.assertEqual([one["file"] for one in found], ["a." + ending for ending in names])
        for one, (ending, name) in zip(found, names.items()):
            self.assertTrue(one["format"].lower().startswith(name.lower()), one)
            self.assertEqual((one["width"], one["height"], one["colors"], one["bits"]),
                             (50, 33, "RGB with opacity" if ending == "dds" else "RGB", 8), ending)
            self.assertEqual(one["bytes"], os.path.getsize(self.path("a." + ending)))
            self.assertEqual(one["damage"], [])
        lossless = {one["file"][2:] for one in found if one["lossless"]}
        self.assertFalse(lossless & {"jpg", "dds"})
        self.assertLessEqual({"ljpg", "jp2", "tif", "png", "pam"}, lossless)

    def test_details(self):
        self.run_plainly("in.ppm", "p.jpg", "--progressive")
        self.run_plainly("in.ppm", "t.jp2", "--tiles", "16x16")
        self.run_plainly("in.ppm", "g.png", "--grey")
        text = self.look("--probe", "p.jpg", "t.jp2", "g.png")
        self.assertIn("p.jpg: JPEG, progressive, 50 x 33, RGB, 8 bits, ", text)
        self.assertIn(", 10 scans", text)
        self.assertIn(", 12 tiles", text)
        self.assertIn("g.png: PNG, 50 x 33, grey, 8 bits, ", text)

    def test_whole_and_damaged(self):
        names = ["a.jpg", "a.ljpg", "a.jp2", "a.png", "a.tif", "a.jxr", "a.dds"]
        for name in names:
            self.run_plainly("in.ppm", name)
            self.cut(name, "cut-" + name, 0.8)
        text = self.look("--verify", *names)
        self.assertEqual(text.count(": whole: "), len(names), text)
        for name in names:
            is_readable = name not in ("a.tif", "a.dds")  # whose headers tell where the data must be
            found = json.loads(self.look("--verify", "--json", "cut-" + name,
                                         code=4 if is_readable else 1))
            self.assertEqual(found[0]["state"], "damaged" if is_readable else "unreadable", found)
            self.assertTrue(found[0]["damage"] if is_readable else found[0]["error"], found)
        text = self.look("--probe", "cut-a.jpg", "cut-a.png", "cut-a.jp2", code=4)
        self.assertEqual(text.count("the end of the picture is missing"), 3)

    def test_what_is_no_picture(self):
        self.write("text.jpg", b"some text\n")
        for task in ("--probe", "--verify"):
            text = self.look(task, "text.jpg", "missing.png", "in.ppm", code=1)
            self.assertIn("missing.png: ", text)
            self.assertIn("No such file", text)
            self.assertIn("in.ppm: ", text)
            found = json.loads(self.look(task, "--json", "text.jpg", code=1))
            self.assertTrue(found[0]["error"])

    def test_directories_and_pipes(self):
        os.mkdir(self.path("d"))
        self.run_plainly("in.ppm", "d/b.png")
        self.assertIn("d/b.png: PNG", self.look("--probe", "-r", "d"))
        done = subprocess.run([TOOL, "--verify", "-"], input=self.read("in.ppm"),
                              capture_output=True, check=True, timeout=60)
        self.assertIn(b"standard input: whole: PNM", done.stdout)
        raw = os.path.join(os.fsencode(self.directory), b"\xff.ppm")
        with open(raw, "wb") as file:
            file.write(self.read("in.ppm"))
        done = subprocess.run([TOOL, "--probe", "--json", raw], capture_output=True, check=True)
        self.assertTrue(json.loads(done.stdout)[0]["file"].endswith("\ufffd.ppm"))

    def test_options_of_conversions_are_refused(self):
        for option in (["--quality", "80"], ["--to", "png"], ["--force"], ["--grey"]):
            text = self.run_plainly("--probe", "in.ppm", *option, code=2)
            self.assertIn(option[0] + " is for conversions, not for --probe", text)
        self.run_plainly("in.ppm", "a.png", "--json", code=2)


if __name__ == "__main__":
    unittest.main(verbosity=2)
