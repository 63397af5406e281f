#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the files of the Debian packages against what they repeat of the rest of the tree.

Usage: debian_test.py SOURCE_FOLDER VERSION
"""
import pathlib
import re
import sys
import unittest

SOURCE, VERSION = pathlib.Path(sys.argv[1]), sys.argv[2]
# What builds without a library's headers.
TOOLS = {"cmake", "cmark-gfm", "ninja-build", "pkg-config"}


def text_of(name):
    return (SOURCE / name).read_text(encoding="utf-8")


class Debian(unittest.TestCase):
    def test_the_packages_have_the_version_of_the_project(self):
        self.assertEqual(re.match(r"tavelo-control-panel \((\S+)\)", text_of("debian/changelog"))[1], VERSION)

    def test_the_packages_are_built_with_what_the_scripts_install(self):
        field = re.search(r"^Build-Depends:\n((?: .*\n)+)", text_of("debian/control"), re.MULTILINE)[1]
        named = {re.match(r" ([a-z0-9.+-]+)", line)[1] for line in field.splitlines()} - {"debhelper-compat"}
        rows = [line.split() for line in text_of("scripts/packages.txt").splitlines()]
        installed = {row[1] for row in rows if row[:1] == ["run"] and (row[1].endswith("-dev") or row[1] in TOOLS)}
        self.assertEqual(named, installed)

    def test_the_licence_is_that_of_the_project(self):
        def words(text):
            return " ".join(re.sub(r"^ \.$", "", text, flags=re.MULTILINE).split())

        permission = text_of("LICENSE").partition("\n\nPermission")[2]
        self.assertIn(words(permission), words(text_of("debian/copyright")))
        self.assertIn(re.search(r"Copyright \(c\) (.*)", text_of("LICENSE"))[1], text_of("debian/copyright"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
