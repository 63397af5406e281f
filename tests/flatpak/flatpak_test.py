#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the Flatpak manifest against the tree, its page of reasons and, where it is installed, its own tool.

Usage: flatpak_test.py SOURCE_FOLDER BUILD_FOLDER
"""
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

SOURCE, BUILD = map(pathlib.Path, sys.argv[1:3])
FOLDER = SOURCE / "flatpak"
MANIFEST = FOLDER / "org.tavelo.ControlPanel.json"
# More than a window with a camera needs.
TOO_MUCH = re.compile(r"--share=network|--filesystem=(host|home|/)|--socket=(session-bus|system-bus|x11$|pulseaudio)"
                      r"|--(own|talk)-name=.*\*")


class Flatpak(unittest.TestCase):
    def setUp(self):
        self.manifest = json.loads(MANIFEST.read_text(encoding="utf-8"))

    def test_its_names_are_those_of_the_installed_program(self):
        metainfo = ElementTree.parse(BUILD / "resources" / f"{MANIFEST.stem}.metainfo.xml").getroot()
        self.assertEqual(self.manifest["id"], MANIFEST.stem)
        self.assertEqual(self.manifest["id"], metainfo.findtext("id"))
        self.assertEqual(self.manifest["command"], metainfo.findtext("provides/binary"))

    def test_each_permission_has_its_reason_and_no_other_is_explained(self):
        page = (FOLDER / "README.md").read_text(encoding="utf-8")
        explained = re.findall(r"^\| `(--[^`]+)` \| \S", page, re.MULTILINE)
        self.assertEqual(explained, self.manifest["finish-args"])
        self.assertEqual([each for each in explained if TOO_MUCH.search(each)], [])

    def test_the_bus_names_are_those_that_the_program_calls(self):
        code = "".join(file.read_text(encoding="utf-8") for file in (SOURCE / "app").glob("*.cpp"))
        names = [each.partition("=")[2] for each in self.manifest["finish-args"] if each.startswith("--talk-name=")]
        self.assertGreater(len(names), 0)
        for name in names:
            self.assertIn(f'"{name}"', code)

    def test_everything_is_built_from_this_tree_or_from_fixed_archives(self):
        *others, own = self.manifest["modules"]
        self.assertEqual([source["type"] for source in own["sources"]], ["dir"])
        self.assertTrue((FOLDER / own["sources"][0]["path"] / "CMakeLists.txt").samefile(SOURCE / "CMakeLists.txt"))
        for module in others:
            for source in module["sources"]:
                self.assertRegex(source["path"], r"^sources/[^/]+\.orig\.tar\.[gx]z$", module["name"])
                self.assertNotIn("url", source, module["name"])
                self.assertRegex(source["sha256"], "^[0-9a-f]{64}$", module["name"])

    @unittest.skipUnless(shutil.which("flatpak-builder"), "flatpak-builder is not installed")
    def test_flatpak_builder_reads_it(self):
        with tempfile.TemporaryDirectory() as folder:  # the tool leaves files where it runs
            shown = subprocess.run(["flatpak-builder", "--show-manifest", MANIFEST], check=True, capture_output=True,
                                   text=True, cwd=folder)
        self.assertNotRegex(shown.stderr, "(?i)unknown|warning")
        self.assertEqual(json.loads(shown.stdout)["id"], self.manifest["id"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
