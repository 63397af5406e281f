#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Each test, fuzz target and script that the page on security names exists.

Usage: security_test.py PROJECT BUILD-FOLDER"""
import pathlib
import re
import subprocess
import sys
import unittest

PROJECT, BUILD = (pathlib.Path(word).absolute() for word in (sys.argv.pop(1), sys.argv.pop(1)))


def rows(page):
    """The last cell of each row of a table, without the heads."""
    for line in page.splitlines():
        cells = line.strip().strip("|").split("|")
        if line.startswith("|") and not set(line) <= set("|-") and cells[-1].strip() != "what stands for it":
            yield cells[-1]


class Security(unittest.TestCase):
    def test_what_stands_for_each_line_exists(self):
        page = (PROJECT / "docs" / "security.md").read_text(encoding="utf-8")
        listed = subprocess.run(["ctest", "--show-only"], cwd=BUILD, check=True, text=True, capture_output=True).stdout
        tests = set(re.findall(r"Test +#\d+: (\S+)", listed))
        fuzzed = {file.name.removesuffix("_fuzzer.cpp") for file in (PROJECT / "tests" / "fuzz").glob("*_fuzzer.cpp")}
        self.assertGreater(len(tests), 100)
        for cell in rows(page):
            named = re.findall(r"`([^`]+)`", cell) + re.findall(r"\]\(([^)]+)\)", cell)
            self.assertTrue(named, cell)
            for name in named:
                self.assertTrue(name in tests or name in fuzzed or (PROJECT / "docs" / name).is_file(), name)
        for script in re.findall(r"`((?:scripts|\.ci)/[\w-]+)", page):
            self.assertTrue((PROJECT / script).is_file(), script)


if __name__ == "__main__":
    unittest.main()
