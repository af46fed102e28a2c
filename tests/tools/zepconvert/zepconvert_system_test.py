#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""zepconvert where the system is not kind to it: no threads, closed descriptors, links, pipes, signals,
limits, names that are no text.

    zepconvert_system_test.py PATH_OF_ZEPCONVERT PATH_OF_LIBRARY_WITH_FAULTS
"""
import os
import pty
import resource
import signal
import stat
import subprocess
import sys
import threading
import time
import unittest

from tool_case import IS_SANITIZED, TOOL, ToolCase, png, pnm, read_terminal

FAULTS = os.path.abspath(sys.argv.pop(1))


def with_faults(*names):
    return dict(os.environ, LD_PRELOAD=FAULTS, **{"FAULT_" + name: "1" for name in names})


def transparent(width=20, height=10):
    return png(width, height, 4, bytes(i * 7 % 256 for i in range(4 * width * height)))


class SystemTest(ToolCase):
    def mode(self, name):
        return os.stat(self.path(name)).st_mode & 0o7777

    def start(self, *arguments, **options):
        """The tool, stopped in the middle of writing its result by the caller."""
        process = subprocess.Popen([TOOL, *arguments], cwd=self.directory, stderr=subprocess.PIPE,
                                   text=True, env=with_faults("SLOW_WRITES"), **options)
        deadline = time.monotonic() + 60
        while not self.temporaries():
            self.assertIsNone(process.poll())
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.005)
        return process

    def temporaries(self):
        return [name for name in self.files() if name.startswith(".")]

    def test_without_threads(self):
        names = ["p%d.ppm" % i for i in range(6)]
        for name in names:
            self.write(name, self.read("in.ppm"))
        for output in ("jpg", "jp2", "jxr", "dds"):
            self.assertEqual(self.run_tool(*names, "--to", output, "-j", "4", "--quiet",
                                           env=with_faults("NO_THREADS")), "")
            for i in range(6):
                self.assertTrue(self.read("p%d.%s" % (i, output)))

    def test_messages_stay_out_of_pictures(self):
        self.write("late.png", transparent(400, 400)[:-40])
        for closed in ((2,), (1, 2), (0, 1, 2)):
            def close(numbers=closed):
                for number in numbers:
                    os.close(number)
            done = subprocess.run([TOOL, "in.ppm", "late.png", "--to", "ppm", "--out-dir", "o", "-j", "2"],
                                  cwd=self.directory, env=with_faults("SLOW_WRITES"), preexec_fn=close,
                                  timeout=60, check=False)
            self.assertEqual(done.returncode, 1)
            self.assertEqual(self.read("o/in.ppm"), self.read("in.ppm"))

    def test_two_inputs_for_one_file(self):
        """Whatever the names, each input gets its own result."""
        self.run_tool("in.ppm", "a.png")
        self.run_tool("in.ppm", "a.jpg")
        os.mkdir(self.path("d"))
        os.symlink("d", self.path("link"))
        os.symlink(".", self.path("here"))
        os.symlink("a.ppm", self.path("b.ppm"))
        self.write("a.ppm", b"old")
        self.run_tool("in.ppm", "b.png")
        for name in ("d/x.png", "d/x.jpg"):
            self.run_tool("in.ppm", name)
        for first, second, to in (("a.png", "./a.jpg", "pnm"), ("a.png", "here/a.jpg", "tif"),
                                  ("a.png", self.path("a.jpg"), "dds"),
                                  ("d/x.png", "link/x.jpg", "tif"), ("a.png", "b.png", "ppm")):
            with self.subTest(to):
                self.run_tool(first, second, "--to", to)
                for name in (first, second):
                    self.assertTrue(os.path.exists(self.path(name + "." + to)), name)
        self.assertEqual(self.read("a.ppm"), b"old")
        self.run_tool("a.png", "d/x.jpg", "--to", "tif")
        self.assertTrue(os.path.exists(self.path("a.tif")))

    def test_a_file_that_appears_meanwhile_stays(self):
        self.write("big.png", transparent(400, 400))
        process = self.start("big.png", "late.ppm")
        self.write("late.ppm", b"mine")
        text = process.communicate(timeout=60)[1]
        self.assertEqual(process.returncode, 1)
        self.assertIn("late.ppm exists (--force replaces it)", text)
        self.assertEqual(self.read("late.ppm"), b"mine")
        self.assertEqual(self.temporaries(), [])

    def test_the_bar_tells_the_rate_and_the_time_left(self):
        names = ["p%d.ppm" % i for i in range(14)]
        for name in names:
            self.write(name, self.read("in.ppm"))
        outer, inner = pty.openpty()
        process = subprocess.Popen([TOOL, "-j", "1", *names, "--to", "tif"], cwd=self.directory,
                                   stderr=inner, env=with_faults("SLOW_WRITES"))
        os.close(inner)
        text = read_terminal(outer).decode()
        self.assertEqual(process.wait(timeout=60), 0)
        self.assertRegex(text, r"\r\[#+\.+\] \d+ of 14, \d+\.\d a second, \d+ s left")
        self.assertRegex(text, r"\r\[#{32}\] 14 of 14, \d+\.\d a second\x1b\[K")
        self.assertRegex(text, r"\r\x1b\[Kzepconvert: 14 files converted in ")

    def test_private_files_stay_private(self):
        os.umask(0o022)
        os.chmod(self.path("in.ppm"), 0o600)
        self.run_tool("in.ppm", "a.jpg", "--progressive", "--report", "r")
        self.run_tool("a.jpg", "b.png", "--scans", "s")
        os.chmod(self.path("in.ppm"), 0o640)
        self.run_tool("in.ppm", "c.png")
        self.assertEqual(self.mode("c.png"), 0o640)
        names = (["a.jpg", "b.png"] + ["s/" + name for name in os.listdir(self.path("s"))] +
                 ["r/zepconvert-report/" + name
                  for name in os.listdir(self.path("r/zepconvert-report"))])
        self.assertGreater(len(names), 6)
        for name in names:
            self.assertEqual(self.mode(name), 0o600, name)

    def test_a_replaced_file_keeps_its_rights(self):
        os.umask(0o022)
        for old, source in ((0o600, 0o644), (0o644, 0o600), (0o664, 0o666), (0o755, 0o644),
                            (0o444, 0o644)):
            self.write("a.png", b"old")
            os.chmod(self.path("a.png"), old)
            os.chmod(self.path("in.ppm"), source)
            self.run_tool("in.ppm", "a.png")
            self.assertEqual(self.mode("a.png"), old)
            self.assertEqual(self.read("a.png")[1:4], b"PNG")
        if os.geteuid() == 0:
            os.chown(self.path("a.png"), 12345, 23456)
            self.run_tool("in.ppm", "a.png")
            info = os.stat(self.path("a.png"))
            self.assertEqual((info.st_uid, info.st_gid), (12345, 23456))

    def test_links_stay_links(self):
        self.run_tool("in.ppm", "want.png")
        os.mkdir(self.path("d"))
        self.write("d/target.png", b"old")
        os.symlink("d/target.png", self.path("link.png"))
        os.symlink("link.png", self.path("again.png"))
        for name in ("link.png", "again.png"):
            self.write("d/target.png", b"old")
            self.run_tool("in.ppm", name)
            self.assertTrue(os.path.islink(self.path(name)))
            self.assertEqual(self.read("d/target.png"), self.read("want.png"))
        os.symlink("missing.png", self.path("none.png"))
        self.assertIn("symbolic link to nothing", self.run_tool("in.ppm", "none.png", code=1))
        self.assertTrue(os.path.islink(self.path("none.png")))
        self.assertFalse(os.path.exists(self.path("missing.png")))
        os.mkdir(self.path("directory.png"))
        self.assertIn("is a directory", self.run_tool("in.ppm", "directory.png", code=1))

    def test_pipes_and_devices_are_written_to(self):
        self.run_tool("in.ppm", "want.png")
        os.mkfifo(self.path("pipe.png"))
        got = []
        reader = threading.Thread(target=lambda: got.append(self.read("pipe.png")))
        reader.start()
        self.run_tool("in.ppm", "pipe.png", "--report", "r")
        reader.join(60)
        self.assertEqual(got, [self.read("want.png")])
        self.assertTrue(stat.S_ISFIFO(os.stat(self.path("pipe.png")).st_mode))
        os.symlink("/dev/null", self.path("null.png"))
        self.run_tool("in.ppm", "null.png")
        self.assertTrue(os.path.islink(self.path("null.png")))
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/null").st_mode))
        os.symlink("/dev/full", self.path("full.png"))
        self.assertIn("No space left", self.run_tool("in.ppm", "full.png", code=1))

    def test_a_pipe_without_reader(self):
        os.mkfifo(self.path("pipe.ppm"))
        self.write("large.ppm", pnm(400, 400, 3, bytes(480000)))

        def read_little():
            with open(self.path("pipe.ppm"), "rb", buffering=0) as pipe:
                pipe.read(10)
        reader = threading.Thread(target=read_little)
        reader.start()
        self.assertIn("Broken pipe", self.run_tool("large.ppm", "pipe.ppm", code=1))
        reader.join(60)

    def test_a_pipe_is_read(self):
        with open(self.path("in.ppm"), "rb") as file:
            cat = subprocess.Popen(["cat"], stdin=file, stdout=subprocess.PIPE)
        self.run_tool("/dev/stdin", "a.ppm", stdin=cat.stdout)
        cat.stdout.close()
        cat.wait(60)
        self.assertEqual(self.read("a.ppm"), self.read("in.ppm"))

    def test_signals_leave_no_temporary_file(self):
        no_core = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0))}
        for numbers in ([signal.SIGINT] * 2, [signal.SIGTERM] * 2, [signal.SIGHUP, signal.SIGTERM],
                        [signal.SIGQUIT], [signal.SIGALRM], [signal.SIGUSR1], [signal.SIGXCPU],
                        [signal.SIGSEGV]):
            with self.subTest(numbers):
                process = self.start("in.ppm", "a.ppm", **no_core)
                for number in numbers:
                    process.send_signal(number)
                    time.sleep(0.02)
                text = process.communicate(timeout=60)[1]
                if not IS_SANITIZED or numbers != [signal.SIGSEGV]:  # sanitizers have a handler of their own
                    self.assertEqual(process.returncode, -numbers[-1], text)
                    self.assertEqual(self.files(), ["in.ppm"])
                for name in self.temporaries():
                    os.remove(self.path(name))

    def test_one_hangup_lets_files_finish(self):
        process = self.start("in.ppm", "late.ppm", "--to", "pnm", "--out-dir", ".", "-j", "1")
        process.send_signal(signal.SIGHUP)
        process.communicate(timeout=60)
        self.assertEqual(process.returncode, 3)
        self.assertEqual(self.read("in.pnm"), self.read("in.ppm"))
        self.assertEqual(self.files(), ["in.pnm", "in.ppm"])

    def test_an_ignored_hangup_stays_ignored(self):
        process = self.start("in.ppm", "a.ppm",
                             preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        process.send_signal(signal.SIGHUP)
        process.communicate(timeout=60)
        self.assertEqual(process.returncode, 0)

    def test_the_limit_of_file_sizes(self):
        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_DFL)
            resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000))
        self.assertIn("File too large", self.run_tool("in.ppm", "a.ppm", code=1, preexec_fn=limit))
        self.assertEqual(self.files(), ["in.ppm"])

    def test_inputs_without_an_end(self):
        start = time.monotonic()
        for name in ("/dev/zero", "/dev/urandom"):
            self.assertIn("unknown kind", self.run_tool(name, "out.png", code=1))
        endless = subprocess.Popen(["sh", "-c", "printf 'P6\\n9 9\\n255\\n'; exec cat /dev/zero"],
                                   stdout=subprocess.PIPE)
        text = self.run_tool("/dev/stdin", "out.png", "--max-megapixels", "0.001", code=1,
                             stdin=endless.stdout)
        endless.stdout.close()
        endless.wait(60)
        self.assertIn("more than 16781216 bytes", text)
        self.assertIn("more than", self.run_tool("in.ppm", "a.jpg", "--script", "/dev/zero", code=2))
        self.assertLess(time.monotonic() - start, 10)

    def test_a_file_that_grows_while_it_is_read(self):
        before = self.read("in.ppm")
        self.run_tool("in.ppm", "a.ppm", env=with_faults("GROWING_FILES"))
        self.assertEqual(self.read("a.ppm"), before)
        self.assertLess(os.path.getsize(self.path("in.ppm")), 4 * len(before))

    def test_names_reach_the_terminal_as_text(self):
        names = {"a\x1b[2Jb\n.ppm": r"a\x1B[2Jb\x0A.ppm", "\u0085\u009b.ppm": r"\xC2\x85\xC2\x9B.ppm",
                 "\u202egnp.ppm": r"\xE2\x80\xAEgnp.ppm", b"\xff\x9b\xc3.ppm": r"\xFF\x9B\xC3.ppm",
                 "b\u00e4r\u4e2d\U0001F600 .ppm": "b\u00e4r\u4e2d\U0001F600 .ppm"}
        for name, shown in names.items():
            with self.subTest(name):
                text = self.run_tool(name, "out.png", code=1)
                self.assertEqual(text, "zepconvert: %s: cannot be opened: No such file or directory\n" % shown)
        name = "x\x1b[31m\x07.png"
        self.write(name, transparent())
        self.assertNotIn("\x1b", self.run_tool(name, "--to", "ppm", "--report", "r"))
        html = self.read("r/index.html").decode()
        self.assertIn(r"x\x1B[31m\x07.png", html)
        self.assertFalse(set(html) & set(map(chr, range(32))) - {"\n"})
        for arguments in (["--non\x1bsense"], ["in.ppm", "a\x1b.gif"], ["in.ppm", "a.jpg", "-q", "\x1b"],
                          ["in.ppm", "--to", "\x1b[2J"], ["in.ppm", "a.jpg", "--script", "\x1b"]):
            with self.subTest(arguments):
                self.assertNotIn("\x1b", self.run_tool(*arguments, code=2))

    def test_numbers_that_are_none(self):
        for option in ("--max-megapixels", "--ratio", "--psnr"):
            for value in ("nan", "-nan", "inf", "-inf", "-1", "0", "1e999", "x"):
                with self.subTest((option, value)):
                    self.assertTrue(self.run_tool("in.ppm", "a.jp2", option, value, code=2))
        self.assertEqual(self.files(), ["in.ppm"])

    @unittest.skipIf(IS_SANITIZED, "freed memory is kept")
    def test_files_wait_for_memory(self):
        # A picture of 2 million pixels takes 31 bytes for each while it becomes a JPEG 2000 file.
        width, height = 2000, 1000
        row = bytes((x * x // 300 + 40 * c) % 256 for x in range(width) for c in range(3))
        self.write("a.ppm", pnm(width, height, 3, row * height))
        for i in range(6):
            os.link(self.path("a.ppm"), self.path("m%d.ppm" % i))

        def peak(*options):
            process = subprocess.Popen([TOOL, "--force", "--to", "j2k", "-j", "6", *options] +
                                       ["m%d.ppm" % i for i in range(6)], cwd=self.directory)
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            self.assertEqual(process.returncode, 0)
            return usage.ru_maxrss / 1024
        wide, narrow = peak(), peak("--memory", "80")
        self.assertGreater(wide, 2 * narrow)
        self.assertLess(narrow, 80 + 40, "megabytes")


if __name__ == "__main__":
    unittest.main(verbosity=2)
