"""`cmake --install` puts the command, its manual pages and its completions in place, and what the
completions offer is what the help lists. usage: install_test.py CMAKE BUILD_FOLDER"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

CMAKE, BUILD = sys.argv[1:]
PREFIX = "opt/nimbrel"
# Calls a completion for zsh outside of its editor: prints what it would offer.
ZSH = """
_describe() { print -l -- ${(P)@[-1]} }
_files() { print FILES }
words=("$@[2,-1]") CURRENT=$#words PREFIX=$words[-1]
source $1
"""
BASH = """
source "$1"
COMP_WORDS=("${@:2}") COMP_CWORD=$(($# - 2))
_nimbrel
printf '%s\\n' "${COMPREPLY[@]-}"
"""


class Install(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        root = pathlib.Path(cls.folder.name)
        cls.prefix = root / PREFIX
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", "/" + PREFIX], check=True,
                       env={**os.environ, "DESTDIR": str(root)}, stdout=subprocess.DEVNULL)
        cls.commands = re.findall(r"^  (\w+)  ", cls.said("--help").split("\n\n")[2], re.MULTILINE)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    @classmethod
    def said(cls, *arguments):
        return subprocess.run([cls.prefix / "bin/nimbrel", *arguments], check=True, text=True,
                              stdout=subprocess.PIPE).stdout

    def offered(self, shell, *words):
        """The words that a shell offers for the last one of `words`, without descriptions."""
        options, script, file = {
            "bash": (["--norc"], BASH, "bash-completion/completions/nimbrel"),
            "zsh": (["-f"], ZSH, "zsh/site-functions/_nimbrel"),
        }[shell]
        line = [shell, *options, "-c", script, shell, self.prefix / "share" / file,
                self.prefix / "bin/nimbrel", *words]
        out = subprocess.run(line, check=True, text=True, stdout=subprocess.PIPE).stdout
        return {word.split(":")[0] for word in out.split("\n") if word}

    def test_puts_everything_below_the_prefix(self):
        pages = ["nimbrel", *(f"nimbrel-{command}" for command in self.commands)]
        expected = {"bin/nimbrel", "share/bash-completion/completions/nimbrel",
                    "share/zsh/site-functions/_nimbrel",
                    *(f"share/man/man1/{page}.1" for page in pages)}
        found = {str(file.relative_to(self.prefix))
                 for file in pathlib.Path(self.folder.name).rglob("*") if file.is_file()}
        self.assertEqual(found, expected)
        self.assertLessEqual({"scan", "simulate"}, set(self.commands))

    def test_the_manual_has_what_the_help_has(self):
        for command in self.commands:
            page = (self.prefix / f"share/man/man1/nimbrel-{command}.1").read_text()
            page = re.sub(r"\\f.|\\", "", page)
            for option in re.findall(r"--[a-z-]+", self.said(command, "--help")):
                self.assertIn(option, page)

    def test_completions_offer_what_the_help_lists(self):
        for shell in ["bash", "zsh"]:
            for command in self.commands:
                listed = re.findall(r"^ +(?:-\w, )?(--[a-z-]+)", self.said(command, "--help"),
                                    re.MULTILINE)
                with self.subTest(shell=shell, command=command):
                    self.assertIn("--help", listed)
                    self.assertEqual(self.offered(shell, command, "-"), set(listed))
            with self.subTest(shell=shell):
                self.assertLessEqual(set(self.commands), self.offered(shell, ""))
                self.assertLessEqual(set(self.commands), self.offered(shell, "help", ""))
        self.assertEqual(self.offered("bash", "scan", "--fi"), {"--filter"})
        self.assertEqual(self.offered("bash", "si"), {"simulate"})
        self.assertEqual(self.offered("bash", "scan", "wal"), set())
        self.assertEqual(self.offered("zsh", "scan", "wal"), {"FILES"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
