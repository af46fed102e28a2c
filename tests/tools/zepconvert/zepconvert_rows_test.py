#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Parts of pictures, and pictures that are converted row by row because memory is short."""
import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from tool_case import ToolCase, picture, png, pnm, read_pnm  # noqa: E402

WIDTH, HEIGHT = 700, 1100  # with --memory 1, more than fits
ROWS = ["--memory", "1"]


def part(width, channels, samples, region):
    left, top, columns, rows = region
    return b"".join(samples[(y * width + left) * channels:(y * width + left + columns) * channels]
                    for y in range(top, top + rows))


class RowsTest(ToolCase):
    def setUp(self):
        super().setUp()
        self.samples = picture(100, 55, 3) * (WIDTH * HEIGHT // (100 * 55))
        self.write("in.ppm", pnm(WIDTH, HEIGHT, 3, self.samples))

    def same(self, source, output, *options):
        """Converted as a whole and by rows, the file is the same."""
        whole, rows = "whole." + output, "rows." + output
        self.run_tool(*options, source, whole)
        self.run_tool(*ROWS, *options, source, rows)
        self.assertEqual(self.read(whole), self.read(rows), (source, output, options))

    def test_to_each_format(self):
        for output in ("jpg", "png", "ppm", "pam", "tif", "dds", "pgm"):
            self.same("in.ppm", output)
        for options in (["-q", "40", "--sampling", "444"], ["--restart", "7"], ["--grey"],
                        ["--depth", "12"], ["--threads", "1"], ["--threads", "5"]):
            self.same("in.ppm", "jpg", *options)
        self.same("in.ppm", "j2k", "--tiles", "256x128")
        self.same("in.ppm", "jxr", "--tiles", "256x128")

    def test_from_each_format(self):
        self.write("in.png", png(WIDTH, HEIGHT, 3, self.samples))
        self.run_tool("in.ppm", "in.jpg")
        self.run_tool("--progressive", "in.ppm", "progressive.jpg")
        self.run_tool("in.ppm", "in.jp2")
        self.run_tool("--tiles", "160x160", "in.ppm", "tiles.jp2")
        self.run_tool("in.ppm", "in.jxr")
        self.run_tool("in.ppm", "in.dds")
        self.run_tool("in.ppm", "in.tif")
        for source in ("in.png", "in.jpg", "progressive.jpg", "in.jp2", "tiles.jp2", "in.jxr",
                       "in.dds", "in.tif"):
            self.same(source, "ppm")
            self.same(source, "jpg", "--region", "333x444+55+66")

    def test_tiles_are_chosen(self):
        for output in ("big.jp2", "big.jxr"):
            done = self.run_tool(*ROWS, "in.ppm", output)
            self.assertIn("tiles of 1024 x 1024", done)
            self.run_tool(output, "again.ppm")
            self.assertEqual(read_pnm(self.path("again.ppm"))[3], self.samples)

    def test_a_usual_table_is_chosen(self):
        done = self.run_tool(*ROWS, "in.ppm", "rows.ljpg")
        self.assertIn("usual Huffman table", done)
        self.run_tool("rows.ljpg", "again.ppm")
        self.assertEqual(read_pnm(self.path("again.ppm"))[3], self.samples)
        self.same("rows.ljpg", "ppm")

    def test_opacity_is_laid_over_white_or_kept(self):
        self.write("in.png", png(WIDTH, HEIGHT, 4, picture(100, 55, 4) * (WIDTH * HEIGHT // 5500)))
        self.same("in.png", "jpg")
        self.same("in.png", "tif")
        self.same("in.png", "pam")

    def test_metadata_pass(self):
        self.run_tool("in.ppm", "in.jpg")
        data = self.read("in.jpg")
        text = b"Made of waves"
        comment = b"\xff\xfe" + (len(text) + 2).to_bytes(2, "big") + text
        self.write("in.jpg", data[:2] + comment + data[2:])
        self.same("in.jpg", "jpg")
        self.assertIn(text, self.read("rows.jpg"))

    def test_damage_is_told(self):
        self.run_tool("in.ppm", "in.jpg")
        data = self.read("in.jpg")
        self.write("cut.jpg", data[:len(data) // 2])
        done = self.run_tool(*ROWS, "cut.jpg", "cut.png", code=4)
        self.assertIn("damaged: ", done)
        self.run_tool("cut.jpg", "whole.png", code=4)
        self.assertEqual(self.read("whole.png"), self.read("cut.png"))
        self.write("cut.ppm", self.read("in.ppm")[:-1])
        self.run_tool(*ROWS, "cut.ppm", "none.jpg", code=1)
        self.assertFalse(os.path.exists(self.path("none.jpg")))

    def test_failures_leave_no_file(self):
        self.run_tool(*ROWS, "in.ppm", "no/such/place.jpg", code=1)
        self.write("in.png", png(WIDTH, HEIGHT, 3, self.samples)[:-4000])
        self.run_tool(*ROWS, "in.png", "none.jpg", code=1)
        self.assertEqual(self.files(), ["in.png", "in.ppm"])


class RegionTest(ToolCase):
    def test_of_each_format(self):
        samples = picture(90, 70, 3)
        self.write("in.ppm", pnm(90, 70, 3, samples))
        self.write("in.png", png(90, 70, 3, samples))
        for output in ("in.jp2", "in.jxr", "in.tif", "in.ljpg"):
            self.run_tool("in.ppm", output)
        for source in ("in.ppm", "in.png", "in.jp2", "in.jxr", "in.tif", "in.ljpg"):
            self.run_tool("--region", "31x42+11+5", source, "part.ppm")
            self.assertEqual(read_pnm(self.path("part.ppm")),
                             (31, 42, 3, part(90, 3, samples, (11, 5, 31, 42))), source)
            done = self.run_tool("--region", "31x42+60+5", source, "part.ppm", code=1)
            self.assertIn("90 x 70 pixels", done)

    def test_of_reduced_pictures(self):
        self.write("in.ppm", pnm(90, 70, 3, picture(90, 70, 3)))
        for source in ("in.jpg", "in.jp2"):
            self.run_tool("in.ppm", source)
            self.run_tool("--scale", "2", source, "half.ppm")
            samples = read_pnm(self.path("half.ppm"))[3]
            self.run_tool("--scale", "2", "--region", "20x15+25+20", source, "part.ppm")
            self.assertEqual(read_pnm(self.path("part.ppm")),
                             (20, 15, 3, part(45, 3, samples, (25, 20, 20, 15))))

    def test_words_that_make_no_sense(self):
        self.write("in.ppm", pnm(90, 70, 3, picture(90, 70, 3)))
        for region in ("31x42", "0x5+1+1", "5x5+1+-1", "5x5+1+1+1", "axb+1+1"):
            self.run_tool("--region", region, "in.ppm", "out.ppm", code=2)
        self.run_tool("in.ppm", "in.jpg")
        self.run_tool("--region", "8x8+0+0", "--transcode", "in.jpg", "out.jpg", code=2)
        self.run_tool("--threads", "0", "in.ppm", "out.jpg", code=2)


if __name__ == "__main__":
    unittest.main()
