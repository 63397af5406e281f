#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks what --version prints, and how the build finds the commit.

Usage: version_test.py CMAKE SOURCE_FOLDER VERSION PROGRAM...
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

CMAKE, SOURCE, VERSION, *PROGRAMS = sys.argv[1:]
SCRIPT = pathlib.Path(SOURCE) / "cmake" / "TaveloCommit.cmake"


class Programs(unittest.TestCase):
    def test_all_programs_print_the_version_of_the_project_and_the_same_commit(self):
        self.assertEqual(len(PROGRAMS), 3)
        printed = set()
        for program in PROGRAMS:
            text = subprocess.run([program, "--version"], check=True, capture_output=True, text=True, timeout=60).stdout
            name, _, version = text.partition(" ")
            self.assertEqual(name, os.path.basename(program))
            printed.add(version)
        self.assertEqual(len(printed), 1, printed)
        form = re.escape(VERSION) + r"( \([0-9a-f]{12,}(, changed)?\))?\n"
        self.assertRegex(printed.pop(), f"^{form}$")


@unittest.skipUnless(shutil.which("git"), "git is not installed")
class Commit(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name) / "tree"
        self.tree.mkdir()
        self.header = pathlib.Path(folder.name) / "commit.h"

    def git(self, *arguments):
        environment = {**os.environ, "HOME": str(self.tree), "GIT_CONFIG_NOSYSTEM": "1"}
        return subprocess.run(["git", "-c", "user.name=a", "-c", "user.email=a@b.example", "-C", self.tree, *arguments],
                              check=True, capture_output=True, text=True, env=environment).stdout.strip()

    def commit(self, text):
        (self.tree / "file").write_text(text, encoding="utf-8")
        if not (self.tree / ".git").exists():
            self.git("init", "-q")
        self.git("add", "file")
        self.git("commit", "-q", "-m", text)
        return self.git("rev-parse", "HEAD")

    def found(self, folder=None):
        subprocess.run([CMAKE, f"-DSOURCE={folder or self.tree}", f"-DHEADER={self.header}", "-P", SCRIPT], check=True)
        return re.search(r'#define TAVELO_COMMIT "(.*)"\n$', self.header.read_text(encoding="utf-8"))[1]

    def test_is_that_of_the_checkout_also_after_the_next_one(self):
        self.assertEqual(self.found(), "")
        for text in ("one", "two"):
            commit = self.commit(text)
            self.assertEqual(self.found(), commit[:12])

    def test_says_that_files_differ_from_it(self):
        commit = self.commit("one")[:12]
        (self.tree / "untracked").write_text("x", encoding="utf-8")
        self.assertEqual(self.found(), commit)
        (self.tree / "file").write_text("other", encoding="utf-8")
        self.assertEqual(self.found(), commit + ", changed")

    def test_is_not_that_of_a_checkout_around_the_folder(self):
        self.commit("one")
        inner = self.tree / "unpacked"
        inner.mkdir()
        self.assertEqual(self.found(inner), "")

    def test_is_nothing_without_git(self):
        self.commit("one")
        result = subprocess.run([CMAKE, f"-DSOURCE={self.tree}", f"-DHEADER={self.header}", "-P", SCRIPT],
                                check=True, capture_output=True, text=True, env={"PATH": "/nowhere"})
        self.assertEqual((result.stdout, result.stderr), ("", ""))
        self.assertIn('TAVELO_COMMIT ""', self.header.read_text(encoding="utf-8"))

    def test_that_did_not_change_leaves_the_header_alone(self):
        self.commit("one")
        self.found()
        os.utime(self.header, (1, 1))
        self.found()
        self.assertEqual(self.header.stat().st_mtime, 1)
        self.commit("two")
        self.found()
        self.assertNotEqual(self.header.stat().st_mtime, 1)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
