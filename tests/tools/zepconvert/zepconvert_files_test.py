#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Which files zepconvert reads and writes: nothing is replaced unasked; pipes, directories, names.

    zepconvert_files_test.py PATH_OF_ZEPCONVERT
"""
import os
import pty
import subprocess
import unittest

from tool_case import TOOL, ToolCase, pnm, read_pnm, read_terminal


class FilesTest(ToolCase):
    def on_a_terminal(self, *arguments, answers=b"", code=0):
        """Runs the program on a terminal, on which the answers are typed. Returns what it shows."""
        outer, inner = pty.openpty()
        process = subprocess.Popen([TOOL, *arguments], cwd=self.directory, stdin=inner,
                                   stdout=inner, stderr=inner)
        os.close(inner)
        os.write(outer, answers)
        text = read_terminal(outer)
        self.assertEqual(process.wait(timeout=60), code, text)
        return text.decode()

    def pipe(self, data, *arguments, code=0):
        done = subprocess.run([TOOL, *arguments], cwd=self.directory, input=data,
                              capture_output=True, timeout=60, check=False)
        self.assertEqual(done.returncode, code, done.stderr)
        return done.stdout, done.stderr.decode()

    # What exists stays.

    def test_nothing_is_replaced_unasked(self):
        self.run_plainly("in.ppm", "a.png")
        self.write("old.jpg", b"mine")
        for arguments, name in ((("a.png", "old.jpg"), "old.jpg"), (("in.ppm", "in.ppm"), "in.ppm"),
                                (("a.png", "--to", "ppm", "--out-dir", "."), "a.ppm")):
            if name == "a.ppm":
                self.write(name, b"mine")
            before = self.read(name)
            text = self.run_plainly(*arguments, code=1)
            self.assertIn(name + " exists (--force replaces it)", text)
            self.assertEqual(self.read(name), before)
        files = self.files()
        self.run_plainly("a.png", "old.jpg", "--no-clobber")
        self.assertEqual(self.read("old.jpg"), b"mine")
        self.assertEqual(self.files(), files)
        self.write("a.jpg", b"mine")
        self.assertIn("1 left out", self.run_plainly("a.png", "in.ppm", "--to", "jpg", "-n"))
        self.assertEqual(self.read("a.jpg"), b"mine")
        self.run_plainly("a.png", "old.jpg", "--force")
        self.assertEqual(self.read("old.jpg")[:2], b"\xff\xd8")
        self.run_plainly("in.ppm", "in.ppm", "-f", "--grey")
        self.assertEqual(self.read("in.ppm")[:2], b"P6")
        self.run_plainly("a.png", "b.jpg", "-f", "-n", code=2)

    def test_links_are_not_followed_unasked(self):
        self.write("target.png", b"mine")
        os.symlink("target.png", self.path("link.png"))
        self.assertIn("link", self.run_plainly("in.ppm", "link.png", code=1))
        self.assertEqual(self.read("target.png"), b"mine")
        os.symlink("nowhere.png", self.path("loose.png"))
        for options in ([], ["--force"]):
            self.assertIn("link to nothing",
                          self.run_plainly("in.ppm", "loose.png", *options, code=1))
        self.run_plainly("in.ppm", "link.png", "--force")
        self.assertTrue(os.path.islink(self.path("link.png")))
        self.assertEqual(self.read("target.png")[1:4], b"PNG")

    def test_a_terminal_is_asked(self):
        for answer, replaced, code in ((b"y\n", True, 0), (b"n\n", False, 0), (b"\n", False, 0),
                                       (b"q\n", False, 3)):
            self.write("a.png", b"mine")
            text = self.on_a_terminal("in.ppm", "a.png", answers=answer, code=code)
            self.assertIn("a.png exists. Replace it?", text)
            self.assertEqual(self.read("a.png") != b"mine", replaced, answer)
        names = ["x.ppm", "y.ppm", "z.ppm"]
        for answer, replaced in ((b"a\n", "xyz"), (b"o\n", ""), (b"n\na\n", "yz"), (b"y\no\n", "x")):
            for name in names:
                self.write(name, self.read("in.ppm"))
                self.write(name[0] + ".png", b"mine")
            text = self.on_a_terminal(*names, "--to", "png", answers=answer)
            self.assertEqual(text.count("Replace it?"), answer.count(b"\n"))
            self.assertEqual([n[0] for n in names if self.read(n[0] + ".png") != b"mine"],
                             list(replaced))

    # Pipes.

    def test_standard_input_and_output(self):
        picture = self.read("in.ppm")
        png, text = self.pipe(picture, "-", "-", "--to", "png")
        self.assertEqual((png[1:4], text), (b"PNG", ""))
        again, _ = self.pipe(png, "-", "--to", "ppm")
        self.assertEqual(again, picture)
        for to in ("jpg", "ljpg", "jp2", "j2k", "jxr", "tif", "dds", "pam"):
            file, _ = self.pipe(picture, "-", "--to", to)
            back, _ = self.pipe(file, "-", "-", "--to", "ppm")
            self.assertEqual(len(back), len(picture), to)
        self.pipe(png, "-", "out.ppm")
        self.assertEqual(self.read("out.ppm"), picture)
        file, _ = self.pipe(b"", "in.ppm", "-", "--to", "png")
        self.assertEqual(file, png)
        web, _ = self.pipe(png, "-", "-", "--preset", "web")
        self.assertIn(b"\xff\xc2", web)
        with open(self.path("in.ppm"), "rb") as file:  # not a pipe
            done = subprocess.run([TOOL, "-", "--to", "png"], stdin=file, capture_output=True,
                                  check=True, timeout=60)
        self.assertEqual(done.stdout, png)
        self.write("-", picture)
        self.run_plainly("./-", "minus.png")
        self.assertEqual(self.read("minus.png"), png)

    def test_what_pipes_cannot_do(self):
        picture = self.read("in.ppm")
        for arguments in (["-", "-"], ["-", "in.ppm", "--to", "png"], ["-", "--to", "png", "--out-dir", "o"],
                          ["in.ppm", "-"]):
            out, text = self.pipe(picture, *arguments, code=2)
            self.assertEqual(out, b"")
            self.assertTrue(text.startswith("zepconvert: "))
        out, text = self.pipe(b"GIF89a", "-", "--to", "png", code=1)
        self.assertEqual(out, b"")
        self.assertIn("standard input", text)
        self.assertIn("terminal", self.on_a_terminal("in.ppm", "-", "--to", "png", code=2))
        reader, writer = os.pipe()
        os.close(reader)
        done = subprocess.run([TOOL, "in.ppm", "-", "--to", "ppm"], cwd=self.directory,
                              stdout=writer, stderr=subprocess.PIPE, check=False, timeout=60)
        os.close(writer)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"standard output cannot be written: Broken pipe", done.stderr)

    def test_from(self):
        self.run_plainly("in.ppm", "a.png")
        self.run_plainly("in.ppm", "a.ljpg")
        self.run_plainly("a.png", "b.ppm", "--from", "png")
        self.run_plainly("a.ljpg", "c.ppm", "--from", "jpg")
        self.assertIn("--from", self.run_plainly("a.png", "d.ppm", "--from", "tif", code=1))

    # Directories and names.

    def tree(self):
        for name in ("t/a.ppm", "t/b/c.ppm", "t/b/d.txt", "t/.hidden/e.ppm", "t/.f.ppm"):
            os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
            self.write(name, self.read("in.ppm"))
        os.symlink("..", self.path("t/b/up"))
        self.run_plainly("in.ppm", "t/g.jpg")

    def found(self, directory):
        return sorted(os.path.relpath(os.path.join(place, name), self.path(directory))
                      for place, _, names in os.walk(self.path(directory)) for name in names)

    def test_directories(self):
        self.tree()
        self.assertIn("is a directory (--recursive", self.run_plainly("t", "--to", "png", code=1))
        text = self.run_plainly("-r", "t", "--to", "png", "--out-dir", "o")
        self.assertEqual(self.found("o"), ["a.png", "b/c.png", "g.png"])
        self.assertIn("3 files converted", text)
        self.run_plainly("-r", "t", "--to", "png", "--out-dir", "only", "--from", "jpg")
        self.assertEqual(self.found("only"), ["g.png"])
        self.run_plainly("-r", "t", "--to", "jpg")
        self.assertEqual([name for name in self.found("t") if name.endswith("jpg")],
                         ["a.jpg", "b/c.jpg", "g.jpg"])
        # Results of the first run are no inputs of the second.
        self.run_plainly("-r", ".", "--to", "png", "--out-dir", "o", "--force")
        self.assertNotIn("o", os.listdir(self.path("o")))

    def test_equal_names_are_told_apart(self):
        self.run_plainly("in.ppm", "x.jpg")
        self.run_plainly("in.ppm", "x.tif")
        os.mkdir(self.path("d"))
        self.run_plainly("in.ppm", "d/x.jpg")
        self.run_plainly("x.jpg", "x.tif", "in.ppm", "d/x.jpg", "--to", "png", "--out-dir", "o")
        self.assertEqual(self.found("o"), ["in.png", "x.jpg-2.png", "x.jpg.png", "x.tif.png"])

    def test_names_of_all_kinds(self):
        names = ["with space", "quote'\"", "new\nline", "Ωμέγα 図", "-dash", "%s%n", "a" * 200]
        for name in names:
            self.write(name + ".ppm", self.read("in.ppm"))
            self.run_plainly("./" + name + ".ppm", "./" + name + ".png")
            self.assertEqual(self.read(name + ".png")[1:4], b"PNG")
        self.assertIn("new\\x0Aline.png exists",
                      self.run_plainly("new\nline.ppm", "new\nline.png", code=1))
        raw = os.path.join(os.fsencode(self.directory), b"\xff.ppm")
        with open(raw, "wb") as file:
            file.write(self.read("in.ppm"))
        subprocess.run([TOOL, raw, raw[:-3] + b"png"], check=True, timeout=60)

    def test_places_that_cannot_be_written(self):
        for name in ("missing/a.png", "/proc/a.png"):
            self.assertIn("cannot be written", self.run_plainly("in.ppm", name, code=1))

    # Options and messages.

    def test_options_that_do_nothing_are_refused_by_name(self):
        for output, option in (("a.png", ["--quality", "80"]), ("a.png", ["--mipmaps"]),
                               ("a.jpg", ["--ratio", "10"]), ("a.jxr", ["--progressive"]),
                               ("a.dds", ["--lossless"]), ("a.jp2", ["--sampling", "420"]),
                               ("a.tif", ["--tiles", "256x256"]), ("a.jpg", ["--predictor", "4"]),
                               ("a.ppm", ["--compression", "none"]), ("a.png", ["--transcode"])):
            text = self.run_plainly("in.ppm", output, *option, code=2)
            self.assertIn(option[0] + " does nothing for ", text)
            self.assertFalse(os.path.exists(self.path(output)))
        self.assertIn("bc7", self.run_plainly("in.ppm", "a.dds", "--fast", code=2))
        self.run_plainly("in.ppm", "a.jpg", "--lossless", "--predictor", "4")

    def test_help(self):
        done = subprocess.run([TOOL, "--help"], capture_output=True, text=True, check=True)
        lines = done.stdout.splitlines()
        self.assertLess(max(map(len, lines)), 100)
        for word in ("Usage:", "Files:", "Pictures:", "Textures (.dds):", "Examples:", "--no-clobber",
                     "Exit codes:"):
            self.assertIn(word, done.stdout)
        done = subprocess.run([TOOL, "--help-presets"], capture_output=True, text=True, check=True)
        for word in ("web:", "archive:", "gpu-texture:", "--quality 80", "--mipmaps"):
            self.assertIn(word, done.stdout)

    def test_presets(self):
        self.run_plainly("in.ppm", "--preset", "web")
        self.assertIn(b"\xff\xc2", self.read("in.jpg"))  # progressive
        self.run_plainly("in.ppm", "--preset", "archive")
        self.run_plainly("in.jp2", "back.ppm")
        self.assertEqual(self.read("back.ppm"), self.read("in.ppm"))
        self.run_plainly("in.ppm", "--preset", "gpu-texture")
        self.assertEqual(self.read("in.dds")[84:88], b"DX10")
        # The command line goes before the preset.
        self.run_plainly("in.ppm", "q.jpg", "--preset", "web", "-q", "30")
        self.assertLess(len(self.read("q.jpg")), len(self.read("in.jpg")))
        self.run_plainly("in.ppm", "--preset", "archive", "--to", "jpg", "-f")
        self.assertIn(b"\xff\xc3", self.read("in.jpg"))  # lossless
        self.run_plainly("in.ppm", "--preset", "gpu-texture", "--to", "png")
        self.run_plainly("in.ppm", "x.jpg", "--preset", "nothing", code=2)

    def test_summary_and_lines(self):
        self.write("bad.ppm", b"P6\n")
        text = self.run_plainly("in.ppm", "bad.ppm", "--to", "png", "--verbose", code=1)
        self.assertIn("in.ppm -> in.png: 50 x 33, 5.0 kB -> ", text)
        self.assertIn("zepconvert: 1 file converted in ", text)
        self.assertIn(", 1 failed", text)
        for line in text.splitlines():
            self.assertTrue(line.startswith("zepconvert: "), line)
        self.assertEqual(self.run_plainly("in.ppm", "in.ppm", "--to", "tif", "--quiet"), "")

    def test_fit(self):
        for name in ("in.ppm", "in.jpg"):
            if name == "in.jpg":
                self.run_plainly("in.ppm", name)
            for box, size in (("25x25", (25, 17)), ("100x11", (17, 11)), ("1x1", (1, 1)),
                              ("60x60", (50, 33))):
                self.run_tool(name, "a.ppm", "--fit", box)
                self.assertEqual(read_pnm(self.path("a.ppm"))[:2], size, (name, box))
        self.write("flat.ppm", pnm(90, 70, 3, bytes([7, 200, 255]) * 6300))
        self.run_tool("flat.ppm", "a.ppm", "--fit", "31x31")
        self.assertEqual(set(zip(*[iter(read_pnm(self.path("a.ppm"))[3])] * 3)), {(7, 200, 255)})


if __name__ == "__main__":
    unittest.main(verbosity=2)
