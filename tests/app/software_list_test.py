#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that the software list names everything that the program uses.

usage: software_list_test.py SOURCE_FOLDER PROGRAM..."""
import fnmatch
import json
import pathlib
import re
import subprocess
import sys
import unittest

SOURCE = pathlib.Path(sys.argv[1])
PROGRAMS = sys.argv[2:]
# Used to build or test the program, but not part of it.
TOOLS = {"PkgConfig", "GTest"}
NOT_THE_PROGRAM = {"tests", "bench"}
SANITIZERS = {"libasan", "liblsan", "libtsan", "libubsan"}


def linked_libraries():
    """The libraries that the programs link directly, without their versions."""
    for program in PROGRAMS:
        dynamic = subprocess.run(["readelf", "--dynamic", "--wide", program], check=True, text=True, capture_output=True)
        for name in re.findall(r"\(NEEDED\).*\[(.+)\]", dynamic.stdout):
            yield re.sub(r"\.so(\.\d+)*$", "", name)


def found_packages():
    """The packages that the build looks for; header-only libraries appear only here."""
    for file in SOURCE.glob("**/CMakeLists.txt"):
        folder = file.relative_to(SOURCE).parts[0]
        if folder in NOT_THE_PROGRAM or (file.parent / "CMakeCache.txt").exists() or folder.startswith("build"):
            continue
        text = file.read_text(encoding="utf-8")
        yield from re.findall(r"find_package\((\S+)", text)
        yield from re.findall(r"find_library\(\S+ (\S+)", text)
        for modules in re.findall(r"pkg_check_modules\(\S+ ([^)]*)\)", text):
            yield from (word for word in modules.split() if word not in ("REQUIRED", "IMPORTED_TARGET", "GLOBAL"))


class SoftwareList(unittest.TestCase):
    software = json.loads((SOURCE / "resources" / "software.json").read_text(encoding="utf-8"))

    def named(self, kind):
        return {pattern for entry in self.software for pattern in entry.get(kind, [])}

    def expect_all_named(self, used, patterns, where):
        for name in sorted(used):
            self.assertTrue(any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns),
                            f"{name} is {where}, and resources/software.json does not name it")

    def test_every_library_that_a_program_links_is_named(self):
        used = set(linked_libraries()) - SANITIZERS
        self.assertIn("libQt6Core", used)
        self.expect_all_named(used, self.named("libraries"), "linked")

    def test_every_package_that_the_build_looks_for_is_named(self):
        used = set(found_packages()) - TOOLS
        self.assertIn("CLI11", used)
        self.expect_all_named(used, self.named("packages"), "looked for")

    def test_nothing_is_named_that_is_not_used(self):
        used = set(linked_libraries()) | set(found_packages())
        names = {entry["name"] for entry in self.software}
        for entry in self.software:
            patterns = entry.get("libraries", []) + entry.get("packages", [])
            direct = any(fnmatch.fnmatchcase(name, pattern) for name in used for pattern in patterns)
            self.assertTrue(direct or entry.get("through") in names, entry["name"])

    def test_each_has_one_name_and_a_licence(self):
        names = [entry["name"] for entry in self.software]
        self.assertEqual(len(names), len(set(names)))
        for entry in self.software:
            self.assertRegex(entry["licence"], r"\bLicense\b", entry["name"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
