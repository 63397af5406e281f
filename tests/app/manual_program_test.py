#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs `tavelo-control-panel --manual` with a browser that notes what it is asked to show.

Usage: manual_program_test.py PROGRAM
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse

PROGRAM = pathlib.Path(sys.argv[1]).absolute()
PATIENCE = 60  # seconds


class ManualOption(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        reader, writer = os.pipe()
        cls.display = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writer), "-screen", "0", "640x480x24", "-nolisten", "tcp", "-noreset"], pass_fds=[writer],
            stderr=subprocess.DEVNULL)
        os.close(writer)
        with os.fdopen(reader) as answer:
            cls.number = answer.readline().strip()

    @classmethod
    def tearDownClass(cls):
        cls.display.terminate()
        cls.display.wait()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.browsers = self.folder / "browsers"
        self.browsers.mkdir()
        self.asked = self.folder / "asked"
        self.environment = {"HOME": folder.name, "XDG_CONFIG_HOME": folder.name, "XDG_RUNTIME_DIR": folder.name,
                            "PATH": str(self.browsers), "DISPLAY": f":{self.number}", "LC_ALL": "C.UTF-8",
                            "DBUS_SESSION_BUS_ADDRESS": "disabled:"}
        if "ASAN_OPTIONS" in os.environ:
            self.environment["ASAN_OPTIONS"] = os.environ["ASAN_OPTIONS"]

    def add_browser(self):
        browser = self.browsers / "xdg-open"
        browser.write_text(f'#!/bin/sh\necho "$1" >"{self.asked}.begun"\n/bin/mv "{self.asked}.begun" "{self.asked}"\n', encoding="utf-8")
        browser.chmod(0o755)

    def show(self, program=PROGRAM, **changes):
        environment = {name: value for name, value in {**self.environment, **changes}.items() if value}
        return subprocess.run([program, "--manual"], env=environment, capture_output=True, text=True, timeout=PATIENCE, check=False)

    def test_the_browser_of_the_desktop_gets_the_first_page(self):
        self.add_browser()
        result = self.show()
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
        end = time.monotonic() + PATIENCE
        while not self.asked.exists():
            self.assertLess(time.monotonic(), end, "nobody asked the browser")
            time.sleep(0.02)
        address = urllib.parse.urlparse(self.asked.read_text(encoding="utf-8").strip())
        page = pathlib.Path(urllib.parse.unquote(address.path))
        self.assertEqual(address.scheme, "file")
        self.assertIn("<h1>Manual of the Tavelo Control Panel</h1>", page.read_text(encoding="utf-8"))

    def assert_says(self, result, text):
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertEqual(result.stderr.count("\n"), 1, result.stderr)
        self.assertIn(text, result.stderr)

    def test_without_a_browser_it_says_where_the_manual_is(self):
        result = self.show()
        self.assert_says(result, "manual/index.html: not shown: the desktop has no program for web pages")

    def test_a_manual_that_is_not_installed_is_one_line(self):
        self.add_browser()
        (self.folder / "bin").mkdir()
        moved = self.folder / "bin" / PROGRAM.name
        shutil.copy(PROGRAM, moved)
        self.assert_says(self.show(moved), f"{self.folder}/share/tavelo-control-panel/manual/index.html: the manual is not installed")
        self.assertFalse(self.asked.exists())

    def test_without_a_display_it_says_so(self):
        self.assert_says(self.show(DISPLAY=None), "no display")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
