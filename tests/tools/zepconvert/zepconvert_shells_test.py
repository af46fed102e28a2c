# SPDX-License-Identifier: MIT
"""The manual page of zepconvert and the completion of its command lines, in each shell."""
import os
import pty
import re
import select
import subprocess
import sys
import tempfile
import unittest

from tool_case import TOOL


def output(*arguments, **more):
    return subprocess.run(arguments, check=True, capture_output=True, text=True, **more)


def completion_script(shell, directory):
    path = os.path.join(directory, "_zepconvert")
    with open(path, "w", encoding="utf-8") as script:
        script.write(output(TOOL, "--completion", shell).stdout)
    return path


class Bash:
    def __init__(self, directory):
        self.script = completion_script("bash", directory)

    def complete(self, line):
        """The words that are offered for the last one of the line."""
        words = re.split(r"\s+|(=)", line)  # as bash splits it
        words = [word for word in words if word is not None]
        command = (f"compopt() {{ :; }}; source {self.script}; COMP_WORDS=(\"$@\"); "
                   "COMP_CWORD=$(($# - 1)); _zepconvert; printf '%s\\n' \"${COMPREPLY[@]}\"")
        return output("bash", "--norc", "-c", command, "bash", *words).stdout.split()


class Zsh:
    """zsh completes in an interactive shell only. A key of its own prints the line."""

    def __init__(self, directory):
        completion_script("zsh", directory)
        self.set_up = (f"fpath=({directory} $fpath); autoload -Uz compinit; compinit -u -D; PROMPT=; "
                       "show() { print -r -- \"<$BUFFER>\"; exit }; zle -N show; "
                       "bindkey '^X' show; bindkey '^I' complete-word; print READY\n")

    def complete_line(self, line):
        """What the line becomes after a tab."""
        child, terminal = pty.fork()
        if child == 0:
            os.environ["TERM"] = "dumb"
            os.execvp("zsh", ["zsh", "-f", "-i"])
        try:
            os.write(terminal, self.set_up.encode())
            self.read_until(terminal, rb"\nREADY")
            os.write(terminal, line.encode() + b"\t\x18")
            return self.read_until(terminal, rb"<(zepconvert[^>\n]*)>").group(1).decode()
        finally:
            os.close(terminal)
            os.waitpid(child, 0)

    @staticmethod
    def read_until(terminal, pattern):
        text = b""
        while True:
            found = re.search(pattern, text)
            if found:
                return found
            if not select.select([terminal], [], [], 60)[0]:
                raise TimeoutError(text.decode())
            text += os.read(terminal, 4096)


class Fish:
    def __init__(self, directory):
        self.script = completion_script("fish", directory)

    def complete(self, line):
        lines = output("fish", "--no-config", "-c",
                       f"source {self.script}; complete -C \"{line}\"").stdout.splitlines()
        return [one.split("\t")[0] for one in lines]


class ShellsTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name
        os.mkdir(os.path.join(self.directory, "photos"))
        with open(os.path.join(self.directory, "page.txt"), "w", encoding="utf-8"):
            pass

    def check_all(self, shell):
        self.assertEqual(shell.complete("zepconvert --qua"), ["--quality"])
        self.assertEqual(sorted(shell.complete("zepconvert --dds")), ["--dds-header"])
        self.assertIn("jxr", shell.complete("zepconvert --to j"))
        self.assertNotIn("png", shell.complete("zepconvert --to j"))
        self.assertEqual(shell.complete("zepconvert --preset gpu"), ["gpu-texture"])
        self.assertEqual(shell.complete("zepconvert --style reset,byp"), ["reset,bypass"])
        self.assertIn("--recursive", shell.complete("zepconvert a.jpg --"))
        self.assertEqual(shell.complete("zepconvert --quality "), [])
        directories = shell.complete(f"zepconvert --out-dir {self.directory}/p")
        self.assertEqual([name.rstrip("/") for name in directories], [f"{self.directory}/photos"])
        self.assertIn(f"{self.directory}/page.txt",
                      shell.complete(f"zepconvert --script {self.directory}/pa"))
        self.assertIn(f"{self.directory}/page.txt",
                      shell.complete(f"zepconvert {self.directory}/pa"))

    def test_bash(self):
        bash = Bash(self.directory)
        self.check_all(bash)
        self.assertEqual(bash.complete("zepconvert --metadata=pro"), ["profile"])
        self.assertEqual(sorted(bash.complete("zepconvert --compression=")), ["none", "packbits"])

    def test_fish(self):
        self.check_all(Fish(self.directory))

    def test_zsh(self):
        zsh = Zsh(self.directory)
        for line, becomes in (("zepconvert --qua", "zepconvert --quality"),
                              ("zepconvert --to jx", "zepconvert --to jxr"),
                              ("zepconvert --metadata=pro", "zepconvert --metadata=profile"),
                              ("zepconvert --preset gpu", "zepconvert --preset gpu-texture"),
                              ("zepconvert --style reset,byp", "zepconvert --style reset,bypass"),
                              (f"zepconvert --out-dir {self.directory}/p",
                               f"zepconvert --out-dir {self.directory}/photos/"),
                              (f"zepconvert {self.directory}/pa",
                               f"zepconvert {self.directory}/page.txt")):
            with self.subTest(line=line):
                # zsh may add what comes after a complete word.
                self.assertEqual(zsh.complete_line(line).rstrip(" =,"), becomes.rstrip())

    def test_every_option_is_in_each_script(self):
        table = output(TOOL, "--help").stdout.split("Examples:")[0]
        names = re.findall(r"(?<![\w-])--?[a-z][a-z-]*", table)
        self.assertGreater(len(names), 50)
        for shell in ("bash", "zsh", "fish"):
            script = output(TOOL, "--completion", shell).stdout
            for name in names:
                stem = name.lstrip("-")
                written = f"-{'l' if name.startswith('--') else 's'} {stem}" if shell == "fish" else name
                self.assertIn(written, script)

    def test_unknown_shell(self):
        run = subprocess.run([TOOL, "--completion", "csh"], capture_output=True, text=True,
                             check=False)
        self.assertEqual(run.returncode, 2)
        self.assertIn("csh", run.stderr)

    def test_manual(self):
        page = output(TOOL, "--manual").stdout
        shown = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-P-c"], input=page, text=True,
                               capture_output=True, check=True)
        self.assertEqual(shown.stderr, "")
        text = re.sub(".\b", "", shown.stdout)
        for part in ("NAME", "SYNOPSIS", "-q, --quality 1-100", "PRESETS", "EXAMPLES",
                     "zepconvert photo.jpg photo.png", "EXIT STATUS"):
            self.assertIn(part, text)


if __name__ == "__main__":
    sys.exit(unittest.main())
