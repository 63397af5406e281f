#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Does what the pages for contributors say, in a copy of the tree: new files, changes, commands, in their order.

Usage: contributing_test.py PROJECT

All pages share one copy, which is configured once; only the targets that they name are built.  The compiler's cache gives
what did not change, and without one this would take too long.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import chapters

PROJECT = pathlib.Path(sys.argv[1]).absolute()
PAGES = sorted((PROJECT / "docs" / "contributing").glob("*.md"))
SKIPPED = 77


def copy_tree(folder):
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=PROJECT,
                            check=True, capture_output=True, text=True).stdout
    for name in filter(None, listed.split("\0")):
        if (PROJECT / name).is_file():
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(PROJECT / name, folder / name)


class Contributing(unittest.TestCase):
    folder = None

    @classmethod
    def setUpClass(cls):
        temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(temporary.cleanup)
        cls.folder = pathlib.Path(temporary.name) / "copy"
        copy_tree(cls.folder)

    def run_here(self, *command, **options):
        environment = {name: value for name, value in os.environ.items() if name not in ("GTEST_OUTPUT", "DBUS_SESSION_BUS_ADDRESS")}
        environment.update(CMAKE_CXX_COMPILER_LAUNCHER="ccache", CCACHE_BASEDIR=str(self.folder), CCACHE_NOHASHDIR="1",
                           CCACHE_SLOPPINESS="locale,pch_defines,time_macros", XDG_CONFIG_HOME=str(self.folder / "build"))
        result = subprocess.run(command, cwd=self.folder, env=environment, check=False, text=True, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, **options)
        self.assertEqual(result.returncode, 0, f"{command[-1]}\n{result.stdout[-4000:]}")

    def do_page(self, page):
        done = 0
        for block in chapters.blocks(page.read_text(encoding="utf-8")):
            language, _, argument = block.kind.partition(" ")
            where = f"{page.name}:{block.line}"
            if block.kind == "sh":
                self.run_here("bash", "-euo", "pipefail", "-c", block.text)
            elif language == "diff":
                self.run_here("git", "apply", "-", input=block.text)
            elif language in ("cpp", "cmake"):
                file = self.folder / argument
                self.assertFalse(file.exists(), where)
                self.assertIn(f"`{argument}`", chapters.prose(page.read_text(encoding="utf-8")), "readers do not see its name")
                file.parent.mkdir(parents=True, exist_ok=True)
                file.write_text(block.text, encoding="utf-8")
            else:
                self.assertEqual(block.kind, "sh by-hand", where)
                continue
            done += 1
        self.assertGreater(done, 2)

    def test_the_pages_make_a_control_a_language_and_a_transport_and_the_first_page_names_real_targets(self):
        self.assertEqual([page.stem for page in PAGES], ["add-a-control", "add-a-language", "add-a-transport"])
        for page in PAGES:
            with self.subTest(page.name):
                self.do_page(page)
        text = (PROJECT / "CONTRIBUTING.md").read_text(encoding="utf-8")
        built = subprocess.run(["ninja", "-C", "build", "-t", "targets", "all"], cwd=self.folder, check=True, text=True,
                               capture_output=True).stdout
        targets = re.findall(r"^([\w-]+): phony", built, re.MULTILINE)
        named = [name for line in re.findall("--target (.*)", text) for name in line.split()]
        self.assertGreater(len(named), 2)
        self.assertLessEqual(set(named), set(targets))
        for script in re.findall(r"\bscripts/[\w-]+", text):
            self.assertTrue((PROJECT / script).is_file(), script)


if __name__ == "__main__":
    if not shutil.which("ccache"):
        print("skipped: without ccache this compiles a third of the program")
        sys.exit(SKIPPED)
    unittest.main(argv=sys.argv[:1], verbosity=2)
