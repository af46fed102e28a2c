#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""docs/examples.md: its tables name every file, and each program links with the files in its row."""
import argparse
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ARGUMENTS = argparse.Namespace()
FLAGS = ["-std=c99", "-pedantic", "-Wall", "-Wextra", "-Wconversion", "-Wshadow", "-Werror", "-O1"]


class ExamplesPage(unittest.TestCase):
    def setUp(self):
        self.examples = ARGUMENTS.source.resolve() / "examples"
        page = (ARGUMENTS.source / "docs/examples.md").read_text()
        rows = re.findall(r"^\| `([\w.]+)` \|(.*)\|$", page, flags=re.M)
        self.files = [name for name, _ in rows]
        # The last column names other files and libraries.
        self.programs = {name: re.search(r"\| `([^`]*)` $", rest).group(1).split()
                         for name, rest in rows if rest.count("|") == 2}

    def test_every_file_is_named(self):
        sources = {path.name for path in self.examples.glob("*.c")}
        self.assertEqual(set(self.files), sources | {"problem.h", "standard_tables.h"})
        self.assertEqual(len(self.files), len(set(self.files)))

    def test_lengths(self):
        for path in self.examples.glob("*.[ch]"):
            self.assertLess(path.read_text().count("\n"), 200, path.name)

    def test_programs_compile_by_themselves(self):
        libraries = [pathlib.Path(library).resolve() for library in ARGUMENTS.libraries]
        self.assertGreaterEqual(len(self.programs), 7)
        with tempfile.TemporaryDirectory() as directory:
            for name, others in self.programs.items():
                with self.subTest(name=name):
                    # Given as files instead of -l options.
                    others = [other for other in others if other != "-lzepcodec"]
                    subprocess.run(
                        [ARGUMENTS.compiler, *FLAGS, f"-I{self.examples.parent}/include",
                         f"-I{self.examples.parent}/codecs/include", name, *others,
                         *libraries, *[f"-Wl,-rpath,{library.parent}" for library in libraries], "-o",
                         f"{directory}/program"], check=True, cwd=self.examples)
                    run = subprocess.run([f"{directory}/program", "a", "b", "c"], capture_output=True,
                                         input=b"", check=False)
                    self.assertEqual(run.returncode, 1)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--compiler", default="cc")
    parser.add_argument("libraries", nargs="+")
    parser.parse_args(namespace=ARGUMENTS)
    unittest.main(argv=sys.argv[:1])
